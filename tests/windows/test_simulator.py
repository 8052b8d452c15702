"""The program against the shipped simulator, both as a user starts them."""

import harness
import program_session
import wine_env

SCENARIOS = program_session.SIMULATOR.parent / "scenarios"


class SimulatedAnalyser(harness.WindowsTestCase):
    def begin(self, scenario, **settings):
        program = self.session(settings={"Communication": 5} | settings)
        cable = wine_env.SerialCable(program.prefix, 5, 6)
        self.addCleanup(cable.close)
        program.prefix.start(program_session.SIMULATOR, "--port", "COM6", "--scenario", SCENARIOS / scenario)
        program.start()
        program.wait_status("Measure values available")
        program.wait_until(program.rows, "the rows of the list")
        return program

    def test_heating_check_reaches_list_and_exchange_file(self):
        program = self.begin("heating-check.txt", HeatingCheck=1)
        rows = program.rows()
        for row in (["PointsFluegasLo", "4.5", ""], ["FT (HeatCheck)", "166.2", "°C"], ["Height", "120", "cm"], ["Power", "21.0", "kW"]):
            self.assertIn(row, rows)
        self.assertEqual([row[1] for row in rows if row[0] == "TempLeft"], ["31.5", "32.0"])
        self.assertEqual(program.leave(program_session.OK), 0)
        written = program.file().split(b"\r\n")
        for line in (b"9050263=4.5", b"9050273=166.2", b"8340=21.0", b"9050326=31.5", b"9050326=32.0", b"9000=nelto 780-2"):
            self.assertIn(line, written)
        self.assertFalse([line for line in written if line.startswith(b"9050264")])  # an entry without a value

    def test_790_is_driven_like_a_780(self):
        program = self.begin("790.txt")
        self.assertEqual(program.text(program_session.DEVICE_BOX), "nelto 780-3")
        self.assertIn(["Fuel", "Natural gas", ""], program.rows())
        self.assertEqual(program.leave(program_session.OK), 0)
        self.assertIn(b"9200=50100077\r\n", program.file())
