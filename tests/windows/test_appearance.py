"""How the dialogs look and how they are used without a mouse: texts that fit, pictures, colours, keyboard, quiet painting."""

import re
import string

import harness
from link_session import AVAILABLE, BROKEN, INVALID, SEARCHING
from pixels import MAGENTA, picture, place
from program_session import (BLUETOOTH, BLUETOOTH_PORT, CANCEL, CAPTION, CONNECTION, COURSE_CAPTION, COURSE_COMMAND, COURSE_HINT,
                             COURSE_LIST, COURSE_PLOT, COURSE_SPAN, DEVICE_BOX, HEATING_CHECK, HEAT_CARRIER, HELP, IRDA, LIST,
                             OIL_DERIVATIVE, OK, PATIENCE, RS232, RS232_PORT, SETTINGS, SETTINGS_CAPTION, SMOKE, STATUS, USB)
from test_session import SerialSession

READING = {"en": "Reading measure values", "de": "Lese Messwerte"}
COMMUNICATION_BOX, LARGE_PICTURE, SMALL_PICTURE = 550, 540, 541
GROUP_BOX, BUTTON_KIND = 7, 0xF
WS_HSCROLL, WS_VSCROLL = 0x100000, 0x200000
MANY_CHANNELS = [(0x0200 + i, 136, 252, -9999.5, f"channel {i}") for i in range(24)]

# Pixels at 100 %: what a control takes beside its text, a field its arrows too.
GROUP_MARGIN, CELL_MARGIN, FIELD_MARGIN = 2 * 9, 2 * 6, 2 * 4 + 17

# The longest texts that a control may come to show, beside the ones that it shows.
LONGEST = {
    DEVICE_BOX: ["nelto 780-2 HD", "nelto 780-255"], CONNECTION: ["Bluetooth COM255"], HEAT_CARRIER: ["999.9"],
    COURSE_SPAN: ["120 min"], COURSE_HINT: ["Sechs Verläufe sind zu sehen: erst einen abwählen."],
    BLUETOOTH_PORT: ["255"], RS232_PORT: ["255"], OIL_DERIVATIVE: ["NEIN", "YES"], **{field: ["10.0"] for field in SMOKE}}
VALUES, UNITS = ["-1234.567", "01234567", "NEIN"], ["mg/kWh", "mg/m³", "m/sec", "Unit 207"]

# Each field and the label that a screen reader names it by: the text that comes before it.
NAMED_BY = {LIST: 501, SMOKE[0]: 530, SMOKE[1]: 531, SMOKE[2]: 532, OIL_DERIVATIVE: 533, HEAT_CARRIER: 534,
            BLUETOOTH_PORT: 564, RS232_PORT: 571}

TAB, ENTER, SHIFT, ALT, ESCAPE, SPACE, UP, DOWN = 0x09, 0x0D, 0x10, 0x12, 0x1B, 0x20, 0x26, 0x28

DESKTOP, OWN_KEY = r"Control Panel\Desktop", r"Software\Nelto\NeltoStackWatcher"
THEME = r"Software\Microsoft\Windows\CurrentVersion\ThemeManager"
BLACK_THEME = {
    THEME: {"ThemeActive": "0"},
    r"Control Panel\Colors":
        dict.fromkeys(("ButtonFace", "ButtonLight", "ButtonHilight", "ButtonShadow", "Window", "Scrollbar"), "0 0 0")
        | dict.fromkeys(("ButtonText", "WindowText", "WindowFrame", "ButtonDkShadow"), "255 255 255")}


def middle(rect):
    return [rect[axis] + rect[axis + 2] / 2 for axis in (0, 1)]


