"""UART, I2C, SPI and CAN: both forms against virtual devices, and their queues and frames in Python."""

import asyncio
import copy
import pickle
import random
import time
from functools import partial

import pytest
from fakes import PATIENCE_S, FakeTransport, connected, eventually, models

import pyqvx
from pyqvx import CANFrame

CORDLOG = {"CordlogF1D", "CordlogF1AD", "CordlogF1TD", "CordlogF1CD", "CordlogF1RD", "CordlogF1AOD"}
OFFERED = {"UART": CORDLOG, "I2C": CORDLOG, "SPI": CORDLOG - {"CordlogF1AOD"}, "CAN": {"CordlogF1CD"}}
# Of each bus the last port, and its digital port and pins.
LAST_PORTS = {
    "UART": (2, 2, [2, 3]),
    "I2C": (2, 3, [0, 1]),
    "SPI": (2, 3, [2, 3, 4, 5]),
    "CAN": (1, 1, [4, 5]),
}
EEPROM = 0x50


class Labelled(CANFrame):
    """A frame with more to it."""


def test_which_models_have_which_bus():
    for cls in models():
        for bus, offering in OFFERED.items():
            for name in (f"{bus}_open", f"{bus}_open_async"):
                assert hasattr(cls, name) == (cls.__name__ in offering), name
    with pyqvx.CordlogF1CD(verbose=False) as device:
        assert device.I2C_getPinMap() == device.I2C_dict == {1: [(2, 6), (2, 7)], 2: [(3, 0), (3, 1)]}
        assert device.SPI_getPinMap() == device.SPI_dict and set(device.SPI_dict[1]) == {
            (1, n) for n in range(4)
        }
        assert set(device.uart_dict[1]) == {(2, 0), (2, 1)} and sorted(device.uart_dict) == [1, 2]


@pytest.mark.parametrize("model", sorted(CORDLOG))
def test_every_virtual_model_has_its_buses(lab, model):
    device = lab(model)
    for bus, (port, digital, pins) in LAST_PORTS.items():
        if model in OFFERED[bus]:
            assert getattr(device, f"{bus}_open")(port) == 0
            modes = device.Sys_getPinModeInPort(digital)[1]
            assert [modes[pin] for pin in pins] == [bus] * len(pins)


@pytest.mark.parametrize("bus", sorted(OFFERED))
def test_buses_keep_their_pins_until_they_are_closed(lab, call, bus):
    device = lab("CordlogF1CD")
    port, digital, pins = LAST_PORTS[bus]
    assert call(device, "DO_openPins", digital, pins[:1]) == call(device, f"{bus}_open", port) == 0
    modes = device.Sys_getPinModeInPort(digital)[1]
    assert [modes[pin] for pin in pins] == [bus] * len(pins)
    refusal = getattr(pyqvx, f"{bus}PortNotAvaliableError")
    with pytest.raises(refusal, match=rf"port: {port}, its pin P{digital}\.[{pins[0]}{pins[-1]}] is {bus}\)"):
        call(device, f"{bus}_open", port)
    with pytest.raises(refusal, match=r"port: 256 is not in \["):
        call(device, f"{bus}_open", 256)
    with pytest.raises(pyqvx.DOPortNotAvaliableError):
        call(device, "DO_openPins", digital, pins[-1:])
    assert call(device, f"{bus}_close", port) == call(device, "DO_openPins", digital, pins) == 0


def test_two_serial_ports_crossed_with_every_setting(lab, call):
    device = lab("CordlogF1D", wire=["uart1=uart2", "uart2=uart1"])
    run = partial(call, device)
    for port in (1, 2):
        assert run("UART_open", port) == run("UART_setBaudRate", port, 400000) == 0
        assert run("UART_setDataBit", port, 1) == run("UART_setParity", port, 2) == 0
        assert run("UART_setNumStopBit", port, 2) == 0
    every_byte = list(range(256))
    for first in range(0, 256, 50):
        run("UART_write", 1, every_byte[first : first + 50])
    assert run("UART_read", 2, 256, PATIENCE_S) == every_byte
    run("UART_write", 2, ["a", "b", "\xff"])
    assert run("UART_read", 1, 3, PATIENCE_S) == [97, 98, 255]
    assert run("UART_read", 1, 1, 0.05) == []
    run("UART_write", 2, b"\0\1")
    assert run("UART_read", 1, 2, PATIENCE_S) == [0, 1]
    for port in (1, 2):
        assert run("UART_reset", port) == run("UART_close", port) == 0


