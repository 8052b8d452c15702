"""The settings dialog: what it shows, what it stores, what takes effect."""

import harness
from program_session import (BLUETOOTH, BLUETOOTH_PORT, CANCEL, CONNECTION, HEATING_CHECK, IRDA, OK, RS232, RS232_PORT, USB)


class SettingsDialog(harness.WindowsTestCase):
    def begin(self, language="en", **settings):
        self.program = self.session(language=language, settings=settings).start()
        self.program.open_settings()
        return self.program

    def stored(self, name):
        return self.program.ask("regget", name)

    def assert_shown(self, checked, port, port_enabled):
        self.assertEqual([self.program.state(radio)["checked"] for radio in (USB, IRDA, BLUETOOTH)],
                         [radio == checked for radio in (USB, IRDA, BLUETOOTH)])
        self.assertEqual((self.program.text(BLUETOOTH_PORT), self.program.enabled(BLUETOOTH_PORT)), (port, port_enabled))

    def reopen(self, button):
        self.program.close_settings(button)
        self.program.open_settings()

    def test_first_start_shows_the_defaults(self):
        program = self.begin()
        self.assert_shown(USB, "1", False)
        self.assertFalse(program.state(HEATING_CHECK)["checked"])
        self.assertFalse(program.state(RS232)["checked"])
        self.assertEqual((program.text(RS232_PORT), program.enabled(RS232_PORT)), ("1", False))

    def test_texts_in_both_languages(self):
        for language, texts in {
            "en": ["Communication type", "Fine draught probe", "Serial Output", "Read values of heating check", "Output via RS232", "Cancel"],
            "de": ["Verbindungsart", "Feinstdrucksonde", "Serielle Ausgabe", "Lese Werte für Heizungs-Check", "Ausgabe über RS232", "Abbrechen"],
        }.items():
            with self.subTest(language):
                program = self.begin(language)
                self.assertEqual([program.text(control) for control in (550, 551, 552, HEATING_CHECK, RS232, CANCEL)], texts)

    def test_bluetooth_port_is_stored_shown_and_used(self):
        program = self.begin()
        program.ask("click", BLUETOOTH)
        self.assertTrue(program.enabled(BLUETOOTH_PORT))
        program.ask("settext", BLUETOOTH_PORT, 12)
        self.reopen(OK)
        self.assertEqual(self.stored("Communication"), 12)
        self.assert_shown(BLUETOOTH, "12", True)
        program.close_settings(OK)
        program.wait_until(lambda: program.text(CONNECTION) == "Bluetooth COM12", "the connection text")

    def test_irda_is_stored_as_1000(self):
        program = self.begin(Communication=9)
        self.assert_shown(BLUETOOTH, "9", True)
        program.ask("click", IRDA)
        self.assertFalse(program.enabled(BLUETOOTH_PORT))
        self.reopen(OK)
        self.assertEqual(self.stored("Communication"), 1000)
        self.assert_shown(IRDA, "1", False)

    def test_port_is_taken_as_typed(self):
        program = self.begin()
        for typed, stored in (("", 0), ("300", 300), ("abc", 0)):
            with self.subTest(typed):
                program.ask("click", BLUETOOTH)
                program.ask("settext", BLUETOOTH_PORT, typed)
                self.reopen(OK)
                self.assertEqual(self.stored("Communication"), stored)

    def test_serial_output_switch_is_stored_at_once_and_survives_cancel(self):
        program = self.begin(RS232Port=7)
        program.ask("click", RS232)
        self.assertEqual(self.stored("EnableRS232"), 1)
        self.assertTrue(program.enabled(RS232_PORT))
        program.ask("settext", RS232_PORT, 8)
        program.ask("click", HEATING_CHECK)
        self.reopen(CANCEL)
        self.assertTrue(program.state(RS232)["checked"])
        self.assertEqual((self.stored("EnableRS232"), self.stored("RS232Port")), (1, 7))
        self.assertFalse(program.state(HEATING_CHECK)["checked"])

    def test_ok_stores_everything_even_the_disabled_port(self):
        program = self.begin()
        program.ask("click", RS232)
        program.ask("settext", RS232_PORT, 8)
        program.ask("click", RS232)
        program.ask("click", HEATING_CHECK)
        program.close_settings(OK)
        self.assertEqual([self.stored(name) for name in ("Communication", "HeatingCheck", "EnableRS232", "RS232Port")], [0, 1, 0, 8])
