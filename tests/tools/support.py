"""What the tests of the programs share."""

import os
import signal
import socket
import struct
import subprocess
import sys
import threading

BIN = os.environ["VALDRIN_BIN"]
STANDIN = os.path.join(BIN, "valdrin-standin")
DEADLINE = 120  # seconds; only ever reached by a failure


def envelope(tag, text):
    """The bytes of one request on the wire."""
    parts = (tag, text.replace(b"]]>", b"]]]]><![CDATA[>"), tag)
    return b'<?xml version="1.0"?>\n<%s><![CDATA[%s]]></%s>\n\0' % parts


def run(*arguments, **options):
    """Runs a program to its end. Input and output are bytes."""
    pipes = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE}
    return subprocess.run(
        arguments, timeout=DEADLINE, check=False, **{**pipes, **options}
    )


def bound():
    """A socket on a free port that the connection can reach.

    As long as it does not listen, connections to the port are refused.
    """
    kept = []
    while True:
        kept.append(socket.socket())
        kept[-1].bind(("127.0.0.1", 0))
        if 10000 <= kept[-1].getsockname()[1] <= 65534:
            return kept[-1]


def reset(client):
    """Closes `client` so that the other end sees an error."""
    linger = struct.pack("ii", 1, 0)
    client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, linger)
    client.close()


class Application:
    """Answers each connection with the next of `replies`, as given.

    For a reply of None it resets the connection before the request is there.
    Without a reply left it reads the request and is silent from then on.
    """

    def __init__(self, *replies):
        self.requests = []
        self._replies = list(replies)
        self._server = bound()
        self._server.listen()
        self.port = str(self._server.getsockname()[1])
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            client = self._server.accept()[0]
            if self._replies[:1] == [None]:
                return reset(client)
            request = b""
            while not request.endswith(b"\0"):
                request += client.recv(65536) or b" ended too early\0"
            self.requests.append(request)
            if not self._replies:
                threading.Event().wait()
            with client:
                client.sendall(self._replies.pop(0))


class Standin:
    """A running stand-in. Its log is complete after the block."""

    def __init__(self, *arguments):
        self.log = ""
        self.process = subprocess.Popen(
            [sys.executable, STANDIN, "--port", "0", *arguments],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            encoding="utf-8",
        )
        line = self.process.stdout.readline()
        self.port = int(line.split("listening on 127.0.0.1:")[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        with self.process:
            self.stop()

    def stop(self, number=signal.SIGTERM):
        """Returns the exit status."""
        self.process.send_signal(number)
        self.log += self.process.stderr.read()
        return self.process.wait(DEADLINE)

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), DEADLINE)

    def send(self, data):
        """Returns all that comes back for the bytes `data`."""
        with self.connect() as client:
            client.sendall(data)
            with client.makefile("rb") as reply:
                return reply.read()

    def ask(self, tag, text):
        """Returns the reply to a well-formed request, without its NUL."""
        reply = self.send(envelope(tag.encode(), text.encode())).decode()
        assert reply.endswith("\0"), reply
        return reply[:-1]
