#!/usr/bin/env python3
"""Follows the README line by line, in a home of its own.

    check_readme.py SOURCE BUILD

Its blocks are followed in their order, in one shell: of "sh" and "console"
blocks the lines are typed, and what a "console" block shows must appear; a
file is written from a block after its name in backquotes. Cloning and building
are left out: make install installs BUILD, and of other targets and scripts it
is only checked that they are there. A free port takes the place of the default
one.
"""

import os
import pathlib
import re
import sys

from support import bound
from terminal import has_differences, type_lines

DEFAULT_PORT = "32153"

# What the shell has in place of what takes too long.
PRELUDE = r"""
git() { [ "$1" = clone ] && mkdir "$3"; }
make() {
    if [ "$*" = install ]; then
        cmake --install "$BUILD" --prefix "$HOME/.local" >/dev/null
    else
        command make -C "$SOURCE" -n "$@" >/dev/null
    fi
}
python3() {
    case "$*" in
    "-m http.server -d "*) [ -f "$SOURCE/$4/index.html" ] ;;
    *) command python3 "$@" ;;
    esac
}
scripts/install-page() { [ -x "$SOURCE/scripts/install-page" ]; }
"""


def commands_of(console):
    """The typed commands of a session with the lines that each shows."""
    commands = []
    for line in console.splitlines():
        if line.startswith("$ "):
            commands.append((line[2:], []))
        elif line.startswith("> "):
            command, shown = commands.pop()
            commands.append((f"{command}\n{line[2:]}", shown))
        else:
            commands[-1][1].append(line)
    return commands


def steps(kind, block, name):
    """What is typed for a block, with the lines that each step shows."""
    if kind == "console":
        return commands_of(block)
    if kind == "sh":
        return [(f"set -e\n{block}set +e", [])]
    name = name or "session.txt"
    written = f"cat >{name} <<'END OF FILE'\n{block}END OF FILE"
    if kind == "pycon":
        written += (
            "\nPYTHONPATH=~/.local/share/valdrin/python "
            "python3 -m doctest session.txt"
        )
    elif kind not in ("cpp", "cmake", "js"):  # pages are tested in browsers
        sys.exit(f"README.md: nobody tries blocks of the kind {kind!r}")
    return [(written, [])]


def main():
    source, build = sys.argv[1:]
    text = pathlib.Path(source, "README.md").read_text()
    with bound() as probe:
        port = str(probe.getsockname()[1])
    text = text.replace("UT_Connection connection;",
                        f"UT_Connection connection({port});")
    text = text.replace(DEFAULT_PORT, port)
    script, shown = [PRELUDE], []
    for name, kind, block in re.findall(
        r"(?:`([\w.]+)`:\n\n)?^```(\w*)\n(.*?)^```$", text, re.M | re.S
    ):
        for command, lines in steps(kind, block, name):
            script.append(command)
            shown += lines
            if command.endswith(" &") and lines:
                # It goes on when the program is ready.
                script.append(f"grep -qxm1 -- '{lines[-1]}' "
                              '<(tail -n +1 -f "$OUTPUT" --pid=$$)')
    printed = type_lines(script, {
        "PATH": os.environ["PATH"], "URL": "x", "SOURCE": source,
        "BUILD": build, "VALDRIN_PORT": port,
    })  # fmt: skip
    sys.exit(has_differences(shown, printed, "README.md"))


main()
