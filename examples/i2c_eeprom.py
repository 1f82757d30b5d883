"""Finds the slaves on an I2C bus of a CordlogF1D and keeps a note in the EEPROM (24C02) at address 0x50:
writes it page by page, waits for each to be stored, and reads it back."""

import time

import pyqvx
from address import devices_to_use

PORT = 1
EEPROM = 0x50
PAGE = 8  # bytes
SLOWEST_WRITE_S = 1.0
NOTE = b"calibrated 2026-11-21, gain 1.00021, offset -0.3 mV"


def acknowledges(device: pyqvx.CordlogF1D, address: int) -> bool:
    try:
        device.I2C_write(PORT, address, [])
    except pyqvx.FirmwareI2CError:
        return False
    return True


def store(device: pyqvx.CordlogF1D, start: int, data: bytes) -> None:
    """`start` is where a page begins."""
    for at in range(0, len(data), PAGE):
        device.I2C_write(PORT, EEPROM, [start + at, *data[at : at + PAGE]])
        deadline = time.monotonic() + SLOWEST_WRITE_S
        while not acknowledges(device, EEPROM):  # it does not while it stores
            if time.monotonic() > deadline:
                raise SystemExit("the EEPROM does not come back")


def load(device: pyqvx.CordlogF1D, start: int, count: int) -> bytes:
    device.I2C_write(PORT, EEPROM, [start])  # where to read
    return bytes(device.I2C_read(PORT, EEPROM, count))


with (
    devices_to_use(__doc__, model="CordlogF1D", attach=["i2c1=24c02", "i2c1=24c02:0x57"]) as devices,
    pyqvx.CordlogF1D() as device,
):
    if not device.connect(*devices[0]):
        raise SystemExit(1)
    device.resend = False  # a write that is repeated meets an EEPROM that stores
    device.I2C_open(PORT)
    device.I2C_setClockRate(PORT, 1)  # 400 kHz
    slaves = [address for address in range(0x08, 0x78) if acknowledges(device, address)]
    print(f"slaves on I2C {PORT}: {', '.join(map(hex, slaves)) or 'none'}")
    if EEPROM not in slaves:
        raise SystemExit(f"there is no EEPROM at {EEPROM:#x}")

    print(f"before: {load(device, 0, PAGE).hex(' ')}")
    store(device, 0, NOTE)
    print(f"after:  {load(device, 0, len(NOTE)).decode()}")
    device.I2C_close(PORT)
