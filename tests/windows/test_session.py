"""A technician's session over a serial link: search, values, typed values, hand-over."""

import subprocess
import sys
import termios
import time

import program_session
import wine_env
from link_session import BROKEN, INVALID, SEARCHING, LinkSession
from program_session import CANCEL, CONNECTION, DEVICE_BOX, HEAT_CARRIER, OIL_DERIVATIVE, OK, SMOKE, STATUS
from serial_peer import Analyser780, SerialListener, SerialPeer, answer, build_block

A_710 = {"ident": b"T710\x01\x00", "channels": [], "overrides": {0x0C: bytes(4), 0x0D: bytes(4)}}
wine_env.LOCALES["el"] = "el_GR"  # its code page is 1253; the program's texts are English


def lines(*texts):
    return "".join(text + "\r\n" for text in texts).encode("cp1252")


class SerialSession(LinkSession):
    """The program on COM5 with an analyser of the tests' own behind it."""

    def prepare(self, language="en", settings=None, ports=None, **analyser):
        """`analyser`: what is other than usual about it."""
        self.analyser = Analyser780()
        vars(self.analyser).update(analyser)
        self.peer = SerialPeer(self.analyser)
        self.addCleanup(self.peer.close)
        self.program = self.session(language=language, settings={"Communication": 5} | (settings or {}),
                                    ports={5: self.peer.path} | (ports or {}))
        return self.program

    def begin(self, *arguments, wait=True, language="en", **options):
        self.prepare(language, **options).start(*arguments)
        if wait:
            self.wait_values(language)
        return self.program

    def has_rows(self):
        return super().has_rows() or not self.analyser.channels

    def wait_row(self, row):
        self.program.wait_until(lambda: row in self.program.rows(), f"the row {row}")

    def show_another_co(self, *values):
        """Each value reaches the list, so there is one refresh at least between two of them."""
        for value in values:
            self.analyser.channels[3] = (0x0902, 131, 0, value, "CO")
            self.wait_row(["CO", f"{value:.0f}", "ppm"])

    def wait_reads(self, requests):
        read = len(self.peer.requests)
        self.program.wait_until(lambda: len(self.peer.requests) > read + requests, "further value reads")

    def begin_with_listener(self, *arguments, **options):
        listener = SerialListener()
        self.addCleanup(listener.close)
        self.begin(*arguments, settings={"EnableRS232": 1, "RS232Port": 12}, ports={12: listener.path}, **options)
        return listener

    def silence(self):
        self.peer.distort = lambda frame: b""

    def answer_again(self):
        self.peer.distort = lambda frame: frame

    def lose_the_analyser(self, language="en"):
        self.silence()
        self.program.wait_status(BROKEN[language])

    def find_an_analyser(self, language="en"):
        self.answer_again()
        self.wait_values(language)

    def type_numbers(self, *texts):
        for field, typed in zip((*SMOKE, HEAT_CARRIER), texts):
            self.program.ask("settext", field, typed)

    def leave_with_ok(self):
        self.assertEqual(self.program.leave(OK), 0)
        self.assertEqual(self.peer.broken_frames, [])
        return self.program.file()

    def assert_written(self, *lines_of_file):
        """By leaving with OK; the lines are gone through in any order."""
        written = self.leave_with_ok().split(b"\r\n")
        self.assertLessEqual(set(lines_of_file), set(written), written)
        return written


