"""Shows what happens on a CAN bus with two CordlogF1CD: one asks, and prints what it receives until
it sees the answer of the other one."""

import asyncio

import pyqvx
from address import devices_to_use

PORT = 1
SPEED = 2  # 500 kbit/s
QUESTION = 0x100
ANSWER = 0x18DA00F1


async def start(device: pyqvx.CordlogF1CD, place: tuple[str], only: int | None = None) -> None:
    """Joins the bus, to receive everything or the frames of one identifier."""
    await device.connect_async(*place)
    device.resend = False  # a frame that is repeated would be on the bus twice
    await device.CAN_open_async(PORT)
    await device.CAN_setSpeed_async(PORT, SPEED)
    if only is not None:
        for mask in (6, 7):
            await device.CAN_setRXFilterOrMask_async(PORT, mask, 0x7FF)
        for number in range(6):
            await device.CAN_setRXFilterOrMask_async(PORT, number, only)
        await device.CAN_setRXFilteringOn_async(PORT, 1)
    await device.CAN_start_async(PORT)


async def monitor(device: pyqvx.CordlogF1CD, answered: asyncio.Event) -> None:
    began = 0.0
    while not answered.is_set():
        for frame in await device.CAN_read_async(PORT, 1, 1.0):
            began = began or frame.timestamp
            number = f"{frame.id:08X}" if frame.extended_id else f"{frame.id:03X}"
            data = "remote" if frame.remote else bytes(frame.data[: frame.length]).hex(" ")
            print(f"{frame.timestamp - began:9.4f} s  {number:>8}  [{frame.length}]  {data}")
            if frame.id == ANSWER:
                answered.set()


async def answer(device: pyqvx.CordlogF1CD) -> None:
    """A station that sends back, in reverse, what it is asked."""
    for question in await device.CAN_read_async(PORT, 1, 10.0):
        await device.CAN_write_async(PORT, ANSWER, question.data[::-1], extended_id=True)


async def main(places: list[tuple[str]]) -> None:
    async with pyqvx.CordlogF1CD(verbose=False) as left, pyqvx.CordlogF1CD(verbose=False) as right:
        await asyncio.gather(start(left, places[0]), start(right, places[1], only=QUESTION))
        answered = asyncio.Event()
        watching = asyncio.create_task(monitor(left, answered))
        answering = asyncio.create_task(answer(right))
        await left.CAN_write_async(PORT, QUESTION, [1, 2, 3, 4])
        await asyncio.wait_for(asyncio.gather(watching, answering), 20)
        sent, received, *_ = await left._CAN_getCounters_async(PORT)
        print(f"{sent} frame sent, {received} received")


with devices_to_use(__doc__, virtual=2, model="CordlogF1CD", can_load=1) as devices:
    if len(devices) != 2:
        raise SystemExit("two devices are needed")
    asyncio.run(main(devices))
