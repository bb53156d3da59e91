#!/usr/bin/python3
"""Tries what script/package has made and says line by line what was tried; ends at the first thing
that is not as it should be.

    check_packages.py PACKAGE-FOLDER VERSION

The bare Debian with the packages in it stands in work/root (packaging/bare_root).
"""

import pathlib
import sys
import tempfile

from checks import bill, debian, nuget, windows
from checks.place import Failed, Root


def main():
    made, version = pathlib.Path(sys.argv[1]), sys.argv[2]
    root = Root(made / "work/root")
    try:
        with tempfile.TemporaryDirectory(dir=made / "work") as name:
            scratch = pathlib.Path(name)
            bill.check(made)
            windows.check(made, version, scratch)
            nuget.check(made, version, scratch, root.folder / "usr/bin/lumo-sim")
            debian.check(made, version, root)
    except Failed as failure:
        sys.exit(f"not ok  {failure}")


if __name__ == "__main__":
    main()
