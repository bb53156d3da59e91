"""What lumo-sim takes of a processor: idle, with moving axes, and asked for their state.

    simulator_cost.py LUMO-SIM      with the package zelq on PYTHONPATH
"""

import ctypes
import os
import pathlib
import re
import subprocess
import sys
import time

from zelq import raw

NUMBER = 9
SECONDS = 10.0
FAR_AWAY = 2_000_000_000  # pulses: no axis arrives meanwhile


def processor_seconds(process):
    # utime and stime; the program's name before them may hold spaces
    fields = pathlib.Path(f"/proc/{process.pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def share(process, every=None, act=None):
    """Percent of one processor, while `act` is called every so many seconds."""
    begin, spent = time.monotonic(), processor_seconds(process)
    due = begin
    while (now := time.monotonic()) < begin + SECONDS:
        if act is None:
            time.sleep(begin + SECONDS - now)
            continue
        act()
        due += every
        time.sleep(max(0.0, due - time.monotonic()))
    return 100 * (processor_seconds(process) - spent) / (time.monotonic() - begin)


def simulated(program, *options):
    process = subprocess.Popen([program, "--port", "0", "--no-discovery", *options],
                               stdout=subprocess.PIPE, text=True)
    return process, process.stdout.readline()


def check(result):
    if result != 0:
        sys.exit(f"simulator_cost: a call gave {result}")


def row(what, percent):
    print(f"| {what} | {percent:.1f} % |", flush=True)


def main():
    print("\n### The simulated controller: its share of one processor\n\n| | |\n|---|---|")
    process, _ = simulated(sys.argv[1], "--count", "254", "--axes", "32")
    row("254 controllers of 32 axes that nobody talks to", share(process))
    process.terminate()
    process.communicate()

    process, told = simulated(sys.argv[1], "--number", str(NUMBER), "--axes", "32",
                              "--travel", str(FAR_AWAY))
    raw.zelQ_SetNetPortNum(NUMBER, int(re.search(r"port (\d+)", told)[1]))
    check(raw.zelQ_Connect(NUMBER, 127, 0, 0))
    for axis in range(32):
        check(raw.zelQ_SpeedSet(NUMBER, axis, 0, 100.0, 1e5, 1000.0, 1e5))
        check(raw.zelQ_ServoOn(NUMBER, axis, 1))
    for axis in range(32):
        check(raw.zelQ_MoveVel(NUMBER, axis, 0))
    row("one of 32 moving axes", share(process))
    status = raw.ControllerStatus()
    row("the same, its state asked for 1,000 times a second",
        share(process, 0.001,
              lambda: check(raw.zelQ_GetAllStatus(NUMBER, ctypes.byref(status)))))
    raw.zelQ_Disconnect(NUMBER)
    process.terminate()
    process.communicate()


if __name__ == "__main__":
    main()
