"""The shipped program over USB with the simulated D2XX library, and the exported functions as other programs call them."""

import re
import shutil
import subprocess

import drop_in_d2xx
import harness
import program_session
import wine_env
from drop_in_d2xx import NEW, OLD
from link_session import NOBODY_ON_USB, LinkSession
from program_session import CONNECTION, OK

USB_FOLDER = program_session.DIST / "NeltoUSB" / {"x64": "", "x86": "x86"}[program_session.ARCH]


class UsbSession(LinkSession):
    def begin(self, version=NEW, setup="", scenario=None, beside=None, **settings):
        """`beside`: version of a copy of the library in the program's own folder; then the setup is that one's, and the
        installed copy has nothing attached."""
        self.program = self.session(settings=settings)
        self.driver = drop_in_d2xx.Driver(self.program.prefix, version)
        self.driver.set_up("nothing" if beside else setup, scenario)
        folder = self.program.prefix.folder / "drive_c/NeltoStackWatcher"
        shutil.copytree(program_session.PROGRAM.parent, folder)
        if beside:
            shutil.copy(drop_in_d2xx.LIBRARIES / beside / "FTD2XX.DLL", folder)
            (folder / "usb.txt").write_text(setup)
        self.program.start(program=folder / program_session.PROGRAM.name)
        return self.program


class Values(UsbSession):
    def assert_session(self):
        rows = self.wait_values()
        self.assertEqual(self.program.text(CONNECTION), "USB")
        self.assertAlmostEqual(float(rows["O2"][0]), 4.2, delta=0.6)
        self.assertEqual(rows["SerNo"][0], "40712345")
        self.assertEqual(self.program.leave(OK), 0)
        self.assertIn(b"9200=40712345\r\n", self.program.file())
        self.assertIn("Instrument nelto 780 (2004)/nelto 790 opened (via USB)", self.base_log())
        self.assertIn("Connection closed (USB to nelto 780 2004)", self.base_log())

    def test_old_driver_and_foreign_converters(self):
        self.begin(OLD, """
            converter vendor 0x0403 type 2      serial "A7001"
            converter vendor 0x0403 type 0x6001 serial "A7002"
            converter type 9                    serial "1"
            converter type 2                    serial "not-a-number"
        """)
        self.assert_session()

    def test_packets_in_single_bytes_and_the_second_device_type(self):
        self.begin(NEW, 'converter type 16 serial "7"\npieces 1\npayload 50')
        self.assert_session()

    def test_signals_that_come_before_their_bytes(self):
        self.begin(setup="early_signal 20")
        self.assert_session()

    def test_the_library_beside_the_program_is_the_loaded_one_and_the_systems_version_counts(self):
        # FT_GetDeviceInfo would fail: by the installed copy's version it is not called.
        self.begin(OLD, "status FT_GetDeviceInfo 4", beside=NEW)
        self.assert_session()


class Unplugging(UsbSession):
    def test_the_values_come_back_and_nothing_is_left_behind(self):
        self.begin()
        self.wait_values()
        self.assert_rounds_leave_nothing(self.driver.unplug, self.driver.plug_in)
        self.assertEqual(self.program.leave(OK), 0)

    def test_without_an_analyser_the_search_goes_on_until_one_is_plugged_in(self):
        self.begin(setup='converter type 2 serial "7"\nconverter vendor 0x0403 type 2 serial "8"')
        self.driver.unplug()
        self.wait_logged(NOBODY_ON_USB)
        self.driver.plug_in()
        self.wait_values()


