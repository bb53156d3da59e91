"""What `zelq panel` takes of a processor: 32 moving axes, looked at 50 times a second.

    panel_cost.py ZELQ      with lumo-sim beside it; Debian's Python has the WebSocket client
"""

import json
import os
import pathlib
import subprocess
import sys
import threading
import time

import websocket

SECONDS = 10.0
AXES = 32
FAR_AWAY = 9_000_000  # pulses: no axis arrives meanwhile


def processor_seconds(process):
    # utime and stime; the program's name before them may hold spaces
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def share(process):
    begin, spent = time.monotonic(), processor_seconds(process)
    time.sleep(SECONDS)
    return 100 * (processor_seconds(process) - spent) / (time.monotonic() - begin)


class Page:
    def __init__(self, address):
        place, token = address.split("/#")
        self.socket = websocket.create_connection(place.replace("http", "ws") + "/live",
                                                  origin=place)
        self.send("hello", token=token)

    def send(self, do, **fields):
        self.socket.send(json.dumps({"do": do, **fields}))

    def look(self):
        """Takes what comes, on a thread of its own."""
        self.send("watch", tabs=["axes", "io"])
        threading.Thread(target=self.take, daemon=True).start()

    def take(self):
        while self.socket.recv():
            pass


def row(what, percent):
    print(f"| {what} | {percent:.1f} % |", flush=True)


def main():
    process = subprocess.Popen([sys.argv[1], "--json", "panel", "--simulate", "--axes", str(AXES)],
                               stdout=subprocess.PIPE, text=True)
    told = json.loads(process.stdout.readline())
    pages = [Page(told["address"]) for _ in range(2)]
    pages[0].send("servo", axis="all", on=True)
    for axis in range(AXES):
        pages[0].send("move", axis=axis, distance=FAR_AWAY)
    print("\n### The panel: its share of one processor, 32 moving axes\n\n| | |\n|---|---|")
    row("nobody looks", share(process))
    pages[0].look()
    row("one page, 50 looks a second", share(process))
    pages[1].look()
    row("two pages", share(process))
    process.terminate()
    process.wait()


if __name__ == "__main__":
    main()
