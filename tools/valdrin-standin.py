#!/usr/bin/env python3
"""A stand-in for the Valdrin application's command port.

It speaks the wire format of the command port and answers with a real Python
interpreter, so that the connection can be tried, shown and tested where no
Valdrin runs. It is not Valdrin: there is no scene, no module of the
application can be imported, and of vscript it knows only a few plain
commands (send "help").

Each connection carries one request: an XML document of one element, ended by
a NUL byte. The reply goes back with a NUL byte behind it, and the connection
is closed.

    <vscript>            a line is a command; the reply is its output
    <python_statements>  run in one namespace that lasts as long as the
                         program; the reply is empty, or a traceback
    <python_expression>  evaluated in the same namespace; the reply is
                         str(value), or a traceback

Whoever can connect runs code with the rights of this program. It therefore
listens on 127.0.0.1 only, which every user of the machine can reach: start
it where that is no harm.
"""

import argparse
import collections
import contextlib
import io
import linecache
import os
import select
import shlex
import signal
import socket
import sys
import threading
import time
import traceback
import types
from xml.parsers import expat

VERSION = "@PROJECT_VERSION@"
HOST = "127.0.0.1"
DEFAULT_PORT = 32153
# The connection maps every port number into this range, and each number of
# the range to itself: a listener elsewhere would never be reached.
LOWEST_PORT, HIGHEST_PORT = 10000, 65534
MAX_CLIENTS = 64
CHUNK = 65536
STOP_GRACE_SECONDS = 2.0
KEPT_SOURCES = 256


class RequestError(Exception):
    """What is wrong with a request, in words for its sender."""


class Hangup(Exception):
    """The client is gone: nobody is left to answer."""


# ---------------------------------------------------------------- requests


def parse_request(data):
    """Returns the element's name and its text.

    The text is UTF-8, as in any XML document that names no encoding. Bytes
    of another encoding are refused, not guessed at: a guess would only
    surprise later, when the real application refuses them.
    """
    try:
        data.decode("utf-8")
    except UnicodeDecodeError as error:
        raise RequestError(
            f"the request is not valid UTF-8 (byte {error.start})"
        ) from None

    names = []
    depth = 0
    text = []

    def start(name, attributes):
        nonlocal depth
        if names:
            raise RequestError(f"unexpected element <{name}>")
        if attributes:
            raise RequestError(f"unexpected attributes of <{name}>")
        names.append(name)
        depth += 1

    def end(_name):
        nonlocal depth
        depth -= 1

    def characters(piece):
        if depth:
            text.append(piece)

    def doctype(*_args):
        # No entities, and so none that blow up.
        raise RequestError("a document type declaration is not accepted")

    parser = expat.ParserCreate("utf-8")
    parser.buffer_text = True
    parser.StartElementHandler = start
    parser.EndElementHandler = end
    parser.CharacterDataHandler = characters
    parser.StartDoctypeDeclHandler = doctype
    try:
        parser.Parse(data, True)
    except expat.ExpatError as error:
        raise RequestError(f"malformed XML: {error}") from None
    return names[0], "".join(text)


# ------------------------------------------------------------------ vscript


