"""Serial lines: a client and a handle on one end of a pseudo-terminal, the test on the other."""

import asyncio
import os
import select
import signal
import time
from pathlib import Path

import pytest
from fakes import GLANCE_S, PATIENCE_S, eventually, start_script

import pyqvx

SERIAL = pyqvx.GET_SERIAL_NUMBER
REQUEST = b"\x02\x00\x01" + bytes([SERIAL]) + b"\r\n"


class Line:
    """The far end of a serial line, whose near end is the device file `port`."""

    def __init__(self):
        self.fd, near = os.openpty()
        self.port = os.ttyname(near)
        os.close(near)

    def receive(self, size):
        data = b""
        while len(data) < size:
            assert select.select([self.fd], [], [], PATIENCE_S)[0], data
            data += os.read(self.fd, size - len(data))
        return data

    def send(self, data):
        os.write(self.fd, data)

    def unplug(self):
        os.close(self.fd)
        self.fd = -1


@pytest.fixture
def line():
    made = Line()
    yield made
    if made.fd >= 0:
        made.unplug()


def test_a_client_carries_bytes(line):
    client = pyqvx.UARTClient()
    assert isinstance(client, pyqvx.Client) and client.socket == 0
    assert client.read_timeout == pyqvx.UART_READ_TIMEOUT == 0.05
    assert client.connect(line.port, 115200) is True
    assert client.socket > 0
    assert client.recvPacket(64) == b"" and client.recvAndSplitPacket(64) == []
    client.sendPacket(list(REQUEST))
    assert line.receive(len(REQUEST)) == REQUEST
    client.setTimeout(None)
    line.send(REQUEST)
    assert client.recvAndSplitPacket(64) == [(SERIAL, b"")]
    client.disconnect()
    client.disconnect()
    assert client.socket == 0


def test_bad_input_opens_nothing(line):
    client = pyqvx.UARTClient()
    device = pyqvx.UARTDevice(verbose=False)
    for error, rates in (
        (pyqvx.InputTypeNotCorrectError, ("9600", 9600.0, None)),
        (pyqvx.UARTBaudRateNotSupportError, (0, -1, 2**31, 2**70)),
    ):
        for bad in rates:
            for make in (lambda: client.connect(line.port, bad), lambda: pyqvx.UARTDevice(bad)):
                with pytest.raises(error):
                    make()
    for bad in (None, 4, b"/dev/ttyUSB0", ["/dev/ttyUSB0"]):
        for connect in (lambda: client.connect(bad, 9600), lambda: device.connect(bad)):
            with pytest.raises(pyqvx.InputTypeNotCorrectError):
                connect()
    for bad in ("", "COM4", "/dev/null", f"{line.port}\0x"):
        for connect in (device.connect, lambda port: asyncio.run(device.connect_async(port))):
            with pytest.raises(pyqvx.UARTConnectionError, match="Please check COM port. .*: "):
                connect(bad)
    assert client.socket == 0 and not device.connect_status_cmd
    device.close()


def test_a_handle_asks_in_both_forms_and_says_what_happens(bench, capsys):
    path = bench(pty=True, serial="QVUART01").path
    device = pyqvx.UARTDevice(baudrate=1_000_000)
    assert isinstance(device.client_cmd, pyqvx.UARTClient) and device.baudrate == 1_000_000
    assert repr(device) == "<UARTDevice not connected>" and device.recv_cmd_lock.locked()
    assert device.connect(path) is True
    assert device.port == path and device.connect_status_cmd and not device.recv_cmd_lock.locked()
    assert repr(device) == f"<UARTDevice connected to {path}>"
    assert bytes(device._echoPacket(SERIAL, [], PATIENCE_S)) == b"QVUART01"
    device.disconnect()
    with pytest.raises(pyqvx.UARTConnectionError):
        device._echoPacket(SERIAL, [], 1)

    async def main():
        assert await device.connect_async(path) is True
        return await device._echoPacket_async(SERIAL, [], PATIENCE_S)

    assert bytes(asyncio.run(main())) == b"QVUART01"
    device.close()
    assert not device.recv_cmd_thread.is_alive()
    up, down = (f"{what} {path} (UARTDevice)" for what in ("Connected to", "Disconnected from"))
    assert capsys.readouterr().out.splitlines() == [
        "Opened handle (UARTDevice)",
        *[up, down] * 2,
        "Closed handle (UARTDevice)",
    ]


def test_a_vanished_port_is_reported_once(line, capsys, caplog):
    with pyqvx.UARTDevice(verbose=False) as device:
        device.connect(line.port)
        line.unplug()
        assert eventually(lambda: "lost connection to" in repr(device))
        for _ in range(2):
            with pytest.raises(pyqvx.UARTConnectionError, match="vanished"):
                device._echoPacket(SERIAL, [], 1)
        assert eventually(lambda: caplog.text.count("UARTConnectionError: Error -8012") == 1)
    assert caplog.text.count("UARTConnectionError") == 1
    assert capsys.readouterr().out == ""  # the device was told to keep quiet


def switches():
    """How often each receive thread of this process has gone to sleep."""
    counts = {}
    for task in Path("/proc/self/task").iterdir():
        if (task / "comm").read_text().startswith("qvx-recv-cmd"):
            status = (task / "status").read_text()
            counts[task.name] = int(status.split("voluntary_ctxt_switches:")[1].split()[0])
    return counts


def test_an_idle_line_wakes_nobody(line):
    with pyqvx.UARTDevice(verbose=False) as device:
        device.connect(line.port)

        def sleeps():
            before = switches()
            time.sleep(10 * GLANCE_S)  # ten read timeouts
            return len(before) == 1 and switches() == before

        assert eventually(sleeps)


def test_a_port_has_one_program_and_is_free_when_that_is_killed(line):
    script = """
import pyqvx, sys, time
client = pyqvx.UARTClient()
client.connect(sys.argv[1], 9600)
print("open")
time.sleep(60)
"""
    client = pyqvx.UARTClient()
    with start_script(script, line.port) as other:
        try:
            assert other.stdout.readline() == "open\n"
            with pytest.raises(pyqvx.UARTConnectionError, match="in use by another program"):
                client.connect(line.port, 115200)
        finally:
            other.send_signal(signal.SIGKILL)
    assert client.connect(line.port, 115200)
    client.disconnect()
