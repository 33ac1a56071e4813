#!/usr/bin/env python3
"""Packs the files of the extension that browsers need.

    pack.py VERSION ARCHIVE FOLDER

The same files give the same bytes, whenever and wherever they are packed. The
version of the manifest has to be VERSION.
"""

import json
import pathlib
import shutil
import sys
import zipfile

SUFFIXES = {".css", ".html", ".js", ".json", ".mjs", ".png", ".svg"}


def pack(source, archive, folder):
    shutil.rmtree(folder, ignore_errors=True)
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as packed:
        for file in sorted(source.rglob("*")):
            if file.suffix not in SUFFIXES or not file.is_file():
                continue
            name = file.relative_to(source).as_posix()
            # Without a date of its own an entry has that of 1980.
            entry = zipfile.ZipInfo(name)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o644 << 16
            packed.writestr(entry, file.read_bytes())
            copy = folder / name
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(file, copy)


def main():
    version, archive, folder = sys.argv[1:]
    source = pathlib.Path(__file__).parent
    manifest = json.loads((source / "manifest.json").read_text())
    if manifest["version"] != version:
        sys.exit(
            f"manifest.json: version {manifest['version']}, not {version}"
        )
    pack(source, archive, pathlib.Path(folder))


main()
