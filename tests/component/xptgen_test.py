"""The type library, byte for byte, and what its generator refuses.

Usage: xptgen_test.py GENERATOR LIBRARY.xpt
"""

import hashlib
import os
import subprocess
import sys
import tempfile
import unittest

GENERATOR, TYPELIB = sys.argv[1:3]

EXPECTED = bytes.fromhex("""
    58 50 43 4f 4d 0a 54 79 70 65 4c 69 62 0d 0a 1a
    01 02 00 02 00 00 01 19 00 00 00 22 00 00 00 59
    80 00 00 00 00 00 00 00 00 c0 00 00 00 00 00 00
    46 00 00 00 01 00 00 00 00 00 00 00 00 7e ae 83
    06 9d 9f 43 aa ae ff 51 7e 86 a3 d0 6f 00 00 00
    0d 00 00 00 00 00 00 00 20 6e 73 49 53 75 70 70
    6f 72 74 73 00 49 56 61 6c 64 72 69 6e 43 6f 6e
    6e 65 63 74 69 6f 6e 00 00 01 00 06 00 00 00 00
    67 01 80 02 00 06 00 00 00 00 78 02 80 90 60 90
    00 06 00 00 00 00 7c 01 80 90 00 06 00 00 00 00
    90 02 80 90 60 90 00 06 00 00 00 00 a4 01 80 90
    00 06 00 00 00 00 b0 01 60 90 00 06 00 00 80 53
    65 74 53 6f 63 6b 65 74 50 6f 72 74 4e 75 6d 00
    52 75 6e 00 52 75 6e 50 79 74 68 6f 6e 53 74 61
    74 65 6d 65 6e 74 73 00 52 75 6e 50 79 74 68 6f
    6e 45 78 70 72 65 73 73 69 6f 6e 00 53 74 61 73
    68 53 74 72 69 6e 67 00 47 65 74 53 74 61 73 68
    65 64 53 74 72 69 6e 67 00""")
SHA256 = "2cfb3a686b0d17404b7f0dd4f2ef156bda2aee64aa9ad6fa739b5c2382957c72"

HEAD = "[scriptable, uuid(00112233-4455-6677-8899-aabbccddeeff)]\n"
OPEN = HEAD + "interface A : nsISupports {\n"

# Definitions, the line that is named, and a part of the message.
REFUSED = [
    ("", 1, "expected '['"),
    ("[scriptable]\ninterface A : nsISupports {};", 1, "no uuid"),
    ("[scriptable,\nbuiltinclass]", 2, "unknown attribute 'builtinclass'"),
    ("[uuid(00112233-4455-6677-8899)]", 1, "cannot read '0'"),
    (HEAD + "interface A : nsIFoo {};", 2, "unknown base interface 'nsIFoo'"),
    (HEAD + "interface A {};", 2, "expected ':'"),
    (OPEN + "readonly attribute long a;\n};", 3, "'readonly' is not supported"),
    (OPEN + "const long a = 1;\n};", 3, "cannot read '='"),
    (OPEN + "[noscript] void a();\n};", 3, "'[' is not supported"),
    (OPEN + "void a();\nnsIFile b();\n};", 4, "unsupported type 'nsIFile'"),
    (OPEN + "void a(in unsigned b);\n};", 3, "unsupported type 'unsigned b'"),
    (OPEN + "void a(long b);\n};", 3, "expected 'in', 'out' or 'inout'"),
    (OPEN + "void a(in long);\n};", 3, "expected the parameter's name"),
    (OPEN + "void a();\n/*\n*/void a();\n};", 5, "'a' is there twice"),
    (OPEN + "void a()\n};", 4, "expected ';'"),
    (OPEN, 3, "'end of file'"),
    (OPEN + "};\n" + HEAD, 4, "only one interface"),
]


def generate(text):
    """The finished process and the bytes written, or None."""
    with tempfile.TemporaryDirectory() as folder:
        source = os.path.join(folder, "a.idl")
        target = os.path.join(folder, "a.xpt")
        with open(source, "w", encoding="utf-8") as file:
            file.write(text)
        done = subprocess.run([sys.executable, GENERATOR, source, target],
                              check=False, stderr=subprocess.PIPE, text=True)
        if not os.path.exists(target):
            return done, None
        with open(target, "rb") as file:
            return done, file.read()


class TypeLibrary(unittest.TestCase):
    def test_the_built_file_is_the_expected_one(self):
        with open(TYPELIB, "rb") as file:
            built = file.read()
        self.assertEqual(EXPECTED.hex(" "), built.hex(" "))
        self.assertEqual(SHA256, hashlib.sha256(built).hexdigest())

    def test_types_have_their_tags(self):
        done, library = generate(
            OPEN + "unsigned long long a(in octet b, inout boolean c, "
            "out long long d, in unsigned short e, in wstring f);\n};")
        self.assertEqual(0, done.returncode, done.stderr)
        self.assertIn(bytes.fromhex("06 8004 c00a 4003 8005 8091 6007 0006"),
                      library)

    def test_what_it_cannot_write_is_refused_with_its_line(self):
        for text, line, message in REFUSED:
            with self.subTest(text=text):
                done, library = generate(text)
                self.assertEqual(1, done.returncode)
                self.assertIsNone(library)
                self.assertIn(f"a.idl:{line}: ", done.stderr)
                self.assertIn(message, done.stderr)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
