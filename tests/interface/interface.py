#!/usr/bin/env python3
"""Describes the binary interface: what programs that are already built rely on.

    interface.py [--write] FILE LIBRARY SOURCES NM READELF COMPILER FLAGS...

These are the exported symbols of LIBRARY with their versions, and of each type
in the public headers below SOURCES the size, the bases and members with their
offsets, the virtual functions with their slots and the enumerators with their
values. The compiler's debug information has all that. Compares with the
description in FILE, or writes it.
"""

import collections
import difflib
import pathlib
import re
import subprocess
import sys
import tempfile

FOLDERS = ("SYS", "UT", "VM")
ALSO = ("component/IValdrinConnection.h",)
TEMPLATES = ("UT_RefArray<int>",)  # those that no header uses

# Of the types in those headers, not of what they include.
OURS = re.compile(r"(?:UT|SYS|VM)_|fpreal16|utPattern|IValdrinConnection")
TYPES = {"class_type": "class", "structure_type": "struct",
         "union_type": "union", "enumeration_type": "enum"}


def run(*command, **options):
    return subprocess.run(command, check=True, text=True,
                          stdout=subprocess.PIPE, **options).stdout


def symbols(nm, library):
    """One line for each exported name; constructors have it twice or more."""
    lines = run(nm, "-D", "--defined-only", "--with-symbol-versions",
                "--demangle", library).splitlines()
    # Which section the data are in is the compiler's choice.
    names = [re.sub(r"^[0-9a-f]* [BR] ", "D ", line) for line in lines]
    names = [re.sub(r"^[0-9a-f]{8,} ", "", name) for name in names]
    count = collections.Counter(names)
    for name in sorted(count, key=lambda name: (name[2:], name)):
        yield name if count[name] == 1 else f"{name} ({count[name]} times)"


class Entry:
    """An entry of the debug information: a tag, attributes, entries in it."""

    places = {}  # all entries, by the addresses that refer to them

    def __init__(self, address, tag):
        self.places[f"<0x{address}>"] = self
        self.tag = tag
        self.attributes = {}
        self.children = []

    def __getattr__(self, name):
        return self.attributes.get(name)

    def number(self, name):
        """The number in a text like "16" or "2 byte block: 10 3"."""
        text = self.attributes.get(name, "")
        operand = re.search(r"DW_OP_\w+: (\w+)", text)
        return int(operand[1] if operand else text.split()[0], 0)


def entries(dump):
    """The outermost entry of a dump of readelf."""
    root = Entry("", "root")
    stack = [root]
    for line in dump.splitlines():
        head = re.match(r" *<(\w+)><(\w+)>: .*\(DW_TAG_(\w+)\)", line)
        if head:
            depth = int(head[1], 16) + 1
            entry = Entry(head[2], head[3])
            stack[depth - 1].children.append(entry)
            stack[depth:] = [entry]
            continue
        item = re.match(r" *<[0-9a-f]+> +DW_AT_(\w+) *: *(.*)", line)
        if item:
            # Without how and where it is stored.
            value = re.sub(r"^(?:\([^)]*\) ?)*(?:: )?", "", item[2])
            stack[-1].attributes[item[1]] = value.strip()
    return root


def members(entry):
    """The lines of one type, in their order in the header."""
    for child in entry.children:
        if child.tag == "enumerator":
            yield f"{child.name} = {child.number('const_value')}"
        elif child.tag == "inheritance" and not child.virtuality:
            base = child.places[child.type.split(",")[0]]
            yield f"at {child.number('data_member_location')}: {base.name}"
        elif child.vtable_elem_location:
            slot = child.number("vtable_elem_location")
            yield f"slot {slot}: {child.linkage_name}"
        elif child.virtuality:
            yield f"virtual {child.name}()"
        elif child.tag == "member" and child.data_bit_offset:
            byte, bit = divmod(child.number("data_bit_offset"), 8)
            bits = child.number("bit_size")
            yield f"at {byte}, bit {bit}: {child.name}, {bits} wide"
        elif child.tag == "member" and child.data_member_location:
            yield f"at {child.number('data_member_location')}: {child.name}"


def types(entry, scope=""):
    """Name and lines of each complete type of ours."""
    for child in entry.children:
        if child.tag not in TYPES or child.declaration or not child.byte_size:
            continue
        name = f"{scope}{child.name or '(unnamed)'}"
        if not OURS.match(name):
            continue
        size = child.number("byte_size")
        yield f"{TYPES[child.tag]} {name}, {size} bytes", [*members(child)]
        yield from types(child, f"{name}::")


def layouts(readelf, sources, compiler):
    headers = [str(header.relative_to(sources)) for folder in FOLDERS
               for header in sorted((sources / folder).glob("*.h"))
               if not header.name.endswith("Impl.h")]
    text = [f'#include "{header}"' for header in (*headers, *ALSO)]
    text += [f"template class {name};" for name in TEMPLATES]
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder, "headers.cpp")
        source.write_text("\n".join(text) + "\n")
        compiled = source.with_suffix(".o")
        run(*compiler, "-std=c++17", "-O0", "-g", "-gdwarf-5",
            "-fno-eliminate-unused-debug-types", "-femit-class-debug-always",
            f"-I{sources}", "-c", source, "-o", compiled)
        dump = run(readelf, "--debug-dump=info", "--wide", compiled)
    unit = entries(dump).children[0]
    lines = []
    for name, inner in sorted(types(unit)):
        lines += [name, *(f"    {line}" for line in inner)]
    return run("c++filt", input="\n".join(lines)).splitlines()


def main():
    arguments = sys.argv[1:]
    writes = arguments[0] == "--write"
    description, library, sources, nm, readelf, *compiler = arguments[writes:]
    description = pathlib.Path(description)
    lines = [*layouts(readelf, pathlib.Path(sources), compiler), "",
             *symbols(nm, library)]
    if writes:
        description.write_text("\n".join(lines) + "\n")
        return
    difference = list(difflib.unified_diff(
        description.read_text().splitlines(), lines, str(description), "built",
        lineterm=""))
    if difference:
        print(*difference, sep="\n")
        sys.exit("The binary interface has changed. If that is meant, "
                 "\"make interface\" describes it anew.")


main()
