"""nelto-read as scripts and people run it: over every link, through breaks, and to each of its ends."""

import fcntl
import json
import os
import pty
import shutil
import subprocess
import termios

import drop_in_d2xx
import program_session
from drop_in_generation2010 import Instrument, scenario_of
from drop_in_winsock import Infrared
from link_session import LinkSession
from program_session import OK, PATIENCE
from serial_peer import Analyser780, SerialPeer
from test_leaving import DEFAULT, SLAVE_MODE_ASKED, SLAVE_MODE_OFF

READER = program_session.DIST / "NeltoRead/nelto-read.exe"
SEARCHING, ANSWERS, VALUES, BROKEN = (f"nelto-read: {text}" for text in (
    "searching for an analyser on USB", "an analyser answers, its channels are being read", "values are there",
    "the connection is broken"))


class ReaderTestCase(LinkSession):
    def prepare(self, **options):
        self.program = self.session(**options)
        self.prefix = self.program.prefix
        self.reader = READER

    def prepare_usb(self, setup="", scenario=None, **options):
        self.prepare(**options)
        self.driver = drop_in_d2xx.Driver(self.prefix)
        self.driver.set_up(setup, scenario)

    def start(self, *options, **streams):
        return self.prefix.start(self.reader, *options, **dict.fromkeys(("stdout", "stderr"), subprocess.PIPE) | streams)

    def read(self, *options):
        """Exit code, lines of the standard output, lines of the standard error."""
        with self.start(*options) as process:
            output, errors = process.communicate(timeout=2 * PATIENCE)
        self.assertEqual(output.count(b"\n"), output.count(b"\r\n"))
        return process.returncode, output.decode().splitlines(), errors.decode().splitlines()

    def values(self, *options):
        """The values of the one object that is printed, by their names."""
        code, (line,), _ = self.read("--format", "json", *options)
        self.assertEqual(code, 0)
        self.object = json.loads(line)
        return {value["name"]: value for value in self.object["values"]}

    def objects(self, process, until):
        """Reads objects until one has this status, and returns the statuses."""
        statuses = []
        while not statuses or statuses[-1] != until:
            statuses.append(json.loads(process.stdout.readline())["status"])
        return statuses

    def assert_left(self):
        requests = [event for event in self.driver.events() if event.startswith("request")]
        self.assertEqual(requests[-2:], [SLAVE_MODE_ASKED, SLAVE_MODE_OFF])
        self.driver.events_file.unlink()


class EveryLink(ReaderTestCase):
    def test_serial_gives_the_lines_of_the_exchange_file_and_leaves_the_dialog_its_own(self):
        peer = SerialPeer(Analyser780())
        self.addCleanup(peer.close)
        self.prepare(settings={"Communication": 5, "HeatingCheck": 0}, ports={5: peer.path}, language="de")
        self.program.start()
        self.wait_values("de")
        self.assertEqual(self.program.leave(OK), 0)

        def files():
            return {path: path.read_bytes() for path in self.program.temp.iterdir() if path.is_file()}
        before = files()
        self.assertEqual(self.read("--format", "exchange")[:2], (0, self.program.file().decode("cp1252").splitlines()))
        code, output, _ = self.read("--format=table")
        self.assertEqual(code, 0)
        self.assertLessEqual({"AT                    20,9  °C", "Brennstoff  Heating oil EL"}, set(output))
        self.assertEqual(files(), before)
        self.assertEqual((peer.broken_frames, peer.requests[-1]), ([], b"\x90"))

    def test_usb_once(self):
        self.prepare_usb(scenario=DEFAULT + "\nslave_mode 1", language="de")
        values = self.values()
        self.assert_left()
        self.assertEqual(self.object["device"], {"name": "nelto 780-2", "version": "2.15", "serial_number": "40712345"})
        oxygen = values["O2"]
        self.assertEqual((oxygen["ident"], oxygen["key"], oxygen["unit"], oxygen["unit_code"]), (0x0901, 2003, "%", 130))
        self.assertEqual(oxygen["text"], f"{oxygen['value']:.1f}")
        self.assertEqual((values["Brennstoff"]["value"], values["Brennstoff"]["key"]), (1, 6420))
        self.assertIsNone(values["SO2"]["value"])
        self.assertEqual([file.name for file in self.program.temp.iterdir()], [])

    def test_generation_2010_with_a_fuel(self):
        self.prepare()
        instrument = Instrument(self.prefix)
        self.reader = shutil.copy(READER, instrument.folder)
        instrument.set_up(scenario_of(752))
        self.assertEqual(self.values("--fuel", "3")["Fuel"]["value"], 3)
        self.assertEqual(self.object["device"]["name"], "nelto 752")
        self.assertEqual(instrument.count("NELTO760SPI_StartLogging"), 0)
        logs = self.prefix.folder / "drive_c/logs"
        logs.mkdir()
        self.values("--logs", "C:\\logs")
        self.assertEqual(instrument.count("NELTO760SPI_StartLogging"), 1)
        self.assertEqual(sorted(file.name for file in logs.iterdir()), ["Nelto780Base.txt", "NeltoStackWatcherProtocol.txt"])
        instrument.set_up(scenario_of(752) + "\nerror NELTOEMUSB_OpenBySerialNumber 5")
        self.assertIn("nelto-read: the analyser on USB is in use by another program", self.read("--timeout", "2")[2])

    def test_infrared_with_its_log(self):
        self.prepare()
        infrared = Infrared(self.program)
        self.reader = shutil.copy(READER, infrared.folder)
        infrared.scenario.write_text(DEFAULT)
        self.assertEqual(self.values("--link", "irda")["SerNo"]["text"], "40712345")
        self.assertFalse(infrared.irda_log.exists())
        self.assertEqual(infrared.events()[-1], "WSACleanup, references 0, infrared sockets 0")
        self.values("--link", "irda", "--logs", "C:\\")
        self.assertIn(b"SEND", infrared.irda_log.read_bytes())


