"""What the library asks of others."""

import re
import subprocess
import sys
import unittest

NM, READELF, LIBRARY = sys.argv[1:4]

# Versioned names, zlib's, and what may be absent.
UNDEFINED = re.compile(
    r" *(?:. \S+@\S+|U (?:inflate\w*|zError)"
    r"|w (?:NS_Alloc|__gmon_start__|_ITM_\w+TMCloneTable))")
# The loader is not among them: it serves those who look for a thread's data by
# its function. Threads were a library of their own in older C libraries.
LIBRARIES = re.compile(r"lib(?:c|m|pthread|stdc\+\+|gcc_s|z)\.so\.\d+")


def output(*command):
    return subprocess.run([*command, LIBRARY], check=True, text=True,
                          stdout=subprocess.PIPE).stdout


class Needed(unittest.TestCase):
    def test_only_the_system_libraries(self):
        for symbol in output(NM, "-D", "--undefined-only").splitlines():
            self.assertTrue(UNDEFINED.fullmatch(symbol), symbol)
        dynamic = output(READELF, "--dynamic", "--wide")
        needed = re.findall(r"\(NEEDED\).*\[(.*)\]", dynamic)
        self.assertTrue(needed)
        for name in needed:
            self.assertTrue(LIBRARIES.fullmatch(name), name)
        self.assertNotRegex(dynamic, r"R(?:UN)?PATH|SYMBOLIC")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
