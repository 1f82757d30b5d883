"""Every other road: round trips, throughput, discovery, and many devices in one process.

roads.py SECONDS measures many devices, in a process that has had nothing else, and prints a JSON object.
"""

from __future__ import annotations

import json
import os
import sys
import time
import tty
from contextlib import ExitStack
from pathlib import Path
from statistics import median

import pyqvx
from measure import PORT, Row, compare, in_new_process
from measure import seconds as seconds_text
from qvx_virtual import VirtualDevice
from round_trip import REQUEST

ROOT = Path(__file__).resolve().parents[1]
DEVICES = 100
RATE = 20_000  # the fastest that the product samples
REPLY_SIZE = 3 + 9 + 2


def serial(rounds: int, repeats: int) -> Row:
    """One question and its answer on a pseudo-terminal, against write and read on one of the same program."""
    with ExitStack() as stack:
        # A line has one user, so the reference has a device of its own.
        bench, other = (stack.enter_context(VirtualDevice("FeroxA", pty=True)) for _ in range(2))
        device = stack.enter_context(pyqvx.UARTDevice(verbose=False))
        device.connect(bench.path)
        fd = os.open(other.path, os.O_RDWR | os.O_NOCTTY)
        stack.callback(os.close, fd)
        tty.setraw(fd)

        def ours() -> float:
            began = time.perf_counter()
            for _ in range(repeats):
                device._echoPacket(pyqvx.GET_SERIAL_NUMBER, [], 3)
            return (time.perf_counter() - began) / repeats

        def reference() -> float:
            began = time.perf_counter()
            for _ in range(repeats):
                os.write(fd, REQUEST)
                size = 0
                while size < REPLY_SIZE:
                    size += len(os.read(fd, 4096))
            return (time.perf_counter() - began) / repeats

        row = compare("serial round trip / raw terminal", ours, reference, rounds, None)
    return row


def throughput(seconds: int, model: str = "FeroxA") -> Row:
    """Samples that a device sends as fast as TCP takes them, read as arrays."""
    with VirtualDevice(model, stream_as_fast_as_possible=True) as bench:
        with getattr(pyqvx, model)(verbose=False) as device:
            if bench.data_port is None:
                device.connect(*bench.address)
            else:
                device.connect(bench.ip, bench.data_port, cmd_port=bench.port)
            device.AI_open(PORT)
            device.AI_setMode(PORT, 2)
            device.AI_openStreaming(PORT)
            began = time.perf_counter()
            device.AI_startStreaming(PORT)
            samples = 0
            while time.perf_counter() < began + seconds:
                samples += len(device.AI_readStreamingArray(PORT, 10_000, 1.0))
            rate = samples * 16 / (time.perf_counter() - began) / 1e6
            device.AI_closeStreaming(PORT)
    road = "TCP" if bench.data_port is None else "Wi-Fi data channel"
    return Row(f"{road} stream read as arrays, payload in a second", f"{rate:.0f} MB", rate, None)


def usb(repeats: int, packets: int) -> list[Row]:
    """Against a pretended bus: what libusb and the driver need, without a wire. Built with the tests."""
    library = ROOT / "build" / "release" / "tests" / "usb" / "libqvx_mock_bus.so"
    environ = {"LD_PRELOAD": "libumockdev-preload.so.0", "QVX_MOCK_BUS": str(library)}
    result = in_new_process("usb.py", repeats, packets, environ=environ)
    rate = result["rate"] / 1e6
    return [
        Row("USB round trip, pretended bus", seconds_text(result["round_trip"]), result["round_trip"], None),
        Row("USB stream, pretended bus, payload in a second", f"{rate:.1f} MB", rate, None),
    ]


def discovery(repeats: int) -> Row:
    times = in_new_process("discovery.py", DEVICES, repeats)
    what = f"discovery of {DEVICES} devices"
    if not times:
        return Row(what + ": needs root", "", 0, None)
    return Row(what, seconds_text(median(times)), median(times), None)


def many(seconds: int) -> list[Row]:
    result = in_new_process("roads.py", seconds)
    idle_ms = result["idle"] * 1e3
    streamed = f"{DEVICES} devices streaming {RATE // 1000} kHz x 8: "
    return [
        Row(f"threads of {DEVICES} connected devices", f"{result['threads']}", result["threads"], None),
        Row("memory of one of them", f"{result['memory'] / 1e3:.0f} kB", result["memory"], None),
        Row(f"processor time of all, idle for {seconds} s", f"{idle_ms:.2f} ms", idle_ms, None),
        Row(streamed + "cores", f"{result['core']:.2f}", result["core"], None),
        Row(streamed + "samples a second", f"{result['rate']:,.0f}", result["rate"], None),
        Row(streamed + "lost", f"{result['lost']:,.0f}", result["lost"], None),
    ]


def resident() -> int:
    return int(Path("/proc/self/statm").read_text().split()[1]) * os.sysconf("SC_PAGE_SIZE")


def measure_many(seconds: int) -> dict[str, float]:
    with ExitStack() as stack:
        bench = stack.enter_context(VirtualDevice("FeroxA", listen="127.0.1.1:4007", count=DEVICES))
        before = resident()
        devices = [stack.enter_context(pyqvx.FeroxA(verbose=False)) for _ in bench.addresses]
        for device, address in zip(devices, bench.addresses):
            device.connect(*address)
            device.Sys_getSerialNumber()
        result: dict[str, float] = {
            "memory": (resident() - before) / DEVICES,
            "threads": len(os.listdir("/proc/self/task")),
        }
        time.sleep(0.5)
        cpu = time.process_time()
        time.sleep(seconds)
        result["idle"] = time.process_time() - cpu

        for device in devices:
            device.AI_open(PORT)
            device.AI_setMode(PORT, 2)
            device.AI_setSamplingRate(PORT, RATE)
            device.AI_openStreaming(PORT)
        for device in devices:
            device.AI_startStreaming(PORT)
        for device in devices:  # what came while the others were started
            device.AI_readStreamingArray(PORT, -1, 0)
        began, cpu, samples = time.perf_counter(), time.process_time(), 0
        while time.perf_counter() < began + seconds:
            time.sleep(0.05)
            samples += sum(len(device.AI_readStreamingArray(PORT, -1, 0)) for device in devices)
        elapsed = time.perf_counter() - began
        result["core"] = (time.process_time() - cpu) / elapsed
        result["rate"] = samples / elapsed
        result["lost"] = 0
        for device in devices:
            result["lost"] += device._AI_getCounter(PORT, timeout=30)[2]
            result["lost"] += device.ai_signal_queue_list[PORT].dropped
    return result


if __name__ == "__main__":
    print(json.dumps(measure_many(int(sys.argv[1]))))
