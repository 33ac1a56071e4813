"""The application's end: answers requests in a program with Python inside."""

from __future__ import annotations

import collections
import contextlib
import functools
import itertools
import linecache
import logging
import queue
import selectors
import socket
import threading
import time
import traceback
from typing import Any, Callable, Deque, Dict, List, Optional, TypeVar

from . import _wire

Job = Callable[[], None]

_log = logging.getLogger("valdrin.command_port")
_Self = TypeVar("_Self", bound="CommandPort")

_CHUNK = 1 << 16
_KEPT_SOURCES = 256
_LINGER_SECONDS = 2.0
_LATE_SECONDS = 1.0
_LONGEST_PAUSE = 86400.0  # the system takes no more than 24 days
_LOWEST_PORT, _HIGHEST_PORT = 10000, 65534


class CommandPort:
    """Listens on 127.0.0.1 and answers requests as the application does.

    Python requests are executed and evaluated in `namespace`, a dictionary
    that may be that of a module. It serves from the constructor on until
    close() is called or its `with` block ends.

    port
        The port to listen on, from 10000 to 65534; 0 picks a free one of that
        range, which `port` then holds. OSError when it cannot be used.
    dispatch
        Decides where requests run. It is called with a job, a function
        without arguments, and sees to it that the job is called once, soon,
        where the program's data may be touched: many programs allow that on
        their main thread only, and call from a timer or an event loop, so
        `dispatch=queue.Queue().put` with a timer that empties the queue is
        all that is needed. It is called on a thread of the port and must
        return at once. Without it requests run on two threads of the port,
        one for Python and one for commands.
    run_command
        Carries out a command of the vscript kind: takes its text and returns
        its output. What it raises is answered by a traceback, and ValueError
        by "ERROR: " and its message. Without it commands are refused.
    busy_timeout
        How long a request waits for its turn, in seconds. After that it is
        answered by an error that says so, and never runs: a request that
        hangs does not hold the port.
    answer_timeout
        How long a request may run before its client is answered by an error.
        It runs on: Python code cannot be stopped from outside. None waits as
        long as it takes.
    client_timeout
        The time for a request to arrive and for a reply to leave, in seconds.
    max_request
        The longest request in bytes. A longer one is read to its end, without
        keeping it, and refused.
    max_clients
        The most connections at once. A further one takes the place of the one
        that has kept the port waiting for its request the longest, if that is
        more than a second; otherwise it waits.

    Whoever can connect runs code with the rights of this program, and every
    user of the machine can connect to 127.0.0.1.
    """

    def __init__(
        self,
        namespace: Dict[str, Any],
        port: int = _wire.DEFAULT_PORT,
        dispatch: Optional[Callable[[Job], object]] = None,
        *,
        run_command: Optional[Callable[[str], str]] = None,
        busy_timeout: float = 10.0,
        answer_timeout: Optional[float] = None,
        client_timeout: float = 30.0,
        max_request: int = 64 << 20,
        max_clients: int = 256,
    ) -> None:
        if port != 0 and not _LOWEST_PORT <= port <= _HIGHEST_PORT:
            raise ValueError(
                f"port {port} is not 0 or from {_LOWEST_PORT} to "
                f"{_HIGHEST_PORT}, the ports that clients can reach"
            )
        self._interpreter = _Interpreter(namespace)
        self._run_command = run_command
        self._busy_timeout = busy_timeout
        self._answer_timeout = answer_timeout
        self._client_timeout = client_timeout
        self._max_request = max_request
        self._max_clients = max_clients

        self._listener = _listen(port)
        self.port: int = self._listener.getsockname()[1]

        self._numbers = itertools.count(1)
        self._clients: Dict[int, _Client] = {}  # by descriptor
        self._done: Deque[_Request] = collections.deque()
        self._stopping = False
        self._wake_reader, self._wake_writer = socket.socketpair()
        self._wake_writer.setblocking(False)
        self._wake_reader.setblocking(False)
        self._selector = selectors.DefaultSelector()
        self._selector.register(self._wake_reader, selectors.EVENT_READ)
        self._selector.register(self._listener, selectors.EVENT_READ)
        self._accepting = True
        self._accepting_paused = False  # until a connection ends
        self._grace_end = 0.0
        self._left_running = False

        self._lanes: List[_Lane] = []
        if dispatch is None:
            python, commands = _Lane("Python"), _Lane("commands")
            self._lanes = [python, commands]
            self._dispatch_python: Callable[[Job], object] = python.put
            self._dispatch_command: Callable[[Job], object] = commands.put
        else:
            self._dispatch_python = self._dispatch_command = dispatch

        self._thread = threading.Thread(
            target=self._serve, name="valdrin command port", daemon=True
        )
        self._thread.start()

    def __enter__(self: _Self) -> _Self:
        return self

    def __exit__(self, *_exception: object) -> None:
        self.close()

    def close(self, grace: float = 2.0) -> bool:
        """Stops listening and lets the last replies out.

        Requests that are under way have `grace` seconds to end, those that
        wait for their turn are answered by an error. Returns False when one
        was still running at the end, or when the port's own thread is the
        one that calls. May be called again.
        """
        self._grace_end = time.monotonic() + grace
        self._stopping = True
        self._wake()
        if threading.current_thread() is self._thread:
            return False
        self._thread.join()
        for lane in self._lanes:
            lane.stop()
        return not self._left_running

    # ---- The port's thread: everything that touches sockets.

    def _serve(self) -> None:
        try:
            while not self._is_finished():
                for key, events in self._selector.select(self._pause()):
                    self._handle(key.fileobj, events)
                self._answer_done()
                self._expire()
        except Exception:  # a fault of ours, which must not pass in silence
            _log.exception("the port ends")
        finally:
            self._end()

    def _is_finished(self) -> bool:
        if not self._stopping:
            return False
        if self._accepting:
            self._stop_accepting()
            for client in list(self._clients.values()):
                self._refuse_unstarted(client)
        return not self._clients or time.monotonic() >= self._grace_end

    def _stop_accepting(self) -> None:
        self._accepting = False
        with contextlib.suppress(KeyError):
            self._selector.unregister(self._listener)
        self._listener.close()

    def _refuse_unstarted(self, client: _Client) -> None:
        """At the end: whoever waits for a turn is answered, who sends is
        not."""
        if client.is_sending():
            self._drop(client, "the port closes")
        elif client.request is not None and client.request.cancel():
            self._reply(client, "ERROR: the application is closing")

    def _end(self) -> None:
        for client in list(self._clients.values()):
            request = client.request
            if request is not None and not request.cancel():
                self._left_running = True
            self._drop(client, None)
        if self._accepting:
            self._stop_accepting()
        self._selector.close()
        self._wake_reader.close()
        self._wake_writer.close()

    def _pause(self) -> Optional[float]:
        """Seconds until something is to be done that no event announces."""
        ends = [
            client.deadline
            for client in self._clients.values()
            if client.deadline is not None
        ]
        if self._stopping:
            ends.append(self._grace_end)
        if self._accepting_paused:
            ends += [
                client.since + _LATE_SECONDS
                for client in self._clients.values()
                if client.is_sending()
            ]
        if not ends:
            return None
        return min(max(0.0, min(ends) - time.monotonic()), _LONGEST_PAUSE)

    def _handle(self, source: object, events: int) -> None:
        if source is self._wake_reader:
            with contextlib.suppress(BlockingIOError):
                while self._wake_reader.recv(_CHUNK):
                    pass
        elif source is self._listener:
            self._accept()
        else:
            assert isinstance(source, socket.socket)
            client = self._clients.get(source.fileno())
            if client is None:  # dropped earlier in this round
                return
            try:
                if events & selectors.EVENT_WRITE:
                    self._write(client)
                else:
                    self._read(client)
            except OSError as error:
                self._drop(client, error.strerror or str(error))
            except MemoryError:
                self._drop(client, "no memory for the request")

    def _wake(self) -> None:
        # Full means that it is awake anyway; closed, that it has ended.
        with contextlib.suppress(OSError):
            self._wake_writer.send(b"\0")

    def _accept(self) -> None:
        if len(self._clients) >= self._max_clients and not self._make_room():
            self._selector.unregister(self._listener)
            self._accepting_paused = True
            return
        try:
            peer = self._listener.accept()[0]
        except (BlockingIOError, ConnectionAbortedError):  # gone again
            return
        except OSError as error:
            _log.warning("accept: %s", error)
            # Out of descriptors: let some clients end.
            if not self._make_room():
                time.sleep(0.1)
            return
        peer.setblocking(False)
        now = time.monotonic()
        client = _Client(peer, next(self._numbers), now)
        client.deadline = now + self._client_timeout
        self._clients[peer.fileno()] = client
        self._selector.register(peer, selectors.EVENT_READ)

    def _make_room(self) -> bool:
        """Drops the connection that has been late the longest, if any is."""
        late = time.monotonic() - _LATE_SECONDS
        for client in self._clients.values():  # the oldest first
            if client.is_sending() and client.since <= late:
                self._drop(client, "dropped for a new connection")
                return True
        return False

    def _drop(self, client: _Client, reason: Optional[str]) -> None:
        """Ends a connection. Its request does not run if it has not begun."""
        if client.request is not None:
            client.request.cancel()
            client.request = None
        if self._clients.pop(client.peer.fileno(), None) is None:
            return
        if client.is_registered:
            self._selector.unregister(client.peer)
        client.peer.close()
        if reason:
            _log.info("[%d] %s", client.number, reason)
        if self._accepting_paused and self._accepting:
            self._accepting_paused = False
            self._selector.register(self._listener, selectors.EVENT_READ)

    def _read(self, client: _Client) -> None:
        try:
            chunk = client.peer.recv(_CHUNK)
        except BlockingIOError:
            return
        if client.is_answered:
            # Lingering: what arrives is dropped until the client closes.
            if not chunk:
                self._drop(client, None)
        elif client.request is not None:
            self._read_early(client, chunk)
        else:
            self._read_request(client, chunk)

    def _read_early(self, client: _Client, chunk: bytes) -> None:
        """What a client does between its request and the reply."""
        assert client.request is not None
        if chunk:
            return  # more than one request is ignored
        if client.request.cancel():
            self._drop(client, "hung up while the interpreter was busy")
        else:
            # It runs, and its reply may still find a reader: the client may
            # have ended its own direction only.
            self._selector.unregister(client.peer)
            client.is_registered = False

    def _read_request(self, client: _Client, chunk: bytes) -> None:
        if not chunk:
            if client.size:
                self._reply(
                    client, "ERROR: the request does not end in a NUL byte"
                )
            else:
                self._drop(client, "hung up without a request")
            return
        end = chunk.find(b"\0")
        piece = chunk if end < 0 else chunk[:end]
        client.size += len(piece)
        if client.size <= self._max_request:
            client.input += piece
            if not _wire.may_be_request(bytes(client.input[:64])):
                self._drop(client, "no request: closed without an answer")
                return
        else:
            client.input.clear()
        if end < 0:
            return
        if client.size > self._max_request:
            self._reply(
                client,
                f"ERROR: the request is longer than {self._max_request} bytes",
            )
            return
        data = bytes(client.input)
        client.input = bytearray()
        try:
            kind, text = _wire.parse_request(data)
            _log.info("[%d] %s: %s", client.number, kind, _excerpt(text))
            self._start(client, kind, text)
        except _wire.RequestError as error:
            self._reply(client, f"ERROR: {error}")

    def _start(self, client: _Client, kind: str, text: str) -> None:
        interpreter = self._interpreter
        dispatch = self._dispatch_python
        if kind == _wire.COMMAND:
            run_command = self._run_command
            if run_command is None:
                raise _wire.RequestError("commands are not supported here")
            dispatch = self._dispatch_command
            work = functools.partial(_reply_to_command, run_command, text)
        elif kind == _wire.STATEMENTS:
            work = functools.partial(interpreter.execute, text)
        elif kind == _wire.EXPRESSION:
            work = functools.partial(interpreter.evaluate, text)
        else:
            raise _wire.RequestError(f"unknown element <{kind}>")
        request = _Request(client, work, self._finish)
        client.request = request
        now = time.monotonic()
        client.busy_end = now + self._busy_timeout
        client.deadline = self._next_look(client, now)
        try:
            dispatch(request.run)
        except Exception as error:
            _log.exception("[%d] dispatch", client.number)
            client.request = None
            raise _wire.RequestError(
                f"the request could not be handed over: {error}"
            ) from None

    def _finish(self, request: _Request) -> None:
        """Called where the request ran."""
        self._done.append(request)
        self._wake()

    def _answer_done(self) -> None:
        while self._done:
            request = self._done.popleft()
            client = request.client
            if client.request is request:
                self._reply(client, request.reply)

    def _next_look(self, client: _Client, now: float) -> float:
        """When to look at a request that waits for its turn."""
        if self._answer_timeout is None:
            return client.busy_end
        return min(client.busy_end, now + self._answer_timeout)

    def _expire(self) -> None:
        now = time.monotonic()
        for client in list(self._clients.values()):
            if client.deadline is None or client.deadline > now:
                continue
            if client.request is not None:
                self._expire_request(client, client.request, now)
            elif client.is_sending():
                self._reply(
                    client, "ERROR: the request took too long to arrive"
                )
            elif client.is_answered:
                self._drop(client, None)
            else:
                self._drop(client, "the reply was not taken in time")
        if self._accepting_paused:
            self._make_room()

    def _expire_request(
        self, client: _Client, request: _Request, now: float
    ) -> None:
        if request.started is None:
            if now < client.busy_end:
                client.deadline = self._next_look(client, now)
                return
            if request.cancel():
                self._reply(
                    client,
                    "ERROR: the application is busy with another request "
                    f"(waited {self._busy_timeout:g} s)",
                )
                return
        if self._answer_timeout is None:
            client.deadline = None
            return
        started = now if request.started is None else request.started
        if now < started + self._answer_timeout:
            client.deadline = started + self._answer_timeout
            return
        # Whatever it answers is dropped.
        self._reply(
            client,
            "ERROR: the request has not ended after "
            f"{self._answer_timeout:g} s and runs on",
        )

    def _reply(self, client: _Client, text: str) -> None:
        client.request = None
        _log.info("[%d] reply: %s", client.number, _excerpt(text))
        try:
            data = _wire.encode_reply(text)
        except MemoryError:
            data = _wire.encode_reply("ERROR: no memory for the reply")
        client.output = memoryview(data)
        client.deadline = time.monotonic() + self._client_timeout
        if client.is_registered:
            self._selector.modify(client.peer, selectors.EVENT_WRITE)
        else:
            self._selector.register(client.peer, selectors.EVENT_WRITE)
            client.is_registered = True
        try:
            self._write(client)
        except OSError as error:
            self._drop(client, error.strerror or str(error))

    def _write(self, client: _Client) -> None:
        try:
            while client.output:
                sent = client.peer.send(client.output)
                client.output = client.output[sent:]
        except BlockingIOError:
            return
        # Closing now would reset the connection if the client had sent more
        # than it should, and a reset can overtake the reply.
        client.is_answered = True
        client.peer.shutdown(socket.SHUT_WR)
        linger = min(_LINGER_SECONDS, self._client_timeout)
        client.deadline = time.monotonic() + linger
        self._selector.modify(client.peer, selectors.EVENT_READ)


