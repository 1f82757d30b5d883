"""Where an example finds its devices: on its command line, or on a virtual bench that it starts."""

from __future__ import annotations

import argparse
from collections.abc import Iterator
from contextlib import contextmanager

from qvx_virtual import VirtualDevice

DEVICE_PORT = 7


def parse_address(text: str) -> tuple[str, int]:
    ip, _, port = text.partition(":")
    try:
        return ip, int(port or DEVICE_PORT)
    except ValueError:
        raise argparse.ArgumentTypeError(f"{port} is not a port") from None


@contextmanager
def devices_to_use(
    description: str | None, virtual: int = 1, source: str | list[str] = "sine"
) -> Iterator[list[tuple[str, int]]]:
    """Addresses as (ip, port). With --virtual that many virtual devices run meanwhile and
    measure `source`."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("address", nargs="*", type=parse_address, metavar="IP[:PORT]", help="a FeroxA")
    parser.add_argument("--virtual", action="store_true", help="use virtual devices instead of real ones")
    chosen = parser.parse_args()
    if chosen.virtual == bool(chosen.address):
        parser.error("give either the address of a device or --virtual")
    if not chosen.virtual:
        yield chosen.address
        return
    with VirtualDevice("FeroxA", count=virtual, source=source) as bench:
        yield bench.addresses
