"""The shipped files themselves: what a user's Windows must bring along for them to start, and what they protect him with. The
32-bit files cannot run under a 64-bit Wine; that they are made as they should is all that is tested of them."""

import re
import shutil
import struct
import subprocess
import unittest

import drop_in_d2xx
import drop_in_generation2010
import drop_in_winsock
import harness
from program_session import CANCEL, PROGRAM, ROOT

SYSTEM_LIBRARIES = {"advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "shell32.dll", "user32.dll",
                    "version.dll", "wsock32.dll"}
FUNCTIONS = ["NeltoUSBClose", "NeltoUSBGetDevices", "NeltoUSBOpen", "NeltoUSBSetTimeout", "NeltoUSBTransceive"]
BUILDS = {"x64": ROOT / "build/windows-x64/bin", "x86": ROOT / "build/windows-x86/bin"}
SHIPPED = [(arch, folder / name) for arch, folder in BUILDS.items() for name in ("NeltoStackWatcher.exe", "NeltoUSB.dll")]
MACHINES, OPTIONAL_HEADERS = {"x64": 0x8664, "x86": 0x014C}, {"x64": 0x020B, "x86": 0x010B}
HIGH_ENTROPY, DYNAMIC_BASE, NX_COMPATIBLE = 0x0020, 0x0040, 0x0100
EXECUTABLE, WRITABLE = 0x20000000, 0x80000000
RELOCATION = {"x64": 10, "x86": 3}  # of a whole address
MANIFEST_TYPE, VERSION_TYPE = 24, 16


