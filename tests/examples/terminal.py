"""What a shell shows on a terminal."""

import difflib
import os
import pathlib
import pty
import signal
import subprocess
import tempfile
import tty

DEADLINE = 120  # seconds; only ever reached by a failure


def _read(terminal):
    """The next bytes, none when the last program has closed it."""
    try:
        return os.read(terminal, 65536)
    except OSError:
        return b""


def _end_all(shell):
    try:
        os.killpg(shell.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass  # nothing was left running


def type_lines(lines, variables):
    """Types `lines` in a shell that starts in an empty folder, its HOME, and
    takes what it has started along when it ends. Gives the lines that appear;
    $OUTPUT is a file that has them as they do."""
    with tempfile.TemporaryDirectory() as folder:
        output = pathlib.Path(folder, "output")
        script = pathlib.Path(folder, "script")
        script.write_text("\n".join(["trap 'kill -KILL 0' EXIT", *lines]))
        home = pathlib.Path(folder, "home")
        home.mkdir()
        terminal, end = pty.openpty()
        tty.setraw(end)  # lines end in a newline alone
        shell = subprocess.Popen(
            ["bash", script], cwd=home, stdout=end, stderr=end,
            stdin=subprocess.DEVNULL, start_new_session=True,
            env={**variables, "HOME": str(home), "OUTPUT": str(output)},
        )  # fmt: skip
        os.close(end)
        signal.signal(signal.SIGALRM, lambda *_: _end_all(shell))
        signal.alarm(DEADLINE)
        with output.open("wb", buffering=0) as file:
            while chunk := _read(terminal):
                file.write(chunk)
        _end_all(shell)
        shell.wait()
        signal.alarm(0)
        return output.read_text().splitlines()


def has_differences(claimed, printed, page):
    """Whether other lines were printed than the page claims. Shows them."""
    found = list(difflib.unified_diff(
        claimed, printed, page, "printed", lineterm=""))
    print(*found, sep="\n")
    return bool(found)
