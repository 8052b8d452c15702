#!/usr/bin/env python3
"""Wine for this project: a display, a Wine prefix of its own and COM ports, everything under build/.

A prefix takes seconds to make, so one template is made once and every user gets a copy in which only the registry and
the user folders are his own. The language is that of the process locale: German resources and the decimal comma come
with LC_ALL=de_DE.UTF-8, for which private locales are generated, so that no system setting is needed.

As a command:  tools/wine_env.py [--language de|en] PROGRAM [ARGUMENT...]      runs PROGRAM in a fresh prefix
"""

import argparse
import contextlib
import fcntl
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build"
ARCH = os.environ.get("NELTO_ARCH", "x64")  # of the programs that are run: x64 or x86
DIST = ROOT / {"x64": "dist", "x86": "dist/x86"}[ARCH]
SYSTEM_FOLDER = {"x64": "system32", "x86": "syswow64"}[ARCH]  # of their libraries, in a 64-bit Windows
WINE_HOME = BUILD / {"x64": "wine", "x86": "wine-x86"}[ARCH]
LOCALES = {"de": "de_DE", "en": "en_US"}
WINE_FONTS = Path("/usr/share/wine/fonts")
TEMPLATE_VERSION = 2  # raised when make_template changes, so that old templates are made anew
START_TIMEOUT = 120


def stop_process(process):
    """Ends a process that we started, kindly first."""
    if process is None or process.poll() is not None:
        return
    process.terminate()
    try:
        process.wait(5)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def environment(prefix, language, display):
    """The environment of every Windows program: silent, no menus, no Mono or Gecko installer."""
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("LC_", "LANG", "WINE"))}
    kept.update(
        WINEPREFIX=str(prefix),
        WINEARCH="win64",
        WINEDEBUG=os.environ.get("WINEDEBUG", "-all,err+all"),
        WINEDLLOVERRIDES="mscoree,mshtml=;winemenubuilder.exe=d",
        LOCPATH=str(WINE_HOME / "locale"),
        LC_ALL=LOCALES[language] + ".UTF-8",
    )
    for name in ("DISPLAY", "TMPDIR"):  # newer Wines end at once when TMPDIR is set
        kept.pop(name, None)
    if display:
        kept["DISPLAY"] = display
    return kept


class Display:
    """A virtual screen on the first free display number."""

    def __init__(self, size="1600x1200x24"):
        read_end, write_end = os.pipe()
        self.process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", size, "-nolisten", "tcp", "-noreset"],
            pass_fds=[write_end], stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            number = answer.readline().strip()
        if not number:
            self.close()
            raise RuntimeError("Xvfb did not start")
        self.name = ":" + number

    def screenshot(self, path):
        Path(path).parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["import", "-display", self.name, "-window", "root", "-trim", "+repage", str(path)], check=True, timeout=60)

    def close(self):
        stop_process(self.process)


def make_locales():
    folder = WINE_HOME / "locale"
    folder.mkdir(parents=True, exist_ok=True)
    for name in LOCALES.values():
        if not (folder / f"{name}.UTF-8").exists():
            subprocess.run(["localedef", "-i", name, "-f", "UTF-8", str(folder / f"{name}.UTF-8")], check=True)


def make_template():
    """Makes the template prefix if there is none of this Wine version; safe against a second process doing the same."""
    WINE_HOME.mkdir(parents=True, exist_ok=True)
    template = WINE_HOME / "template"
    wine = subprocess.run(["wine", "--version"], capture_output=True, text=True, check=True).stdout.strip()
    version = f"{wine}, template {TEMPLATE_VERSION}"
    stamp = template / "made-by"
    with open(WINE_HOME / "lock", "w") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX)
        make_locales()
        if stamp.exists() and stamp.read_text() == version:
            return template
        shutil.rmtree(template, ignore_errors=True)
        env = environment(template, "en", None)
        with open(WINE_HOME / "template.log", "w") as log:
            for command in (["wineboot", "--init"], ["wineserver", "-w"]):
                subprocess.run(command, env=env, stdin=subprocess.DEVNULL, stdout=log, stderr=log, check=True,
                               timeout=START_TIMEOUT)
        for link in template.glob("drive_c/users/*/*"):  # Documents, Desktop and others would point into the real home
            if link.is_symlink():
                link.unlink()
                link.mkdir()
        for font in WINE_FONTS.glob("*.ttf"):  # Tahoma and Marlett, which Wine does not look for outside the prefix
            shutil.copy(font, template / "drive_c/windows/Fonts")
        stamp.write_text(version)
    return template