class Ends(ReaderTestCase):
    def test_an_analyser_that_is_pulled(self):
        self.prepare_usb()
        counted, watched = (self.start(*options, "--format", "json") for options in (("--count", "1000"), ("--watch",)))
        self.assertEqual(self.objects(counted, "values"), ["values"])
        self.assertEqual(self.objects(watched, "values")[0], "searching")
        self.driver.unplug()
        self.assertEqual(self.objects(watched, "broken")[-1], "broken")
        self.assertEqual(counted.wait(PATIENCE), 3)
        self.assertRegex(counted.stderr.read().decode(), r"lost after \d+ of 1000 measurements\r\n$")
        self.driver.plug_in()
        self.assertEqual(self.objects(watched, "values"), ["values"])
        watched.stdout.close()  # the pipe breaks
        self.assertEqual(watched.wait(PATIENCE), 0)
        told = watched.stderr.read().decode().splitlines()
        self.assertEqual([line for line in told if line != ANSWERS], [SEARCHING, VALUES, BROKEN, VALUES])

    def test_ctrl_c_and_a_reader_that_has_enough_leave_the_analyser(self):
        self.prepare_usb(scenario=DEFAULT + "\nslave_mode 1")
        with self.start("--watch") as process:
            process.stdout.readline()
            process.stdout.close()
            self.assertEqual(process.wait(PATIENCE), 0)
        self.assert_left()

        keyboard, terminal = pty.openpty()
        self.addCleanup(os.close, keyboard)
        process = self.prefix.start(READER, "--watch", "--format", "csv", stdin=terminal, stdout=subprocess.PIPE,
                                    preexec_fn=lambda: fcntl.ioctl(terminal, termios.TIOCSCTTY, 0))
        os.close(terminal)
        with process:
            header, first = (process.stdout.readline().decode().rstrip("\r\n").split(",") for _ in range(2))
            self.assertEqual((header[:2], len(first)), (["time", "O2 [%]"], len(header)))
            os.write(keyboard, b"\x03")
            self.assertEqual(process.wait(PATIENCE), 0)
        self.assert_left()

    def test_nothing_to_read(self):
        self.prepare_usb("nothing")
        missing = "nelto-read: no analyser on USB within 1 s"
        self.assertEqual(self.read("--timeout", "1"), (1, [], [SEARCHING, missing]))
        self.driver.set_up("status FT_OpenEx 3")
        held = "the analyser on USB is in use by another program"
        self.assertEqual(self.read("--watch", "--timeout", "1"), (1, [], [SEARCHING, "nelto-read: " + held, f"{missing}: {held}"]))
        self.assertEqual(self.read("--link", "COM4", "--timeout", "5")[2][1:],  # a second is what each attempt takes
                         ["nelto-read: there is no COM4", "nelto-read: no analyser on COM4 within 5 s: there is no COM4"])
        self.assertEqual(self.read("--count", "ü"), (2, [], ["nelto-read: --count wants a number from 1 to 1000000, not 'ü'"]))
        self.assertEqual(self.read("--logs", "C:\\nowhere\\"), (2, [], ["nelto-read: --logs: 'C:\\nowhere\\' is no folder to write to"]))
        with open("/dev/full", "wb") as disk:
            self.driver.set_up("")
            full = self.start(stdout=disk)
            self.assertEqual(full.communicate(timeout=PATIENCE)[1].splitlines()[-1], b"nelto-read: standard output cannot be written")
            self.assertEqual(full.returncode, 1)
        self.assertEqual(self.read("--version"), (0, [f"nelto-read {program_session.VERSION}"], []))
