"""The coroutine forms in event loops: concurrency, cancelling, several loops, the coroutine protocol."""

import asyncio
import contextvars
import gc
import os
import threading
import time
import types
import weakref
from collections.abc import Coroutine
from pathlib import Path

import pytest
from fakes import PATIENCE_S, FakeTransport, connected, eventually, run_script

import pyqvx


def test_coroutines_of_different_commands_run_at_once():
    """None is answered before all have been asked."""
    names = [f"Sys_get{what}_async" for what in ("SerialNumber", "DriverInfo", "RTC", "DeviceAlias")]
    codes = [pyqvx.GET_SERIAL_NUMBER, pyqvx.GET_DRIVER_INFO, pyqvx.GET_DATE_TIME, pyqvx.GET_DEV_ALIAS]

    class Patient(FakeTransport):
        def sendPacket(self, packet):
            super().sendPacket(packet)
            if len(self.sent) == len(codes):
                for code, _ in self.sent:
                    self.arriving.put((code, known[code]))

    known, patient = FakeTransport().answers, Patient({})
    device = connected(patient, at_once=False)

    async def main():
        return await asyncio.gather(*(getattr(device, name)() for name in names))

    expected = ["FAKE0001", ["Ferox-A", "Fake", "3.2.6"], "2024-02-29, 12:30:59", "fake"]
    assert asyncio.run(main()) == expected
    # Packets leave in the order in which the coroutines start.
    assert [code for code, _ in patient.sent] == codes
    device.close()


def test_cancelled_requests_leave_nothing_behind(silent):
    async def main():
        for attempt in range(50):
            if attempt == 1:
                before = len(gc.get_objects())
            waits = [
                silent.Sys_getSerialNumber_async(timeout=600),
                silent._getReplyFromPool_async(9),
                silent.AI_readStreaming_async(0, 5, 600),
                silent._getStreamingFromPool_async(silent.data_pool_strm[49, 1], 5, 0.01),
            ]
            tasks = [asyncio.create_task(wait) for wait in waits]
            await asyncio.sleep(0)
            for task in tasks:
                task.cancel()
            results = await asyncio.gather(*tasks, return_exceptions=True)
            assert all(isinstance(result, asyncio.CancelledError) for result in results)
        # Nobody waits any more: what arrives stays for the next.
        silent.data_pool_echo[9] = b"kept"
        await asyncio.sleep(0.01)
        assert silent.data_pool_echo[9] == b"kept"
        del waits, tasks, results
        gc.collect()
        assert len(gc.get_objects()) < before + 100

    asyncio.run(main())


def test_a_reply_that_comes_with_the_cancelling_is_not_lost(silent):
    async def main():
        for _ in range(20):
            task = asyncio.create_task(silent._getReplyFromPool_async(7))
            await asyncio.sleep(0)
            silent.data_pool_echo[7] = b"reply"
            task.cancel()
            with pytest.raises(asyncio.CancelledError):
                await task
            assert await silent._getReplyFromPool_async(7) == b"reply"

    asyncio.run(main())


def test_close_within_the_loop(silent):
    async def main():
        waiting = asyncio.create_task(silent.Sys_getSerialNumber_async(timeout=600))
        await asyncio.sleep(0)
        silent.close()
        with pytest.raises(pyqvx.NetworkConnectionLostError):
            await asyncio.wait_for(waiting, PATIENCE_S)
        async with silent:  # closed already: nothing happens
            pass

    asyncio.run(main())


def test_a_loop_may_end_with_requests_under_way(silent):
    async def main():
        for _ in range(10):
            asyncio.create_task(silent.Sys_getSerialNumber_async(timeout=600))
        await asyncio.sleep(0)

    for _ in range(3):
        asyncio.run(main())
    silent.data_pool_echo[pyqvx.GET_SERIAL_NUMBER] = b"ABCDEFGH"
    assert silent.Sys_getSerialNumber() == "ABCDEFGH"


def test_several_loops_one_after_the_other_and_at_once(device):
    async def ask(count):
        return [await device.Sys_getSerialNumber_async(timeout=20) for _ in range(count)]

    for _ in range(20):
        assert asyncio.run(ask(2)) == ["QVTEST01"] * 2
    results = []
    threads = [threading.Thread(target=lambda: results.append(asyncio.run(ask(50)))) for _ in range(2)]
    for thread in threads:
        thread.start()
    moments = [device.Sys_getRTC(timeout=20) for _ in range(50)]
    for thread in threads:
        thread.join(4 * PATIENCE_S)
    assert results == [["QVTEST01"] * 50] * 2 and len(moments) == 50


def test_a_coroutine_stays_in_the_loop_in_which_it_began(silent):
    """Whether that loop is there still or is gone."""
    first = asyncio.new_event_loop()

    async def begin():
        coroutine = silent._getReplyFromPool_async(7)
        coroutine.send(None)
        return coroutine

    async def take(coroutine):
        return await coroutine

    for close in (False, True):
        coroutine = first.run_until_complete(begin())
        if close:
            first.close()
            del first
        with pytest.raises(RuntimeError, match="this coroutine waits in another event loop"):
            asyncio.run(take(coroutine))
        if not close:
            silent.data_pool_echo[7] = b"reply"
            assert first.run_until_complete(take(coroutine)) == b"reply"
        coroutine.close()


