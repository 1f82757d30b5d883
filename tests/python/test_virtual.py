"""The virtual bench from outside: the program, its options and faults, through plain sockets."""

from __future__ import annotations

import array
import os
import signal
import socket
import struct
import subprocess
import time
from pathlib import Path

import pytest
from fakes import PATIENCE_S, eventually, run_script
from qvx_virtual import VirtualDevice, find_program

from pyqvx import (
    GET_AI_COUNTERS,
    GET_DEV_ALIAS,
    GET_DRIVER_INFO,
    GET_SERIAL_NUMBER,
    OPEN_AI_STREAMING,
    REBOOT,
    SET_AI_MODE,
    SET_AI_NUM_SAMPLES,
    SET_AI_SAMPLING_RATE,
    SET_DEV_ALIAS,
    START_AI_STREAMING,
)


def frame(code: int, payload: bytes = b"") -> bytes:
    body = (bytes([code]) if code < 256 else struct.pack(">H", code)) + payload
    return b"\x02" + struct.pack(">H", len(body)) + body + b"\r\n"


class Wire:
    """A connection that sends and receives frames, and trusts the length field."""

    def __init__(self, address: tuple[str, int]) -> None:
        self.socket = socket.create_connection(address, timeout=PATIENCE_S)
        self.socket.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        self.incoming = self.socket.makefile("rb", 1 << 18)

    def __enter__(self) -> Wire:
        return self

    def __exit__(self, *_: object) -> None:
        self.incoming.close()
        self.socket.close()

    def _take(self, count: int) -> bytes:
        taken = self.incoming.read(count)
        if len(taken) < count:
            raise EOFError
        return taken

    def receive(self) -> tuple[int, bytes]:
        start, length = struct.unpack(">BH", self._take(3))
        assert start == 2
        body = self._take(length)
        assert self._take(2) == b"\r\n"
        width = 1 if body[0] > 48 else 2
        return int.from_bytes(body[:width], "big"), body[width:]

    def send(self, code: int, payload: bytes = b"") -> None:
        self.socket.sendall(frame(code, payload))

    def ask(self, code: int, payload: bytes = b"") -> bytes:
        self.send(code, payload)
        answered, reply = self.receive()
        assert answered == code
        return reply

    def open_stream(self, mode: int, rate: float, number: int = 1) -> None:
        assert self.ask(SET_AI_MODE, bytes([0, mode])) == b"\0\0"
        assert self.ask(SET_AI_SAMPLING_RATE, b"\0" + struct.pack(">f", rate)) == b"\0\0"
        assert self.ask(SET_AI_NUM_SAMPLES, b"\0" + struct.pack(">I", number)) == b"\0\0"
        assert self.ask(OPEN_AI_STREAMING, b"\0") == b"\0\0"

    def samples(self, count: int) -> array.array[int]:
        """The raw codes of at least `count` samples, channels interleaved."""
        data = bytearray()
        while len(data) < count * 16:
            code, payload = self.receive()
            assert code == START_AI_STREAMING and payload[0] == 0 and len(payload) % 16 == 1
            data += payload[1:]
        codes = array.array("h", bytes(data))
        codes.byteswap()
        return codes


def run_program(*arguments: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        [find_program(), *arguments], capture_output=True, text=True, timeout=PATIENCE_S, check=False
    )


def test_state_is_the_devices_not_the_connections_and_survives_a_reboot() -> None:
    with VirtualDevice("FeroxA", alias="first", serial="QV000042") as bench:
        with Wire(bench.address) as one, Wire(bench.address) as two:
            assert one.ask(GET_SERIAL_NUMBER) == b"QV000042"
            assert one.ask(GET_DEV_ALIAS, b"\0") == b"first\r\n"
            assert one.ask(SET_DEV_ALIAS, b"second") == b"\0"
            assert two.ask(GET_DEV_ALIAS, b"\0") == b"second\r\n"
            assert one.ask(REBOOT) == b"\0"
            for ended in (one, two):
                with pytest.raises(EOFError):
                    ended.receive()
        with Wire(bench.address) as again:
            assert again.ask(GET_DEV_ALIAS, b"\0") == b"second\r\n"
        process = bench.process
        assert process.poll() is None
    assert process.returncode == 0


