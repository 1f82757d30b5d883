"""Links that fail under coroutines and threads, over the roads whose far end a test can play."""

import asyncio
import os
import pty
import socket
import struct
import threading
import time
import tty

import pytest
from fakes import PATIENCE_S, eventually

import pyqvx

ECHO = pyqvx.GET_SERIAL_NUMBER


class Ethernet:
    lost = pyqvx.NetworkConnectionLostError
    handle = pyqvx.NetworkDevice

    def __init__(self):
        self.device = self.handle(verbose=False)
        self.server = socket.create_server(("127.0.0.1", 0))
        self.address = self.server.getsockname()
        self.peers = []

    def accept(self):
        self.cut()
        self.peers = [self.server.accept()[0]]

    def receive(self):
        return self.peers[0].recv(65536)

    def send(self, data):
        self.peers[0].sendall(data)

    def cut(self, reset=False):
        for peer in self.peers:
            if reset:
                peer.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            peer.close()
        self.peers = []

    def end(self):
        self.device.close()
        self.cut()
        self.server.close()


class Wifi(Ethernet):
    handle = pyqvx.WifiDevice

    def __init__(self):
        super().__init__()
        self.data = socket.create_server(("127.0.0.1", 0))
        self.address = (self.address[0], self.data.getsockname()[1], None, self.address[1])

    def accept(self):
        self.cut()
        self.peers = [self.server.accept()[0], self.data.accept()[0]]

    def end(self):
        super().end()
        self.data.close()


class Serial:
    lost = pyqvx.UARTConnectionError

    def __init__(self):
        self.device = pyqvx.UARTDevice(verbose=False)
        self.ends = []

    @property
    def address(self):
        if not self.ends:
            self.ends = list(pty.openpty())
            tty.setraw(self.ends[1])
        return (os.ttyname(self.ends[1]),)

    def accept(self):
        pass

    def receive(self):
        return os.read(self.ends[0], 65536)

    def send(self, data):
        os.write(self.ends[0], data)

    def cut(self, reset=False):
        for end in self.ends:
            os.close(end)
        self.ends = []

    def end(self):
        self.device.close()
        self.cut()


@pytest.fixture(params=[Ethernet, Wifi, Serial], ids=lambda road: road.__name__)
def road(request):
    made = request.param()
    yield made
    made.end()


def connect(road):
    road.device.connect(*road.address)
    road.accept()


def answers(road):
    """Whether a request goes there and its answer comes back."""
    reply = []
    asking = threading.Thread(target=lambda: reply.append(road.device._echoPacket(ECHO, [1], PATIENCE_S)))
    asking.start()
    road.send(road.receive())
    asking.join(PATIENCE_S)
    return reply == [b"\1"]


@pytest.mark.parametrize("end", ["cut", "reset", "disconnect", "close"])
def test_awaited_coroutines_end_with_the_connection(road, end, caplog):
    connect(road)
    ends = {
        "cut": road.cut,
        "reset": lambda: road.cut(reset=True),
        "disconnect": road.device.disconnect,
        "close": road.device.close,
    }

    async def ask():
        try:
            return await road.device._echoPacketWithRetry_async(ECHO, [1], 600)
        except pyqvx.Error as error:
            return type(error)

    async def main():
        tasks = [asyncio.create_task(ask()) for _ in range(20)]
        await asyncio.sleep(0.05)
        other = threading.Thread(target=ends[end])
        other.start()
        results = await asyncio.wait_for(asyncio.gather(*tasks), PATIENCE_S)
        other.join(PATIENCE_S)
        return results

    began = time.monotonic()
    assert asyncio.run(main()) == [road.lost] * 20
    assert time.monotonic() - began < 10  # and not 600, nor 1 until the second send finds the connection gone
    if end in ("cut", "reset"):
        assert eventually(lambda: "lost connection" in repr(road.device))
    if end != "close":
        connect(road)
        assert answers(road)

    def reports():
        return sum("Error" in record.getMessage() for record in caplog.records)

    lost = end in ("cut", "reset")
    assert eventually(lambda: reports() == 1) if lost else reports() == 0


