"""Figures of the shipped program under Wine: its start, its work and its memory while it shows values, its size."""

import contextlib
import re
import statistics
import subprocess
import sys
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "tools"))
import drop_in_d2xx  # noqa: E402
import program_session  # noqa: E402
import wine_env  # noqa: E402

WINDOWS_BUILD = ROOT / "build/windows-bench/bin"
MINIMAL_DIALOG = WINDOWS_BUILD / "minimal_dialog.exe"
PORT_POLLER = WINDOWS_BUILD / "port_poller.exe"
COURSE_REPAINT = WINDOWS_BUILD / "course_repaint.exe"
START_TIMER = WINDOWS_BUILD / "start_timer.exe"
READER = program_session.DIST / "NeltoRead/nelto-read.exe"
PACED_ANALYSER = ROOT / "build/host-release/bench/paced_analyser"

COURSE_CHANNELS = [(0x0901, 130), (0x0909, 130), (0x0902, 131), (0x0903, 131), (0x0906, 131), (0x090D, 136)]  # idents and units

START_ROUNDS = 31        # the first one of each program warms up and is not counted
READER_ROUNDS = 11       # likewise
WATCH_SECONDS = 20
SETTLE_SECONDS = 5
MEBI = 1024 * 1024
STANDING_SECTIONS = re.compile(r"^ *\d+ +(\.\S+) +([0-9a-f]{8}) .*\n +CONTENTS, ALLOC", re.MULTILINE)


class CannotMeasure(Exception):
    pass


def figure(what, value, unit="", relation="", limit=None):
    return (what, relation, limit, value, unit)


def measure_start(display):
    """Microseconds to the first visible window, a list each for the program and the minimal dialog."""
    prefix = wine_env.Prefix("en", display, own_frames=True)
    try:
        timer = prefix.start(START_TIMER, START_ROUNDS, program_session.PROGRAM, MINIMAL_DIALOG, stdout=subprocess.PIPE)
        output = timer.communicate(timeout=600)[0].decode()
        if timer.returncode != 0:
            raise CannotMeasure("a program did not show a window")
    finally:
        prefix.close()
    times = ([], [])
    for line in output.split("\n"):
        if line.strip():
            index, microseconds = line.split()
            times[int(index)].append(float(microseconds))
    return [list_of_times[1:] for list_of_times in times]


def start_figures(display):
    program, minimal = measure_start(display)
    ratio = statistics.median(own / peer for own, peer in zip(program, minimal))  # round by round
    return [figure("start to first visible window, against the minimal dialog", ratio, "times", "<=", 1.3),
            figure("  the program", statistics.median(program) / 1000, "ms"),
            figure("  the minimal dialog", statistics.median(minimal) / 1000, "ms")]


def cpu_seconds(pid):
    """CPU time of all threads so far, user and system, from the scheduler's own exact account."""
    account = [(task / "schedstat").read_text().split()[0] for task in Path(f"/proc/{pid}/task").iterdir()]
    return sum(map(int, account)) / 1e9


def memory(pid, kind="Pss"):
    """Proportional set size in MiB; `kind` may name another row of the same account."""
    rows = Path(f"/proc/{pid}/smaps_rollup").read_text()
    return int(re.search(rf"^{kind}: +(\d+) kB", rows, re.MULTILINE)[1]) * 1024 / MEBI


def sharing_processes(pid):
    """Processes outside this prefix that share Wine's pages and so make the proportional set size smaller."""
    prefix = wine_prefix_of(pid)
    others = 0
    for folder in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            is_wine = b"/wine/x86_64-unix/ntdll.so" in (folder / "maps").read_bytes()
            others += is_wine and wine_prefix_of(folder.name) != prefix
    return others


def wine_prefix_of(pid):
    variables = Path(f"/proc/{pid}/environ").read_bytes().split(b"\0")
    return next((variable for variable in variables if variable.startswith(b"WINEPREFIX=")), None)


def linux_process(prefix, name):
    """The process that runs this program of the prefix."""
    for folder in Path("/proc").glob("[0-9]*"):
        with contextlib.suppress(OSError):
            words = (folder / "cmdline").read_bytes().split(b"\0")
            variables = (folder / "environ").read_bytes().split(b"\0")
            if words[0].decode(errors="replace").endswith(name) and f"WINEPREFIX={prefix.folder}".encode() in variables:
                return int(folder.name)
    raise CannotMeasure(f"no process runs {name}")


@contextlib.contextmanager
def paced_analyser():
    """The tty of an analyser with 40 channels behind a line of 19200 baud."""
    with subprocess.Popen([PACED_ANALYSER], stdin=subprocess.PIPE, stdout=subprocess.PIPE) as analyser:
        try:
            yield analyser.stdout.readline().decode().strip()
        finally:
            analyser.stdin.close()


@contextlib.contextmanager
def watched_session(display):
    """The program with the values of 40 channels on its list; nothing else of ours is running in its Windows."""
    with paced_analyser() as tty:
        # Six of its channels are chosen for the course, which is opened later.
        chosen = {f"Course{part}{number}": value for number, channel in enumerate(COURSE_CHANNELS, 1)
                  for part, value in zip(("Channel", "Unit"), channel)}
        session = program_session.Session(display, settings={"Communication": 5, "CourseSpan": 120} | chosen, ports={5: tty})
        try:
            session.start()
            session.wait_status("Measure values available")
            session.wait_until(lambda: len(session.rows()) >= 40, "the rows of the list")
            session.driver.close()
            session.driver.process.wait(program_session.PATIENCE)
            time.sleep(SETTLE_SECONDS)
            yield linux_process(session.prefix, program_session.PROGRAM.name), session
        finally:
            session.close()


