"""The course of the values: the menu of the list, the window with the plots, and the saved file."""

import re

from link_session import INVALID
from program_session import (CANCEL, CAPTION, COURSE_CAPTION, COURSE_CLOSE, COURSE_HINT, COURSE_LIST, COURSE_PLOT, COURSE_SAVE,
                             COURSE_SPAN, LIST, OK)
from test_appearance import DOWN, ENTER, ESCAPE, SHIFT, SPACE, TAB, UP, KeyboardSession

CONTROL, F10, LEFT = 0x11, 0x79, 0x25
SAVE_CAPTION, FILE_NAME, FILE_OK, ANSWER_YES = "Speichern als", 1148, 1, 6  # of the system's dialogs
SIX = [(0x0101, 1), (0x0901, 130), (0x0902, 131), (0x0301, 24), (0x0777, 33), (0xFF01, 1)]  # of seven and more channels


class Course(KeyboardSession):
    def press(self, *keys):
        self.program.ask("press", *keys)

    def copied(self, condition, what):
        return self.program.wait_until(lambda: condition(text := self.program.ask("clipboard") or "") and text, what)

    def open_course(self, language="en"):
        program = self.program
        program.ask("activate")
        program.ask("focus", LIST)
        self.press(CONTROL, ord("T"))
        program.window(COURSE_CAPTION[language])
        program.ask("activate")

    def plot(self, pattern):
        return self.program.wait_until(lambda: re.search(pattern, self.program.text(COURSE_PLOT)), f"{pattern} in the plot")

    def test_menu_and_keys_of_the_list(self):
        program = self.begin()
        program.ask("activate")
        program.ask("focus", LIST)
        self.wait_row(["Oilder", "NO", ""])
        self.press(CONTROL, ord("C"))
        everything = self.copied(lambda text: text.startswith("FT\t"), "all rows")
        self.assertEqual(everything.split("\r\n"), ["\t".join(row) for row in program.rows()] + [""])
        for keys in ((DOWN,), (SHIFT, F10), (DOWN,), (ENTER,)):
            self.press(*keys)
        self.assertEqual(self.copied(lambda text: text != everything, "the selected row"), "FT\t183\t°C\r\n")
        self.open_course()
        self.plot("^Course of values; FT$")

    def test_window_by_keyboard(self):
        chosen = {f"Course{part}{number}": key for number, keys in enumerate(SIX, 1) for part, key in zip(("Channel", "Unit"), keys)}
        program = self.begin(settings=chosen)
        self.open_course()
        self.plot("; FT; O2; CO; deltap; lambda; HCT$")
        listed = program.ask("items", COURSE_LIST)
        self.assertEqual(listed["columns"], ["Channel", "Now", "Mean 30 s", "Minimum", "Mean", "Maximum", "Unit"])
        self.assertEqual(listed["rows"][0], ["FT", "183", "-", "183", "183", "183", "°C"])

        def has_both():  # of two values within a second the later one is kept
            row = program.ask("items", COURSE_LIST)["rows"][0]
            self.analyser.channels[0] = (0x0101, 1, 0, 200.0 if row[1] == "183" else 183.0, "FT")
            return row[3::2] == ["183", "200"]
        program.wait_until(has_both, "the lowest and the highest value")
        self.walk([TAB], COURSE_PLOT, COURSE_LIST, COURSE_SAVE, COURSE_CLOSE, COURSE_SPAN, COURSE_PLOT)
        self.press(LEFT)
        self.plot(r"FT  (183|200) °C  \(\d\d:\d\d:\d\d\); O2  20.9 %")
        hint = program.text(COURSE_HINT)
        for key in (TAB, DOWN, DOWN, SPACE):  # the second channel would be the seventh
            self.press(key)
        program.wait_until(lambda: program.text(COURSE_HINT) != hint, "the word about six")
        for key in (UP, SPACE, DOWN, SPACE):
            self.press(key)
        self.plot("values; O2; CO; deltap; lambda; HCT; AT$")
        self.press(ESCAPE)
        program.window(CAPTION)
        program.wait_until(lambda: COURSE_CAPTION["en"] not in program.ask("windows"), "the end of the window")
        self.assertEqual([program.ask("regget", f"CourseChannel{number}") for number in (1, 6)], [0x0901, 0x0102])

    def test_a_window_in_front_keeps_the_focus_and_comes_back_as_it_was(self):
        program = self.begin(zero_flag=0, wait=False)
        program.wait_status(INVALID["en"])
        self.open_course()
        self.assertFalse(program.enabled(COURSE_SAVE))
        program.ask("select", COURSE_SPAN, 3)
        self.analyser.zero_flag = 1
        program.wait_until(lambda: program.enabled(COURSE_SAVE), "the first values")
        self.assertEqual(program.ask("focus"), COURSE_SPAN)
        program.window(CAPTION)
        self.assertTrue(program.enabled(OK))
        program.ask("activate")
        program.wait_until(lambda: program.ask("focus") == OK, "the focus on OK")
        self.assertEqual(program.leave(CANCEL), 0)
        stored = {name: program.ask("regget", "Course" + name) for name in ("Span", "Channel1", "Unit1", "Channel4", "Channel5")}
        self.assertEqual(stored, {"Span": 120, "Channel1": 0x0901, "Unit1": 130, "Channel4": 0x0301, "Channel5": 0})

    def save(self, path):
        program = self.program
        program.ask("post", COURSE_SAVE)
        program.window(SAVE_CAPTION)
        program.ask("settext", FILE_NAME, path)
        program.ask("post", FILE_OK)

    def test_saved_file(self):
        program = self.begin(language="de")
        self.open_course("de")
        self.plot("; O2; CO; FT; deltap$")
        target, path = program.temp / "verlauf.csv", program.ask("temp") + "verlauf.csv"
        self.save(path)
        program.wait_until(target.exists, "the file")
        header, first, *_ = target.read_bytes().decode("utf-8-sig").split("\r\n")
        self.assertTrue(header.startswith('time;"FT [°C]";"AT [°C]";"O2 [%]";'), header)
        self.assertRegex(first, r"^\d{4}-\d\d-\d\d \d\d:\d\d:\d\d;183;20,9;20,9;12;-0,125;1,5000;")
        target.write_bytes(b"kept")
        (program.temp / "verlauf.csv.part").mkdir()  # where the new file would be written
        program.window(COURSE_CAPTION["de"])
        self.save(path)
        program.wait_until(lambda: self.message_box(program, ANSWER_YES), "the question about the file")
        program.window(COURSE_CAPTION["de"])
        box = program.wait_until(lambda: self.message_box(program, 1), "the failure")
        self.assertEqual(box["caption"], "Fehler")
        self.assertRegex("".join(box["texts"]), r"Der Verlauf konnte nicht gespeichert werden\.\s+C:.*verlauf\.csv\s+\w+")
        self.assertEqual(target.read_bytes(), b"kept")