class OtherPrograms(harness.WindowsTestCase):
    """The C sample and careless calls against NeltoUSB.dll."""

    # Setup, scenario, arguments of the sample, its exit code and last line.
    CODES = (
        ("", None, ["list"], 0, "type 2 serial 40712345"),
        ("", None, ["talk"], 0, "reply 00 42 00 00 54 37 38 30 01"),
        ("", None, ["talk", "3"], 1, "NeltoUSBOpen: 1 "),
        ('converter serial "5" told_serial "6"', None, ["list"], 0, "type 2 serial 6"),
        ('converter scenario "790.txt"', None, ["talk"], 0, "reply 00 42 00 00 54 37 39 30 01"),
        ('converter unplugged 0 1000', None, ["talk"], 5, "NeltoUSBOpen: 5 "),
        ("nothing", None, ["talk"], 5, "NeltoUSBOpen: 5 "),
        ("nothing", None, ["list"], 0, ""),
        ('\ufeffconverter serial "5"', None, ["list"], 0, "type 2 serial 5"),
        ("trickle 20", None, ["talk"], 0, "reply 00 42 00 00 54 37 38 30 01"),
        ("payload 4", "fault unasked 100", ["talk"], 0, "reply 00 42 00 00 54 37 38 30 01"),
        ("latency 5000", None, ["talk"], 6, "NeltoUSBTransceive: 6 "),
        ("early_signal 20", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("status FT_Write 4", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("short_write", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("short_read", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("empty_queue", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("", "fault silence", ["talk"], 6, "NeltoUSBTransceive: 6 "),
        ("", "fault wrong_length", ["talk"], 6, "NeltoUSBTransceive: 6 "),
        ("", "fault lost_byte 7", ["talk"], 6, "NeltoUSBTransceive: 6 "),
        ("", "fault bad_index 1", ["talk"], 8, "NeltoUSBTransceive: 8 "),
        ("", "fault flip_bit 0", ["talk"], 7, "NeltoUSBTransceive: 7 "),
        ("", "fault flip_bit 60", ["talk"], 8, "NeltoUSBTransceive: 8 "),
        ("", "fault wrong_ack", ["talk", "2", "85" * 101], 8, "NeltoUSBTransceive: 8 "),
        ("", "fault long_answer 5000", ["talk"], 9, "NeltoUSBTransceive: 9 "),
        ("status FT_ListDevices 7", None, ["list"], 100, "NeltoUSBGetDevices: 1007 "),
        ("status FT_ListDevices 7 from 2", None, ["list"], 100, "NeltoUSBGetDevices: 2007 "),
        ("status FT_OpenEx 3", None, ["list"], 100, "NeltoUSBGetDevices: 3003 "),
        ("status FT_GetDeviceInfo 18", None, ["list"], 100, "NeltoUSBGetDevices: 5018 "),
        ("status FT_OpenEx 3", None, ["talk"], 3, "NeltoUSBOpen: 3 "),
        ("status FT_Close 3", None, ["talk"], 3, "NeltoUSBClose: 3 "),
    )

    ARGUMENTS = """
        list two of three: 0 2         behind the room: 0 EEEEEEEE    list no room: 0 0       list null array: 0 0
        list null count: 0 3           list nulls: 0 0                list wrong type: 1 0    open wrong type: 1 0
        open null: 4 0                 open: 0 1                      null request: 8 0       no request: 8 0
        null reply: 9 0                short reply: 9 0               behind the reply: 0 0   null length: 0 54
        exact room: 0 9                time-out: 0 0                  close: 0 0              transceive null link: 4 0
        transceive nulls: 4 0          close null link: 4 0           time-out null link: 4 0
        loaded and unloaded: 0 0
    """

    def setUp(self):
        self.prefix = wine_env.Prefix()
        self.addCleanup(self.prefix.close)
        self.folder = self.prefix.folder / "drive_c/client"
        self.folder.mkdir()
        built = program_session.DRIVER.parent
        for file in (USB_FOLDER / "NeltoUSB.dll", USB_FOLDER / "usb_client.exe", built / "usb_client_lld.exe", built / "usb_arguments.exe"):
            shutil.copy(file, self.folder)

    def run_client(self, *arguments, program="usb_client.exe"):
        """The exit code and the last line of what it prints."""
        with self.prefix.start(self.folder / program, *arguments, stdout=subprocess.PIPE) as process:
            output = process.communicate(timeout=program_session.PATIENCE)[0].decode()
        return process.returncode, output.replace("\r\n", "\n")

    def last_line(self, *arguments, **options):
        code, output = self.run_client(*arguments, **options)
        return code, output.rstrip("\n").rpartition("\n")[2]

    def test_each_result_code_for_its_cause(self):
        self.assertEqual(self.last_line("list")[0], 2)  # no driver installed
        driver = drop_in_d2xx.Driver(self.prefix, NEW)
        (driver.folder / "790.txt").write_text("ident 790")
        for setup, scenario, arguments, code, line in self.CODES:
            with self.subTest(setup=setup, scenario=scenario, arguments=arguments[:2]):
                (driver.folder / "scenario.txt").unlink(missing_ok=True)
                driver.set_up(setup, scenario)
                found = self.last_line(*arguments)
                self.assertEqual(found[0], code, found)
                self.assertTrue(found[1].startswith(line), found)
        driver.install(OLD)
        driver.set_up("status FT_EE_Read 15")
        self.assertEqual(self.last_line("list")[1].split(" (")[0], "NeltoUSBGetDevices: 4015")

    def test_the_sample_through_the_import_library_of_other_linkers(self):
        drop_in_d2xx.Driver(self.prefix, NEW).set_up()
        for _, _, arguments, code, line in self.CODES[:3]:
            with self.subTest(arguments):
                found = self.last_line(*arguments, program="usb_client_lld.exe")
                self.assertEqual((found[0], found[1][:len(line)]), (code, line))

    def test_careless_calls(self):
        driver = drop_in_d2xx.Driver(self.prefix, NEW)
        driver.set_up("\n".join(f'converter type 2 serial "{serial}"' for serial in (1, 2, 3)))
        shutil.copy(USB_FOLDER / "NeltoUSB.dll", self.folder / "Copy.dll")
        code, output = self.run_client(program="usb_arguments.exe")
        self.assertEqual(code, 0)
        self.assertEqual(output.splitlines(), re.split(r"\s{2,}", self.ARGUMENTS.strip()))
