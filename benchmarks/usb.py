"""USB on a bus that umockdev pretends, all within this process: usb.py REPEATS PACKETS

Prints a JSON object with the seconds of a round trip and the bytes of payload a second, nearly all of which
is what pretending costs. The library of the bus is named in QVX_MOCK_BUS; umockdev must be preloaded.
"""

from __future__ import annotations

import ctypes
import json
import os
import sys
import time
import warnings

import pyqvx

PAYLOAD = bytes(1440)
TIMEOUT_S = 60.0


def main(repeats: int, packets: int) -> None:
    warnings.simplefilter("ignore")  # the one about the place of libusb
    library = ctypes.CDLL(os.environ["QVX_MOCK_BUS"])
    library.qvx_mock_bus.restype = library.qvx_mock_plug.restype = ctypes.c_void_p
    bus = ctypes.c_void_p(library.qvx_mock_bus())
    if not bus:
        raise RuntimeError("umockdev is not preloaded")
    options = (ctypes.c_char_p * 2)(b"--model=CordlogF1AD", None)
    plugged = ctypes.c_void_p(library.qvx_mock_plug(bus, b"BENCH001", options))
    with pyqvx.USBDevice(verbose=False) as device:
        device.connect("BENCH001")
        device._echoPacket(pyqvx.GET_SERIAL_NUMBER, [], TIMEOUT_S)
        began = time.perf_counter()
        for _ in range(repeats):
            device._echoPacket(pyqvx.GET_SERIAL_NUMBER, [], TIMEOUT_S)
        round_trip = (time.perf_counter() - began) / repeats

        frame = bytes(device._preparePacket(pyqvx.START_AI_STREAMING, [0, *PAYLOAD]))
        burst = frame * packets
        queue = device.data_pool_strm[pyqvx.START_AI_STREAMING, 0]
        began = time.perf_counter()
        library.qvx_mock_send(plugged, burst, ctypes.c_size_t(len(burst)))
        items = device._getStreamingFromPool(queue, packets, 0.01)
        rate = len(items) * len(PAYLOAD) / (time.perf_counter() - began)
        if any(item != PAYLOAD for item in items):
            raise RuntimeError("what arrived is not what was sent")
    library.qvx_mock_end(bus)
    print(json.dumps({"round_trip": round_trip, "rate": rate}))


if __name__ == "__main__":
    main(int(sys.argv[1]), int(sys.argv[2]))
