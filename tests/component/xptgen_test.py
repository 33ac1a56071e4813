"""The type library, byte for byte."""

import subprocess
import sys
import unittest

COMPONENT, TYPELIB = sys.argv[1:3]
GENERATOR = f"{COMPONENT}/xptgen.py"

EXPECTED = bytes.fromhex("""
    5850434f 4d0a5479 70654c69 620d0a1a 01020002 00000119 00000022 00000059
    80000000 00000000 00c00000 00000000 46000000 01000000 00000000 007eae83
    069d9f43 aaaeff51 7e86a3d0 6f000000 0d000000 00000000 206e7349 53757070
    6f727473 00495661 6c647269 6e436f6e 6e656374 696f6e00 00010006 00000000
    67018002 00060000 00007802 80906090 00060000 00007c01 80900006 00000000
    90028090 60900006 00000000 a4018090 00060000 0000b001 60900006 00008053
    6574536f 636b6574 506f7274 4e756d00 52756e00 52756e50 7974686f 6e537461
    74656d65 6e747300 52756e50 7974686f 6e457870 72657373 696f6e00 53746173
    68537472 696e6700 47657453 74617368 65645374 72696e67 00""")


class TypeLibrary(unittest.TestCase):
    def test_the_file_is_the_expected_one_and_can_be_made_again(self):
        again = TYPELIB + ".again"
        definition = f"{COMPONENT}/IValdrinConnection.idl"
        subprocess.run(
            [sys.executable, GENERATOR, definition, again], check=True)
        for path in (TYPELIB, again):
            with open(path, "rb") as file:
                self.assertEqual(EXPECTED, file.read(), path)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
