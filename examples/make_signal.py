"""Writes the recording that the demo plays: make_signal.py FILE

Eight leads of an electrocardiogram as an amplifier with a gain of 1000 puts them on analog inputs:
1 mV is 1 V. Five beats in four seconds at 10 kHz, the same every time; the end meets the beginning, so that a
player may loop.
"""

from __future__ import annotations

import sys
import wave
from pathlib import Path

import numpy as np

RATE = 10_000
LEADS = ("I", "II", "V1", "V2", "V3", "V4", "V5", "V6")
FULL_SCALE_V = 10.0
# Seconds from beat to beat; no heart is a clock.
INTERVALS = (0.80, 0.83, 0.78, 0.81, 0.78)
# The waves of a beat: seconds from its R peak, and width (one standard deviation).
WAVES = {
    "P": (-0.165, 0.022),
    "Q": (-0.028, 0.007),
    "R": (0.0, 0.009),
    "S": (0.026, 0.009),
    "T": (0.25, 0.042),
}
# Height in volts of each wave, lead by lead.
HEIGHTS = {
    "P": (0.09, 0.16, 0.06, 0.07, 0.08, 0.08, 0.08, 0.08),
    "Q": (-0.06, -0.09, 0.0, 0.0, -0.03, -0.12, -0.14, -0.11),
    "R": (0.65, 1.15, 0.24, 0.45, 0.80, 1.35, 1.25, 1.00),
    "S": (-0.12, -0.18, -0.85, -1.05, -0.80, -0.45, -0.25, -0.14),
    "T": (0.22, 0.32, -0.07, 0.45, 0.52, 0.46, 0.36, 0.27),
}
BREATH_V = 0.04
NOISE_V = 0.008


def electrocardiogram() -> np.ndarray:
    """Volts, frames x leads."""
    period = sum(INTERVALS)
    time = np.arange(round(period * RATE)) / RATE
    peaks = 0.35 + np.cumsum((0.0, *INTERVALS[:-1]))
    volts = np.zeros((len(time), len(LEADS)))
    for name, (offset, width) in WAVES.items():
        for peak in peaks:
            # The distance on a circle: a wave that runs over the end continues at the beginning.
            distance = (time - peak - offset + period / 2) % period - period / 2
            volts += np.outer(np.exp(-0.5 * (distance / width) ** 2), HEIGHTS[name])
    volts += BREATH_V * np.sin(2 * np.pi * time / period)[:, np.newaxis]
    return volts + np.random.default_rng(1).normal(0, NOISE_V, volts.shape)


def write_signal(path: Path) -> None:
    codes = np.round(electrocardiogram() * 32768 / FULL_SCALE_V).astype("<i2")
    with wave.open(str(path), "wb") as file:
        file.setnchannels(len(LEADS))
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(codes.tobytes())


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    write_signal(Path(sys.argv[1]))
