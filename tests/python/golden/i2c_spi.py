"""I2C and SPI masters. Pins: I2C 2 has pins 0 and 1 of port 3, SPI 2 pins 2 to 5."""

from golden.row import op

import pyqvx

IDLE = "00 06 00 11 11 11"

ROWS = [
    op("I2C_getPinMap", (), result={1: [(2, 6), (2, 7)], 2: [(3, 0), (3, 1)]}),
    op(
        "SPI_getPinMap",
        (),
        result={1: [(1, 0), (1, 1), (1, 2), (1, 3)], 2: [(3, 2), (3, 3), (3, 4), (3, 5)]},
    ),
    op("I2C_open", (2,), (127, "03", IDLE), (144, "02", "02 00")),
    op("I2C_open", (2,), (127, "03", "00 06 00 44 44 23"), (144, "02", "02 00")),
    op("I2C_open", (2,), (127, "03", "00 06 00 11 11 15"), result=pyqvx.I2CPortNotAvaliableError),
    op("I2C_open", (2,), (127, "03", "0B"), result=pyqvx.FirmwarePinIndexError),
    op("I2C_close", (1,), (148, "01", "01 00")),
    op("I2C_setClockRate", (1, 0), (150, "01 00 01 86 A0", "01 00")),
    op("I2C_setClockRate", (1, 1), (150, "01 00 06 1A 80", "01 00")),
    op("I2C_setClockRate", (1, 2), (150, "01 00 0F 42 40", "01 00")),
    op("I2C_setClockRate", (2, 3), (150, "02 00 33 E1 40", "02 00")),
    op("I2C_write", (1, 0x50, [0, 13, 10, 255]), (146, "01 50 00 0D 0A FF", "01 00")),
    op("I2C_write", (1, 0x50, b"\1\2"), (146, "01 50 01 02", "01 00")),
    op("I2C_read", (1, 0, 255), (145, "01 00 FF", "01 00"), result=[]),
    op("I2C_read", (1, 0x50, 3), (145, "01 50 03", "01 00 07 08 FF"), result=[7, 8, 255]),
    op("I2C_read", (1, 0x51, 1), (145, "01 51 01", "01 15"), result=pyqvx.FirmwareI2CError),
    op("I2C_setAddressSize", (1, 1), (151, "01 01", "01 15"), result=pyqvx.FirmwareI2CError),
    op("I2C_write", (1, 0x7F, []), (146, "01 7F", "01 00")),
    op("I2C_setAddressSize", (1, 1), (151, "01 01", "01 00")),
    op("I2C_reset", (1,), (149, "01", "01 15"), result=pyqvx.FirmwareI2CError),
    op("I2C_write", (1, 0x250, [5]), (146, "01 02 50 05", "01 00")),
    op("I2C_read", (1, 0x50, 2), (145, "01 00 50 02", "01 00 07 08"), result=[7, 8]),
    op("I2C_write", (2, 0x50, []), (146, "02 50", "02 00")),
    op("I2C_reset", (1,), (149, "01", "01 00")),
    op("I2C_write", (1, 0x50, []), (146, "01 50", "01 00")),
    op("_checkI2CPinState", (1, ["I2C"]), (127, "02", "00 06 55 00 11 11"), result=None),
    op("_checkI2CPinState", (1, []), (127, "02", IDLE), result=pyqvx.I2CPortNotAvaliableError),
    op("SPI_open", (2,), (127, "03", IDLE), (160, "02", "02 00")),
    op("SPI_open", (2,), (127, "03", "00 06 00 12 34 11"), result=pyqvx.SPIPortNotAvaliableError),
    op("SPI_open", (2,), (127, "03", "00 06 00 11 10 11"), result=pyqvx.SPIPortNotAvaliableError),
    op("SPI_close", (1,), (164, "01", "01 00")),
    op("SPI_setDataSize", (1, 1), (166, "01 01", "01 00")),
    op("SPI_setFirstBit", (2, 1), (167, "02 01", "02 00")),
    op("SPI_setPrescaler", (1, 2), (168, "01 00 02", "01 00")),
    op("SPI_setPrescaler", (1, 256), (168, "01 01 00", "01 00")),
    op("SPI_setMode", (1, 0), (169, "01 00", "01 00"), (170, "01 00", "01 00")),
    op("SPI_setMode", (1, 1), (169, "01 00", "01 00"), (170, "01 01", "01 00")),
    op("SPI_setMode", (1, 2), (169, "01 01", "01 00"), (170, "01 00", "01 00")),
    op(
        "SPI_setMode", (1, 3), (169, "01 01", "01 00"), (170, "01 01", "01 16"), result=pyqvx.FirmwareSPIError
    ),
    op("SPI_setMode", (1, 3), (169, "01 01", "01 0A"), result=pyqvx.FirmwareEnableError),
    op("_SPI_setCPOL", (1, 1), (169, "01 01", "01 00")),
    op("_SPI_setCPHA", (2, 0), (170, "02 00", "02 00")),
    op("SPI_write", (1, [0, 13, 10, 255]), (162, "01 00 0D 0A FF", "01 00")),
    op("SPI_write", (1, [1] * 3), (162, "01 01 01 01", "01 16"), result=pyqvx.FirmwareSPIError),
    op("SPI_read", (1, 3), (161, "01 03", "01 00 07 08 FF"), result=[7, 8, 255]),
    op("SPI_readAndWrite", (2, [1, 2]), (163, "02 01 02", "02 00 FE FD"), result=[254, 253]),
    op("SPI_reset", (2,), (165, "02", "02 00")),
    op("_checkSPIPinState", (1, ["SPI", "DI"]), (127, "01", "00 06 00 11 66 26"), result=None),
]