class PortableExecutable:
    """The headers that Windows looks at before it starts a program."""

    def __init__(self, path):
        self.bytes = path.read_bytes()
        header = self._at("<I", 0x3C)[0] + 4
        self.machine, count, self.time_stamp, _, _, optional_size, self.characteristics = self._at("<HHIIIHH", header)
        optional = header + 20
        self.magic = self._at("<H", optional)[0]
        self.protections = self._at("<H", optional + 70)[0]
        self.directories = optional + (112 if self.magic == 0x020B else 96)
        self.sections = []
        for index in range(count):
            name, size, address, raw_size, offset, flags = struct.unpack_from("<8sIIII12xI", self.bytes,
                                                                              optional + optional_size + 40 * index)
            self.sections.append((name.rstrip(b"\0").decode(), address, max(size, raw_size), offset, flags))

    def _at(self, layout, offset):
        return struct.unpack_from(layout, self.bytes, offset)

    def directory(self, index):
        """The bytes of the file from the start of a directory on, and its size."""
        address, size = self._at("<II", self.directories + 8 * index)
        return self.at(address), size

    def at(self, address):
        for _, start, size, offset, _ in self.sections:
            if start <= address < start + size:
                return self.bytes[offset + address - start:]
        raise ValueError(f"address {address:#x}")

    def text_at(self, address):
        return self.at(address).split(b"\0", 1)[0].decode()

    def imports(self):
        table, _ = self.directory(1)
        rows = iter(struct.iter_unpack("<5I", table[:len(table) // 20 * 20]))
        return {self.text_at(row[3]).lower() for row in iter(lambda: next(rows), (0,) * 5)}

    def exports(self):
        table, _ = self.directory(0)
        count, names = struct.unpack_from("<I4xI", table, 24)
        return [self.text_at(address) for address, in struct.iter_unpack("<I", self.at(names)[:4 * count])]

    def relocations(self):
        """The kinds of all entries."""
        table, size = self.directory(5)
        kinds, at = [], 0
        while at < size:
            _, block = struct.unpack_from("<II", table, at)
            kinds += [entry >> 12 for entry, in struct.iter_unpack("<H", table[at + 8:at + block])]
            at += block
        return kinds

    def resource_types(self):
        table, _ = self.directory(2)
        named, numbered = struct.unpack_from("<HH", table, 12)
        return {struct.unpack_from("<I", table, 16 + 8 * index)[0] for index in range(named, named + numbered)}


class ShippedFiles(unittest.TestCase):
    def setUp(self):
        self.shipped = [(arch, path, PortableExecutable(path)) for arch, path in SHIPPED]

    def test_they_start_on_any_windows_of_their_kind(self):
        for arch, path, file in self.shipped:
            with self.subTest(path.relative_to(ROOT)):
                self.assertEqual((file.machine, file.magic), (MACHINES[arch], OPTIONAL_HEADERS[arch]))
                self.assertIn("kernel32.dll", file.imports())
                self.assertLessEqual(file.imports(), SYSTEM_LIBRARIES)
                self.assertEqual(file.exports(), FUNCTIONS)

    def test_addresses_cannot_be_foreseen_and_data_is_no_code(self):
        for arch, path, file in self.shipped:
            with self.subTest(path.relative_to(ROOT)):
                wanted = DYNAMIC_BASE | NX_COMPATIBLE | (HIGH_ENTROPY if arch == "x64" else 0)
                self.assertEqual(file.protections & wanted, wanted)
                self.assertFalse(file.characteristics & 1, "relocations stripped")
                self.assertGreater(file.relocations().count(RELOCATION[arch]), 50)
                self.assertLessEqual(set(file.relocations()), {0, RELOCATION[arch]})
                self.assertIn(".text", [section[0] for section in file.sections])
                for name, _, _, _, flags in file.sections:
                    self.assertNotEqual(flags & (EXECUTABLE | WRITABLE), EXECUTABLE | WRITABLE, name)

    def test_functions_check_their_frames(self):
        for _, path, _ in self.shipped:
            with self.subTest(path.relative_to(ROOT)):
                address = re.search(rf"^ +0x0*([0-9a-f]+) +__stack_chk_fail$", path.with_suffix(".map").read_text(), re.MULTILINE)[1]
                code = subprocess.run(["objdump", "-d", "--no-show-raw-insn", path], capture_output=True, text=True, check=True).stdout
                self.assertGreater(len(re.findall(rf"\bcall +0x{address}\b", code)), 10)
                self.assertRegex(code, rf"(?m)^ *{address}:.*\n(?:.*\n){{0,4}}.*\bint +\$0x29", "it ends the process at once")

    def test_nothing_tells_when_and_where_they_were_built(self):
        for _, path, file in self.shipped:
            with self.subTest(path.relative_to(ROOT)):
                self.assertEqual(file.time_stamp, 0)
                self.assertNotIn(str(ROOT).encode(), file.bytes)

    def test_the_program_carries_manifest_and_version(self):
        for _, path, file in self.shipped[::2]:
            with self.subTest(path.relative_to(ROOT)):
                self.assertLessEqual({MANIFEST_TYPE, VERSION_TYPE}, file.resource_types())
                data = file.directory(2)[0]
                for words in (b"Microsoft.Windows.Common-Controls", b"PerMonitorV2", b"asInvoker", b"supportedOS"):
                    self.assertIn(words, data)
                self.assertNotIn(b"activeCodePage", data)
                for name in ("FileVersion", "ProductName", "CompanyName"):
                    self.assertIn(name.encode("utf-16-le"), data)

    def test_the_program_is_the_built_one(self):
        self.assertEqual(PROGRAM.read_bytes(), (BUILDS["x64"] / PROGRAM.name).read_bytes())


class PlantedLibraries(harness.WindowsTestCase):
    """Libraries of the right names in the current directory, which is not the program's own."""

    def look_for(self, communication, log_line):
        """The names of the planted libraries that a search of the program loads."""
        session = self.session(settings={"Communication": communication})
        drive = session.prefix.folder / "drive_c"
        shutil.copytree(PROGRAM.parent, drive / "NeltoStackWatcher")
        shutil.copytree(drop_in_generation2010.LIBRARIES, drive / "planted")
        for library in (drop_in_winsock.LIBRARY, drop_in_d2xx.LIBRARIES / drop_in_d2xx.NEW / "FTD2XX.DLL"):
            shutil.copy(library, drive / "planted")
        session.prefix.environment["WINEDLLOVERRIDES"] += ";wsock32=n,b"
        session.prefix.environment["WINEDEBUG"] = "+loaddll"
        session.start(program="C:\\NeltoStackWatcher\\" + PROGRAM.name, cwd=drive / "planted")
        session.wait_until(lambda: log_line in (session.file("Nelto780Base.txt") or b""), log_line)
        self.assertEqual(session.leave(CANCEL), 0)
        log = (session.prefix.folder / "wine.log").read_text(errors="replace")
        self.assertIn("Loaded", log)
        return set(re.findall(r'Loaded L"\w:[^"]*\\planted\\\\([^"]+)"', log))

    def test_they_are_loaded_only_where_the_systems_search_order_is_promised(self):
        self.assertEqual(self.look_for(0, b"no nelto fluegas instrument"), {"FTD2XX.DLL"})
        self.assertEqual(self.look_for(drop_in_winsock.COMMUNICATION_IRDA, b"Error code 1"), set())
