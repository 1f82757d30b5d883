"""Streamed bytes into volts, by the module and by numpy: decoding.py lists|array ROUNDS

Ours: the blocks wait in the raw queue, before the closed gate of the decoder thread. Timed is from opening
the gate, through the decoder thread and the queue of samples, to the return of the read operation.
Reference: the same blocks wait in a list; timed is joining them, decoding, scaling, rounding as published
and, for lists, tolist. Freeing a result is not timed. Prints a JSON object with the seconds of both for
each round.
"""

from __future__ import annotations

import json
import random
import sys
import time
from collections.abc import Callable
from typing import Any

import numpy as np
import pyqvx
from measure import BLOCK_BYTES, BLOCK_SAMPLES, CHANNELS, PORT, connected

BLOCKS = 300
SAMPLES = BLOCKS * BLOCK_SAMPLES


def timed_ours(
    device: pyqvx.FeroxA, blocks: list[bytes], read: Callable[[int, int, float], Any]
) -> tuple[float, Any]:
    raw = device.ai_data_queue_list[PORT]
    for block in blocks:
        raw.put(block)
    began = time.perf_counter()
    device.AI_open(PORT)
    result = read(PORT, SAMPLES, 60.0)
    elapsed = time.perf_counter() - began
    device.AI_close(PORT)
    return elapsed, result


def timed_reference(ratio: float, blocks: list[bytes], lists: bool) -> tuple[float, Any]:
    began = time.perf_counter()
    codes = np.frombuffer(b"".join(blocks), ">i2").reshape(-1, CHANNELS)
    result = np.round(codes * ratio, 4)
    if lists:
        result = result.tolist()
    return time.perf_counter() - began, result


def main(form: str, rounds: int) -> None:
    # The whole range in random order: what depends on the values, as a table does, has it as hard as it gets.
    data = random.Random(1).randbytes(BLOCKS * BLOCK_BYTES)
    blocks = [data[at : at + BLOCK_BYTES] for at in range(0, len(data), BLOCK_BYTES)]
    pairs = []
    with connected() as (device, _):
        read = {"lists": device.AI_readStreaming, "array": device.AI_readStreamingArray}[form]
        for number in range(rounds + 1):
            mine, result = timed_ours(device, blocks, read)
            other, expected = timed_reference(device.ai_ratio, blocks, form == "lists")
            if number == 0:  # for the caches, and to see that both did the same
                if not np.array_equal(result, expected):
                    raise RuntimeError("the module and numpy decode the same bytes differently")
            else:
                pairs.append((mine, other))
            del result, expected
    print(json.dumps({"samples": SAMPLES, "pairs": pairs}))


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]))
