#!/usr/bin/env python3
"""Packs the files of the extension that browsers need.

    pack.py VERSION ARCHIVE FOLDER

The archive is for Firefox, the folder for Chromium; each gets the manifest
without what only the other one knows. The same files give the same bytes,
whenever and wherever they are packed. The version of the manifest has to be
VERSION.
"""

import json
import pathlib
import shutil
import sys
import zipfile

SUFFIXES = {".css", ".html", ".js", ".json", ".mjs", ".png", ".svg"}


def manifests(text):
    """The manifests of Firefox and of Chromium, made of the common one."""
    firefox, chromium = json.loads(text), json.loads(text)
    del firefox["key"], firefox["background"]["service_worker"]
    del chromium["browser_specific_settings"]
    del chromium["background"]["scripts"]
    del chromium["action"]["default_area"]
    return [
        f"{json.dumps(each, indent=4)}\n".encode()
        for each in (firefox, chromium)
    ]


def pack(source, archive, folder):
    shutil.rmtree(folder, ignore_errors=True)
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as packed:
        for file in sorted(source.rglob("*")):
            if file.suffix not in SUFFIXES or not file.is_file():
                continue
            name = file.relative_to(source).as_posix()
            data = other = file.read_bytes()
            if name == "manifest.json":
                data, other = manifests(data)
            # Without a date of its own an entry has that of 1980.
            entry = zipfile.ZipInfo(name)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o644 << 16
            packed.writestr(entry, data)
            copy = folder / name
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes(other)


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
