"""Steps an analog output of a CordlogF1AOD through its range, reads every level back with an input that a
wire joins to it, and fits a line: how one calibrates a converter. As coroutines."""

import asyncio

import numpy as np
import pyqvx
from address import devices_to_use

PORT = CHANNEL = 0
LEVELS = np.linspace(-9.5, 9.5, 20)


async def step(device: pyqvx.CordlogF1AOD) -> list[float]:
    read = []
    for level in LEVELS:
        await device.AO_writeOneChannel_async(PORT, CHANNEL, float(level))
        read.append((await device.AI_readOnDemand_async(PORT))[CHANNEL])
    return read


async def main(place: tuple[str, ...]) -> None:
    async with pyqvx.CordlogF1AOD() as device:
        if not await device.connect_async(*place):
            raise SystemExit(1)
        await device.AO_open_async(PORT)
        await device.AI_open_async(PORT)
        read = await step(device)
        await device.AI_close_async(PORT)
        await device.AO_close_async(PORT)
    for level, volts in zip(LEVELS, read):
        print(f"{level:8.4f} V -> {volts:8.4f} V")
    gain, offset = np.polyfit(LEVELS, read, 1)
    print(f"gain {gain:.5f}, offset {offset * 1e3:z.2f} mV")


with devices_to_use(__doc__, model="CordlogF1AOD", wire="ao0.0=ai0.0") as places:
    asyncio.run(main(places[0]))
