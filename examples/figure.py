"""The picture that the demo writes."""

from __future__ import annotations

from collections.abc import Sequence
from pathlib import Path

import matplotlib
import numpy as np

matplotlib.use("Agg")
import matplotlib.pyplot as plt  # noqa: E402
from matplotlib.axes import Axes  # noqa: E402

PAPER, INK, FAINT, GRID = "#fbfaf7", "#22303c", "#7b8794", "#e9e2dc"
COLOURS = ("#1f5f8b", "#2a7f9e", "#c2452d", "#d2692f", "#d9902f", "#5a8f3c", "#3d7d5a", "#5b4b8a")
# Channels are drawn this far apart.
SPACING_V = 2.0
STYLE = {
    "font.family": "DejaVu Sans",
    "font.size": 10,
    "text.color": INK,
    "axes.labelcolor": FAINT,
    "axes.facecolor": PAPER,
    "axes.edgecolor": GRID,
    "axes.spines.top": False,
    "axes.spines.right": False,
    "figure.facecolor": PAPER,
    "xtick.color": FAINT,
    "ytick.color": FAINT,
    "grid.color": GRID,
}


def write_figure(
    path: Path,
    received: np.ndarray,
    source: np.ndarray,
    rate: float,
    names: Sequence[str],
    title: str,
    subtitle: str,
) -> None:
    """Writes a PNG. received, source: volts, samples x channels; names: one for each channel."""
    with plt.rc_context(STYLE):
        figure = plt.figure(figsize=(13, 7.6), dpi=150)
        figure.text(0.06, 0.945, title, size=19, weight="bold")
        figure.text(0.06, 0.905, subtitle, size=11, color=FAINT)
        grid = figure.add_gridspec(
            2,
            2,
            width_ratios=(2.5, 1),
            left=0.06,
            right=0.975,
            top=0.845,
            bottom=0.075,
            wspace=0.15,
            hspace=0.42,
        )
        draw_channels(figure.add_subplot(grid[:, 0]), received, rate, names)
        beat, peak = busiest(received, rate)
        draw_close_up(figure.add_subplot(grid[0, 1]), received, rate, names, beat, peak)
        draw_samples(figure.add_subplot(grid[1, 1]), received, source, rate, names, peak)
        figure.savefig(path)
        plt.close(figure)


def busiest(received: np.ndarray, rate: float) -> tuple[slice, int]:
    """The highest peak that has a beat's length around it, and those samples."""
    before, after = (min(round(share * rate), len(received) // 3) for share in (0.3, 0.45))
    inner = received[before : len(received) - after]
    peak = before + int(np.argmax(inner.max(axis=1)))
    return slice(peak - before, peak + after), peak


def draw_channels(axes: Axes, received: np.ndarray, rate: float, names: Sequence[str]) -> None:
    time = np.arange(len(received)) / rate
    count = received.shape[1]
    for channel, name in enumerate(names):
        base = (count - 1 - channel) * SPACING_V
        axes.plot(time, received[:, channel] + base, color=COLOURS[channel], linewidth=0.9)
        label = {"ha": "right", "va": "center", "weight": "bold", "color": COLOURS[channel]}
        axes.text(-0.012, base, name, transform=axes.get_yaxis_transform(), **label)
    duration = len(received) / rate
    # A calibration pulse, as on paper.
    right, low = duration * 1.035, (count - 1) * SPACING_V - 0.2
    axes.plot([right, right], [low, low + 1], color=INK, linewidth=2, solid_capstyle="butt", clip_on=False)
    axes.text(right + duration * 0.008, low + 0.5, "1 V", va="center", size=9)
    axes.set_xlim(0, duration * 1.07)
    axes.set_ylim(-1.4, (count - 1) * SPACING_V + 1.5)
    axes.set_yticks([])
    axes.spines["left"].set_visible(False)
    axes.grid(axis="x")
    axes.set_xlabel("time [s]")
    axes.set_title("All channels", loc="left", size=11, weight="bold", pad=10)


def draw_close_up(
    axes: Axes, received: np.ndarray, rate: float, names: Sequence[str], beat: slice, peak: int
) -> None:
    milliseconds = (np.arange(beat.start, beat.stop) - peak) / rate * 1e3
    for channel, name in enumerate(names):
        axes.plot(milliseconds, received[beat, channel], color=COLOURS[channel], linewidth=1.2, label=name)
    axes.margins(x=0)
    axes.grid()
    axes.legend(ncol=2, frameon=False, fontsize=8, handlelength=1.2, columnspacing=1, loc="upper right")
    axes.set_ylabel("[V]")
    axes.set_xlabel("time from the peak [ms]")
    axes.set_title("One beat, superimposed", loc="left", size=11, weight="bold", pad=10)


def draw_samples(
    axes: Axes, received: np.ndarray, source: np.ndarray, rate: float, names: Sequence[str], peak: int
) -> None:
    part = slice(max(0, peak - 30), peak + 31)
    channel = int(np.argmax(received[peak]))
    milliseconds = (np.arange(part.start, min(part.stop, len(received))) - peak) / rate * 1e3
    axes.step(
        milliseconds, source[part, channel], where="mid", color=FAINT, linewidth=1, label="the recording"
    )
    axes.plot(
        milliseconds, received[part, channel], "o", color=COLOURS[channel], markersize=3.4, label="received"
    )
    axes.margins(x=0.02, y=0.12)
    axes.grid()
    axes.legend(frameon=False, fontsize=8, loc="lower center")
    axes.set_ylabel(f"{names[channel]} [V]")
    axes.set_xlabel("time from the peak [ms]")
    axes.set_title("Sample by sample", loc="left", size=11, weight="bold", pad=10)