class Vscript:
    """The few plain commands. Safe to use from several threads."""

    def __init__(self):
        self._variables = {}
        self._lock = threading.Lock()
        self._commands = {
            "echo": (self._echo, "echo [WORD...]", "reply with the words"),
            "get": (self._get, "get NAME", "reply with a variable's value"),
            "help": (self._help, "help", "list the commands"),
            "set": (self._set, "set NAME WORD...", "set a variable"),
            "unset": (self._unset, "unset NAME", "forget a variable"),
            "vars": (self._vars, "vars", "list the variables"),
            "version": (self._version, "version", "name this program"),
        }

    def run(self, script):
        """Runs each line of `script` and returns the output of all.

        The first line that fails ends the script; its message comes last.
        Words are split and quoted as in a shell, "#" begins a comment.
        """
        output = []
        with self._lock:
            for line in script.split("\n"):
                try:
                    words = shlex.split(line, comments=True)
                    if words:
                        output.append(self._command(words[0], words[1:]))
                except ValueError as error:
                    output.append(f"ERROR: {error}")
                    break
        return "".join(f"{text}\n" for text in output if text is not None)

    def _command(self, name, words):
        if name not in self._commands:
            raise ValueError(
                f'unknown command "{name}"; this stand-in knows only: '
                + " ".join(self._commands)
            )
        function, usage, _ = self._commands[name]
        try:
            return function(*words)
        except TypeError:
            raise ValueError(f"usage: {usage}") from None

    def _echo(self, *words):
        return " ".join(words)

    def _get(self, name):
        if name not in self._variables:
            raise ValueError(f'no variable "{name}"')
        return self._variables[name]

    def _help(self):
        rows = (row[1:] for row in self._commands.values())
        return "\n".join(f"{usage:<18}{purpose}" for usage, purpose in rows)

    def _set(self, name, word, *more):
        self._variables[name] = " ".join((word, *more))

    def _unset(self, name):
        if self._variables.pop(name, None) is None:
            raise ValueError(f'no variable "{name}"')

    def _vars(self):
        rows = sorted(self._variables.items())
        return "\n".join(f"{k} = {v}" for k, v in rows) if rows else None

    def _version(self):
        return f"valdrin-standin {VERSION}"


# ------------------------------------------------------------------- Python


class Interpreter:
    """One namespace, used by one request at a time."""

    def __init__(self):
        # A registered module, because some of the standard library looks a
        # class's module up by its name.
        module = types.ModuleType("valdrin_requests")
        sys.modules[module.__name__] = module
        self._namespace = module.__dict__
        self._sources = collections.deque()
        self._count = 0
        self._lock = threading.Lock()

    @contextlib.contextmanager
    def turn(self, client_is_gone):
        """Waits for the interpreter to be free.

        An endless loop in one request holds up the later ones. Those whose
        client has gone meanwhile are dropped: nobody expects them to run.
        """
        while not self._lock.acquire(timeout=0.5):
            if client_is_gone():
                raise Hangup("hung up while the interpreter was busy")
        try:
            yield
        finally:
            self._lock.release()

    def run(self, text, is_expression):
        """Returns the reply. Call within a turn."""
        try:
            if is_expression:
                code = self._compile(text.strip(), "eval")
                return str(eval(code, self._namespace))
            exec(self._compile(text, "exec"), self._namespace)
            return ""
        except BaseException as error:  # SystemExit too ends only the request
            # Without the frames of this program.
            frames = error.__traceback__.tb_next
            while frames and frames.tb_frame.f_code.co_filename == __file__:
                frames = frames.tb_next
            lines = traceback.format_exception(type(error), error, frames)
            return "".join(lines)

    def _compile(self, text, mode):
        # A name per request, so that a traceback shows the right lines also
        # of a function that an earlier request defined.
        self._count += 1
        name = f"<request {self._count}>"
        lines = [f"{line}\n" for line in text.split("\n")]
        linecache.cache[name] = (len(text), None, lines, name)
        self._sources.append(name)
        if len(self._sources) > KEPT_SOURCES:
            linecache.cache.pop(self._sources.popleft(), None)
        return compile(text, name, mode, dont_inherit=True)


# ------------------------------------------------------------------- server


class Log:
    """Lines on a descriptor of our own, which requests cannot close."""

    def __init__(self, quiet):
        self._quiet = quiet
        self._descriptor = os.dup(2)

    def write(self, text):
        if self._quiet:
            return
        line = f"valdrin-standin: {text}\n"
        # A log that nobody reads is no reason to end.
        with contextlib.suppress(OSError):
            os.write(self._descriptor, line.encode("utf-8", "replace"))


def excerpt(text, limit=60):
    """`text` on one line, cut to a legible length."""
    shown = repr(text[: limit + 1])
    return shown if len(text) <= limit else f"{shown[:limit]}... ({len(text)})"


