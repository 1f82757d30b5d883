"""Replies and the requests they belong to, on roads that delay, drop, and whose askers give up."""

import asyncio
import contextlib
import signal
import socket
import threading
import time
from typing import Any

import pytest
from counting import ROADS, Faults, Readers, tried

import pyqvx

LATE = "Warning 520004: A reply that came too late"
EVERYBODY: dict[str, Any] = {"threads": 6, "loops": 3, "tasks": 2}


@pytest.mark.parametrize("road", ROADS)
@pytest.mark.parametrize(
    ("delay_ms", "reads", "form"), [(5, 200, EVERYBODY), (15, 50, {"threads": 1}), (50, 200, EVERYBODY)]
)
def test_no_reader_gets_a_value_older_than_its_request(road, delay_ms, reads, form):
    tally = tried(road, Faults((delay_ms / 1000,)), Readers(reads=reads, timeout_s=20, **form))
    assert (tally.errors, tally.reads, tally.older, tally.timeouts) == ([], reads, 0, 0)
    assert tally.warnings == []


@pytest.mark.parametrize("road", ROADS)
@pytest.mark.parametrize("kept", [True, False])
def test_each_request_that_gives_up_makes_at_most_one_late_answer(road, kept):
    """One read of seven gives up, or is cancelled, before its reply can come."""
    readers = Readers(reads=210, timeout_s=20, impatient=7, hurry_s=0.02, late_replies=kept, **EVERYBODY)
    tally = tried(road, Faults((0.05,)), readers)
    assert (tally.errors, tally.reads, tally.timeouts) == ([], 210, 0)
    if kept:
        assert tally.older <= tally.given_up
        assert len(tally.warnings) == 1 and LATE in tally.warnings[0]  # the first
    else:
        assert tally.older == 0 and tally.given_up >= 30 and tally.warnings == []


@pytest.mark.parametrize("road", ["tcp", "serial"])
@pytest.mark.parametrize("form", [{"threads": 1}, {"threads": 6}, {"loops": 3}])
def test_a_road_that_drops_costs_time_and_no_value(road, form):
    """One packet of ten is lost. An operation times out when all of its copies are; without end, when the
    driver cannot tell what it is owed."""
    tally = tried(
        road, Faults((0.005,), lost_requests=0.05, lost_replies=0.05), Readers(reads=60, timeout_s=6, **form)
    )
    assert (tally.errors, tally.older) == ([], 0)
    assert tally.timeouts <= 3


@pytest.mark.parametrize("form", [{"threads": 6}, {"loops": 3}])
def test_nobody_gets_the_answer_to_another_question(form):
    """Also where replies are lost, so that the ones that follow are taken for earlier ones."""
    readers = Readers(reads=120, timeout_s=6, questions=3, **form)
    tally = tried("tcp", Faults((0.001,), lost_requests=0.01, lost_replies=0.01), readers)
    assert (tally.errors, tally.reads, tally.others, tally.older) == ([], 120, 0, 0)
    assert tally.timeouts <= 3


CODE = pyqvx.GET_SERIAL_NUMBER


@contextlib.contextmanager
def answering(delays):
    """A device that echoes each request so many seconds after it came, in their order, or not at all (None);
    what it was asked; and where it is."""
    asked = []

    def serve():
        connection, _ = server.accept()
        with connection:
            while data := connection.recv(4096):
                for frame in data.split(b"\r\n")[:-1]:
                    question = frame[4]
                    asked.append(question)
                    if (delay := delays.get(question, 0.005)) is not None:
                        time.sleep(delay)
                        connection.sendall(frame + b"\r\n")

    with socket.create_server(("127.0.0.1", 0)) as server:
        serving = threading.Thread(target=serve)
        serving.start()
        with pyqvx.NetworkDevice(verbose=False) as device:
            device.connect("127.0.0.1", server.getsockname()[1])
            yield device, asked
        serving.join()