def test_streams_are_paced_by_the_clock() -> None:
    with VirtualDevice(source="constant:1") as bench, Wire(bench.address) as wire:
        wire.open_stream(mode=1, rate=10000, number=10001)
        began = time.monotonic()
        wire.send(START_AI_STREAMING, b"\0")
        codes = wire.samples(10001)
        elapsed = time.monotonic() - began
        assert set(codes) == {3277}
        assert 1.0 <= elapsed < 6.0  # the last sample is due after exactly 1 s; late only on a busy machine


def test_a_client_that_does_not_read_loses_samples_and_holds_up_nobody() -> None:
    with VirtualDevice(count=2) as bench:
        with Wire(bench.addresses[0]) as deaf, Wire(bench.addresses[1]) as other, Wire(bench.address) as same:
            deaf.open_stream(mode=2, rate=1e6)
            deaf.send(START_AI_STREAMING, b"\0")

            def lost() -> int:
                return int.from_bytes(same.ask(GET_AI_COUNTERS, b"\0")[-4:], "big")

            assert eventually(lambda: lost() > 0)
            assert other.ask(GET_SERIAL_NUMBER) == b"FA000002"
            status = Path(f"/proc/{bench.process.pid}/status").read_text()
            memory_kb = int(status.split("VmRSS:")[1].split()[0])
            assert memory_kb < 64 * 1024


def test_each_device_has_its_own_address() -> None:
    with VirtualDevice(listen="127.0.0.2:0", count=3, serial=["AAAAAAAA"]) as bench:
        assert [ip for ip, _ in bench.addresses] == ["127.0.0.2", "127.0.0.3", "127.0.0.4"]
        serials = []
        for address in bench.addresses:
            with Wire(address) as wire:
                serials.append(wire.ask(GET_SERIAL_NUMBER))
        assert serials == [b"AAAAAAAA", b"FA000002", b"FA000003"]
    with VirtualDevice(listen=["127.0.0.9:0", "127.0.0.7:0"]) as bench:
        assert [ip for ip, _ in bench.addresses] == ["127.0.0.9", "127.0.0.7"]


def answers(requests: int, **faults: object) -> bytes:
    """What comes back for that many requests, up to the answer that closes them."""
    with VirtualDevice(**faults) as bench, Wire(bench.address) as wire:  # type: ignore[arg-type]
        wire.socket.sendall(frame(GET_DEV_ALIAS, b"\0") * requests)
        wire.socket.shutdown(socket.SHUT_WR)
        received = b""
        while block := wire.socket.recv(65536):
            received += block
        return received


def test_faults_reach_the_wire_and_follow_the_seed() -> None:
    reply = frame(GET_DEV_ALIAS, b"FeroxA\r\n")
    assert answers(50) == reply * 50
    assert answers(50, drop=1) == b""
    assert answers(50, duplicate=1) == reply * 100
    assert answers(50, silent=True) == b""
    assert answers(50, silent_after=7) == reply * 7
    assert answers(5, split=True, delay=50) == reply * 5
    damaged = answers(50, corrupt=1)
    assert len(damaged) == len(reply * 50)
    assert all(damaged[i : i + len(reply)] != reply for i in range(0, len(damaged), len(reply)))
    mixed = {"drop": 0.3, "duplicate": 0.3, "corrupt": 0.3}
    first = answers(50, seed=5, **mixed)
    assert first == answers(50, seed=5, **mixed)
    assert first != answers(50, seed=6, **mixed)


def test_delay_and_reset() -> None:
    with VirtualDevice(delay=300) as bench, Wire(bench.address) as wire:
        began = time.monotonic()
        wire.ask(GET_SERIAL_NUMBER)
        assert time.monotonic() - began >= 0.3
    with VirtualDevice(reset_after=2) as bench, Wire(bench.address) as wire:
        wire.ask(GET_SERIAL_NUMBER)
        wire.ask(GET_SERIAL_NUMBER)
        with pytest.raises(ConnectionResetError):
            wire.ask(GET_SERIAL_NUMBER)
            wire.ask(GET_SERIAL_NUMBER)
        with Wire(bench.address) as again:
            assert again.ask(GET_SERIAL_NUMBER) == b"FA000001"


