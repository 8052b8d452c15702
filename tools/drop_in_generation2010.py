"""The program with the simulated instrument libraries: a copy of its folder in the private Windows with the drop-ins beside it."""

import re
import shutil

import program_session

LIBRARIES = program_session.DIST / "simulator/generation2010"
SCENARIO = program_session.ROOT / "simulator/scenarios/generation2010.txt"
KINDS = (711, 745, 746, 752, 760, 781)


def scenario_of(kind):
    """The default scenario with another analyser."""
    text, changes = re.subn(r"^kind \d+$", f"kind {kind}", SCENARIO.read_text(), flags=re.MULTILINE)
    assert changes == 1
    return text


class Instrument:
    """Where the simulated analyser is set up and what can be read of it afterwards."""

    def __init__(self, prefix, libraries=None):
        """`libraries` maps file names beside the program to file names of drop-ins; all under their own names by default."""
        drive = prefix.folder / "drive_c"
        self.folder = drive / "NeltoStackWatcher"
        shutil.copytree(program_session.PROGRAM.parent, self.folder)
        self.program = self.folder / program_session.PROGRAM.name
        self.events_file = drive / "simulator.log"
        self._unplugged = self.folder / "unplugged2010.txt"
        if libraries is None:
            libraries = {library.name: library.name for library in LIBRARIES.iterdir()}
        for name, drop_in in libraries.items():
            shutil.copy(LIBRARIES / drop_in, self.folder / name)
        prefix.environment["NELTO_SIMULATOR_LOG"] = "C:\\" + self.events_file.name

    def set_up(self, scenario):
        """Takes effect with the next start of the program."""
        (self.folder / "scenario2010.txt").write_text(scenario)

    def unplug(self):
        self._unplugged.touch()

    def plug_in(self):
        self._unplugged.unlink()

    def events(self):
        """The simulator's lines without their times."""
        if not self.events_file.exists():
            return []
        text = self.events_file.read_text()
        return [line.split(maxsplit=1)[1] for line in text[: text.rfind("\n") + 1].splitlines()]

    def count(self, beginning):
        return sum(event.startswith(beginning) for event in self.events())
