"""What zelq bridge takes with many controllers, and how long a change is on its way.

    bridge_cost.py ZELQ LUMO-SIM      with the package zelq on PYTHONPATH; needs Mosquitto

Simulated controllers of 8 moving axes each, read ten times a second, are published as Sparkplug B to
a Mosquitto on loopback. Every process is on this machine; the shares are those of the bridge alone
and, beside it, of the broker with one subscriber.
"""

import atexit
import json
import os
import pathlib
import random
import re
import socket
import subprocess
import sys
import tempfile
import time
import urllib.request

from zelq import raw

ZELQ, LUMO_SIM = sys.argv[1:3]
AXES = 8
ALL = 254
DEAD = 10
SECONDS = 8.0
FLIPS = 60
FAR_AWAY = 2_000_000_000  # pulses: no axis arrives meanwhile
GROUP, NODE = "Bench", "Bridge"


def start(arguments, **options):
    """A program that ends with this one, whatever comes."""
    process = subprocess.Popen(arguments, **options)
    atexit.register(end, process)
    return process


def end(process):
    process.terminate()
    process.wait()


def processor_seconds(process):
    # utime and stime; the program's name before them may hold spaces
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def resident_megabytes(process):
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+)", status)[1]) / 1024


def free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def await_line(process, word):
    for line in process.stdout:
        if word in line:
            return line
    sys.exit(f"bridge_cost: {process.args[0]} ended")


def check(result):
    if result != 0:
        sys.exit(f"bridge_cost: a call gave {result}")


def set_in_motion(port):
    for number in range(1, ALL + 1):
        raw.zelQ_SetNetPortNum(number, port)
        check(raw.zelQ_Connect(number, 127, 0, 0))
        for axis in range(AXES):
            check(raw.zelQ_SpeedSet(number, axis, 0, 100.0, 1e5, 1000.0, 1e5))
            check(raw.zelQ_ServoOn(number, axis, 1))
            check(raw.zelQ_MoveVel(number, axis, 0))
        raw.zelQ_Disconnect(number)


def listener(broker_port, form, *topics):
    arguments = ["stdbuf", "-oL", "mosquitto_sub", "-h", "127.0.0.1", "-p", str(broker_port), "-F", form]
    for topic in topics:
        arguments += ["-t", topic]
    return start(arguments, stdout=subprocess.PIPE, text=True)


def time_of(payload):
    """The first field of a payload: milliseconds as a varint behind its key."""
    value, shift = 0, 0
    for byte in payload[1:]:
        value |= (byte & 0x7F) << shift
        if byte < 0x80:
            return value / 1000
        shift += 7
    return 0.0


def quantile(values, share):
    return sorted(values)[min(len(values) - 1, int(share * len(values)))]