@contextlib.contextmanager
def lone_program(program, display, ports=None):
    """One of the peers in a Windows of its own."""
    prefix = wine_env.Prefix("en", display, own_frames=True)
    try:
        for number, tty in (ports or {}).items():
            prefix.connect_port(number, tty)
        prefix.start(program)
        time.sleep(SETTLE_SECONDS)
        yield linux_process(prefix, program.name)
    finally:
        prefix.close()


def cpu_percent(pid):
    """Percent of one core over WATCH_SECONDS."""
    start, cpu_start = time.monotonic(), cpu_seconds(pid)
    time.sleep(WATCH_SECONDS)
    return 100 * (cpu_seconds(pid) - cpu_start) / (time.monotonic() - start)


def count_value_reads(session):
    return session.file("Nelto780Base.txt").count(b"Nelto780GetOnlineValues2004 end")


def open_course(session):
    """The window with the course of the values, six of them, for the next measurement."""
    session.driver = program_session.Driver(session.prefix)
    session.ask = session.driver.ask
    session.window(program_session.CAPTION)
    session.ask("command", program_session.COURSE_COMMAND)
    session.window(program_session.COURSE_CAPTION["en"])
    session.driver.close()
    session.driver.process.wait(program_session.PATIENCE)
    time.sleep(SETTLE_SECONDS)


def repaint_figures(display):
    prefix = wine_env.Prefix("en", display, own_frames=True)
    try:
        repaint = prefix.start(COURSE_REPAINT, stdout=subprocess.PIPE)
        output = repaint.communicate(timeout=600)[0].decode()
        if repaint.returncode != 0:
            raise CannotMeasure("the courses were not drawn")
    finally:
        prefix.close()
    return [figure("repaint of the course, six strips of two hours", statistics.median(map(float, output.split())), "ms", "<=", 10)]


def watching_figures(display):
    with watched_session(display) as (pid, session):
        reads_before = count_value_reads(session)
        cpu = cpu_percent(pid)
        reads = count_value_reads(session) - reads_before
        if reads < WATCH_SECONDS / 4:
            raise CannotMeasure(f"{reads} value reads in {WATCH_SECONDS} s")
        size, others = memory(pid), sharing_processes(pid)
        open_course(session)
        cpu_with_course = cpu_percent(pid)
    with lone_program(MINIMAL_DIALOG, display) as pid:
        minimal = memory(pid)
    with paced_analyser() as tty, lone_program(PORT_POLLER, display, {5: tty}) as pid:
        floor = cpu_percent(pid)
    return [figure(f"CPU while watching, {WATCH_SECONDS} s, of one core", cpu, "%", "<=", 0.2),
            figure("  the looks at the port alone, smallest program", floor, "%"),
            figure("  value reads in that time", reads),
            figure("  the same with the course of values open, six strips", cpu_with_course, "%", "<=", 1),
            figure("memory while watching (PSS)", size, "MiB", "<=", 16),
            figure("  the minimal dialog, nearly all of it Wine's own", minimal, "MiB"),
            figure("  the program's more", size - minimal, "MiB"),
            figure("  foreign Wine processes meanwhile, which make it look smaller", others)]


def reader_figures(display):
    """Both from the start of the process to its end, by turns."""
    prefix = wine_env.Prefix("en", display)
    try:
        drop_in_d2xx.Driver(prefix).set_up()
        prefix.start(program_session.DRIVER, stdin=subprocess.PIPE)  # keeps this Windows running
        times = {"--version": [], "--link=usb": []}
        for _ in range(READER_ROUNDS):
            for option, taken in times.items():
                start = time.monotonic()
                if prefix.start(READER, option, stdout=subprocess.DEVNULL).wait(program_session.PATIENCE) != 0:
                    raise CannotMeasure(f"nelto-read {option} failed")
                taken.append(1000 * (time.monotonic() - start))
    finally:
        prefix.close()
    start, whole = (statistics.median(taken[1:]) for taken in times.values())
    return [figure("nelto-read, one measurement over USB, start to end", whole, "ms"),
            figure("  its start alone", start, "ms")]


def size_figures():
    """Every section that is loaded with the program, the resources apart: they are the artwork, texts and dialogs."""
    headers = subprocess.run(["x86_64-w64-mingw32-objdump", "-h", program_session.PROGRAM], capture_output=True,
                             text=True, check=True).stdout
    sections = {name: int(size, 16) for name, size in STANDING_SECTIONS.findall(headers)}
    if not {".text", ".rdata", ".rsrc"} <= set(sections):
        raise CannotMeasure(f"sections of the program: {sections}")
    resources = sections.pop(".rsrc")
    return [figure("code and tables of the program", sum(sections.values()) / 1024, "KiB", "<=", 300),
            figure("  " + ", ".join(f"{name} {size / 1024:.0f}" for name, size in sections.items()), None),
            figure("  resources, mostly artwork", resources / 1024, "KiB")]


def measure():
    screen = wine_env.Display()
    try:
        return [*start_figures(screen.name), *watching_figures(screen.name), *repaint_figures(screen.name),
                *reader_figures(screen.name), *size_figures()]
    finally:
        screen.close()
