"""The shipped program over USB with the simulated D2XX library, and the exported functions as other programs call them."""

import shutil
import subprocess

import drop_in_d2xx
import harness
import program_session
import wine_env
from drop_in_d2xx import NEW, OLD
from link_session import LinkSession
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

    def test_values_through_every_driver(self):
        foreign = """
            converter vendor 0x0403 type 2      serial "A7001"
            converter vendor 0x0403 type 0x6001 serial "A7002"
            converter type 9                    serial "1"
            converter type 2                    serial "not-a-number"
        """
        for options in (
            {"version": OLD, "setup": foreign},
            {"setup": 'converter type 16 serial "7"\npieces 1\npayload 50'},
            {"setup": "early_signal 20"},
            # FT_GetDeviceInfo would fail: by the installed copy's version, which counts, it is not called.
            {"version": OLD, "setup": "status FT_GetDeviceInfo 4", "beside": NEW},
        ):
            with self.subTest(**options):
                self.begin(**options)
                self.assert_session()

    def test_values_come_back_and_nothing_is_left_behind(self):
        self.begin()
        self.wait_values()
        self.assert_rounds_leave_nothing(self.driver.unplug, self.driver.plug_in)
        self.assertEqual(self.program.leave(OK), 0)


class OtherPrograms(harness.WindowsTestCase):
    """The C sample against NeltoUSB.dll."""

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
        ("payload 4", "fault unasked 100", ["talk"], 0, "reply 00 42 00 00 54 37 38 30 01"),
        ("short_write", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("short_read", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("empty_queue", None, ["talk"], 3, "NeltoUSBTransceive: 3 "),
        ("", "fault silence", ["talk"], 6, "NeltoUSBTransceive: 6 "),
        ("", "fault long_answer 5000", ["talk"], 9, "NeltoUSBTransceive: 9 "),
        ("status FT_OpenEx 3", None, ["list"], 100, "NeltoUSBGetDevices: 3003 "),
        ("status FT_Close 3", None, ["talk"], 3, "NeltoUSBClose: 3 "),
    )

    def setUp(self):
        self.prefix = wine_env.Prefix()
        self.addCleanup(self.prefix.close)
        self.folder = self.prefix.folder / "drive_c/client"
        self.folder.mkdir()
        built = program_session.DRIVER.parent
        for file in (USB_FOLDER / "NeltoUSB.dll", USB_FOLDER / "usb_client.exe", built / "usb_client_lld.exe", built / "usb_unloading.exe"):
            shutil.copy(file, self.folder)

    def run_client(self, *arguments, program="usb_client.exe"):
        """The exit code and the lines that it prints."""
        with self.prefix.start(self.folder / program, *arguments, stdout=subprocess.PIPE) as process:
            output = process.communicate(timeout=program_session.PATIENCE)[0].decode()
        return process.returncode, output.splitlines()

    def assert_ends(self, setup, scenario, arguments, code, beginning, **options):
        """With this exit code and this beginning of the last line."""
        with self.subTest(setup=setup, scenario=scenario, arguments=arguments[:2]):
            found, lines = self.run_client(*arguments, **options)
            self.assertEqual((found, "".join(lines[-1:])[:len(beginning)]), (code, beginning), lines)

    def test_result_codes_and_what_the_sample_says_of_them(self):
        self.assert_ends("", None, ["list"], 2, "")  # no driver installed
        driver = drop_in_d2xx.Driver(self.prefix, NEW)
        (driver.folder / "790.txt").write_text("ident 790")
        for row in self.CODES:
            (driver.folder / "scenario.txt").unlink(missing_ok=True)
            driver.set_up(*row[:2])
            self.assert_ends(*row)
        driver.install(OLD)
        driver.set_up("status FT_EE_Read 15")
        self.assert_ends("", None, ["list"], 100, "NeltoUSBGetDevices: 4015 ")

    def test_the_sample_through_the_import_library_of_other_linkers(self):
        drop_in_d2xx.Driver(self.prefix, NEW).set_up()
        for row in self.CODES[:3]:
            self.assert_ends(*row, program="usb_client_lld.exe")

    def test_unloading_leaves_nothing_behind(self):
        shutil.copy(USB_FOLDER / "NeltoUSB.dll", self.folder / "Copy.dll")
        self.assertEqual(self.run_client(program="usb_unloading.exe"), (0, []))
