"""Both ends of the Valdrin connection, for programs with Python inside.

    >>> import valdrin
    >>> valdrin.Connection().evaluate("6 * 7")          # the client
    '42'
    >>> port = valdrin.CommandPort(globals())           # the application

CommandPort answers requests in a program, Connection sends them to one. Both
need nothing but Python's standard library.
"""

from ._wire import DEFAULT_PORT
from .command_port import CommandPort
from .connection import (
    ConnectError,
    Connection,
    Error,
    RemoteError,
    ReplyTooLong,
    RequestRefused,
    RequestTimeout,
)

__all__ = [
    "CommandPort",
    "ConnectError",
    "Connection",
    "DEFAULT_PORT",
    "Error",
    "RemoteError",
    "ReplyTooLong",
    "RequestRefused",
    "RequestTimeout",
]