class Server:
    """Accepts clients and gives each a thread of its own."""

    def __init__(self, listener, options, log):
        self._listener = listener
        self._max_request = options.max_request
        self._client_timeout = options.client_timeout
        self._log = log
        self._interpreter = Interpreter()
        self._vscript = Vscript()
        self._slots = threading.BoundedSemaphore(MAX_CLIENTS)
        self._threads = set()
        self._stopping = threading.Event()
        self._wake_reader, self._wake_writer = socket.socketpair()

    def stop_on_signals(self):
        """Makes SIGTERM and SIGINT end serve(), also one that comes first."""
        self._wake_writer.setblocking(False)
        signal.set_wakeup_fd(
            self._wake_writer.fileno(), warn_on_full_buffer=False
        )
        for number in (signal.SIGTERM, signal.SIGINT):
            signal.signal(number, lambda *_: self._stopping.set())

    def serve(self):
        """Serves until told to stop, then lets the last replies out.

        Returns false when a request was still running after the grace time.
        """
        poller = select.poll()
        poller.register(self._wake_reader, select.POLLIN)
        poller.register(self._listener, select.POLLIN)
        clients = 0
        while not self._stopping.is_set():
            if not self._slots.acquire(timeout=0.5):
                continue
            poller.poll()
            client = None if self._stopping.is_set() else self._accept()
            if client is None:
                self._slots.release()
                continue
            clients += 1
            self._start(client, clients)
        self._listener.close()
        return self._finish()

    def _accept(self):
        try:
            return self._listener.accept()[0]
        except BlockingIOError:  # the client has gone again
            return None
        except OSError as error:
            self._log.write(f"accept: {error}")
            time.sleep(0.1)  # out of descriptors: let some clients end
            return None

    def _start(self, client, number):
        thread = threading.Thread(
            target=self._run, args=(client, number), daemon=True
        )
        self._threads.add(thread)
        try:
            thread.start()
        except RuntimeError as error:
            self._log.write(f"[{number}] {error}")
            client.close()
            self._threads.discard(thread)
            self._slots.release()

    def _finish(self):
        deadline = time.monotonic() + STOP_GRACE_SECONDS
        for thread in list(self._threads):
            thread.join(max(0.0, deadline - time.monotonic()))
        return not any(thread.is_alive() for thread in list(self._threads))

    def _run(self, client, number):
        try:
            with client:
                client.setblocking(True)
                self._converse(client, number)
        except (Hangup, OSError) as error:
            self._log.write(f"[{number}] {error}")
        except Exception:  # a fault of ours must not cost the server
            self._log.write(f"[{number}] {traceback.format_exc()}")
        finally:
            self._threads.discard(threading.current_thread())
            self._slots.release()

    def _converse(self, client, number):
        try:
            kind, text = parse_request(self._receive(client))
            self._log.write(f"[{number}] {kind}: {excerpt(text)}")
            reply = self._answer(client, kind, text)
        except RequestError as error:
            reply = f"ERROR: {error}"
        self._log.write(f"[{number}] reply: {excerpt(reply)}")
        # A NUL ends the reply, so one inside it crosses as an escape. What
        # UTF-8 cannot express (lone surrogates) is escaped likewise.
        data = str(reply).replace("\0", "\\x00")
        client.settimeout(self._client_timeout)
        client.sendall(data.encode("utf-8", "backslashreplace") + b"\0")
        self._linger(client)

    def _answer(self, client, kind, text):
        if kind == "vscript":
            return self._vscript.run(text)
        if kind not in ("python_statements", "python_expression"):
            raise RequestError(f"unknown element <{kind}>")

        def client_is_gone():
            flags = socket.MSG_PEEK | socket.MSG_DONTWAIT
            try:
                return client.recv(1, flags) == b""
            except BlockingIOError:
                return False

        client.setblocking(True)
        with self._interpreter.turn(client_is_gone):
            return self._interpreter.run(text, kind == "python_expression")

    def _receive(self, client):
        """Returns the request without its NUL. What follows is ignored.

        A request beyond the limit is read to its end all the same, without
        keeping it: its sender may not look for an answer before that.
        """
        deadline = time.monotonic() + self._client_timeout
        data = bytearray()
        size = 0
        while True:
            remaining = deadline - time.monotonic()
            if remaining <= 0:
                raise RequestError("the request took too long to arrive")
            client.settimeout(remaining)
            try:
                chunk = client.recv(CHUNK)
            except socket.timeout:
                continue
            if not chunk and not size:
                raise Hangup("hung up without a request")
            if not chunk:
                raise RequestError("the request does not end in a NUL byte")
            end = chunk.find(b"\0")
            size += len(chunk) if end < 0 else end
            if size <= self._max_request:
                data += chunk if end < 0 else chunk[:end]
            else:
                data.clear()
            if end < 0:
                continue
            if size > self._max_request:
                raise RequestError(
                    f"the request is longer than {self._max_request} bytes"
                )
            return bytes(data)

    def _linger(self, client):
        """Waits a little for the client to close.

        Closing first would reset the connection if the client had sent more
        than it should, and a reset can overtake the reply.
        """
        deadline = time.monotonic() + min(2.0, self._client_timeout)
        with contextlib.suppress(OSError):
            client.shutdown(socket.SHUT_WR)
            while time.monotonic() < deadline:
                client.settimeout(max(0.01, deadline - time.monotonic()))
                if not client.recv(CHUNK):
                    return


