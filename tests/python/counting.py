"""Whether a reply is younger than its request, on roads that delay and drop.

A device answers with a number that counts up at each request that it carries out, and with what it was
asked. A reader looks at the count, asks, and must get a higher one, and its own question.
Run by hand, this reads by the thousand: counting.py --help
"""

from __future__ import annotations

import argparse
import asyncio
import os
import pty
import queue
import random
import socket
import sys
import threading
import time
import tty
import warnings
from collections.abc import Callable, Iterator, Sequence
from contextlib import contextmanager
from dataclasses import dataclass, field
from typing import Any

import pyqvx

CODE = pyqvx.GET_SERIAL_NUMBER
FRAME_EXTRA = 5  # start byte, length u16, end bytes


@dataclass(frozen=True)
class Faults:
    """What becomes of packets on the way. Replies leave `delay_s` after their requests came, in order."""

    delay_s: tuple[float, ...] = (0.0,)  # one of them for each request
    lost_requests: float = 0.0
    lost_replies: float = 0.0

    def __str__(self) -> str:
        delays = "/".join(f"{1000 * delay:g}" for delay in self.delay_s)
        return f"{delays} ms, {self.lost_requests:.0%} requests and {self.lost_replies:.0%} replies dropped"


class Counter:
    """The device. Serves one connection after the other; `produced` is what it has answered last."""

    def __init__(self, faults: Faults, seed: int = 1) -> None:
        self.faults = faults
        self.produced = 0
        self._random = random.Random(seed)

    def serve(self, fd: int, over: Callable[[], None]) -> None:
        line: queue.SimpleQueue[tuple[float, bytes] | None] = queue.SimpleQueue()
        sending = threading.Thread(target=self._send, args=(fd, line))
        sending.start()
        buffer, due = b"", 0.0
        try:
            while data := os.read(fd, 4096):
                buffer += data
                while len(buffer) >= 3 and len(buffer) >= (
                    size := int.from_bytes(buffer[1:3], "big") + FRAME_EXTRA
                ):
                    question, buffer = buffer[4 : size - 2], buffer[size:]
                    if self._random.random() < self.faults.lost_requests:
                        continue
                    self.produced += 1
                    due = max(due, time.monotonic() + self._random.choice(self.faults.delay_s))
                    if self._random.random() >= self.faults.lost_replies:
                        reply = b"%c%08d%b" % (CODE, self.produced, question)
                        line.put((due, b"\2\0%c%b\r\n" % (len(reply), reply)))
        except OSError:
            pass
        line.put(None)
        sending.join()
        over()

    @staticmethod
    def _send(fd: int, line: queue.SimpleQueue[tuple[float, bytes] | None]) -> None:
        try:
            while (entry := line.get()) is not None:
                time.sleep(max(0.0, entry[0] - time.monotonic()))
                os.write(fd, entry[1])
        except OSError:
            pass


def _serve_socket(server: socket.socket, counter: Counter) -> None:
    connection, _ = server.accept()
    connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
    counter.serve(connection.fileno(), connection.close)


@contextmanager
def _tcp(counter: Counter, model: str, place: Callable[[int], Sequence[Any]]) -> Iterator[Any]:
    with socket.create_server(("127.0.0.1", 0)) as server:
        serving = threading.Thread(target=_serve_socket, args=(server, counter))
        serving.start()
        with getattr(pyqvx, model)(verbose=False) as device:
            device.connect(*place(server.getsockname()[1]))
            yield device
        serving.join()


@contextmanager
def ethernet(counter: Counter) -> Iterator[Any]:
    with _tcp(counter, "FeroxA", lambda port: ("127.0.0.1", port)) as device:
        yield device


@contextmanager
def wifi(counter: Counter) -> Iterator[Any]:
    with socket.create_server(("127.0.0.1", 0)) as data:
        place = ("127.0.0.1", data.getsockname()[1], None)
        with _tcp(counter, "SkylogF4A", lambda port: (*place, port)) as device:
            yield device


@contextmanager
def usb(counter: Counter) -> Iterator[Any]:
    """A USB model at a TCP place: its handle, and TCP for the wire."""
    with _tcp(counter, "CordlogF1D", lambda port: (f"tcp://127.0.0.1:{port}",)) as device:
        yield device


