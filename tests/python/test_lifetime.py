"""Calls from where it hurts: connects ended from within, last references, loops that are gone, forks."""

import asyncio
import gc
import os
import sys
import threading
import time
import weakref
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import pytest
from fakes import PATIENCE_S, FakeTransport, connected, eventually, forks, start_program

import pyqvx


class Gatekeeper(FakeTransport):
    """Calls `act` while it connects."""

    disconnects = 0

    def __init__(self, act):
        super().__init__()
        self.act = act

    def connect(self, address, port):
        self.act()
        return super().connect(address, port)

    def disconnect(self):
        self.disconnects += 1


@pytest.mark.parametrize("end", ["disconnect", "close"])
def test_a_transport_may_end_the_connect_it_serves(end):
    device = pyqvx.FeroxA(verbose=False)
    device.client_cmd = Gatekeeper(lambda: getattr(device, end)())
    with pytest.raises(pyqvx.NetworkConnectionError):
        device.connect("127.0.0.1")
    assert not device.connect_status_cmd and device.client_cmd.disconnects > 0
    device.client_cmd.act = lambda: None
    if end == "disconnect":
        assert device.connect("127.0.0.1") and device.Sys_getSerialNumber() == "FAKE0001"
    device.close()


def test_a_cancelled_connect_is_ended_and_leaves_no_connection():
    began, ended = threading.Event(), threading.Event()

    class Slow(Gatekeeper):
        def disconnect(self):
            super().disconnect()
            ended.set()

    def wait():
        began.set()
        assert ended.wait(PATIENCE_S)

    with pyqvx.FeroxA(verbose=False) as device:
        device.client_cmd = Slow(wait)

        async def main():
            task = asyncio.create_task(device.connect_async("127.0.0.1"))
            while not began.is_set():
                await asyncio.sleep(0.001)
            task.cancel()
            with pytest.raises(asyncio.CancelledError):
                await task

        begin = time.monotonic()
        asyncio.run(main())
        assert time.monotonic() - begin < PATIENCE_S / 2
        assert repr(device) == "<FeroxA (Ferox-A) not connected>"
        device.client_cmd.act = lambda: None
        assert device.connect("127.0.0.1")


def test_the_last_reference_may_go_on_a_thread_of_the_driver():
    """What the receive thread reads lets go of the device."""
    gone = threading.Event()

    class Holder(FakeTransport):
        def recvAndSplitPacket(self, size):
            self.arriving.get(timeout=PATIENCE_S)
            self.holds = None
            gone.set()
            return []

    threads = threading.active_count(), len(os.listdir("/proc/self/task"))
    transport = Holder()
    transport.holds = connected(transport)
    transport.pool = None
    with pytest.warns(ResourceWarning):
        transport.arriving.put("go")
        assert gone.wait(PATIENCE_S)
        assert eventually(lambda: len(os.listdir("/proc/self/task")) <= threads[1])
    assert threading.active_count() == threads[0]


def test_requests_of_a_closed_loop_are_given_back():
    device = connected(FakeTransport({}), at_once=False)
    gone = weakref.ref(device)
    loop = asyncio.new_event_loop()
    for _ in range(5):
        loop.create_task(device.Sys_getSerialNumber_async(timeout=600))
    loop.run_until_complete(asyncio.sleep(0))
    loop.close()
    device.close()
    del loop, device
    assert eventually(lambda: gc.collect() is not None and gone() is None)


def test_an_object_before_its_init_is_refused():
    class Early(pyqvx.FeroxA):
        def __init__(self):
            with pytest.raises(TypeError, match="super"):
                self.AI_open(0)
            super().__init__(verbose=False)

    class Astray(pyqvx.FeroxA):
        def __init__(self):
            pyqvx.ETHDevice.__init__(self)

    with Early():
        pass
    with pytest.raises(TypeError, match="super"):
        Astray()
    for cls, method in ((pyqvx.FeroxA, "close"), (pyqvx.TCPClient, "disconnect"), (pyqvx.RawQueue, "qsize")):
        with pytest.raises(TypeError):
            getattr(cls.__new__(cls), method)()


