#!/usr/bin/env python3
"""Holds the C# binding against the interface's description, and runs it with mono against the
simulated controller.

    check_csharp.py DESCRIPTION.json LUMO-SIM ASSEMBLY-FOLDER SCENARIOS.exe SOURCE-FOLDER
"""

import json
import os
import pathlib
import pty
import re
import signal
import subprocess
import sys
import tempfile
import unittest

from simulated import Simulated

SOURCE, SCENARIOS, FOLDER, PROGRAM, DESCRIPTION = (sys.argv.pop() for _ in sys.argv[1:6])
ROOT = pathlib.Path(SOURCE)
sys.path.insert(0, str(ROOT / "tests/manual"))
from blocks import FENCE  # noqa: E402  pylint: disable=wrong-import-position
INTERFACE = json.loads(pathlib.Path(DESCRIPTION).read_text(encoding="utf-8"))
NAMES = {"char": "Byte", "unsigned char": "Byte", "short": "Int16", "unsigned short": "UInt16",
         "int": "Int32", "unsigned int": "UInt32", "double": "Double", "void": "Byte"}


# At its end mono may wait for its thread pool, up to a minute.
PATIENCE = 120


def mono(*arguments):
    return subprocess.run(["mono", *map(str, arguments)], check=False, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, timeout=PATIENCE)


def marshalled(parameter):
    name = NAMES.get(parameter["type"], parameter["type"])
    if not parameter["pointer"]:
        return name
    return name + ("[]" if parameter["elements"] else "&")


class Layout(unittest.TestCase):
    # The compiler holds the description's sizes and offsets against the header.
    def test_is_that_of_c(self):
        wanted = []
        for record in INTERFACE["records"]:
            wanted.append(f"{record['name']} {record['size']}")
            wanted += [f"{record['name']}.{field['name']} {field['offset']}"
                       for field in record["fields"]]
        for each in INTERFACE["functions"]:
            result = "Void" if each["result"]["type"] == "void" else NAMES[each["result"]["type"]]
            kinds = ",".join(map(marshalled, each["parameters"]))
            wanted.append(f"{each['name']} {result} {kinds}")
        told = mono(SCENARIOS, "layout").stdout
        self.assertEqual(sorted(wanted), sorted(line for line in told.splitlines()))


class Scenario(unittest.TestCase):
    maxDiff = None

    def check(self, done):
        self.assertEqual(0, done.returncode, done.stdout)

    def test_scenarios(self):
        with Simulated(PROGRAM, 41, "--axes", "2", "--slaves", "30:2,31:3",
                       "--time-scale", "5") as simulated:
            for name in ("Connect", "Home", "CoordinatedMove", "ReadAllStatus", "Alarm",
                         "BrokenOff"):
                with self.subTest(name):
                    self.check(mono(SCENARIOS, 41, simulated.port, name))

    def test_lost_connection(self):
        with Simulated(PROGRAM, 42) as simulated, subprocess.Popen(
                ["mono", SCENARIOS, "42", str(simulated.port), "LostConnection"],
                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True) as process:
            self.assertEqual("moving\n", process.stdout.readline())
            simulated.end()
            told, _ = process.communicate(timeout=PATIENCE)
            self.assertEqual((0, ""), (process.returncode, told))

    def test_ctrl_c(self):
        # mono hands on Ctrl-C where it has a terminal.
        screen, terminal = pty.openpty()
        self.addCleanup(os.close, screen)
        with Simulated(PROGRAM, 42) as simulated, subprocess.Popen(
                ["mono", SCENARIOS, "42", str(simulated.port), "CtrlC"], stdin=terminal,
                stdout=terminal, stderr=subprocess.PIPE, text=True,
                env={**os.environ, "TERM": "xterm"}) as process:
            os.close(terminal)
            shown = b""
            while b"moving" not in shown:
                shown += os.read(screen, 1000)
            process.send_signal(signal.SIGINT)
            _, told = process.communicate(timeout=PATIENCE)
            self.assertEqual((0, ""), (process.returncode, told))

    def test_examples(self):
        with Simulated(PROGRAM, 43, "--time-scale", "10") as simulated:
            for name, told in (("FirstMotion", "x 40.000 mm, y 12.500 mm\n"),
                               ("Patience", "the axis stands at 25.000 mm\n")):
                done = mono(pathlib.Path(FOLDER) / f"{name}.exe", "127.0.0", 43, simulated.port)
                self.assertTrue(done.stdout.endswith(told), done.stdout)

    def test_blocks_of_readme_and_guides(self):
        shown = [match["code"] for page in [ROOT / "README.md", *ROOT.glob("docs/guides/*.md")]
                 for match in FENCE.finditer(page.read_text(encoding="utf-8"))
                 if match["language"] == "csharp"]
        self.assertGreater(len(shown), 1)
        for code in shown:
            using, lines = re.match(r"(using \w+;)\n(.*)", code, re.S).groups()
            with Simulated(PROGRAM, 44, "--time-scale", "10") as simulated, \
                    tempfile.TemporaryDirectory() as folder:
                here = f'"127.0.0", 44, {simulated.port}'
                source = pathlib.Path(folder) / "block.cs"
                lines = re.sub(r'"(192\.168\.0", 3|127\.0\.0", 3, 5020)', here, lines)
                source.write_text(f"{using} static class Block {{ static void Main() {{ {lines} }} }}",
                                  encoding="utf-8")
                subprocess.run(["mcs", f"-r:{FOLDER}/Zelq.dll", source], check=True)
                self.check(mono(source.with_suffix(".exe")))


if __name__ == "__main__":
    unittest.main()
