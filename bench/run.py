#!/usr/bin/env python3
"""Runs the benchmarks one after the other and ends with one table. A missed aim is a line of the table; the exit code tells
only whether everything could be measured."""

import os
import subprocess
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent))
import windows_figures  # noqa: E402

ROOT = Path(__file__).resolve().parent.parent
HOST_BUILD = ROOT / "build/host-release/bench"
HOST_BENCHMARKS = ["bench_block_checksum", "bench_value_read", "bench_usb_value_read", "bench_course"]
RELATIONS = {"<=": lambda value, limit: value <= limit, "<": lambda value, limit: value < limit,
             ">=": lambda value, limit: value >= limit}


def say(text):
    print(text, flush=True)


def host_figures(name):
    """Shows the output of a benchmark and takes the figures out of it; None when it could not measure."""
    figures = []
    with subprocess.Popen([HOST_BUILD / name], stdout=subprocess.PIPE, text=True) as process:
        for line in process.stdout:
            if not line.startswith("figure|"):
                say(line.rstrip("\n"))
                continue
            what, relation, limit, value, unit = line.rstrip("\n").split("|")[1:]
            figures.append((what, relation, float(limit) if limit else None, float(value), unit))
    return figures if process.returncode == 0 and figures else None


def measured_figures(name):
    try:
        return windows_figures.measure() if name == "windows" else host_figures(name)
    except Exception as problem:  # whatever it was: the other figures are still to be shown
        say(f"cannot be measured: {type(problem).__name__}: {problem}")
        return None


def row(what, relation, limit, value, unit):
    aim = f"{relation} {limit:g} {unit}" if relation else ""
    shown = "" if value is None else f"{value:.4g} {unit}"
    verdict = "" if not relation else "met" if RELATIONS[relation](value, limit) else "MISSED"
    return f"{what:<68} {aim:<24} {shown:<22} {verdict}".rstrip()


def main():
    names = sys.argv[1:] or [*HOST_BENCHMARKS, "windows"]
    load = os.getloadavg()[0]
    table, failed = [], []
    for name in names:
        say(f"== {name}")
        figures = measured_figures(name)
        if figures is None:
            failed.append(name)
        table += figures or []
    say(f"\n{'figure':<68} {'aim':<24} {'measured':<22}")
    for figure in table:
        say(row(*figure))
    say(f"\nload of the machine: {load:.1f} at the start, {os.getloadavg()[0]:.1f} at the end; quiet is below 1")
    for name in failed:
        say(f"{name}: could not be measured")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
