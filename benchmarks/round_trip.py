"""One question and its answer, through the module and through Python's own sockets, on the same server.

It is one that takes no time itself, which would hide theirs.
"""

from __future__ import annotations

import asyncio
import json
import socket
import sys
import time
from collections.abc import Awaitable, Callable
from typing import NamedTuple

import pyqvx
from measure import KEEP_MEMORY, Row, compare, compared, echoing, in_new_process
from qvx_virtual import VirtualDevice

SERIAL_NUMBER = "QVBENCH1"
# 0x02, length u16 BE, GET_SERIAL_NUMBER, 0x0D 0x0A
REQUEST = b"\x02\x00\x01\x7a\r\n"
# 0x02, length u16 BE, TOGGLE_AND_WRITE_DO, port, mask u16 BE, 0x0D 0x0A
TOGGLE = b"\x02\x00\x04\xee\x00\x00\x08\r\n"


class Cost(NamedTuple):
    """Seconds of one round trip."""

    wall: float
    cpu: float


def against_socket(
    what: str,
    address: tuple[str, int],
    operation: Callable[[], object],
    request: bytes,
    rounds: int,
    repeats: int,
    limit: float | None = None,
) -> Row:
    """An operation against sendall and recv of the same packets on a connection of its own."""
    with socket.create_connection(address) as raw:
        raw.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

        def ours() -> float:
            began = time.perf_counter()
            for _ in range(repeats):
                operation()
            return (time.perf_counter() - began) / repeats

        def reference() -> float:
            began = time.perf_counter()
            for _ in range(repeats):
                raw.sendall(request)
                raw.recv(4096)
            return (time.perf_counter() - began) / repeats

        return compare(what, ours, reference, rounds, limit)


def blocking(rounds: int, repeats: int) -> Row:
    with echoing(SERIAL_NUMBER) as address, pyqvx.FeroxA(verbose=False) as device:
        device.connect(*address)
        return against_socket(
            "blocking round trip / raw socket",
            address,
            device.Sys_getSerialNumber,
            REQUEST,
            rounds,
            repeats,
            1.2,
        )


def toggling(rounds: int, repeats: int) -> list[Row]:
    """One digital line, inverted as fast as it can be, each time with the reply that it is."""
    with VirtualDevice("FeroxD") as bench, pyqvx.FeroxD(verbose=False) as device:
        device.connect(*bench.address)
        device.resend = False
        toggles = 0
        elapsed = 0.0

        def toggle() -> None:
            nonlocal toggles, elapsed
            began = time.perf_counter()
            device.DO_togglePins(0, 3)
            elapsed += time.perf_counter() - began
            toggles += 1

        row = against_socket(
            "toggle of a digital line / raw socket", bench.address, toggle, TOGGLE, rounds, repeats
        )
        rate = toggles / elapsed
        return [row, Row("toggles of a digital line in a second", f"{rate:,.0f}", rate, None)]


async def awaited_pairs(
    device: pyqvx.FeroxA, address: tuple[str, int], rounds: int, repeats: int
) -> list[tuple[Cost, Cost]]:
    reader, writer = await asyncio.open_connection(*address)

    async def ours() -> None:
        await device.Sys_getSerialNumber_async()

    async def reference() -> None:
        writer.write(REQUEST)
        head = await reader.readexactly(3)
        await reader.readexactly(int.from_bytes(head[1:], "big") + 2)

    async def cost(trip: Callable[[], Awaitable[None]]) -> Cost:
        began, cpu = time.perf_counter(), time.process_time()
        for _ in range(repeats):
            await trip()
        return Cost((time.perf_counter() - began) / repeats, (time.process_time() - cpu) / repeats)

    pairs = [(await cost(ours), await cost(reference)) for _ in range(rounds + 1)]
    writer.close()
    await writer.wait_closed()
    return pairs[1:]


def awaited(rounds: int, repeats: int) -> list[Row]:
    """Sys_getSerialNumber_async against asyncio's streams: write, then read a packet by its length.

    Processor time is that of the whole process, the receive thread included. asyncio makes room for 256 KB
    at every read, which costs it as much again. Where the memory is kept, that is left out: what remains is
    hardly more than the socket's own calls, so no limit is set there.
    """
    rows = []
    for keep, end, limit in ((False, "", 0.8), (True, ", memory kept", None)):
        pairs = in_new_process("round_trip.py", rounds, repeats, environ=KEEP_MEMORY if keep else None)
        wall = [(mine[0], other[0]) for mine, other in pairs]
        cpu = [(mine[1], other[1]) for mine, other in pairs]
        rows.append(compared("awaited round trip / asyncio streams" + end, wall, limit))
        rows.append(compared("the same, processor time", cpu, None))
    return rows


def crowds(rounds: int, small: int = 100, large: int = 4000) -> Row:
    """A request of many that are awaited at once, against one of few."""
    with echoing(SERIAL_NUMBER) as address, pyqvx.FeroxA(verbose=False) as device:
        device.connect(*address)
        device.resend = False

        async def at_once(count: int) -> float:
            began = time.perf_counter()
            await asyncio.gather(*(device.Sys_getSerialNumber_async(timeout=60) for _ in range(count)))
            return (time.perf_counter() - began) / count

        def of(count: int) -> Callable[[], float]:
            return lambda: asyncio.run(at_once(count))

        return compare(f"a request of {large:,} at once / of {small}", of(large), of(small), rounds, 2.0)


if __name__ == "__main__":
    with echoing(SERIAL_NUMBER) as place, pyqvx.FeroxA(verbose=False) as one:
        one.connect(*place)
        print(json.dumps(asyncio.run(awaited_pairs(one, place, *map(int, sys.argv[1:])))))
