"""Streamed bytes into volts, by the module and by numpy: decoding.py lists|array 16|24 ROUNDS

Ours: the blocks wait in the raw queue, before the closed gate of the decoder thread. Timed is from opening
the gate, through the decoder thread and the queue of samples, to the return of the read operation.
Reference: the same blocks wait in a list; timed is joining them, decoding, scaling, for 16 bits rounding as
published and, for lists, tolist. Freeing a result is not timed. Prints a JSON object with the seconds of
both for each round.
"""

from __future__ import annotations

import json
import random
import sys
import time
from collections.abc import Callable
from typing import Any

import numpy as np
from measure import BLOCK_BYTES, CHANNELS, PORT, connected

BLOCKS = 300
MODELS = {16: "FeroxA", 24: "FeroxA2"}


def timed_ours(
    device: Any, blocks: list[bytes], samples: int, read: Callable[[int, int, float], Any]
) -> tuple[float, Any]:
    raw = device.ai_data_queue_list[PORT]
    for block in blocks:
        raw.put(block)
    began = time.perf_counter()
    device.AI_open(PORT)
    result = read(PORT, samples, 60.0)
    elapsed = time.perf_counter() - began
    device.AI_close(PORT)
    return elapsed, result


def volts_of_16_bits(data: bytes, ratio: float) -> np.ndarray:
    return np.round(np.frombuffer(data, ">i2") * ratio, 4)


def volts_of_24_bits(data: bytes, ratio: float) -> np.ndarray:
    codes = np.zeros((len(data) // 3, 4), np.uint8)
    codes[:, :3] = np.frombuffer(data, np.uint8).reshape(-1, 3)
    # The shift brings the sign down.
    return (codes.view(">i4")[:, 0] >> 8) * ratio


def timed_reference(ratio: float, blocks: list[bytes], bits: int, lists: bool) -> tuple[float, Any]:
    decode = volts_of_16_bits if bits == 16 else volts_of_24_bits
    began = time.perf_counter()
    result: Any = decode(b"".join(blocks), ratio).reshape(-1, CHANNELS)
    if lists:
        result = result.tolist()
    return time.perf_counter() - began, result


def main(form: str, bits: int, rounds: int) -> None:
    # The whole range in random order: what depends on the values, as a table does, has it as hard as it gets.
    data = random.Random(1).randbytes(BLOCKS * BLOCK_BYTES)
    blocks = [data[at : at + BLOCK_BYTES] for at in range(0, len(data), BLOCK_BYTES)]
    samples = len(data) // (CHANNELS * bits // 8)
    pairs = []
    with connected(model=MODELS[bits]) as (device, _):
        read = {"lists": device.AI_readStreaming, "array": device.AI_readStreamingArray}[form]
        for number in range(rounds + 1):
            mine, result = timed_ours(device, blocks, samples, read)
            other, expected = timed_reference(device.ai_ratio, blocks, bits, form == "lists")
            if number == 0:  # for the caches, and to see that both did the same
                if not np.array_equal(result, expected):
                    raise RuntimeError("the module and numpy decode the same bytes differently")
            else:
                pairs.append((mine, other))
            del result, expected
    print(json.dumps({"samples": samples, "pairs": pairs}))


if __name__ == "__main__":
    main(sys.argv[1], int(sys.argv[2]), int(sys.argv[3]))
