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

import difflib
import os
import pathlib
import re
import shutil
import socket
import sys

from terminal import type_lines

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

# Pages call the same methods; here the command line answers.
PAGE = """
const { execFileSync } = require("node:child_process");
const assert = require("node:assert");
const ask = (kind) => (text) =>
    execFileSync("valdrin", [kind, text], { encoding: "utf8" });
class ValdrinConnection {
    Run = ask("run");
    RunPythonStatements = ask("exec");
    RunPythonExpression = ask("eval");
}
(async () => {
%s
})();
"""


def free_port():
    while True:
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            if 10000 <= probe.getsockname()[1] <= 65534:
                return str(probe.getsockname()[1])


def page_script(text):
    """The code, where each value in a comment is compared."""
    return PAGE % re.sub(
        r'^(await .*);\s*// (".*")$', r"assert.equal(\1, \2);", text, flags=re.M
    )


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


class Session:
    """A script that grows by the blocks, and what it should print."""

    def __init__(self):
        self.script = [PRELUDE]
        self.shown = []

    def type(self, command, shown=()):
        self.script.append(command)
        self.shown += shown
        if command.endswith(" &") and shown:
            # It goes on when the program is ready.
            line = f"grep -qxm1 -- '{shown[-1]}'"
            self.script.append(f'{line} <(tail -n +1 -f "$OUTPUT" --pid=$$)')

    def write(self, name, text):
        self.script.append(f"cat >{name} <<'END OF FILE'\n{text}END OF FILE")

    def add(self, kind, text, name):
        if kind == "console":
            for command, shown in commands_of(text):
                self.type(command, shown)
        elif kind == "sh":
            self.script.append(f"set -e\n{text}set +e")
        elif kind in ("cpp", "cmake"):
            self.write(name, text)
        elif kind == "js":
            self.write("page.cjs", page_script(text))
            if shutil.which("node"):
                self.script.append("node page.cjs")
        elif kind == "pycon":
            self.write("session.txt", text)
            self.script.append(
                "PYTHONPATH=~/.local/share/valdrin/python "
                "python3 -m doctest session.txt"
            )
        else:
            sys.exit(f"README.md: nobody tries blocks of the kind {kind!r}")


def main():
    source, build = sys.argv[1:]
    text = pathlib.Path(source, "README.md").read_text()
    for target in re.findall(r"\]\((?!http)([^)#]+)", text):
        if not pathlib.Path(source, target).exists():
            sys.exit(f"README.md links to {target}, which is not there")
    port = free_port()
    text = text.replace("UT_Connection connection;",
                        f"UT_Connection connection({port});")
    text = text.replace(DEFAULT_PORT, port)
    session = Session()
    for name, kind, block in re.findall(
        r"(?:`([\w.]+)`:\n\n)?^```(\w*)\n(.*?)^```$", text, re.M | re.S
    ):
        session.add(kind, block, name)
    printed = type_lines(session.script, {
        "PATH": os.environ["PATH"], "URL": "x", "SOURCE": source,
        "BUILD": build, "VALDRIN_PORT": port,
    })  # fmt: skip
    if printed != session.shown:
        print(*difflib.unified_diff(session.shown, printed, "README.md",
                                    "printed", lineterm=""), sep="\n")
        sys.exit(1)


main()
