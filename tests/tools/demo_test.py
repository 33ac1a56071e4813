"""Tests of the demonstration script."""

import os
import subprocess
import tempfile
import unittest

from support import BIN, DEADLINE

DEMO = os.path.join(os.environ["VALDRIN_SOURCE"], "scripts", "demo")


class Test(unittest.TestCase):
    def expect(self, build, status, *endings):
        result = subprocess.run(
            [DEMO, build], capture_output=True, timeout=DEADLINE, check=False
        )
        shown = (result.stdout + result.stderr).decode()
        self.assertEqual(result.returncode, status, shown)
        self.assertTrue(shown.endswith(endings), shown)

    def test_right_answers_succeed(self):
        self.expect(os.path.dirname(BIN), 0, "\n\nAll went well.\n")

    def test_wrong_answer_fails(self):
        with tempfile.TemporaryDirectory() as build:
            os.mkdir(f"{build}/bin")
            standin = f"{BIN}/valdrin-standin"
            os.symlink(standin, f"{build}/bin/valdrin-standin")
            with open(f"{build}/bin/valdrin", "w", encoding="utf-8") as fake:
                fake.write("#!/bin/sh\necho wrong\n")
            os.chmod(f"{build}/bin/valdrin", 0o755)
            self.expect(build, 1, "been: Hello from the page\n\n")


if __name__ == "__main__":
    unittest.main()
