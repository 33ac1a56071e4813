#!/usr/bin/env python3
"""Make a type library (.xpt) from an interface definition (.idl).

Usage: xptgen.py INPUT.idl OUTPUT.xpt

Understands one interface that is based on nsISupports and has plain methods
with simple types. Everything else is refused with the line where it stands:
a type library that leaves something out would shift the slots after it.
"""

import os
import re
import struct
import sys
import uuid

# The bases that an interface may have, with their identifiers. They stay
# unresolved: the platform has their descriptions.
BASES = {"nsISupports": uuid.UUID("00000000-0000-0000-c000-000000000046")}

POINTER = 0x80

# Type names by their type descriptor.
TYPES = {
    "octet": 4,
    "short": 1,
    "long": 2,
    "long long": 3,
    "unsigned short": 5,
    "unsigned long": 6,
    "unsigned long long": 7,
    "float": 8,
    "double": 9,
    "boolean": 10,
    "char": 11,
    "wchar": 12,
    "string": POINTER | 16,
    "wstring": POINTER | 17,
}
RESULT_CODE = 6  # an unsigned 32-bit number

PARAM_IN = 0x80
PARAM_OUT = 0x40
PARAM_RETVAL = 0x20
DIRECTIONS = {"in": PARAM_IN, "out": PARAM_OUT, "inout": PARAM_IN | PARAM_OUT}

INTERFACE_FLAGS = {"scriptable": 0x80, "function": 0x40}

MAGIC = b"XPCOM\nTypeLib\r\n\x1a"
VERSION = (1, 2)
HEADER_SIZE = 32
ENTRY_SIZE = 28
NO_ANNOTATIONS = b"\x80"

TOKEN = re.compile(
    r"""(?P<skip>\s+|//[^\n]*|/\*.*?\*/|\#[ \t]*include[ \t]+"[^"\n]*")
      | (?P<uuid>[0-9a-fA-F]{8}(?:-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12})
      | (?P<word>[A-Za-z_][A-Za-z_0-9]*)
      | (?P<mark>[][(){},:;])""",
    re.VERBOSE | re.DOTALL)


class IdlError(Exception):
    """What is wrong with the input, and in which line."""

    def __init__(self, line, message):
        super().__init__(message)
        self.line = line


class Parser:
    """Reads one interface from the text of a definition."""

    def __init__(self, text):
        self.tokens = self.scan(text)
        self.next = 0

    @staticmethod
    def scan(text):
        """The tokens as (kind, text, line), with one at the end that has
        neither kind nor text."""
        tokens = []
        line = 1
        offset = 0
        while offset < len(text):
            match = TOKEN.match(text, offset)
            if not match:
                raise IdlError(line, f"cannot read {text[offset]!r}")
            if match.lastgroup != "skip":
                tokens.append((match.lastgroup, match.group(), line))
            line += match.group().count("\n")
            offset = match.end()
        return tokens + [("", "", line)]

    def fail(self, message, back=0):
        """Refuses the token that comes next, or one taken before it."""
        raise IdlError(self.tokens[self.next - back][2], message)

    def peek(self):
        return self.tokens[self.next][1]

    def take(self, kind, what):
        found, text, _ = self.tokens[self.next]
        if found != kind:
            self.fail(f"expected {what}, not '{text or 'end of file'}'")
        self.next += 1
        return text

    def accept(self, text):
        if self.peek() != text:
            return False
        self.next += 1
        return True

    def expect(self, text):
        if not self.accept(text):
            self.fail(f"expected '{text}', not "
                      f"'{self.peek() or 'end of file'}'")

    def interface(self):
        """The whole file: (name, base, identifier, flags, methods)."""
        identifier, flags = self.attributes()
        self.expect("interface")
        name = self.take("word", "the interface's name")
        self.expect(":")
        base = self.peek()
        if base not in BASES:
            self.fail(f"unknown base interface '{base}'")
        self.next += 1
        self.expect("{")
        methods = {}
        while not self.accept("}"):
            self.method(methods)
        self.expect(";")
        if self.peek():
            self.fail("only one interface per file")
        return name, base, identifier, flags, methods

    def attributes(self):
        identifier = None
        flags = 0
        self.expect("[")
        while True:
            word = self.take("word", "an attribute")
            if word == "uuid":
                self.expect("(")
                identifier = uuid.UUID(self.take("uuid", "an identifier"))
                self.expect(")")
            elif word in INTERFACE_FLAGS:
                flags |= INTERFACE_FLAGS[word]
            else:
                self.fail(f"unknown attribute '{word}'", back=1)
            if not self.accept(","):
                break
        if not identifier:
            self.fail("the interface has no uuid")
        self.expect("]")
        return identifier, flags

    def method(self, methods):
        """Adds one method with its parameters, the result being the last."""
        if self.peek() in ("[", "attribute", "readonly", "const"):
            self.fail(f"'{self.peek()}' is not supported in an interface")
        result = None if self.accept("void") else self.type()
        name = self.take("word", "the method's name")
        if name in methods:
            self.fail(f"method '{name}' is there twice", back=1)
        self.expect("(")
        parameters = []
        while not self.accept(")"):
            if parameters:
                self.expect(",")
            direction = self.peek()
            if direction not in DIRECTIONS:
                self.fail(f"expected 'in', 'out' or 'inout', not "
                          f"'{direction}'")
            self.next += 1
            parameters.append((DIRECTIONS[direction], self.type()))
            self.take("word", "the parameter's name")
        if result is not None:
            parameters.append((PARAM_OUT | PARAM_RETVAL, result))
        if len(parameters) > 255:
            self.fail(f"method '{name}' has too many parameters")
        self.expect(";")
        methods[name] = parameters

    def type(self):
        start = self.next
        name = self.take("word", "a type")
        if name == "unsigned":
            name += " " + self.take("word", "a type")
        if name.endswith("long") and self.accept("long"):
            name += " long"
        if name not in TYPES:
            self.next = start
            self.fail(f"unsupported type '{name}'")
        return TYPES[name]