def test_a_question_that_is_not_answered_keeps_no_other_from_being_asked():
    async def all_at_once(ask):
        return await asyncio.gather(*(ask(CODE, [n], 0.3 if n == 1 else 3) for n in (1, 2, 3, 4)))

    with answering({1: None}) as (device, asked):
        assert asyncio.run(all_at_once(device._echoPacketWithRetry_async)) == [None, b"\2", b"\3", b"\4"]
        asked.clear()
        asyncio.run(all_at_once(device._echoPacket_async))
        assert asked == [1, 2, 3, 4]
        ends = {}

        def question(number, timeout):
            try:
                ends[number] = device._echoPacketWithRetry(CODE, [number], timeout)
            except pyqvx.ReceivePacketTimeoutError:
                ends[number] = None

        # One whose patience is longer than that of the others.
        threads = [threading.Thread(target=question, args=(n, 2.0 if n == 1 else 1.0)) for n in (1, 2, 3)]
        for thread in threads:
            thread.start()
        for thread in threads:
            thread.join()
    assert ends == {1: None, 2: b"\2", 3: b"\3"}


def test_a_loop_that_does_not_run_keeps_nobody_from_asking():
    with answering({1: 0.02}) as (device, asked):

        async def block():
            first = asyncio.create_task(device._echoPacket_async(CODE, [1], 2.0))
            second = asyncio.create_task(device._echoPacket_async(CODE, [2], 2.0))
            await asyncio.sleep(0.005)
            between = device._echoPacket(CODE, [3], 2.0)  # blocks the loop
            return await first, between, await second

        assert asyncio.run(block()) == (b"\1", b"\3", b"\2")
        loop = asyncio.new_event_loop()
        tasks = [loop.create_task(device._echoPacket_async(CODE, [n], 5.0)) for n in (1, 2)]
        loop.run_until_complete(asyncio.sleep(0.005))  # and no longer
        time.sleep(0.1)
        assert device._echoPacket(CODE, [9], 1.0) == b"\x09"
        for task in tasks:
            task.cancel()
        loop.run_until_complete(asyncio.gather(*tasks, return_exceptions=True))
        loop.close()


def test_a_handler_of_signals_may_ask_something_else():
    with answering({1: 0.3}) as (device, asked):
        inside = []
        before = signal.signal(signal.SIGALRM, lambda *_: inside.append(device._echoPacket(CODE, [2], 2.0)))
        signal.setitimer(signal.ITIMER_REAL, 0.1)
        try:
            assert device._echoPacket(CODE, [1], 5.0) == b"\1"
        finally:
            signal.signal(signal.SIGALRM, before)
        assert (inside, sorted(asked)) == ([b"\2"], [1, 2])


def test_who_waits_to_ask_when_a_connection_is_lost_does_not_ask_on_the_next():
    asked = []

    def serve():
        with server.accept()[0] as connection:
            connection.recv(100)
            time.sleep(0.05)
        with server.accept()[0] as connection:
            while frame := connection.recv(100):
                asked.append(frame[4])
                connection.sendall(frame)

    async def reconnect():
        try:
            await device._echoPacket_async(CODE, [1], 5)
        except pyqvx.NetworkConnectionLostError:
            device.connect("127.0.0.1", server.getsockname()[1])

    async def both():
        waiting = device._echoPacket_async(CODE, [2], 5)
        return await asyncio.gather(reconnect(), waiting, return_exceptions=True)

    with socket.create_server(("127.0.0.1", 0)) as server:
        serving = threading.Thread(target=serve)
        serving.start()
        with pyqvx.NetworkDevice(verbose=False) as device:
            device.connect("127.0.0.1", server.getsockname()[1])
            ends = asyncio.run(both())
            assert device._echoPacket(CODE, [3], 1) == b"\3"
        serving.join()
    assert isinstance(ends[1], pyqvx.NetworkConnectionLostError) and asked == [3]
