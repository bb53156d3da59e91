#!/usr/bin/env python3
"""All tests of the panel in one process, so that Chromium starts once.

    ZELQ_PROGRAM=.../zelq LUMO_SIM=.../lumo-sim run.py [TEST...]
"""

import pathlib
import sys
import unittest

FOLDER = pathlib.Path(__file__).parent

if __name__ == "__main__":
    names = sys.argv[1:] or sorted(file.stem for file in FOLDER.glob("*_test.py"))
    tests = unittest.defaultTestLoader.loadTestsFromNames(names)
    sys.exit(not unittest.TextTestRunner(verbosity=2).run(tests).wasSuccessful())
