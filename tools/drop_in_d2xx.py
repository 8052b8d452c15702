"""The simulated D2XX library, installed in the private Windows as a driver installs its library: in the system directory."""

import shutil

import program_session
import wine_env

LIBRARIES = program_session.DIST / "simulator/ftd2xx"
OLD, NEW = "2.08.14", "3.02.11"  # identify devices by the EEPROM and by the device information


class Driver:
    """What is attached and how the driver behaves; one file beside the library each."""

    def __init__(self, prefix, version=NEW):
        self.prefix = prefix
        self.folder = prefix.folder / "drive_c/windows" / wine_env.SYSTEM_FOLDER
        self.install(version)
        log = prefix.folder / "drive_c/simulator.log"
        prefix.environment["NELTO_SIMULATOR_LOG"] = "C:\\" + log.name
        self.events_file = log

    def install(self, version):
        shutil.copy(LIBRARIES / version / "FTD2XX.DLL", self.folder)

    def set_up(self, setup="", scenario=None):
        """Takes effect with the next program that loads the library."""
        (self.folder / "usb.txt").write_text(setup)
        if scenario is not None:
            (self.folder / "scenario.txt").write_text(scenario)

    def unplug(self):
        (self.folder / "unplugged.txt").touch()

    def plug_in(self):
        (self.folder / "unplugged.txt").unlink()

    def events(self):
        """The simulator's lines without their times."""
        if not self.events_file.exists():
            return []
        return [line.split(maxsplit=1)[1] for line in self.events_file.read_text().splitlines()]
