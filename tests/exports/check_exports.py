#!/usr/bin/env python3
"""Holds a built library against src/api/abi.txt, where its binary interface is written down: names,
ordinals, versions and calling convention as the library has them, and, by the compiler that built
it, the types of all functions, the size of every record, the offset of every field and every code.
It exports nothing else, and a DLL needs system DLLs alone.

    check_exports.py [--prefix TOOL-PREFIX] LIBRARY COMPILER [FLAG...]
    check_exports.py --write

A change of the interface is a change of that file, made on purpose: --write makes it anew from the
header, and src/zelq.def with it. Functions keep their ordinals; new ones get the next.
"""

import argparse
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "interface"))
import describe  # noqa: E402  pylint: disable=wrong-import-position

ABI = ROOT / "src/api/abi.txt"
DEFINITIONS = ROOT / "src/zelq.def"
SYSTEM_DLLS = {"kernel32.dll", "user32.dll", "msvcrt.dll", "ws2_32.dll", "iphlpapi.dll", "ntdll.dll"}
DEBUG_OUTPUT = "zelq_debug_output"  # of the Linux library; no application calls it
PREAMBLE = """\
# The binary interface of the library. A program that was built with it runs with every later
# library of the same major version, so nothing that stands here may go or change while that lasts.
# tests/exports/check_exports.py --write makes it anew from the header.
"""


# --- What is written down

def type_of(value):
    """As in a declaration without a name."""
    text = ("const " if value["const"] else "") + value["type"]
    return text + ("*" if value["pointer"] else "")


def abi_text(interface, ordinals, versions):
    lines = [f"{key}: {value}" for key, value in versions.items()]
    lines += ["", "# ordinal: function"]
    for function in sorted(interface["functions"], key=lambda each: ordinals[each["name"]]):
        types = ", ".join(type_of(each) for each in function["parameters"]) or "void"
        lines.append(f"{ordinals[function['name']]}: "
                     f"{function['result']['type']} {function['name']}({types})")
    lines += ["", "# record, bytes; offset: type field"]
    for record in interface["records"]:
        lines.append(f"record {record['name']} {record['size']}")
        for field in record["fields"]:
            count = f"[{field['elements']}]" if field["elements"] else ""
            lines.append(f"  {field['offset']}: {field['type']} {field['name']}{count}")
    lines += ["", "# result codes"]
    lines += [f"code {code['name']}{'(0)' if 'argument' in code else ''} {code['value']}"
              for code in interface["codes"]]
    return PREAMBLE + "\n".join(lines) + "\n"


class Abi:
    """The file, read back."""

    def __init__(self, text):
        self.versions = dict(re.findall(r"(?m)^([a-z ]+): (\S+)$", text))
        self.functions = {name: (int(ordinal), result, types) for ordinal, result, name, types in
                          re.findall(r"(?m)^(\d+): (\w+) (zelQ_\w+)\((.*)\)$", text)}
        self.codes = re.findall(r"(?m)^code (\S+) (-?\d+)$", text)
        self.records = []
        for name, size, body in re.findall(r"(?m)^record (\w+) (\d+)\n((?:  .*\n)+)", text):
            fields = re.findall(r"(?m)^  (\d+): ([\w ]+) (\w+)(?:\[(\d+)\])?$", body)
            self.records.append((name, size, fields))

    def ordinals(self):
        return {name: function[0] for name, function in self.functions.items()}

    def as_program(self):
        """A C file that compiles only where the header means all that stands here."""
        lines = ['#include "zelq.h"', "#include <stddef.h>",
                 "#define HOLD(what) _Static_assert(what, #what)",
                 "#define SAME(field, type) _Generic(&(field), type*: 1, default: 0)"]
        for name, (_, result, types) in self.functions.items():
            lines.append(f"{result}(ZELQ_CALL* use_{name})({types}) = {name};")
        for name, size, fields in self.records:
            lines.append(f"HOLD(sizeof({name}) == {size});")
            for offset, kind, field, count in fields:
                element = f"(({name}*)0)->{field}" + ("[0]" if count else "")
                lines.append(f"HOLD(offsetof({name}, {field}) == {offset});")
                lines.append(f"HOLD(SAME({element}, {kind}));")
                lines.append(f"HOLD(sizeof((({name}*)0)->{field}) == {count or 1} * sizeof({kind}));")
        lines += [f"HOLD({name} == {value});" for name, value in self.codes]
        return "\n".join(lines) + "\n"


def interface_of_header():
    return describe.describe((ROOT / "src/api/zelq.h").read_text(encoding="utf-8"))


