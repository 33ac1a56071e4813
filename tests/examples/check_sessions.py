#!/usr/bin/env python3
"""Types the sessions that a page shows, and compares what they print.

    check_sessions.py PAGE FOLDER...

A session is a block of the kind "console". Lines that begin with "$ " are
typed, one after the other in one shell; the others are what appears. The
programs are those of the folders.
"""

import os
import pathlib
import re
import sys

from terminal import has_differences, type_lines


def main():
    page, *folders = sys.argv[1:]
    text = pathlib.Path(page).read_text()
    sessions = re.findall(r"^```console\n(.*?)^```$", text, re.M | re.S)
    if not sessions:
        sys.exit(f"{page} shows no session")
    variables = {name: value for name, value in os.environ.items()
                 if not name.startswith("VALDRIN")}
    paths = [*map(os.path.abspath, folders), variables["PATH"]]
    variables["PATH"] = ":".join(paths)
    failures = 0
    for session in sessions:
        lines = session.splitlines()
        commands = [line[2:] for line in lines if line.startswith("$ ")]
        claims = [line for line in lines if not line.startswith("$ ")]
        shown = [line.rstrip() for line in type_lines(commands, variables)]
        failures += has_differences(claims, shown, f"{page}: $ {commands[0]}")
    sys.exit(1 if failures else 0)


main()
