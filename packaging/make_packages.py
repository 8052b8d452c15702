"""Makes the packages that users get; tools/package calls it.

The same sources give the same bytes, in whatever folder: files are dated by SOURCE_DATE_EPOCH, which is taken from the last
commit unless it is set. Environment: NELTO_SIGN_COMMAND signs a file whose path it gets as its last word; NELTO_DOWNLOAD_URL is
where the installers will lie, for the winget manifests.
"""

import datetime
import hashlib
import json
import os
import re
import shlex
import shutil
import subprocess
import sys
import zipfile
from pathlib import Path

import bill_of_materials

sys.path.append(str(Path(__file__).resolve().parents[1] / "tools"))
from project import ROOT, VERSION  # noqa: E402

HERE = ROOT / "packaging"
WORK = ROOT / "build/package"
PACKAGES = ROOT / "dist/packages"
PROGRAM = "NeltoStackWatcher"
PROGRAM_FILE = PROGRAM + ".exe"
TARGETS = "NeltoStackWatcher help_files kit"
KIT = "NeltoKit"
TEXTS = {".txt", ".h", ".c", ".py", ".ps1", ".cs"}
ARCHS = {"x64": "amd64-unicode", "x86": "x86-unicode"}  # with what NSIS calls them: the installer is of the same kind as the program
UNDATED = 1767225600  # the start of 2026: for sources without their history
FILL_IN = "FILL-IN"  # winget's own validation refuses a manifest that still holds it


def source_date():
    if "SOURCE_DATE_EPOCH" in os.environ:
        return int(os.environ["SOURCE_DATE_EPOCH"])
    if not (ROOT / ".git").exists() or not shutil.which("git"):
        return UNDATED
    commit = subprocess.run(["git", "log", "-1", "--format=%ct"], cwd=ROOT, capture_output=True, text=True, check=False)
    return int(commit.stdout) if commit.returncode == 0 else UNDATED


def licences():
    return sorted(path for pattern in ("LICENSE*", "LICENCE*", "COPYING*") for path in ROOT.glob(pattern))


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def run(*command, **options):
    """A command that speaks only when it fails."""
    done = subprocess.run([*map(str, command)], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, check=False, **options)
    if done.returncode != 0:
        sys.exit(f"package: {' '.join(map(str, command))}\n{done.stdout}")


def sign(path):
    command = os.environ.get("NELTO_SIGN_COMMAND")
    if command:
        run(*shlex.split(command), path)


def build_program():
    run(ROOT / "tools/build-preset", "windows-x64", "windows-x86", env={**os.environ, "TARGETS": TARGETS})


def stage(component, folder, *archs):
    """Lays the component of these builds out in `folder` and signs what can be signed."""
    for arch in archs:
        run("cmake", "--install", ROOT / f"build/windows-{arch}", "--component", component, "--prefix", folder)
    for path in sorted([*folder.rglob("*.dll"), *folder.rglob("*.exe")]):
        sign(path)
    return folder


def stage_kit():
    """The folder of the kit; the programs of each kind in a folder of their own."""
    kit = WORK / "kit" / KIT
    stage("KitOfBothKinds", kit, next(iter(ARCHS)))
    for arch in ARCHS:
        stage("KitOfOneKind", kit / arch, arch)
    for path in files_in(kit):
        if path.suffix in TEXTS:  # for people on Windows
            path.write_bytes(path.read_bytes().replace(b"\r\n", b"\n").replace(b"\n", b"\r\n"))
    return kit


def filled(text, words):
    return re.sub(r"@([A-Z0-9_]+)@", lambda match: words[match[1]], text)


def files_in(folder):
    return sorted(path for path in folder.rglob("*") if path.is_file())


def set_dates(folder, date):
    for path in folder.rglob("*"):
        os.utime(path, (date, date))


