"""Generates a sine on analog output 0 of a CordlogF1AOD, samples it with analog input 0, which a wire joins
to it, and draws both."""

from __future__ import annotations

import argparse
from pathlib import Path

import numpy as np
import pyqvx
from address import devices_to_use
from terminal import Terminal, plot

PORT = CHANNEL = 0
CONTINUOUS, SINE = 2, 3
AMPLITUDE_V, OFFSET_V, FREQUENCY_HZ = 4.0, 1.0, 25.0
OUTPUT_HZ = 1_000  # each period is made of 40 steps
INPUT_HZ = 8_000
SAMPLES = INPUT_HZ // 5
# The fewer, the faster they may be sampled.
INPUT_CHANNELS = 1


def generate(device: pyqvx.CordlogF1AOD) -> None:
    device.AO_open(PORT)
    device.AO_openStreaming(PORT)
    device.AO_setMode(PORT, CONTINUOUS)
    device.AO_setSamplingRate(PORT, OUTPUT_HZ)
    device.AO_setEnableChannels(PORT, [CHANNEL])
    device.AO_setForm(PORT, CHANNEL, SINE)
    device.AO_setFormParam(PORT, CHANNEL, AMPLITUDE_V, OFFSET_V, FREQUENCY_HZ, 0, 50)
    device.AO_startStreaming(PORT)
    if device._AO_getState(PORT) != 2:
        raise SystemExit("the device does not generate")


def measure(device: pyqvx.CordlogF1AOD) -> np.ndarray:
    device.AI_open(PORT)
    device.AI_enableChannel(PORT, INPUT_CHANNELS)
    device.AI_setMode(PORT, CONTINUOUS)
    device.AI_setSamplingRate(PORT, INPUT_HZ)
    device.AI_openStreaming(PORT)
    device.AI_startStreaming(PORT)
    volts = device.AI_readStreamingArray(PORT, SAMPLES, 5.0)[:, CHANNEL]
    device.AI_closeStreaming(PORT)
    device.AI_close(PORT)
    if len(volts) < SAMPLES:
        raise SystemExit(f"only {len(volts)} samples came")
    return volts


def fitted(volts: np.ndarray) -> tuple[np.ndarray, float, float]:
    """The sine of that frequency which fits best what was measured, its amplitude and offset."""
    turns = 2 * np.pi * FREQUENCY_HZ * np.arange(len(volts)) / INPUT_HZ
    waves = np.column_stack([np.sin(turns), np.cos(turns), np.ones_like(turns)])
    parts = np.linalg.lstsq(waves, volts, rcond=None)[0]
    return waves @ parts, float(np.hypot(parts[0], parts[1])), float(parts[2])


def draw(path: Path, volts: np.ndarray, sine: np.ndarray, title: str) -> None:
    from figure import COLOURS, FAINT, STYLE, plt

    shown = slice(0, round(2 * INPUT_HZ / FREQUENCY_HZ))
    milliseconds = np.arange(shown.stop) / INPUT_HZ * 1e3
    with plt.rc_context(STYLE):
        figure, axes = plt.subplots(figsize=(11, 5.2), dpi=150)
        axes.plot(milliseconds, sine[shown], color=FAINT, linewidth=1.2, label="the sine that fits best")
        axes.plot(milliseconds, volts[shown], ".", color=COLOURS[2], markersize=3.5, label="sampled by AI0")
        axes.set_title(title, loc="left", weight="bold", pad=10)
        axes.set_xlabel("time [ms]")
        axes.set_ylabel("[V]")
        axes.grid()
        axes.margins(x=0.01)
        axes.legend(frameon=False, loc="lower left")
        figure.savefig(path, bbox_inches="tight")
        plt.close(figure)


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--png", type=Path, help="write a picture too")
    with devices_to_use(parser, model="CordlogF1AOD", wire="ao0.0=ai0.0") as places:
        with pyqvx.CordlogF1AOD() as device:
            if not device.connect(*places[0]):
                raise SystemExit(1)
            generate(device)
            volts = measure(device)
            steps, _ = device._AO_getCounters(PORT)
            device.AO_closeStreaming(PORT)
            device.AO_close(PORT)
    sine, amplitude, offset = fitted(volts)
    title = f"AO0 puts out {FREQUENCY_HZ:g} Hz in {OUTPUT_HZ} steps a second, AI0 samples at {INPUT_HZ} Hz"
    periods = round(2 * INPUT_HZ / FREQUENCY_HZ)
    print(title + "\n")
    print(plot(Terminal(), volts[:periods].tolist(), periods / INPUT_HZ, "V"))
    print(f"\n{steps} steps so far. Asked for {AMPLITUDE_V:.4f} V around {OFFSET_V:.4f} V,", end=" ")
    print(f"measured {amplitude:.4f} V around {offset:.4f} V.")
    png = parser.parse_args().png
    if png is not None:
        draw(png, volts, sine, title)
        print(f"Drawn in {png}.")


if __name__ == "__main__":
    main()