class Pool:
    """The part of the file that others point into, with offsets from 1."""

    def __init__(self):
        self.bytes = b""

    def add(self, data):
        offset = len(self.bytes) + 1
        self.bytes += data
        return offset

    def name(self, text):
        return self.add(text.encode("ascii") + b"\0")


def descriptor(flags, methods, names):
    """The description of an interface whose base is the directory's first
    entry; `methods` are parameters by name, `names` the names' offsets."""
    result = struct.pack(">HH", 1, len(methods))
    for parameters, name in zip(methods.values(), names):
        result += struct.pack(">BIB", 0, name, len(parameters))
        result += b"".join(struct.pack("BB", *each) for each in parameters)
        result += struct.pack("BB", 0, RESULT_CODE)
    return result + struct.pack(">HB", 0, flags)  # no constants


def type_library(name, base, identifier, flags, methods):
    """The bytes of the file: header, annotations, directory, pool. In the
    pool are the interfaces' names, the description, the methods' names."""
    pool = Pool()
    base_name = pool.name(base)
    interface_name = pool.name(name)
    # The methods' names follow the description, whose length does not
    # depend on where they are.
    size = len(descriptor(flags, methods, [0] * len(methods)))
    following = Pool()
    names = [len(pool.bytes) + size + following.name(method)
             for method in methods]
    described = pool.add(descriptor(flags, methods, names))
    pool.add(following.bytes)

    directory = b"".join(
        each.bytes + struct.pack(">III", each_name, 0, each_descriptor)
        for each, each_name, each_descriptor in (
            (BASES[base], base_name, 0),
            (identifier, interface_name, described)))
    directory_at = HEADER_SIZE + len(NO_ANNOTATIONS)
    pool_at = directory_at + len(directory)
    header = MAGIC + struct.pack(
        ">BBHIII", *VERSION, len(directory) // ENTRY_SIZE,
        pool_at + len(pool.bytes), directory_at + 1, pool_at)
    return header + NO_ANNOTATIONS + directory + pool.bytes


def main(arguments):
    if len(arguments) != 2:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    source, target = arguments
    try:
        with open(source, encoding="utf-8") as file:
            library = type_library(*Parser(file.read()).interface())
        # A build that is interrupted leaves no half-written file.
        with open(target + ".part", "wb") as file:
            file.write(library)
        os.replace(target + ".part", target)
    except IdlError as error:
        print(f"{source}:{error.line}: {error}", file=sys.stderr)
        return 1
    except (OSError, UnicodeDecodeError) as error:
        print(f"{source}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
