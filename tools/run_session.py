#!/usr/bin/env python3
"""The session behind `make run`: the program and the simulated analyser on one link."""

import contextlib
import os
import shlex
import shutil
import subprocess
import sys
import threading
import time
from pathlib import Path

import drop_in_d2xx
import drop_in_generation2010
import drop_in_winsock
import program_session
import wine_env

ROOT = Path(__file__).resolve().parent.parent
RUN = ROOT / "build/run"
VALUES_AVAILABLE = {"en": "Measure values available", "de": "Messwerte vorhanden"}
VALUES_TIMEOUT = 60


def say(text):
    print("run: " + text, flush=True)


def connect_serial(session, stack):
    """COM5 of the program and COM6 of the simulator are the two ends of one cable."""
    stack.callback(wine_env.SerialCable(session.prefix, 5, 6).close)
    session.ask("regset", "Communication", "dword", 5)
    process = session.prefix.start(program_session.SIMULATOR, "--port", "COM6", "--scenario", scenario_file(),
                                   stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    show_lines(lambda: process.stdout.readline().decode(errors="replace"))
    return program_session.PROGRAM


def connect_irda(session, _stack):
    """The simulated analyser is in infrared range: it lives in a Winsock beside a copy of the program."""
    infrared = drop_in_winsock.Infrared(session)
    shutil.copy(scenario_file(), infrared.scenario)
    session.ask("regset", "Communication", "dword", drop_in_winsock.COMMUNICATION_IRDA)
    infrared.events_file.touch()
    events = infrared.events_file.open()
    show_lines(lambda: events.readline() or time.sleep(0.2) or "\n")
    return infrared.program


def connect_usb(session, _stack):
    """The simulated D2XX library is installed with one analyser attached; USB is what the program uses by itself."""
    driver = drop_in_d2xx.Driver(session.prefix)
    shutil.copy(scenario_file(), driver.folder / "scenario.txt")
    driver.events_file.touch()
    events = driver.events_file.open()
    show_lines(lambda: events.readline() or time.sleep(0.2) or "\n")
    return program_session.PROGRAM


def connect_generation2010(session, stack, kind, link):
    """The simulated instrument libraries lie beside a copy of the program; over a COM port they take an open one over."""
    instrument = drop_in_generation2010.Instrument(session.prefix)
    own_scenario = os.environ.get("SCENARIO")
    scenario = Path(own_scenario).read_text() if own_scenario else drop_in_generation2010.scenario_of(kind)
    if link == "serial":
        stack.callback(wine_env.SerialCable(session.prefix, 5, 6).close)
        session.ask("regset", "Communication", "dword", 5)
        session.prefix.start(program_session.SIMULATOR, "--port", "COM6", "--ident", kind)
    instrument.set_up(scenario)
    instrument.events_file.touch()
    events = instrument.events_file.open()
    show_lines(lambda: events.readline() or time.sleep(0.2) or "\n")
    return instrument.program


# Each connects the program to the simulated analyser and returns the program to start.
LINKS = {"usb": connect_usb, "serial": connect_serial, "irda": connect_irda}


def scenario_file():
    return os.environ.get("SCENARIO") or program_session.SIMULATOR.parent / "scenarios/default.txt"


def show_lines(read_line):
    """Shows the simulator's lines from a thread of their own, until there is none any more; an empty one is no line."""
    def show():
        for line in iter(read_line, ""):
            if line.strip():
                print("simulator: " + line.rstrip(), flush=True)
    threading.Thread(target=show, daemon=True).start()


def show_exchange_file(session):
    content = session.file()
    if content is None:
        say("no exchange file was written")
        return False
    say("exchange file:")
    print(content.decode("cp1252").replace("\r\n", "\n"), end="", flush=True)
    return True


def run_alone(session, screen, language):
    """Waits for values, takes the picture, presses OK."""
    end = time.monotonic() + VALUES_TIMEOUT
    while session.text(program_session.STATUS) != VALUES_AVAILABLE[language] or not session.enabled(program_session.OK):
        if time.monotonic() > end:
            say(f"no values within {VALUES_TIMEOUT} s, the status is {session.text(program_session.STATUS)!r}")
            screen.screenshot(RUN / "failed.png")
            return False
        time.sleep(0.2)
    session.ask("activate")
    time.sleep(1)  # let the pictures of the new status be painted
    screen.screenshot(RUN / f"values-{language}.png")
    say(f"values are there; screenshot in build/run/values-{language}.png; pressing OK")
    session.leave(program_session.OK)
    return show_exchange_file(session)


def main():
    language = os.environ.get("UI_LANGUAGE") or "en"
    link = os.environ.get("LINK") or "usb"
    analyser = os.environ.get("ANALYSER")
    if analyser and (analyser not in map(str, drop_in_generation2010.KINDS) or link == "irda" or
                     (analyser == "760" and link != "usb")):
        say(f"ANALYSER is one of {', '.join(map(str, drop_in_generation2010.KINDS))}, over usb or serial (760: usb alone)")
        return 2
    if language not in VALUES_AVAILABLE or link not in LINKS:
        say(f"UI_LANGUAGE is one of {', '.join(VALUES_AVAILABLE)}; LINK is one of {', '.join(LINKS)}")
        return 2
    RUN.mkdir(parents=True, exist_ok=True)
    wine_env.exit_on_signals()
    with contextlib.ExitStack() as stack:
        screen, display = None, os.environ.get("DISPLAY")
        if not display:
            screen = wine_env.Display()
            stack.callback(screen.close)
            display = screen.name
        say("preparing a private Windows")
        session = program_session.Session(display, language, own_frames=screen is not None)
        stack.callback(session.close)
        if analyser:
            program = connect_generation2010(session, stack, int(analyser), link)
        else:
            program = LINKS[link](session, stack)
        arguments = shlex.split(os.environ.get("ARGS", ""))
        say(" ".join(["starting NeltoStackWatcher.exe", *arguments]))
        session.start(*arguments, program=program)
        if screen:
            return 0 if run_alone(session, screen, language) else 1
        say("the window is open; this ends with it")
        session.program.wait()
        show_exchange_file(session)
        return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except KeyboardInterrupt:
        sys.exit(130)