class _Client:
    """One connection. Only the port's thread touches it."""

    def __init__(self, peer: socket.socket, number: int, now: float) -> None:
        self.peer = peer
        self.number = number
        self.since = now
        self.input = bytearray()
        self.size = 0  # of the request so far, also where it is not kept
        self.request: Optional[_Request] = None
        self.busy_end = 0.0  # of the request's waiting for its turn
        self.output = memoryview(b"")
        self.is_answered = False
        self.is_registered = True  # with the selector
        self.deadline: Optional[float] = None

    def is_sending(self) -> bool:
        """Whether its request has not arrived whole."""
        return (
            self.request is None and not self.output and not self.is_answered
        )


class _Request:
    """One piece of work, which begins at most once."""

    def __init__(
        self,
        client: _Client,
        work: Callable[[], str],
        finish: Callable[[_Request], None],
    ) -> None:
        self.client = client
        self.reply = ""
        self.started: Optional[float] = None
        self._work = work
        self._finish = finish
        self._taken = threading.Lock()

    def cancel(self) -> bool:
        """True when it has not begun, and then never will."""
        return self._taken.acquire(blocking=False)

    def run(self) -> None:
        """The job for `dispatch`. Raises nothing."""
        if self._taken.acquire(blocking=False):
            self.started = time.monotonic()
            self.reply = self._work()
            self._finish(self)


