"""A progress bar and a plot for the terminal. Without one (a pipe, a log) both are plain lines of text."""

from __future__ import annotations

import shutil
import sys
from collections.abc import Sequence
from typing import TextIO

PLAIN_WIDTH = 80
# Bits of a Braille character by row and column of its eight dots.
DOTS = ((0x01, 0x08), (0x02, 0x10), (0x04, 0x20), (0x40, 0x80))


class Terminal:
    """What `stream` can show: colours only on a terminal, Unicode only where it can be encoded."""

    def __init__(self, stream: TextIO = sys.stdout) -> None:
        self.stream = stream
        self.live = stream.isatty()
        self.unicode = (stream.encoding or "ascii").lower().replace("-", "") == "utf8"
        self.width = max(40, min(shutil.get_terminal_size().columns, 160)) if self.live else PLAIN_WIDTH

    def paint(self, text: str, code: str) -> str:
        return f"\x1b[{code}m{text}\x1b[0m" if self.live else text

    def mark(self, holds: bool) -> str:
        if not self.unicode:
            return "ok" if holds else "FAILED"
        return self.paint("✔", "32;1") if holds else self.paint("✘", "31;1")


class ProgressBar:
    """Redraws itself on a terminal; elsewhere prints a line at every fifth of the way."""

    def __init__(self, terminal: Terminal, total: int, unit: str) -> None:
        self.terminal, self.total, self.unit = terminal, total, unit
        self.printed_fifths = 0

    def show(self, done: int, note: str = "") -> None:
        share = min(1.0, done / self.total)
        text = f" {share:4.0%}  {done:,} {self.unit}{'  ' if note else ''}{note}"
        if self.terminal.live:
            room = max(8, self.terminal.width - len(text) - 3)
            bar = self.terminal.paint(self.bar(share, room), "36")
            self.terminal.stream.write(f"\r  {bar}{text}\x1b[K")
            if done >= self.total:
                self.terminal.stream.write("\n")
            self.terminal.stream.flush()
        elif int(share * 5) > self.printed_fifths:
            self.printed_fifths = int(share * 5)
            print(f"  {text.strip()}", file=self.terminal.stream, flush=True)

    def bar(self, share: float, room: int) -> str:
        if not self.terminal.unicode:
            full = int(share * room)
            return "#" * full + "." * (room - full)
        eighths = int(share * room * 8)
        full, part = divmod(eighths, 8)
        return ("█" * full + " ▏▎▍▌▋▊▉"[part] * (full < room)).ljust(room)


def plot(terminal: Terminal, values: Sequence[float], duration: float, unit: str, height: int = 9) -> str:
    """The values over `duration` seconds as lines of text; a peak of one sample stays visible."""
    label_width = 8
    columns = terminal.width - label_width - 3
    across, down = (2, 4) if terminal.unicode else (1, 1)
    dots_x, dots_y = columns * across, height * down
    low, high = min(values), max(values)
    scale = (dots_y - 1) / (high - low or 1.0)

    canvas = [[0] * columns for _ in range(height)]
    for x in range(dots_x):
        begin = x * len(values) // dots_x
        # One value more than the column's own joins it to the next one.
        part = values[begin : max(begin + 1, (x + 1) * len(values) // dots_x) + 1]
        top, bottom = (round((high - value) * scale) for value in (max(part), min(part)))
        for y in range(top, bottom + 1):
            canvas[y // down][x // across] |= DOTS[y % down][x % across] if terminal.unicode else 1

    def drawn(row: list[int]) -> str:
        if terminal.unicode:
            return "".join(chr(0x2800 + bits) if bits else " " for bits in row)
        return "".join("*" if bits else " " for bits in row)

    labels = {0: high, height // 2: (high + low) / 2, height - 1: low}
    edge, corner, floor = ("┤", "└", "─") if terminal.unicode else ("|", "+", "-")
    lines = []
    for y, row in enumerate(canvas):
        label = f"{labels[y]:.2f} {unit}" if y in labels else ""
        lines.append(f"{label:>{label_width}} {edge}{terminal.paint(drawn(row), '32')}".rstrip())
    lines.append(" " * (label_width + 1) + corner + floor * columns)
    end = f"{duration:g} s"
    lines.append(" " * (label_width + 2) + "0 s" + end.rjust(columns - 3))
    return "\n".join(lines)
