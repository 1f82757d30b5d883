"""A connection that is lost, and one that begins: what streams and requests return at the end of the one, and
that nothing of it appears on the next."""

import contextlib
import socket
import struct
import threading
import time
from typing import NamedTuple

import pytest
from fakes import PATIENCE_S, eventually, split

import pyqvx

# For what happens at once, on a slow machine; each wait here would take far longer otherwise.
AT_ONCE_S = 5.0
LONG_S = 60.0


class Far:
    """A device at a place of its own, for one connection. `mark` is in all that it says."""

    def __init__(self, mark):
        self.mark = mark
        self.requests = []
        self.server = socket.create_server(("127.0.0.1", 0))
        self.peer = None
        self.thread = threading.Thread(target=self._serve)
        self.thread.start()

    def _serve(self):
        self.peer, _ = self.server.accept()
        self.server.close()
        rest = b""
        with contextlib.suppress(OSError):
            while data := self.peer.recv(4096):
                rest += data
                while len(rest) > 3 and len(rest) >= (size := int.from_bytes(rest[1:3], "big") + 5):
                    code, payload = split(rest[:size])
                    rest = rest[size:]
                    self.requests.append((code, payload))
                    self.send(code, self.answer(code, payload))

    def answer(self, code, payload):
        if code == pyqvx.GET_SERIAL_NUMBER:
            return b"DEVICE%02d" % self.mark
        if code == pyqvx.READ_AI_ON_DEMAND:
            return bytes([payload[0], 0]) + self.sample()
        if code == pyqvx.READ_I2C:
            return bytes([payload[0], 0, self.mark])
        return payload[:1] + b"\0"

    def sample(self):
        return struct.pack(">8h", *[1000 * self.mark] * 8)

    def send(self, code, payload):
        width = 1 if code < 256 else 2
        frame = (
            b"\2" + struct.pack(">H", width + len(payload)) + code.to_bytes(width, "big") + payload + b"\r\n"
        )
        self.peer.sendall(frame)

    def cut(self):
        if self.peer is None:  # nobody has come
            socket.create_connection(self.server.getsockname()).close()
        else:
            with contextlib.suppress(OSError):
                self.peer.shutdown(socket.SHUT_RDWR)
        self.thread.join()
        self.peer.close()


class Stream(NamedTuple):
    model: str
    lost: type[Exception]
    open: object  # has what comes decoded, as the operation that opens the stream does
    packet: object  # code and payload of one item
    read: str
    port: int
    item: object  # what one reads as


STREAMS = {
    "ai": Stream(
        "FeroxA",
        pyqvx.NetworkConnectionLostError,
        lambda device: device.ai_lock,
        lambda far: (pyqvx.START_AI_STREAMING, b"\0" + far.sample()),
        "AI_readStreaming",
        0,
        lambda mark: [round(1000 * mark * 10 / 2**15, 4)] * 8,
    ),
    "uart": Stream(
        "CordlogF1CD",
        pyqvx.USBConnectionError,
        lambda device: device.uart_p1_lock,
        lambda far: (pyqvx.START_UART_READING, bytes([1, far.mark])),
        "UART_read",
        1,
        lambda mark: mark,
    ),
    "can": Stream(
        "CordlogF1CD",
        pyqvx.USBConnectionError,
        lambda device: device.can_lock,
        lambda far: (pyqvx.START_CAN, bytes([1, far.mark]) + bytes(12)),
        "CAN_read",
        1,
        lambda mark: pyqvx.CANFrame.fromU8List([mark] + [0] * 12),
    ),
}


@pytest.fixture
def far():
    made = []

    def make(mark=1):
        made.append(Far(mark))
        return made[-1]

    yield make
    for one in made:
        one.cut()


def connect(device, far):
    ip, port = far.server.getsockname()
    if isinstance(device, pyqvx.USBDevice):
        device.connect(f"tcp://{ip}:{port}")
    else:
        device.connect(ip, port)
    assert eventually(lambda: far.peer is not None)


def lose(device, far):
    far.cut()
    assert eventually(lambda: device.connection_lost)


def unlock(gate):
    if gate.locked():
        gate.release()


@pytest.mark.parametrize("name", STREAMS)
def test_a_stream_gives_what_has_come_and_then_says_that_the_connection_is_lost(far, call, name):
    stream, place = STREAMS[name], far()
    with getattr(pyqvx, stream.model)(verbose=False) as device:
        connect(device, place)
        unlock(stream.open(device))

        def read(number):
            began = time.monotonic()
            items = call(device, stream.read, stream.port, number, LONG_S)
            assert time.monotonic() - began < AT_ONCE_S
            return items

        for _ in range(5):
            place.send(*stream.packet(place))
        assert read(2) == [stream.item(1)] * 2
        results = []
        waiting = threading.Thread(
            target=lambda: results.append(getattr(device, stream.read)(stream.port, 9, LONG_S))
        )
        waiting.start()
        time.sleep(0.05)
        place.send(*stream.packet(place))
        lose(device, place)
        waiting.join(AT_ONCE_S)
        assert results == [[stream.item(1)] * 4]  # who waited for more
        for number in (1, 9, -1):
            with pytest.raises(stream.lost):
                read(number)


@pytest.mark.parametrize("name", STREAMS)
def test_requests_end_with_the_connection(far, call, name):
    stream, place = STREAMS[name], far()
    place.answer = lambda code, payload: b""
    place.send = lambda code, payload: None
    with getattr(pyqvx, stream.model)(verbose=False) as device:
        connect(device, place)
        cutting = threading.Timer(0.2, place.cut)
        cutting.start()
        began = time.monotonic()
        with pytest.raises(stream.lost):
            call(device, "Sys_getSerialNumber", timeout=LONG_S)
        assert time.monotonic() - began < AT_ONCE_S
        cutting.join()


@pytest.mark.parametrize("end", ["lost", "disconnected"])
@pytest.mark.parametrize("name", STREAMS)
def test_nothing_of_one_device_appears_on_the_next(far, call, name, end):
    stream, first, second = STREAMS[name], far(11), far(22)
    with getattr(pyqvx, stream.model)(verbose=False) as device:
        connect(device, first)
        unlock(stream.open(device))
        # Late replies, as after requests that have given up, and a stream that is half decoded.
        for code in (pyqvx.GET_SERIAL_NUMBER, pyqvx.READ_AI_ON_DEMAND, pyqvx.READ_I2C):
            first.send(code, first.answer(code, b"\1"))
        for _ in range(200):
            first.send(*stream.packet(first))
        assert call(device, stream.read, stream.port, 1, PATIENCE_S) == [stream.item(11)]
        if name != "ai":
            assert device.I2C_setAddressSize(1, 1) == 0
        if end == "lost":
            lose(device, first)
        else:
            device.disconnect()

        connect(device, second)
        unlock(stream.open(device))
        assert call(device, stream.read, stream.port, -1, 0) == []
        second.send(*stream.packet(second))
        assert call(device, stream.read, stream.port, 1, PATIENCE_S) == [stream.item(22)]
        assert call(device, "Sys_getSerialNumber") == "DEVICE22"
        if name == "ai":
            assert call(device, "AI_readOnDemand", 0) == stream.item(22)
        else:
            assert call(device, "I2C_read", 1, 0x50, 1) == [22]
            assert (pyqvx.READ_I2C, bytes([1, 0x50, 1])) in second.requests  # 7 bits, as a device begins
        assert call(device, stream.read, stream.port, -1, 0) == []