class _Lane:
    """A thread that runs jobs one after the other."""

    def __init__(self, name: str) -> None:
        self._jobs: queue.SimpleQueue[Optional[Job]] = queue.SimpleQueue()
        self._thread = threading.Thread(
            target=self._run, name=f"valdrin {name}", daemon=True
        )
        self._thread.start()

    def put(self, job: Job) -> None:
        self._jobs.put(job)

    def stop(self) -> None:
        """Ends the thread after the jobs that it has."""
        self._jobs.put(None)

    def _run(self) -> None:
        while True:
            job = self._jobs.get()
            if job is None:
                return
            job()


class _Interpreter:
    """Runs the Python of requests. Requests come one at a time."""

    def __init__(self, namespace: Dict[str, Any]) -> None:
        self._namespace = namespace
        self._sources: Deque[str] = collections.deque()
        self._numbers = itertools.count(1)

    def execute(self, text: str) -> str:
        """The reply to statements: empty, or a traceback."""

        def work() -> str:
            exec(self._compile(text, "exec"), self._namespace)
            return ""

        return _reply_of(work)

    def evaluate(self, text: str) -> str:
        """The reply to an expression: str() of its value, or a traceback."""

        def work() -> str:
            code = self._compile(text.strip(), "eval")
            return str(eval(code, self._namespace))

        return _reply_of(work)

    def _compile(self, text: str, mode: str) -> Any:
        # A name per request, so that a traceback shows the right lines also
        # of a function that an earlier request defined.
        name = f"<request {next(self._numbers)}>"
        lines = [f"{line}\n" for line in text.split("\n")]
        linecache.cache[name] = (len(text), None, lines, name)
        self._sources.append(name)
        if len(self._sources) > _KEPT_SOURCES:
            linecache.cache.pop(self._sources.popleft(), None)
        return compile(text, name, mode, dont_inherit=True)


