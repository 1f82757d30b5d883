"""Every model against a virtual device of its name, over whatever it connects by."""

import asyncio
import re
import subprocess

import pytest
from fakes import connect_to, models
from qvx_virtual import find_program

import pyqvx


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_every_model_has_a_virtual_device(bench, cls):
    place = bench(model=cls.__name__, serial="QVMODEL1")
    with cls(verbose=False) as device:
        assert connect_to(device, place)
        assert device.Sys_getDriverInfo()[0] == pyqvx.LABEL_DICT[cls.__name__]
        assert device.Sys_getSerialNumber() == asyncio.run(device.Sys_getSerialNumber_async()) == "QVMODEL1"
        device.disconnect()
        assert connect_to(device, place)
        assert device.Sys_getSerialNumber() == "QVMODEL1"


def test_the_bench_has_no_other_models():
    done = subprocess.run([find_program(), "--model", "?"], capture_output=True, text=True, check=False)
    listed = re.search(r"not one of (.*)", done.stderr)[1].split(", ")
    assert sorted(listed) == sorted(cls.__name__ for cls in models())


def connect_later(device, identifier):
    async def main():
        return await device.connect_async(identifier)

    return asyncio.run(main())


@pytest.mark.parametrize("make", [pyqvx.USBDevice, pyqvx.UARTDevice])
def test_identifiers_of_virtual_devices(bench, make):
    place = bench(model="CordlogF1D", serial="QVTCPURL")
    with make(verbose=False) as device:
        for connect in (type(device).connect, connect_later):
            assert connect(device, place.url)
            assert device._echoPacket(pyqvx.GET_SERIAL_NUMBER, [], 3) == b"QVTCPURL"
            assert place.url in repr(device)
            device.disconnect()
        for end in ("", "127.0.0.1", "127.0.0.1:", "127.0.0.1:0", "127.0.0.1:65536"):
            with pytest.raises(pyqvx.NetworkConnectionError, match="tcp://ADDRESS:PORT"):
                device.connect("tcp://" + end)
        for end in (":7", "localhost:7", "127.0.0.1:7\0", "127.0.0.1:7 ", "1:2:3"):
            with pytest.raises(pyqvx.NetworkConnectionError):
                device.connect("tcp://" + end)
        # The next connection is over the handle's own medium again.
        with pytest.raises((pyqvx.USBConnectionError, pyqvx.UARTConnectionError)):
            device.connect("no such device")
        assert connect_later(device, place.url)
