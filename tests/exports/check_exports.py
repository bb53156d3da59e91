#!/usr/bin/env python3
"""Holds a built library against its header: it exports what the header declares, and nothing else;
a DLL needs system DLLs alone.

    check_exports.py HEADER LIBRARY [TOOL-PREFIX]
"""

import re
import subprocess
import sys

SYSTEM_DLLS = {"kernel32.dll", "user32.dll", "msvcrt.dll", "ws2_32.dll", "iphlpapi.dll", "ntdll.dll"}
DEBUG_OUTPUT = "zelq_debug_output"  # of the Linux library; no application calls it


def declared(header):
    text = open(header, encoding="utf-8").read()
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    return set(re.findall(r"\b(zelQ_\w+)\s*\(", text))


def output(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exported_by_so(library):
    lines = output("nm", "-D", "--defined-only", library).splitlines()
    return {line.split()[-1].split("@")[0] for line in lines}


def read_dll(library, prefix):
    text = output(prefix + "objdump", "-p", library)
    # The table ends with an empty line; relocations look much the same.
    table = text.split("[Ordinal/Name Pointer] Table", 1)[1].split("\n\n", 1)[0]
    exports = set(re.findall(r"\[\s*\d+\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(\S+)", table))
    imports = set(re.findall(r"DLL Name: (\S+)", text))
    return exports, imports


def main():
    header, library = sys.argv[1:3]
    expected = declared(header)
    problems = []
    if library.endswith(".dll"):
        exports, imports = read_dll(library, sys.argv[3] if len(sys.argv) > 3 else "")
        foreign = {name for name in imports if name.lower() not in SYSTEM_DLLS}
        problems += [f"needs {name}" for name in sorted(foreign)]
    else:
        exports = exported_by_so(library)
        expected = expected | {DEBUG_OUTPUT}
    problems += [f"does not export {name}" for name in sorted(expected - exports)]
    problems += [f"exports {name}" for name in sorted(exports - expected)]
    if not expected:
        problems.append("the header declares nothing")
    for problem in problems:
        print(f"{library}: {problem}")
    print(f"{len(exports)} exports, {len(problems)} problems")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