def make_zip(archive, folder, date):
    """Names, order, dates and attributes depend on nothing but the content."""
    moment = datetime.datetime.fromtimestamp(date, datetime.timezone.utc).timetuple()[:6]
    with zipfile.ZipFile(archive, "w", zipfile.ZIP_DEFLATED, compresslevel=9) as packed:
        for path in files_in(folder):
            entry = zipfile.ZipInfo(path.relative_to(folder.parent).as_posix(), moment)
            entry.create_system, entry.external_attr, entry.compress_type = 0, 0x20, zipfile.ZIP_DEFLATED
            packed.writestr(entry, path.read_bytes())


def make_installer(installer, folder, arch, release):
    """The installer of what lies in `folder`."""
    files = [path.name for path in files_in(folder)]
    lists = WORK / f"files-{arch}.nsh"
    lists.write_text("\n".join(["!macro InstallFiles", *(f'File "{folder / name}"' for name in files), "!macroend",
                                "!macro DeleteFiles", *(f'Delete "$INSTDIR\\{name}"' for name in files), "!macroend", ""]))
    definitions = {"VERSION": release, "ARCH": arch, "TARGET": ARCHS[arch], "OUTPUT": installer, "FILES": lists,
                   "ICON": ROOT / f"build/windows-{arch}/src/artwork/app.ico",
                   "SIZE_KB": sum(path.stat().st_size for path in files_in(folder)) // 1024}
    for path in licences()[:1]:
        definitions["LICENSE"] = path
    if "NELTO_SIGN_COMMAND" in os.environ:
        definitions["SIGN"] = os.environ["NELTO_SIGN_COMMAND"]
    run("makensis", "-V2", "-WX", "-INPUTCHARSET", "UTF8", *(f"-D{name}={value}" for name, value in definitions.items()),
        HERE / "installer.nsi", env={**os.environ, "SOURCE_DATE_EPOCH": str(source_date()), "TZ": "UTC"})
    sign(installer)


def write_winget(installers):
    folder = PACKAGES / "winget"
    folder.mkdir()
    base = os.environ.get("NELTO_DOWNLOAD_URL", FILL_IN).rstrip("/")
    words = {"VERSION": VERSION, "FILL_IN": FILL_IN}
    for arch, installer in installers.items():
        words[f"URL_{arch.upper()}"] = f"{base}/{installer.name}"
        words[f"SHA256_{arch.upper()}"] = sha256(installer).upper()
    for template in sorted((HERE / "winget").glob("*.yaml")):
        (folder / template.name).write_text(filled(template.read_text(encoding="utf-8"), words), encoding="utf-8")


def main():
    date = source_date()
    os.environ["SOURCE_DATE_EPOCH"] = str(date)
    for folder in (WORK, PACKAGES):
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir(parents=True)
    build_program()

    installers, archives, shipped = {}, [], {}
    for arch in ARCHS:
        folder = stage(PROGRAM, WORK / arch / PROGRAM, arch)
        set_dates(folder, date)
        shipped[f"{arch}/{PROGRAM_FILE}"] = folder / PROGRAM_FILE
        archives.append(PACKAGES / f"{PROGRAM}-{VERSION}-{arch}-portable.zip")
        make_zip(archives[-1], folder, date)
        installers[arch] = PACKAGES / f"{PROGRAM}-{VERSION}-{arch}-setup.exe"
        make_installer(installers[arch], folder, arch, VERSION)
    kit = stage_kit()
    shipped.update({f"{arch}/{name}": kit / arch / name for arch in ARCHS for name in ("NeltoUSB.dll", "nelto-read.exe")})
    archives.append(PACKAGES / f"{KIT}-{VERSION}.zip")
    make_zip(archives[-1], kit, date)

    bill = PACKAGES / f"{PROGRAM}-{VERSION}.cdx.json"
    hashes = {name: sha256(path) for name, path in shipped.items()}
    bill.write_text(json.dumps(bill_of_materials.cyclone_dx(VERSION, date, hashes), indent=2) + "\n")
    write_winget(installers)
    listed = sorted([*installers.values(), *archives, bill])
    (PACKAGES / "SHA256SUMS").write_text("".join(f"{sha256(path)}  {path.name}\n" for path in listed))
    print(f"package: {len(listed)} files, SHA256SUMS and winget/ are in {PACKAGES.relative_to(ROOT)}")


if __name__ == "__main__":
    main()
