"""Tests of what a user asks the native host for by hand."""

import json
import pathlib
import shutil
import tempfile
import unittest

from host import BRIDGE, CHROMIUM, FIREFOX
from support import Standin, bound, run

NAME = "com.norvex.valdrinconnection"
CHROMIUM_ID = CHROMIUM[0].split("/")[2]
USER = {
    "Firefox": f".mozilla/native-messaging-hosts/{NAME}.json",
    "Chromium": f".config/chromium/NativeMessagingHosts/{NAME}.json",
    "Google Chrome":
        f".config/google-chrome/NativeMessagingHosts/{NAME}.json",
}
SYSTEM = {
    "Firefox": f"usr/lib/mozilla/native-messaging-hosts/{NAME}.json",
    "Chromium": f"etc/chromium/native-messaging-hosts/{NAME}.json",
    "Google Chrome": f"etc/opt/chrome/native-messaging-hosts/{NAME}.json",
}
PROGRAM = {
    "Firefox": "usr/bin/firefox-esr",
    "Chromium": "usr/bin/chromium",
    "Google Chrome": "usr/bin/google-chrome-stable",
}
# Of all users, where the browser finds it.
EXTENSION = {
    "Firefox": "usr/share/mozilla/extensions/"
    "{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/valdrin-connection@norvex.com.xpi",
    "Chromium": "usr/share/chromium/extensions/valdrin-connection",
}


def place(file, text="", mode=0o644):
    file.parent.mkdir(parents=True, exist_ok=True)
    file.write_text(text)
    file.chmod(mode)


def manifest(browser, **changes):
    if browser == "Firefox":
        allowed = {"allowed_extensions": ["another", FIREFOX[1]]}
    else:
        allowed = {"allowed_origins": ["another", CHROMIUM[0]]}
    members = {
        "name": NAME,
        "description": "for a test",
        "path": BRIDGE,
        "type": "stdio",
        **allowed,
    }
    return json.dumps({**members, **changes})


class Test(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name, "root")
        self.home = pathlib.Path(folder.name, "home")

    def check(self, port):
        """The exit status of a check, and its words."""
        environment = {"HOME": str(self.home), "PATH": "/usr/bin"}
        result = run(
            BRIDGE, "--check", "--port", str(port), "--root", str(self.root),
            env=environment,
        )  # fmt: skip
        self.assertEqual(result.stderr, b"")
        return result.returncode, result.stdout.decode()

    def install(self, browser):
        """The browser, and all that it needs, in the places of all users."""
        place(self.root / PROGRAM[browser], mode=0o755)
        place(self.root / SYSTEM[browser], manifest(browser, path="/usr/bin/x"))
        place(self.root / "usr/bin/x", mode=0o755)
        if browser in EXTENSION:
            place(self.root / EXTENSION[browser])

    def test_all_is_well(self):
        with Standin() as application:
            for browser in EXTENSION:
                shutil.rmtree(self.root, ignore_errors=True)
                self.install(browser)
                status, words = self.check(application.port)
                self.assertEqual(status, 0, words)
                self.assertNotIn("To do", words)
                for expected in (PROGRAM, SYSTEM, EXTENSION):
                    self.assertIn(str(self.root / expected[browser]), words)

    def test_what_is_missing_is_named(self):
        with bound() as refusing:
            port = refusing.getsockname()[1]
            status, words = self.check(port)
            self.assertEqual(status, 1)
            self.assertIn(f"Nothing answers on port {port}.", words)
            self.assertRegex(words, "Firefox +not found")

            for browser in PROGRAM:
                place(self.root / PROGRAM[browser], mode=0o755)
            status, words = self.check(port)
            self.assertEqual(status, 1)
            for path in (*SYSTEM.values(), *EXTENSION.values()):
                self.assertIn(f"missing: {self.root / path}\n", words)
            self.assertIn("in no profile", words)
            self.assertEqual(words.count("To do:"), 7, words)

    def test_a_manifest_that_a_browser_would_refuse(self):
        with Standin() as application:
            for changes, words in (
                ({"name": "other"}, "another name"),
                ({"type": "pkcs11"}, "another type"),
                ({"path": "valdrin-bridge"}, "no absolute path"),
                ({"path": 7}, "no absolute path"),
                ({"path": "/nowhere/valdrin-bridge"}, "cannot be run"),
                ({"path": "/usr/bin/text"}, "cannot be run"),
                ({"path": "/usr/bin"}, "cannot be run"),
                ({"allowed_extensions": ["another"]}, "does not list "),
                ({"allowed_extensions": FIREFOX[1]}, "does not list "),
            ):
                self.install("Firefox")
                place(self.root / "usr/bin/text")
                file = self.root / SYSTEM["Firefox"]
                place(file, manifest("Firefox", **changes))
                status, printed = self.check(application.port)
                self.assertEqual(status, 1, changes)
                self.assertIn(words, printed, changes)
            place(file, "{")
            self.assertIn("not readable as JSON", self.check(application.port)[1])
            file.unlink()
            file.mkdir()
            self.assertIn("not readable as JSON", self.check(application.port)[1])

    def test_the_users_own_files_come_first(self):
        with Standin() as application:
            for browser, extension in (
                ("Firefox", ".mozilla/firefox/a.b/extensions/"
                 "valdrin-connection@norvex.com.xpi"),
                ("Firefox", ".config/mozilla/firefox/a.b/extensions/"
                 "valdrin-connection@norvex.com.xpi"),
                ("Chromium", ".config/chromium/Default/Extensions/"
                 f"{CHROMIUM_ID}/1/manifest.json"),
                ("Chromium", ".config/chromium/Profile 1/Secure Preferences"),
                ("Google Chrome", ".config/google-chrome/Default/Preferences"),
            ):  # fmt: skip
                shutil.rmtree(self.root, ignore_errors=True)
                shutil.rmtree(self.home, ignore_errors=True)
                self.install(browser)
                shutil.rmtree(self.root / "usr/share", ignore_errors=True)
                place(self.home / extension, f'"{CHROMIUM_ID}"')
                place(self.home / USER[browser], manifest(browser))
                status, words = self.check(application.port)
                self.assertEqual(status, 0, words)
                self.assertIn(str(self.home / USER[browser]), words)
                self.assertNotIn("another program", words)

    def test_wrong_usage_is_told(self):
        for arguments in (
            [], ["--check", "x"], ["--port", "1"],
            ["--check", "--port", "2147483648"], ["--check", "--port"],
        ):  # fmt: skip
            result = run(BRIDGE, *arguments)
            self.assertEqual(result.returncode, 2, arguments)
            self.assertEqual(result.stdout, b"", arguments)
            self.assertIn(b'try "valdrin-bridge --help"', result.stderr)


if __name__ == "__main__":
    unittest.main()
