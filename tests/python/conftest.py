"""Fixtures: virtual devices, connected ones, and devices over a transport in memory."""

from __future__ import annotations

import asyncio
import gc
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "virtual" / "python"))

from fakes import FakeTransport, connect_to, connected  # noqa: E402
from qvx_virtual import VirtualDevice  # noqa: E402

import pyqvx  # noqa: E402

# In the interpreter's development mode objects are collected as early as can be: what is let go too early, or
# twice, shows.
if sys.flags.dev_mode:
    gc.set_threshold(1)


@pytest.fixture
def bench():
    """Starts virtual devices that end with the test: bench(source="ramp")."""
    started = []

    def start(**options):
        started.append(VirtualDevice(**options).start())
        return started[-1]

    yield start
    for device in started:
        device.stop()


@pytest.fixture
def lab(bench):
    """lab("CordlogF1D", wire="do0=di1"): a connected device that sends each command once, however slow the
    machine; with count=2 a list of two of one bench."""
    made = []

    def start(model, count=None, **options):
        place = bench(model=model, count=count or 1, **options)
        devices = [getattr(pyqvx, model)(verbose=False) for _ in place.addresses]
        made.extend(devices)
        for device, (ip, port) in zip(devices, place.addresses):
            device.resend = False
            if count:
                device.connect(f"tcp://{ip}:{port}")
            else:
                connect_to(device, place)
        return devices if count else devices[0]

    yield start
    for device in made:
        device.close()


@pytest.fixture(params=["blocking", "coroutine"])
def call(request):
    """call(device, "UART_open", 1) runs either form of an operation."""

    def blocking(device, name, *args, **options):
        return getattr(device, name)(*args, **options)

    def coroutine(device, name, *args, **options):
        async def main():
            return await getattr(device, name + "_async")(*args, **options)

        return asyncio.run(main())

    return blocking if request.param == "blocking" else coroutine


@pytest.fixture
def device(bench):
    """A FeroxA, connected to a virtual one whose inputs measure a ramp."""
    place = bench(source="ramp", serial="QVTEST01", alias="start")
    with pyqvx.FeroxA(verbose=False) as made:
        made.connect(place.ip, place.port)
        yield made


@pytest.fixture
def fake():
    """A FeroxA over a recording transport, its `client_cmd`, that answers every command well."""
    made = connected(FakeTransport(default=b"\0\0"))
    yield made
    made.client_cmd.pool = None  # which refers to the device
    made.close()


@pytest.fixture
def silent():
    """A FeroxA over a recording transport that never answers."""
    made = connected(FakeTransport({}))
    yield made
    made.close()
