"""Checks the wiring of several FeroxD at once: is each output of port 0 connected to the input of port 1 with
the same number, and to that alone?"""

import asyncio

import pyqvx
from address import devices_to_use

OUTPUTS = 0
INPUTS = 1


async def check(place: tuple[str, int]) -> str:
    async with pyqvx.FeroxD(verbose=False) as device:
        await device.connect_async(*place)
        serial = await device.Sys_getSerialNumber_async()
        faults = []
        for pin in device.do_dict[OUTPUTS]:
            driven = await device.DO_writePort_async(OUTPUTS, 1 << pin)
            # One request at a time: replies of a device are told apart by their command only.
            read = await device.DI_readPort_async(INPUTS)
            if read != driven:
                faults.append(f"output {pin} arrives at {[i for i, level in enumerate(read) if level]}")
        await device.DO_writePort_async(OUTPUTS, 0)
        return f"{serial}: {'; '.join(faults) or 'wired as it should be'}"


async def main(places: list[tuple[str, int]]) -> None:
    for report in await asyncio.gather(*[check(place) for place in places]):
        print(report)


# The virtual ones have a fault: two wires are crossed.
WIRES = [f"do0.{pin}=di1.{ {2: 3, 3: 2}.get(pin, pin)}" for pin in range(8)]

with devices_to_use(__doc__, virtual=3, model="FeroxD", wire=WIRES) as devices:
    asyncio.run(main(devices))
