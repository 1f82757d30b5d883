"""pyqvx and qvx-virtual on a real kernel's USB. Run by tools/usb_kernel.py, as root of a machine of its own.

Prints what was seen, a line each, and ends with a traceback where something else was.
"""

import contextlib
import io
import os
import socket
import struct
import sys
import tempfile
import time
import warnings
import wave
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "virtual" / "python"))

from qvx_virtual import VirtualDevice  # noqa: E402

import pyqvx  # noqa: E402

warnings.filterwarnings("ignore", message="Warning 519000")

VHCI = Path("/sys/devices/platform/vhci_hcd.0")
PATIENCE_S = 30.0
SAMPLES = 20_000
RATE = 10_000.0  # samples per second
CHANNELS = 8
CODES = [number * 7919 % 65536 - 32768 for number in range(SAMPLES * CHANNELS)]


def eventually(condition):
    deadline = time.monotonic() + PATIENCE_S
    while not condition():
        assert time.monotonic() < deadline, "it never came true"
        time.sleep(0.02)
    return True


class Plug:
    """A device on the bus, until it is pulled out."""

    def __init__(self, address, bus_id):
        with socket.create_connection(address, timeout=PATIENCE_S) as imported:
            imported.sendall(struct.pack(">HHI32s", 0x0111, 0x8003, 0, bus_id.encode()))
            reply = imported.recv(320, socket.MSG_WAITALL)
            _, _, status = struct.unpack(">HHI", reply[:8])
            imported.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
            assert status == 0, f"the import was refused with {status}"
            bus, number, speed = struct.unpack(">III", reply[8 + 256 + 32 :][:12])
            # The kernel keeps the socket for itself.
            imported.settimeout(None)
            (VHCI / "attach").write_text(f"0 {imported.fileno()} {bus << 16 | number} {speed}")
        eventually(lambda: self.interfaces())

    @staticmethod
    def interfaces():
        return [
            path.parent
            for path in Path("/sys/bus/usb/devices").glob("*/bInterfaceClass")
            if path.read_text() == "ff\n"
        ]

    def driver(self):
        """The kernel's driver that has the interface, None when there is none."""
        link = self.interfaces()[0] / "driver"
        return link.resolve().name if link.exists() else None

    def pull_out(self):
        (VHCI / "detach").write_text("0")
        eventually(lambda: not self.interfaces())


def ask(device, code, data=()):
    return bytes(device._echoPacket(code, list(data), PATIENCE_S))


def stream(device):
    """SAMPLES samples: bytes, and how long they took."""
    for code, data in (
        (pyqvx.SET_AI_MODE, b"\1"),
        (pyqvx.SET_AI_SAMPLING_RATE, struct.pack(">f", RATE)),
        (pyqvx.SET_AI_NUM_SAMPLES, struct.pack(">I", SAMPLES)),
        (pyqvx.OPEN_AI_STREAMING, b""),
    ):
        assert ask(device, code, b"\0" + data) == b"\0\0"
    began = time.monotonic()
    device._sendPacketWithoutReply(pyqvx.START_AI_STREAMING, [0])
    packets = device.data_pool_strm[pyqvx.START_AI_STREAMING, 0]
    received = b""
    while len(received) < SAMPLES * CHANNELS * 2:
        received += bytes(packets.get(timeout=PATIENCE_S))
    took = time.monotonic() - began
    assert ask(device, pyqvx.CLOSE_AI_STREAMING, [0]) == b"\0\0"
    return received, took


def record(path):
    with wave.open(path, "wb") as file:
        file.setparams((CHANNELS, 2, int(RATE), 0, "NONE", ""))
        file.writeframes(struct.pack(f"<{len(CODES)}h", *CODES))
    return path


def reports(said):
    return [line for line in said.getvalue().splitlines() if line.startswith("USBConnectionError:")]


def main():
    bench = VirtualDevice(
        usbip="127.0.0.1:0",
        count=2,
        serial=["KERNEL01", "KERNEL02"],
        source="wav:" + record(tempfile.mktemp(".wav")),
    ).start()
    plug = Plug(bench.addresses[1], bench.bus_ids[1])
    eventually(lambda: plug.driver() is not None)
    driver = plug.driver()
    assert driver == "usbserial_generic", driver
    print("attached, and taken by the kernel's driver", driver)

    with contextlib.redirect_stdout(io.StringIO()):  # the warning of the library's absence
        pyqvx.getLibUSB1()
    device = pyqvx.USBDevice()  # which prints its losses
    assert device._getAllUSBDevices() == [("KERNEL02", "Ferox-A")]
    try:
        device.connect("KERNEL01")
        raise AssertionError("KERNEL01 is not plugged in")
    except pyqvx.USBConnectionError:
        pass
    device.connect("KERNEL02")
    assert plug.driver() == "usbfs"
    client = device.client_cmd
    print("connected:", client.takeSerialNumber(), client.takeProductName(), "at", client.device)
    began = time.monotonic()
    for _ in range(50):
        assert ask(device, pyqvx.GET_SERIAL_NUMBER) == b"KERNEL02"
    print(f"50 requests answered, {(time.monotonic() - began) / 50 * 1e3:.1f} ms each")
    text = bytes(range(65, 91)) * 2 + b"0123456789ab"  # a reply of one full packet and more
    assert ask(device, pyqvx.SET_DEV_ALIAS, text) == b"\0"
    assert ask(device, pyqvx.GET_DEV_ALIAS, [0]) == text + b"\r\n"

    received, took = stream(device)
    assert received == struct.pack(f">{len(CODES)}h", *CODES), "the samples are not those of their source"
    print(f"{SAMPLES} samples of {CHANNELS} channels streamed in {took:.2f} s, equal to their source")

    device.disconnect()
    eventually(lambda: plug.driver() == driver)
    print("disconnected, and", driver, "has its interface back")

    for how in ("detached", "restarted", "its server killed"):
        said = io.StringIO()
        with contextlib.redirect_stdout(said):
            device.connect("KERNEL02")
            assert ask(device, pyqvx.GET_SERIAL_NUMBER) == b"KERNEL02"
            if how == "detached":
                plug.pull_out()
            elif how == "restarted":
                assert ask(device, pyqvx.REBOOT) == b"\0"
            else:
                bench.process.kill()
            eventually(lambda: "lost connection" in repr(device))
            eventually(lambda: not plug.interfaces())
            try:
                ask(device, pyqvx.GET_SERIAL_NUMBER)
                raise AssertionError("a device that is gone took a request")
            except pyqvx.USBConnectionError:
                pass
            assert device.recv_cmd_thread.is_alive()
            device.disconnect()
        assert len(reports(said)) == 1, said.getvalue()
        print(f"{how}: {reports(said)[0]}")
        if how != "its server killed":
            plug = Plug(bench.addresses[1], bench.bus_ids[1])
    device.close()
    bench.stop()
    print(f"all as expected, {os.uname().release}")


if __name__ == "__main__":
    main()
