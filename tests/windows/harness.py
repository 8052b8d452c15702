"""What the tests of the shipped program share: a display, and sessions that end with their test."""

import atexit
import tempfile
import unittest
from pathlib import Path

import wine_env
from pixels import Image
from program_session import ROOT, DriverError, Session

_screen = None


def screen():
    """The virtual display of this test process."""
    global _screen
    if _screen is None:
        _screen = wine_env.Display()
        atexit.register(_screen.close)
    return _screen


def look():
    """What stands on the display now."""
    with tempfile.TemporaryDirectory() as folder:
        file = Path(folder) / "screen.png"
        screen().screenshot(file)
        return Image(file)


class FileTestCase(unittest.TestCase):
    """Tests that start no Windows program; they look at the files of both kinds, on the machine that builds them."""


class WindowsTestCase(unittest.TestCase):
    """A failing test leaves a screenshot in build/tests/."""

    maxDiff = None

    def session(self, **options):
        session = Session(screen().name, **options)
        self.addCleanup(session.close)
        self.addCleanup(self._picture_of_failure)
        return session

    def message_box(self, session, button=None):
        """The message that is shown, None if there is none; it is left by its button."""
        try:
            box = session.ask("messagebox")
            if button:
                session.ask("messagebox", button)
            return box
        except DriverError:
            return None

    def _picture_of_failure(self):
        outcome = self._outcome.result
        if any(test is self for test, _ in outcome.failures + outcome.errors) or not self._outcome.success:
            screen().screenshot(ROOT / "build/tests" / (self.id() + ".png"))
