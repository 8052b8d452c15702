"""The shipped file itself: what a user's Windows must bring along for it to start."""

import re
import struct
import subprocess
import unittest

from program_session import PROGRAM

SYSTEM_LIBRARIES = {"advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "shell32.dll", "user32.dll",
                    "version.dll", "wsock32.dll"}
MANIFEST_TYPE, VERSION_TYPE = 24, 16


def resources():
    """The types in the resource directory, and the section's bytes."""
    listing = subprocess.run(["objdump", "-h", str(PROGRAM)], capture_output=True, text=True, check=True).stdout
    _, _, size, _, _, offset, _ = re.search(r"^.*\.rsrc.*$", listing, re.MULTILINE)[0].split()
    data = PROGRAM.read_bytes()[int(offset, 16):][:int(size, 16)]
    named, numbered = struct.unpack_from("<HH", data, 12)
    types = {struct.unpack_from("<I", data, 16 + 8 * index)[0] for index in range(named, named + numbered)}
    return types, data


class ProgramFile(unittest.TestCase):
    def test_imports_system_libraries_only(self):
        headers = subprocess.run(["objdump", "-p", str(PROGRAM)], capture_output=True, text=True, check=True).stdout
        imported = {name.lower() for name in re.findall(r"DLL Name: (\S+)", headers)}
        self.assertTrue(imported)
        self.assertLessEqual(imported, SYSTEM_LIBRARIES)

    def test_carries_manifest_and_version(self):
        types, data = resources()
        self.assertLessEqual({MANIFEST_TYPE, VERSION_TYPE}, types)
        for words in (b"Microsoft.Windows.Common-Controls", b"PerMonitorV2", b"asInvoker", b"supportedOS"):
            self.assertIn(words, data)
        self.assertNotIn(b"activeCodePage", data)
        for name in ("FileVersion", "ProductName", "CompanyName"):
            self.assertIn(name.encode("utf-16-le"), data)
