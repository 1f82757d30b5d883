"""The CAN bus: both forms against virtual devices that share one, and frames as Python sees them."""

import asyncio
import time

import pytest
from fakes import PATIENCE_S, FakeTransport, connected, fence

import pyqvx
from pyqvx import CANFrame


def blocking(device, name, *args, **options):
    return getattr(device, name)(*args, **options)


@pytest.fixture(params=["blocking", "coroutine"])
def call(request):
    """call(device, "CAN_open", 1) runs either form of an operation."""

    def coroutine(device, name, *args, **options):
        async def main():
            return await getattr(device, name + "_async")(*args, **options)

        return asyncio.run(main())

    return blocking if request.param == "blocking" else coroutine


@pytest.fixture
def stations(bench):
    """stations(2): connected devices on one bus."""
    made = []

    def make(count, **options):
        place = bench(model="CordlogF1CD", count=count, **options)
        for ip, port in place.addresses:
            device = pyqvx.CordlogF1CD(verbose=False)
            made.append(device)
            device.connect(f"tcp://{ip}:{port}")
            device.resend = False  # a frame is to be on the bus once, however slow the machine
        return made

    yield make
    for device in made:
        device.close()


def join(call, *devices, speed=2):
    for device in devices:
        assert call(device, "CAN_open", 1) == 0
        assert call(device, "CAN_setSpeed", 1, speed) == 0
        assert call(device, "CAN_start", 1) == 0


def test_frames_of_every_kind_arrive_as_they_were_sent(stations, call):
    a, b, c = stations(3)
    assert call(a, "CAN_getPort") == a.can_dict and sorted(a.can_dict) == [1]
    join(call, a, b, c)
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
    call(b, "CAN_write", 1, id_=6, data=[1], extended_id=True)
    begin = time.time()
    assert call(c, "CAN_read", 1, 1, PATIENCE_S) == [CANFrame(6, [1], False, True)]
    assert call(b, "CAN_read", 1, 5, PATIENCE_S) == frames
    (last,) = call(a, "CAN_read", 1, 1, PATIENCE_S)
    assert last.length == 8 and abs(last.timestamp - begin) < 60
    assert call(a, "CAN_read", 1, 1, 0.05) == []
    for device in (a, b, c):
        assert call(device, "CAN_close", 1) == 0
        assert not device.can_open_flag and device.can_lock.locked()


def test_a_filter_keeps_out_what_nobody_wants(stations, call):
    a, b = stations(2)
    join(call, a, b)
    assert call(b, "CAN_setRXFilterOrMask", 1, 6, 0x700) == 0
    assert call(b, "CAN_setRXFilterOrMask", 1, 7, 0x7FF) == 0
    for index in range(6):
        assert call(b, "CAN_setRXFilterOrMask", 1, index, 0x300 if index < 2 else 0x123) == 0
    assert call(b, "CAN_setRXFilteringOn", 1, 1) == 0
    for id_ in (0x123, 0x124, 0x2FF, 0x300, 0x3FF, 0x400):
        call(a, "CAN_write", 1, id_, [])
    a.CAN_write(1, 0x123, [], extended_id=True)
    a.CAN_write(1, 0x123, [1])
    assert [frame.id for frame in call(b, "CAN_read", 1, 4, PATIENCE_S)] == [0x123, 0x300, 0x3FF, 0x123]


def test_counters_errors_and_interrupts(stations, call):
    a, b = stations(2)
    join(call, a)
    call(a, "CAN_write", 1, 1, [])  # nobody acknowledges it
    assert call(a, "_CAN_setEnableInterrupt", 1, 0x1F) == 0
    assert call(a, "_CAN_setTXPriority", 1, 0, 3) == 0
    assert call(a, "_CAN_setRXRollover", 1, 1) == 0
    deadline = time.monotonic() + PATIENCE_S
    while call(a, "_CAN_getErrors", 1)[0] < 128 and time.monotonic() < deadline:
        time.sleep(0.01)
    enabled, state, error = call(a, "_CAN_getInterrupts", 1)
    assert enabled == 0x1F and state & 0xA0 == 0xA0 and error == 0x15
    join(call, b)
    assert call(b, "CAN_read", 1, 1, PATIENCE_S) == [CANFrame(1, [])]
    sent, received, _, written, errors, lost = call(a, "_CAN_getCounters", 1)
    assert (sent, received, written, lost) == (1, 0, 1, 0) and errors >= 16


def test_unequal_bit_rates_drive_the_sender_off_the_bus(stations, call):
    a, b = stations(2)
    join(call, a, speed=0)
    join(call, b, speed=3)
    call(a, "CAN_write", 1, 1, [])
    deadline = time.monotonic() + PATIENCE_S
    while call(a, "_CAN_getErrors", 1)[0] < 255 and time.monotonic() < deadline:
        time.sleep(0.01)
    fence(a)
    with pytest.raises(pyqvx.FirmwareCANError):
        call(a, "CAN_write", 1, 1, [])
    assert call(b, "CAN_read", 1, 1, 0.05) == []


def test_buses_of_different_names_are_apart(stations):
    a, b, c = stations(3, can_bus=["left", "right", "left"])
    join(blocking, a, b, c)
    a.CAN_write(1, 1, [])
    assert len(c.CAN_read(1, 1, PATIENCE_S)) == 1
    assert b.CAN_read(1, 1, 0.05) == []


def test_the_pins_of_the_bus(stations, call):
    (device,) = stations(1)
    assert call(device, "_checkCANPinState_", 1) is None
    call(device, "CAN_open", 1)
    with pytest.raises(pyqvx.CANPortNotAvaliableError):
        call(device, "CAN_open", 1)
    call(device, "CAN_close", 1)
    call(device, "CAN_open", 1)


def test_many_frames_none_lost(stations):
    a, b = stations(2, stream_as_fast_as_possible=True)
    join(blocking, a, b)
    count = 3000
    for n in range(count):
        a.CAN_write(1, n % 0x800, [n >> 8, n & 255])
    received = b.CAN_read(1, count, PATIENCE_S)
    assert [frame.data[0] << 8 | frame.data[1] for frame in received] == list(range(count))


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
    for args in (
        *((0x800, []), (-1, []), ("1", [])),
        *((1, [0] * 9), (1, [256]), (1, ["a"]), (1, None), (1, [], 5)),
    ):
        with pytest.raises(pyqvx.Error):
            CANFrame(*args)
    for wrong in ([1, 2, 3], [0] * 14, [256] * 12, None, "text"):
        with pytest.raises(pyqvx.Error):
            CANFrame.fromU8List(wrong)


def test_the_queue_of_frames_is_a_queue():
    device = connected(FakeTransport(default=b"\1\0"), pyqvx.CordlogF1CD)
    frames = device.can_frame_queue
    frames.put(CANFrame(1, [2]))
    assert frames.qsize() == 1 and frames.get() == CANFrame(1, [2]) and frames.empty()
    device.can_data_queue.put(bytes(13 * 3 + 5))
    device.can_lock.release()
    assert device.CAN_read(1, 3, PATIENCE_S) == [CANFrame.fromU8List(bytes(13))] * 3
    device.client_cmd.pool = None
    device.close()
    assert not device.can_stream_thread.is_alive() and device.can_killed
