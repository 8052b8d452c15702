"""The example for calling programs, with a script in place of the program."""

import subprocess
import sys
import tempfile
from pathlib import Path

import harness
from program_session import EXCHANGE_FILE, ROOT


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
                program, file = Path(folder, "program"), Path(folder, EXCHANGE_FILE)
                program.write_text(f"#!/bin/sh\n{script}\n")
                program.chmod(0o755)
                file.write_bytes(b"2003=1,0\r\n")  # of an earlier run
                reader = subprocess.run([sys.executable, ROOT / "examples/read_exchange_file.py", "--run", program, *arguments],
                                        env={"TMP": folder, "PATH": "/usr/bin:/bin"}, capture_output=True, text=True, check=False)
                self.assertEqual((reader.returncode, reader.stdout), (code, printed), reader.stderr)
                self.assertFalse(file.exists())
