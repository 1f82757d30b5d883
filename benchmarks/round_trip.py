"""One question and its answer, through the module and through Python's own sockets, on the same server."""

from __future__ import annotations

import asyncio
import socket
import time
from collections.abc import Awaitable, Callable
from typing import NamedTuple

import pyqvx
from measure import Row, compare, compared, connected

# 0x02, length u16 BE, GET_SERIAL_NUMBER, 0x0D 0x0A
REQUEST = b"\x02\x00\x01\x7a\r\n"


class Cost(NamedTuple):
    """Seconds of one round trip."""

    wall: float
    cpu: float


def blocking(rounds: int, repeats: int) -> Row:
    """Sys_getSerialNumber against sendall and recv of the same packets on a connection of its own."""
    with connected() as (device, bench), socket.create_connection(bench.address) as raw:
        raw.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)

        def ours() -> float:
            began = time.perf_counter()
            for _ in range(repeats):
                device.Sys_getSerialNumber()
            return (time.perf_counter() - began) / repeats

        def reference() -> float:
            began = time.perf_counter()
            for _ in range(repeats):
                raw.sendall(REQUEST)
                raw.recv(4096)
            return (time.perf_counter() - began) / repeats

        return compare("blocking round trip / raw socket", ours, reference, rounds, 1.6)


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

    Ours has one thread more between the device and the loop, which costs time where cores are busy or asleep,
    and does less work, which shows as processor time of the whole process.
    """
    with connected() as (device, bench):
        pairs = asyncio.run(awaited_pairs(device, bench.address, rounds, repeats))
    wall = [(mine.wall, other.wall) for mine, other in pairs]
    cpu = [(mine.cpu, other.cpu) for mine, other in pairs]
    return [
        compared("awaited round trip / asyncio streams", wall, 1.1),
        compared("the same, processor time", cpu, None),
    ]
