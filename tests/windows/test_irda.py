"""The shipped program over infrared, with the simulator's Winsock beside it."""

from drop_in_winsock import COMMUNICATION_IRDA, Infrared
from link_session import LinkSession
from program_session import CANCEL, CONNECTION, OK

ALWAYS = "0 1000000"

# What stands in the way: its lines of a scenario, the error number, the IrDA log.
OBSTACLES = (
    (f"infrared_fault no_winsock {ALWAYS}", 1, b"Error 1\r\n"),
    (f"infrared_fault nobody {ALWAYS}", 4, b"Error 4: no IrDA device in range\r\n"),
    ('infrared_device "Printer"\ninfrared_device "NELTO T7801"', 5,
     b"Device name Printer\r\nDevice name NELTO T7801\r\n"),
    (f"infrared_fault refused {ALWAYS}", 6, b"Device name NELTO T780\r\nError 6: connect failed 10061\r\n"),
)


class IrdaSession(LinkSession):
    def prepare(self, **options):
        self.program = self.session(settings={"Communication": COMMUNICATION_IRDA})
        self.infrared = Infrared(self.program, **options)

    def begin(self, scenario):
        self.infrared.events_file.unlink(missing_ok=True)
        self.infrared.scenario.write_text(scenario)
        self.program.start(program=self.infrared.program)

    def wait_events(self, count, beginning):
        self.program.wait_until(lambda: self.infrared.count(beginning) >= count, f"{count} times {beginning!r}")

    def assert_nothing_left(self):
        self.assertEqual(self.infrared.events()[-1], "WSACleanup, references 0, infrared sockets 0")


class Values(IrdaSession):
    def test_the_first_accepted_device_is_read_in_pieces_and_left_clean(self):
        self.prepare()
        self.begin("""
            include default
            infrared_device "Printer"
            infrared_device "NELTO T785"
            infrared_device "NELTO T780"
            infrared_piece 3
        """)
        rows = self.wait_values()
        self.assertEqual(self.program.text(CONNECTION), "IrDA")
        self.assertAlmostEqual(float(rows["O2"][0]), 4.2, delta=0.6)
        self.assertEqual(rows["T-Dew"][1], "°C")
        self.assertEqual(rows["SerNo"][0], "40712345")
        self.assertTrue(self.infrared.irda_log.read_bytes().startswith(
            b"Device name Printer\r\nDevice name NELTO T785\r\nSEND 5 Bytes\r\nA7 02 00 00 00 \r\nRECEIVE 196 Bytes\r\n"
            b"00 A7 C4 00 01 09 00 00 00 00 00 00 03 10 00 00 \r\n"))
        self.assertEqual(self.program.leave(OK), 0)
        self.assertIn(b"9200=40712345\r\n", self.program.file())
        events = self.infrared.events()
        self.assertEqual([event for event in events if event.startswith(("WSAStartup", "connected", "request get slave"))],
                         ["WSAStartup 1.1 gives 0, references 1", "connected to device 2, NELTO T785",
                          "request get slave mode: 90"])
        self.assertNotIn("GET_IDENT", "".join(events))
        self.assert_nothing_left()

    def test_a_broken_conversation_leads_back_to_searching(self):
        self.prepare()
        self.begin("""
            include default
            infrared_piece 50
            fault link_gone 2 command 0x9C request 2 block 2      # gone in the middle of a reply
            fault wrong_length 60000 command 0x9C request 4       # longer than any reply may be
        """)
        self.wait_events(3, "connected to device")
        self.wait_values()
        self.assertGreaterEqual(self.infrared.count("WSAStartup"), 4)  # one search at least found nobody
        self.assertEqual(self.infrared.count("link gone"), 1)
        self.assertEqual(self.program.leave(OK), 0)
        self.assertEqual(self.infrared.count("WSAStartup"), self.infrared.count("WSACleanup"))
        self.assert_nothing_left()


class Searching(IrdaSession):
    def test_each_obstacle_is_told_each_second_and_leaves_nothing_behind(self):
        self.prepare()
        for scenario, error, irda_log in OBSTACLES:
            with self.subTest(scenario):
                self.begin(scenario)
                self.wait_events(2, "WSAStartup")
                self.assertEqual(self.program.leave(CANCEL), 0)
                self.assertIn(f"Instrument opening via IRDA failed, Error code {error}\r\n".encode(),
                              self.program.file("Nelto780Base.txt"))
                self.assertEqual(self.infrared.irda_log.read_bytes(), irda_log)
                if "no_winsock" not in scenario:
                    self.assert_nothing_left()

    def test_searching_does_not_grow(self):
        self.prepare()
        self.begin(OBSTACLES[-1][0])
        self.assert_searches_leave_nothing(lambda searches: self.wait_events(searches, "WSACleanup"))
        self.program.leave(CANCEL)

    def test_a_windows_without_infrared_fails_cleanly(self):
        self.prepare(with_library=False)
        self.begin("")
        self.program.wait_until(lambda: self.infrared.irda_log.exists() and self.infrared.irda_log.read_bytes(),
                                "the IrDA log")
        self.assertEqual(self.infrared.irda_log.read_bytes(), b"Error 1\r\n")
        self.assertEqual(self.program.leave(CANCEL), 0)
