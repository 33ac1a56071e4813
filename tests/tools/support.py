"""What the tests of the programs share."""

import os
import signal
import socket
import struct
import subprocess
import sys
import threading

BIN = os.environ["VALDRIN_BIN"]
VALDRIN = os.path.join(BIN, "valdrin")
STANDIN = os.path.join(BIN, "valdrin-standin")
DEADLINE = 120  # seconds; only ever reached by a failure


def envelope(tag, text):
    """The bytes of one request on the wire."""
    parts = (tag, text.replace(b"]]>", b"]]]]><![CDATA[>"), tag)
    return b'<?xml version="1.0"?>\n<%s><![CDATA[%s]]></%s>\n\0' % parts


def valdrin(*arguments, program=VALDRIN, **options):
    """Runs valdrin to its end. Input and output are bytes."""
    if "input" not in options:
        options.setdefault("stdin", subprocess.DEVNULL)
    options.setdefault("stdout", subprocess.PIPE)
    options.setdefault("stderr", subprocess.PIPE)
    return subprocess.run(
        [program, *arguments], timeout=DEADLINE, check=False, **options
    )


def bound():
    """A socket on a free port that the connection can reach.

    As long as it does not listen, connections to the port are refused.
    """
    kept = []
    while True:
        server = socket.socket()
        server.bind(("127.0.0.1", 0))
        if 10000 <= server.getsockname()[1] <= 65534:
            return server
        kept.append(server)


def listener():
    server = bound()
    server.listen()
    return server


def reset(client):
    """Closes `client` so that the other end sees an error."""
    client.setsockopt(
        socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0)
    )
    client.close()


def read_to_nul(client):
    data = b""
    while not data.endswith(b"\0"):
        chunk = client.recv(65536)
        if not chunk:
            break
        data += chunk
    return data


class Application:
    """Answers each connection with the next of `replies`, as given.

    Without a reply left it reads the request and stays silent.
    """

    def __init__(self, *replies):
        self.requests = []
        self._replies = list(replies)
        self._silenced = []
        self._server = listener()
        self.port = str(self._server.getsockname()[1])
        threading.Thread(target=self._serve, daemon=True).start()

    def _serve(self):
        while True:
            try:
                client = self._server.accept()[0]
            except OSError:
                return
            self.requests.append(read_to_nul(client))
            if not self._replies:
                self._silenced.append(client)
                continue
            with client:
                client.sendall(self._replies.pop(0))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._server.shutdown(socket.SHUT_RDWR)
        self._server.close()
        for client in self._silenced:
            client.close()


class Standin:
    """A running stand-in. Its log is complete after the block."""

    def __init__(self, *arguments):
        self._arguments = arguments
        self._log_grew = threading.Condition()
        self.log = ""

    def __enter__(self):
        self.process = subprocess.Popen(
            [sys.executable, STANDIN, "--port", "0", *self._arguments],
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
        )
        # Read all the while, so that the log never blocks the program.
        self._reader = threading.Thread(target=self._read_log, daemon=True)
        self._reader.start()
        line = self.process.stdout.readline().decode()
        self.port = int(line.rstrip("\n").split("listening on 127.0.0.1:")[1])
        return self

    def _read_log(self):
        for line in self.process.stderr:
            with self._log_grew:
                self.log += line.decode()
                self._log_grew.notify_all()

    def wait_for_log(self, text):
        with self._log_grew:
            if not self._log_grew.wait_for(lambda: text in self.log, DEADLINE):
                raise TimeoutError(f"not in the log: {text!r}")

    def __exit__(self, *_):
        self.stop()
        self.process.stdout.close()
        self.process.stderr.close()

    def stop(self, number=signal.SIGTERM):
        """Returns the exit status."""
        if self.process.poll() is None:
            self.process.send_signal(number)
        status = self.process.wait(DEADLINE)
        self._reader.join(DEADLINE)
        return status

    def connect(self):
        return socket.create_connection(("127.0.0.1", self.port), DEADLINE)

    def send(self, data):
        """Returns all that comes back for the bytes `data`."""
        with self.connect() as client:
            client.sendall(data)
            reply = b""
            while chunk := client.recv(65536):
                reply += chunk
        return reply

    def ask(self, tag, text):
        """Returns the reply to a well-formed request, without its NUL."""
        reply = self.send(envelope(tag.encode(), text.encode())).decode()
        assert reply.endswith("\0"), reply
        return reply[:-1]

    def execute(self, text):
        return self.ask("python_statements", text)

    def evaluate(self, text):
        return self.ask("python_expression", text)
