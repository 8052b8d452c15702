"""The shipped files themselves: what a user's Windows must bring along for them to start, and what they protect him with. Of
both kinds."""

import re
import shutil
import subprocess

import drop_in_d2xx
import drop_in_generation2010
import drop_in_winsock
import harness
from project import VERSION
from program_session import CANCEL, PROGRAM, ROOT

SYSTEM_LIBRARIES = {"advapi32.dll", "comctl32.dll", "gdi32.dll", "kernel32.dll", "msvcrt.dll", "shell32.dll", "user32.dll",
                    "version.dll", "wsock32.dll"}
FUNCTIONS = ["NeltoUSBClose", "NeltoUSBGetDevices", "NeltoUSBOpen", "NeltoUSBSetTimeout", "NeltoUSBTransceive"]
EXPORTS = {PROGRAM.name: FUNCTIONS, "NeltoUSB.dll": FUNCTIONS, "nelto-read.exe": []}
BUILDS = {"x64": ROOT / "build/windows-x64/bin", "x86": ROOT / "build/windows-x86/bin"}
KINDS = {"x64": ("AMD64", "0x20B", "DIR64"), "x86": ("I386", "0x10B", "HIGHLOW")}
DETAILS = ("file-headers", "sections", "coff-imports", "coff-exports", "coff-basereloc")


class ShippedFile:
    def __init__(self, arch, name):
        self.arch, self.path = arch, BUILDS[arch] / name
        self.listing = subprocess.run(["llvm-readobj", *("--" + detail for detail in DETAILS), self.path],
                                      capture_output=True, text=True, check=True).stdout

    def all(self, pattern):
        return re.findall(pattern, self.listing, re.MULTILINE)


class ShippedFiles(harness.FileTestCase):
    @classmethod
    def setUpClass(cls):
        cls.shipped = [ShippedFile(arch, name) for arch in BUILDS for name in EXPORTS]

    def test_they_start_on_any_windows_of_their_kind_and_do_not_tell_when_and_where_they_were_built(self):
        for file in self.shipped:
            with self.subTest(file.path.relative_to(ROOT)):
                machine, magic, _ = KINDS[file.arch]
                self.assertEqual(file.all(r"^  Machine: IMAGE_FILE_MACHINE_(\w+)") + file.all("^  Magic: (0x.*)$"), [machine, magic])
                imported = {name.lower() for name in file.all(r"^Import \{\n  Name: (\S+)")}
                self.assertIn("kernel32.dll", imported)
                self.assertLessEqual(imported, SYSTEM_LIBRARIES)
                self.assertEqual(file.all(r"^Export \{\n.*\n  Name: (\S+)"), EXPORTS[file.path.name])
                self.assertEqual(file.all(r"^  TimeDateStamp: .*\((\w+)\)$"), ["0x0"])
                self.assertNotIn(str(ROOT).encode(), file.path.read_bytes())

    def test_addresses_cannot_be_foreseen_and_data_is_no_code(self):
        for file in self.shipped:
            with self.subTest(file.path.relative_to(ROOT)):
                protections = file.all(r"IMAGE_DLL_CHARACTERISTICS_(\w+)")
                self.assertLessEqual({"DYNAMIC_BASE", "NX_COMPAT"} | ({"HIGH_ENTROPY_VA"} if file.arch == "x64" else set()), set(protections))
                self.assertEqual(file.all("IMAGE_FILE_RELOCS_STRIPPED"), [])
                kinds = file.all(r"^  Entry \{\n    Type: (\w+)")
                self.assertGreater(kinds.count(KINDS[file.arch][2]), 50)
                self.assertLessEqual(set(kinds), {KINDS[file.arch][2], "ABSOLUTE"})
                sections = file.listing.split("  Section {\n")[1:]
                self.assertTrue(any("MEM_EXECUTE" in section for section in sections))
                self.assertFalse([section for section in sections if "MEM_EXECUTE" in section and "MEM_WRITE" in section])

    def test_functions_check_their_frames(self):
        for file in self.shipped:
            with self.subTest(file.path.relative_to(ROOT)):
                names = file.path.with_suffix(".map").read_text()
                address = re.search(r"^ +0x0*([0-9a-f]+) +__stack_chk_fail$", names, re.MULTILINE)[1]
                code = subprocess.run(["objdump", "-d", "--no-show-raw-insn", file.path], capture_output=True, text=True, check=True).stdout
                self.assertGreater(len(re.findall(rf"\bcall +0x{address}\b", code)), 10)
                self.assertRegex(code, rf"(?m)^ *{address}:.*\n(?:.*\n){{0,4}}.*\bint +\$0x29", "it ends the process at once")

    def test_the_program_carries_manifest_and_version(self):
        for folder in BUILDS.values():
            with self.subTest(folder.relative_to(ROOT)):
                types = subprocess.run(["llvm-readobj", "--coff-resources", folder / PROGRAM.name], capture_output=True, text=True,
                                       check=True).stdout
                data = (folder / PROGRAM.name).read_bytes()
                for kind in ("MANIFEST", "VERSIONINFO"):
                    self.assertIn(f"Type: {kind} (ID", types)
                for words in (b"Microsoft.Windows.Common-Controls", b"PerMonitorV2", b"asInvoker", b"supportedOS", b'version="%s.0"' % VERSION.encode()):
                    self.assertTrue(words in data, words)
                self.assertNotIn(b"activeCodePage", data)
                for name in ("FileVersion", VERSION + ".0", "ProductName", "CompanyName"):
                    self.assertTrue(name.encode("utf-16-le") in data, name)
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
        (drive / "planted/usb.txt").write_text("nothing")
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