class Appearance(SerialSession):
    def width(self, text):
        return self.program.ask("measure", text)

    def needed_size(self, control, scaling):
        """The smallest that the control must be for the texts that it shows or may come to show."""
        kind = control["class"]
        if kind == "Button" and control["style"] & BUTTON_KIND != GROUP_BOX:
            return self.program.ask("ideal", control["id"])
        margin = {"Button": GROUP_MARGIN, "Edit": FIELD_MARGIN, "ComboBox": FIELD_MARGIN}.get(kind, 0) * scaling // 100
        return max(map(self.width, [control["text"], *LONGEST.get(control["id"], [])])) + margin, 0

    def assert_texts_fit(self, scaling):
        unit = (self.width(string.ascii_letters) // 26 + 1) // 2  # of the dialog's grid: the texts are measured in its font
        self.assertAlmostEqual(self.program.state(COMMUNICATION_BOX)["rect"][2], 150 * unit / 4, delta=1)
        self.assert_controls_fit(scaling)

    def assert_controls_fit(self, scaling, left_out=STATUS):
        for control in self.program.ask("controls"):
            if control["visible"] and control["id"] != left_out:
                for needed, given in zip(self.needed_size(control, scaling), control["rect"][2:]):
                    self.assertLessEqual(needed, given, control)

    def lines(self, text, width):
        """How many lines the text takes where it is wrapped between words."""
        count, line = 1, ""
        for word in text.split():
            self.assertLessEqual(self.width(word), width, text)
            longer = f"{line} {word}".strip()
            count, line = (count, longer) if self.width(longer) <= width else (count + 1, word)
        return count

    def assert_status_fits(self, language):
        """Two lines at most, and the one that is shown now lies whole beside its picture."""
        program = self.program
        (left, top, width, height), (*_, line), small = (program.state(each)["rect"] for each in (STATUS, CONNECTION, SMALL_PICTURE))
        for texts in (SEARCHING, READING, AVAILABLE, BROKEN, INVALID):
            self.assertLessEqual(self.lines(texts[language], width), 2, texts)
        self.assertGreaterEqual(height, self.lines(program.text(STATUS), width) * line)
        self.assertTrue(small[1] <= top and top + height <= small[1] + small[3] and left >= small[0] + small[2])

    def assert_list_fits(self, scaling, control, cells):
        """Titles, numbers and units are shown whole, and a vertical scroll bar does not bring a horizontal one with it."""
        listed = self.program.ask("items", control)
        for title, width, texts in zip(listed["columns"], listed["widths"], cells, strict=True):
            for text in [title, *texts]:
                self.assertLessEqual(self.width(text) + CELL_MARGIN * scaling // 100, width, text)
        style = self.program.state(control)["style"]
        self.assertEqual(style & (WS_HSCROLL | WS_VSCROLL), WS_VSCROLL if listed["rows"] else 0)

    def assert_course_fits(self, scaling, language):
        program = self.program
        program.ask("command", COURSE_COMMAND)
        program.window(COURSE_CAPTION[language])
        self.assert_controls_fit(scaling, COURSE_PLOT)  # its text is for screen readers
        self.assert_list_fits(scaling, COURSE_LIST, 7 * [VALUES + UNITS])
        program.ask("close")
        program.window(CAPTION)

    def assert_pictures(self, scaling, large, small, background=None):
        """The set drawn for the scaling is shown, both pictures in the middle of their places and nothing of the magenta."""
        self.program.ask("activate")
        pictures = [picture(number, scaling) for number in (large, small)]

        def places():
            self.seen = harness.look()
            found = [place(self.seen, image) for image in pictures]
            return None not in found and found
        found = self.program.wait_until(places, f"the pictures {large} and {small} for {scaling} %")
        offsets = []
        for area, image, (left, top) in zip((LARGE_PICTURE, SMALL_PICTURE), pictures, found):
            centre = middle(self.program.state(area)["rect"])
            offsets.append([a - b for a, b in zip(middle((left, top, image.width, image.height)), centre)])
            for y in range(image.height if background else 0):
                row, under = image.row(y), self.seen.row(top + y, left, image.width)
                seen_through = {under[i:i + 3] for i in range(0, len(row), 3) if row[i:i + 3] == MAGENTA}
                self.assertLessEqual(seen_through, {background})
        for large_offset, small_offset in zip(*offsets):
            self.assertAlmostEqual(large_offset, small_offset, delta=1)
        self.assertNotIn(3 * MAGENTA, self.seen.bytes)

    def test_everything_fits_at_every_scaling_in_both_languages(self):
        program = self.prepare(channels=MANY_CHANNELS)
        self.analyser.texts |= {100 + i: channel[4] for i, channel in enumerate(MANY_CHANNELS)}
        for scaling in (100, 125, 150, 200):
            for language, link, status, pictures in (("en", 0, SEARCHING, (201, 210)), ("de", 5, AVAILABLE, (200, 212))):
                with self.subTest(scaling=scaling, language=language):
                    program.restart(language, {DESKTOP: {"LogPixels": 96 * scaling // 100}, OWN_KEY: {"Communication": link}})
                    program.wait_status(status[language])
                    program.wait_until(lambda: status is SEARCHING or program.rows(), "the rows of the list")
                    self.assert_texts_fit(scaling)
                    self.assert_status_fits(language)
                    self.assert_list_fits(scaling, LIST, [[], VALUES, UNITS])
                    self.assert_pictures(scaling, *pictures)
                    program.open_settings()
                    self.assert_texts_fit(scaling)
                    program.close_settings(CANCEL)
                    self.assert_course_fits(scaling, language)

    def test_black_theme_and_a_status_of_two_lines(self):
        self.prepare(zero_flag=0)
        self.program.restart("en", BLACK_THEME | {DESKTOP: {"LogPixels": 120}})
        self.program.wait_status(INVALID["en"])
        self.assert_status_fits("en")
        self.assert_pictures(125, 200, 214, background=b"\0\0\0")
        dark = self.seen.bytes.count(b"\0\0\0")
        self.assertGreater(3 * dark, 0.8 * len(self.seen.bytes))  # but for texts, lines and pictures

    def test_a_change_of_the_scaling_fits_the_columns_anew(self):
        """Wine has one scaling for all screens, so the dialog manager's part is done by hand."""
        program = self.begin()
        for width in (600, 330):
            program.ask("rescale", LIST, width)
            program.wait_until(lambda: program.ask("items", LIST)["widths"] == 3 * [width // 3 - 8], f"columns of a list of {width}")

    def test_unchanged_values_paint_nothing(self):
        program = self.prepare()
        program.prefix.environment["WINEDEBUG"] = "+message"  # of the program only: the driver runs already
        program.start()
        self.wait_values()
        self.wait_row(["Oilder", "NO", ""])
        log = program.prefix.folder / "wine.log"

        def drawn_until(condition):
            start = log.stat().st_size
            program.wait_until(lambda: condition(log.read_bytes()[start:]), "the next refreshes")
            trace = log.read_bytes()[start:]
            return re.findall(rb"\b(WM_PAINT|WM_ERASEBKGND|WM_SETTEXT|LVM_SETITEMTEXTW) (?:dispatched|sent)", trace)

        def drawn_in(refreshes):
            return drawn_until(lambda trace: trace.count(b"WM_TIMER dispatched") >= refreshes)
        program.wait_until(lambda: drawn_in(2) == [], "the end of what the last values draw")
        self.assertEqual(drawn_in(10), [])
        self.analyser.channels[3] = (0x0902, 131, 0, 4711.0, "CO")
        drawn = drawn_until(lambda _: ["CO", "4711", "ppm"] in program.rows())
        self.assertEqual(drawn.count(b"LVM_SETITEMTEXTW"), 1)


class KeyboardSession(SerialSession):
    def walk(self, key, *controls):
        for control in controls:
            self.program.ask("press", *key)
            self.program.wait_until(lambda: self.program.ask("focus") == control, f"the focus on {control} after {key}")


class Keyboard(KeyboardSession):
    def press_until(self, key, condition):
        self.program.ask("press", key)
        self.program.wait_until(condition, f"the effect of key {key:#x}")

    def assert_names(self, fields):
        """Screen readers take the last visible text or frame before a field for its name."""
        label, names = None, {}
        for control in self.program.ask("controls"):
            if control["visible"] and (control["class"] == "Static" or control["style"] & BUTTON_KIND == GROUP_BOX):
                label = control["id"]
            names[control["id"]] = label
        self.assertEqual({field: names[field] for field in fields}, {field: NAMED_BY[field] for field in fields})

    def test_main_dialog(self):
        program = self.begin(zero_flag=0, wait=False)
        program.wait_status(INVALID["en"])
        program.ask("activate")
        self.assert_names([LIST, *SMOKE, OIL_DERIVATIVE, HEAT_CARRIER])
        self.walk([TAB], SETTINGS, HELP, CANCEL, LIST)
        self.walk([SHIFT, TAB], CANCEL)
        self.walk([TAB], LIST)
        program.ask("press", ENTER)  # nothing yet: OK is disabled
        self.analyser.zero_flag = 1
        self.wait_values()
        program.wait_until(lambda: program.ask("focus") == OK and program.enabled(HEAT_CARRIER), "the focus on OK")
        self.walk([TAB], CANCEL, LIST, *SMOKE, OIL_DERIVATIVE)
        self.press_until(UP, lambda: program.text(OIL_DERIVATIVE) == "-")
        program.ask("press", ALT, DOWN)
        program.wait_until(lambda: program.ask("combo", OIL_DERIVATIVE)["dropped"], "the open list")
        self.press_until(ESCAPE, lambda: not program.ask("combo", OIL_DERIVATIVE)["dropped"])
        self.walk([TAB], HEAT_CARRIER)
        self.press_until(UP, lambda: program.text(HEAT_CARRIER) == "71")
        self.walk([TAB], SETTINGS, HELP, OK)
        self.assertIsNone(program.file())
        program.ask("press", ENTER)
        self.assertEqual(program.program.wait(PATIENCE), 0)
        self.assertIn(b"1401=71.0", program.file())

    def test_settings_dialog(self):
        program = self.begin(wait=False)
        program.ask("activate")
        self.walk([TAB], SETTINGS)
        program.ask("press", SPACE)
        program.window(SETTINGS_CAPTION)
        program.wait_until(lambda: program.ask("focus") == BLUETOOTH, "the focus on the chosen link")
        self.assert_names([BLUETOOTH_PORT, RS232_PORT])
        self.walk([TAB], BLUETOOTH_PORT)
        self.press_until(UP, lambda: program.text(BLUETOOTH_PORT) == "6")
        self.walk([TAB], HEATING_CHECK, RS232)
        self.press_until(SPACE, lambda: program.enabled(RS232_PORT))
        self.walk([TAB], RS232_PORT, OK, CANCEL, BLUETOOTH)
        self.walk([DOWN], USB, IRDA)
        self.walk([UP], USB, BLUETOOTH, IRDA)
        self.assertFalse(program.enabled(BLUETOOTH_PORT))
        self.walk([TAB], HEATING_CHECK)
        program.ask("press", ENTER)  # OK from any field
        program.window(CAPTION)
        program.wait_until(lambda: program.ask("regget", "Communication") == 1000, "the stored link")
        program.ask("press", ESCAPE)
        self.assertEqual(program.program.wait(PATIENCE), 0)
