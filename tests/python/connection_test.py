"""Tests of valdrin.Connection, against scripted peers."""

import contextlib
import math
import pickle
import threading
import time
import unittest

from support import Application, bound, envelope, reset

import valdrin

# Long enough for any exchange of these tests; only a failure reaches it.
DEADLINE = 60


@contextlib.contextmanager
def playing(play):
    """The port of a peer that reads a part of the request, and plays."""

    def serve():
        with listener.accept()[0] as peer, contextlib.suppress(OSError):
            peer.recv(1000)
            play(peer)

    with bound() as listener:
        listener.listen()
        thread = threading.Thread(target=serve, daemon=True)
        thread.start()
        yield listener.getsockname()[1]
        thread.join()


class Test(unittest.TestCase):
    def ask(self, reply, call):
        """Calls `call` with a connection to a peer that sends `reply`.

        Returns what `call` returned and the request that the peer received.
        """
        app = Application(reply)
        connection = valdrin.Connection(int(app.port), timeout=DEADLINE)
        value = call(connection)
        return value, app.requests[0]

    def test_each_method_sends_its_request(self):
        for method, text, tag, data in (
            ("run", "hi", b"vscript", b"hi"),
            ("execute", "é", b"python_statements", "é".encode()),
            ("evaluate", b"\xe9", b"python_expression", b"\xe9"),
            ("evaluate", "", b"python_expression", b""),
        ):
            with self.subTest(method=method, text=text):
                _, request = self.ask(
                    b"\0", lambda c: getattr(c, method)(text)
                )
                self.assertEqual(request, envelope(tag, data))

    def test_replies_become_text(self):
        for reply, text in (
            (b"\0", ""),
            (b"", ""),
            (b"no NUL", "no NUL"),
            (b"cut\0here\0", "cut"),
            ("€\0".encode(), "€"),
            (b"caf\xe9\0", "café"),
            (b"x" * 5000000 + b"\0", "x" * 5000000),
        ):
            with self.subTest(reply=reply[:20]):
                self.assertEqual(self.ask(reply, lambda c: c.run(""))[0], text)

    def test_failures_of_the_request_are_raised(self):
        trace = b'Traceback (most recent call last):\n  File "x"\nE: why\n\0'
        for method in ("execute", "evaluate"):
            with self.subTest(method=method):
                with self.assertRaises(valdrin.RemoteError) as caught:
                    self.ask(trace, lambda c: getattr(c, method)("x"))
                self.assertEqual(str(caught.exception), "E: why")
                self.assertEqual(
                    caught.exception.traceback, trace[:-1].decode()
                )
                copy = pickle.loads(pickle.dumps(caught.exception))
                self.assertEqual(copy.traceback, trace[:-1].decode())
        with self.assertRaisesRegex(valdrin.RequestRefused, "^busy$"):
            self.ask(b"ERROR: busy\0", lambda c: c.evaluate("x"))
        # A command's output is never judged, and a value only on request.
        self.assertEqual(
            self.ask(b"ERROR: x\0", lambda c: c.run("x"))[0], "ERROR: x"
        )
        unchecked, _ = self.ask(
            b"ERROR: x\0", lambda c: c.evaluate("x", check=False)
        )
        self.assertEqual(unchecked, "ERROR: x")

    def test_failures_of_the_connection_are_raised(self):
        with bound() as refusing:
            port = refusing.getsockname()[1]
            # The second number is another spelling of the port.
            for number in (port, port - 65535):
                with self.assertRaisesRegex(valdrin.ConnectError, "refused"):
                    valdrin.Connection(number).run("x")
        with self.assertRaises(valdrin.ConnectError):
            self.ask(None, lambda c: c.run("x" * 30000000))
        silent = Application()
        connection = valdrin.Connection(int(silent.port), timeout=0.1)
        with self.assertRaises(valdrin.RequestTimeout):
            connection.run("x")
        for text, expected in (("a\0b", ValueError), (0, TypeError)):
            with self.assertRaises(expected):
                connection.run(text)
        with self.assertRaises(valdrin.ConnectError):
            valdrin.Connection(host="a..b").run("x")

    def test_times_that_never_end(self):
        for timeout in (1e9, math.inf):
            app = Application(b"y\0")
            connection = valdrin.Connection(int(app.port), timeout=timeout)
            self.assertEqual(connection.run("x" * 30000000), "y")
        for timeout in (0, math.nan):
            with self.assertRaises(ValueError):
                valdrin.Connection(timeout=timeout)

    def test_peers_that_misbehave(self):
        def repeat(part, pause):
            def play(peer):
                while True:
                    peer.sendall(part)
                    time.sleep(pause)

            return play

        def reset_after(part):
            def play(peer):
                peer.sendall(part)
                reset(peer)

            return play

        for what, play, expected in (
            ("is slow", repeat(b"x", 0.05), valdrin.RequestTimeout),
            ("is endless", repeat(b"x" * 70000, 0), valdrin.ReplyTooLong),
            ("resets", reset_after(b""), valdrin.ConnectError),
            ("resets late", reset_after(b"xxx"), valdrin.ConnectError),
        ):
            with self.subTest(what), playing(play) as port:
                hurries = expected is valdrin.RequestTimeout
                connection = valdrin.Connection(
                    port, timeout=0.5 if hurries else DEADLINE, max_reply=70000
                )
                with self.assertRaises(expected):
                    connection.run("x")

    def test_a_reply_before_the_request_is_read_counts(self):
        stays = threading.Event()

        def play(peer):
            peer.sendall(b"early\0")
            stays.wait(DEADLINE)

        with playing(play) as port:
            connection = valdrin.Connection(port, timeout=DEADLINE)
            self.assertEqual(connection.run("x" * 30000000), "early")
            stays.set()


if __name__ == "__main__":
    unittest.main()