def test_hostile_bytes() -> None:
    garbage = os.urandom(1 << 20) + b"\x02\xff\xff" * 1000 + b"\x02" * 5000 + b"\x02\0\x01" * 5000
    with VirtualDevice() as bench, Wire(bench.address) as hostile, Wire(bench.address) as other:
        hostile.socket.setblocking(False)
        sent = 0
        while sent < len(garbage):
            try:
                sent += hostile.socket.send(garbage[sent : sent + 65536])
            except BlockingIOError:
                time.sleep(0.001)
            assert other.ask(GET_SERIAL_NUMBER) == b"FA000001"
        # Whatever the garbage was mistaken for, after some silence the connection is good again.
        hostile.socket.settimeout(1.5)
        received = b""

        def recovered() -> bool:
            nonlocal received
            hostile.send(GET_DRIVER_INFO, b"\0")
            try:
                while not received.endswith(frame(GET_DRIVER_INFO, b"Ferox-A_Virtual_3.2.6")):
                    received = received[-1000:] + hostile.socket.recv(65536)
            except TimeoutError:
                return False
            return True

        assert eventually(recovered)


@pytest.mark.parametrize(
    ("arguments", "complaint"),
    [
        (["--model", "FeroxZ"], "FeroxA"),
        (["--listen", "127.0.0.1:70000"], "65535"),
        (["--listen", "localhost"], "IPv4"),
        (["--listen", "192.0.2.1:0"], "--expose"),
        (["--listen", "127.255.255.255:0", "--count", "2"], "--expose"),
        (["--listen", "127.0.0.1:0", "--listen", "127.0.0.2:0", "--count", "2"], "--count"),
        (["--discovery", "--listen", "0.0.0.0:0", "--expose"], "--discovery"),
        (["--usbip", "192.0.2.1"], "--expose"),
        (["--usbip", "here"], "IPv4"),
        (["--usbip", "127.0.0.1:65536"], "65535"),
        (["--usbip", "--listen", "127.0.0.1:0"], "excludes"),
        (["--usbip", "--discovery"], "excludes"),
        (["--count", "0"], "count"),
        (["--drop", "1.5"], "probability"),
        (["--corrupt", "nan"], "probability"),
        (["--delay", "-1"], "delay"),
        (["--reset-after", "0"], "reset-after"),
        (["--status", "300"], "0 to 255"),
        (["--status", "x=1"], "CODE=STATUS"),
        (["--serial", "short"], "8 characters"),
        (["--alias", "a", "--alias", "b"], "more"),
        (["--source", "wav:/etc/hostname"], "RIFF"),
        (["--wire", "do0.1"], "from an output to an input"),
        (["--can-load", "5"], "no CAN bus"),
        (["--model", "CordlogF1D", "--can-bus", "a"], "no CAN bus"),
        (["--quiet", "--verbose"], "quiet"),
        (["--seed", "x"], "seed"),
        (["stray"], "stray"),
        (["--no-such-option"], "no-such-option"),
    ],
)
def test_malformed_options_are_refused(arguments: list[str], complaint: str) -> None:
    result = run_program(*arguments)
    assert result.returncode == 2
    assert complaint in result.stderr
    assert result.stdout == ""


def test_help_and_version() -> None:
    assert "--source" in run_program("--help").stdout
    version = run_program("--version")
    assert (version.returncode, version.stdout) == (0, "qvx-virtual 3.2.6\n")


def test_an_occupied_port_is_explained() -> None:
    with VirtualDevice() as bench:
        with pytest.raises(RuntimeError, match="ended with 1.*in use"):
            VirtualDevice(listen=f"127.0.0.1:{bench.port}").start()
    with pytest.raises(RuntimeError, match="ended with 2.*not one of FeroxA"):
        VirtualDevice("FeroxZ").start()


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_signals_end_it_cleanly(number: int) -> None:
    with VirtualDevice() as bench, Wire(bench.address) as wire:
        wire.open_stream(mode=2, rate=1000)
        wire.send(START_AI_STREAMING, b"\0")
        wire.samples(1)
        bench.process.send_signal(number)
        assert bench.process.wait(PATIENCE_S) == 0
        with pytest.raises((EOFError, ConnectionResetError)):
            while True:
                wire.receive()


def test_it_ends_with_the_process_that_started_it() -> None:
    start = "import os; from qvx_virtual import VirtualDevice; print(VirtualDevice().start().process.pid)"
    stat = Path(f"/proc/{int(run_script(start + '; os._exit(0)'))}/stat")

    def gone() -> bool:
        try:
            return stat.read_text().rsplit(")", 1)[1].split()[0] == "Z"  # a zombie that nobody has waited for
        except OSError:
            return True

    assert eventually(gone)
