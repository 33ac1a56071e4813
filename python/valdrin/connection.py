"""The client: sends requests to an application's command port."""

from __future__ import annotations

import contextlib
import errno
import selectors
import socket
import time
from typing import Any, List, Optional, Tuple, TypeVar

from . import _wire
from ._wire import Text

_CHUNK = 1 << 18
# The system counts the milliseconds of a wait in an int.
_LONGEST_SECONDS = 24 * 86400.0
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
    `timeout` is the time for one request and its reply in seconds, without the
    look-up of the host's name; None, or more than 24 days, waits as long as it
    takes. A reply has at most `max_reply` bytes, so that no peer takes all of
    the memory.

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
        if timeout is not None and not timeout > 0:  # or not a number
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
                reply = _Reply(peer, self.max_reply)
                _send(peer, request, deadline, reply)
                while not reply.is_complete:
                    deadline.apply(peer)
                    reply.read()
        except socket.timeout:
            raise RequestTimeout(
                f"no reply from port {self.port} in {self.timeout} s"
            ) from None
        except OSError as error:
            reason = error.strerror or str(error)
            raise ConnectError(
                f"{self.host} port {self.port}: {reason}"
            ) from error
        return _wire.decode_reply(reply.data())

    def _connect(self, deadline: _Deadline) -> socket.socket:
        try:
            addresses = socket.getaddrinfo(
                self.host, self.port, type=socket.SOCK_STREAM
            )
        except UnicodeError as error:  # no host has such a name
            raise OSError(str(error)) from None
        for family, kind, _, _, address in addresses[:-1]:
            with contextlib.suppress(OSError):
                return _connected(family, kind, address, deadline)
        family, kind, _, _, address = addresses[-1]
        return _connected(family, kind, address, deadline)


def _connected(
    family: int, kind: int, address: Any, deadline: _Deadline
) -> socket.socket:
    peer = socket.socket(family, kind)
    try:
        deadline.apply(peer)
        peer.connect(address)
        # A port of the range that the system also gives to clients can be
        # connected to itself while nobody listens on it.
        if peer.getsockname() == peer.getpeername():
            raise ConnectionRefusedError(
                errno.ECONNREFUSED, "Connection refused"
            )
    except BaseException:
        peer.close()
        raise
    return peer


class _Deadline:
    """The end of the time for one request."""

    def __init__(self, timeout: Optional[float]) -> None:
        self._end = None
        if timeout is not None and timeout <= _LONGEST_SECONDS:
            self._end = time.monotonic() + timeout

    def remaining(self) -> Optional[float]:
        if self._end is None:
            return None
        left = self._end - time.monotonic()
        if left <= 0:
            raise socket.timeout()
        return left

    def apply(self, peer: socket.socket) -> None:
        peer.settimeout(self.remaining())


class _Reply:
    """What a peer sends, up to a NUL or to the end of the connection."""

    def __init__(self, peer: socket.socket, limit: int) -> None:
        self._peer = peer
        self._limit = limit
        self._chunks: List[bytes] = []
        self._size = 0
        self.is_complete = False
        self.is_request_sent = False

    def read(self) -> None:
        received = self._peer.recv(_CHUNK)
        if not received and not self.is_request_sent:
            raise ConnectionResetError(
                errno.ECONNRESET, "closed before it had the request"
            )
        chunk, nul, _ = received.partition(b"\0")
        self._chunks.append(chunk)
        self._size += len(chunk)
        if self._size > self._limit:
            raise ReplyTooLong(f"the reply is longer than {self._limit} bytes")
        self.is_complete = bool(nul) or not received

    def data(self) -> bytes:
        return b"".join(self._chunks)


def _send_part(peer: socket.socket, data: memoryview) -> memoryview:
    """What the peer has no room for."""
    try:
        return data[peer.send(data) :]
    except BlockingIOError:
        return data


def _send(
    peer: socket.socket, data: bytes, deadline: _Deadline, reply: _Reply
) -> None:
    """Sends a request, and reads the reply of a peer that does not wait for
    its end.
    """
    peer.setblocking(False)
    rest = _send_part(peer, memoryview(data))
    if rest:
        with selectors.DefaultSelector() as selector:
            selector.register(
                peer, selectors.EVENT_READ | selectors.EVENT_WRITE
            )
            while rest and not reply.is_complete:
                for _, events in selector.select(deadline.remaining()):
                    if events & selectors.EVENT_READ:
                        reply.read()
                    if events & selectors.EVENT_WRITE:
                        try:
                            rest = _send_part(peer, rest)
                        except OSError:
                            return  # the reply may be there
    reply.is_request_sent = not rest


def _check(reply: str) -> None:
    if reply.startswith(_wire.TRACEBACK):
        raise RemoteError(reply)
    if reply.startswith(_wire.ERROR):
        raise RequestRefused(reply[len(_wire.ERROR) :].rstrip("\n"))