def test_eeproms_on_one_bus(lab, call):
    device = lab("CordlogF1D", attach=["i2c1=24c02:0x50", "i2c1=24c02:0x57", "i2c1=24c02:0x250"])
    run = partial(call, device)
    assert run("I2C_open", 1) == run("I2C_setClockRate", 1, 1) == 0
    content = random.Random(1).randbytes(24)

    def acknowledged(address, data=b""):
        try:
            return run("I2C_write", 1, address, data) == 0
        except pyqvx.FirmwareI2CError:
            return False

    def found(addresses):
        return [address for address in addresses if acknowledged(address)]

    for data in (*([page, *content[page : page + 8]] for page in (0, 8, 16)), [0]):
        assert eventually(lambda data=data: acknowledged(EEPROM, data))  # not while it is storing
    assert bytes(run("I2C_read", 1, EEPROM, 20) + run("I2C_read", 1, EEPROM, 4)) == content
    assert run("I2C_read", 1, 0x57, 4) == [255] * 4

    assert found(range(0x08, 0x78)) == [0x50, 0x57]
    assert run("I2C_setAddressSize", 1, 1) == 0
    assert found([0x50, 0x57, 0x24F, 0x250, 0x251, 0x3FF]) == [0x250]
    assert run("I2C_reset", 1) == 0 and found([0x50, 0x51]) == [0x50]
    run("I2C_setClockRate", 1, 3)  # too fast for them
    assert found([0x50]) == [] and run("I2C_close", 1) == 0
    with pytest.raises(pyqvx.FirmwareEnableError):
        run("I2C_read", 1, EEPROM, 1)


def test_a_shift_register_and_a_loopback(lab, call):
    device = lab("CordlogF1D", attach=["spi1=74hc595", "spi2=loopback"])
    run = partial(call, device)
    for port in (1, 2):
        assert run("SPI_open", port) == run("SPI_setPrescaler", port, 64) == run("SPI_setMode", port, 0) == 0
    assert run("SPI_readAndWrite", 1, [0xA5, 0x0D, 0x0A]) == [0, 0xA5, 0x0D]
    assert run("SPI_write", 1, bytes([0x3C])) == 0 and run("SPI_read", 1, 2) == [0x3C, 0]
    assert run("SPI_setFirstBit", 1, 1) == run("SPI_write", 1, [0b00001101]) == 0
    assert run("SPI_setFirstBit", 1, 0) == 0 and run("SPI_read", 1, 1) == [0b10110000]
    run("SPI_setMode", 1, 1)
    run("SPI_write", 1, [0xA5])
    run("SPI_setMode", 1, 3)
    assert run("SPI_read", 1, 1) == [0x52]  # each bit came one edge late
    data = random.Random(2).randbytes(256)
    assert bytes(run("SPI_readAndWrite", 2, data)) == data
    assert run("SPI_setDataSize", 2, 1) == 0 and run("SPI_readAndWrite", 2, [1, 2]) == [1, 2]
    with pytest.raises(pyqvx.FirmwareSPIError):
        run("SPI_read", 2, 3)
    assert run("SPI_read", 2, 0) == [] and run("SPI_reset", 2) == run("SPI_close", 2) == 0


def test_too_long_a_transfer_is_refused_whatever_its_length(lab, call):
    device = lab("CordlogF1D", attach=["spi1=loopback", "i2c1=24c02"])
    call(device, "SPI_open", 1)
    call(device, "I2C_open", 1)
    for bus, name, args, room in (
        ("SPI", "SPI_write", (1,), 65533),
        ("SPI", "SPI_readAndWrite", (1,), 65533),
        ("I2C", "I2C_write", (1, EEPROM), 65532),
    ):
        for size in (257, 5000, room):
            with pytest.raises(getattr(pyqvx, f"Firmware{bus}Error")):
                call(device, name, *args, bytes(size))
        for size in (room + 1, 70000):  # no packet has room for them
            with pytest.raises(pyqvx.InputDataNotInRangeError):
                call(device, name, *args, bytes(size))