class Values(SerialSession):
    def test_english_session_shows_values_and_hands_them_over(self):
        program = self.begin("JOB17", "6420=3")
        self.assertEqual(program.text(CONNECTION), "Bluetooth COM5")
        self.assertEqual(program.text(DEVICE_BOX), "nelto 780-2")
        self.assertTrue(program.enabled(OK))
        self.wait_row(["Oilder", "NO", ""])  # the text comes one refresh after the number
        listed = program.ask("items", program_session.LIST)
        self.assertEqual(listed["columns"], ["Channel", "Value", "Unit"])
        self.assertEqual(listed["rows"], [
            ["FT", "183", "°C"], ["AT", "20.9", "°C"], ["O2", "20.9", "%"], ["CO", "12", "ppm"], ["etaA", "-", "%"],
            ["deltap", "-0.125", "hPa"], ["lambda", "1.5000", "m³/h"],
            ["HCT", "70", "°C"], ["Smoke1", "2", ""], ["Smoke2", "3", ""], ["Smoke3", "1", ""], ["Oilder", "NO", ""],
            ["Fuel", "Heating oil EL", ""], ["CO2max", "15.4", "%"], ["O2Ref", "3.0", "%"],
            ["Device", "nelto 780-2", ""], ["Version", "1.23", ""], ["SerNo", "01234567", ""], ["SmokeP", "P-77", ""]])
        self.assertEqual(self.leave_with_ok(), lines(
            "JOB17", "1101=183", "1001=20.9", "2003=20.9", "2204=12", "5321=-", "4010=-0.125", "1401=70.0", "6020=2.0",
            "6120=3.0", "6220=1.0", "6320=1", "6420=1", "3703=15.4", "2803=3.0", "9000=nelto 780-2", "9100=1.23",
            "9200=01234567", "9300=P-77", "6520=2.0"))

    def test_german_session_takes_typed_values_with_a_comma(self):
        program = self.begin("AUFTRAG", language="de")
        self.assertEqual(program.ask("items", program_session.LIST)["columns"], ["Größe", "Wert", "Einheit"])
        self.assertIn(["AT", "20,9", "°C"], program.rows())
        self.wait_row(["Ölder", "NEIN", ""])
        self.assertEqual([program.text(field) for field in (*SMOKE, HEAT_CARRIER)], ["2,0", "3,0", "1,0", "70,0"])
        self.type_numbers("9,5", "0", "1", "999,9")
        self.assertEqual(program.ask("combo", OIL_DERIVATIVE)["entries"], ["-", "NEIN", "JA"])
        program.ask("select", OIL_DERIVATIVE, 2)
        self.assert_written(b"AUFTRAG", b"1101=183", b"1001=20,9", b"4010=-0,125", b"1401=999,9", b"6020=9,5", b"6120=0,0",
                            b"6220=1,0", b"6320=2", b"6420=1", b"9100=1.23", b"6520=3,5")
        reader = subprocess.run([sys.executable, program_session.ROOT / "examples/read_exchange_file.py", "--word", "AUFTRAG",
                                 program.temp / program_session.EXCHANGE_FILE], capture_output=True, text=True, check=False)
        self.assertEqual((reader.returncode, reader.stderr), (0, ""))
        self.assertEqual(reader.stdout.splitlines(), [
            "1101 FT in °C: 183.0", "1001 AT in °C: 20.9", "2003 O2 in %: 20.9", "2204 CO in ppm: 12.0", "5321 : no value",
            "4010 : -0.125", "1401 heat carrier in °C: 999.9", "6020 smoke number 1: 9.5", "6120 smoke number 2: 0.0",
            "6220 smoke number 3: 1.0", "6320 oil derivative: 2.0", "6420 fuel: 1.0", "3703 : 15.4", "2803 : 3.0",
            "9000 device: nelto 780-2", "9100 firmware: 1.23", "9200 serial number: 01234567", "9300 smoke pump: P-77",
            "6520 smoke number, mean: 3.5"])

    def test_typed_numbers_are_written_as_the_table_says(self):
        table = (program_session.ROOT / "tests/typed_numbers.txt").read_text().splitlines()
        for row in (line.split() for line in table if line and not line.startswith("#")):
            with self.subTest(row):
                self.begin()
                self.type_numbers(*row[:4])
                written = dict(line.split(b"=", 1) for line in self.leave_with_ok().splitlines())
                self.assertEqual([written[key].decode() for key in (b"6020", b"6120", b"6220", b"6520", b"1401")], row[4:])

    def test_typing_survives_the_refresh(self):
        program = self.begin()
        self.assertEqual(program.ask("focus"), OK)
        self.assertEqual(program.ask("focus", SMOKE[0]), SMOKE[0])
        program.ask("settext", SMOKE[0], "4")
        self.wait_reads(12)
        self.assertEqual((program.text(SMOKE[0]), program.ask("focus")), ("4", SMOKE[0]))

    def test_ok_takes_the_focus_when_values_arrived_behind_the_settings(self):
        program = self.prepare()
        self.silence()
        program.start()
        program.open_settings()
        program.window(program_session.CAPTION)
        self.answer_again()
        program.wait_until(lambda: program.enabled(OK), "the values")
        self.show_another_co(4711, 4712)
        program.window(program_session.SETTINGS_CAPTION)
        program.close_settings(CANCEL)
        program.wait_until(lambda: program.ask("focus") == OK, "the focus on OK")

    def test_another_link_is_taken_when_the_present_one_ends(self):
        other = SerialPeer(Analyser780())
        self.addCleanup(other.close)
        program = self.begin(ports={7: other.path})
        program.open_settings()
        program.ask("settext", program_session.BLUETOOTH_PORT, 7)
        program.close_settings(OK)
        program.wait_until(lambda: program.text(CONNECTION) == "Bluetooth COM7", "the new link's name")
        self.wait_reads(6)  # on the old link
        self.assertEqual(other.requests, [])
        self.silence()
        program.wait_until(lambda: other.requests, "a search on the new link")
        self.wait_values()
        exchanges = len(self.peer.requests)
        self.leave_with_ok()
        self.assertEqual((len(self.peer.requests), other.broken_frames), (exchanges, []))

    def test_a_separator_of_the_users_own(self):
        program = self.prepare()
        program.restart("en", {r"Control Panel\International": {"sDecimal": "'"}})
        self.wait_values()
        self.wait_row(["AT", "20'9", "°C"])
        self.type_numbers("9'5", "1.5", "1,5", "70'5")
        self.assert_written(b"1001=20'9", b"6020=9'5", b"6120=0'0", b"6220=-", b"1401=70'5", b"9100=1.23")

    def test_texts_in_another_code_page(self):
        program = self.prepare("el", overrides={0xB7: answer(0xB7, "Ωü-7".encode("utf-16-le"))}).start()
        self.wait_values()
        self.assertIn(["SmokeP", "Ωü-7", ""], program.rows())
        self.assert_written("9300=Ω?-7".encode("cp1253"))

    def test_710_has_values_at_once_but_no_channels(self):
        program = self.begin("JOB", **A_710)
        self.assertEqual(program.rows(), [])
        self.assertEqual(self.leave_with_ok(), lines("JOB", "1401=60.0"))
        self.assertEqual({request[0] for request in self.peer.requests}, {0x42, 0x0C, 0x0D})
        self.assertEqual(program.file("ZIVNelto780.txt").split(b"\r\n").count(b"nelto 710 GetOnlineConfiguration"), 2)


