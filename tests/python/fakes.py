"""What the tests put in place of a device, and the small things they share."""

from __future__ import annotations

import contextlib
import functools
import os
import queue
import signal
import socket
import struct
import subprocess
import sys
import time
from collections.abc import Callable, Iterator, Mapping, Sequence
from contextlib import AbstractContextManager
from pathlib import Path

import pytest

import pyqvx

# How long a test waits for what must happen, in seconds; never reached when it does.
PATIENCE_S = 20.0
# How long a test watches for what must not happen.
GLANCE_S = 0.05

# For tests that fork a process with threads: AddressSanitizer's allocator may be locked by one of them at
# that moment, and stays so in the child.
forks = pytest.mark.skipif(
    os.environ.get("QVX_SANITIZER") == "asan", reason="AddressSanitizer does not survive a fork"
)

ROOT = Path(__file__).resolve().parents[2]

# Payloads with which a FeroxA answers some commands.
ANSWERS = {
    pyqvx.GET_DRIVER_INFO: b"Ferox-A_Fake_3.2.6",
    pyqvx.GET_SERIAL_NUMBER: b"FAKE0001",
    pyqvx.GET_DEV_ALIAS: b"fake\r\n",
    pyqvx.GET_DATE_TIME: bytes([0, 124, 2, 29, 12, 30, 59]),
}


def split(packet):
    """(code, payload) of one frame, given as a list of ints."""
    data = bytes(packet)
    assert data[0] == 2 and data[-2:] == b"\r\n" and struct.unpack(">H", data[1:3])[0] == len(data) - 5
    width = 1 if data[3] >= 48 else 2
    return int.from_bytes(data[3 : 3 + width], "big"), data[3 + width : -2]


class FakeTransport:
    """A transport written in Python. Records what is sent; `answers` has the reply to each command, or a
    function of the request's payload; what is not there gets `default`, None for silence."""

    def __init__(
        self,
        answers: Mapping[int, bytes | Callable[[bytes], bytes]] = ANSWERS,
        default: bytes | None = None,
    ) -> None:
        self.answers = dict(answers)
        self.default = default
        self.sent: list[tuple[int, bytes]] = []
        self.broadcasts: list[list[int]] = []
        self.connects: list[tuple[str, int]] = []
        self.arriving: queue.SimpleQueue = queue.SimpleQueue()
        self.failure: Exception | None = None
        self.peer: socket.socket | None = None
        self.pool = None  # where replies are filed at once; None: they go through the receive thread

    def sendPacket(self, packet):
        if self.failure is not None:
            raise self.failure
        code, payload = split(packet)
        self.sent.append((code, payload))
        reply = self.answers.get(code, self.default)
        if callable(reply):
            reply = reply(payload)
        if reply is not None and self.pool is not None:
            self.pool[code] = reply
        elif reply is not None:
            self.arriving.put((code, reply))

    def sendBcstPacket(self, packet):
        self.broadcasts.append(packet)

    def recvAndSplitPacket(self, size):
        if self.failure is not None:
            raise self.failure
        try:
            return [self.arriving.get(timeout=0.004)]
        except queue.Empty:
            return []

    def connect(self, address, port):
        self.connects.append((address, port))
        return True

    def disconnect(self):
        if self.peer is not None:
            self.peer.close()


def models():
    """The class of every product."""
    return [c for c in vars(pyqvx).values() if isinstance(c, type) and c.__name__ in pyqvx.LABEL_DICT]


def connect_to(device, bench):
    """Connects a device of any model to the first one of a virtual bench."""
    if isinstance(device, pyqvx.WifiDevice):
        return device.connect(bench.ip, bench.data_port, cmd_port=bench.port)
    return device.connect(*bench.address if isinstance(device, pyqvx.NetworkDevice) else (bench.url,))


def connected(transport, make=pyqvx.FeroxA, at_once=True):
    """A device whose commands go to `transport`. With `at_once`, replies are filed before the send returns,
    so that no request is ever repeated, however slow the machine."""
    device = make(verbose=False)
    if isinstance(device, pyqvx.USBDevice):  # makes a client of its own when it connects
        with socket.create_server(("127.0.0.1", 0)) as server:
            device.connect(f"tcp://127.0.0.1:{server.getsockname()[1]}")
            # Kept open: the read of the client that the handle made must end with a byte, not with a loss.
            transport.peer, _ = server.accept()
        device.client_cmd = transport
        transport.peer.send(b"\0")
    else:
        device.client_cmd = transport
        if isinstance(device, pyqvx.WifiDevice):
            device.client_data = FakeTransport()
        device.connect("192.0.2.1")
    transport.pool = device.data_pool_echo if at_once else None
    return device


def eventually(condition) -> bool:
    deadline = time.monotonic() + PATIENCE_S
    while not condition():
        if time.monotonic() > deadline:
            return False
        time.sleep(0.002)
    return True


def environment() -> dict[str, str]:
    """In which a program of its own finds the module under test."""
    paths = [
        str(Path(pyqvx.__file__).parent),
        str(ROOT / "virtual" / "python"),
        os.environ.get("PYTHONPATH", ""),
    ]
    return os.environ | {
        "PYTHONPATH": os.pathsep.join(filter(None, paths)),
        # What they print is compared; what they leave open is gone with them.
        "PYTHONWARNINGS": "ignore::ResourceWarning",
    }


@contextlib.contextmanager
def start_program(
    command: Sequence[str], env: Mapping[str, str] | None = None
) -> Iterator[subprocess.Popen[str]]:
    """A program whose output can be read; it must end by itself, and soon, unless the test fails."""
    process = subprocess.Popen(
        command,
        env=env or environment(),
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        # What runs in the background is started deaf to Ctrl-C.
        preexec_fn=functools.partial(signal.signal, signal.SIGINT, signal.SIG_DFL),
    )
    try:
        yield process
        process.wait(PATIENCE_S)
    finally:
        process.kill()
        process.communicate()


# print() writes a line and its end apart, and what another thread prints may come between them.
WHOLE_LINES = """
import sys
sys.stdout.reconfigure(line_buffering=True)
def print(*values):
    sys.stdout.write(" ".join(map(str, values)) + "\\n")
"""


def start_script(text: str, *arguments: str) -> AbstractContextManager[subprocess.Popen[str]]:
    return start_program([sys.executable, "-c", WHOLE_LINES + text, *arguments])


def run_script(text: str, *arguments: str) -> str:
    """What a program of its own printed; it must end well, and soon."""
    with start_script(text, *arguments) as process:
        try:
            output, _ = process.communicate(timeout=PATIENCE_S)
        except subprocess.TimeoutExpired as error:
            raise AssertionError(f"the program hung\n{error.output}") from None
    assert process.returncode == 0, output
    return output