def test_coroutines_of_two_buses_take_turns(lab):
    device = lab("CordlogF1D", attach=["i2c1=24c02", "spi2=loopback"], delay=5)

    async def read():
        for _ in range(10):
            assert await device.I2C_read_async(1, EEPROM, 8) == [255] * 8

    async def exchange():
        for n in range(10):
            assert await device.SPI_readAndWrite_async(2, [n, 255 - n]) == [n, 255 - n]

    async def main():
        await device.I2C_open_async(1)
        await device.SPI_open_async(2)
        await asyncio.gather(read(), exchange())

    asyncio.run(main())


def test_frames_of_every_kind_arrive_as_they_were_sent(lab, call):
    a, b, c = lab("CordlogF1CD", count=3)
    for device in (a, b, c):
        assert call(device, "CAN_open", 1) == call(device, "CAN_setSpeed", 1, 3) == 0
        assert call(device, "CAN_start", 1) == 0
    frames = [
        CANFrame(0, []),
        CANFrame(0x7FF, [1, 2, 3]),
        CANFrame(0x1FFFFFFF, [255] * 8, False, True),
        CANFrame(0x12345, [7], True, True),
        CANFrame(5, [9], remote=True),
    ]
    for frame in frames:
        call(a, "CAN_write", 1, frame.id, frame.data, frame.remote, frame.extended_id)
    assert call(c, "CAN_read", 1, 5, PATIENCE_S) == frames
    assert call(c, "CAN_setRXFilterOrMask", 1, 6, 0x700) == 0
    assert call(c, "CAN_setRXFilterOrMask", 1, 7, 0x7FF) == 0
    for index in range(6):
        assert call(c, "CAN_setRXFilterOrMask", 1, index, 0x300 if index < 2 else 0x123) == 0
    assert call(c, "CAN_setRXFilteringOn", 1, 1) == 0
    for id_ in (0x124, 0x3FF, 0x400, 0x123):
        call(b, "CAN_write", 1, id_=id_, data=[1])
    assert [frame.id for frame in call(c, "CAN_read", 1, 2, PATIENCE_S)] == [0x3FF, 0x123]
    assert call(b, "CAN_read", 1, 5, PATIENCE_S) == frames
    last = call(a, "CAN_read", 1, 4, PATIENCE_S)[-1]
    labelled = Labelled(1, [2])
    labelled.label = "brakes"
    short = CANFrame.fromU8List(bytes([0x24, 0x70, 0, 0, 3, 1, 2, 3, 0, 0, 0, 0, 0]))
    for frame in (*frames, last, short, labelled):
        pickles = [pickle.loads(pickle.dumps(frame, n)) for n in range(pickle.HIGHEST_PROTOCOL + 1)]
        for again in (copy.copy(frame), copy.deepcopy(frame), *pickles):
            assert again is not frame and type(again) is type(frame) and repr(again) == repr(frame)
            assert (again.length, again.timestamp) == (frame.length, frame.timestamp)
            assert getattr(again, "label", None) == getattr(frame, "label", None)
    assert last == CANFrame(0x123, [1]) and last.length == 8 and abs(last.timestamp - time.time()) < 60
    assert call(a, "CAN_read", 1, 1, 0.05) == []
    sent, received, _, written, errors, lost = call(a, "_CAN_getCounters", 1)
    assert (sent, received, written, errors, lost) == (5, 4, 5, 0, 0)
    for device in (a, b, c):
        assert call(device, "CAN_close", 1) == 0
        assert not device.can_open_flag and device.can_lock.locked()


