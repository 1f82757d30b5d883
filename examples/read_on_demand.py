"""Reads all analog inputs of a FeroxA once a tenth of a second and prints them as a table."""

import time

import pyqvx
from address import devices_to_use

PORT = 0
READINGS = 10

with devices_to_use(__doc__, source="sine:5:0.5") as addresses, pyqvx.FeroxA() as device:
    if not device.connect(*addresses[0]):
        raise SystemExit(1)
    model, kind, version = device.Sys_getDriverInfo()
    print(f"{model} {version} ({kind}), serial number {device.Sys_getSerialNumber()}")

    device.AI_open(PORT)
    print("".join(f"{f'AI{channel} [V]':>10}" for channel in device.ai_dict[PORT]))
    for _ in range(READINGS):
        print("".join(f"{value:10.4f}" for value in device.AI_readOnDemand(PORT)))
        time.sleep(0.1)
    device.AI_close(PORT)