def write():
    interface = interface_of_header()
    before = Abi(ABI.read_text(encoding="utf-8")) if ABI.exists() else Abi("")
    ordinals = before.ordinals()
    for name in sorted(function["name"] for function in interface["functions"]):
        ordinals.setdefault(name, max(ordinals.values(), default=0) + 1)
    major = re.search(r"(?m)^project\(zelq VERSION (\d+)", (ROOT / "CMakeLists.txt").read_text())[1]
    versions = {"soname": f"libzelq.so.{major}", "symbol version": f"ZELQ_{major}",
                "dll image version": f"{major}.0", "calling convention": "cdecl"}
    ABI.write_text(abi_text(interface, ordinals, versions), encoding="utf-8")
    there = {function["name"] for function in interface["functions"]}
    lines = [f"  {name} @{ordinal}" for name, ordinal in
             sorted(ordinals.items(), key=lambda each: each[1]) if name in there]
    DEFINITIONS.write_text("; Made by tests/exports/check_exports.py --write.\nLIBRARY zelq.dll\n"
                           "EXPORTS\n" + "\n".join(lines) + "\n", encoding="utf-8")


# --- What a library has

def output(*command, text=None):
    return subprocess.run(command, check=True, capture_output=True, input=text, text=True).stdout


def check_so(library, abi):
    symbols = {}
    for line in output("nm", "-D", "--defined-only", library).splitlines():
        kind, symbol = line.split()[-2:]
        if kind != "A":  # the name of a version
            name, _, version = symbol.partition("@@")
            symbols[name] = version
    version = abi.versions["symbol version"]
    for name, its in symbols.items():
        if its != version:
            yield f"{name} has version '{its}', not {version}"
    soname = re.search(r"SONAME.*\[(.*)\]", output("readelf", "-d", "-W", library))[1]
    if soname != abi.versions["soname"]:
        yield f"its soname is {soname}"
    yield from differences(set(abi.functions) | {DEBUG_OUTPUT}, set(symbols))


def check_dll(library, abi, prefix):
    text = output(prefix + "objdump", "-p", library)
    base = int(re.search(r"Ordinal Base\s+(\d+)", text)[1])
    # The table ends with an empty line; relocations look much the same.
    table = text.split("[Ordinal/Name Pointer] Table", 1)[1].split("\n\n", 1)[0]
    exports = {name: base + int(number) for number, name in
               re.findall(r"\[\s*(\d+)\]\s+(?:\+base\[\s*\d+\]\s+\w+\s+)?(\S+)", table)}
    yield from differences(set(abi.functions), set(exports))
    for name, ordinal in abi.ordinals().items():
        if exports.get(name, ordinal) != ordinal:
            yield f"{name} has ordinal {exports[name]}, not {ordinal}"
    version = ".".join(re.search(rf"{part}ImageVersion\s+(\d+)", text)[1]
                       for part in ("Major", "Minor"))
    if version != abi.versions["dll image version"]:
        yield f"its image version is {version}"
    for name in sorted(set(re.findall(r"DLL Name: (\S+)", text))):
        if name.lower() not in SYSTEM_DLLS:
            yield f"needs {name}"
    if "pei-i386" in text:
        yield from check_stack(output(prefix + "objdump", "-d", "--no-show-raw-insn", library))


def check_stack(code):
    """A cdecl function leaves its arguments to the caller; one of the other convention takes them
    off the stack as it returns. An undecorated name does not tell which it is."""
    looked_at = 0
    for block in re.split(r"\n\n(?=\w+ <)", code):
        name = re.match(r"\w+ <_?(zelQ_\w+)>:", block)
        if name:
            looked_at += 1
            if re.search(r"\tret +\$0x", block):
                yield f"{name[1]} is not of the calling convention cdecl"
    if looked_at == 0:
        yield "no code of any function to look at"


def differences(expected, exported):
    yield from (f"does not export {name}" for name in sorted(expected - exported))
    yield from (f"exports {name}" for name in sorted(exported - expected))


def check_header(abi, compiler):
    interface = interface_of_header()
    told = abi_text(interface, {name["name"]: abi.ordinals().get(name["name"], 0)
                                for name in interface["functions"]}, abi.versions).splitlines()
    written = ABI.read_text(encoding="utf-8").splitlines()
    yield from (f"not in {ABI.name}: {line}" for line in told if line not in written)
    yield from (f"not in the header: {line}" for line in written if line not in told)
    done = subprocess.run([*compiler, "-std=c11", "-fsyntax-only", "-Wall", "-Werror",
                           f"-I{ROOT}/src/api", "-x", "c", "-"],
                          input=abi.as_program(), capture_output=True, text=True, check=False)
    yield from (line for line in done.stderr.splitlines() if "error" in line)
    if done.returncode != 0:
        yield "what the compiler makes of the header is something else"


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--write", action="store_true")
    parser.add_argument("--prefix", default="")
    parser.add_argument("library", nargs="?")
    parser.add_argument("compiler", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    if options.write:
        write()
        return 0
    abi = Abi(ABI.read_text(encoding="utf-8"))
    problems = list(check_header(abi, options.compiler))
    if options.library.endswith(".dll"):
        problems += check_dll(options.library, abi, options.prefix)
    else:
        problems += check_so(options.library, abi)
    for problem in problems:
        print(f"{options.library}: {problem}")
    if problems:
        print("A change that is meant is written down by tests/exports/check_exports.py --write.")
    print(f"{len(abi.functions)} functions, {len(abi.records)} records, {len(problems)} problems")
    return 1 if problems or not abi.functions or not abi.records else 0


if __name__ == "__main__":
    sys.exit(main())
