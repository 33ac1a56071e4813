"""Tests of valdrin.CommandPort, in this process."""

import contextlib
import math
import queue
import socket
import threading
import unittest
from unittest import mock

from connection_test import DEADLINE
from support import envelope

import valdrin


def send(port, data):
    """All that comes back for the bytes `data`."""
    with socket.create_connection(("127.0.0.1", port.port), DEADLINE) as peer:
        peer.sendall(data)
        with peer.makefile("rb") as reply:
            return reply.read()


@contextlib.contextmanager
def command_port(namespace=None, **options):
    """A port on a free number and a connection to it."""
    namespace = {} if namespace is None else namespace
    with valdrin.CommandPort(namespace, 0, **options) as port:
        yield port, valdrin.Connection(port.port, timeout=DEADLINE)


class Hanging:
    """A request that hangs until the block ends."""

    def __init__(self, connection):
        self.namespace = {"began": threading.Event(), "go": threading.Event()}

        def hang():
            # A port that is closed meanwhile hangs up without an answer.
            with contextlib.suppress(valdrin.Error):
                connection.execute("began.set(); go.wait()")

        self._thread = threading.Thread(target=hang)

    def __enter__(self):
        self._thread.start()
        self.namespace["began"].wait(DEADLINE)

    def __exit__(self, *_):
        self.namespace["go"].set()
        self._thread.join()


