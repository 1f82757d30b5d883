"""Finding devices by broadcast, in a network of this process's own: discovery.py DEVICES REPEATS

Prints a JSON object with the seconds of each search, none where such a network is not permitted.
"""

from __future__ import annotations

import ctypes
import fcntl
import json
import socket
import struct
import sys
import time

import pyqvx
from qvx_virtual import VirtualDevice

CLONE_NEWNET = 0x40000000
SIOCSIFFLAGS = 0x8914
IFF_UP = 1
TIMEOUT_S = 5.0


def search(devices: int, repeats: int) -> list[float]:
    if ctypes.CDLL(None).unshare(CLONE_NEWNET) != 0:
        return []
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, SIOCSIFFLAGS, struct.pack("16sH14x", b"lo", IFF_UP))
    found = []
    with VirtualDevice("FeroxA", listen="127.0.0.1:4007", count=devices, discovery=True):
        with pyqvx.BroadcastDevice(verbose=False) as everybody:
            everybody.connect()
            for _ in range(repeats):
                began = time.perf_counter()
                records = everybody.Broadcast_findDevices(expected=devices, timeout=TIMEOUT_S)
                found.append(time.perf_counter() - began)
                if len(records) != devices:
                    raise RuntimeError(f"{len(records)} of {devices} devices were found")
    return found


if __name__ == "__main__":
    print(json.dumps(search(int(sys.argv[1]), int(sys.argv[2]))))