def test_a_frame_that_nobody_acknowledges(lab, call):
    a, b, c = lab("CordlogF1CD", count=3, can_bus=["left", "right", "left"])
    for device in (a, b):  # which are on different buses
        assert call(device, "CAN_open", 1) == call(device, "CAN_start", 1) == 0
    assert call(a, "_CAN_setEnableInterrupt", 1, 0x1F) == call(a, "_CAN_setTXPriority", 1, 0, 3) == 0
    assert call(a, "_CAN_setRXRollover", 1, 1) == call(a, "CAN_write", 1, 1, []) == 0
    assert eventually(lambda: call(a, "_CAN_getErrors", 1) == [128, 0])
    enabled, state, error = call(a, "_CAN_getInterrupts", 1)
    assert enabled == 0x1F and state & 0xA0 == 0xA0 and error == 0x15
    c.CAN_open(1)
    c.CAN_start(1)
    assert call(c, "CAN_read", 1, 1, PATIENCE_S) == [CANFrame(1, [])]
    assert call(b, "CAN_read", 1, 1, 0) == []


def test_frames_are_values():
    frame = CANFrame(0x123, [1, 2, 3])
    assert (frame.id, frame.extended_id, frame.remote) == (0x123, False, False)
    assert frame.data == frame.regularizeData() == [1, 2, 3, 0, 0, 0, 0, 0]
    assert frame.id_in_list == frame.setID() == [0x24, 0x60, 0, 0]
    assert frame.frame_in_list == frame.id_in_list + frame.data
    same = CANFrame.fromU8List(frame.frame_in_list)
    assert same == frame and hash(same) == hash(frame) and {frame, same} == {frame}
    assert frame != CANFrame(0x123, [1, 2]) and frame != "frame"
    assert eval(repr(frame)) == frame and str(frame) == repr(frame)
    assert str(frame) == "CANFrame(id=291, extended_id=False, remote=False, data=[1, 2, 3, 0, 0, 0, 0, 0])"
    assert CANFrame.fromU8List(bytes([0x24, 0x60, 0, 0, 3, 1, 2, 3, 9, 9, 9, 9, 9])) == frame
    with pytest.raises(AttributeError):
        frame.id = 5
    for args in (("1", []), (1, ["a"]), (1, None), (1, [], None)):
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            CANFrame(*args)
    for wrong in ([1, 2, 3], [0] * 14, [256] * 12, None, "text"):
        with pytest.raises(pyqvx.Error):
            CANFrame.fromU8List(wrong)


# The queues, with blocks put into them from Python, and the threads behind them.


def test_bytes_and_frames_are_queued():
    device = connected(FakeTransport(default=b"\1\0"), pyqvx.CordlogF1CD)
    received, frames = device.uart_p1_signal_queue, device.can_frame_queue
    for queue, item in ((received, 7), (frames, CANFrame(1, [2]))):
        queue.put(item)
        assert queue.qsize() == 1 and queue.get() == item and queue.empty()
        assert queue.maxsize == pyqvx.QUEUE_SIZE_MAX and queue.dropped == 0
        for wrong in (256, "x", None):
            with pytest.raises(pyqvx.Error):
                queue.put(wrong)
    device.can_data_queue.put(bytes(13 * 3 + 5))
    device.can_lock.release()
    assert device.CAN_read(1, 3, PATIENCE_S) == [CANFrame.fromU8List(bytes(13))] * 3
    device.uart_p1_lock.release()
    stream = bytes(n % 251 for n in range(500))
    for at in range(0, len(stream), 37):
        device.uart_p1_data_queue.put(stream[at : at + 37])
    assert eventually(lambda: received.qsize() == len(stream))
    taken = [device.UART_read(1, number, 0) for number in (0, 1, 36, 123, -1)]
    assert [len(part) for part in taken] == [0, 1, 36, 123, 340] and bytes(sum(taken, [])) == stream
    threads = [device.uart_p1_stream_thread, device.uart_p2_stream_thread, device.can_stream_thread]
    assert all(thread.is_alive() for thread in threads) and device.uart_p2_lock.locked()
    for _ in range(2):
        device._UART_free()
    assert device.uart_killed and not threads[0].is_alive() and device.UART_read(1, 1, 600) == []
    device.client_cmd.pool = None
    device.close()
    assert device.can_killed and not any(thread.is_alive() for thread in threads)
