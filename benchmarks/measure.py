"""What every benchmark shares: a row of the table, comparing two things in turn, a device to measure."""

from __future__ import annotations

import json
import os
import subprocess
import sys
from collections.abc import Callable, Iterator
from contextlib import contextmanager
from dataclasses import dataclass
from pathlib import Path
from statistics import median
from typing import Any

import pyqvx
from qvx_virtual import VirtualDevice

PORT = 0
CHANNELS = 8
# Memory once used stays in the process: else the kernel, clearing pages, decides who is faster.
KEEP_MEMORY = {"MALLOC_MMAP_THRESHOLD_": str(1 << 30), "MALLOC_TRIM_THRESHOLD_": str(1 << 32)}
# What a device puts into one packet of a stream.
BLOCK_BYTES = 1440
BLOCK_SAMPLES = BLOCK_BYTES // (2 * CHANNELS)


@dataclass
class Row:
    """`value` is what `limit` bounds from above: a ratio where there is a reference."""

    what: str
    ours: str
    value: float
    limit: float | None
    reference: str = ""
    unit: str = ""

    @property
    def holds(self) -> bool:
        return self.limit is None or self.value <= self.limit


def compare(
    what: str, ours: Callable[[], float], reference: Callable[[], float], rounds: int, limit: float | None
) -> Row:
    """Calls both in turn, `rounds` times after one that does not count; each returns its seconds."""
    ours()
    reference()
    pairs = [(ours(), reference()) for _ in range(rounds)]
    return compared(what, pairs, limit)


def compared(what: str, pairs: list[tuple[float, float]], limit: float | None) -> Row:
    """The ratio is the median of the rounds' ratios: what disturbs longer than a round meets both."""
    ratio = median(mine / other for mine, other in pairs)
    mine, other = (median(column) for column in zip(*pairs))
    return Row(what, seconds(mine), ratio, limit, seconds(other))


def seconds(value: float) -> str:
    for unit, factor in (("s", 1.0), ("ms", 1e3), ("us", 1e6)):
        if value * factor >= 1:
            break
    return f"{value * factor:.3g} {unit}"


@contextmanager
def connected(source: str = "sine", model: str = "FeroxA") -> Iterator[tuple[Any, VirtualDevice]]:
    """A device on a virtual bench of its own, which measures `source`."""
    with VirtualDevice(model, source=source) as bench, getattr(pyqvx, model)(verbose=False) as device:
        if not device.connect(*bench.address):
            raise RuntimeError("the virtual device did not accept the connection")
        yield device, bench


@contextmanager
def echoing(payload: str) -> Iterator[tuple[str, int]]:
    """The address of a server that answers every request at once, always with the same payload.

    It shares one processor with this thread and those it starts meanwhile. Which ones the system would
    choose, and so whether a sleeping one has to be woken, is chance and makes three times of it.
    """
    source = Path(__file__).parent
    build = source.parent / "build" / "benchmarks"
    configure = ["cmake", "-S", str(source), "-B", str(build), "-DCMAKE_BUILD_TYPE=Release"]
    for command in (configure, ["cmake", "--build", str(build)]):
        subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
    processors = os.sched_getaffinity(0)
    os.sched_setaffinity(0, {max(processors)})
    try:
        yield from _echoing([str(build / "echo_server"), payload])
    finally:
        os.sched_setaffinity(0, processors)


def _echoing(command: list[str]) -> Iterator[tuple[str, int]]:
    with subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as server:
        assert server.stdout is not None
        yield "127.0.0.1", int(server.stdout.readline())


def in_new_process(script: str, *arguments: object, environ: dict[str, str] | None = None) -> Any:
    """Runs a script of this directory and returns what it prints last, as JSON."""
    command = [sys.executable, str(Path(__file__).parent / script), *map(str, arguments)]
    done = subprocess.run(
        command, env=os.environ | (environ or {}), stdout=subprocess.PIPE, text=True, timeout=300, check=True
    )
    return json.loads(done.stdout.splitlines()[-1])
