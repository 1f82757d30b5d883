"""I2C and SPI against a virtual device with slaves on its buses: operations in both forms."""

import asyncio
import random
import time

import pytest
from fakes import PATIENCE_S, connect_to, models

import pyqvx

I2C_MODELS = {"CordlogF1D", "CordlogF1AD", "CordlogF1TD", "CordlogF1CD", "CordlogF1RD", "CordlogF1AOD"}
EEPROM = 0x50


@pytest.fixture(params=["blocking", "coroutine"])
def form(request):
    """form(device)("I2C_open", 1) runs an operation in either form."""

    def bound(device):
        def call(name, *args):
            if request.param == "blocking":
                return getattr(device, name)(*args)

            async def main():
                return await getattr(device, name + "_async")(*args)

            return asyncio.run(main())

        return call

    return bound


@pytest.fixture
def buses(bench):
    """buses("i2c1=24c02"): a connected CordlogF1D that sends each command once, with slaves on its buses."""
    made = []

    def start(*parts, model="CordlogF1D", **options):
        device = getattr(pyqvx, model)(verbose=False)
        made.append(device)
        device.resend = False
        connect_to(device, bench(model=model, attach=parts, **options))
        return device

    yield start
    for device in made:
        device.close()


def write_when_ready(call, address, data):
    """A slave that is storing does not acknowledge."""
    deadline = time.monotonic() + PATIENCE_S
    while True:
        try:
            return call("I2C_write", 1, address, data)
        except pyqvx.FirmwareI2CError:
            assert time.monotonic() < deadline


def test_an_eeprom_keeps_what_is_written_page_by_page(buses, form):
    call = form(buses("i2c1=24c02", "i2c1=24c02:0x57"))
    assert call("I2C_open", 1) == call("I2C_setClockRate", 1, 1) == 0
    content = random.Random(1).randbytes(256)
    for page in range(0, 256, 8):
        assert write_when_ready(call, EEPROM, [page, *content[page : page + 8]]) == 0
    assert write_when_ready(call, EEPROM, [0]) == 0
    assert bytes(call("I2C_read", 1, EEPROM, 200) + call("I2C_read", 1, EEPROM, 56)) == content
    assert call("I2C_read", 1, 0x57, 4) == [255] * 4
    assert call("I2C_reset", 1) == call("I2C_close", 1) == 0
    with pytest.raises(pyqvx.FirmwareEnableError):
        call("I2C_read", 1, EEPROM, 1)


def test_the_slaves_of_a_bus_are_those_that_acknowledge(buses, form):
    call = form(buses("i2c1=24c02:0x50", "i2c1=24c02:0x57", "i2c1=24c02:0x250"))
    call("I2C_open", 1)

    def found(addresses):
        there = []
        for address in addresses:
            try:
                call("I2C_write", 1, address, b"")
                there.append(address)
            except pyqvx.FirmwareI2CError:
                pass
        return there

    assert found(range(0x08, 0x78)) == [0x50, 0x57]
    assert call("I2C_setAddressSize", 1, 1) == 0
    assert found([0x50, 0x57, 0x24F, 0x250, 0x251, 0x3FF]) == [0x250]
    assert call("I2C_read", 1, 0x250, 2) == [255, 255]
    assert call("I2C_setAddressSize", 1, 0) == 0
    assert found([0x50, 0x51]) == [0x50]
    call("I2C_setClockRate", 1, 3)  # too fast for them
    assert found([0x50]) == []


def test_what_goes_into_a_shift_register_comes_out(buses, form):
    call = form(buses("spi1=74hc595"))
    assert call("SPI_open", 1) == call("SPI_setPrescaler", 1, 256) == call("SPI_setMode", 1, 0) == 0
    assert call("SPI_readAndWrite", 1, [0xA5, 0x0D, 0x0A]) == [0, 0xA5, 0x0D]
    assert call("SPI_write", 1, bytes([0x3C])) == 0
    assert call("SPI_read", 1, 2) == [0x3C, 0]
    assert call("SPI_setFirstBit", 1, 1) == call("SPI_write", 1, [0b00001101]) == 0
    assert call("SPI_setFirstBit", 1, 0) == 0 and call("SPI_read", 1, 1) == [0b10110000]
    call("SPI_setMode", 1, 1)
    call("SPI_write", 1, [0xA5])
    call("SPI_setMode", 1, 3)
    assert call("SPI_read", 1, 1) == [0x52]  # each bit came one edge late
    assert call("SPI_reset", 1) == call("SPI_close", 1) == 0


def test_a_loopback_returns_everything(buses, form):
    call = form(buses("spi2=loopback"))
    call("SPI_open", 2)
    data = random.Random(2).randbytes(256)
    for mode in range(4):
        assert call("SPI_setMode", 2, mode) == 0
        assert bytes(call("SPI_readAndWrite", 2, data)) == data
    with pytest.raises(pyqvx.FirmwareSPIError):
        call("SPI_write", 2, bytes(257))
    assert call("SPI_setDataSize", 2, 1) == 0 and call("SPI_readAndWrite", 2, [1, 2]) == [1, 2]
    with pytest.raises(pyqvx.FirmwareSPIError):
        call("SPI_read", 2, 3)
    assert call("SPI_read", 2, 0) == []
    call("SPI_open", 1)
    assert call("SPI_read", 1, 3) == [255] * 3  # nothing is there


def test_functions_keep_their_pins_until_they_are_closed(buses, form):
    device = buses()
    call = form(device)
    assert call("DO_openPins", 3, [0, 5]) == call("DI_openPins", 3, [1]) == 0
    assert call("I2C_open", 2) == call("SPI_open", 2) == 0  # from digital lines
    assert device.Sys_getPinModeInPort(3)[1][:6] == ["I2C"] * 2 + ["SPI"] * 4
    for name in ("I2C_open", "SPI_open"):
        with pytest.raises((pyqvx.I2CPortNotAvaliableError, pyqvx.SPIPortNotAvaliableError)):
            call(name, 2)
    with pytest.raises(pyqvx.DOPortNotAvaliableError):
        call("DO_openPins", 3, [0])
    assert (
        call("_checkSPIPinState", 2, ["SPI"]) is None and call("_checkI2CPinState", 2, ["I2C", "DI"]) is None
    )
    with pytest.raises(pyqvx.I2CPortNotAvaliableError):
        call("_checkI2CPinState", 2, ["Idle", "DI", "DO"])
    assert call("I2C_close", 2) == call("DO_openPins", 3, [0]) == call("SPI_close", 2) == 0
    assert device.Sys_getPinModeInPort(3)[1][:6] == ["DO"] + ["Idle"] * 5


def test_which_models_have_the_buses():
    for cls in models():
        with cls(verbose=False) as device:
            spi = cls.__name__ in I2C_MODELS - {"CordlogF1AOD"}
            assert (
                hasattr(device, "I2C_open")
                == hasattr(device, "I2C_open_async")
                == (cls.__name__ in I2C_MODELS)
            )
            assert hasattr(device, "SPI_open") == hasattr(device, "SPI_open_async") == spi
            if cls.__name__ in I2C_MODELS:
                assert device.I2C_getPinMap() == device.I2C_dict == {1: [(2, 6), (2, 7)], 2: [(3, 0), (3, 1)]}
            if spi:
                pins = {port: set(pins) for port, pins in device.SPI_getPinMap().items()}
                assert pins == {1: {(1, n) for n in range(4)}, 2: {(3, n) for n in range(2, 6)}}


def test_coroutines_of_two_buses_take_turns(buses):
    device = buses("i2c1=24c02", "spi2=loopback", delay=5)

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
