"""How the shipped program leaves an analyser that answers in small blocks, slowly or not at all, or that is pulled."""

import subprocess
import time

import program_session
from link_session import AVAILABLE, BROKEN
from program_session import CANCEL
from serial_peer import answer
from test_irda import IrdaSession
from test_session import SerialSession
from test_usb import UsbSession

SCENARIOS = program_session.ROOT / "simulator/scenarios"
DEFAULT, HEATING_CHECK = ((SCENARIOS / name).read_text() for name in ("default.txt", "heating-check.txt"))
SLAVE_MODE_ASKED, SLAVE_MODE_OFF = "request get slave mode: 90", "request set slave mode: 20 00"

# Requests that the user cancels at, by their first byte and the simulator's word for them.
CONFIGURATION, HEATING, VALUES = (0xA7, "GET_ALLVISIBLEVIEWIDENTS"), (0x49, "open heating-check"), (0xAA, "GET_MEAS_ZEROFLAG")


class Leaving:
    def assert_ends_within(self, seconds):
        """From Cancel on; a program that goes on is ended, so that the next one can start."""
        self.program.ask("post", CANCEL)
        try:
            self.assertEqual(self.program.program.wait(seconds), 0)
        except subprocess.TimeoutExpired:
            self.program.program.kill()
            self.program.program.wait()
            self.fail(f"still there {seconds} s after Cancel")

    def wait_request(self, events, name):
        self.program.wait_until(lambda: [event for event in events() if event.startswith("request " + name)], f"the request {name}")


class SmallBlocks(Leaving, SerialSession, UsbSession):
    """The answer that tells the slave mode comes in two blocks, and the analyser is in that mode."""

    def test_usb_slave_mode_ends(self):
        for phase in (CONFIGURATION, VALUES):
            with self.subTest(phase):
                UsbSession.begin(self, setup="payload 7\nlatency 20", scenario=DEFAULT + "\nslave_mode 1")
                self.wait_request(self.driver.events, phase[1])
                self.assert_ends_within(10)
                requests = [event for event in self.driver.events() if event.startswith("request")]
                self.assertEqual(requests[-2:], [SLAVE_MODE_ASKED, SLAVE_MODE_OFF])


class Silence(Leaving, IrdaSession):
    def test_a_silent_analyser_in_infrared_range_is_left_in_every_phase(self):
        self.prepare()
        self.program.ask("regset", "HeatingCheck", "dword", 1)
        for phase in (CONFIGURATION, HEATING, VALUES, None):
            with self.subTest(phase):
                silent = f"fault silence command {phase[0]}\n" if phase else ""
                self.begin(f"{HEATING_CHECK}\n{silent}fault silence command 0x90")
                if phase:
                    self.wait_request(self.infrared.events, phase[1])
                else:
                    self.program.wait_status(AVAILABLE["en"])
                self.assert_ends_within(5)


class Slowness(Leaving, UsbSession):
    def test_an_answer_that_trickles_is_not_waited_for(self):
        self.begin(setup="trickle 100", scenario=DEFAULT)
        self.wait_request(self.driver.events, CONFIGURATION[1])  # its answer takes 20 s
        self.assert_ends_within(7)

    def test_a_device_pulled_in_the_heating_check_shows_at_once(self):
        self.begin(scenario=HEATING_CHECK + "\nfault delay 500 command 0xA5 from 2", HeatingCheck=1)
        self.wait_request(self.driver.events, "block read: A5 0A")
        pulled = time.monotonic()
        self.driver.unplug()
        self.program.wait_status(BROKEN["en"])
        self.assertLess(time.monotonic() - pulled, 5)  # what is asked for when it is pulled may take its time-out
        self.driver.plug_in()
        self.wait_values()
