"""Streams from several FeroxA at once: one coroutine for each device, no threads, and the loop stays free."""

import asyncio
import time

import pyqvx
from address import devices_to_use

PORT = 0
RATE = 5_000
SAMPLES = RATE  # a second's worth


async def measure(address: tuple[str, int]) -> list[list[float]]:
    async with pyqvx.FeroxA() as device:
        if not await device.connect_async(*address):
            raise SystemExit(1)
        await device.AI_open_async(PORT)
        await device.AI_setMode_async(PORT, 2)  # continuous
        await device.AI_setSamplingRate_async(PORT, RATE)
        await device.AI_openStreaming_async(PORT)
        await device.AI_startStreaming_async(PORT)
        samples: list[list[float]] = []
        while len(samples) < SAMPLES:
            news = await device.AI_readStreaming_async(PORT, min(500, SAMPLES - len(samples)), 2.0)
            if not news:
                raise SystemExit(f"{address[0]} sends nothing")
            samples += news
        await device.AI_closeStreaming_async(PORT)
        return samples


async def main(addresses: list[tuple[str, int]]) -> None:
    started = time.monotonic()
    results = await asyncio.gather(*[measure(address) for address in addresses])
    elapsed = time.monotonic() - started
    for (ip, port), samples in zip(addresses, results):
        first = [sample[0] for sample in samples]
        print(f"{ip}:{port}  {len(samples)} samples, AI0 from {min(first):.4f} to {max(first):.4f} V")
    print(f"{sum(map(len, results))} samples from {len(results)} devices in {elapsed:.1f} s")


with devices_to_use(__doc__, virtual=3, source="sine:5:10") as devices:
    asyncio.run(main(devices))
