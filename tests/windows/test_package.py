"""The packages: what is in them, that anybody gets the same bytes from the same sources, and the installer from its first run to the
last trace. A 64-bit Wine starts no 32-bit installer, so how one kind replaces the other is tried with the 32-bit program only."""

import hashlib
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import time
import zipfile
from pathlib import Path

import drop_in_d2xx
import harness
from link_session import LinkSession
from program_session import CAPTION, OK, PATIENCE, PROGRAM, ROOT
from wine_env import ARCH

sys.path.append(str(ROOT / "packaging"))
import make_packages  # noqa: E402
from make_packages import PACKAGES, VERSION, WORK  # noqa: E402

SETUPS = {arch: PACKAGES / f"NeltoStackWatcher-{VERSION}-{arch}-setup.exe" for arch in ("x64", "x86")}
SETUP = SETUPS[ARCH]
FOLDERS_FOR_ALL = {"x64": "Program Files/NeltoStackWatcher", "x86": "Program Files (x86)/NeltoStackWatcher"}
FOLDER_FOR_ONE = "AppData/Local/Programs/NeltoStackWatcher"
VIEWS = {"x64": "/reg:64", "x86": "/reg:32"}  # of the registry for all users
UNINSTALL_KEY = "Software\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\NeltoStackWatcher"
SETTINGS_KEY = "HKCU\\Software\\Nelto"
SHIPPED = {"NeltoStackWatcher.exe", "NeltoStackWatcher_DE.chm", "NeltoStackWatcher_EN.chm", "README.txt", "THIRD-PARTY-NOTICES.txt"}
SHIPPED_PROGRAMS = {"nelto-read.exe", "NeltoStackWatcher.exe", "nelto-simulator.exe", "NeltoUSB.dll", "NeltoUSB.lib", "libNeltoUSB.dll.a",
                    "usb_client.exe", "selftest.exe", "ftd2xx/3.02.11/FTD2XX.DLL", "ftd2xx/2.08.14/FTD2XX.DLL", "winsock/wsock32.dll"}
LOGS = ["Nelto780Base.txt", "NeltoStackWatcher.txt", "NeltoStackWatcherProtocol.txt", "ZIVNelto780.txt"]


