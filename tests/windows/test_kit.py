"""The kit as a stranger unpacks it: its self-test, and values from its simulated analysers without the sources."""

import fcntl
import os
import pty
import re
import shutil
import subprocess
import termios
import threading
import zipfile

import harness
import wine_env
from make_packages import KIT, PACKAGES, VERSION
from program_session import PATIENCE
from wine_env import ARCH

NEEDS_A_CONSOLE_OF_WINDOWS = "nelto-read ended by Ctrl+Break"  # this Wine cannot send one to a group of processes


class SelfTest(harness.WindowsTestCase):
    def unpack(self, **options):
        self.program = self.session(**options)
        self.prefix = self.program.prefix
        self.prefix.environment["WINEDLLOVERRIDES"] += ";wsock32=n,b"
        self.drive = self.prefix.folder / "drive_c"
        self.kit = self.drive / "Prüfung & more" / KIT
        zipfile.ZipFile(PACKAGES / f"{KIT}-{VERSION}.zip").extractall(self.kit.parent)

    def run_self_test(self, *ports):
        """The exit code, and the verdicts in the file for the support."""
        keyboard, terminal = pty.openpty()
        process = self.prefix.start("cmd", "/c", "selftest.cmd", ARCH, *ports, cwd=self.kit, stdin=terminal, stdout=terminal,
                                    stderr=terminal, preexec_fn=lambda: fcntl.ioctl(terminal, termios.TIOCSCTTY, 0))
        os.close(terminal)
        reader = threading.Thread(target=self.empty, args=[keyboard], daemon=True)
        reader.start()
        code = process.wait(5 * PATIENCE)
        reader.join(PATIENCE)  # longer where a program that is left behind keeps the terminal
        os.close(keyboard)
        self.page = (self.kit / "NeltoSelfTest.html").read_text()
        return code, dict(re.findall(r"<tr><td>(.*?)</td><td>(.*?)</td>", self.page))

    @staticmethod
    def empty(terminal):
        try:
            while os.read(terminal, 4096):
                pass
        except OSError:  # closed by all who wrote to it
            pass

    def test_passes_and_leaves_everything_as_it_was(self):
        settings = {"Communication": 7, "HeatingCheck": 1}
        self.unpack(settings=settings, language="de")
        cable = wine_env.SerialCable(self.prefix, 5, 6)
        self.addCleanup(cable.close)
        (self.drive / "IRDALOG.TXT").write_bytes(b"of the user")
        code, verdicts = self.run_self_test("COM5", "COM6")
        self.assertEqual(verdicts.pop(NEEDS_A_CONSOLE_OF_WINDOWS), "------")
        self.assertEqual((code, set(verdicts.values()), len(verdicts)), (0, {"passed"}, 13), self.page[:3000])
        for content in ("nelto-read " + VERSION, "2003=4,3", "set clock", "data:image/bmp;base64,Qk", "Nelto 780 Open OK"):
            self.assertIn(content, self.page)
        self.assertEqual({name: self.program.ask("regget", name) for name in settings}, settings)
        self.assertEqual((self.drive / "IRDALOG.TXT").read_bytes(), b"of the user")
        self.assertEqual(list(self.program.temp.iterdir()), [])

    def test_finds_what_is_wrong(self):
        self.unpack()
        analyser = self.kit / "selftest/analyser.txt"
        analyser.write_text(analyser.read_text().replace("4.3", "4.4"))
        shutil.copy(self.kit / ARCH / "nelto-read.exe", self.kit / ARCH / "usb_client.exe")
        code, verdicts = self.run_self_test()
        self.assertEqual(code, 1)
        self.assertEqual({check for check, verdict in verdicts.items() if verdict == "FAILED"},
                         {f"{what}, {link}" for what in ("dialog and exchange file", "nelto-read") for link in ("USB", "infrared")} |
                         {"NeltoUSB.dll"})
        self.assertIn("missing: 2003=4.3; not said by the analyser: 2003=4.4", self.page)
        self.assertFalse((self.drive / "IRDALOG.TXT").exists())

    def test_values_by_its_read_me(self):
        self.unpack()
        folder = self.kit / ARCH
        shutil.copy(folder / "ftd2xx/3.02.11/FTD2XX.DLL", folder)
        with self.prefix.start(folder / "nelto-read.exe", "--link", "usb", "--watch", "--format", "exchange",
                               stdout=subprocess.PIPE, stderr=subprocess.PIPE) as reader:
            self.assertTrue(reader.stdout.readline().startswith(b"2003="))
            (folder / "unplugged.txt").touch()
            self.assertIn(b"nelto-read: the connection is broken\r\n", iter(reader.stderr.readline, b""))
            (folder / "unplugged.txt").unlink()
            self.assertEqual(reader.stderr.readline(), b"nelto-read: values are there\r\n")
            reader.stdout.close()
            self.assertEqual(reader.wait(PATIENCE), 0)
