"""Discovery of virtual devices, in a network of this test's own: what is broadcast leaves no machine.

One wire of it is the loopback interface; the other ("v0" to "v1") is where exposed devices are.
"""

from __future__ import annotations

import asyncio
import ctypes
import fcntl
import os
import shutil
import socket
import struct
import subprocess
import time

import pytest
from fakes import PATIENCE_S, eventually

import pyqvx

CLONE_NEWNET = 0x40000000
SIOCSIFFLAGS = 0x8914
IFF_UP = 1


def _switch_on(interface):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, SIOCSIFFLAGS, struct.pack("16sH14x", interface.encode(), IFF_UP))


@pytest.fixture(autouse=True)
def own_network():
    """Threads and programs that are started meanwhile are in it too."""
    libc = ctypes.CDLL(None, use_errno=True)
    outside = os.open("/proc/thread-self/ns/net", os.O_RDONLY | os.O_CLOEXEC)
    try:
        if libc.unshare(CLONE_NEWNET) != 0:
            pytest.skip(f"a network of its own needs root: {os.strerror(ctypes.get_errno())}")
        try:
            _switch_on("lo")
            yield
        finally:
            assert libc.setns(outside, CLONE_NEWNET) == 0
    finally:
        os.close(outside)


@pytest.fixture
def finder():
    with pyqvx.BroadcastDevice(verbose=False) as made:
        made.connect()
        yield made


def mac_of(number):
    return f"02:51:56:0A:00:{number:02X}"


def test_every_device_is_found_once_and_says_who_it_is(bench, finder):
    place = bench(
        listen="127.0.0.1:4007", count=3, discovery=True, alias=["left", "right"], serial="QV000042"
    )
    seen = []
    began = time.monotonic()
    found = finder.Broadcast_findDevices(expected=3, timeout=PATIENCE_S, progress=seen.append)
    assert time.monotonic() - began < PATIENCE_S / 2  # the last one ends the search
    assert found == seen and len(set(found)) == 3
    by_ip = {record.ip: record for record in found}
    assert {(ip, record.name, record.serial, record.mac.upper()) for ip, record in by_ip.items()} == {
        ("127.0.0.1", "left", "QV000042", mac_of(1)),
        ("127.0.0.2", "right", "FA000002", mac_of(2)),
        ("127.0.0.3", "FeroxA", "FA000003", mac_of(3)),
    }
    first = found[0]
    assert (first.model, first.firmware, first.subnet_mask) == ("Ferox-A", "3.2.6", "255.0.0.0")
    with pyqvx.FeroxA(verbose=False) as device:
        device.connect(by_ip["127.0.0.2"].ip, place.port)
        assert device.Sys_getSerialNumber() == "FA000002"
    # Without a number the whole time is waited for; a progress that raises ends the search.
    assert len(asyncio.run(finder.Broadcast_findDevices_async(timeout=2))) == 3
    with pytest.raises(ZeroDivisionError):
        finder.Broadcast_findDevices(timeout=PATIENCE_S, progress=lambda record: 1 / 0)


def test_a_hundred_devices_in_one_program_are_all_found(bench, finder):
    bench(listen="127.0.0.1:4007", count=100, discovery=True)
    found = finder.Broadcast_findDevices(expected=100, timeout=PATIENCE_S)
    assert {(record.ip, record.serial) for record in found} == {
        (f"127.0.0.{number}", f"FA{number:06}") for number in range(1, 101)
    }


def test_orders_reach_the_device_with_the_mac_address_alone(bench, finder):
    place = bench(listen="127.0.0.1:4007", count=2, discovery=True)

    def addresses(timeout=PATIENCE_S):
        return sorted(record.ip for record in finder.Broadcast_findDevices(expected=2, timeout=timeout))

    with pyqvx.FeroxA(verbose=False) as other, pyqvx.FeroxA(verbose=False) as device:
        other.connect("127.0.0.1", place.port)
        device.connect("127.0.0.2", place.port)
        assert finder.Broadcast_setIP(mac_of(2), "127.0.7.7", "255.0.0.0") == 0
        assert addresses() == ["127.0.0.1", "127.0.0.2"]  # until the restart
        assert finder.Broadcast_reboot(mac_of(2)) == 0
        assert eventually(lambda: "lost connection" in repr(device))
        assert eventually(lambda: addresses(0.5) == ["127.0.0.1", "127.0.7.7"])
        device.disconnect()
        device.connect("127.0.7.7", place.port)
        assert device.Sys_getSerialNumber() == "FA000002"
        assert other.connect_status_cmd and other.Sys_getSerialNumber() == "FA000001"
    assert asyncio.run(finder.Broadcast_ring_async(mac_of(1))) == 0
    assert eventually(lambda: "127.0.0.1:4007 rings" in place.log)
    with pytest.raises(pyqvx.ReceivePacketTimeoutError):
        finder.Broadcast_ring(mac_of(9), timeout=0.3)


def test_a_refusal_and_silence(bench, finder):
    bench(listen="127.0.0.1:4007", discovery=True, status={pyqvx.CHECK_MAC_AND_SET_IP: 71})
    bench(listen="127.0.0.2:4007", discovery=True, silent=True)
    bench(listen="127.0.0.3:4007")
    with pytest.raises(pyqvx.FirmwareTCPError):
        finder.Broadcast_setIP(mac_of(1), "127.0.0.9", "255.0.0.0")
    assert [record.ip for record in finder.Broadcast_findDevices(timeout=2)] == ["127.0.0.1"]


def test_only_exposed_devices_answer_another_machine(bench, finder):
    if not shutil.which("ip"):
        pytest.skip("a second network needs the program ip")
    add = ["ip", "link", "add", "v0", "type", "veth", "peer", "name", "v1"]
    if subprocess.run(add, check=False).returncode != 0:
        pytest.skip("a second network needs the kernel module veth")
    for interface, address in (("v0", "10.77.0.1/24"), ("v1", "10.77.0.2/24")):
        subprocess.run(["ip", "address", "add", address, "dev", interface], check=True)
        subprocess.run(["ip", "link", "set", interface, "up"], check=True)
    bench(listen=["10.77.0.2:4007", "127.0.0.1:4007"], discovery=True, expose=True)
    assert len(finder.Broadcast_findDevices(expected=2, timeout=PATIENCE_S)) == 2

    def asked_from(address):
        """Who answers a request that is sent by hand to the address where the exposed device is."""
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as asker:
            asker.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
            asker.setsockopt(socket.SOL_SOCKET, socket.SO_BROADCAST, 1)
            asker.bind((address, pyqvx.UDP_RECV_PORT))
            asker.settimeout(2)
            asker.sendto(b"\x02\x00\x02\xfc\x00\r\n", ("255.255.255.255", pyqvx.UDP_SEND_PORT))
            answers = set()
            while True:
                try:
                    answers.add(socket.inet_ntoa(asker.recv(512)[11:15]))
                except TimeoutError:
                    return answers

    finder.disconnect()
    assert asked_from("10.77.0.1") == {"10.77.0.2"}
    assert asked_from("127.0.0.1") == {"10.77.0.2", "127.0.0.1"}
