"""Measures the driver against what Python does without it, and prints a table: run.py [--quick]

Everything is measured in this one run, ours and the reference in turn, so that the ratios mean something on
a slow machine too; on a busy one, whatever needs two threads loses. What takes longer than expected is called
SHORT; ends with status 1 when samples were lost.
"""

from __future__ import annotations

import argparse
import os
import platform
import sys
from collections.abc import Callable

import buses
import importing
import numpy as np
import pyqvx
import roads
import round_trip
from measure import KEEP_MEMORY, Row, compared, in_new_process

MEGABYTE = 1e6


def streaming(rounds: int) -> list[Row]:
    rows = []
    for form, bits, limit in (("lists", 16, 1.5), ("array", 16, 1.0), ("lists", 24, 1.5), ("array", 24, 1.0)):
        result = in_new_process("decoding.py", form, bits, rounds, environ=KEEP_MEMORY)
        what = f"{result['samples']:,} samples x 8 of {bits} bits to {form} / numpy"
        rows.append(compared(what, result["pairs"], limit))
    return rows


def idle(seconds: int) -> list[Row]:
    used = in_new_process("costs.py", "idle", seconds)["cpu_s"] * 1e3
    return [Row(f"processor time of an idle device in {seconds} s", f"{used:.2f} ms", used, 5.0, unit="ms")]


def stream(seconds: int) -> list[Row]:
    result = in_new_process("costs.py", "stream", seconds)
    bad = result["lost"] + result["wrong"]
    what = f"200 kHz x 8 channels for {seconds} s: "
    return [
        Row(what + "samples lost or wrong", f"{bad:,.0f}", bad, 0),
        Row(what + "share of one core", f"{result['core']:.1%}", result["core"], None),
    ]


def memory(samples: int) -> list[Row]:
    result = in_new_process("costs.py", "memory", samples)
    if result["samples"] != samples:
        raise RuntimeError(f"the queue holds {result['samples']:,.0f} of {samples:,} samples")
    used = result["bytes"] / MEGABYTE
    return [Row(f"memory of {samples:,} queued samples x 8", f"{used:.1f} MB", used, 100.0, unit="MB")]


def print_row(row: Row) -> None:
    ratio = f"{row.value:.2f}" if row.reference else ""
    limit = "" if row.limit is None else f"<= {row.limit:g} {row.unit}".strip()
    verdict = "" if row.limit is None else "ok" if row.holds else "SHORT"
    print(f"{row.what:<52} {row.ours:>9} {row.reference:>9} {ratio:>6} {limit:>9}  {verdict}", flush=True)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--quick", action="store_true", help="a few seconds, to see that it runs")
    quick = parser.parse_args().quick
    rounds = 5 if quick else 31

    measurements: list[Callable[[], list[Row]]] = [
        lambda: [round_trip.blocking(rounds, 100 if quick else 500)],
        lambda: round_trip.toggling(rounds, 100 if quick else 500),
        lambda: round_trip.awaited(rounds, 100 if quick else 500),
        lambda: [round_trip.crowds(3 if quick else 11)],
        lambda: [roads.serial(rounds, 100 if quick else 500)],
        lambda: [roads.throughput(1 if quick else 5, model) for model in ("FeroxA", "SkylogE3A")],
        lambda: roads.usb(100 if quick else 1000, 1000 if quick else 10_000),
        lambda: [roads.discovery(3 if quick else 21)],
        lambda: roads.many(1 if quick else 10),
        lambda: streaming(20 if quick else 201),
        lambda: buses.frames(rounds, 20 if quick else 100),
        lambda: buses.received(rounds, 100 if quick else 1000),
        lambda: idle(1 if quick else 10),
        lambda: stream(1 if quick else 10),
        lambda: memory(100_000 if quick else 1_000_000),
        lambda: [importing.run(rounds)],
    ]
    print(f"pyqvx {pyqvx.__version__}, Python {platform.python_version()}, numpy {np.__version__}, ", end="")
    print(f"{os.cpu_count()} cores, {platform.machine()}\n")
    print(f"{'what':<52} {'ours':>9} {'reference':>9} {'ratio':>6} {'expected':>9}  verdict")
    lost = False
    for measurement in measurements:
        for row in measurement():
            print_row(row)
            lost = lost or (row.limit == 0 and not row.holds)
    return 1 if lost else 0


if __name__ == "__main__":
    sys.exit(main())
