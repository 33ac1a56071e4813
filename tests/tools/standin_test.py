"""Tests of the stand-in application, on its socket."""

import signal
import sys
import unittest

from support import STANDIN, Standin, run

STATEMENTS = "python_statements"
EXPRESSION = "python_expression"


class Test(unittest.TestCase):
    def test_vscript_commands(self):
        with Standin() as app:
            for script, reply in (
                ('echo  a "b  c" # note', "a b  c\n"),
                ("set size 3 m\nget size\n\nvars", "3 m\nsize = 3 m\n"),
                ("get no\necho never", 'ERROR: no variable "no"\n'),
                ("set size", "ERROR: usage: set NAME WORD...\n"),
                ('echo "', "ERROR: No closing quotation\n"),
                ("echo caf\u00e9 ]]> \u20ac", "caf\u00e9 ]]> \u20ac\n"),
            ):
                self.assertEqual(app.ask("vscript", script), reply)

    def test_python_runs_as_in_a_module_that_lasts(self):
        with Standin() as app:
            app.ask(
                STATEMENTS,
                "from dataclasses import dataclass\n"
                "@dataclass\n"
                "class P:\n"
                "    x: 'int'\n"
                "print('to the log \u20ac')",
            )
            self.assertEqual(app.ask(EXPRESSION, " P(4)\n"), "P(x=4)")
            reply = app.ask(EXPRESSION, "P(4) / 0")
            self.assertIn("TypeError: unsupported operand", reply)
            self.assertNotIn("valdrin-standin", reply)
        self.assertIn("to the log \u20ac\n", app.log)

    def test_every_request_is_answered(self):
        blank = b"<vscript>%s</vscript>\0"
        with Standin("--max-request", "1000") as app:
            for request, reply in (
                (b"\0", b"ERROR: malformed XML"),
                (b"<vscript>echo\0", b"ERROR: malformed XML"),
                (b"<vscript><b/></vscript>\0", b"ERROR: unexpected element"),
                (b"<shell>ls</shell>\0", b"ERROR: unknown element <shell>"),
                (b"<!DOCTYPE a><a/>\0", b"ERROR: a document type declaration"),
                (blank % b"caf\xe9", b"ERROR: the request is not valid"),
                (blank % (b"#" * 981), b"\0"),
                (blank % (b"#" * 982), b"ERROR: the request is longer"),
                (blank % (b"#" * 5000000), b"ERROR: the request is longer"),
                # More than one request is ignored, and costs not the reply.
                (blank % b"echo 1" + b"x" * 1000000, b"1\n\0"),
            ):
                answer = app.send(request)
                self.assertTrue(answer.startswith(reply), answer)
                self.assertEqual(answer.find(b"\0"), len(answer) - 1)

    def test_a_slow_client_and_a_rival_do_no_harm(self):
        with Standin("--client-timeout", "1") as app:
            with app.connect() as slow:
                slow.sendall(b"<vscript>")
                self.assertIn(b"took too long", slow.recv(1000))
            rival = run(sys.executable, STANDIN, "--port", str(app.port))
            self.assertEqual(rival.returncode, 1)
            self.assertIn(b'another stand-in? "--port 0"', rival.stderr)
            self.assertEqual(app.ask("vscript", "echo alive"), "alive\n")

    def test_an_output_that_is_full(self):
        with open("/dev/full", "wb") as full:
            result = run(sys.executable, STANDIN, "--port", "0", stdout=full)
        self.assertEqual(result.returncode, 1)
        error = b"valdrin-standin: standard output: No space left on device\n"
        self.assertEqual(result.stderr, error)

    def test_interrupt_stops_it_cleanly(self):
        with Standin() as app:
            # Threads that requests have left do not delay the exit.
            app.ask(STATEMENTS, "import threading as t\nwait = t.Event().wait")
            app.ask(STATEMENTS, "t.Thread(target=wait, daemon=False).start()")
            self.assertEqual(app.stop(signal.SIGINT), 0)
        self.assertTrue(app.log.endswith(" stopped\n"), app.log)


if __name__ == "__main__":
    unittest.main()
