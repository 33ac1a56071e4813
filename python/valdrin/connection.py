"""The client: sends requests to an application's command port."""

from __future__ import annotations

import errno
import socket
import time
from typing import Optional, Tuple, TypeVar

from . import _wire
from ._wire import Text

_CHUNK = 1 << 18
_Self = TypeVar("_Self", bound="Connection")


class Error(Exception):
    """Base of what a Connection raises."""


class ConnectError(Error, ConnectionError):
    """The application was not reached, or the connection was lost."""


class RequestTimeout(Error, TimeoutError):
    """The reply was not complete when the time was up.

    The application may still carry out the request.
    """


class ReplyTooLong(Error):
    """The reply has more bytes than the connection takes.

    The application may have carried out the request.
    """


class RequestRefused(Error):
    """The application did not carry out the request and said why."""


class RemoteError(Error):
    """The Python code of the request raised an exception.

    `traceback` is the application's traceback; the message is its last line,
    such as "ZeroDivisionError: division by zero".
    """

    def __init__(self, traceback: str) -> None:
        lines = traceback.strip().splitlines()
        super().__init__(lines[-1] if lines else "")
        self.traceback = traceback

    def __reduce__(self) -> Tuple[type, Tuple[str]]:
        return type(self), (self.traceback,)


class Connection:
    """Sends requests to the application that listens on a port.

    Each request opens a connection of its own, as the application expects, so
    an object of this class holds no socket, may be used by several threads at
    once, and outlives a restart of the application. In a `with` block the name
    ends with the block; nothing has to be closed.

    `port` is mapped into the range 10000 to 65534 as the component does it.
    `timeout` is the time for one request and its reply in seconds; None waits
    as long as it takes. A reply has at most `max_reply` bytes, so that no
    peer takes all of the memory.

    Text is sent as UTF-8, bytes as they are. A reply that is not valid UTF-8
    is taken as Latin-1.
    """

    def __init__(
        self,
        port: int = _wire.DEFAULT_PORT,
        host: str = _wire.HOST,
        timeout: Optional[float] = None,
        max_reply: int = 64 << 20,
    ) -> None:
        if timeout is not None and timeout <= 0:
            raise ValueError("timeout must be None or more than 0")
        self.port = _wire.map_port(port)
        self.host = host
        self.timeout = timeout
        self.max_reply = max_reply

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(self, *_exception: object) -> None:
        pass

    def __repr__(self) -> str:
        return f"Connection(port={self.port}, host={self.host!r})"

    def run(self, command: Text) -> str:
        """Runs a vscript command and returns its output.

        The output is returned as it is, also where it reports an error.
        """
        return self._request(_wire.COMMAND, command)

    def execute(self, statements: Text) -> None:
        """Runs Python statements. Raises RemoteError when they fail."""
        _check(self._request(_wire.STATEMENTS, statements))

    def evaluate(self, expression: Text, *, check: bool = True) -> str:
        """Evaluates a Python expression and returns str() of its value.

        Raises RemoteError when it fails. A reply says by its text alone
        whether the request failed: a value whose text begins with the line
        "Traceback (most recent call last):" or with "ERROR: " is taken for a
        failure. With `check` false the reply is returned whatever it says.
        """
        reply = self._request(_wire.EXPRESSION, expression)
        if check:
            _check(reply)
        return reply

    def _request(self, kind: str, text: Text) -> str:
        request = _wire.encode_request(kind, text)
        deadline = _Deadline(self.timeout)
        try:
            with self._connect(deadline) as peer:
                deadline.apply(peer)
                _send(peer, request, deadline)
                reply = _receive(peer, deadline, self.max_reply)
        except socket.timeout:
            raise RequestTimeout(
                f"no reply from port {self.port} in {self.timeout} s"
            ) from None
        except OSError as error:
            reason = error.strerror or str(error)
            raise ConnectError(
                f"{self.host} port {self.port}: {reason}"
            ) from error
        return _wire.decode_reply(reply)

    def _connect(self, deadline: _Deadline) -> socket.socket:
        peer = socket.create_connection(
            (self.host, self.port), deadline.remaining()
        )
        # A port of the range that the system also gives to clients can be
        # connected to itself while nobody listens on it.
        try:
            if peer.getsockname() == peer.getpeername():
                raise ConnectionRefusedError(
                    errno.ECONNREFUSED, "Connection refused"
                )
        except OSError:
            peer.close()
            raise
        return peer


class _Deadline:
    """The end of the time for one request."""

    def __init__(self, timeout: Optional[float]) -> None:
        self._end = None if timeout is None else time.monotonic() + timeout

    def remaining(self) -> Optional[float]:
        if self._end is None:
            return None
        left = self._end - time.monotonic()
        if left <= 0:
            raise socket.timeout()
        return left

    def apply(self, peer: socket.socket) -> None:
        peer.settimeout(self.remaining())


def _send(peer: socket.socket, data: bytes, deadline: _Deadline) -> None:
    rest = memoryview(data)
    while rest:
        deadline.apply(peer)
        rest = rest[peer.send(rest) :]


def _receive(peer: socket.socket, deadline: _Deadline, limit: int) -> bytes:
    """The reply, without its NUL or up to the end of the connection."""
    chunks = []
    size = 0
    while True:
        deadline.apply(peer)
        chunk, nul, _ = peer.recv(_CHUNK).partition(b"\0")
        chunks.append(chunk)
        size += len(chunk)
        if size > limit:
            raise ReplyTooLong(f"the reply is longer than {limit} bytes")
        if nul or not chunk:
            return b"".join(chunks)


def _check(reply: str) -> None:
    if reply.startswith(_wire.TRACEBACK):
        raise RemoteError(reply)
    if reply.startswith(_wire.ERROR):
        raise RequestRefused(reply[len(_wire.ERROR) :].rstrip("\n"))
