"""What is shipped gives an attacker nothing to begin with."""

import re
import subprocess
import sys
import unittest

READELF, *FILES = sys.argv[1:]


def read(file, *options):
    return subprocess.run([READELF, "--wide", *options, file], check=True,
                          text=True, stdout=subprocess.PIPE).stdout


class Hardening(unittest.TestCase):
    def test_functions_of_others_are_bound_at_once_and_then_read_only(self):
        for file in FILES:
            self.assertRegex(read(file, "--segments"), "GNU_RELRO", file)
            self.assertRegex(read(file, "--dynamic"), r"FLAGS.*\bNOW\b", file)

    def test_it_is_position_independent(self):
        for file in FILES:
            self.assertRegex(read(file, "--file-header"), r"Type:\s+DYN", file)
            self.assertNotIn("TEXTREL", read(file, "--dynamic"), file)

    def test_no_memory_is_both_written_and_run(self):
        for file in FILES:
            segments = read(file, "--segments")
            self.assertRegex(segments, r"GNU_STACK.* RW +0x", file)
            self.assertNotIn("RWE", segments, file)

    def test_only_the_system_libraries_are_needed_from_no_certain_folder(self):
        for file in FILES:
            dynamic = read(file, "--dynamic")
            self.assertNotRegex(dynamic, "R(UN)?PATH")
            needed = re.findall(r"\(NEEDED\).*\[lib(.*)\.so", dynamic)
            others = set(needed) - {"c", "m", "pthread", "stdc++", "gcc_s", "z"}
            self.assertEqual(set(), others, file)

    def test_the_stack_and_buffers_are_checked(self):
        for file in FILES:
            symbols = read(file, "--dyn-syms")
            self.assertIn("__stack_chk_fail", symbols, file)
        # A program may have no buffer that the C library could overrun.
        self.assertRegex(read(FILES[0], "--dyn-syms"), r"__\w+_chk@")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
