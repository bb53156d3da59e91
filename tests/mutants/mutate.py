"""Builds all faults into one copy of the tree and runs every test program once with each."""

import collections
import concurrent.futures
import os
import pathlib
import shutil
import subprocess
import sys
import time

from faults import FAULTS

ROOT = pathlib.Path(__file__).resolve().parents[2]
TREE = ROOT / "build" / "mutants"
BIN = TREE / "build" / "dev" / "bin"
AT_ONCE = 3 * (os.cpu_count() or 1)  # tests wait more than they compute
# Programs that run at once do not meet.
ALONE = [TREE / "tests/support/posix/alone", TREE / "build/dev/run"]


def make_tree(chosen):
    """The copy with the faults in it; returns the numbers of those that are in."""
    files = subprocess.run(["git", "ls-files", "-z"], cwd=ROOT, check=True, capture_output=True,
                           text=True).stdout.split("\0")
    for name in filter(None, files):
        if (ROOT / name).exists():
            (TREE / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(ROOT / name, TREE / name)
            shutil.copymode(ROOT / name, TREE / name)
    present = []
    for number in chosen:
        name, what, old, new = FAULTS[number - 1]
        file = TREE / name
        text = file.read_text(encoding="utf-8") if file.exists() else ""
        if text.count(old) == 0:
            print(f"{number:4}  cannot be put into {name} any more: {what}")
            continue
        file.write_text(text.replace(old, new.replace("FAULT", f"FaultIsOn({number})"), 1),
                        encoding="utf-8")
        present.append(number)
    return present


def build():
    flags = f"-include {TREE}/tests/mutants/fault.h -w"
    for command in (["cmake", "--preset", "dev", f"-DCMAKE_CXX_FLAGS={flags}",
                     "-DZELQ_BUILD_PROGRAMS=OFF"],
                    ["cmake", "--build", "--preset", "dev", "--", "-k0"]):
        done = subprocess.run(command, cwd=TREE, check=False, capture_output=True, text=True)
        if done.returncode != 0:
            print("\n".join(line for line in done.stdout.splitlines() if "error" in line))
            sys.exit("mutate: does not build")


def run(program, fault, limit):
    """Whether it passes, and the seconds. Tests that look at the clock may fail once on a busy machine:
    what fails is run again."""
    passed, seconds = run_once(program, fault, limit)
    return (passed, seconds) if passed else run_once(program, fault, limit)


def run_once(program, fault, limit):
    start = time.monotonic()
    try:
        done = subprocess.run([*ALONE, program, "--gtest_brief=1"], cwd=BIN, timeout=limit,
                              check=False, env={**os.environ, "ZELQ_FAULT": str(fault)},
                              stdin=subprocess.DEVNULL, capture_output=True)
        passed = done.returncode == 0
    except subprocess.TimeoutExpired:
        passed = False
    return passed, time.monotonic() - start


def main():
    chosen = [int(word) for word in sys.argv[1:]] or range(1, len(FAULTS) + 1)
    shutil.rmtree(TREE / "src", ignore_errors=True)
    present = make_tree(chosen)
    build()
    programs = sorted(BIN.glob("*_test"))
    with concurrent.futures.ThreadPoolExecutor(AT_ONCE) as pool:
        sound = list(pool.map(lambda program: run(program, 0, 300), programs))
        for program, (passed, _) in zip(programs, sound):
            if not passed:
                sys.exit(f"mutate: {program.name} fails without a fault")
        jobs = {(number, program): pool.submit(run, program, number, 3 * seconds + 20)
                for number in present for program, (_, seconds) in zip(programs, sound)}
        caught, alone, missed = collections.Counter(), collections.Counter(), 0
        for number in present:
            by = [program.name.removesuffix("_test") for program in programs
                  if not jobs[number, program].result()[0]]
            caught.update(by)
            alone.update(by if len(by) == 1 else [])
            missed += not by
            print(f"{number:4}  {', '.join(by) or 'MISSED':40}  {FAULTS[number - 1][1]}", flush=True)
    print(f"\n{'program':20} caught  alone")
    for program in programs:
        name = program.name.removesuffix("_test")
        print(f"{name:20} {caught[name]:6} {alone[name]:6}")
    print(f"{len(present)} faults, {missed} missed, {len(chosen) - len(present)} not put in")


if __name__ == "__main__":
    main()
