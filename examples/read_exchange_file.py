#!/usr/bin/env python3
"""Starts NeltoStackWatcher, waits until its user has finished, and prints the values that were accepted.

   read_exchange_file.py --run NeltoStackWatcher.exe [--word WORD] [--fuel NUMBER]
   read_exchange_file.py FILE [--word WORD]                      only reads a file that is there

The exit code is 0 with values, 1 when the user has cancelled, 2 when the file is not the one that was asked for.
"""

import argparse
import os
import subprocess
import sys
from pathlib import Path

FILE_NAME = "NeltoStackWatcher.txt"
CODE_PAGE = "mbcs" if os.name == "nt" else "cp1252"  # the ANSI code page of the machine
CANCELLED, NOT_OURS = 1, 2

# Texts; every other key has a number, or "-" for no value.
TEXT_KEYS = {9000: "device", 9100: "firmware", 9200: "serial number", 9300: "smoke pump"}
NAMES = TEXT_KEYS | {1001: "AT in °C", 1101: "FT in °C", 1401: "heat carrier in °C", 2003: "O2 in %", 2204: "CO in ppm",
                     6020: "smoke number 1", 6120: "smoke number 2", 6220: "smoke number 3", 6320: "oil derivative",
                     6420: "fuel", 6520: "smoke number, mean"}


class NotAnExchangeFile(Exception):
    pass


def number(text):
    """The number of a value, None for "-". The separator is the machine's: a point or a comma."""
    return None if text == "-" else float(text.replace(",", "."))


def parse(content, word=""):
    """The (key, value) pairs of a file in its order; a key may come more than once. `word` is the first word of the
    command line: the caller knows his own, so it cannot be mistaken for a value."""
    lines = content.decode(CODE_PAGE).split("\r\n")
    if lines.pop() != "":
        raise NotAnExchangeFile("the last line has no end")
    if word and (not lines or lines.pop(0) != word):
        raise NotAnExchangeFile(f"it does not begin with {word!r}")
    pairs = []
    for line in lines:
        key, separator, text = line.partition("=")
        if not (separator and key.isdecimal()):
            raise NotAnExchangeFile(f"{line!r} is no key and value")
        pairs.append((int(key), text if int(key) in TEXT_KEYS else number(text)))
    return pairs


def run(program, word, fuel):
    """Starts the program, waits for its end and returns the bytes of the file, None when the user has cancelled."""
    folder = os.environ.get("TMP") or os.environ["TEMP"]  # where Windows looks, in this order
    file = Path(folder, FILE_NAME)
    file.unlink(missing_ok=True)  # the program does so too, but perhaps it does not even start
    # No quotation marks: the program takes its command line as it is, up to the first blank.
    command = [program, *([word] if word else []), *([] if fuel is None else [f"6420={fuel}"])]
    subprocess.run(command, check=True)
    if not file.exists():
        return None
    content = file.read_bytes()
    file.unlink()
    return content


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--run", metavar="PROGRAM")
    parser.add_argument("--word", default="")
    parser.add_argument("--fuel", type=int)
    parser.add_argument("file", nargs="?")
    options = parser.parse_args()
    if bool(options.run) == bool(options.file):
        parser.error("either --run or a file")
    # Without a word of his own, the program takes the fuel option for it.
    word = options.word or ("" if options.fuel is None else f"6420={options.fuel}")
    content = run(options.run, options.word, options.fuel) if options.run else Path(options.file).read_bytes()
    if content is None:
        print("cancelled")
        return CANCELLED
    try:
        for key, value in parse(content, word):
            print(f"{key:04} {NAMES.get(key, '')}: {'no value' if value is None else value}")
    except (NotAnExchangeFile, ValueError) as fault:
        print(f"not the exchange file that was asked for: {fault}", file=sys.stderr)
        return NOT_OURS
    return 0


if __name__ == "__main__":
    sys.exit(main())
