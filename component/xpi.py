#!/usr/bin/env python3
"""Packs the component as an extension for browsers that load components.

    xpi.py VERSION ARCHIVE TYPELIB LIBRARY...

Each library goes into the folder of the platform that it is built for. The same
files give the same bytes, whenever and wherever they are packed.
"""

import pathlib
import sys
import zipfile

# The first bytes of a library are its word size, its byte order and, further on,
# its processor.
PLATFORMS = {
    (b"\x7fELF\x01\x01", b"\x03\x00"): "Linux_x86-gcc3",
    (b"\x7fELF\x02\x01", b"\x3e\x00"): "Linux_x86_64-gcc3",
}


def folder(library):
    platform = PLATFORMS.get((library[:6], library[18:20]))
    if platform is None:
        sys.exit("a library is for a platform without such browsers")
    return f"platform/{platform}/components"


def main():
    version, archive, typelib, *libraries = sys.argv[1:]
    manifest = pathlib.Path(__file__).parent / "install.rdf"
    files = {
        "install.rdf": manifest.read_text()
        .replace("@VERSION@", version)
        .encode(),
        "components/IValdrinConnection.xpt": pathlib.Path(typelib).read_bytes(),
    }
    for path in libraries:
        library = pathlib.Path(path).read_bytes()
        files[f"{folder(library)}/libValdrinConnection.so"] = library
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED) as packed:
        for name, data in files.items():
            # Without a date of its own an entry has that of 1980.
            entry = zipfile.ZipInfo(name)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = 0o644 << 16
            packed.writestr(entry, data)


main()
