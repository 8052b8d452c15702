"""The help: what the compiled files hold, how they are made, and what the Help button opens."""

import os
import re
import shutil
import struct
import subprocess
import tempfile
from pathlib import Path

import harness
import program_session
from program_session import PROGRAM, ROOT

LANGUAGE_IDS = {"de": 0x0407, "en": 0x0409}
SHOWN_TEXTS = [*range(600, 613), *range(620, 625), *range(630, 635), *range(650, 653), *range(660, 663), *range(665, 668),
               *range(690, 694), *range(760, 777), 780]


def file_name(language):
    return f"NeltoStackWatcher_{language.upper()}.chm"


def texts_of_program(language):
    source = (ROOT / "src/ui" / f"strings_{language}.inc").read_text("utf-8")
    texts = {int(number): text for number, text in re.findall(r'^    (\d{3}) "(.*?)"', source, re.MULTILINE)}
    return [texts[number] for number in SHOWN_TEXTS]


class HelpFiles(harness.FileTestCase):
    def folder(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        return Path(folder.name)

    def test_header_contents_and_links(self):
        topics = []
        for language, number in LANGUAGE_IDS.items():
            file, folder = PROGRAM.parent / file_name(language), self.folder()
            subprocess.run(["chmls", "extractall", file, folder], check=True, capture_output=True)
            self.assertEqual(struct.unpack("<4s16xI", file.read_bytes()[:24]), (b"ITSF", number))
            self.assertEqual(struct.unpack_from("<I", (folder / "#SYSTEM").read_bytes(), 0x2A)[0], number)
            contents, index = (re.findall(r'"Local" value="(.*?)"', (folder / name).read_text("cp1252")) for name in ("help.hhc", "help.hhk"))
            topics.append(sorted(page.name for page in folder.glob("*.html")))
            self.assertEqual(sorted(contents), topics[-1])
            self.assertLessEqual(set(index), set(topics[-1]))
            for topic in topics[-1]:
                text = (folder / topic).read_text("cp1252")
                self.assertIn("charset=windows-1252", text)
                for page, _, place in (link.partition("#") for link in re.findall(r'(?:href|src)="(.+?)"', text)):
                    target = folder / (page or topic)
                    self.assertTrue(target.is_file(), target)
                    self.assertTrue(not place or f'id="{place}"' in target.read_text("cp1252"), place)
        self.assertEqual(*topics)
        self.assertGreater(len(topics[0]), 10)

    def test_names_every_text_of_the_program_and_no_other(self):
        for language in LANGUAGE_IDS:
            with self.subTest(language):
                pages = "".join(page.read_text("utf-8") for page in sorted((ROOT / "docs/help" / language).glob("*.html")))
                named = {" ".join(text.split()) for text in re.findall(r"<b>(.*?)</b>", pages, re.DOTALL)}
                self.assertEqual(named - {"Bluetooth COM5"}, set(texts_of_program(language)))

    def test_same_bytes_from_another_folder(self):
        made, scratch = self.folder(), self.folder()
        environment = {**os.environ, "TMPDIR": str(scratch), "TZ": "Asia/Tokyo", "LC_ALL": "C.UTF-8"}
        subprocess.run([ROOT / "tools/make-help", made], env=environment, check=True)
        self.assertEqual(list(scratch.iterdir()), [])
        for language in LANGUAGE_IDS:
            self.assertEqual((made / file_name(language)).read_bytes(), (PROGRAM.parent / file_name(language)).read_bytes())


class HelpButton(harness.WindowsTestCase):
    def begin(self, language, files):
        """The program with these files of its folder, in a folder with blanks and letters of both languages in its name."""
        session = self.session(language=language)
        self.place = session.prefix.folder / "drive_c/Messgerät & analyser"
        self.place.mkdir()
        for file in (PROGRAM.name, *files):
            shutil.copy(PROGRAM.parent / file, self.place)
        return session

    def test_opens_the_file_of_the_language(self):
        for language in LANGUAGE_IDS:
            with self.subTest(language):
                session = self.begin(language, map(file_name, LANGUAGE_IDS))
                record = session.prefix.folder / "drive_c/opened.txt"
                recorder = r'C:\windows\system32\cmd.exe /u /c echo "%1">C:\opened.txt'
                for key, value in ((r"HKCR\.chm", "HelpRecorder"), (r"HKCR\HelpRecorder\shell\open\command", recorder)):
                    command = ["reg", "add", key, "/ve", "/d", value, "/f"]
                    session.wait_until(lambda: session.prefix.start(*command).wait() == 0, f"the registry key {key}")
                session.start(program=self.place / PROGRAM.name)
                session.ask("post", program_session.HELP)
                session.wait_until(lambda: record.exists() and b"\n\0" in record.read_bytes(), "the opened file")
                self.assertEqual(record.read_text("utf-16-le").strip().strip('"'),
                                 rf"C:\Messgerät & analyser\{file_name(language)}")

    def test_says_so_without_the_file(self):
        for language, caption, text in (("en", "Error", "Helpfile not found. File "),
                                        ("de", "Fehler", "Hilfedatei nicht gefunden. Datei ")):
            with self.subTest(language):
                others = [file_name(other) for other in LANGUAGE_IDS if other != language]
                session = self.begin(language, others).start(program=self.place / PROGRAM.name)
                session.ask("post", program_session.HELP)
                box = session.wait_until(lambda: self.message_box(session, 1), "the message box")
                self.assertEqual(box["caption"], caption)
                self.assertIn(text + rf"C:\Messgerät & analyser\{file_name(language)}", box["texts"])
