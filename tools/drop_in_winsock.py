"""The program with simulated infrared: a copy of its folder in the private Windows with the simulator's Winsock beside it."""

import shutil

import program_session

LIBRARY = program_session.DIST / "simulator/winsock/wsock32.dll"
COMMUNICATION_IRDA = 1000  # the "Communication" setting


class Infrared:
    """Where the simulated analyser is set up and what can be read of it afterwards."""

    def __init__(self, session, with_library=True):
        drive = session.prefix.folder / "drive_c"
        self.folder = drive / "NeltoStackWatcher"
        shutil.copytree(program_session.PROGRAM.parent, self.folder)
        self.program = self.folder / program_session.PROGRAM.name
        self.scenario = self.folder / "scenario.txt"
        self.events_file = drive / "simulator.log"
        self.irda_log = drive / "IRDALOG.TXT"
        if with_library:
            shutil.copy(LIBRARY, self.folder)
            session.prefix.environment["WINEDLLOVERRIDES"] += ";wsock32=n,b"
            session.prefix.environment["NELTO_SIMULATOR_LOG"] = "C:\\" + self.events_file.name

    def events(self):
        """The simulator's lines without their times."""
        if not self.events_file.exists():
            return []
        text = self.events_file.read_text()
        return [line.split(maxsplit=1)[1] for line in text[: text.rfind("\n") + 1].splitlines()]

    def count(self, beginning):
        return sum(event.startswith(beginning) for event in self.events())
