"""Tests of the stand-in application, on its socket."""

import signal
import socket
import subprocess
import sys
import unittest

from support import DEADLINE, STANDIN, Standin, envelope, reset


class Test(unittest.TestCase):
    def test_vscript_commands(self):
        with Standin() as app:
            for script, reply in (
                ("echo hi", "hi\n"),
                ('echo  a "b  c" # note', "a b  c\n"),
                ("", ""),
                ("set size 3 m\nget size\n\nvars", "3 m\nsize = 3 m\n"),
                ("unset size\nvars", ""),
                ("get size\necho never", 'ERROR: no variable "size"\n'),
                ("set size", "ERROR: usage: set NAME WORD...\n"),
                ('echo "', "ERROR: No closing quotation\n"),
                ("echo caf\u00e9 ]]> \u20ac", "caf\u00e9 ]]> \u20ac\n"),
            ):
                self.assertEqual(app.ask("vscript", script), reply)
            self.assertIn("\necho ", "\n" + app.ask("vscript", "help"))
            self.assertIn(
                'ERROR: unknown command "opparm"',
                app.ask("vscript", "opparm x"),
            )

    def test_namespace_lasts(self):
        statements = (
            "from dataclasses import dataclass\n"
            "@dataclass\n"
            "class P:\n"
            "    x: int\n"
            "def twice(p):\n"
            "    return P(2 * p.x)\n"
            "print('to the log \u20ac')"
        )
        with Standin() as app:
            self.assertEqual(app.execute(statements), "")
            self.assertEqual(app.evaluate(" twice(P(4))\n"), "P(x=8)")
            self.assertEqual(app.evaluate("'\u20ac' + '\\xe9'"), "\u20ac\u00e9")
            self.assertEqual(app.evaluate("'a\\0b\\ud800'"), "a\\x00b\\ud800")
        self.assertIn("to the log \u20ac\n", app.log)

    def test_failures_in_python_come_back_as_tracebacks(self):
        with Standin() as app:
            app.execute("def f():\n    return 1 / 0\n")
            app.execute("class B:\n  def __str__(self): raise SystemExit(1)")
            for run, text, last in (
                (app.evaluate, "f()", "ZeroDivisionError: division by zero"),
                (app.evaluate, "1 +", "SyntaxError: invalid syntax"),
                (app.evaluate, "B()", "SystemExit: 1"),
                (app.evaluate, "__import__('sys').exit(2)", "SystemExit: 2"),
                (app.execute, "raise KeyboardInterrupt", "KeyboardInterrupt"),
                (app.execute, "nope", "NameError: name 'nope' is not defined"),
            ):
                reply = run(text)
                self.assertEqual(reply.splitlines()[-1], last)
                self.assertNotIn("valdrin-standin", reply)
            self.assertIn("    return 1 / 0\n", app.evaluate("f()"))
            self.assertEqual(app.evaluate("1 + 1"), "2")

    def test_malformed_requests_are_answered(self):
        bomb = (
            b'<!DOCTYPE a [<!ENTITY b "xx"><!ENTITY c "&b;&b;">]>'
            b"<vscript>echo &c;</vscript>\0"
        )
        with Standin() as app:
            for request, error in (
                (b"\0", b"malformed XML"),
                (b"hello\0", b"malformed XML"),
                (b"<vscript>echo\0", b"malformed XML"),
                (b"<vscript/><vscript/>\0", b"malformed XML"),
                (b"<vscript>\x01</vscript>\0", b"malformed XML"),
                (b"<vscript><b/></vscript>\0", b"unexpected element <b>"),
                (b"<vscript a='1'/>\0", b"unexpected attributes"),
                (b"<shell>ls</shell>\0", b"unknown element <shell>"),
                (bomb, b"a document type declaration"),
                (envelope(b"vscript", b"caf\xe9"), b"the request is not valid"),
            ):
                reply = app.send(request)
                self.assertTrue(reply.startswith(b"ERROR: " + error), reply)
                self.assertEqual(reply.count(b"\0"), 1)
            # More than one request is ignored, and costs not the reply.
            more = b"<vscript>echo 1</vscript>\0" + b"x" * 1000000
            self.assertEqual(app.send(more), b"1\n\0")

    def test_oversized_request_is_answered_and_dropped(self):
        with Standin("--max-request", "1000") as app:
            for excess in (0, 1, 5000000):
                frame = len(envelope(b"vscript", b"")) - 1
                text = b"#" * (1000 - frame + excess)
                reply = app.send(envelope(b"vscript", text))
                self.assertEqual(
                    reply,
                    b"ERROR: the request is longer than 1000 bytes\0"
                    if excess
                    else b"\0",
                )

    def test_hang_ups_do_no_harm(self):
        request = envelope(b"python_expression", b"'x' * 10000000")
        with Standin("--client-timeout", "60") as app:
            for sent in (b"", b"<vscr", request):
                for leave in (socket.socket.close, reset):
                    client = app.connect()
                    client.sendall(sent)
                    leave(client)
            with app.connect() as client:
                client.sendall(b"<vscript/>")
                client.shutdown(socket.SHUT_WR)
                self.assertIn(b"does not end in a NUL", client.recv(1000))
            self.assertEqual(app.ask("vscript", "echo alive"), "alive\n")

    def test_slow_client_times_out(self):
        with Standin("--client-timeout", "0.3") as app:
            with app.connect() as client:
                client.sendall(b"<vscript>")
                self.assertIn(b"took too long", client.recv(1000))

    def test_many_clients_at_once(self):
        # All send before any is answered, more than are served at once. What
        # they run is not interleaved.
        statements = (
            b"n = globals().get('n', 0)\n"
            b"for _ in range(1000): m = n + 1\n"
            b"n = m"
        )
        with Standin("--client-timeout", "100") as app:
            clients = [app.connect() for _ in range(100)]
            for client in clients:
                client.sendall(envelope(b"python_statements", statements))
            for client in clients:
                with client:
                    self.assertEqual(client.recv(1000), b"\0")
            self.assertEqual(app.evaluate("n"), "100")

    def test_endless_loop_holds_up_python_only(self):
        with Standin() as app:
            with app.connect() as stuck, app.connect() as waiting:
                endless = b"print('stuck')\nwhile 1: pass"
                stuck.sendall(envelope(b"python_statements", endless))
                app.wait_for_log("stuck\n")
                waiting.sendall(envelope(b"python_expression", b"1"))
                self.assertEqual(app.ask("vscript", "echo me"), "me\n")
                waiting.close()
                app.wait_for_log("hung up while the interpreter")
                self.assertEqual(app.stop(), 0)
        self.assertIn("stopped with a request running", app.log)

    def test_signals_stop_it_cleanly(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with Standin() as app:
                # Threads that requests leave behind do not keep it.
                app.execute("import threading as t")
                app.execute("t.Thread(target=t.Event().wait).start()")
                self.assertEqual(app.stop(number), 0)
            self.assertTrue(app.log.endswith(" stopped\n"), app.log)

    def test_ports(self):
        def start(port):
            return subprocess.run(
                [sys.executable, STANDIN, "--port", port],
                capture_output=True,
                check=False,
                timeout=DEADLINE,
            )

        with Standin() as app:
            self.assertTrue(10000 <= app.port <= 65534)
            taken = start(str(app.port))
            self.assertEqual((taken.returncode, taken.stdout), (1, b""))
            self.assertIn(b"Address already in use", taken.stderr)
        for port in ("-1", "80", "9999", "65535", "x"):
            self.assertEqual(start(port).returncode, 2)


if __name__ == "__main__":
    unittest.main()
