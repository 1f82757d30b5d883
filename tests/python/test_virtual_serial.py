"""Virtual devices on a serial line, and pyqvx at its other end."""

from __future__ import annotations

import os
import select

import pytest
from fakes import PATIENCE_S, eventually
from qvx_virtual import VirtualDevice

import pyqvx

DRIVER_INFO = b"\x02\x00\x02\xf0\x00\r\n"
REPLY = b"\x02\x00\x16\xf0Ferox-A_Virtual_3.2.6\r\n"
OPEN_AI_STREAMING = [
    b"\x02\x00\x03\xb2\x00\x02\r\n",  # continuous
    b"\x02\x00\x06\xb1\x00\x45\x7a\x00\x00\r\n",  # 4000 samples per second
    b"\x02\x00\x02\xb6\x00\r\n",
    b"\x02\x00\x02\xb7\x00\r\n",
]


def ask(device, code, payload):
    return bytes(device._echoPacket(code, payload, PATIENCE_S))


def open_line(path):
    return os.open(path, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)


def read_line(line, patience=PATIENCE_S):
    return os.read(line, 65536) if select.select([line], [], [], patience)[0] else b""


def test_a_handle_connects_and_connects_again(bench):
    place = bench(pty=True, count=2, alias=["one", "two"])
    assert len(place.paths) == 2 and not place.addresses
    with pyqvx.UARTDevice(verbose=False) as first, pyqvx.UARTDevice(verbose=False) as second:
        for device, path, alias in ((first, place.path, b"one"), (second, place.paths[1], b"two")):
            device.connect(path)
            assert ask(device, pyqvx.GET_DEV_ALIAS, [0]) == alias + b"\r\n"
        for _ in range(20):
            second.disconnect()
            second.connect(place.paths[1])
            assert ask(second, pyqvx.GET_DEV_ALIAS, [0]) == b"two\r\n"
        # A restart is no end of the line: the device is deaf for a while.
        assert ask(first, pyqvx.SET_DEV_ALIAS, list(b"kept")) == b"\0"
        assert ask(first, pyqvx.REBOOT, []) == b"\0"
        assert eventually(lambda: "reboots" in place.log)

        def answers():
            try:
                return bytes(first._echoPacket(pyqvx.GET_DEV_ALIAS, [0], 0.1)) == b"kept\r\n"
            except pyqvx.ReceivePacketTimeoutError:
                return False

        assert eventually(answers)


def test_any_program_may_use_the_line_and_its_streams_end_with_the_last():
    with VirtualDevice(pty=True) as bench:

        def close(line):
            closed = bench.log.count("closed")
            os.close(line)
            assert eventually(lambda: bench.log.count("closed") == closed + 1)

        line = open_line(bench.path)
        for part in (DRIVER_INFO[:3], DRIVER_INFO[3:]):
            os.write(line, part)
        received = b""
        while len(received) < len(REPLY):
            received += read_line(line)
        assert received == REPLY
        close(line)
        for _ in range(3):
            line = open_line(bench.path)
            for request in OPEN_AI_STREAMING:
                os.write(line, request)
            for _ in range(20):
                assert read_line(line)
            close(line)
            line = open_line(bench.path)
            assert read_line(line, 0.3) == b""
            close(line)
        assert bench.process.poll() is None


@pytest.mark.parametrize("also", [{"listen": "127.0.0.1:0"}, {"discovery": True}, {"usbip": True}])
def test_a_serial_line_is_no_network(also):
    with pytest.raises(RuntimeError, match="ended with 2.*excludes"):
        VirtualDevice(pty=True, **also).start()
