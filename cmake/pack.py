"""Packs a folder into a zip whose bytes depend on the files' names and contents alone: sorted, and all of one time, which
is SOURCE_DATE_EPOCH (seconds since 1970), or that of the last commit, or 1980, where the times of a zip begin.
Usage: pack.py [--inside] FOLDER ZIP    --inside: without the folder's own name
"""
import os
import subprocess
import sys
import time
import zipfile
from pathlib import Path


def seconds():
    told = os.environ.get("SOURCE_DATE_EPOCH")
    if not told:
        try:
            command = ["git", "log", "-1", "--format=%ct"]
            told = subprocess.run(command, cwd=Path(__file__).parent, capture_output=True, text=True, check=False).stdout
        except OSError:  # no git
            told = ""
    return max(int(told or 0), 315532800)


def main():
    inside = sys.argv[1] == "--inside"
    folder, target = map(Path, sys.argv[-2:])
    base = folder if inside else folder.parent
    when = time.gmtime(seconds())[:6]
    new = target.with_suffix(".new")
    with zipfile.ZipFile(new, "w", zipfile.ZIP_DEFLATED) as archive:
        names = {file.relative_to(base).as_posix(): file for file in folder.rglob("*") if file.is_file()}
        for name, file in sorted(names.items()):
            entry = zipfile.ZipInfo(name, when)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o100644 << 16
            archive.writestr(entry, file.read_bytes(), compresslevel=9)
    new.replace(target)


main()