def contents(folder):
    return {path.relative_to(folder).as_posix(): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


class Contents(harness.FileTestCase):
    def test_the_same_sources_give_the_same_bytes_in_another_folder(self):
        with tempfile.TemporaryDirectory(dir=ROOT / "build", prefix="other-folder-") as folder:
            copy = Path(folder, "sources")
            shutil.copytree(ROOT, copy, ignore=lambda path, _: {".git", "build", "dist"} if path == str(ROOT) else {"__pycache__"})
            environment = {name: value for name, value in os.environ.items()
                           if not name.endswith("_COMPILER_LAUNCHER") and name != "NELTO_SIGN_COMMAND"}
            environment.update(CCACHE_DISABLE="1", SOURCE_DATE_EPOCH=str(make_packages.source_date()))
            made = subprocess.run([copy / "tools/package"], env=environment, capture_output=True, text=True, check=False)
            self.assertEqual(made.returncode, 0, made.stdout + made.stderr)
            ours, others = contents(PACKAGES), contents(copy / "dist/packages")
            self.assertEqual(sorted(ours), sorted(others))
            self.assertEqual([name for name in ours if ours[name] != others[name]], [])

    def test_zips_and_installers_hold_what_was_staged(self):
        for arch, setup in SETUPS.items():
            with self.subTest(arch), tempfile.TemporaryDirectory() as zipped, tempfile.TemporaryDirectory() as folder:
                staged = contents(WORK / arch / "NeltoStackWatcher")
                self.assertEqual(set(staged), SHIPPED | {path.name for path in make_packages.licences()})
                zipfile.ZipFile(PACKAGES / f"NeltoStackWatcher-{VERSION}-{arch}-portable.zip").extractall(zipped)
                self.assertEqual(contents(Path(zipped, "NeltoStackWatcher")), staged)
                subprocess.run(["7z", "x", "-o" + folder, setup], stdout=subprocess.DEVNULL, check=True)
                installed = contents(Path(folder))
                self.assertLessEqual(staged.items(), installed.items())
                foreign = {name for name in set(installed) - set(staged) if not name.startswith("$PLUGINSDIR/")}
                self.assertLessEqual(foreign, {"Uninstall.exe"})

    def test_the_kit_holds_both_kinds_and_guides_that_need_no_sources(self):
        with zipfile.ZipFile(PACKAGES / f"{make_packages.KIT}-{VERSION}.zip") as kit:
            names = {name.removeprefix(make_packages.KIT + "/") for name in kit.namelist()}
            texts = {name: kit.read(f"{make_packages.KIT}/{name}") for name in names if not name.endswith((".exe", ".chm", ".lib", ".a"))}
        kinds = [{name[4:] for name in names if name.startswith(arch + "/")} for arch in ("x64", "x86")]
        self.assertEqual(*kinds)
        self.assertLessEqual(SHIPPED_PROGRAMS, kinds[0])
        self.assertEqual(sum(name.startswith("generation2010/") for name in kinds[0]), 7)
        for name in ("NeltoUSB.h", "selftest.cmd", "README.txt", "scenarios/default.txt", "examples/usb_client.c"):
            self.assertNotRegex(texts[name], rb"[^\r]\n", name)
        for guide in ("integration", "support", "simulator"):
            page = texts[guide + ".html"].decode()
            self.assertNotRegex(page, r"\b(src|tools|docs|dist|simulator|include)/\w", guide)
            self.assertGreater(page.count("<tr>"), 20)
            self.assertLessEqual({link.partition("#")[0] for link in re.findall(r'href="(.*?)"', page)}, names | {""})

    def test_what_goes_with_them_fits(self):
        sums = dict(line.split("  ")[::-1] for line in (PACKAGES / "SHA256SUMS").read_text().splitlines())
        self.assertEqual(sums, {path.name: hashlib.sha256(path.read_bytes()).hexdigest()
                                for path in PACKAGES.iterdir() if path.is_file() and path.name != "SHA256SUMS"})
        manifests = "".join(path.read_text() for path in (PACKAGES / "winget").iterdir())
        self.assertNotRegex(manifests, r"@\w+@|https?:")
        for setup in SETUPS.values():
            self.assertIn(sums[setup.name].upper(), manifests)
        bill = json.loads((PACKAGES / f"NeltoStackWatcher-{VERSION}.cdx.json").read_text())
        self.assertEqual({part["name"] for part in bill["components"]}, {"libgcc", "libstdc++", "mingw-w64-crt", "winpthreads", "nsis"})
        self.assertIn({"alg": "SHA-256", "content": hashlib.sha256(PROGRAM.read_bytes()).hexdigest()},
                      [entry for file in bill["metadata"]["component"]["components"] for entry in file["hashes"]])


class Installing(LinkSession):
    def begin(self, **options):
        self.program = self.session(**options)
        self.prefix = self.program.prefix
        self.drive = self.prefix.folder / "drive_c"
        drop_in_d2xx.Driver(self.prefix).set_up()

    def run_to_end(self, *command):
        """The exit code and the output of a Windows program."""
        with self.prefix.start(*command, stdout=subprocess.PIPE) as process:
            output = process.communicate(timeout=2 * PATIENCE)[0].decode("cp850")
        return process.returncode, output

    def registry(self, key, arch=ARCH):
        code, output = self.run_to_end("reg", "query", key, "/s", VIEWS[arch])
        return dict(re.findall(r"^ +(\w+) +REG_\w+ +(.*?)\r?$", output, re.MULTILINE)) if code == 0 else None

    def links(self):
        return [link for folder in ("users", "ProgramData") for link in (self.drive / folder).rglob("Nelto*.lnk")]

    def assert_values(self):
        """The running program shows values and is left with OK."""
        self.program.pid = self.program.window(CAPTION)["pid"]
        self.wait_values()

    def uninstall(self, root, folder, arch=ARCH):
        program, options = self.registry(f"{root}\\{UNINSTALL_KEY}", arch)["QuietUninstallString"].split('"')[1:]
        self.assertEqual(self.run_to_end(program, *options.split())[0], 0)
        # It copies itself and goes on in the background.
        self.program.wait_until(lambda: not (folder / "Uninstall.exe").exists() and not self.links(), "the uninstaller")
        self.program.wait_until(lambda: self.registry(f"{root}\\{UNINSTALL_KEY}", arch) is None, "the uninstaller's entry")

    def files(self):
        """All files but those of Windows, and but the uninstaller's copy of itself, which goes with the next start of Windows."""
        folders = [folder for folder in self.drive.iterdir() if folder.name != "windows"]
        return {path for folder in folders for path in folder.rglob("*") if path.is_file() and "~nsu" not in str(path)}


class Installed(Installing):
    def older_installer(self):
        """An installer of an older version with a file that the new one does not know."""
        stage = self.prefix.folder / "older"
        stage.mkdir()
        (stage / "NeltoStackWatcher.exe").write_bytes(PROGRAM.read_bytes())
        (stage / "Older.txt").touch()
        make_packages.make_installer(self.prefix.folder / "older.exe", stage, ARCH, "2.9.0")
        return self.prefix.folder / "older.exe"

    def test_upgraded_used_and_removed(self):
        self.begin(settings={"HeatingCheck": 1})
        folder = self.drive / "Prüf stand/Nelto"
        self.assertEqual(self.run_to_end(self.older_installer(), "/S", "/D=C:\\Prüf", "stand\\Nelto"), (0, ""))
        self.assertEqual(set(contents(folder)), {"NeltoStackWatcher.exe", "Older.txt", "Uninstall.exe"})
        (folder / "nelto7XXE.dll").write_text("of the maker")

        # Nothing changes under a running program.
        before = contents(folder)
        self.program.start(program=folder / PROGRAM.name)
        self.assertEqual(self.run_to_end(SETUP, "/S")[0], 32)
        self.assertEqual(contents(folder), before)
        self.assert_values()
        # A program that is being closed is waited for.
        setup = self.prefix.start(SETUP, "/S")
        time.sleep(1)
        self.assertEqual(self.program.leave(OK), 0)
        self.assertEqual(setup.wait(2 * PATIENCE), 0)
        installed = contents(folder)
        self.assertIsNotNone(installed.pop("Uninstall.exe", None))
        self.assertEqual(installed, contents(WORK / ARCH / "NeltoStackWatcher") | {"nelto7XXE.dll": b"of the maker"})
        entry = self.registry("HKCU\\" + UNINSTALL_KEY)
        self.assertEqual((entry["DisplayName"], entry["DisplayVersion"], entry["InstallLocation"], entry["NoModify"]),
                         ("Nelto StackWatcher", VERSION, "C:\\Prüf stand\\Nelto", "0x1"))
        self.assertGreater(int(entry["EstimatedSize"], 16), 2000)
        self.assertIn("HeatingCheck", self.registry(SETTINGS_KEY))
        self.assertTrue((self.program.temp / "Nelto780Base.txt").exists())

        link, = self.links()
        self.assertIn("AppData", str(link))
        self.program.program = self.prefix.start("start", "/wait", "/unix", link)
        self.assert_values()
        self.program.leave(OK)

        self.uninstall("HKCU", folder)
        self.assertEqual(contents(folder), {"nelto7XXE.dll": b"of the maker"})
        self.assertIsNone(self.registry(SETTINGS_KEY))
        self.assertEqual([name for name in LOGS if (self.program.temp / name).exists()], [])

    def test_for_one_user_and_for_all(self):
        self.begin(language="de")
        before = self.files()
        for root, arguments, folder in (("HKCU", [], self.program.temp.parent / FOLDER_FOR_ONE),
                                        ("HKLM", ["/AllUsers"], self.drive / FOLDERS_FOR_ALL[ARCH])):
            with self.subTest(root):
                self.assertEqual(self.run_to_end(SETUP, "/S", *arguments)[0], 0)
                self.assertTrue((folder / PROGRAM.name).exists())
                self.assertEqual(self.registry(f"{root}\\{UNINSTALL_KEY}")["Comments"], "Zeigt die laufenden Werte eines Abgasmessgeräts")
                self.assertEqual(["ProgramData" in str(link) for link in self.links()], [root == "HKLM"])
                self.uninstall(root, folder)
                self.assertEqual(self.files(), before)
                self.assertFalse(folder.exists())

    def test_an_uninstaller_removes_its_own_installation_only(self):
        self.begin()
        for arguments in ([], ["/AllUsers"]):
            self.assertEqual(self.run_to_end(SETUP, "/S", *arguments)[0], 0)
        mine, common = self.links()
        self.assertEqual(self.run_to_end(self.drive / FOLDERS_FOR_ALL[ARCH] / "Uninstall.exe", "/S")[0], 0)
        self.program.wait_until(lambda: self.registry(f"HKLM\\{UNINSTALL_KEY}") is None, "the entry for all users")
        self.program.wait_until(lambda: self.links() == [mine], f"the end of {common}")
        self.assertIsNotNone(self.registry(f"HKCU\\{UNINSTALL_KEY}"))

    def test_unpacked_anywhere(self):
        self.begin()
        folder = self.drive / "Müller & Söhne/Meßgeräte"
        zipfile.ZipFile(PACKAGES / f"NeltoStackWatcher-{VERSION}-{ARCH}-portable.zip").extractall(folder)
        self.program.start(program=folder / "NeltoStackWatcher" / PROGRAM.name)
        self.assert_values()
        self.assertEqual(self.program.leave(OK), 0)
        self.assertIn(b"9200=40712345\r\n", self.program.file())


if ARCH == "x86":  # in a Windows that runs both
    class BothKinds(Installing):
        def install(self, arch, *arguments):
            self.assertEqual(self.run_to_end(SETUPS[arch], "/S", *arguments)[0], 0)

        def assert_alone(self, root, arch, folder):
            """The installation of this kind is whole and the only one."""
            installed = contents(folder)
            installed.pop("Uninstall.exe")
            self.assertTrue(installed == contents(WORK / arch / "NeltoStackWatcher"), f"{arch} in {folder}")
            link, = self.links()
            windows_path = "C:\\" + folder.relative_to(self.drive).as_posix().replace("/", "\\")
            self.assertTrue(f"{windows_path}\\{PROGRAM.name}\0".encode() in link.read_bytes(), "where the link leads")
            entries = [self.registry(f"{root}\\{UNINSTALL_KEY}", kind) for kind in VIEWS]
            self.assertIn(windows_path, [entry["InstallLocation"] for entry in entries if entry])
            if root == "HKLM":  # the registry of one user has no two views
                self.assertEqual(entries.count(None), 1)
            programs = [path for path in self.files() if path.name == PROGRAM.name]
            self.assertEqual(programs, [folder / PROGRAM.name])

        def test_one_replaces_the_other_in_either_order(self):
            self.begin(settings={"HeatingCheck": 1})
            before = self.files()
            for root, scope, folders in (("HKCU", [], dict.fromkeys(SETUPS, self.program.temp.parent / FOLDER_FOR_ONE)),
                                         ("HKLM", ["/AllUsers"], {arch: self.drive / FOLDERS_FOR_ALL[arch] for arch in SETUPS})):
                for first, second in (("x64", "x86"), ("x86", "x64")):
                    with self.subTest(root=root, first=first):
                        self.install(first, *scope)
                        self.assert_alone(root, first, folders[first])
                        (folders[first] / "own.txt").touch()
                        self.install(second, *scope)
                        (folders[first] / "own.txt").unlink()
                        self.assert_alone(root, second, folders[second])
                        self.assertIn("HeatingCheck", self.registry(SETTINGS_KEY) or {})
                        self.uninstall(root, folders[second], second)
                        self.program.ask("regset", "HeatingCheck", "dword", 1)
                        self.assertEqual(self.files(), before)

        def test_a_chosen_folder_is_kept(self):
            self.begin()
            folder = self.drive / "Nelto"
            for scope in ([], ["/AllUsers"]):
                with self.subTest(scope):
                    self.install("x86", *scope, "/D=C:\\Nelto")
                    self.install("x64", *scope)
                    self.assert_alone("HKLM" if scope else "HKCU", "x64", folder)
                    self.uninstall("HKLM" if scope else "HKCU", folder, "x64")
