"""The shipped program with analysers of generation 2010: the simulated instrument libraries lie beside it."""

import harness
import program_session
import wine_env
from drop_in_generation2010 import Instrument, scenario_of
from link_session import NOBODY_ON_USB, LinkSession
from pixels import picture, place
from program_session import CANCEL, DEVICE_BOX, OK

# By instrument kind: the instrument name and the number of its picture.
KINDS = {711: ("nelto 710", 205), 745: ("nelto 745", 200), 746: ("nelto 780-0", 200), 752: ("nelto 752", 204),
         760: ("nelto 760", 203), 781: ("nelto 780-5", 202)}


class Session2010(LinkSession):
    def prepare(self, libraries=None, **options):
        self.program = self.session(**options)
        self.instrument = Instrument(self.program.prefix, libraries)

    def begin(self, scenario, *arguments):
        self.instrument.set_up(scenario)
        self.program.start(*arguments, program=self.instrument.program)


class EveryKind(Session2010):
    def test_values_name_and_picture(self):
        self.prepare()
        for kind, (name, number) in KINDS.items():
            with self.subTest(kind):
                self.begin(scenario_of(kind))
                rows = self.wait_values()
                self.assertAlmostEqual(float(rows["O2"][0]), 4.2, delta=0.6)
                self.assertEqual(rows["T-Dew"], ["-", "°C"])
                self.assertEqual([rows[label][0] for label in ("Fuel", "Version", "Device")], ["Heating oil EL", "2.15", name])
                self.assertEqual("SmokeP" in rows, kind != 752)
                self.assertEqual(self.program.text(DEVICE_BOX), name)
                self.program.ask("activate")
                self.program.wait_until(lambda: place(harness.look(), picture(number)), f"picture {number}")
                self.assertEqual(self.program.leave(OK), 0)
                self.assertLessEqual({b"9200=45100123", b"6420=1"}, set(self.program.file().splitlines()))
                self.assertEqual("CNelto780Base2010::WakeUp" in self.base_log(), kind == 760)

    def test_german_names_and_the_chosen_fuel(self):
        self.prepare(language="de")
        self.begin(scenario_of(745), "JOB17", "6420=2")
        rows = self.wait_values("de")
        self.assertIn("lambda", rows)
        self.assertEqual(rows["T links"][0], "31,5")
        self.assertEqual(rows["Brennstoff"][0], "Natural gas")
        self.assertEqual(self.program.leave(OK), 0)
        self.assertIn(b"6420=2\r\n", self.program.file())


class Libraries(Session2010):
    def test_searching_without_any_library_does_not_grow(self):
        self.prepare({})
        self.begin("")
        seen = set()  # each search begins its log anew, with a stamp

        def wait_searches(searches):
            self.program.wait_until(lambda: seen.add(self.base_log()[:19]) or len(seen) >= searches, f"{searches} searches")
            self.wait_logged(NOBODY_ON_USB)
        self.assert_searches_leave_nothing(wait_searches)
        self.program.leave(CANCEL)


class Faults(Session2010):
    def test_unplugging_leads_back_to_values_and_leaves_nothing_behind(self):
        self.prepare()
        self.begin(scenario_of(760))
        self.wait_values()
        self.assert_rounds_leave_nothing(self.instrument.unplug, self.instrument.plug_in)
        self.assertEqual(self.program.leave(OK), 0)
        self.assertEqual(self.instrument.events()[-1], "NELTO760SPI_Close")
        self.assertEqual(self.instrument.count("NELTOEMUSB_OpenBySerialNumber"), self.instrument.count("NELTO760SPI_Close"))


class SerialPort(Session2010):
    def test_the_libraries_take_the_com_port_over(self):
        self.prepare(settings={"Communication": 5})
        cable = wine_env.SerialCable(self.program.prefix, 5, 6)
        self.addCleanup(cable.close)
        self.program.prefix.start(program_session.SIMULATOR, "--port", "COM6", "--ident", "745")
        self.begin(scenario_of(745) + "devices 37 0\nerror NELTO760SPI_GetCurrentViewValues 34 from 4 to 4")
        # The second pipe comes once the first one has let the port go.
        self.program.wait_until(lambda: self.instrument.count("NELTORS232_OpenBluetoothFromPipe") == 2, "the second pipe")
        self.wait_logged("done reading online configuration")
        self.assertEqual(self.wait_values()["Device"][0], "nelto 745")
        self.assertEqual(self.program.leave(OK), 0)
        self.assertNotIn("Connection closed (USB", self.base_log())
