#!/usr/bin/env python3
"""Types the sessions that a page shows, and compares what they print.

    check_sessions.py PAGE FOLDER...

A session is a block of the kind "console". Lines that begin with "$ " are
typed, one after the other in one shell that starts in an empty folder; the
others are what appears. The programs are those of the folders.
"""

import difflib
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile

DEADLINE = 60  # seconds; only ever reached by a failure


def environment(folders):
    kept = {
        name: value
        for name, value in os.environ.items()
        if not name.startswith("VALDRIN")
    }
    return {**kept, "PATH": ":".join([*folders, os.environ["PATH"]])}


def printed(commands, variables):
    """What the commands print, failures included."""
    with tempfile.TemporaryDirectory() as folder:
        script = pathlib.Path(folder, "script")
        script.write_text("\n".join(commands))
        empty = pathlib.Path(folder, "empty")
        empty.mkdir()
        output = pathlib.Path(folder, "output")
        with output.open("wb") as file:
            shell = subprocess.Popen(
                ["bash", script], cwd=empty, env=variables, stdout=file,
                stderr=file, stdin=subprocess.DEVNULL, start_new_session=True,
            )
            try:
                shell.wait(DEADLINE)
            finally:
                try:
                    os.killpg(shell.pid, signal.SIGKILL)
                except ProcessLookupError:
                    pass  # nothing was left running
        return output.read_text()


def main():
    page, *folders = sys.argv[1:]
    text = pathlib.Path(page).read_text()
    sessions = re.findall(r"^```console\n(.*?)^```$", text, re.M | re.S)
    if not sessions:
        sys.exit(f"{page} shows no session")
    variables = environment([os.path.abspath(folder) for folder in folders])
    failures = 0
    for session in sessions:
        lines = session.splitlines()
        commands = [line[2:] for line in lines if line.startswith("$ ")]
        claims = [line for line in lines if not line.startswith("$ ")]
        shown = [line.rstrip() for line in
                 printed(commands, variables).splitlines()]
        if shown == claims:
            continue
        failures += 1
        print(f"{page}: $ {commands[0]}")
        print(*difflib.unified_diff(claims, shown, "page", "printed",
                                    lineterm=""), sep="\n")
    sys.exit(1 if failures else 0)


main()
