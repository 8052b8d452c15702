"""The shipped program on a private Windows: started, driven by control id, looked at and stopped."""

import atexit
import json
import select
import subprocess
import time

import wine_env
from project import ROOT, VERSION
from wine_env import ARCH, DIST

PROGRAM = DIST / "NeltoStackWatcher/NeltoStackWatcher.exe"
SIMULATOR = DIST / "simulator/nelto-simulator.exe"
BUILT = ROOT / f"build/windows-{ARCH}"
DRIVER = BUILT / "bin/ui_driver.exe"
CAPTION = "Nelto StackWatcher Version " + VERSION.rpartition(".")[0]
SETTINGS_CAPTION = "Nelto StackWatcher Einstellungen"
COURSE_CAPTION = {"en": "Course of values", "de": "Werteverlauf"}
EXCHANGE_FILE = "NeltoStackWatcher.txt"

# Control ids of the two dialogs.
DEVICE_BOX, SETTINGS, OK, CANCEL, STATUS, CONNECTION, HELP = 500, 503, 504, 505, 506, 507, 508
SMOKE, OIL_DERIVATIVE, HEAT_CARRIER, LIST = (590, 591, 592), 593, 594, 595
COURSE_SPAN, COURSE_PLOT, COURSE_HINT, COURSE_LIST, COURSE_SAVE, COURSE_CLOSE = 701, 702, 703, 704, 705, 706
COPY_COMMAND, COURSE_COMMAND, SAVE_COMMAND = 801, 802, 803
USB, IRDA, BLUETOOTH, BLUETOOTH_PORT, HEATING_CHECK, RS232, RS232_PORT = 560, 561, 562, 563, 567, 570, 572

DESKTOP_ATTEMPTS = 3
PATIENCE = 60  # seconds until a wait is given up: a bound against hanging, not an expectation


class DriverError(Exception):
    pass


class Driver:
    """The line-by-line driver program, as methods."""

    def __init__(self, prefix):
        self.process = prefix.start(DRIVER, stdin=subprocess.PIPE, stdout=subprocess.PIPE)

    def ask(self, *words):
        line = " ".join(map(str, words)) + "\n"
        self.process.stdin.write(line.encode())
        self.process.stdin.flush()
        if not select.select([self.process.stdout], [], [], 2 * PATIENCE)[0]:
            raise DriverError("the driver does not answer to " + line)
        verdict, _, answer = self.process.stdout.readline().decode().rstrip("\r\n").partition(" ")
        if verdict != "ok":
            raise DriverError(f"{line.strip()}: {answer}")
        return json.loads(answer) if answer else None

    def close(self):
        self.process.stdin.close()
        self.process.stdout.close()


class Session:
    """One program in one fresh Windows; `settings` are registry values, `ports` maps COM numbers to ttys."""

    def __init__(self, display, language="en", settings=None, ports=None, own_frames=True):
        self.program = None
        self.make_windows(language, display, own_frames)
        self.temp = self.prefix.temp_folder()
        for number, device in (ports or {}).items():
            self.prefix.connect_port(number, device)
        for name, value in (settings or {}).items():
            self.ask("regset", name, "dword" if isinstance(value, int) else "string", value)

    def make_windows(self, language, display, own_frames):
        """A Windows with a desktop. Where Wine's own desktop takes too long to start, on a machine that stalls, no window can ever be
        made in that one, so another is made."""
        for left in reversed(range(DESKTOP_ATTEMPTS)):
            self.prefix = wine_env.Prefix(language, display, own_frames=own_frames)
            atexit.register(self.prefix.close)  # for a run that is broken off: no clean-up of a test runs then
            self.driver = Driver(self.prefix)
            self.ask = self.driver.ask
            try:
                return self.ask("desktop")
            except DriverError as fault:
                self.close()
                if not left:
                    raise
                print(f"Wine has no desktop ({fault}); it is started anew", flush=True)

    def start(self, *arguments, program=PROGRAM, **options):
        self.program = self.prefix.start(program, *arguments, **options)
        try:
            self.pid = self.window(CAPTION)["pid"]
        except DriverError as fault:
            ended = self.program.poll()
            raise DriverError(f"{fault}; the program {'runs' if ended is None else f'has ended with {ended}'}; "
                              f"Wine says: {self.prefix.messages()}") from None
        return self

    def restart(self, language, registry):
        """Starts the program anew as another user of the same Windows sees it; `registry` maps keys of HKEY_CURRENT_USER to
        their values, numbers and texts."""
        if self.program:
            self.leave(CANCEL)
        self.prefix.write_registry(registry)
        self.prefix.set_language(language)
        self.driver.close()
        self.driver = Driver(self.prefix)
        self.ask = self.driver.ask
        return self.start()

    def window(self, caption):
        """Waits for a window and makes it the one that the other methods look at."""
        return self.ask("wait", caption, PATIENCE * 1000)

    def state(self, control):
        return self.ask("state", control)

    def text(self, control):
        return self.state(control)["text"]

    def enabled(self, control):
        return self.state(control)["enabled"]

    def rows(self):
        return self.ask("items", LIST)["rows"]

    def wait_until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while not (result := condition()):
            if time.monotonic() > end:
                raise AssertionError(f"waited in vain for {what}")
            time.sleep(0.1)
        return result

    def wait_status(self, text):
        self.wait_until(lambda: self.text(STATUS) == text, f"the status {text!r}")

    def open_settings(self):
        self.ask("post", SETTINGS)
        self.window(SETTINGS_CAPTION)

    def close_settings(self, button):
        self.ask("click", button)
        self.window(CAPTION)

    def leave(self, button):
        """Presses OK or Cancel of the main dialog and returns the exit code of the program."""
        self.ask("post", button)
        return self.program.wait(PATIENCE)

    def file(self, name=EXCHANGE_FILE):
        """The bytes of a file in the program's temporary folder, None if there is none."""
        path = self.temp / name
        return path.read_bytes() if path.exists() else None

    def close(self):
        self.driver.close()
        self.prefix.close()
        atexit.unregister(self.prefix.close)
