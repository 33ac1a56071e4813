"""Tests of valdrin, against an application that plays a part."""

import json
import os
import pty
import re
import tty
import unittest

from support import BIN, Application, bound, envelope, run

VALDRIN = os.path.join(BIN, "valdrin")
LIBRARY = os.environ["VALDRIN_LIBRARY"]
ALL_BYTES = bytes(range(1, 256))


class Test(unittest.TestCase):
    def expect(self, *arguments, status=0, output=b"", error=b"", **options):
        """Runs valdrin. Standard error must be empty, or hold `error`."""
        result = run(VALDRIN, *arguments, **options)
        self.assertEqual(result.returncode, status, result.stderr)
        self.assertEqual(result.stdout or b"", output, arguments)
        self.assertIn(error, result.stderr)
        self.assertEqual(bool(error), bool(result.stderr), result.stderr)

    def converse(self, replies, *arguments, **expected):
        """Returns what the application received."""
        app = Application(*replies)
        self.expect("-p", app.port, *arguments, **expected)
        return app.requests

    def test_each_command_sends_its_request(self):
        ping = envelope(b"python_expression", b"0")
        for command, text, replies, output, requests in (
            ("run", "hi", [b"ok\0"], b"ok",
             b'<?xml version="1.0"?>\n<vscript><![CDATA[hi]]></vscript>\n\0'),
            ("eval", "a]]>b]]>c", [b"1\n\0"], b"1\n",
             envelope(b"python_expression", b"a]]>b]]>c")),
            ("exec", "x = 1\n", [b"0\0", b"dropped\0"], b"",
             ping + envelope(b"python_statements", b"x = 1\n")),
        ):  # fmt: skip
            sent = self.converse(replies, command, text, output=output)
            self.assertEqual(b"".join(sent), requests)

    def test_texts_cross_byte_for_byte(self):
        big = ALL_BYTES * 20000
        for words, reply, printed in (
            (["run"], b"no NUL", b"no NUL"),
            (["run", "-"], b"cut\0here\0", b"cut"),
            (["--", "run", "-"], big + b"\0", big),
        ):
            sent = self.converse([reply], *words, input=ALL_BYTES, output=printed)
            self.assertEqual(sent, [envelope(b"vscript", ALL_BYTES)])

    def test_options_stand_anywhere(self):
        for template in (
            "--port=PORT run -t 9 -- -x",
            "run --timeout=9.5 -pPORT -- -x",
            f"-p PORT -l {LIBRARY} -- run -x",
        ):
            app = Application(b"y\0")
            arguments = template.replace("PORT", app.port).split()
            environment = {**os.environ, "POSIXLY_CORRECT": "1"}
            self.expect(*arguments, output=b"y", env=environment)
            self.assertEqual(app.requests, [envelope(b"vscript", b"-x")])

    def test_wrong_usage_is_reported(self):
        for arguments, error in (
            ([], b"command is missing"),
            (["walk", "x"], b'unknown command "walk": use run, exec, eval'),
            (["eval", "x", "y"], b"eval takes one TEXT, the expression"),
            (["run", "x", "--check"], b"--check is for exec and eval only"),
            (["run", "x", "--port"], b"port"),
            (["env", "-p", "1"], b"--port is for run, exec and eval only"),
            (["env", "--page", "--json"], b"--page and --json exclude each other"),
            (["info", "x"], b"info takes no arguments"),
            *((["run", "x", "--port", port], b"not a port")
              for port in ("", "1x", " 1", "2147483648")),
            *((["run", "x", "--timeout", time], b"not a time")
              for time in ("", ".", "-1", "1e3", "1s", "1" * 10)),
        ):  # fmt: skip
            self.expect(*arguments, status=2, error=error)

    def test_connections_that_fail(self):
        failed = {"status": 3}
        with bound() as refusing:
            port = refusing.getsockname()[1]
            where = f"valdrin: Could not connect to Valdrin at port {port}"
            reason = ": Connection refused\nIs the application running?"
            # The second number is another spelling of the port.
            for number, note in ((port, ""), (port - 65535, f" (for {port - 65535})")):
                failed["error"] = (where + note + reason).encode()
                for words in (["run"], ["exec"], ["eval", "--check"]):
                    self.expect("--port", str(number), *words, "x", **failed)
                environment = {**os.environ, "VALDRIN_PORT": str(number)}
                self.expect("run", "x", env=environment, **failed)
        failed["error"] = b"the connection was lost before the reply"
        self.converse([None], "run", input=b"x" * (32 << 20), **failed)

    def test_port_variable(self):
        environment = {**os.environ, "VALDRIN_PORT": "1x"}
        # An option comes first, and nothing else needs a port.
        self.converse([b"\0"], "run", "x", env=environment)
        self.expect("env", "VRS", "-l", "x", env=environment, status=5, error=b"x")
        error = b'VALDRIN_PORT: not a port: "1x"'
        self.expect("run", "x", env=environment, status=2, error=error)

    def test_checked_python_failures(self):
        traceback = b"Traceback (most recent call last):\n  x\nE: \x9b1\n"
        for command, reply, status, output, error in (
            ("exec", b"", 0, b"", b""),
            ("eval", b"42", 0, b"42", b""),
            ("eval", traceback, 1, b"", traceback),
            ("exec", traceback, 1, b"", traceback),
            ("exec", b"ERROR: busy\n", 1, b"", b"valdrin: busy\n"),
        ):
            sent = self.converse([reply + b"\0"], command, "--check", "x",
                                 status=status, output=output, error=error)
            self.assertEqual(len(sent), 1)

    def test_timeout(self):
        late = {"status": 4, "error": b"valdrin: timed out waiting for Valdrin at port"}
        # The shortest time counts as a time, not as none.
        for time in ("0.2", "0.0000001"):
            sent = self.converse([], "-t", time, "exec", "x", **late)
            # Who does not answer gets no statements.
            self.assertNotIn(envelope(b"python_statements", b"x"), sent)
        for time in ("0.000", "100.", "999999999.9999999"):
            self.converse([b"soon\0"], "-t", time, "run", "x", output=b"soon")

    def test_unusable_input(self):
        late = b"x" * 70000 + b"\0"
        self.expect("run", input=late, status=1, error=b"NUL byte")
        long = b"x" * ((64 << 20) + 1)
        self.expect("run", input=long, status=1, error=b"64 MiB")

    def test_troubled_descriptors(self):
        full = b"valdrin: standard output: No space left on device\n"
        reply = b"x" * 1000000
        for script, status, output in (
            # The connection must not take the place of a closed descriptor.
            ('"$@" <&-', 1, b""),
            ('"$@" x >&-', 1, b""),
            ('"$@" x 2>&-', 0, reply),
            ('"$@" x 2>&1 >/dev/full', 1, full),
            # The reader leaves early, and the signal for that is ignored.
            ('trap "" PIPE; "$@" x | head -c1', 1, b"x"),
        ):
            command = ["bash", "-o", "pipefail", "-c", script, "-", VALDRIN]
            result = run(*command, "-p", Application(reply).port, "run")
            self.assertEqual(result.returncode, status, script)
            self.assertEqual(result.stdout, output)

    def test_replies_on_a_terminal(self):
        for reply, shown in (
            (b"a", b"a\r\n"),
            (b"a\n", b"a\r\n"),
            (b"\ta\x1b[2J\r\xc2\x9b\x9b", b"\ta\\x1b[2J\\x0d\\xc2\\x9b\\x9b\r\n"),
            ("\u00db\u20ac".encode(), "\u00db\u20ac\r\n".encode()),
        ):
            master, slave = pty.openpty()
            tty.setcbreak(slave)
            self.converse([reply + b"\0"], "run", "x", stdout=slave)
            self.assertEqual(os.read(master, 100), shown)

    def test_completion_offers_what_the_help_lists(self):
        source = os.environ["VALDRIN_SOURCE"]
        script = (
            f'. "{source}/tools/completion/valdrin.bash"\n'
            "COMP_WORDS=(valdrin --); COMP_CWORD=1; _valdrin\n"
            'printf "%s\n" "${COMPREPLY[@]}"'
        )
        offered = run("bash", "-c", script).stdout.decode().split()
        help_text = run(VALDRIN, "--help").stdout.decode()
        options = re.findall(r"^  +(?:-., )?(--\w+)", help_text, re.MULTILINE)
        self.assertEqual(sorted(offered), sorted(options))
        with open(f"{source}/tools/completion/_valdrin") as zsh:
            zsh_text = zsh.read()
        for option in options:
            self.assertIn(option, zsh_text)

    def test_unusable_library(self):
        plain, failing = os.environ["VALDRIN_BAD_LIBRARIES"].split(":")
        for path, error in (
            ("nowhere.so", b"./nowhere.so"),
            (plain, b"NSGetModule"),
            (failing, b"0x8007000e"),
        ):
            self.expect("-l", path, "run", "x", status=5, error=error)

    def test_env_lists_what_holds(self):
        environment = {
            "VALDRIN_VIEW_GAMMA": "99",
            "VALDRIN_VIEW_GRID": "x",
            "VALDRIN_MAXTHREADS": "x",
            "VALDRIN_UI_FONT": '"\x1b\\\x9b\xdb' + "x" * 100,
            "VALDRIN_TEMP_DIR": "/a",
        }
        result = run(VALDRIN, "env", env=environment)
        rows = [re.split("  +", row) for row in result.stdout.decode().split("\n")]
        self.assertEqual(len(rows), 1 + 135 + 11 + 93 + 1)
        listed = {row[0]: row[1:6] for row in rows}
        font = '"\\"\\x1b/\\xc2\\x9b\xdb' + "x" * 100 + '"'
        for name, *expected in (
            ("VARIABLE", "VALUE", "DEFAULT", "SOURCE", "RANGE", "READER"),
            ("VALDRIN_VIEW_GAMMA", "10", "2.2", "environment", "0.1 to 10",
             "application"),
            ("VALDRIN_VIEW_GRID", "0", "1", "environment", "0 or 1",
             "application"),
            ("VALDRIN_MAXTHREADS", "0", "-1", "environment", "-1 to 100",
             "library"),
            ("VALDRIN_UI_FONT", font, '"sans"', "environment", "-",
             "application"),
            ("HOME", '"/a"', '"/a"', "default", "-", "library"),
            ("VRS", "-", "-", "default", "-", "library"),
        ):  # fmt: skip
            self.assertEqual(listed[name], expected, name)

    def test_env_notes_what_may_surprise(self):
        not_one = "not a setting, and nothing reads it"
        rows = {
            "VALDRIN_CONSOLE_LINES": ("1e3", '"1e3" is more than a number, and counts as 64'),
            "VALDRIN_DISABLE_SSE": ("off", '"off" is neither 0 nor 1, and disables nothing'),
            "VALDRIN_GAMMA": ("1", not_one + "; did you mean VALDRIN_VIEW_GAMMA?"),
            "VALDRIN_MAX_THREADS": ("1", not_one + "; did you mean VALDRIN_MAXTHREADS?"),
            "VALDRIN_PORT": ("10000", None),
            "VALDRIN_VIEW_AXES": ("off", '"off" is neither 0 nor 1, and turns it off'),
            "VALDRIN_VIEW_GAMMA": ("99", '"99" is out of range, and counts as 10'),
            "VALDRIN_VIEW_STEREO": ("off", '"off" is neither 0 nor 1, and turns it on'),
            "VALDRIN_VIEW_SAMPLES": ("", '"" is not a number, and counts as 1'),
            "valdrin_ui_font": ("x", not_one + "; did you mean VALDRIN_UI_FONT?"),
        }  # fmt: skip
        environment = {name: row[0] for name, row in rows.items()}
        expected = [f"{name}: {row[1]}" for name, row in rows.items() if row[1]]
        result = run(VALDRIN, "env", env=environment)
        notes = result.stderr.decode().splitlines()
        self.assertEqual(sorted(notes), sorted("valdrin: " + note for note in expected))

        result = run(VALDRIN, "env", "--json", "*gamma", env=environment)
        self.assertEqual(result.stderr, b"")
        listed = json.loads(result.stdout)
        self.assertEqual(listed["notes"], [note for note in expected if "GAMMA:" in note])
        self.assertEqual(listed["settings"][2], {
            "name": "VALDRIN_VIEW_GAMMA", "kind": "float", "value": 10,
            "default": 2.2, "minimum": 0.1, "maximum": 10,
            "source": "environment", "reader": "application",
            "use": "gamma of the screen"})

    def test_env_prints_any_text_as_json(self):
        for name, given, value in (
            ("VALDRIN_UI_FONT", b'a"\x1b/\n\xe2\x82\xac', 'a"\x1b/\n\u20ac'),
            ("VALDRIN_UI_FONT", b"\xe9\xff", "\xe9\xff"),
            # Overlong, a surrogate, and a number that is too large.
            ("VALDRIN_UI_FONT", b"\xe0\x82\x9b", "\xe0\x82\x9b"),
            ("VALDRIN_UI_FONT", b"\xed\xa0\x80", "\xed\xa0\x80"),
            ("VALDRIN_UI_FONT", b"\xf4\x90\x80\x80", "\xf4\x90\x80\x80"),
            ("VRS", b"", None),
        ):
            environment = {b"VALDRIN_UI_FONT": given}
            result = run(VALDRIN, "env", "--json", name, env=environment)
            self.assertEqual(json.loads(result.stdout)["settings"][0]["value"], value)

    def test_env_takes_patterns(self):
        for pattern, count in (
            ("-", 239), ("v?s", 1), ("*_gamma", 3),
        ):  # fmt: skip
            result = run(VALDRIN, "env", pattern)
            self.assertEqual(result.stdout.count(b"\n"), 1 + count, pattern)
        self.expect("env", "VIEW", status=1, error=b'matches "VIEW"')
        plain = os.environ["VALDRIN_BAD_LIBRARIES"].split(":")[0]
        self.expect("env", "-l", plain, status=5, error=b"UTdescribeControl")

    def test_info_describes_the_machine(self):
        environment = {"VALDRIN_MAXTHREADS": "1", "VALDRIN_DISABLE_XMMX": "1"}
        result = run(VALDRIN, "info", "--json", env=environment)
        info = json.loads(result.stdout)
        with open("/proc/meminfo") as file:
            kilobytes = dict(re.findall(r"(\w+): +(\d+) kB", file.read()))
        for kind, label in (("memory", "MemTotal"), ("swap", "SwapTotal")):
            total = int(kilobytes[label]) * 1024
            self.assertEqual(info[kind]["total"], total)
        processors = info["processors"]
        self.assertEqual(processors["configured"], os.sysconf("SC_NPROCESSORS_CONF"))
        self.assertEqual(processors["used"], 1)
        self.assertNotIn("SSE2", processors["features"])
        self.assertGreater(info["process"]["data"], 0)
        text = run(VALDRIN, "info", env=environment).stdout.decode()
        self.assertIn(", 1 to use\n", text)

    def test_page_of_settings_is_up_to_date(self):
        source = os.environ["VALDRIN_SOURCE"]
        with open(f"{source}/docs/settings.md", "rb") as page:
            committed = page.read()
        environment = {"VALDRIN_VIEW_GAMMA": "9", "HOME": "/a"}
        self.expect("env", "--page", output=committed, env=environment)


if __name__ == "__main__":
    unittest.main()
