"""A running native host, as a browser has it: frames over pipes."""

import contextlib
import json
import os
import shutil
import struct
import subprocess
import tempfile

from support import BIN, DEADLINE

BRIDGE = os.path.join(BIN, "valdrin-bridge")
FIREFOX = ("/manifest.json", "valdrin-connection@norvex.com")
CHROMIUM = (f"chrome-extension://{os.environ['VALDRIN_CHROMIUM_ID']}/",)
MAX_REPLY = 1000000  # bytes of JSON in a frame to the browser


def frame(body):
    """The frame of a request, or of any bytes in its place."""
    if not isinstance(body, bytes):
        body = json.dumps(body, ensure_ascii=False).encode()
    return struct.pack("=I", len(body)) + body


def request(method, *arguments, id=7):
    return {"id": id, "method": method, "args": list(arguments)}


@contextlib.contextmanager
def installed(*libraries, version=""):
    """A link to the host, which is in "bin" of a folder with copies of
    libraries: pairs of a folder and a file."""
    with tempfile.TemporaryDirectory() as folder:
        os.makedirs(f"{folder}/bin")
        copy = shutil.copy(BRIDGE, f"{folder}/bin")
        for place, library in libraries:
            os.makedirs(f"{folder}/{place}", exist_ok=True)
            name = f"libValdrinConnection.so{version}"
            shutil.copy(library, f"{folder}/{place}/{name}")
        os.symlink(copy, f"{folder}/linked")
        yield f"{folder}/linked"


class Host:
    """The process. It is ended after the block, and must not outlast it."""

    def __init__(self, program=BRIDGE, arguments=FIREFOX, **options):
        pipes = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.PIPE)
        self.process = subprocess.Popen(
            [program, *arguments], **{**pipes, **options}
        )

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        for pipe in ("stdin", "stdout", "stderr"):
            self.close(pipe)

    def close(self, pipe):
        """Closes our end of "stdin", "stdout" or "stderr"."""
        end = getattr(self.process, pipe)
        if end:
            end.close()

    def write(self, data):
        self.process.stdin.write(data)
        self.process.stdin.flush()

    def read(self):
        """The next frame from the host, as the object that it holds."""
        header = self.process.stdout.read(4)
        assert len(header) == 4, self.process.stderr.read()
        (length,) = struct.unpack("=I", header)
        assert 0 < length <= MAX_REPLY, length
        return json.loads(self.process.stdout.read(length).decode())

    def answer(self, id=7):
        """The next answer: the text of its parts, or the error's object."""
        parts = []
        while True:
            part = self.read()
            assert part.pop("id") == id, part
            if "error" in part:
                assert not parts, "an error after a part"
                return part
            parts.append(part.pop("part"))
            last = part.pop("last", False)
            assert not part, part
            if last:
                return "".join(parts)

    def ask(self, method, *arguments):
        self.write(frame(request(method, *arguments)))
        return self.answer()

    def wait(self):
        """The exit status of a host that ends by itself."""
        return self.process.wait(DEADLINE)

    def end(self):
        """Ends the input. What the host still wrote, its last words and its
        exit status."""
        output, words = self.process.communicate(timeout=DEADLINE)
        return output, words, self.process.returncode
