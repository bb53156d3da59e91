"""Looks at the library, the simulator and the programs with clang-tidy, as a build compiles them:
several files at once, so that what they include is read once for all of them.

    tidy.py BUILD-DIRECTORY

What has passed is not looked at again until it, a header or the checks change.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

FOLDERS = ("src", "simulator", "examples", "tools", "cli")
ROOT = pathlib.Path(__file__).resolve().parent.parent


def sources_of(compiled):
    """What stands in a file that is compiled: files of ours by name, or itself."""
    if not compiled.exists():  # generated while building
        return []
    included = re.findall(r'#include "(.*\.c(?:pp)?)"', compiled.read_text(encoding="utf-8"))
    return [pathlib.Path(name) for name in included] or [compiled]


def is_looked_at(compiled, build):
    if compiled.is_relative_to(build / "tests"):
        return False  # the library once more, as its fuzz targets have it
    places = [source.relative_to(ROOT).parts[0] for source in sources_of(compiled)
              if source.is_relative_to(ROOT)]
    return any(place in FOLDERS for place in places)


def shared_digest():
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    for folder in FOLDERS:
        for header in sorted((ROOT / folder).rglob("*.h")):
            digest.update(header.read_bytes())
    return digest


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    passed = build / "tidy"
    passed.mkdir(exist_ok=True)
    shared = shared_digest()

    def look_at(entry):
        compiled = pathlib.Path(entry["file"])
        digest = shared.copy()
        digest.update(entry["command"].encode())
        for source in sources_of(compiled):
            digest.update(source.read_bytes())
        stamp = passed / digest.hexdigest()
        if stamp.exists():
            return ""
        # Options that GCC alone knows are nothing to find fault with.
        done = subprocess.run(["clang-tidy", "-p", build, "--quiet",
                               "--extra-arg=-Wno-unknown-warning-option", compiled], check=False,
                              capture_output=True, text=True)
        if done.returncode == 0:
            stamp.touch()
            return ""
        return done.stdout or done.stderr

    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    chosen = [entry for entry in commands if is_looked_at(pathlib.Path(entry["file"]), build)]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        findings = [text for text in pool.map(look_at, chosen) if text]
    # A header is found fault with once for each that includes it.
    lines = dict.fromkeys(line for text in findings for line in text.splitlines())
    print("\n".join(lines))
    return 1 if findings or not chosen else 0


if __name__ == "__main__":
    sys.exit(main())