@contextmanager
def serial(counter: Counter) -> Iterator[Any]:
    far, near = pty.openpty()
    tty.setraw(near)
    serving = threading.Thread(target=counter.serve, args=(far, lambda: None))
    serving.start()
    try:
        with pyqvx.UARTDevice(verbose=False) as device:
            device.connect(os.ttyname(near))
            yield device
    finally:
        os.close(near)
        serving.join()
        os.close(far)


ROADS = {"tcp": ethernet, "wifi": wifi, "usb": usb, "serial": serial}


class OtherAnswer(Exception):
    """The answer to somebody else's question."""


def value_of(reply: bytes | None, question: bytes) -> int:
    if reply is None:
        raise pyqvx.ReceivePacketTimeoutError
    if bytes(reply[8:]) != question:
        raise OtherAnswer
    return int(reply[:8])


def ask(device: Any, question: bytes, once: bool, timeout: float) -> int:
    """As operations do, whose bodies these are; a serial device has none of its own."""
    if question or isinstance(device, pyqvx.UARTDevice):
        call = device._echoPacket if once else device._echoPacketWithRetry
        return value_of(call(CODE, list(question), timeout), question)
    return int(device.Sys_getSerialNumber(timeout=timeout))


async def ask_async(device: Any, question: bytes, once: bool, timeout: float) -> int:
    if question or isinstance(device, pyqvx.UARTDevice):
        call = device._echoPacket_async if once else device._echoPacketWithRetry_async
        return value_of(await call(CODE, list(question), timeout), question)
    return int(await device.Sys_getSerialNumber_async(timeout=timeout))


@dataclass
class Readers:
    """Who reads, and how."""

    threads: int = 0
    loops: int = 0
    tasks: int = 4  # of each loop
    reads: int = 100  # of all together
    timeout_s: float = 3.0
    impatient: int = (
        0  # one of so many reads gives up (and, awaited, one is cancelled) before its reply can come
    )
    hurry_s: float = 0.0  # after so long
    once: bool = False  # each request is sent once
    late_replies: bool = True
    questions: int = 0  # so many different ones with the same command; else all ask the same

    def question(self, number: int) -> bytes:
        return bytes([number % self.questions]) if self.questions else b""


