#!/usr/bin/env python3
"""A stand-in for the Valdrin application's command port.

It speaks the wire format of the command port and answers with a real Python
interpreter, so that the connection can be tried, shown and tested without
Valdrin. It is not Valdrin: there is no scene, no module of the
application can be imported, and it supports only a few basic vscript
commands (send "help").

Each connection carries one request: an XML document of one element, followed
by a NUL byte. The reply is followed by a NUL byte, and the connection is
closed.

    <vscript>            a line is a command; the reply is its output
    <python_statements>  run in one namespace that lasts as long as the
                         program; the reply is empty, or a traceback
    <python_expression>  evaluated in the same namespace; the reply is
                         str(value), or a traceback

Anyone who can connect can run code with the rights of this program. It
therefore listens only on 127.0.0.1, which every user of the machine can reach:
start it only where that does no harm.
"""

import argparse
import contextlib
import errno
import io
import logging
import os
import pathlib
import shlex
import signal
import socket
import sys
import threading
import types

VERSION = "@PROJECT_VERSION@"

# The package is next to the programs, in a build tree and in an
# installation.
sys.path.insert(
    0,
    str(pathlib.Path(__file__).resolve().parent / "@PYTHON_DIR_FROM_BINDIR@"),
)

import valdrin  # noqa: E402


# ---- Vscript


class Vscript:
    """The few plain commands. Called on one thread."""

    def __init__(self):
        self._variables = {}
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


# ---- Start


def fill_standard_descriptors():
    """Keeps what is opened later from the place of one that is closed."""
    descriptor = 0
    while descriptor <= 2:
        descriptor = os.open(os.devnull, os.O_RDWR)
    os.close(descriptor)


class LogHandler(logging.Handler):
    """Lines on a descriptor of our own, which requests cannot close."""

    def __init__(self):
        super().__init__()
        self._descriptor = os.dup(2)

    def emit(self, record):
        line = f"valdrin-standin: {self.format(record)}\n"
        # A log without a reader is not a reason to exit.
        with contextlib.suppress(OSError):
            os.write(self._descriptor, line.encode("utf-8", "replace"))


class StopSignals:
    """SIGTERM and SIGINT, which end the program in good order."""

    def __init__(self):
        self._reader, self._writer = socket.socketpair()
        self._writer.setblocking(False)
        signal.set_wakeup_fd(self._writer.fileno(), warn_on_full_buffer=False)
        for number in (signal.SIGTERM, signal.SIGINT):
            signal.signal(number, lambda *_: None)

    def wait(self):
        """Returns when one has come, also when it came before the call."""
        while not {signal.SIGTERM, signal.SIGINT} & set(self._reader.recv(1)):
            pass


def request_namespace():
    """The namespace of a registered module, because some of the standard
    library looks a class's module up by its name."""
    module = types.ModuleType("valdrin_requests")
    sys.modules[module.__name__] = module
    return module.__dict__


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
        type=int,
        default=os.environ.get("VALDRIN_PORT") or valdrin.DEFAULT_PORT,
        metavar="N",
        help="port to listen on (default: the variable VALDRIN_PORT, or "
        f"{valdrin.DEFAULT_PORT}); 0: any free one",
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
    parser.add_argument(
        "--busy-timeout",
        type=positive(float),
        default=10.0,
        metavar="SECONDS",
        help="time that a request waits for its turn before it is refused "
        "(default: %(default)s)",
    )
    parser.add_argument("--quiet", action="store_true", help="log no requests")
    parser.add_argument(
        "--version", action="version", version=f"%(prog)s {VERSION}"
    )
    return parser.parse_args(arguments)


def main():
    options = parse_options(sys.argv[1:])
    fill_standard_descriptors()
    log = logging.getLogger("valdrin")
    log.propagate = False
    log.addHandler(LogHandler())
    log.setLevel(logging.ERROR if options.quiet else logging.INFO)

    # What requests print belongs to the log, and they have nothing to read. The
    # port serves from its constructor on, so this comes first.
    announcements = sys.stdout
    sys.stdout = io.TextIOWrapper(
        os.fdopen(os.dup(2), "wb", buffering=0),
        encoding="utf-8",
        errors="backslashreplace",
        write_through=True,
    )
    sys.stdin = open(os.devnull, encoding="utf-8")

    stops = StopSignals()
    try:
        port = valdrin.CommandPort(
            request_namespace(),
            options.port,
            run_command=Vscript().run,
            busy_timeout=options.busy_timeout,
            client_timeout=options.client_timeout,
            max_request=options.max_request,
        )
    except ValueError as error:
        print(f"valdrin-standin: {error}", file=sys.stderr)
        return 2
    except OSError as error:
        message = f"valdrin-standin: port {options.port}: {error.strerror}"
        if error.errno == errno.EADDRINUSE:
            message += (
                "\nIs the application running, or another stand-in? "
                '"--port 0" takes any free port.'
            )
        print(message, file=sys.stderr)
        return 1
    try:
        print(
            f"listening on 127.0.0.1:{port.port}",
            file=announcements,
            flush=True,
        )
    except OSError as error:
        print(
            f"valdrin-standin: standard output: {error.strerror}",
            file=sys.stderr,
        )
        return 1
    stops.wait()
    finished = port.close()
    log.info("stopped" if finished else "stopped with a request running")
    if threading.active_count() > 1:
        # A request is still running or has left threads: shutting down in good
        # order would wait for them, perhaps forever.
        os._exit(0)
    return 0


if __name__ == "__main__":
    sys.exit(main())