@pytest.mark.parametrize("product", [pyqvx.FeroxA, pyqvx.SkylogE3A])
def test_devices_in_cycles_are_collected(product):
    class Rig(product):
        def tick(self):
            pass

    def make():
        rig, plain = Rig(verbose=False), product(verbose=False)
        rig.on_tick = rig.tick
        plain.client_cmd = FakeTransport()
        plain.client_cmd.device = plain  # a transport that knows its device
        plain.itself = plain
        return [weakref.ref(rig), weakref.ref(plain)]

    with pytest.warns(ResourceWarning, match="unclosed"):
        gone = make()
        assert eventually(lambda: gc.collect() is not None and [ref() for ref in gone] == [None, None])


def test_who_takes_hold_of_a_device_at_its_end_keeps_it_closed():
    class Phoenix(pyqvx.FeroxA):
        def __del__(self):
            super().__del__()
            kept.append(self)

    kept = []
    with pytest.warns(ResourceWarning, match="unclosed device Ferox-A") as warned:
        pyqvx.FeroxA(verbose=False)
        Phoenix(verbose=False)
    assert [repr(warning.source) for warning in warned] == [
        "<FeroxA (Ferox-A) closed>",
        "<Phoenix (Ferox-A) closed>",
    ]
    assert warned[1].source is kept[0] and not kept[0].recv_cmd_thread.is_alive()


def test_what_is_let_go_anywhere_ends_once():
    """In development mode, whose allocator shows what is used or freed again."""
    program = Path(__file__).with_name("letting_go.py")
    with start_program([sys.executable, "-X", "dev", str(program), "4"]) as process:
        output, _ = process.communicate(timeout=2 * PATIENCE_S)
    assert process.returncode == 0 and output.endswith(" rounds of each\n"), output


def test_requests_of_the_same_command_each_get_their_own_reply(lab):
    """Those of two threads and of two loops with two coroutines each. Nothing is sent again: a reply that is
    lost fails its request."""
    device = lab("CordlogF1D", attach=["spi2=loopback"])
    device.SPI_open(2)

    def words(asker):
        return [[asker, n] for n in range(40)]

    async def two(asker):
        async def ask(asker):
            code = pyqvx.READ_AND_WRITE_SPI
            replies = [await device._echoPacket_async(code, [2, *word], PATIENCE_S) for word in words(asker)]
            return [list(reply[2:]) for reply in replies]

        return await asyncio.gather(ask(asker), ask(asker + 1))

    with ThreadPoolExecutor() as pool:
        loops = [pool.submit(lambda n=n: asyncio.run(two(n))) for n in (0, 2)]
        blocking = [
            pool.submit(lambda n=n: [device.SPI_readAndWrite(2, word, PATIENCE_S) for word in words(n)])
            for n in (4, 5)
        ]
        answers = [*loops[0].result(), *loops[1].result(), *(future.result() for future in blocking)]
    assert answers == [words(asker) for asker in range(6)]


@forks
def test_a_forked_child_gets_errors():
    device = connected(FakeTransport())
    device.client_cmd.pool = None
    reader, writer = os.pipe()
    child = os.fork()
    if child == 0:
        said = []
        for call in (device.Sys_getSerialNumber, lambda: device.connect("127.0.0.1")):
            try:
                call()
            except pyqvx.Error as error:
                said.append(type(error).__name__)
        os.write(writer, ",".join(said).encode())
        os._exit(0)
    os.close(writer)
    assert os.waitpid(child, 0)[1] == 0
    with os.fdopen(reader) as answers:
        assert answers.read() == "NetworkConnectionLostError,NetworkConnectionError"
    begin = time.monotonic()
    assert device.Sys_getSerialNumber() == "FAKE0001" and time.monotonic() - begin < PATIENCE_S
    device.close()
