"""Where an example finds its devices: on its command line, or on a virtual bench that it starts."""

from __future__ import annotations

import argparse
from collections.abc import Iterator
from contextlib import contextmanager
from typing import Any

import pyqvx
from qvx_virtual import VirtualDevice

DEVICE_PORT = 7


def parse_address(text: str) -> tuple[str, int]:
    ip, _, port = text.partition(":")
    try:
        return ip, int(port or DEVICE_PORT)
    except ValueError:
        raise argparse.ArgumentTypeError(f"{port} is not a port") from None


def parse_serial_number(text: str) -> tuple[str]:
    return (text,)


@contextmanager
def devices_to_use(
    description: str | argparse.ArgumentParser | None,
    virtual: int = 1,
    model: str = "FeroxA",
    **options: Any,
) -> Iterator[list[Any]]:
    """What `connect` of each device takes. With --virtual that many virtual devices run meanwhile, with the
    options of qvx-virtual. An example with options of its own gives the parser that has them."""
    usb = issubclass(getattr(pyqvx, model), pyqvx.USBDevice)
    if isinstance(description, argparse.ArgumentParser):
        parser = description
    else:
        parser = argparse.ArgumentParser(description=description)
    if usb:
        parser.add_argument(
            "device", nargs="*", type=parse_serial_number, metavar="SERIAL-NUMBER", help=f"a {model}"
        )
    else:
        parser.add_argument("device", nargs="*", type=parse_address, metavar="IP[:PORT]", help=f"a {model}")
    parser.add_argument("--virtual", action="store_true", help="use virtual devices instead of real ones")
    chosen = parser.parse_args()
    if chosen.virtual == bool(chosen.device):
        parser.error("give either a device or --virtual")
    if not chosen.virtual:
        yield chosen.device
        return
    with VirtualDevice(model, count=virtual, **options) as bench:
        yield [(f"tcp://{ip}:{port}",) if usb else (ip, port) for ip, port in bench.addresses]
