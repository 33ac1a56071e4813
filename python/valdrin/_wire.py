"""The exchange as bytes: the request's envelope, the reply's text, the port."""

from __future__ import annotations

from typing import Dict, List, Tuple, Union
from xml.parsers import expat

HOST = "127.0.0.1"
DEFAULT_PORT = 32153

# The elements of the three kinds of requests.
COMMAND = "vscript"
STATEMENTS = "python_statements"
EXPRESSION = "python_expression"

# How a reply to a Python request begins when the request failed.
TRACEBACK = "Traceback (most recent call last):\n"
ERROR = "ERROR: "

Text = Union[str, bytes]


class RequestError(Exception):
    """What is wrong with a request, in words for its sender."""


def map_port(port: int) -> int:
    """The port that is used for `port`: always one from 10000 to 65534.

    Ports of that range are used as they are. The rule is the component's, so
    that a number means the same port to every client.
    """
    mapped = port % 65535
    return mapped + 10000 if mapped <= 9999 else mapped


def encode_request(kind: str, text: Text) -> bytes:
    """The bytes of one request, with the NUL byte that ends it.

    Bytes are sent as they are, a string as its UTF-8. Raises ValueError for a
    text with a NUL character, which no request can carry, and for lone
    surrogates.
    """
    if isinstance(text, str):
        data = text.encode("utf-8")
    else:
        data = bytes(memoryview(text))  # bytes() alone takes numbers, too
    if b"\0" in data:
        raise ValueError("a request cannot contain a NUL character")
    # CDATA ends at its first "]]>", so one in the text is split over two.
    data = data.replace(b"]]>", b"]]]]><![CDATA[>")
    tag = kind.encode("ascii")
    return b'<?xml version="1.0"?>\n<%s><![CDATA[%s]]></%s>\n\0' % (
        tag,
        data,
        tag,
    )


def parse_request(data: bytes) -> Tuple[str, str]:
    """The element's name and its text. Raises RequestError.

    The text is UTF-8, as in any XML document that names no encoding. Bytes of
    another encoding are refused, not guessed at: a guess would only surprise
    later, when the real application refuses them.
    """
    try:
        data.decode("utf-8")
    except UnicodeDecodeError as error:
        raise RequestError(
            f"the request is not valid UTF-8 (byte {error.start})"
        ) from None

    names: List[str] = []
    depth = 0
    text: List[str] = []

    def start(name: str, attributes: Dict[str, str]) -> None:
        nonlocal depth
        if names:
            raise RequestError(f"unexpected element <{name}>")
        if attributes:
            raise RequestError(f"unexpected attributes of <{name}>")
        names.append(name)
        depth += 1

    def end(_name: str) -> None:
        nonlocal depth
        depth -= 1

    def characters(piece: str) -> None:
        if depth:
            text.append(piece)

    def doctype(*_args: object) -> None:
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


def may_be_request(data: bytes) -> bool:
    """Whether a request may begin with these bytes, the first that arrived.

    Every envelope begins with "<". Requests of other protocols do not, among
    them all of HTTP and TLS, which a web page can make a browser send.
    """
    rest = data.lstrip(b" \t\r\n\xef\xbb\xbf")
    return not rest or rest[:1] in (b"<", b"\0")


def encode_reply(text: str) -> bytes:
    """The bytes of one reply, with the NUL byte that ends it.

    A NUL inside the text crosses as an escape, and so does what UTF-8 cannot
    express (lone surrogates).
    """
    escaped = text.replace("\0", "\\x00")
    return escaped.encode("utf-8", "backslashreplace") + b"\0"


def decode_reply(data: bytes) -> str:
    """The text of a reply, up to its first NUL.

    Text that is not valid UTF-8 is taken byte for byte, as Latin-1.
    """
    data = data.partition(b"\0")[0]
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError:
        return data.decode("latin-1")