# -------------------------------------------------------------------- start


def listen(port):
    """Returns a listening socket. Port 0 picks a free one of the range."""
    unsuitable = []  # kept open, so that the system offers other ones
    try:
        while True:
            listener = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
            try:
                listener.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
                listener.bind((HOST, port))
                chosen = listener.getsockname()[1]
                if LOWEST_PORT <= chosen <= HIGHEST_PORT:
                    listener.listen(128)
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


def port_number(text):
    """Reads the value of --port."""
    port = int(text)
    if port != 0 and not LOWEST_PORT <= port <= HIGHEST_PORT:
        raise argparse.ArgumentTypeError(
            f"{port} is not 0 or from {LOWEST_PORT} to {HIGHEST_PORT}, "
            "the ports that the connection can reach"
        )
    return port


def positive(kind):
    def convert(text):
        value = kind(text)
        if not 0 < value <= threading.TIMEOUT_MAX:
            raise argparse.ArgumentTypeError(f"{text} is out of range")
        return value

    convert.__name__ = kind.__name__
    return convert


def parse_options(arguments):
    parser = argparse.ArgumentParser(
        prog="valdrin-standin",
        description=__doc__,
        formatter_class=argparse.RawDescriptionHelpFormatter,
        epilog='Standard output carries one line, "listening on '
        '127.0.0.1:PORT"; the log and what requests print go to standard '
        "error. SIGTERM and SIGINT stop the program.",
    )
    parser.add_argument(
        "--port",
        type=port_number,
        default=DEFAULT_PORT,
        metavar="N",
        help="port to listen on (default: %(default)s); 0: any free one",
    )
    parser.add_argument(
        "--max-request",
        type=positive(int),
        default=64 << 20,
        metavar="BYTES",
        help="longest request to accept (default: %(default)s)",
    )
    parser.add_argument(
        "--client-timeout",
        type=positive(float),
        default=30.0,
        metavar="SECONDS",
        help="time for a request to arrive, and for a reply to leave "
        "(default: %(default)s)",
    )
    parser.add_argument("--quiet", action="store_true", help="log no requests")
    parser.add_argument(
        "--version", action="version", version=f"%(prog)s {VERSION}"
    )
    return parser.parse_args(arguments)


def main():
    options = parse_options(sys.argv[1:])
    log = Log(options.quiet)
    try:
        listener = listen(options.port)
    except OSError as error:
        print(
            f"valdrin-standin: {HOST}:{options.port}: {error.strerror}",
            file=sys.stderr,
        )
        return 1
    server = Server(listener, options, log)
    server.stop_on_signals()
    print(f"listening on {HOST}:{listener.getsockname()[1]}", flush=True)

    # What requests print belongs to the log, and they have nothing to read.
    sys.stdout = io.TextIOWrapper(
        os.fdopen(os.dup(2), "wb", buffering=0),
        encoding="utf-8",
        errors="backslashreplace",
        write_through=True,
    )
    sys.stdin = open(os.devnull, encoding="utf-8")
    finished = server.serve()
    log.write("stopped" if finished else "stopped with a request running")
    if threading.active_count() > 1:
        # A request goes on, or has left threads behind: shutting down in good
        # order would wait for them, perhaps for ever.
        os._exit(0)
    return 0


if __name__ == "__main__":
    sys.exit(main())
