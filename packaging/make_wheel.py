#!/usr/bin/python3
"""Makes a wheel: the Python package as it is installed, with the library beside it.

    make_wheel.py PYTHON-FOLDER LIBRARY OUT-FOLDER LICENCE...

PYTHON-FOLDER has the package and its METADATA. What the wheel can be installed on is read from the
library: its machine, and on Linux which glibc it needs.
"""

import base64
import hashlib
import pathlib
import re
import subprocess
import sys

from archives import files_below, write_zip

# What every system has that a manylinux tag is for.
PROMISED = {"libc.so.6", "libm.so.6", "ld-linux-x86-64.so.2", "libgcc_s.so.1"}
WINDOWS = {"pei-x86-64": "win_amd64", "pei-i386": "win32"}


def told(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def platform_of(library):
    """The platform's tag."""
    if library.suffix == ".dll":
        # The cross tools' objdump knows both machines.
        head = told("x86_64-w64-mingw32-objdump", "-f", str(library))
        return WINDOWS[re.search(r"file format (\S+)", head)[1]]
    needed = set(re.findall(r"NEEDED.*\[(.*)\]", told("readelf", "-d", "-W", str(library))))
    if needed - PROMISED:
        sys.exit(f"{library} needs {', '.join(sorted(needed - PROMISED))}, which not every Linux has")
    versions = re.findall(r"\bGLIBC_(\d+)\.(\d+)", told("objdump", "-T", str(library)))
    major, minor = max((int(major), int(minor)) for major, minor in versions)
    return f"manylinux_{major}_{minor}_x86_64"


def record_of(entries, own_name):
    """The list of all files with their digests, which is one of them."""
    lines = []
    for name in sorted(entries):
        digest = base64.urlsafe_b64encode(hashlib.sha256(entries[name]).digest()).rstrip(b"=")
        lines.append(f"{name},sha256={digest.decode()},{len(entries[name])}\n")
    return "".join([*lines, f"{own_name},,\n"]).encode()


def main():
    folder, library, out, *licences = map(pathlib.Path, sys.argv[1:])
    entries = files_below(folder)
    [metadata] = [name for name in entries if name.endswith(".dist-info/METADATA")]
    information = metadata.rsplit("/", 1)[0]
    tag = f"py3-none-{platform_of(library)}"
    soname = "zelq.dll" if library.suffix == ".dll" else library.name
    entries[f"zelq/{soname}"] = library.read_bytes()
    for licence in licences:
        entries[f"{information}/{licence.name}"] = licence.read_bytes()
    entries[f"{information}/WHEEL"] = (
        f"Wheel-Version: 1.0\nGenerator: zelq\nRoot-Is-Purelib: false\nTag: {tag}\n".encode())
    # Installers read the last entries first.
    ordered = {name: entries[name] for name in
               sorted(entries, key=lambda name: (name.startswith(information), name))}
    record = f"{information}/RECORD"
    ordered[record] = record_of(entries, record)
    stem = information[:-len(".dist-info")]
    write_zip(out / f"{stem}-{tag}.whl", ordered, ordered=True)


if __name__ == "__main__":
    main()
