"""The extension for browsers that load components."""

import os
import subprocess
import sys
import tempfile
import unittest
import xml.dom.minidom
import zipfile

PACKER, TYPELIB = sys.argv[1:3]

# Beginnings of libraries, and their platforms.
NARROW = b"\x7fELF\x01\x01\x01" + bytes(9) + b"\x03\x00\x03\x00rest"
WIDE = b"\x7fELF\x02\x01\x01" + bytes(9) + b"\x03\x00\x3e\x00rest"
OTHER = b"\x7fELF\x02\x01\x01" + bytes(9) + b"\x03\x00\xb7\x00rest"


def pack(folder, *libraries):
    """The archive, and how the packer ended."""
    archive = os.path.join(folder, "a.xpi")
    paths = [os.path.join(folder, f"{i}.so") for i in range(len(libraries))]
    for path, library in zip(paths, libraries):
        with open(path, "wb") as file:
            file.write(library)
    return archive, subprocess.run(
        [sys.executable, PACKER, "1.2.3", archive, TYPELIB, *paths],
        check=False, stderr=subprocess.PIPE, text=True)


class Extension(unittest.TestCase):
    def test_each_file_is_where_browsers_look_for_it(self):
        with tempfile.TemporaryDirectory() as folder:
            archive, _ = pack(folder, WIDE, NARROW)
            with zipfile.ZipFile(archive) as packed:
                files = {name: packed.read(name) for name in packed.namelist()}
        manifest = files.pop("install.rdf").decode()
        library = "components/libValdrinConnection.so"
        self.assertTrue(files.pop("components/IValdrinConnection.xpt"))
        self.assertEqual({
            f"platform/Linux_x86-gcc3/{library}": NARROW,
            f"platform/Linux_x86_64-gcc3/{library}": WIDE,
        }, files)
        xml.dom.minidom.parseString(manifest)  # or raises
        self.assertIn("<em:version>1.2.3</em:version>", manifest)

    def test_libraries_of_other_processors_are_refused(self):
        with tempfile.TemporaryDirectory() as folder:
            _, done = pack(folder, OTHER)
            self.assertIn("platform without such browsers", done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
