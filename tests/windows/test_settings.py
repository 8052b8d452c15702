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

    def test_texts_in_both_languages(self):
        for language, texts in {
            "en": ["Communication type", "Fine draught probe", "Serial Output", "Read values of heating check", "Output via RS232", "Cancel"],
            "de": ["Verbindungsart", "Feinstdrucksonde", "Serielle Ausgabe", "Lese Werte für Heizungs-Check", "Ausgabe über RS232", "Abbrechen"],
        }.items():
            with self.subTest(language):
                program = self.begin(language)
                self.assertEqual([program.text(control) for control in (550, 551, 552, HEATING_CHECK, RS232, CANCEL)], texts)

    def test_link_and_port_are_stored_as_chosen_and_typed(self):
        program = self.begin(Communication=9)
        self.assert_shown(BLUETOOTH, "9", True)
        for link, typed, stored, shown in ((IRDA, None, 1000, (IRDA, "1", False)), (BLUETOOTH, "", 0, (USB, "1", False)),
                                           (BLUETOOTH, "300", 300, None), (BLUETOOTH, "abc", 0, (USB, "1", False)),
                                           (BLUETOOTH, "12", 12, (BLUETOOTH, "12", True))):
            with self.subTest(link=link, typed=typed):
                program.ask("click", link)
                self.assertEqual(program.enabled(BLUETOOTH_PORT), link == BLUETOOTH)
                if typed is not None:
                    program.ask("settext", BLUETOOTH_PORT, typed)
                self.reopen(OK)
                self.assertEqual(self.stored("Communication"), stored)
                if shown:
                    self.assert_shown(*shown)
        program.close_settings(OK)
        program.wait_until(lambda: program.text(CONNECTION) == "Bluetooth COM12", "the connection text")

    def test_serial_output_switch_is_stored_at_once_and_survives_cancel(self):
        program = self.begin(RS232Port=7)
        self.assert_shown(USB, "1", False)
        self.assertEqual([program.state(box)["checked"] for box in (HEATING_CHECK, RS232)], [False, False])
        self.assertEqual((program.text(RS232_PORT), program.enabled(RS232_PORT)), ("7", False))
        program.ask("click", RS232)
        self.assertEqual(self.stored("EnableRS232"), 1)
        self.assertTrue(program.enabled(RS232_PORT))
        program.ask("settext", RS232_PORT, 8)
        program.ask("click", HEATING_CHECK)
        self.reopen(CANCEL)
        self.assertEqual([program.state(box)["checked"] for box in (RS232, HEATING_CHECK)], [True, False])
        self.assertEqual((self.stored("EnableRS232"), self.stored("RS232Port")), (1, 7))
        # OK stores everything, even the port while the output is off.
        program.ask("settext", RS232_PORT, 8)
        for box in (RS232, HEATING_CHECK):
            program.ask("click", box)
        program.close_settings(OK)
        self.assertEqual([self.stored(name) for name in ("Communication", "HeatingCheck", "EnableRS232", "RS232Port")], [0, 1, 0, 8])
