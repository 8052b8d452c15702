"""The example for calling programs, with a script in place of the program."""

import subprocess
import sys
import tempfile
from pathlib import Path

import drop_in_d2xx
import harness
from program_session import DIST, EXCHANGE_FILE, ROOT


def script_in(folder, script):
    """A program, and the exchange file of an earlier run."""
    program, file = Path(folder, "program"), Path(folder, EXCHANGE_FILE)
    program.write_text(f"#!/bin/sh\n{script}\n")
    program.chmod(0o755)
    file.write_bytes(b"2003=1,0\r\n")
    return program, file


class ReadExchangeFile(harness.FileTestCase):
    def test_starts_waits_and_tells_what_came_of_it(self):
        cases = [  # what the program does, arguments, exit code, what is printed
            (r"printf '%s\r\n2003=4,6\r\n' $1 > $TMP/" + EXCHANGE_FILE, ["--word", "JOB17"], 0, "2003 O2 in %: 4.6\n"),
            (r"printf '%s\r\n%s\r\n' $1 $2 > $TMP/" + EXCHANGE_FILE, ["--word", "J", "--fuel", "3"], 0, "6420 fuel: 3.0\n"),
            (r"printf '%s\r\n' $1 > $TMP/" + EXCHANGE_FILE, ["--fuel", "3"], 0, ""),
            (r"printf '%s\r\n' $1 > $TMP/" + EXCHANGE_FILE, ["--fuel", "0"], 0, ""),
            ("true", [], 1, "cancelled\n"),
            (r"printf 'OTHER\r\n2003=4,6\r\n' > $TMP/" + EXCHANGE_FILE, ["--word", "JOB17"], 2, ""),
            (r"printf '2003=4,6\r\n91' > $TMP/" + EXCHANGE_FILE, [], 2, ""),
        ]
        for script, arguments, code, printed in cases:
            with self.subTest(script), tempfile.TemporaryDirectory() as folder:
                program, file = script_in(folder, script)
                reader = subprocess.run([sys.executable, ROOT / "examples/read_exchange_file.py", "--run", program, *arguments],
                                        env={"TMP": folder, "PATH": "/usr/bin:/bin"}, capture_output=True, text=True, check=False)
                self.assertEqual((reader.returncode, reader.stdout), (code, printed), reader.stderr)
                self.assertFalse(file.exists())


class Values(harness.WindowsTestCase):
    """The second example: with a script in place of the dialog, and with nelto-read itself."""

    def example(self, *words, **options):
        return subprocess.Popen([sys.executable, ROOT / "examples/values.py", *words], stdout=subprocess.PIPE, text=True, **options)

    def test_dialog(self):
        for script, wanted in ((r"printf '%s\r\n2003=4,6\r\n' $1 > $TMP/" + EXCHANGE_FILE, (0, "JOB17\n2003=4,6\n")), ("true", (1, ""))):
            with self.subTest(script), tempfile.TemporaryDirectory() as folder:
                program, _ = script_in(folder, script)
                with self.example("dialog", program, env={"TMP": folder, "PATH": "/usr/bin:/bin"}) as example:
                    self.assertEqual((example.communicate()[0], example.returncode), wanted[::-1])

    def test_without_a_window(self):
        session = self.session()
        driver = drop_in_d2xx.Driver(session.prefix)
        driver.set_up()
        reader, _ = script_in(session.prefix.folder, f"exec wine '{DIST}/NeltoRead/nelto-read.exe' \"$@\" 2>/dev/null")
        with self.example("once", reader, env=session.prefix.environment) as example:
            self.assertRegex(example.communicate()[0], r"^20\S+ values nelto 780-2 O2 [34]\.\d+\n$")
            self.assertEqual(example.returncode, 0)
        with self.example("follow", reader, "--link", "usb", env=session.prefix.environment) as example:
            lines = [next(line for line in example.stdout if " values " in line) for _ in range(2)]
            self.assertNotEqual(*lines)
            driver.unplug()
            self.assertTrue(any(" broken " in line for line in example.stdout))
            example.terminate()
