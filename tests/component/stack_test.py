"""The compiled code of 32-bit x86 relies on no more of the stack than callers
promise: vectors are kept there only by functions that align it first."""

import re
import subprocess
import sys
import unittest

OBJDUMP, LIBRARY, CARELESS = sys.argv[1:4]

FUNCTION = re.compile(r"^[0-9a-f]+ <(.+)>:$", re.MULTILINE)
ON_STACK = re.compile(r"\(%e[sb]p")
ALIGNS = re.compile(r"and\s+\$0xffffff[0-9a-f]0,%esp")

# Instructions with whole vectors in memory want them aligned, except those
# that move them unaligned, those on one number or half a vector, and those in
# the newer encoding, where only the aligned moves care.
VECTOR = re.compile(
    r"\t(?!v)(?!mov[uhl]p[sd]|movdqu|lddqu|movddup|mov[dq]\b|\w+s[sd]\b"
    r"|cvt(?:dq|ps)2pd|cvtpi2|cvtsi2|pinsr|pextr|pmov[sz]x)\w+.*%xmm"
    r"|\tv?mov(?:ap[sd]|dqa|ntp[sd]|ntdq)\w*\b.*%[xy]mm")


# Names and code. What the compiler moved out of a function for being unlikely
# has its name and more, and counts as part of it.
def functions(path):
    listing = subprocess.run([OBJDUMP, "-d", "--no-show-raw-insn", path],
                             check=True, text=True,
                             stdout=subprocess.PIPE).stdout
    pieces = FUNCTION.split(listing)[1:]
    found = list(zip(pieces[::2], pieces[1::2]))
    moved = {name.partition(".cold")[0]: body
             for name, body in found if ".cold" in name}
    return [(name, body + moved.get(name, ""))
            for name, body in found if ".cold" not in name]


def relies_on_alignment(body):
    return not ALIGNS.search(body) and any(
        ON_STACK.search(line) and VECTOR.search(line)
        for line in body.splitlines())


def careless(path):
    return [name for name, body in functions(path)
            if relies_on_alignment(body)]


class Stack(unittest.TestCase):
    def test_the_library_aligns_it_before_it_keeps_vectors_there(self):
        self.assertGreater(len(functions(LIBRARY)), 1000)
        self.assertEqual([], careless(LIBRARY))

    def test_code_without_the_option_is_found(self):
        self.assertEqual(["utKeepVector"], careless(CARELESS))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
