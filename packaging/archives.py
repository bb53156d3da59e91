"""Zip archives that are the same bytes whenever they are made: entries in order, one time."""

import os
import pathlib
import time
import zipfile

FIRST_TIME_OF_ZIP = 315532800  # 1980, in seconds since 1970


def moment():
    """The time that everything made bears, in seconds since 1970."""
    return max(int(os.environ["SOURCE_DATE_EPOCH"]), FIRST_TIME_OF_ZIP)


def write_zip(path, entries, ordered=False):
    """entries: what each file is called in the archive, and its bytes."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as archive:
        for name in entries if ordered else sorted(entries):
            entry = zipfile.ZipInfo(name, time.gmtime(moment())[:6])
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 3  # what follows are Unix's rights
            is_program = name.endswith((".exe", ".dll", ".so")) or ".so." in name
            entry.external_attr = (0o100755 if is_program else 0o100644) << 16
            archive.writestr(entry, entries[name])


def files_below(folder):
    """The files of a folder: their names in it, and their bytes."""
    folder = pathlib.Path(folder)
    return {path.relative_to(folder).as_posix(): path.read_bytes()
            for path in sorted(folder.rglob("*")) if path.is_file()}