class Prefix:
    """One private Windows: its own registry, temporary folder and COM ports."""

    def __init__(self, language="en", display=None, folder=None, own_frames=False):
        """`own_frames`: Wine draws captions and gives the focus itself, for a display without a window manager."""
        template = make_template()
        parent = WINE_HOME / "prefixes"
        parent.mkdir(parents=True, exist_ok=True)
        self.folder = Path(folder) if folder else Path(tempfile.mkdtemp(dir=parent))
        self._copy(template)
        if own_frames:
            with open(self.folder / "user.reg", "a") as registry:
                registry.write('\n[Software\\\\Wine\\\\X11 Driver]\n"Managed"="N"\n')
        self.environment = environment(self.folder, language, display)
        self.log = open(self.folder / "wine.log", "w")
        self.ports = self.folder / "dosdevices"

    def _copy(self, template):
        shutil.rmtree(self.folder, ignore_errors=True)
        windows = self.folder / "drive_c" / "windows"
        shutil.copytree(template, self.folder, symlinks=True,
                        ignore=lambda folder, names: ["windows"] if Path(folder).name == "drive_c" else [])
        # Windows' own files are never written to, so the copy shares them; Wine writes the registry in place.
        subprocess.run(["cp", "-al", str(template / "drive_c" / "windows"), str(windows)], check=True)

    def temp_folder(self):
        return next(user for user in (self.folder / "drive_c" / "users").iterdir() if user.name != "Public") / "Temp"

    def connect_port(self, number, device):
        """Makes COM`number` the given tty; takes effect at the next time the port is opened."""
        link = self.ports / f"com{number}"
        link.unlink(missing_ok=True)
        if device:
            link.symlink_to(device)

    def set_language(self, language):
        """For programs started from now on."""
        self.environment["LC_ALL"] = LOCALES[language] + ".UTF-8"

    def write_registry(self, keys):
        """`keys` maps keys of HKEY_CURRENT_USER to their values, numbers and texts."""
        def shown(value):
            return f"dword:{value:08x}" if isinstance(value, int) else f'"{value}"'
        lines = ["REGEDIT4"]
        for key, values in keys.items():
            lines += ["", f"[HKEY_CURRENT_USER\\{key}]", *(f'"{name}"={shown(value)}' for name, value in values.items())]
        file = self.folder / "values.reg"
        file.write_text("\r\n".join([*lines, ""]))
        self.start("regedit", "/S", file).wait(START_TIMEOUT)

    def start(self, *command, **options):
        options.setdefault("stdin", subprocess.DEVNULL)
        options.setdefault("stdout", self.log)
        options.setdefault("stderr", self.log)
        return subprocess.Popen(["wine", *map(str, command)], env=self.environment, start_new_session=True, **options)

    def messages(self):
        """The end of what Wine and the programs have written."""
        return (self.folder / "wine.log").read_text(errors="replace")[-2000:]

    def close(self):
        """Ends every program of this prefix and removes it; a second call does nothing."""
        if self.log.closed:
            return
        for option in ("-k", "-w"):
            with contextlib.suppress(subprocess.TimeoutExpired):
                subprocess.run(["wineserver", option], env=self.environment, stdin=subprocess.DEVNULL,
                               stdout=self.log, stderr=self.log, timeout=30, check=False)
        self.log.close()
        shutil.rmtree(self.folder, ignore_errors=True)


class SerialCable:
    """A null-modem cable between two COM ports of one prefix."""

    def __init__(self, prefix, port, other_port):
        ends = [prefix.folder / f"cable-{number}" for number in (port, other_port)]
        self.process = subprocess.Popen(["socat", *(f"pty,rawer,link={end}" for end in ends)], stdin=subprocess.DEVNULL,
                                        stderr=prefix.log, start_new_session=True)
        for _ in range(200):
            if all(end.exists() for end in ends):
                break
            time.sleep(0.05)
        for number, end in zip((port, other_port), ends):
            prefix.connect_port(number, os.path.realpath(end))

    def close(self):
        stop_process(self.process)


def exit_on_signals():
    """Lets the clean-up in `finally` and `with` run when this process is told to end."""
    def leave(_number, _frame):
        raise KeyboardInterrupt
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, leave)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--language", choices=LOCALES, default="en")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    options = parser.parse_args()
    exit_on_signals()
    with contextlib.ExitStack() as stack:
        display = os.environ.get("DISPLAY")
        if not display:
            screen = Display()
            stack.callback(screen.close)
            display = screen.name
        prefix = Prefix(options.language, display)
        stack.callback(prefix.close)
        return prefix.start(*options.command, stdout=None, stderr=None).wait()


if __name__ == "__main__":
    sys.exit(main())
