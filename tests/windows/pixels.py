"""Finding a picture of the program on a screenshot."""

import subprocess

from program_session import BUILT

PICTURES = BUILT / "src/artwork"
MAGENTA = b"\xff\x00\xff"  # the pictures' transparent colour
RUN = 16                   # pixels of a row that are looked for first


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


def _most_varied_run(picture):
    """Place of the most colourful run of pixels without a transparent one."""
    best = (0, 0, 0)
    for y in range(picture.height):
        for x in range(0, picture.width - RUN, 4):
            run = picture.row(y, x, RUN)
            colours = {run[i:i + 3] for i in range(0, len(run), 3)}
            if MAGENTA not in colours:
                best = max(best, (len(colours), x, y))
    return best[1], best[2]


def _stands_at(picture, screen, left, top):
    if left < 0 or top < 0 or left + picture.width > screen.width or top + picture.height > screen.height:
        return False
    for y in range(picture.height):
        wanted, seen = picture.row(y), screen.row(top + y, left, picture.width)
        for i in range(0, len(wanted), 3):
            if wanted[i:i + 3] not in (MAGENTA, seen[i:i + 3]):
                return False
    return True


def place(screen, picture):
    """Where the picture's left upper corner stands on the screen, pixel by pixel but for its transparent ones; or None."""
    x, y = _most_varied_run(picture)
    run = picture.row(y, x, RUN)
    for screen_row in range(screen.height):
        row, at = screen.row(screen_row), -1
        while (at := row.find(run, at + 1)) >= 0:
            if at % 3 == 0 and _stands_at(picture, screen, at // 3 - x, screen_row - y):
                return at // 3 - x, screen_row - y
    return None
