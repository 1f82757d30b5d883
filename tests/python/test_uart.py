"""Serial ports: both forms against virtual devices, and the queue of received bytes over a fake."""

import asyncio
import time

import pytest
from fakes import PATIENCE_S, FakeTransport, connected, eventually, fence

import pyqvx

MODELS = ["CordlogF1D", "CordlogF1AD", "CordlogF1TD", "CordlogF1CD", "CordlogF1RD", "CordlogF1AOD"]


@pytest.fixture(params=["blocking", "coroutine"])
def call(request):
    """call(device, "UART_open", 1) runs either form of an operation."""

    def blocking(device, name, *args):
        return getattr(device, name)(*args)

    def coroutine(device, name, *args):
        async def main():
            return await getattr(device, name + "_async")(*args)

        return asyncio.run(main())

    return blocking if request.param == "blocking" else coroutine


@pytest.fixture
def line(bench):
    """line("uart1=uart1", model="CordlogF1D"): a connected device with these wires."""
    made = []

    def make(*wires, model="CordlogF1D"):
        device = getattr(pyqvx, model)(verbose=False)
        made.append(device)
        device.connect(bench(model=model, wire=wires).url)
        device.resend = False  # bytes are to be sent once, however slow the machine
        return device

    yield make
    for device in made:
        device.close()


@pytest.fixture
def fake():
    device = connected(FakeTransport(default=b"\1\0"), pyqvx.CordlogF1D)
    yield device
    device.client_cmd.pool = None
    device.close()


@pytest.mark.parametrize("model", MODELS)
def test_every_model_talks_to_itself(line, call, model):
    device = line("uart2=uart2", model=model)
    assert isinstance(device, pyqvx.UARTModule) and isinstance(device, pyqvx.UARTModule_async)
    assert sorted(device.uart_dict) == [1, 2]
    assert call(device, "UART_open", 2) == 0
    assert call(device, "UART_write", 2, "hello, world\r\n") == 0
    assert bytes(call(device, "UART_read", 2, 14, PATIENCE_S)) == b"hello, world\r\n"
    assert call(device, "UART_read", 2, 1, 0.05) == []
    assert call(device, "UART_close", 2) == 0


def test_two_ports_crossed_with_every_setting(line, call):
    device = line("uart1=uart2", "uart2=uart1")
    for port in (1, 2):
        assert call(device, "UART_open", port) == 0
        assert call(device, "UART_setBaudRate", port, 400000) == 0
        assert call(device, "UART_setDataBit", port, 1) == 0
        assert call(device, "UART_setParity", port, 2) == 0
        assert call(device, "UART_setNumStopBit", port, 2) == 0
    every_byte = list(range(256))
    for first in range(0, 256, 50):
        call(device, "UART_write", 1, every_byte[first : first + 50])
    assert call(device, "UART_read", 2, 256, PATIENCE_S) == every_byte
    call(device, "UART_write", 2, ["a", "b", "\xff"])
    assert call(device, "UART_read", 1, 3, PATIENCE_S) == [97, 98, 255]
    call(device, "UART_write", 2, b"\0\1")
    assert call(device, "UART_read", 1, 2, PATIENCE_S) == [0, 1]
    assert call(device, "UART_reset", 1) == call(device, "UART_reset", 2) == 0
    for port in (1, 2):
        assert call(device, "UART_close", port) == 0


def test_unequal_baud_rates_garble(line):
    device = line("uart1=uart2")
    device.UART_open(1)
    device.UART_open(2)
    device.UART_setBaudRate(2, 57600)
    device.UART_write(1, "hello, world")
    received = device.UART_read(2, 3, PATIENCE_S)
    assert received and bytes(received) not in b"hello, world"
    fence(device)
    assert device.UART_reset(2) == 0
    device.UART_read(2, 100, 0.1)
    device.UART_write(1, "hello, world")
    assert bytes(device.UART_read(2, 12, PATIENCE_S)) == b"hello, world"


def test_pins_are_taken_and_given_back(line, call):
    device = line()
    assert call(device, "_checkUARTPinState", 1) is None
    call(device, "UART_open", 1)
    assert device.Sys_getPinModeInPort(2)[1][:4] == ["UART", "UART", "Idle", "Idle"]
    with pytest.raises(pyqvx.UARTPortNotAvaliableError):
        call(device, "UART_open", 1)
    with pytest.raises(pyqvx.DOPortNotAvaliableError):
        call(device, "DO_openPins", 2, [0])
    call(device, "UART_close", 1)
    assert device.Sys_getPinModeInPort(2)[1][:2] == ["Idle", "Idle"]
    call(device, "DO_openPins", 2, [0])
    call(device, "UART_open", 1)  # a digital line gives way
    assert device.Sys_getPinModeInPort(2)[1][:2] == ["UART", "UART"]


def test_the_device_refuses_what_is_not_open(line, call):
    device = line()
    with pytest.raises(pyqvx.FirmwareUARTError):
        call(device, "UART_write", 1, "x")
    with pytest.raises(pyqvx.FirmwareUARTError):
        call(device, "UART_setBaudRate", 1, 0)
    device._UART_startReading(1)  # refused, which is no received byte
    fence(device)
    device.uart_p1_lock.release()
    assert device.UART_read(1, 1, 0.05) == []


def test_a_line_that_takes_its_time(line):
    device = line("uart1=uart1")
    device.UART_open(1)
    device.UART_setBaudRate(1, 1000)
    begin = time.monotonic()
    device.UART_write(1, "x" * 20)
    assert len(device.UART_read(1, 20, PATIENCE_S)) == 20
    assert time.monotonic() - begin > 0.19  # 200 bits


# The queues, with blocks put into them from Python.


def test_reads_count_bytes_over_blocks(fake, call):
    fake.uart_p1_lock.release()
    stream = bytes(n % 251 for n in range(5000))
    for at in range(0, len(stream), 37):
        fake.uart_p1_data_queue.put(stream[at : at + 37])
    assert eventually(lambda: fake.uart_p1_signal_queue.qsize() == len(stream))
    taken = []
    for number in (0, 1, 36, 1023, 1025, -1):
        part = call(fake, "UART_read", 1, number, 0)
        assert number == -1 or len(part) == number
        taken += part
    assert bytes(taken) == stream
    assert call(fake, "UART_read", 2, 1, 0) == []


def test_the_queue_of_bytes_is_a_queue(fake):
    received = fake.uart_p2_signal_queue
    received.put(7)
    assert received.qsize() == 1 and received.get() == 7 and received.empty()
    assert received.maxsize == pyqvx.QUEUE_SIZE_MAX and received.dropped == 0
    for wrong in (256, "x", None):
        with pytest.raises(pyqvx.Error):
            received.put(wrong)


def test_threads_live_until_the_device_is_closed(fake):
    threads = [fake.uart_p1_stream_thread, fake.uart_p2_stream_thread]
    assert all(thread.is_alive() for thread in threads) and fake.uart_p1_lock.locked()
    fake._UART_free()
    fake._UART_free()
    assert fake.uart_killed and not any(thread.is_alive() for thread in threads)
    assert fake.UART_read(1, 1, 600) == []


def test_operations_of_models_without_serial_ports():
    for model in (pyqvx.CordlogF1DSNK, pyqvx.FeroxA):
        assert not hasattr(model, "UART_open") and not issubclass(model, pyqvx.UARTBased)
