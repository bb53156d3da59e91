#!/usr/bin/python3
"""Makes a zip of what is installed in a folder; all of it stands below one folder of the zip's name.

    make_zip.py FOLDER OUT.zip
"""

import pathlib
import sys

from archives import files_below, write_zip


def main():
    folder, out = sys.argv[1:]
    top = pathlib.Path(out).stem
    write_zip(out, {f"{top}/{name}": data for name, data in files_below(folder).items()})


if __name__ == "__main__":
    main()