class LinkFaults(SerialSession):
    def test_pulled_link_breaks_and_comes_back(self):
        program = self.begin()
        self.wait_row(["Oilder", "NO", ""])
        rows = program.rows()
        self.peer.pull()
        program.wait_status(BROKEN["en"])
        self.assertEqual(program.rows(), rows)
        self.peer.plug_again(program.prefix, 5)
        self.wait_values()

    def test_zeroing_shows_no_valid_values_until_it_ends(self):
        program = self.begin(language="de")
        self.analyser.zero_flag = 0
        program.wait_status(INVALID["de"])
        program.wait_until(lambda: program.rows() == [], "the empty list")
        self.analyser.zero_flag = 1
        self.wait_values("de")

    def test_reconnecting_leaks_no_handles(self):
        self.begin()
        self.assert_rounds_leave_nothing(lambda: self.analyser.overrides.update({0xAA: answer(0x41)}), self.analyser.overrides.clear)

    def test_another_analyser_leaves_nothing_of_the_one_before(self):
        listener = self.begin_with_listener("JOB")
        program = self.program
        self.lose_the_analyser()
        self.assertNotEqual(program.rows(), [])
        vars(self.analyser).update(A_710)
        self.find_an_analyser()
        program.wait_until(lambda: program.text(DEVICE_BOX) == "Device", "the box without a name")
        program.wait_until(lambda: program.rows() == [], "the empty list")
        listener.read()
        listener.received = b""
        program.wait_until(lambda: listener.read().count(b"END") >= 2, "two blocks of output")
        self.assertTrue(listener.received.endswith(b"NELTO\n\rEND\n\r"), listener.received)
        self.assertEqual([program.enabled(field) for field in (*SMOKE, OIL_DERIVATIVE)], [True] * 4)  # no other fuel is known
        self.assertEqual(self.leave_with_ok(), lines("JOB", "6020=2.0", "6120=3.0", "6220=1.0", "6520=2.0", "1401=70.0", "6320=1"))

    def test_smoke_fields_follow_the_fuel(self):
        program = self.begin(fuel=7)
        for fuel, contents in ((0, ["2.0", "3.0", "1.0"]), (7, ["2.0", "3.0", "9.5"])):
            self.lose_the_analyser()
            self.analyser.fuel = fuel
            self.find_an_analyser()
            for field in (*SMOKE, OIL_DERIVATIVE):
                program.wait_until(lambda: program.enabled(field) == (fuel == 0), f"the fields with fuel {fuel}")
            self.assertEqual([program.text(field) for field in SMOKE], contents)
            self.assertEqual({"Smoke1", "Smoke2", "Smoke3", "Oilder"} & {row[0] for row in program.rows()} == set(), fuel != 0)
            if fuel == 0:
                program.ask("settext", SMOKE[2], "9.5")
                self.assertEqual(program.ask("focus", SMOKE[2]), SMOKE[2])
        self.assertEqual(program.ask("focus"), HEAT_CARRIER)  # keys are not lost in a disabled field
        written = self.leave_with_ok().split(b"\r\n")
        self.assertEqual([line for line in written if line.startswith(b"6")], [b"6420=4"])


