"""The module on a USB bus that umockdev pretends. Run by ctest, which preloads umockdev."""

import asyncio
import ctypes
import json
import os
import subprocess
import sys
import threading
from pathlib import Path
from typing import Iterator, cast

import pytest

import pyqvx

pytestmark = pytest.mark.skipif("QVX_MOCK_BUS" not in os.environ, reason="ctest runs these")

TIMEOUT = 20


class Bus:
    def __init__(self) -> None:
        self.library = ctypes.CDLL(os.environ["QVX_MOCK_BUS"])
        self.library.qvx_mock_bus.restype = ctypes.c_void_p
        self.library.qvx_mock_plug.restype = ctypes.c_void_p
        self.bus = ctypes.c_void_p(self.library.qvx_mock_bus())
        assert self.bus, "umockdev is not preloaded"

    def plug(self, serial: str, model: str = "CordlogF1AD", *options: str) -> ctypes.c_void_p:
        """The options are those of qvx-virtual, whose firmware the device runs."""
        texts = [f"--model={model}".encode(), *(option.encode() for option in options), None]
        plugged = self.library.qvx_mock_plug(
            self.bus, serial.encode(), (ctypes.c_char_p * len(texts))(*texts)
        )
        assert plugged, "the options are wrong"
        return ctypes.c_void_p(plugged)

    def claimed(self, device: ctypes.c_void_p) -> int:
        return self.library.qvx_mock_claimed(device)

    def end(self) -> None:
        self.library.qvx_mock_end(self.bus)


@pytest.fixture(name="bus")
def make_bus() -> Iterator[Bus]:
    bus = Bus()
    yield bus
    bus.end()


@pytest.mark.filterwarnings("ignore:Warning 519000")
def test_one_session(bus: Bus, capfd: pytest.CaptureFixture[str]) -> None:
    bus.plug("S1")
    other = bus.plug("S2", "CordlogF1CD")
    with pyqvx.USBDevice() as dev:
        assert not dev.connect_status_cmd
        nothing = dev.client_cmd
        assert nothing is None
        assert dev._getAllUSBDevices() == [("S1", "Cordlog-F1-AD"), ("S2", "Cordlog-F1-CD")]
        assert dev.connect(serial_num="S2") and dev.serial_num == "S2"
        client = cast(pyqvx.USBClient, dev.client_cmd)
        assert (client.takeSerialNumber(), client.takeProductName()) == ("S2", "Cordlog-F1-CD")
        assert (client.device, client.config, client.interface) == ("001/006", 1, 0)
        assert (client.ep_in, client.ep_out) == (0x81, 1)
        assert dev._echoPacketWithRetry(pyqvx.GET_SERIAL_NUMBER, [], TIMEOUT) == b"S2"
        assert bus.claimed(other) == 1
        dev.disconnect()
        assert bus.claimed(other) == 0 and client.device is None
        dev.connect()
        client = cast(pyqvx.USBClient, dev.client_cmd)
        assert client.takeSerialNumber() == "S1"
        dev.close()
    lines = capfd.readouterr().out.splitlines()
    said = [line for line in lines if line.endswith("(USBDevice)")]
    assert said[:3] == [
        f"{what} (USBDevice)" for what in ("Opened handle", "Connected to S2", "Disconnected from S2")
    ]
    for wrong in (7, None, b"S1"):
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            pyqvx.USBClient(wrong)  # type: ignore[arg-type]
        with pyqvx.USBDevice(verbose=False) as device, pytest.raises(pyqvx.InputTypeNotCorrectError):
            device.connect(wrong)  # type: ignore[arg-type]


@pytest.mark.filterwarnings("ignore:Warning 519000")
def test_coroutines(bus: Bus) -> None:
    first = bus.plug("S1")

    async def session() -> None:
        async with pyqvx.USBDevice(verbose=False) as dev:
            with pytest.raises(pyqvx.USBConnectionError):
                await dev.connect_async("S2")
            assert await dev.connect_async()
            for _ in range(20):
                assert await dev._echoPacketWithRetry_async(pyqvx.GET_SERIAL_NUMBER, [], TIMEOUT) == b"S1"
            assert bus.claimed(first) == 1
        assert bus.claimed(first) == 0

    asyncio.run(session())


@pytest.mark.filterwarnings("ignore:Warning 519000")
def test_a_product_and_its_firmware(bus: Bus, capfd: pytest.CaptureFixture[str]) -> None:
    bus.plug("CA000001", "CordlogF1AD", "--source=constant:2.5", "--wire=do0=di1")
    with pyqvx.CordlogF1AD() as dev:
        dev.connect("CA000001")
        assert dev.Sys_getSerialNumber() == "CA000001" and dev.Sys_getDriverInfo()[0] == "Cordlog-F1-AD"
        dev.DO_openPort(0)
        dev.DI_openPins(1, [0, 1, 5])
        dev.DO_writePins(0, [0, 5], [1, 1])
        assert dev.DI_readPins(1, [0, 1, 5]) == [1, 0, 1]
        dev.AI_open(0)
        dev.AI_setMode(0, 2)
        dev.AI_setSamplingRate(0, 1000)
        dev.AI_openStreaming(0)
        dev.AI_startStreaming(0)
        rows = dev.AI_readStreaming(0, 200, TIMEOUT)
        assert len(rows) == 200 and all(abs(volts - 2.5) < 0.01 for row in rows for volts in row)
        reported = threading.Event()
        dev.on_connection_lost = lambda _: reported.set()
        dev.Sys_reboot()  # which takes it off the bus
        assert reported.wait(TIMEOUT) and "lost connection" in repr(dev)
        with pytest.raises(pyqvx.USBConnectionError):
            dev.Sys_getSerialNumber()
    assert capfd.readouterr().out.count("USBConnectionError: ") == 1


def test_the_benchmark_runs() -> None:
    program = Path(__file__).resolve().parents[2] / "benchmarks" / "usb.py"
    ran = subprocess.run(
        [sys.executable, str(program), "2", "2"], capture_output=True, text=True, check=True, timeout=60
    )
    assert json.loads(ran.stdout.splitlines()[-1]).keys() == {"round_trip", "rate"}


def test_the_missing_library_is_warned_of_once() -> None:
    program = (
        "import warnings, pyqvx\n"
        "with warnings.catch_warnings(record=True) as seen:\n"
        "    warnings.simplefilter('always')\n"
        "    assert pyqvx.getLibUSB1() is None and pyqvx.getLibUSB1() is None\n"
        "    pyqvx.USBDevice(verbose=False)._getAllUSBDevices()\n"
        "print(len([w for w in seen if 'libusb-1.0.dll' in str(w.message)]))\n"
    )
    ran = subprocess.run(
        [sys.executable, "-c", program], capture_output=True, text=True, check=True, timeout=60
    )
    assert ran.stdout.splitlines()[-1] == "1"