MANY_COROUTINES = """
import asyncio, logging, pyqvx
logging.disable()  # of an asyncio that debugs, how long it took

async def main():
    with pyqvx.FeroxA(verbose=False) as device:
        waiting = []
        try:
            while len(waiting) < 40_000:
                coroutine = device.AI_readStreaming_async(0, 1, 600)
                coroutine.send(None)
                waiting.append(coroutine)
        except Exception as error:
            print(len(waiting), error)
            coroutine.close()
        print(await asyncio.to_thread(bytearray, 1 << 20) == bytearray(1 << 20))
        waiting.pop().close()
        print(await device.AI_readStreaming_async(0, 1, 0.01))

asyncio.run(main())
"""


@pytest.mark.skipif(
    os.environ.get("QVX_SANITIZER") == "tsan", reason="ThreadSanitizer has room for a few thousand fibers"
)
def test_more_coroutines_than_may_be_are_refused():
    """While the process can still map memory, which the event loop and its threads need."""
    refused = (
        "16384 Error -8009: No more than 16384 coroutines may be in flight: await some of them before others"
    )
    assert run_script(MANY_COROUTINES) == refused + " are started.\nTrue\n[]\n"


def test_a_port_of_a_loop_goes_with_the_loop(device):
    def use():
        loop = asyncio.new_event_loop()
        loop.run_until_complete(device.Sys_getSerialNumber_async())
        loop.close()
        return weakref.ref(loop)

    references = [use() for _ in range(30)]
    gc.collect()
    assert sum(reference() is not None for reference in references) <= 1


def test_a_loop_lets_go_of_connections(bench):
    """Of those that end while it sleeps, whose number the next may have, and of all when it is closed."""

    def sockets():
        return sum(
            "socket" in os.readlink(entry) for entry in Path("/proc/self/fd").iterdir() if entry.exists()
        )

    place = bench(serial="QVTEST01")
    with pyqvx.FeroxA(verbose=False) as device:
        gc.collect()
        before = sockets()
        loop = asyncio.new_event_loop()
        for _ in range(5):
            device.connect(place.ip, place.port)
            for _ in range(5):
                assert loop.run_until_complete(device.Sys_getSerialNumber_async()) == "QVTEST01"
            device.disconnect()
        own = 2
        assert eventually(lambda: loop.run_until_complete(asyncio.sleep(0.01)) or sockets() == before + own)
        device.connect(place.ip, place.port)
        loop.run_until_complete(device.Sys_getSerialNumber_async())
        loop.close()
        device.disconnect()
        assert eventually(lambda: sockets() == before)


def test_a_task_goes_on_as_itself(silent):
    """In its own context, and as the current task, whether its reply comes alone or beside others."""
    number = contextvars.ContextVar("number")

    async def ask(code):
        number.set(code)
        reply = await silent._getReplyFromPool_async(code)
        return reply, number.get(), asyncio.current_task().get_name()

    async def main():
        tasks = [asyncio.create_task(ask(code), name=f"task {code}") for code in (7, 8, 9)]
        await asyncio.sleep(0)
        for codes in ((8,), (7, 9)):
            for code in codes:
                silent.data_pool_echo[code] = b"reply"
            await asyncio.sleep(0.01)
        assert await asyncio.gather(*tasks) == [(b"reply", code, f"task {code}") for code in (7, 8, 9)]

    asyncio.run(main())


def test_waits_end_in_the_order_of_their_deadlines(silent):
    async def main():
        async def ask(timeout):
            with pytest.raises(pyqvx.ReceivePacketTimeoutError):
                await silent.Sys_getSerialNumber_async(timeout=timeout)
            ended.append(timeout)

        ended = []
        endless = asyncio.create_task(silent.Sys_getRTC_async(600))
        begin = time.monotonic()
        await asyncio.gather(*map(ask, (0.6, 0.2, 0.4)))
        assert ended == [0.2, 0.4, 0.6] and time.monotonic() - begin >= 0.6
        endless.cancel()

    asyncio.run(main())


@pytest.mark.parametrize("by", ["reply", "deadline"])
def test_an_exception_while_one_is_woken_leaves_none_asleep(silent, by):
    """That of a signal handler, which runs in the Python by which asyncio schedules a task."""
    loop = asyncio.new_event_loop()
    schedule = loop.call_soon

    def interrupted(callback, *args, **options):
        handle = schedule(callback, *args, **options)
        if "wakeup" in repr(callback):
            loop.call_soon = schedule
            raise KeyboardInterrupt
        return handle

    codes = (7, 8, 9)
    tasks = [
        loop.create_task(
            silent._getReplyFromPool_async(code) if by == "reply" else silent._echoPacket_async(code, [], 0.1)
        )
        for code in codes
    ]
    loop.run_until_complete(asyncio.sleep(0))
    if by == "reply":
        for code in codes:
            silent.data_pool_echo[code] = b"reply"
    else:
        time.sleep(0.2)  # all are over when the loop looks
    loop.call_soon = interrupted
    with pytest.raises(KeyboardInterrupt):
        loop.run_forever()
    done, _ = loop.run_until_complete(asyncio.wait(tasks, timeout=PATIENCE_S))
    assert [task.result() for task in tasks if task in done] == [b"reply" if by == "reply" else None] * 3
    loop.close()


