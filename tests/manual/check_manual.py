#!/usr/bin/env python3
"""Holds the manual against the programs: the pages, the examples of all functions, and every block of
code in README.md and the guides with what it is shown to write.

    check_manual.py SOURCE-FOLDER BUILD-FOLDER SANITIZERS-OR-"" [--write] [PAGE...]

With --write the outputs that are shown become those that come; see then what has changed.
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import blocks
import examples

ROOT, BUILD = (pathlib.Path(word).resolve() for word in sys.argv[1:3])
SANITIZE = sys.argv[3]
WRITE = "--write" in sys.argv
WANTED = [word for word in sys.argv[4:] if word != "--write"]
SESSIONS = ["README.md", *sorted(str(path.relative_to(ROOT)) for path in ROOT.glob("docs/guides/*.md"))]
# Programs in C# are run where their compiler is (tests/bindings); README's in C and C++, which have
# no name, are what tests/install builds.
ELSEWHERE = {"csharp"}
COMMANDS_ALONE = {"README.md"}  # shows no outputs
DESK = "docs/guides/first-hour.md"  # its configuration holds for all guides


class Pages(unittest.TestCase):
    """The site as a whole, and the manual pages."""

    def test_the_site_is_whole(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run(["/usr/bin/python3", ROOT / "docs/site/make_site.py",
                                   BUILD / "interface/zelq.json", pathlib.Path(folder) / "site"],
                                  capture_output=True, text=True, check=False)
            self.assertEqual("", done.stderr)
            self.assertEqual(0, done.returncode)

    def test_codes_are_those_of_the_simulators_documentation(self):
        """What the header lists of the simulated controller's codes stands in its document, too."""
        document = (ROOT / "docs/simulator.md").read_text(encoding="utf-8")
        rows = re.findall(r"(?m)^\| (\d+) \| ([^|]+?) \| (\d*) ?\| ([^|]*?) ?\|$",
                          document.split("| kind of motion |")[1])
        columns = ([row[:2] for row in rows], [row[2:] for row in rows if row[2]])
        told = " ".join(document.split()) + "".join(
            ", ".join(" ".join(row) for row in column) + "; " for column in columns)
        header = (ROOT / "src/api/zelq.h").read_text(encoding="utf-8")
        header = " ".join(re.sub(r"(?m)^\s*\* ?", "", header).split())
        meanings = re.findall(r"\(simulated (?:controller|one): ([^()]*)\)", header)
        lists = [each for meaning in meanings if not re.search(r"\d to \d", meaning)
                 for each in re.findall(r"\d+ [a-z][^,;()]*(?:, \d+ [a-z][^,;()]*)+", meaning)]
        self.assertGreater(len(lists), 8)
        self.assertEqual([], [each for each in lists if each not in told])


class Blocks(unittest.TestCase):
    """Every page is done on a desk of its own."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.tools = blocks.Tools(ROOT, BUILD, folder.name, SANITIZE)

    def test_examples_of_all_functions(self):
        with tempfile.TemporaryDirectory() as folder:
            desk = blocks.Desk(folder, self.tools)
            self.addCleanup(desk.end)
            self.assertEqual("", examples.run(ROOT, BUILD / "interface/zelq.json", desk))

    def do(self, desk, block, page):
        """Does a block; what is to stand in its place."""
        if block.language == "console":
            return self.do_session(desk, block, page)
        if block.name:
            desk.write(block)
        elif block.language == "python":
            block.name = "block.py"
            desk.write(block)
            desk.type("python3 block.py")
        return block.code

    def do_session(self, desk, block, page):
        lines = []
        for command, shown in block.commands():
            came = desk.type(command)
            agrees = page in COMMANDS_ALONE or blocks.same(shown, came)
            if not WRITE:
                self.assertTrue(agrees, f"{page}\n$ {command}\nis shown to write\n" + "\n".join(shown)
                                + "\nbut writes\n" + "\n".join(came))
            lines += ["$ " + command.replace("\n", "\n> "), *(shown if agrees else came)]
        return "\n".join(lines) + "\n"

    @staticmethod
    def configuration():
        found = (blocks.Block(match) for match in
                 blocks.FENCE.finditer((ROOT / DESK).read_text(encoding="utf-8")))
        return next(block for block in found if block.language == "json")

    def do_page(self, page):
        text = (ROOT / page).read_text(encoding="utf-8")
        with tempfile.TemporaryDirectory() as folder:
            desk = blocks.Desk(folder, self.tools)
            if page.startswith("docs/guides/") and page != DESK:
                desk.write(self.configuration())
            try:
                def done(match):
                    block = blocks.Block(match)
                    if block.language in ELSEWHERE:
                        return match[0]
                    return match[0].replace(block.code, self.do(desk, block, page))
                changed = blocks.FENCE.sub(done, text)
            finally:
                desk.end()
        if changed != text:
            (ROOT / page).write_text(changed, encoding="utf-8")

    def test_sessions(self):
        for page in SESSIONS:
            if not WANTED or any(word in page for word in WANTED):
                with self.subTest(page):
                    self.do_page(page)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
