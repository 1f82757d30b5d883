"""Runs a light through a shift register (74HC595) on an SPI bus of a CordlogF1D and reads back what stood
in it before; a second device does the same meanwhile. As coroutines."""

import asyncio

import pyqvx
from address import devices_to_use

PORT = 1
LAMPS = 8


def lamps(bits: int) -> str:
    return " ".join("#" if bits >> lamp & 1 else "." for lamp in range(LAMPS))


async def run_light(place: tuple[str, ...]) -> list[str]:
    async with pyqvx.CordlogF1D() as device:
        if not await device.connect_async(*place):
            raise SystemExit(1)
        device.resend = False  # a transfer that is repeated shifts twice
        await device.SPI_open_async(PORT)
        await device.SPI_setMode_async(PORT, 0)
        await device.SPI_setPrescaler_async(PORT, 64)
        await device.SPI_write_async(PORT, [0])
        lines = [f"{await device.Sys_getSerialNumber_async()}\n{'sent':<18}stood there"]
        for lamp in range(LAMPS):
            sent = 1 << lamp
            (before,) = await device.SPI_readAndWrite_async(PORT, [sent])
            lines.append(f"{lamps(sent):<18}{lamps(before)}")
        await device.SPI_close_async(PORT)
        return lines


async def main(places: list[tuple[str, ...]]) -> None:
    for lines in await asyncio.gather(*map(run_light, places)):
        print("\n".join(lines), end="\n\n")


with devices_to_use(__doc__, virtual=2, model="CordlogF1D", attach="spi1=74hc595") as devices:
    asyncio.run(main(devices))
