"""What a device costs the process that uses it; one cost a run, so that nothing else has been in the process:

costs.py idle SECONDS | stream SECONDS | memory SAMPLES. Prints a JSON object.
"""

from __future__ import annotations

import array
import json
import os
import sys
import tempfile
import time
import wave
from pathlib import Path

import numpy as np
import pyqvx
from measure import BLOCK_BYTES, BLOCK_SAMPLES, CHANNELS, PORT, connected

RATE = 200_000
# The recording that a stream plays has every code once, in order: a sample lost or moved anywhere is seen.
CODES = 1 << 16


def idle(seconds: float) -> dict[str, float]:
    """Processor time, of all threads, while a device is connected and nothing is asked."""
    with connected() as (device, _):
        device.Sys_getSerialNumber()
        device.AI_open(PORT)
        time.sleep(0.5)
        began = time.process_time()
        time.sleep(seconds)
        return {"cpu_s": time.process_time() - began}


def stream(seconds: float) -> dict[str, float]:
    """A stream at ten times the published limit, which the driver checks: its rate is set past the driver."""
    count = round(RATE * seconds)
    with tempfile.TemporaryDirectory(prefix="qvx-bench-") as folder:
        recording = Path(folder) / "codes.wav"
        write_codes(recording)
        with connected(source=f"wav:{recording}") as (device, _):
            device.AI_open(PORT)
            device.AI_setMode(PORT, 1)
            device.AI_setNumSamples(PORT, count)
            device._echoPacketWithRetry(
                pyqvx.SET_AI_SAMPLING_RATE, [PORT, *pyqvx.convertF32To4U8(float(RATE))], 3
            )
            device.AI_openStreaming(PORT)
            pieces: list[np.ndarray] = []
            came = 0
            began, cpu = time.perf_counter(), time.process_time()
            device.AI_startStreaming(PORT)
            while came < count:
                piece = device.AI_readStreamingArray(PORT, min(RATE // 20, count - came), 5.0)
                if len(piece) == 0:
                    break
                pieces.append(piece)
                came += len(piece)
            elapsed, cpu = time.perf_counter() - began, time.process_time() - cpu
            lost = device._AI_getCounter(PORT)[2] + device.ai_signal_queue_list[PORT].dropped
    volts = np.round(np.arange(-CODES // 2, CODES // 2) * 10 / 32768, 4)
    expected = np.resize(volts, came)[:, np.newaxis]
    wrong = int(np.any(np.concatenate(pieces) != expected, axis=1).sum())
    return {"lost": max(lost, count - came), "wrong": wrong, "core": cpu / elapsed, "rate": came / elapsed}


def write_codes(path: Path) -> None:
    codes = array.array("h", range(-CODES // 2, CODES // 2))
    if sys.byteorder == "big":
        codes.byteswap()
    with wave.open(str(path), "wb") as file:
        file.setnchannels(1)
        file.setsampwidth(2)
        file.setframerate(RATE)
        file.writeframes(codes.tobytes())


def memory(samples: int) -> dict[str, float]:
    """How much the resident memory grows while the queue of samples fills."""
    with connected() as (device, _):
        device.AI_open(PORT)
        raw, decoded = device.ai_data_queue_list[PORT], device.ai_signal_queue_list[PORT]
        block = bytes(range(256)) * 6
        block = block[:BLOCK_BYTES]
        before = resident_bytes()
        put = 0
        while put < samples:
            raw.put(block[: min(BLOCK_SAMPLES, samples - put) * 2 * CHANNELS])
            put += BLOCK_SAMPLES
            while raw.qsize() > 100:
                time.sleep(0.001)
        deadline = time.monotonic() + 60
        while decoded.qsize() < samples and time.monotonic() < deadline:
            time.sleep(0.01)
        return {"bytes": resident_bytes() - before, "samples": decoded.qsize()}


def resident_bytes() -> int:
    return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")


if __name__ == "__main__":
    cost = {"idle": idle, "stream": stream, "memory": memory}[sys.argv[1]]
    print(json.dumps(cost(int(sys.argv[2]))))
