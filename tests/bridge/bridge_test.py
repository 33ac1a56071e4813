"""Tests of the native host alone: frames over pipes, and an application that
plays a part."""

import contextlib
import json
import os
import signal
import struct
import unittest

from host import BRIDGE, CHROMIUM, FIREFOX, Host, frame, installed, request
from support import Application, bound, envelope, run

LIBRARY = os.environ["VALDRIN_LIBRARY"]
FAILURE = "ERROR: Could not connect to Valdrin to run command"
EVERY_CHARACTER = "".join(
    chr(code) for code in range(1, 0x110000) if not 0xD800 <= code < 0xE000
)


@contextlib.contextmanager
def call_under_way(host):
    """Has an application that has the request of `host` and says nothing."""
    with bound() as server:
        server.listen()
        host.ask("SetSocketPortNum", server.getsockname()[1])
        host.write(frame(request("Run", "x")))
        with server.accept()[0] as client:
            received = b""
            while not received.endswith(b"\0"):
                received += client.recv(1000)
            yield client


class Test(unittest.TestCase):
    def converse(self, host, replies):
        """An application with these replies that `host` talks to."""
        app = Application(*replies)
        self.assertEqual(host.ask("SetSocketPortNum", int(app.port)), "")
        return app

    def expect_end(self, host, status, words=b"", output=b""):
        printed, complaint, code = host.end()
        self.assertEqual(code, status, complaint)
        self.assertEqual(printed, output)
        self.assertIn(words, complaint)
        self.assertEqual(bool(words), bool(complaint), complaint)

    # ---- Calls

    def test_each_method_reaches_the_component(self):
        with Host() as host:
            app = self.converse(host, [b"ok\0", b"dropped\0", b"42\n\0", b"\0"])
            self.assertEqual(host.ask("Run", "echo a]]>b"), "ok")
            self.assertEqual(host.ask("RunPythonStatements", "x = 1\n"), "")
            self.assertEqual(host.ask("RunPythonExpression", "6 * 7"), "42\n")
            self.assertEqual(host.ask("Run", ""), "")
            self.assertEqual(host.ask("GetStashedString"), "")
            self.assertEqual(host.ask("StashString", "kept"), "")
            self.assertEqual(host.ask("GetStashedString"), "kept")
        self.assertEqual(app.requests, [
            b'<?xml version="1.0"?>\n<vscript>'
            b"<![CDATA[echo a]]]]><![CDATA[>b]]></vscript>\n\0",
            envelope(b"python_statements", b"x = 1\n"),
            envelope(b"python_expression", b"6 * 7"),
            envelope(b"vscript", b""),
        ])  # fmt: skip

    def test_an_absent_application_is_an_answer(self):
        with Host() as host, bound() as refusing:
            host.ask("SetSocketPortNum", refusing.getsockname()[1])
            self.assertEqual(host.ask("Run", "x"), FAILURE)
            self.assertEqual(host.ask("RunPythonStatements", "x"), "")

    # ---- Texts

    def test_every_character_crosses_both_ways(self):
        sent = EVERY_CHARACTER.encode()
        with Host() as host:
            app = self.converse(host, [sent + b"\0"])
            self.assertTrue(host.ask("Run", EVERY_CHARACTER) == EVERY_CHARACTER)
        self.assertTrue(app.requests == [envelope(b"vscript", sent)])

    def test_lone_surrogates_are_replaced(self):
        for text, kept in (
            (r"a\uDBFFb\udc00c", "a\ufffdb\ufffdc"),
            (r"\ud83d\ude00", "\U0001f600"),
            (r"\ud83d\ud83d\ude00", "\ufffd\U0001f600"),
            (r"\\ud800", r"\ud800"),
            (r"\ud83d\\ude00", "\ufffd\\ude00"),
        ):
            body = '{"id": 7, "method": "StashString", "args": ["%s"]}' % text
            with Host() as host:
                host.write(frame(body.encode()))
                self.assertEqual(host.answer(), "", text)
                self.assertEqual(host.ask("GetStashedString"), kept, text)

    def test_large_replies_come_in_parts(self):
        # host.read() holds each part to its limit.
        text = "\1" * 900000 + "\U0001f600" * 300000
        with Host() as host:
            self.converse(host, [text.encode() + b"\0"])
            self.assertTrue(host.ask("Run", "x") == text)

    # ---- Refusals

    def test_wrong_requests_are_refused(self):
        # What else is wrong is tested by the fuzz entry.
        wrong = [
            {**request("Run", "x"), "more": 1},
            request("toString"),
            request("Run", "\0"),
            request("SetSocketPortNum", 2**31),
            request("Check"),
        ]
        with Host() as host:
            for refused in wrong:
                host.write(frame(refused))
                answer = host.answer()
                self.assertEqual(type(answer), dict, refused)
                self.assertEqual(answer["error"], "argument", refused)
                self.assertTrue(answer["message"].endswith("."), refused)
            self.assertEqual(host.ask("GetStashedString"), "")
            self.expect_end(host, status=0)

    def test_frames_that_cannot_be_trusted_end_the_host(self):
        good = b'{"id":7,"method":"Run","args":["x"]}'
        # What else cannot be read is tested by the fuzz entry.
        for name, data in (
            ("no bytes", frame(b"")),
            ("one byte too many", struct.pack("=I", (8 << 20) + 1)),
            ("far too many bytes", b"\xff\xff\xff\xff"),
            ("no JSON", frame(b"x")),
            ("nested as deep as can be", frame(b"[" * (8 << 20))),
            ("the id twice", frame(good.replace(b"{", b'{"id":7,'))),
            ("args twice", frame(good.replace(b"{", b'{"args":[],'))),
        ):
            with self.subTest(name), Host() as host:
                host.write(data)
                host.wait()
                self.expect_end(host, status=1, words=b"valdrin-bridge: ")

    def test_frames_that_are_cut_short(self):
        half = frame(request("Run", "x"))
        for length in (1, 3, 4, 5, len(half) - 1):
            with self.subTest(length), Host() as host:
                host.write(half[:length])
                self.expect_end(host, status=1, words=b"middle of a frame")

    def test_only_our_extension_may_call(self):
        other = "chrome-extension://" + "a" * 32 + "/"
        for arguments in (
            (FIREFOX[0], "other@example.com"),
            FIREFOX[:1],
            FIREFOX[1:],
            (*FIREFOX, "more"),
            ("manifest.json", FIREFOX[1]),
            (other,),
            (CHROMIUM[0][:-1],),
            (*CHROMIUM, "more"),
        ):
            result = run(BRIDGE, *arguments, stdin=-3)
            self.assertEqual(result.returncode, 2, arguments)
            self.assertEqual(result.stdout, b"", arguments)
            self.assertIn(b"valdrin-bridge: ", result.stderr, arguments)
        for arguments in (FIREFOX, CHROMIUM):
            with Host(arguments=arguments) as host:
                self.assertEqual(host.ask("GetStashedString"), "", arguments)

    # ---- The stream

    def test_frames_come_in_any_pieces(self):
        with Host() as host:
            first = frame(request("StashString", "é", id=1))
            second = frame(request("GetStashedString", id=2))
            for byte in first + second:
                host.write(bytes([byte]))
            self.assertEqual([host.answer(1), host.answer(2)], ["", "é"])
            self.expect_end(host, status=0)

    def test_it_ends_in_the_middle_of_a_call(self):
        with self.subTest("end of input"), Host() as host:
            with call_under_way(host):
                self.expect_end(host, status=0)
        with self.subTest("SIGTERM"), Host() as host:
            with call_under_way(host):
                host.process.send_signal(signal.SIGTERM)
                self.assertEqual(host.wait(), 0)

    def test_descriptors_that_the_caller_closed(self):
        # The component's socket must not take the place of one.
        def through_a_shell(closed):
            script = f'exec "$@" {closed}'
            return Host("sh", ("-c", script, "-", BRIDGE, *FIREFOX))

        with through_a_shell("2>&-") as host:
            self.converse(host, [b"y\0"])
            self.assertEqual(host.ask("Run", "x"), "y")
        with through_a_shell("<&-") as host:
            self.assertEqual(host.wait(), 0)
            self.assertIn(b"standard input: ", host.process.stderr.read())

    def test_it_ends_when_nobody_reads_the_answer(self):
        with self.subTest("end of input"), Host() as host:
            self.converse(host, [b"x" * 20000000 + b"\0"])
            host.write(frame(request("Run", "x")))
            host.process.stdout.read(1)
            host.close("stdin")
            self.assertEqual(host.wait(), 0)
        with self.subTest("end of output"), Host() as host:
            host.close("stdout")
            host.write(frame(request("GetStashedString")))
            self.assertEqual(host.wait(), 1)
            self.assertIn(b"Broken pipe", host.process.stderr.read())

    # ---- The library

    def test_the_library_is_found_from_the_program(self):
        # The last is as a package has it that is not for development.
        for place, version in (("bin", ""), ("lib", ""), ("lib", ".1")):
            with installed((place, LIBRARY), version=version) as program:
                with Host(program) as host:
                    self.assertEqual(host.ask("StashString", "x"), "", place)

    def test_a_library_that_cannot_be_used(self):
        for libraries in ([], [("bin", __file__)], [("lib", "/dev/null")]):
            path = {**os.environ, "LD_LIBRARY_PATH": os.path.dirname(LIBRARY)}
            with installed(*libraries) as program:
                with Host(program, env=path) as host:
                    answer = host.ask("Run", "x")
                    self.assertEqual(answer["error"], "component", libraries)
                    self.assertIn("libValdrinConnection.so", answer["message"])
                    state = json.loads(host.ask("Check", 32153))
                    self.assertIsNone(state["library"], libraries)
                    self.assertIn("libValdrin", state["libraryProblem"])
                    self.assertIs(state["application"], False)
                    self.assertIsNotNone(state["applicationProblem"])

    def test_what_a_library_prints_is_no_frame(self):
        failing = os.environ["VALDRIN_FAILING_LIBRARY"]
        noise = {**os.environ, "VALDRIN_TEST_NOISE": "noise"}
        with installed(("lib", failing)) as program:
            with Host(program, env=noise) as host:
                answer = host.ask("Run", "x")
                self.assertEqual(answer["error"], "component")
                self.assertIn("0x8007000e", answer["message"])
                self.expect_end(host, status=0, words=b"noise\n")

    # ---- The state

    def test_check_describes_the_state(self):
        def ignore_children():
            signal.signal(signal.SIGCHLD, signal.SIG_IGN)

        with Host(preexec_fn=ignore_children) as host, bound() as silent:
            app = self.converse(host, [b"0\n\0", b"ok\0"])
            state = json.loads(host.ask("Check", int(app.port)))
            version = run(BRIDGE, "--version").stdout.decode().split()[1]
            self.assertEqual(state, {
                "bridge": version,
                "library": os.path.realpath(LIBRARY),
                "libraryProblem": None,
                "port": int(app.port),
                "application": True,
                "applicationProblem": None,
            })  # fmt: skip
            silent.listen()
            state = json.loads(host.ask("Check", silent.getsockname()[1]))
            self.assertIs(state["application"], False)
            self.assertIn("Something listens", state["applicationProblem"])
            # The port of the page is as it was.
            self.assertEqual(host.ask("Run", "x"), "ok")


if __name__ == "__main__":
    unittest.main()
