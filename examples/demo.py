"""A virtual Ferox-A plays a recorded electrocardiogram; the driver measures it, and every sample is checked.

Ends with status 0 only if all that it prints holds.
"""

from __future__ import annotations

import argparse
import sys
import tempfile
import time
import wave
from array import array
from pathlib import Path

import pyqvx
from make_signal import LEADS, write_signal
from qvx_virtual import VirtualDevice
from terminal import ProgressBar, Terminal, plot

Samples = list[list[float]]

PORT = 0
# Seconds without a new sample after which a stream counts as broken.
STALL_S = 5.0
SHOWN_LEAD = 1


class Demo:
    def __init__(self, rate: int, seconds: float, faults: dict[str, str]) -> None:
        self.rate = rate
        self.faults = faults
        self.count = round(rate * seconds)
        self.terminal = Terminal()
        self.failures: list[str] = []

    def heading(self, text: str) -> None:
        print(f"\n{self.terminal.paint(text, '1')}")

    def fact(self, name: str, value: object) -> None:
        print(f"  {name:<12} {value}")

    def check(self, holds: bool, claim: str) -> None:
        print(f"  {self.terminal.mark(holds)} {claim}")
        if not holds:
            self.failures.append(claim)

    def run(self, png: Path | None) -> int:
        with tempfile.TemporaryDirectory(prefix="qvx-demo-") as folder:
            recording = Path(folder) / "electrocardiogram.wav"
            write_signal(recording)
            source = read_recording(recording)
            print(f"A virtual device plays {len(source):,} recorded samples of {len(source[0])} channels.")
            with VirtualDevice("FeroxA", source=f"wav:{recording}", alias="demo", **self.faults) as bench:
                self.heading("Connect")
                with pyqvx.FeroxA() as device:
                    self.measure(device, bench.address, source, png)
        print()
        for claim in self.failures:
            print(f"DOES NOT HOLD: {claim}")
        return 1 if self.failures else 0

    def measure(
        self, device: pyqvx.FeroxA, address: tuple[str, int], source: Samples, png: Path | None
    ) -> None:
        self.check(device.connect(*address), f"connected to {address[0]}:{address[1]}")
        model, kind, version = device.Sys_getDriverInfo()
        self.fact("model", f"{model} ({kind.lower()}, {version})")
        self.fact("serial", device.Sys_getSerialNumber())
        self.fact("alias", device.Sys_getDeviceAlias())
        self.fact("clock", device.Sys_getRTC())
        self.fact("driver", f"pyqvx {pyqvx.__version__}")
        device.AI_open(PORT)

        self.heading("Read on demand")
        print("  " + "  ".join(f"{lead:>7}" for lead in LEADS))
        moments = []
        for _ in range(3):
            moments.append(device.AI_readOnDemand(PORT))
            print("  " + "  ".join(f"{volts:7.4f}" for volts in moments[-1]) + "  V")
            time.sleep(0.1)
        self.check(all(moment in source for moment in moments), "each line is one moment of the recording")

        self.heading(f"Stream {self.count / self.rate:g} s at {self.rate / 1000:g} kHz")
        received, elapsed = self.stream(device)
        if not received:
            self.check(False, "samples arrive")
            return
        _, packets, lost = device._AI_getCounter(PORT)
        lost += device.ai_signal_queue_list[PORT].dropped
        expected = [source[number % len(source)] for number in range(self.count)]
        wrong = sum(ours != theirs for ours, theirs in zip(received, expected))
        rate = (len(received) - 1) / elapsed
        self.fact("rate", f"{rate:,.0f} samples/s, {rate * len(LEADS):,.0f} values/s in {packets:,} packets")
        self.fact("lost", lost)
        self.check(lost == 0 and len(received) == self.count, f"{len(received):,} of {self.count:,} samples")
        self.check(wrong == 0, f"every value is the one recorded ({len(received) * len(LEADS):,} compared)")

        self.heading(f"Lead {LEADS[SHOWN_LEAD]}")
        duration = len(received) / self.rate
        print(plot(self.terminal, [sample[SHOWN_LEAD] for sample in received], duration, "V"))
        if png is not None:
            self.draw(png, received, expected)
            self.fact("picture", png)

    def stream(self, device: pyqvx.FeroxA) -> tuple[Samples, float]:
        """Every sample of the stream, and the seconds from its start to its last one."""
        device.AI_setMode(PORT, 1)
        device.AI_setNumSamples(PORT, self.count)
        device.AI_setSamplingRate(PORT, self.rate)
        device.AI_openStreaming(PORT)
        bar = ProgressBar(self.terminal, self.count, "samples")
        received: Samples = []
        started = heard = time.monotonic()
        device.AI_startStreaming(PORT)
        while len(received) < self.count and time.monotonic() - heard < STALL_S:
            news = device.AI_readStreaming(PORT, min(self.rate // 20, self.count - len(received)), 1.0)
            if news:
                heard = time.monotonic()
                received += news
                bar.show(len(received), f"{len(received) / (heard - started) / 1000:.2f} kHz")
        device.AI_closeStreaming(PORT)
        # Whatever is there now is too much, and is counted.
        received += device.AI_readStreaming(PORT, -1, 0)
        return received, heard - started

    def draw(self, png: Path, received: Samples, expected: Samples) -> None:
        import numpy as np
        from figure import write_figure

        title = "An electrocardiogram through a virtual Ferox-A"
        verdict = f"{len(self.failures)} checks failed" if self.failures else "each equal to its source"
        subtitle = (
            f"{len(LEADS)} channels at {self.rate / 1000:g} kHz for {len(received) / self.rate:g} s: "
            f"{len(received) * len(LEADS):,} values received, {verdict}"
        )
        write_figure(png, np.array(received), np.array(expected), self.rate, LEADS, title, subtitle)


def read_recording(path: Path) -> Samples:
    """The recording as the device must report it: +-10 V over 16 bits, rounded to 0.1 mV."""
    with wave.open(str(path)) as file:
        codes = array("h", file.readframes(file.getnframes()))
        channels = file.getnchannels()
    if sys.byteorder == "big":
        codes.byteswap()
    volts = [round(code * 10 / 32768, 4) for code in codes]
    return [volts[at : at + channels] for at in range(0, len(volts), channels)]


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--seconds", type=float, default=5.0, help="length of the stream (default 5)")
    parser.add_argument("--rate", type=int, default=10_000, help="samples per second (default 10000)")
    parser.add_argument("--png", type=Path, default=Path("demo.png"), help="the picture (default demo.png)")
    parser.add_argument("--no-png", action="store_true", help="write no picture")
    parser.add_argument(
        "--fault",
        action="append",
        default=[],
        metavar="NAME=VALUE",
        help="of qvx-virtual, as duplicate=0.1: it shows",
    )
    options = parser.parse_args()
    if not 0 < options.seconds <= 600:
        parser.error("--seconds takes more than 0 and at most 600")
    faults = dict(fault.split("=", 1) for fault in options.fault)
    return Demo(options.rate, options.seconds, faults).run(None if options.no_png else options.png)


if __name__ == "__main__":
    sys.exit(main())