class Run:
    """The bridge with so many controllers, of which some may be dead."""

    def __init__(self, broker, broker_port, folder, ports):
        self._broker, self._broker_port = broker, broker_port
        file = pathlib.Path(folder) / "bench.json"
        file.write_text(json.dumps({
            "broker": {"host": "127.0.0.1", "port": broker_port}, "group": GROUP, "node": NODE,
            "store": {"file": str(file.with_suffix(".store"))},
            "metrics": {"link": {"every": 3_600_000}},
            "controllers": [{"name": f"C{number}", "address": f"127.0.0.{number}", "port": port}
                            for number, port in ports.items()]}))
        self._numbers = list(ports)
        self._watch = listener(broker_port, "%t", f"spBv1.0/{GROUP}/DBIRTH/#")
        time.sleep(0.5)  # until it is subscribed
        self._bridge = start([ZELQ, "bridge", file], stderr=subprocess.DEVNULL)

    def measure(self, healthy):
        born = set()
        for line in self._watch.stdout:
            born.add(line)
            if len(born) == healthy:
                break
        self._watch.terminate()
        self._watch.communicate()
        time.sleep(3)  # births, and the first values behind them
        watched = self._numbers[:healthy:max(1, healthy // 16)]
        topics = [f"spBv1.0/{GROUP}/DDATA/{NODE}/C{number}" for number in watched]
        with tempfile.TemporaryFile("w+") as counted, tempfile.TemporaryFile("w+") as timed:
            clients = [start(["mosquitto_sub", "-h", "127.0.0.1", "-p",
                                         str(self._broker_port), "-F", form,
                                         *sum((["-t", topic] for topic in which), [])], stdout=out)
                       for form, which, out in (("%l %t", ["spBv1.0/#"], counted),
                                                ("%U %x", topics, timed))]
            time.sleep(0.5)
            begin, broker, bridge = (time.monotonic(), processor_seconds(self._broker),
                                     processor_seconds(self._bridge))
            time.sleep(SECONDS)
            spent = time.monotonic() - begin
            shares = [100 * (processor_seconds(process) - before) / spent
                      for process, before in ((self._bridge, bridge), (self._broker, broker))]
            for client in clients:
                end(client)
            counted.seek(0)
            sizes = [int(line.split(" ", 1)[0]) + len(line.split(" ", 1)[1]) for line in counted]
            timed.seek(0)
            delays = [1000 * (float(at) - time_of(bytes.fromhex(payload)))
                      for at, payload in (line.split() for line in timed)]
        seconds = spent + 0.5
        return {"bridge": shares[0], "broker": shares[1], "messages": len(sizes) / seconds,
                "bytes": sum(sizes) / seconds, "p50": quantile(delays, 0.5),
                "p99": quantile(delays, 0.99), "memory": resident_megabytes(self._bridge)}

    def end(self):
        end(self._watch)
        end(self._bridge)


def measured(broker, broker_port, folder, ports, healthy):
    run = Run(broker, broker_port, folder, ports)
    result = run.measure(healthy)
    run.end()
    return result


def row(what, result):
    print(f"| {what} | {result['bridge']:.1f} % | {result['broker']:.1f} % "
          f"| {result['messages']:.0f} | {result['bytes'] / 1e6:.2f} | {result['p50']:.1f} "
          f"| {result['p99']:.1f} | {result['memory']:.0f} |", flush=True)


def flips(broker_port, control, port, folder):
    """From an input's change at a controller to the subscriber, the wait for the next reading too."""
    run = Run(None, broker_port, folder, {number: port for number in range(1, ALL + 1)})
    delays = []
    time.sleep(4)
    # Its axes are stopped: from here on what it tells is the input.
    raw.zelQ_SetNetPortNum(ALL, port)
    check(raw.zelQ_Connect(ALL, 127, 0, 0))
    for axis in range(AXES):
        check(raw.zelQ_StopSudden(ALL, axis))
    time.sleep(1)
    heard = listener(broker_port, "%U %l", f"spBv1.0/{GROUP}/DDATA/{NODE}/C{ALL}")
    time.sleep(0.5)
    wanted = True
    for _ in range(FLIPS):
        time.sleep(random.uniform(0.05, 0.15))
        request = urllib.request.Request(f"{control}/controllers/{ALL}/inputs", method="PUT",
                                         data=json.dumps({"pins": {"0": wanted}}).encode())
        urllib.request.urlopen(request).read()
        changed = time.time()
        delays.append(1000 * (float(heard.stdout.readline().split()[0]) - changed))
        wanted = not wanted
    heard.terminate()
    heard.communicate()
    run.end()
    print(f"\nFrom a changed input to the subscriber, with the wait for the next reading: p50 "
          f"{quantile(delays, 0.5):.0f} ms, p99 {quantile(delays, 0.99):.0f} ms")


def main(folder):
    broker_port, sim_port = free_port(), free_port()
    settings = pathlib.Path(folder) / "mosquitto.conf"
    settings.write_text(f"listener {broker_port} 127.0.0.1\nallow_anonymous true\n"
                        "max_queued_messages 0\nset_tcp_nodelay true\n")
    broker = start(["/usr/sbin/mosquitto", "-c", settings], stderr=subprocess.DEVNULL)
    simulator = start([LUMO_SIM, "--count", str(ALL), "--port", str(sim_port), "--axes",
                                  str(AXES), "--no-discovery", "--travel", str(FAR_AWAY),
                                  "--control", "0"], stdout=subprocess.PIPE, text=True)
    control = re.search(r"http://\S+", await_line(simulator, "control port"))[0]
    set_in_motion(sim_port)
    print("| controllers | bridge | broker | messages/s | MB/s | p50, ms | p99, ms | memory, MB |")
    print("|---|---|---|---|---|---|---|---|")
    for count in (1, 32, 64, 128, ALL):
        ports = {number: sim_port for number in range(1, count + 1)}
        row(count, measured(broker, broker_port, folder, ports, count))
    # The last ten take connections, and never answer.
    silent = [socket.create_server((f"127.0.0.{number}", 0))
              for number in range(ALL - DEAD + 1, ALL + 1)]
    ports = {number: sim_port for number in range(1, ALL - DEAD + 1)}
    ports |= {int(each.getsockname()[0].split(".")[3]): each.getsockname()[1] for each in silent}
    row(f"{ALL}, {DEAD} of them dead", measured(broker, broker_port, folder, ports, ALL - DEAD))
    flips(broker_port, control, sim_port, folder)
    for process in (simulator, broker):
        end(process)


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as scratch:
        main(scratch)