class Test(unittest.TestCase):
    def test_failures_are_answered(self):
        def run_command(text):
            if text == "refuse":
                raise ValueError("no such thing")
            raise KeyError(text)

        namespace = {}
        exec(
            "class Unprintable:\n"
            "    def __str__(self): return 1\n"
            "class Meta(type):\n"
            "    def __getattribute__(self, name): exit()\n"
            "class Nameless(Exception, metaclass=Meta): pass\n"
            "def fail(): raise Nameless()\n"
            "def group(): raise ExceptionGroup('two', [KeyError(), OSError()])\n",
            namespace,
        )
        with command_port(namespace, run_command=run_command) as (_, c):
            self.assertEqual(c.run("refuse"), "ERROR: no such thing\n")
            self.assertTrue(c.run("x").endswith("KeyError: 'x'\n"))
            for expression, message in (
                ("1 / 0", "ZeroDivisionError: division by zero"),
                ("1 +", "SyntaxError: invalid syntax"),
                ("exit()", "SystemExit: None"),
                ("Unprintable()", "TypeError: __str__ returned non-string .*"),
                ("fail()", "Nameless"),
                # Python before 3.11 has none, but its error has the name, too.
                ("group()", ".*ExceptionGroup.*"),
            ):
                with self.subTest(expression=expression):
                    with self.assertRaisesRegex(
                        valdrin.RemoteError, f"^{message}$"
                    ) as caught:
                        c.evaluate(expression)
                    self.assertNotIn(
                        "command_port.py", caught.exception.traceback
                    )
            # What no UTF-8 text can hold crosses as escapes.
            self.assertEqual(c.evaluate(r"'\0\ud800'"), r"\x00\ud800")
        with command_port() as (_, connection):
            self.assertIn("not supported", connection.run("x"))

    def test_jobs_run_where_dispatch_puts_them(self):
        jobs = queue.Queue()
        with command_port(
            {"threading": threading}, dispatch=jobs.put
        ) as (_, connection):
            answers = []
            ask = connection.evaluate
            asker = threading.Thread(
                target=lambda: answers.append(ask("threading.get_ident()"))
            )
            asker.start()
            jobs.get(timeout=DEADLINE)()
            asker.join()
        self.assertEqual(answers, [str(threading.get_ident())])

    def test_a_request_that_hangs_holds_up_nobody(self):
        namespace = {}
        with command_port(namespace, run_command=str, busy_timeout=0.1) as (
            _,
            connection,
        ):
            hanging = Hanging(connection)
            namespace.update(hanging.namespace)
            with hanging:
                with self.assertRaisesRegex(valdrin.RequestRefused, "busy"):
                    connection.execute("late = 1")
                self.assertEqual(connection.run("me"), "me")
            # What was refused never runs.
            self.assertEqual(
                connection.evaluate("'late' in globals()"), "False"
            )

    def test_answers_that_take_too_long(self):
        namespace = {}
        with command_port(namespace, answer_timeout=0.1) as (port, connection):
            hanging = Hanging(connection)
            namespace.update(hanging.namespace)
            reply = send(port, envelope(b"python_statements", b"go.wait()"))
            self.assertIn(b"has not ended after 0.1 s", reply)
            hanging.namespace["go"].set()
            # Its own answer is dropped, and the next one is the right one.
            self.assertEqual(connection.evaluate("1 + 1"), "2")

    def test_times_that_never_end(self):
        times = {"busy_timeout": math.inf, "client_timeout": 1e9}
        with command_port(**times) as (_, connection):
            for _ in range(2):
                self.assertEqual(connection.evaluate("1"), "1")

    def test_a_reply_that_lacks_memory(self):
        def encode(text, whole=valdrin._wire.encode_reply):
            if text == "large":
                raise MemoryError
            return whole(text)

        with mock.patch("valdrin._wire.encode_reply", encode):
            with command_port() as (_, connection):
                with self.assertRaisesRegex(valdrin.RequestRefused, "memory"):
                    connection.evaluate("'large'")
                self.assertEqual(connection.evaluate("1"), "1")

    def test_foreign_protocols_are_answered_by_nothing(self):
        ran = []
        with command_port(run_command=ran.append) as (port, connection):
            body = envelope(b"vscript", b"never")
            for request in (
                b"GET / HTTP/1.1\r\nHost: localhost\r\n\r\n",
                b"POST / HTTP/1.1\r\nContent-Length: 99\r\n\r\n" + body,
                b"\x16\x03\x01\x02\x00\x01\x00",
                b"x" + body,
            ):
                with self.subTest(request=request[:20]):
                    try:
                        reply = send(port, request)
                    except ConnectionResetError:
                        reply = b""
                    self.assertEqual(reply, b"")
            self.assertEqual(ran, [])
            self.assertEqual(connection.run("x"), "None")

    def test_hostile_peers_do_no_harm(self):
        def connect():
            return socket.create_connection(("127.0.0.1", port.port), DEADLINE)

        with contextlib.ExitStack() as peers, command_port(
            max_request=1000000, client_timeout=DEADLINE
        ) as (port, connection):
            # Before, among and after those that say nothing.
            for _ in range(500):
                peers.enter_context(connect())
            half = peers.enter_context(connect())
            half.sendall(b"<vscr")
            self.assertEqual(connection.evaluate("1"), "1")
            endless = peers.enter_context(connect())
            for _ in range(300):
                endless.sendall(b"<" * 100000)
            self.assertEqual(connection.evaluate("2"), "2")
            endless.sendall(b"\0")
            self.assertIn(b"longer than 1000000", endless.recv(1000))
            # Asks for much and reads nothing.
            lazy = peers.enter_context(connect())
            lazy.sendall(envelope(b"python_expression", b"'x' * 50000000"))
            self.assertEqual(connection.evaluate("3"), "3")

    def test_close_lets_the_last_reply_out(self):
        namespace = {}
        port = valdrin.CommandPort(namespace, 0)
        connection = valdrin.Connection(port.port, timeout=DEADLINE)
        hanging = Hanging(connection)
        namespace.update(hanging.namespace)
        with hanging:
            closed = []
            closer = threading.Thread(
                target=lambda: closed.append(port.close(grace=DEADLINE))
            )
            closer.start()
        closer.join()
        self.assertEqual(closed, [True])
        with self.assertRaises(valdrin.ConnectError):
            connection.evaluate("1")
        self.assertTrue(port.close())

    def test_ports_that_no_client_reaches_are_refused(self):
        for port in (1, 9999, 65535):
            with self.subTest(port=port), self.assertRaises(ValueError):
                valdrin.CommandPort({}, port)


if __name__ == "__main__":
    unittest.main()
