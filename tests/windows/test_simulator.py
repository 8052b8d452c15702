"""The program against the shipped simulator, both as a user starts them."""

import re
import subprocess

import program_session
import wine_env
from link_session import LinkSession

READER = program_session.DIST / "NeltoRead/nelto-read.exe"
SCENARIOS = program_session.SIMULATOR.parent / "scenarios"


class SimulatedAnalyser(LinkSession):
    def begin(self, *simulated, **settings):
        self.program = program = self.session(settings={"Communication": 5} | settings)
        cable = wine_env.SerialCable(program.prefix, 5, 6)
        self.addCleanup(cable.close)
        self.events_file = program.prefix.folder / "simulator.log"
        with open(self.events_file, "wb") as events:
            program.prefix.start(program_session.SIMULATOR, "--port", "COM6", *simulated, stdout=events, stderr=events)
        program.start()
        self.wait_values()
        return program

    def events(self):
        return self.events_file.read_bytes()

    def test_heating_check_reaches_list_and_exchange_file(self):
        program = self.begin("--scenario", SCENARIOS / "heating-check.txt", HeatingCheck=1)
        rows = program.rows()
        for row in (["PointsFluegasLo", "4.5", ""], ["FT (HeatCheck)", "166.2", "°C"], ["Height", "120", "cm"], ["Power", "21.0", "kW"]):
            self.assertIn(row, rows)
        self.assertEqual([row[1] for row in rows if row[0] == "TempLeft"], ["31.5", "32.0"])
        self.assertEqual(program.leave(program_session.OK), 0)
        written = program.file().split(b"\r\n")
        for line in (b"9050263=4.5", b"9050273=166.2", b"8340=21.0", b"9050326=31.5", b"9050326=32.0", b"9000=nelto 780-2"):
            self.assertIn(line, written)
        self.assertFalse([line for line in written if line.startswith(b"9050264")])  # an entry without a value

    def list_connections(self, program, log):
        with program.prefix.start(program_session.SIMULATOR, "--replay", log, "--list", stdout=subprocess.PIPE) as process:
            return process.communicate()[0].decode().splitlines()

    def test_recorded_sessions_show_the_same_on_another_desk(self):
        program = self.begin("--scenario", SCENARIOS / "heating-check.txt", HeatingCheck=1)
        rows = program.rows()
        program.wait_until(lambda: program.rows() != rows, "moving values")
        self.assertEqual(program.leave(program_session.OK), 0)

        other = self.begin("--scenario", SCENARIOS / "790.txt")  # driven like a 780
        self.assertEqual(other.text(program_session.DEVICE_BOX), "nelto 780-3")
        self.assertIn(["Fuel", "Natural gas", ""], other.rows())
        self.assertNotIn(b" < ", self.events())
        self.assertEqual(other.leave(program_session.OK), 0)
        self.assertIn(b"9200=50100077\r\n", other.file())

        log = program.temp / "ZIVNelto780.txt"
        log.write_bytes(b"a tail of an older\r\n" + log.read_bytes() + other.file(log.name) +
                        b"NeltoRS232Open uPort = 5, COM5\r\nError Number 2\r\n")
        listed = self.list_connections(program, log)
        self.assertEqual([line.split(", ")[2:3] for line in listed], [["T780"], ["T790"], []])

        again = self.begin("--replay", log, "--times", "--connection", "1", "--log", HeatingCheck=1)
        again.wait_until(lambda: re.search(rb"request read values[^\n]+\n[^\n]+its last one stays", self.events()), "the end of the log")
        self.assertEqual([row[::2] for row in again.rows()], [row[::2] for row in rows])
        self.assertEqual(again.leave(program_session.OK), 0)
        self.assertEqual(again.file(), program.file())
        self.assertIn(b"passed over: line 1: not understood", self.events())
        self.assertIn(b" < 12 00 00 00 01 01 42 ", self.events())
        self.assertNotIn(b"no reply:", self.events())

        with again.prefix.start(READER, "--link", "COM5", "--heating-check", "--format", "exchange", stdout=subprocess.PIPE) as reader:
            printed = reader.communicate()[0]
        self.assertEqual([line.split(b"=")[0] for line in printed.splitlines()],
                         [line.split(b"=")[0] for line in program.file().splitlines()])
        self.assertIn(b"\r\n9050273=166.2\r\n", printed)