@dataclass
class Tally:
    reads: int = 0
    older: int = 0
    others: int = 0  # answers to another's question
    given_up: int = 0  # of the impatient
    timeouts: int = 0  # of the others
    warnings: list[str] = field(default_factory=list)
    times: list[float] = field(default_factory=list)
    errors: list[str] = field(default_factory=list)
    requests: int = 0

    def __str__(self) -> str:
        times = sorted(self.times) or [0.0]
        middle, slow = times[len(times) // 2], times[int(len(times) * 0.99)]
        return (
            f"{self.reads} reads: {self.older} older than their request, "
            f"{self.others} to another question, {self.timeouts} timed out, "
            f"{self.given_up} given up early, {len(self.warnings)} warnings; "
            f"{self.requests / max(1, self.reads):.2f} requests carried out for each, "
            f"{1000 * middle:.1f} ms (median), {1000 * sum(times) / len(times):.1f} ms (mean), "
            f"{1000 * slow:.0f} ms (99 of 100)"
        )


def _count(
    tally: Tally, lock: threading.Lock, before: int, began: float, value: int | None, hurried: bool
) -> None:
    with lock:
        tally.reads += 1
        tally.times.append(time.perf_counter() - began)
        if value is None and hurried:
            tally.given_up += 1
        elif value is None:
            tally.timeouts += 1
        else:
            tally.older += value <= before


def run(device: Any, counter: Counter, readers: Readers) -> Tally:
    """Reads until all have read; what they got."""
    tally, lock = Tally(), threading.Lock()
    left = iter(range(readers.reads))
    if not readers.late_replies:
        device.late_replies = False
    if readers.once:
        device.resend = False

    def next_read() -> int | None:
        with lock:
            return next(left, None)

    def hurries(number: int) -> bool:
        return readers.impatient != 0 and number % readers.impatient == 0

    def read() -> None:
        while (number := next_read()) is not None:
            hurried = hurries(number)
            before, began, value = counter.produced, time.perf_counter(), None
            try:
                timeout = readers.hurry_s if hurried else readers.timeout_s
                value = ask(device, readers.question(number), readers.once, timeout)
            except pyqvx.ReceivePacketTimeoutError:
                pass
            except OtherAnswer:
                tally.others += 1
            _count(tally, lock, before, began, value, hurried)

    async def read_async() -> None:
        while (number := next_read()) is not None:
            hurried = hurries(number)
            before, began, value = counter.produced, time.perf_counter(), None
            try:
                if hurried and number % 2:  # cancelled
                    asking = ask_async(device, readers.question(number), readers.once, readers.timeout_s)
                    value = await asyncio.wait_for(asking, readers.hurry_s)
                else:
                    timeout = readers.hurry_s if hurried else readers.timeout_s
                    value = await ask_async(device, readers.question(number), readers.once, timeout)
            except (pyqvx.ReceivePacketTimeoutError, asyncio.TimeoutError):
                pass
            except OtherAnswer:
                tally.others += 1
            _count(tally, lock, before, began, value, hurried)

    async def loop() -> None:
        await asyncio.gather(*(read_async() for _ in range(readers.tasks)))

    def guarded(body: Callable[[], object]) -> None:
        try:
            body()
        except BaseException as error:  # pylint: disable=broad-exception-caught
            tally.errors.append(repr(error))

    bodies: list[Callable[[], object]] = [read] * readers.threads
    bodies += [lambda: asyncio.run(loop())] * readers.loops
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        began = counter.produced
        threads = [threading.Thread(target=guarded, args=(body,)) for body in bodies]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
        tally.requests = counter.produced - began
    tally.warnings = [f"{w.category.__name__}: {w.message}" for w in caught]
    return tally


def tried(road: str, faults: Faults, readers: Readers, seed: int = 1) -> Tally:
    counter = Counter(faults, seed)
    with ROADS[road](counter) as device:
        return run(device, counter, readers)


FORMS = {
    "blocking": {"threads": 6},
    "awaited": {"loops": 3},
    "mixed": {"threads": 6, "loops": 3},
    "alone": {"threads": 1},
}


def main() -> None:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--road", nargs="*", choices=ROADS, default=list(ROADS))
    parser.add_argument("--form", nargs="*", choices=FORMS, default=["blocking", "awaited", "mixed"])
    parser.add_argument("--delay", nargs="*", type=float, default=[5, 15, 50, 500], help="in ms")
    parser.add_argument("--mix-delays", action="store_true", help="all of them in one run")
    parser.add_argument(
        "--drop", nargs="*", type=float, default=[0], help="percent of requests, and of replies"
    )
    parser.add_argument("--reads", type=int, default=1000, help="in each run")
    parser.add_argument("--timeout", type=float, default=3, help="of each read, in s")
    parser.add_argument(
        "--impatient", type=int, default=0, help="one read of so many gives up after half the delay"
    )
    parser.add_argument("--once", action="store_true", help="requests are sent once")
    parser.add_argument("--questions", type=int, default=0, help="so many different ones")
    parser.add_argument("--drop-late", action="store_true", help="late_replies = False")
    given = parser.parse_args()
    delays = [tuple(given.delay)] if given.mix_delays else [(delay,) for delay in given.delay]
    total: dict[str, list[int]] = {}
    for road in given.road:
        for form in given.form:
            for delay in delays:
                for drop in given.drop:
                    faults = Faults(tuple(ms / 1000 for ms in delay), drop / 100, drop / 100)
                    readers = Readers(
                        reads=given.reads,
                        timeout_s=given.timeout,
                        impatient=given.impatient,
                        hurry_s=min(delay) / 2000,
                        once=given.once,
                        questions=given.questions,
                        late_replies=not given.drop_late,
                        **FORMS[form],
                    )
                    began = time.perf_counter()
                    tally = tried(road, faults, readers)
                    print(
                        f"{road:7}{form:9}{faults}: {tally}; {time.perf_counter() - began:.0f} s",
                        file=sys.stderr,
                    )
                    for line in sorted(set(tally.warnings + tally.errors)):
                        print(f"    {line}", file=sys.stderr)
                    counts = total.setdefault(road, [0, 0, 0])
                    for index, value in enumerate(
                        (tally.reads, tally.older, tally.timeouts + tally.given_up)
                    ):
                        counts[index] += value
    for road, (reads, older, unanswered) in total.items():
        print(
            f"{road}: {reads} reads, {older} older than their request, {unanswered} unanswered",
            file=sys.stderr,
        )


if __name__ == "__main__":
    main()
