"""Tests of valdrin, against an application that plays a part."""

import os
import pty
import shutil
import signal
import subprocess
import tempfile
import unittest

from support import (
    VALDRIN,
    Application,
    bound,
    envelope,
    listener,
    reset,
    valdrin,
)

LIBRARY = os.environ["VALDRIN_LIBRARY"]
FAILURE = b"valdrin: ERROR: Could not connect to Valdrin to run command\n"
ALL_BYTES = bytes(range(1, 256))


class Test(unittest.TestCase):
    def expect(self, result, status, output=b"", *errors):
        shown = f"{result.args} {result.stderr}"
        self.assertEqual(result.returncode, status, shown)
        self.assertEqual(result.stdout, output, shown)
        for error in errors:
            self.assertIn(error, result.stderr, shown)
        if not errors:
            self.assertEqual(result.stderr, b"", shown)

    def test_each_command_sends_its_request(self):
        ping = envelope(b"python_expression", b"0")
        for command, text, replies, output, requests in (
            ("run", "echo hi", [b"ok\0"], b"ok",
             [b'<?xml version="1.0"?>\n<vscript><![CDATA[echo hi]]></vscript>'
              b"\n\0"]),
            ("run", "", [b"\0"], b"", [envelope(b"vscript", b"")]),
            ("eval", "a]]>b]]>c", [b"1\n\0"], b"1\n",
             [envelope(b"python_expression", b"a]]>b]]>c")]),
            ("exec", "x = 1\n", [b"0\0", b"dropped\0"], b"",
             [ping, envelope(b"python_statements", b"x = 1\n")]),
        ):  # fmt: skip
            with Application(*replies) as app:
                result = valdrin("--port", app.port, command, text)
                self.expect(result, 0, output)
                self.assertEqual(app.requests, requests)

    def test_text_comes_from_standard_input(self):
        for arguments in (["run"], ["run", "-"], ["--", "run", "-"]):
            with Application(b"\0") as app:
                result = valdrin("-p", app.port, *arguments, input=ALL_BYTES)
                self.expect(result, 0)
                self.assertEqual(
                    app.requests, [envelope(b"vscript", ALL_BYTES)]
                )

    def test_reply_comes_out_byte_for_byte(self):
        big = ALL_BYTES * 20000
        for reply, output in (
            (b"", b""),
            (b"no NUL", b"no NUL"),
            (b"cut\0here\0", b"cut"),
            (ALL_BYTES + b"\0", ALL_BYTES),
            (big + b"\0", big),
        ):
            with Application(reply) as app:
                self.expect(valdrin("-p", app.port, "run", "x"), 0, output)

    def test_options_stand_anywhere(self):
        for template in (
            "--port=PORT run -t 9 -- -x",
            "run --timeout=9.5 -pPORT -- -x",
            f"-p PORT -l {LIBRARY} -- run -x",
        ):
            for posix in ({}, {"POSIXLY_CORRECT": "1"}):
                with Application(b"y\0") as app:
                    arguments = template.replace("PORT", app.port).split()
                    result = valdrin(*arguments, env={**os.environ, **posix})
                    self.expect(result, 0, b"y")
                    request = envelope(b"vscript", b"-x")
                    self.assertEqual(app.requests, [request])

    def test_wrong_usage_is_told(self):
        for arguments, error in (
            ([], b"command is missing"),
            (["walk", "x"], b'unknown command "walk"'),
            (["run", "x", "y"], b"more than one TEXT"),
            (["run", "--frobnicate"], b"frobnicate"),
            (["run", "-x"], b"'x'"),
            (["run", "x", "--port"], b"port"),
            (["--library=", "run", "x"], b"--library needs"),
        ):
            self.expect(valdrin(*arguments), 2, b"", error, b"--help")
        for port in ("", "x", "1x", " 1", "+1", "1.0", "0x10", "2147483648"):
            result = valdrin("--port", port, "run", "x")
            self.expect(result, 2, b"", b"not a port")
        for time in ("", ".", "-1", "1e3", "1,5", "inf", "1s", "1" * 10):
            result = valdrin("--timeout", time, "run", "x")
            self.expect(result, 2, b"", b"not a time")

    def test_help_and_version(self):
        for option in ("--help", "-h"):
            result = valdrin(option)
            self.expect(result, 0, result.stdout)
            self.assertIn(b"\nExit status:\n", result.stdout)
        for option in ("--version", "-V"):
            result = valdrin(option)
            self.expect(result, 0, result.stdout)
            self.assertRegex(result.stdout, rb"^valdrin \d+\.\d+\.\d+\n$")

    def test_unreachable_application(self):
        with bound() as refusing:
            port = refusing.getsockname()[1]
            # The second number is another spelling of the port.
            for number in (port, port - 65535):
                for command in ("run", "exec", "eval"):
                    result = valdrin("--port", str(number), command, "x")
                    self.expect(result, 3, b"", FAILURE)

    def test_exec_sends_nothing_to_who_does_not_answer(self):
        with Application() as app:
            result = valdrin("-p", app.port, "-t", "0.2", "exec", "x = 1")
            self.expect(result, 4, b"", b"timed out")
            self.assertEqual(len(app.requests), 1)

    def test_timeout(self):
        def block_alarm():
            signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGALRM])

        # The shortest time counts as a time, not as none.
        for time in ("0.2", ".3", "0.0000001"):
            with Application() as app:
                arguments = ["-p", app.port, "-t", time, "run", "x"]
                result = valdrin(*arguments, preexec_fn=block_alarm)
                self.expect(result, 4, b"", b"valdrin: timed out")
        for time in ("0", "0.000", "100.", "999999999.9999999"):
            with Application(b"soon\0") as app:
                result = valdrin("-p", app.port, "-t", time, "run", "x")
                self.expect(result, 0, b"soon")

    def test_unusable_input(self):
        for text in (b"a\0b", b"\0", b"x" * 70000 + b"\0"):
            self.expect(valdrin("run", input=text), 1, b"", b"NUL byte")
        with open("/dev/zero", "rb") as zero:
            self.expect(valdrin("run", stdin=zero), 1, b"", b"NUL byte")
        folder = os.open("/", os.O_RDONLY)
        self.expect(valdrin("run", stdin=folder), 1, b"", b"standard input")
        os.close(folder)
        long = b"x" * ((64 << 20) + 1)
        self.expect(valdrin("run", input=long), 1, b"", b"64 MiB")

    def test_closed_descriptors_stay_closed(self):
        # The connection must not take the place of the closed one.
        for closed, status in ((0, 1), (1, 1), (2, 0)):
            with Application(b"reply\0") as app:
                script = f'exec "$@" {closed}>&-'
                text = [] if closed == 0 else ["x"]
                result = subprocess.run(
                    ["sh", "-c", script, "sh", VALDRIN, "-p", app.port, "run"]
                    + text,
                    capture_output=True,
                    check=False,
                )
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertEqual(
                    result.stdout, b"reply" if status == 0 else b""
                )

    def test_unwritable_output(self):
        with open("/dev/full", "wb") as full:
            for arguments in (["--help"], ["run", "x"]):
                with Application(b"reply\0") as app:
                    result = valdrin("-p", app.port, *arguments, stdout=full)
                    self.assertEqual(result.returncode, 1)
                    self.assertIn(b"standard output: ", result.stderr)

    def test_reader_that_leaves_early(self):
        # As usual the signal ends the program, or, where the caller ignores
        # it, the failed write is told.
        for action, status in ((signal.SIG_DFL, -signal.SIGPIPE),
                               (signal.SIG_IGN, 1)):  # fmt: skip
            with Application(b"x" * 1000000 + b"\0") as app:
                process = subprocess.Popen(
                    [VALDRIN, "-p", app.port, "run", "x"],
                    stdout=subprocess.PIPE,
                    stderr=subprocess.DEVNULL,
                    restore_signals=False,
                    preexec_fn=lambda: signal.signal(signal.SIGPIPE, action),
                )
                process.stdout.read(1)
                process.stdout.close()
                self.assertEqual(process.wait(), status)

    def test_lost_connection_does_not_end_the_program(self):
        with listener() as server:
            process = subprocess.Popen(
                [VALDRIN, "-p", str(server.getsockname()[1]), "run"],
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                stderr=subprocess.PIPE,
            )
            process.stdin.write(b"x" * (32 << 20))
            process.stdin.close()
            process.stdin = None
            reset(server.accept()[0])
            output, error = process.communicate()
        self.assertEqual((process.returncode, output), (3, b""))
        self.assertEqual(error, FAILURE)

    def test_newline_on_a_terminal_only(self):
        for reply, shown in ((b"a\0", b"a\r\n"), (b"a\n\0", b"a\r\n")):
            with Application(reply) as app:
                master, slave = pty.openpty()
                result = valdrin("-p", app.port, "run", "x", stdout=slave)
                os.close(slave)
                self.assertEqual(result.returncode, 0, result.stderr)
                self.assertEqual(os.read(master, 100), shown)
                os.close(master)

    def test_unusable_library(self):
        plain, failing = os.environ["VALDRIN_BAD_LIBRARIES"].split(":")
        for path, error in (
            ("/nowhere/lib.so", b"/nowhere/lib.so"),
            ("nowhere.so", b"./nowhere.so"),
            (__file__, __file__.encode()),
            (plain, b"NSGetModule"),
            (failing, b"0x8007000e"),
        ):
            self.expect(valdrin("-l", path, "run", "x"), 5, b"", error)

    def test_library_is_found_beside_the_program(self):
        with tempfile.TemporaryDirectory() as folder:
            program = f"{folder}/bin/valdrin"
            os.mkdir(f"{folder}/bin")
            shutil.copy(VALDRIN, program)

            def run(search_path):
                return valdrin(
                    "-p", app.port, "run", "x", program=program,
                    env={**os.environ, "LD_LIBRARY_PATH": search_path},
                )  # fmt: skip

            with Application(b"1\0", b"2\0") as app:
                # Nowhere: all places are named.
                place = f"{folder}/bin/../lib/libValdrinConnection.so: "
                self.expect(
                    run(""), 5, b"", place.encode(),
                    b"\nlibValdrinConnection.so: ")  # fmt: skip
                # Where the loader looks.
                self.expect(run(os.path.dirname(LIBRARY)), 0, b"1")
                # Beside the program, also through a link to it.
                os.mkdir(f"{folder}/lib")
                shutil.copy(LIBRARY, f"{folder}/lib")
                os.symlink(program, f"{folder}/linked")
                program = f"{folder}/linked"
                self.expect(run(""), 0, b"2")


if __name__ == "__main__":
    unittest.main()