class StartAndEnd(SerialSession):
    def test_cancel_while_searching_writes_nothing_and_the_old_file_is_gone(self):
        program = self.session(language="de", settings={"Communication": 33})
        (program.temp / program_session.EXCHANGE_FILE).write_bytes(b"stale\r\n")
        program.start("JOB17")
        self.assertEqual(program.text(STATUS), SEARCHING["de"])
        self.assertIsNone(program.file())
        self.assertFalse(program.enabled(OK))
        self.assertEqual(program.leave(CANCEL), 0)
        self.assertIsNone(program.file())

    def test_closing_cancels_what_holds_the_worker_and_ends_with_it(self):
        """Wine does not end a write on a serial port that is cancelled from another thread, so this shows that it is, again and
        again, and that the program ends once the line goes on."""
        program = self.prepare()
        program.prefix.environment["WINEDEBUG"] = "+file"
        program.start()
        self.wait_values()
        termios.tcflow(self.peer.far_end, termios.TCOOFF)
        exchanges = 0
        while exchanges != len(self.peer.requests):  # the next request does not leave
            exchanges = len(self.peer.requests)
            time.sleep(3)
        program.ask("post", CANCEL)
        pressed = time.monotonic()
        program.wait_until(lambda: self.cancellations() >= 10, "cancelled calls")
        self.assertGreater(time.monotonic() - pressed, 4)  # what an exchange and leaving may take comes first
        self.assertIsNone(program.program.poll())
        termios.tcflow(self.peer.far_end, termios.TCOON)
        self.assertEqual(program.program.wait(program_session.PATIENCE), 0)

    def cancellations(self):
        return (self.program.prefix.folder / "wine.log").read_bytes().count(b"NtCancelSynchronousIoFile")

    def test_keyboard_and_close_button_accept_and_refuse(self):
        for words, written in ((("key", 0x1B), False), (("key", 0x0D), True), (("close",), False)):
            with self.subTest(words):
                program = self.begin("K")
                program.ask(*words)
                self.assertEqual(program.program.wait(program_session.PATIENCE), 0)
                self.assertEqual(program.file() is not None, written)


class Outputs(SerialSession):
    def test_serial_output_sends_each_refresh(self):
        listener = self.begin_with_listener(language="de")
        self.program.wait_until(lambda: listener.read().count(b"END\n\r") >= 2, "two blocks of output")
        self.assertEqual(listener.received.split(b"END\n\r")[0], b"".join(line + b"\n\r" for line in (
            b"NELTO", b"00000101:001=183", b"00000102:001=20.9", b"00000901:130=20.9", b"00000902:131=12",
            b"00000B01:130=", b"00000301:024=-0.125", b"00000777:033=1.5000", b"0000FF01:001=70", b"0000FF02:099=2",
            b"0000FF03:099=3", b"0000FF04:099=1", b"0000FF06:099=NEIN")))

    def test_port_of_a_wrong_registry_type_is_port_one(self):
        listener = SerialListener()
        self.addCleanup(listener.close)
        program = self.begin(settings={"EnableRS232": 1, "RS232Port": "7"})  # as long as a number
        program.prefix.connect_port(1, listener.path)
        program.wait_until(lambda: b"END\n\r" in listener.read(), "output on COM1")

    def test_trace_logs(self):
        program = self.begin()
        self.leave_with_ok()
        stamped = rb"\d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d "
        self.assertRegex(program.file("NeltoStackWatcherProtocol.txt"), rb"\A" + stamped + rb"=== Start ===\r\n\Z")
        base = program.file("Nelto780Base.txt")
        self.assertRegex(base, rb"\A(" + stamped + rb"[^\r\n]+\r\n)+\Z")
        ident = build_block(0x12, 0, 1, b"\x42").hex(" ").upper().encode()
        self.assertIn(b"NeltoRS232Open uPort = 5, COM5\r\n", program.file("ZIVNelto780.txt"))
        self.assertIn(b"\r\nTimeout 3000 msec\r\nSEND: " + ident + b" \r\nRECV: 21 00 00 00 01 09 00 42 00 00 54 37 38 30 01 ",
                      program.file("ZIVNelto780.txt"))
