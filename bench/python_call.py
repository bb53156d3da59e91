#!/usr/bin/env python3
"""What a call costs from Python, beside a plain Python socket that exchanges the same bytes.

    PYTHONPATH=build/release/python bench/python_call.py build/release/bin/zelq_bench

The peer is the benchmarks' own, in a process of its own. Chunks of 50 calls of each kind take turns
in a shuffled order; what is told is the median of the chunks' medians, and the median of the ratios
of chunks measured at about the same time.
"""

import os
import random
import socket
import statistics
import subprocess
import sys
import time
from contextlib import contextmanager

import zelq
from zelq import raw

CHUNKS, CALLS = 300, 50
NUMBER = 1
# A move of axis 0 as it travels, and how long the answer to it is.
MOVE = bytes.fromhex("0001000000170117f0000001000000060c010100110001000303e80000")
ANSWER = 11


def exchange(connection):
    def one():
        connection.send(MOVE)
        connection.recv(ANSWER)
    return one


def chunk(call):
    """The median of so many calls, in microseconds."""
    times = []
    for _ in range(CALLS):
        start = time.perf_counter_ns()
        call()
        times.append(time.perf_counter_ns() - start)
    return statistics.median(times) / 1000


def measure(calls):
    medians = {name: [] for name in calls}
    for _ in range(CHUNKS):
        for name in random.sample(list(calls), len(calls)):
            medians[name].append(chunk(calls[name]))
    plain = medians["raw socket"]
    for name, each in medians.items():
        ratio = statistics.median(mine / other for mine, other in zip(each, plain))
        print(f"| {name} | {statistics.median(each):.1f} | {ratio:.2f} |")


def connected(port):
    connection = socket.create_connection((f"127.0.0.{NUMBER}", port))
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    return connection


@contextmanager
def peer(program, processor, own):
    """A peer serves one client."""
    os.sched_setaffinity(0, {processor})
    with subprocess.Popen([program, "peer"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                          text=True) as process:
        os.sched_setaffinity(0, {own})
        yield int(process.stdout.readline())
        process.stdin.close()


def run(program, title, own, others):
    with peer(program, others, own) as one, peer(program, others, own) as other, \
            zelq.Controller("127.0.0", NUMBER, port=one) as press, \
            peer(program, others, own) as third, connected(other) as connection, \
            connected(third) as waiting:
        waiting.settimeout(0.03)
        axis = press.axis(0)
        print(f"\n#### {title}\n\n| | p50, µs | to the raw socket |\n|---|---|---|")
        measure({"raw socket": exchange(connection),
                 "raw socket with a time-out, as the library has": exchange(waiting),
                 "`raw.zelQ_MoveAbs`": lambda: raw.zelQ_MoveAbs(NUMBER, 0, 1000.0),
                 "`Axis.move_to`": lambda: axis.move_to(1000.0)})


def main():
    run(sys.argv[1], "On two processors", 0, 1)
    run(sys.argv[1], "Both ends on one processor", 0, 0)


if __name__ == "__main__":
    main()
