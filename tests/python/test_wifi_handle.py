"""The handle with a command channel and a data channel, against two listeners."""

import asyncio
import contextlib
import os
import socket
import threading

import pytest
from fakes import PATIENCE_S, FakeTransport, eventually

import pyqvx

SERIAL = pyqvx.GET_SERIAL_NUMBER
REPLY = b"\x02\x00\x03" + bytes([SERIAL]) + b"QV\r\n"


class Peers:
    """A device's two ports, of commands and of data."""

    def __init__(self, ip="127.0.0.1", command=0, data=0):
        self.listeners = [socket.create_server((ip, port)) for port in (command, data)]
        for listener in self.listeners:
            listener.settimeout(PATIENCE_S)
        self.ip = ip
        command, data = (listener.getsockname()[1] for listener in self.listeners)
        self.ports = {"port": data, "cmd_port": command}
        self.accepted = []

    def close(self):
        for one in self.listeners + self.accepted:
            one.close()

    def accept_one(self, index):
        peer, _ = self.listeners[index].accept()
        self.accepted.append(peer)
        peer.settimeout(PATIENCE_S)
        return peer

    def accept(self):
        return [self.accept_one(0), self.accept_one(1)]


@pytest.fixture
def peers():
    made = Peers()
    yield made
    made.close()


def test_both_channels_serve_one_handle(peers, capsys):
    device = pyqvx.WifiDevice()
    assert isinstance(device, pyqvx.NetworkDevice) and isinstance(device.client_data, pyqvx.TCPClient)
    assert device.recv_data_lock.locked() and device.recv_data_thread.is_alive()
    assert device.connect(peers.ip, **peers.ports) is True
    command, data = peers.accept()
    assert device.connect_status_cmd and device.connect_status_data and not device.recv_data_lock.locked()
    assert device.ip_addr == peers.ip and repr(device) == f"<WifiDevice connected to {peers.ip}>"
    device._sendPacketWithoutReply(SERIAL, [])
    assert command.recv(64) == b"\x02\x00\x01" + bytes([SERIAL]) + b"\r\n"
    for peer in (command, data):
        peer.sendall(REPLY)
        assert bytes(device._getReplyFromPool(SERIAL, PATIENCE_S)) == b"QV"
    reported = threading.Event()
    device.on_connection_lost = lambda _: reported.set()
    data.close()
    assert reported.wait(PATIENCE_S) and repr(device) == f"<WifiDevice lost connection to {peers.ip}>"
    command.close()  # the other half of the same loss
    assert eventually(lambda: device.recv_cmd_lock.locked() and device.recv_data_lock.locked())
    device.close()
    assert not device.recv_cmd_thread.is_alive() and not device.recv_data_thread.is_alive()
    assert capsys.readouterr().out.splitlines() == [
        "Opened handle (WifiDevice)",
        f"Connected to {peers.ip} (WifiDevice)",
        "NetworkConnectionLostError: Error -8003: Network DAQ connection lost.",
        f"Disconnected from {peers.ip} (WifiDevice)",
        "Closed handle (WifiDevice)",
    ]


def test_the_address_alone_is_enough():
    try:
        # An address that no other run of the tests has.
        peers = Peers(
            f"127.93.{os.getpid() >> 8 & 255}.{os.getpid() & 255}", pyqvx.TCP_CMD_PORT, pyqvx.TCP_DATA_PORT
        )
    except PermissionError:
        pytest.skip("ports below 1024 need a privilege")
    with contextlib.closing(peers), pyqvx.WifiDevice(verbose=False) as device:
        device.connect(peers.ip)
        peers.accept()
        assert device.connect_status_cmd and device.connect_status_data


def test_verbose_is_the_handle_s_unless_told_otherwise(peers, capsys):
    with pyqvx.WifiDevice(verbose=False) as device:
        device.connect(peers.ip, verbose=True, **peers.ports)
        device.disconnect(False)
        device.connect(peers.ip, **peers.ports)
        device.disconnect(verbose=True)
    assert [text.split()[0] for text in capsys.readouterr().out.splitlines()] == ["Connected", "Disconnected"]


@pytest.mark.parametrize("closed", [0, 1], ids=["command", "data"])
def test_without_either_channel_there_is_none(peers, closed):
    ports = peers.ports
    peers.listeners[closed].shutdown(socket.SHUT_RDWR)  # its port stays taken
    with pyqvx.WifiDevice(verbose=False) as device:
        for connect in (device.connect, lambda *ip, **to: asyncio.run(device.connect_async(*ip, **to))):
            with pytest.raises(pyqvx.NetworkConnectionError):
                connect(peers.ip, **ports)
            assert not device.connect_status_cmd and not device.connect_status_data
            if closed == 1:
                assert peers.accept_one(0).recv(1) == b""
        for bad, error in ((None, pyqvx.InputTypeNotCorrectError), (65536, pyqvx.InputDataNotInRangeError)):
            with pytest.raises(error):
                device.connect(peers.ip, bad)
            with pytest.raises(error):
                device.connect(peers.ip, cmd_port=bad)


def test_a_coroutine_connects_and_a_cancelled_one_leaves_nothing(peers):
    full = socket.create_server(("127.0.0.1", 0), backlog=0)
    knocking = []
    for _ in range(4):  # its queue is full then
        knocking.append(socket.socket())
        knocking[-1].setblocking(False)
        knocking[-1].connect_ex(full.getsockname())

    async def main():
        async with pyqvx.WifiDevice(verbose=False) as device:
            ports = peers.ports | {"port": full.getsockname()[1]}
            connecting = asyncio.create_task(device.connect_async(peers.ip, **ports))
            command = await asyncio.to_thread(peers.accept_one, 0)
            connecting.cancel()
            with pytest.raises(asyncio.CancelledError):
                await connecting
            assert not device.connect_status_cmd and not device.connect_status_data
            assert command.recv(1) == b""
            assert await device.connect_async(peers.ip, **peers.ports) is True
            _, data = peers.accept()
            data.sendall(REPLY)
            return await device._getReplyFromPool_async(SERIAL)

    assert bytes(asyncio.run(main())) == b"QV"
    for one in [full, *knocking]:
        one.close()


def test_a_data_channel_written_in_python():
    with pyqvx.WifiDevice(verbose=False) as device:
        device.client_cmd, data = FakeTransport(), FakeTransport()
        device.client_data = data
        assert device.client_data is data
        device.connect("192.0.2.1", 1400, cmd_port=8)
        assert (data.connects, device.client_cmd.connects) == ([("192.0.2.1", 1400)], [("192.0.2.1", 8)])
        data.arriving.put((SERIAL, b"data"))
        assert bytes(device._getReplyFromPool(SERIAL, PATIENCE_S)) == b"data"
        device.client_data = None
        device.disconnect()
        with pytest.raises(pyqvx.NetworkConnectionError):
            device.connect("192.0.2.1")
        assert not device.connect_status_cmd
