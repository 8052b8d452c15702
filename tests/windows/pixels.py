"""Finding a picture of the program on a screenshot."""

import re
import subprocess

from program_session import BUILT

PICTURES = BUILT / "src/artwork"
MAGENTA = b"\xff\x00\xff"  # the pictures' transparent colour


class Image:
    def __init__(self, path):
        size = subprocess.run(["identify", "-format", "%w %h", str(path)], check=True, capture_output=True, text=True)
        self.width, self.height = map(int, size.stdout.split())
        self.bytes = subprocess.run(["convert", str(path), "-depth", "8", "rgb:-"], check=True, capture_output=True).stdout

    def row(self, y, x=0, width=None):
        width = self.width - x if width is None else width
        start = 3 * (y * self.width + x)
        return self.bytes[start:start + 3 * width]


def picture(number, scaling=100):
    """A picture of the program in the size for a scaling in per cent."""
    return Image(PICTURES / f"{number}_{scaling}.bmp")


def _opaque_runs(picture):
    """Row, column and pixels of each run without a transparent one."""
    for y in range(picture.height):
        for run in re.finditer(b"(?s)(?:%b)+|((?:(?!%b)...)+)" % (MAGENTA, MAGENTA), picture.row(y)):
            if run[1]:
                yield y, run.start() // 3, run[1]


def place(screen, picture):
    """Where the picture's left upper corner stands on the screen, pixel by pixel but for its transparent ones; or None."""
    runs = list(_opaque_runs(picture))
    y, x, varied = max(runs, key=lambda run: len(set(run[2])))
    for screen_row in range(screen.height):
        row, at = screen.row(screen_row), -1
        while (at := row.find(varied, at + 1)) >= 0:
            left, top = at // 3 - x, screen_row - y
            if at % 3 == 0 and min(left, top) >= 0 and all(screen.row(top + y, left + x, len(run) // 3) == run for y, x, run in runs):
                return left, top
    return None
