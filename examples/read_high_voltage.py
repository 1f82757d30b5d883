"""Reads the input of a FeroxI ten times; each reading is taken in the range that it fits, +-25 or +-50 V."""

import time

import pyqvx
from address import devices_to_use

PORT = 0

with devices_to_use(__doc__, model="FeroxI", source="sine:40:0.5") as places, pyqvx.FeroxI() as device:
    if not device.connect(*places[0]):
        raise SystemExit(1)
    for _ in range(10):
        (volts,) = device.AI_readOnDemand(PORT)
        print(f"{volts:8.3f} V")
        time.sleep(0.1)