def _reply_to_command(run_command: Callable[[str], str], text: str) -> str:
    def work() -> str:
        try:
            return str(run_command(text))
        except ValueError as error:
            return f"ERROR: {error}\n"

    return _reply_of(work)


def _reply_of(work: Callable[[], str]) -> str:
    """What `work` returns, or the traceback of what it raises."""
    try:
        # A text of a class derived from str could do anything later.
        return str.__str__(work())
    except BaseException as error:  # SystemExit too ends only the request
        try:
            return _traceback(error)
        except BaseException:  # an exception whose text cannot be had
            # Its class may have a name of its own making.
            name = type.__dict__["__name__"].__get__(type(error))
            return f"{_wire.TRACEBACK}{name}\n"


def _traceback(error: BaseException) -> str:
    """The traceback without the frames of this file."""
    frames = error.__traceback__
    while frames and frames.tb_frame.f_code.co_filename == __file__:
        frames = frames.tb_next
    text = "".join(traceback.format_exception(type(error), error, frames))
    # A group ends with a frame around its last member; clients take the last
    # line for the message.
    message = "".join(traceback.format_exception_only(type(error), error))
    if not text.endswith(message):
        text += message
    # A text that does not compile has no frames, and then no first line.
    return text if text.startswith("Traceback") else _wire.TRACEBACK + text


def _excerpt(text: str, limit: int = 60) -> str:
    """`text` on one line, cut to a legible length."""
    shown = repr(text[: limit + 1])
    return shown if len(text) <= limit else f"{shown[:limit]}... ({len(text)})"


def _listen(port: int) -> socket.socket:
    """A listening socket. Port 0 picks a free one that clients can reach."""
    unsuitable = []  # kept open, so that the system offers other ones
    try:
        while True:
            listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
            try:
                listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                listener.bind((_wire.HOST, port))
                chosen = listener.getsockname()[1]
                if _LOWEST_PORT <= chosen <= _HIGHEST_PORT:
                    listener.listen(512)
                    # The client may be gone again when it is accepted.
                    listener.setblocking(False)
                    return listener
            except OSError:
                listener.close()
                raise
            unsuitable.append(listener)
    finally:
        for other in unsuitable:
            other.close()
