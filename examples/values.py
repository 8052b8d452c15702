#!/usr/bin/env python3
"""The values of an analyser, in three ways.

   values.py dialog NeltoStackWatcher.exe                 starts the dialog, waits for its user and prints what was accepted
   values.py once   nelto-read.exe [OPTION...]            one measurement without a window
   values.py follow nelto-read.exe [OPTION...]            each second, until Ctrl+C

The options of the last two are those of nelto-read, such as --link COM5. The exit code is nelto-read's; of the dialog 1 when its user has
cancelled. values.ps1 and Values.cs do the same.
"""

import json
import os
import subprocess
import sys
from pathlib import Path


def dialog(program):
    file = Path(os.environ.get("TMP") or os.environ["TEMP"], "NeltoStackWatcher.txt")
    file.unlink(missing_ok=True)
    subprocess.run([program, "JOB17"], check=True)  # the word comes back as the first line
    if not file.exists():
        return 1
    print(file.read_text("mbcs" if os.name == "nt" else "cp1252"), end="")
    file.unlink()
    return 0


def show(measurement):
    values = {value["key"]: value["value"] for value in measurement["values"]}
    print(measurement["time"], measurement["status"], measurement["device"]["name"], "O2", values.get(2003), flush=True)


def once(program, *options):
    reader = subprocess.run([program, "--format", "json", *options], stdout=subprocess.PIPE, check=False)
    if reader.returncode == 0:
        show(json.loads(reader.stdout))
    return reader.returncode


def follow(program, *options):
    with subprocess.Popen([program, "--watch", "--format", "json", *options], stdout=subprocess.PIPE) as reader:
        for line in reader.stdout:
            show(json.loads(line))
    return reader.returncode


if __name__ == "__main__":
    ways = {"dialog": dialog, "once": once, "follow": follow}
    if len(sys.argv) < 3 or sys.argv[1] not in ways:
        sys.exit(__doc__)
    sys.exit(ways[sys.argv[1]](*sys.argv[2:]))
