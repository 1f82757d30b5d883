"""What a bus brings, into the hands of the application: CAN frames and received bytes.

Ours: the packets wait in the raw queue, before the closed gate of the decoder thread. Timed is from opening
the gate, through the decoder thread, to the return of the read. Reference for CAN: as many messages, sent
before, taken from python-can's virtual bus, which stays within the process; for bytes: a list of the blocks.
"""

from __future__ import annotations

import sys
import time
from collections.abc import Callable
from contextlib import ExitStack
from pathlib import Path

import pyqvx
from measure import Row, compare
from qvx_virtual import VirtualDevice

sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "python-can-qvx"))

PORT = 1
RECORD = bytes([0x24, 0x60, 0, 0, 8, 1, 2, 3, 4, 5, 6, 7, 8])
FRAMES_IN_PACKET = 100
BYTES_IN_PACKET = 256


def timed(call: Callable[[], object]) -> float:
    began = time.perf_counter()
    call()
    return time.perf_counter() - began


def rate(row: Row, what: str, count: int, seconds: float) -> list[Row]:
    return [row, Row(what, f"{count / seconds:,.0f}", count / seconds, None)]


def frames(rounds: int, packets: int) -> list[Row]:
    try:
        import can
        from can.interfaces.virtual import VirtualBus
    except ImportError:
        return [Row("CAN frames: python-can is not installed", "", 0, None)]
    count = packets * FRAMES_IN_PACKET
    best = float("inf")
    with ExitStack() as stack:
        bench = stack.enter_context(VirtualDevice("CordlogF1CD"))
        device = stack.enter_context(pyqvx.CordlogF1CD(verbose=False))
        device.connect(bench.url)
        sender = stack.enter_context(VirtualBus("benchmark"))
        receiver = stack.enter_context(VirtualBus("benchmark"))
        message = can.Message(arbitration_id=0x123, data=range(1, 9), is_extended_id=False)

        def take() -> None:
            device.can_lock.release()
            if len(device.CAN_read(PORT, count, 60.0)) != count:
                raise RuntimeError("frames were lost")

        def ours() -> float:
            nonlocal best
            for _ in range(packets):
                device.can_data_queue.put(RECORD * FRAMES_IN_PACKET)
            elapsed = timed(take)
            device.can_lock.acquire()
            best = min(best, elapsed)
            return elapsed

        def reference() -> float:
            for _ in range(count):
                sender.send(message)
            return timed(lambda: [receiver.recv(0) for _ in range(count)])

        row = compare(f"{count:,} CAN frames / python-can's virtual bus", ours, reference, rounds, 1.0)
    return [*rate(row, "CAN frames into CAN_read in a second", count, best), *interface(rounds, packets)]


def interface(rounds: int, packets: int) -> list[Row]:
    """The same frames as messages of python-can, both through its Bus.recv."""
    import can
    from can.interfaces.virtual import VirtualBus
    from can_qvx import QvxBus

    count = packets * FRAMES_IN_PACKET
    with ExitStack() as stack:
        bus = stack.enter_context(QvxBus(stack.enter_context(VirtualDevice("CordlogF1CD")).url))
        sender = stack.enter_context(VirtualBus("benchmark"))
        receiver = stack.enter_context(VirtualBus("benchmark"))
        message = can.Message(arbitration_id=0x123, data=range(1, 9), is_extended_id=False)

        def ours() -> float:
            for _ in range(packets):
                bus._device.can_data_queue.put(RECORD * FRAMES_IN_PACKET)
            return timed(lambda: [bus.recv(60) for _ in range(count)])

        def reference() -> float:
            for _ in range(count):
                sender.send(message)
            return timed(lambda: [receiver.recv(60) for _ in range(count)])

        what = f"{count:,} messages through can.Bus / its virtual bus"
        row = compare(what, ours, reference, rounds, None)
    return [row]


def received(rounds: int, packets: int) -> list[Row]:
    count = packets * BYTES_IN_PACKET
    block = bytes(range(256))
    best = float("inf")
    with VirtualDevice("CordlogF1D") as bench, pyqvx.CordlogF1D(verbose=False) as device:
        device.connect(bench.url)

        def take() -> None:
            device.uart_p1_lock.release()
            if len(device.UART_read(PORT, count, 60.0)) != count:
                raise RuntimeError("bytes were lost")

        def ours() -> float:
            nonlocal best
            for _ in range(packets):
                device.uart_p1_data_queue.put(block)
            elapsed = timed(take)
            device.uart_p1_lock.acquire()
            best = min(best, elapsed)
            return elapsed

        def reference() -> float:
            blocks = [block] * packets
            return timed(lambda: list(b"".join(blocks)))

        row = compare(f"{count:,} UART bytes / list(bytes)", ours, reference, rounds, None)
    return rate(row, "UART bytes into UART_read in a second", count, best)
