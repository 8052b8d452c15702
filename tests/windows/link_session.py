"""A session of the shipped program over any link: its values, its log, and what many rounds leave behind."""

import harness
from program_session import OK

SEARCHING = {"en": "Searching measure device", "de": "Suche Meßgerät"}
AVAILABLE = {"en": "Measure values available", "de": "Messwerte vorhanden"}
BROKEN = {"en": "Connection broken", "de": "Verbindung unterbrochen"}
INVALID = {"en": "No valid mesure values available", "de": "Keine gültige Werte verfügbar"}
NOBODY_ON_USB = "no nelto fluegas instrument (nelto 745/780) found at USB"


class LinkSession(harness.WindowsTestCase):
    def wait_values(self, language="en"):
        """The cells of each row, by its label."""
        self.program.wait_status(AVAILABLE[language])
        self.program.wait_until(lambda: self.program.enabled(OK) and self.has_rows(), "the rows of the list")
        return {row[0]: row[1:] for row in self.program.rows()}

    def has_rows(self):
        return bool(self.program.rows())

    def base_log(self):
        return (self.program.file("Nelto780Base.txt") or b"").decode("cp1252")

    def wait_logged(self, line):
        self.program.wait_until(lambda: line in self.base_log(), f"the line {line!r} of the base log")

    def resources(self):
        """The least of some looks: a log that is being written holds a handle for a moment."""
        looks = [self.program.ask("resources", self.program.pid) for _ in range(5)]
        return {kind: min(look[kind] for look in looks) for kind in looks[0]}

    def assert_rounds_leave_nothing(self, lose, find, rounds=5):
        """The first round may still fill caches of Windows; what each one leaves behind would show in the later ones."""
        counts = []
        for _ in range(rounds):
            lose()
            self.program.wait_status(BROKEN["en"])
            find()
            self.wait_values()
            counts.append(self.resources())
        for kind in counts[0]:
            _, *earlier, later, last = (count[kind] for count in counts)
            self.assertLessEqual(min(later, last), max(earlier), counts)

    def assert_searches_leave_nothing(self, wait_searches):
        """The six searches between; one under way holds a log and a socket."""
        counts = []
        for searches in (3, 9):
            wait_searches(searches)
            counts.append(self.resources())
        self.assertLess(counts[1]["handles"] - counts[0]["handles"], 4)
        self.assertEqual(counts[1]["threads"], counts[0]["threads"])