def test_coroutines_connect_and_disconnect_without_leaving_anything(road):
    def resources():
        with open("/proc/self/statm") as pages:
            memory = int(pages.read().split()[1]) * os.sysconf("SC_PAGESIZE")
        return len(os.listdir("/proc/self/task")), len(os.listdir("/proc/self/fd")), memory

    async def main():
        before = None
        for i in range(1000):
            assert await road.device.connect_async(*road.address)
            road.accept()
            if i % 5 == 0:
                asking = asyncio.create_task(road.device._echoPacket_async(ECHO, [1], PATIENCE_S))
                await asyncio.sleep(0)
                road.send(road.receive())
                assert await asking == b"\1"
            road.device.disconnect()
            road.cut()
            if i == 300:
                before = resources()
        return before

    threads, descriptors, memory = asyncio.run(main())
    after = resources()
    assert after[1] <= descriptors and eventually(lambda: resources()[0] <= threads)
    if "QVX_SANITIZER" not in os.environ:
        assert after[2] < memory + 4 * 2**20


def test_a_flooded_loop_goes_on(road):
    """The receive thread takes what comes, the loop serves coroutines meanwhile, and disconnect ends it."""
    connect(road)
    over = threading.Event()
    packet = bytes([2, 0, 40, pyqvx.GET_DRIVER_INFO]) + b"x" * 39 + b"\r\n"

    def flood():
        try:
            while not over.is_set():
                road.send(packet * 20)
        except OSError:
            pass

    flooding = threading.Thread(target=flood)

    async def main():
        for _ in range(20):
            await asyncio.sleep(0.005)
        return await road.device._echoPacket_async(pyqvx.GET_DRIVER_INFO, [], PATIENCE_S)

    flooding.start()
    try:
        assert asyncio.run(asyncio.wait_for(main(), PATIENCE_S)) == b"x" * 39
    finally:
        over.set()
    flooding.join(PATIENCE_S)
    assert not flooding.is_alive()
    road.device.close()


def test_a_client_may_be_changed_in_its_parts(bench):
    class Reading(pyqvx.TCPClient):
        came = b""

        def recvPacket(self, size):
            came = super().recvPacket(size)
            self.came += came
            return came

    class Splitting(pyqvx.TCPClient):
        def _splitPacket(self):
            return [(code, payload.lower()) for code, payload in super()._splitPacket()]

    class Whole(Reading):
        def recvAndSplitPacket(self, size):
            return [(code, payload[::-1]) for code, payload in super().recvAndSplitPacket(size)]

    place = bench(serial="QVTEST01")
    frame = bytes([2, 0, 9, ECHO]) + b"QVTEST01\r\n"
    for client, serial, came in (
        (Reading(), "QVTEST01", frame),
        (Splitting(), "qvtest01", None),
        (Whole(), "10TSETVQ", b""),
    ):
        with pyqvx.FeroxA(verbose=False) as device:
            device.client_cmd = client
            device.connect(place.ip, place.port)
            assert device.Sys_getSerialNumber() == serial
            assert getattr(client, "came", None) == came


def test_a_handle_cannot_be_changed_where_it_files_packets():
    class Filing:
        kept = None

        def __init_subclass__(cls, kept=None, **keywords):
            super().__init_subclass__(**keywords)
            cls.kept = kept

        def _putToDataPool(self, cmd, data):
            pass

    with pytest.raises(TypeError, match="Rig cannot override _putToDataPool: .* in a transport"):
        type("Rig", (Filing, pyqvx.FeroxA), {})
    with pytest.raises(TypeError, match="_checkCommandType"):
        type("Rig", (pyqvx.UARTDevice,), {"_checkCommandType": lambda self, cmd, data: "echo"})
    # What comes after the handle overrides nothing, and is told as ever.
    assert type("Rig", (pyqvx.FeroxA, Filing), {}, kept=3).kept == 3
    assert type("Engine", (pyqvx.Packet,), {"_putToDataPool": None})