def test_coroutines_without_a_loop_and_never_awaited(fake):
    coroutine = fake.Sys_getSerialNumber_async()
    with pytest.raises(RuntimeError, match="no running event loop"):
        coroutine.send(None)
    coroutine.close()
    with pytest.warns(RuntimeWarning, match="coroutine 'Sys_getSerialNumber_async' was never awaited"):
        fake.Sys_getSerialNumber_async()
        gc.collect()
    assert fake.client_cmd.sent == []


def test_the_body_starts_at_the_first_step(fake):
    """Arguments are checked there too: a coroutine that is never awaited neither raises nor sends."""

    async def main():
        coroutine = fake.AI_setMode_async(0, 7)
        with pytest.raises(pyqvx.AIModeNotAvaliableError):
            await coroutine
        first, second = fake.AI_setMode_async(0, 1), fake.AI_setMode_async(0, 2)
        await second
        await first
        assert fake.client_cmd.sent == [(178, b"\0\2"), (178, b"\0\1")]

    asyncio.run(main())


def test_the_coroutine_protocol(silent):
    async def main():
        coroutine = silent.Sys_getSerialNumber_async(timeout=600)
        assert isinstance(coroutine, Coroutine) and asyncio.iscoroutine(coroutine)
        assert coroutine.__name__ == "Sys_getSerialNumber_async" and not coroutine.cr_running
        assert repr(coroutine).startswith("<coroutine Sys_getSerialNumber_async at 0x")

        future = coroutine.send(None)
        assert asyncio.isfuture(future) and len(silent.client_cmd.sent) == 1
        # Stepped before its time it just waits on.
        assert asyncio.isfuture(coroutine.send(None)) and len(silent.client_cmd.sent) == 1
        silent.data_pool_echo[pyqvx.GET_SERIAL_NUMBER] = b"ABCDEFGH"
        with pytest.raises(StopIteration) as stop:
            coroutine.send(None)
        assert stop.value.value == "ABCDEFGH"
        for again in (lambda: coroutine.send(None), lambda: next(iter(coroutine))):
            with pytest.raises(RuntimeError, match="cannot reuse already awaited coroutine"):
                again()
        coroutine.close()

        for started in (False, True):
            thrown, closed = (silent.Sys_getSerialNumber_async(timeout=600) for _ in range(2))
            if started:
                assert thrown.send(None) and closed.send(None)
            error = ValueError("thrown")
            with pytest.raises(ValueError) as raised:
                thrown.throw(error)
            assert raised.value is error
            closed.close()
            closed.close()
            for over in (thrown, closed):
                with pytest.raises(RuntimeError):
                    over.send(None)
        with pytest.raises(KeyError):
            silent.Sys_getRTC_async().throw(KeyError, "text")

    asyncio.run(main())


def test_results_that_python_treats_specially(device):
    """A tuple, a list and None must come back as they are, whichever way the coroutine is stepped."""

    @types.coroutine
    def by_hand(coroutine):
        return (yield from coroutine)

    async def main():
        modes = await device.Sys_getPinModeInPort_async(0)
        assert modes == (8, ["ADC"] * 8) and modes == await by_hand(device.Sys_getPinModeInPort_async(0))
        assert await by_hand(device._checkAIPinState_async(0)) is None
        assert await by_hand(device.AI_readStreaming_async(0, -1, 0)) == []

    asyncio.run(main())


def test_steps_of_a_running_coroutine_are_refused():
    """A transport written in Python runs in the middle of a step; another step from there must not crash."""

    class Meddling(FakeTransport):
        seen = []

        def sendPacket(self, packet):
            for meddle in (
                lambda: coroutine.send(None),
                lambda: coroutine.throw(KeyError()),
                coroutine.close,
            ):
                try:
                    meddle()
                except ValueError as error:
                    self.seen.append(str(error))
            self.seen.append(coroutine.cr_running)
            super().sendPacket(packet)

    device = connected(Meddling())
    coroutine = device.Sys_getSerialNumber_async()

    async def main():
        return await coroutine

    assert asyncio.run(main()) == "FAKE0001"
    assert Meddling.seen == ["coroutine already executing"] * 3 + [True]
    device.close()


def test_a_coroutine_keeps_its_device_alive():
    transport = FakeTransport()

    async def main():
        return await connected(transport, at_once=False).Sys_getSerialNumber_async()

    with pytest.warns(ResourceWarning):
        assert asyncio.run(main()) == "FAKE0001"
        gc.collect()
