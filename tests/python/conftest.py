"""Fixtures: virtual devices, connected ones, and devices over a transport in memory."""

from __future__ import annotations

import asyncio
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "virtual" / "python"))

from fakes import FakeTransport, connected, fence  # noqa: E402
from qvx_virtual import VirtualDevice  # noqa: E402

import pyqvx  # noqa: E402


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


@pytest.fixture(params=["blocking", "coroutine"])
def form(request):
    """form(device, "AI_open", 0) runs either form of an operation."""

    def run(device, name, *args):
        if not isinstance(device.client_cmd, FakeTransport):
            fence(device)
        if request.param == "blocking":
            return getattr(device, name)(*args)

        async def main():
            return await getattr(device, name + "_async")(*args)

        return asyncio.run(main())

    return run
