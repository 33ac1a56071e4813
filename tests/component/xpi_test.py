"""The extension for browsers that load components."""

import os
import re
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


class Extension(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def pack(self, name, *libraries):
        archive = os.path.join(self.folder, name)
        paths = []
        for number, library in enumerate(libraries):
            paths.append(os.path.join(self.folder, f"{number}.so"))
            with open(paths[-1], "wb") as file:
                file.write(library)
        done = subprocess.run(
            [sys.executable, PACKER, "1.2.3", archive, TYPELIB, *paths],
            check=False, stderr=subprocess.PIPE, text=True)
        return archive, done

    def test_each_file_is_where_browsers_look_for_it(self):
        archive, _ = self.pack("a.xpi", WIDE, NARROW)
        with zipfile.ZipFile(archive) as packed:
            files = {name: packed.read(name) for name in packed.namelist()}
        manifest = files.pop("install.rdf").decode()
        with open(TYPELIB, "rb") as file:
            typelib = file.read()
        library = "components/libValdrinConnection.so"
        self.assertEqual({
            "components/IValdrinConnection.xpt": typelib,
            f"platform/Linux_x86-gcc3/{library}": NARROW,
            f"platform/Linux_x86_64-gcc3/{library}": WIDE,
        }, files)

        xml.dom.minidom.parseString(manifest)  # or raises
        self.assertIn("<em:version>1.2.3</em:version>", manifest)
        platforms = re.findall("<em:targetPlatform>(.*)</", manifest)
        self.assertEqual(["Linux_x86-gcc3", "Linux_x86_64-gcc3"], platforms)

    def test_libraries_of_other_processors_are_refused(self):
        archive, done = self.pack("a.xpi", OTHER)
        self.assertIn("platform without such browsers", done.stderr)
        self.assertFalse(os.path.exists(archive))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
