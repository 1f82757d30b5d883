"""Serial ports and the CAN bus. Serial port 1 has pins 0 and 1 of port 2, the bus pins 4 and 5 of port 1."""

from golden.row import op

import pyqvx

RECEIVED = "01 00 00000000 00000001 00000002 00000003 00000004 FFFFFFFF"

ROWS = [
    op("UART_open", (1,), (127, "02", "00 06 44 00 44 23"), (128, "01", "01 00"), (129, "01", None)),
    op("UART_open", (1,), (127, "02", "00 06 11 00 11 14"), result=pyqvx.UARTPortNotAvaliableError),
    op("UART_open", (2,), (127, "02", "00 06 44 00 23 44"), (128, "02", "02 00"), (129, "02", None)),
    op("UART_close", (2,), (131, "02", "02 00"), (132, "02", "02 00")),
    op("UART_close", (1,), (131, "01", "01 00"), (132, "01", "01 00")),
    op("UART_setBaudRate", (2, 9600), (134, "02 00002580", "02 00")),
    op("UART_setDataBit", (1, 1), (135, "01 01", "01 00")),
    op("UART_setParity", (1, 1), (136, "01 01", "01 00")),
    op("UART_setParity", (1, 3), (136, "01 03", "01 00")),
    op("UART_setNumStopBit", (2, 3), (139, "02 03", "02 00")),
    op("UART_write", (1, "Hi\r\n"), (130, "01 48690D0A", "01 00")),
    op("UART_write", (1, "\xff" * 50), (130, "01" + "FF" * 50, "01 00")),
    op("UART_write", (1, ""), (130, "01", "01 00")),
    op("UART_write", (2, ["a", 0, 255, "\x80"]), (130, "02 6100FF80", "02 00")),
    op("UART_write", (2, b"\1\2"), (130, "02 0102", "02 17"), result=pyqvx.FirmwareUARTError),
    op("UART_read", (1, -1, 0), result=[]),
    op("UART_reset", (2,), (133, "02", "02 00")),
    op("_UART_startReading", (2,), (129, "02", None)),
    op("UART_stopReading", (1,), (131, "01", "01 00")),
    op("_UART_stopReading", (1,), (131, "01", "01 00")),
    op("_checkUARTPinState", (1,), (127, "02", "00 06 44 00 44 11"), result=None),
    op("CAN_getPort", (), result={1: [(1, 4), (1, 5)]}),
    op("CAN_open", (1,), (127, "01", "00 06 00 11 44 44"), (48, "01", "01 00")),
    op("CAN_open", (1,), (127, "01", "00 06 00 71 11 11"), result=pyqvx.CANPortNotAvaliableError),
    op("CAN_setSpeed", (1, 3), (53, "01 03", "01 00")),
    op("CAN_start", (1,), (49, "01", "01 00")),
    op("CAN_write", (1, 0x123, [1, 2, 3]), (50, "01 24600000 0102030000000000", "01 00")),
    op(
        "CAN_write",
        (1, 0x1FFFFFFF, [255] * 8, True, True),
        (50, "01 FFFBFFFF FFFFFFFFFFFFFFFF", "01 39"),
        result=pyqvx.FirmwareCANError,
    ),
    op("CAN_read", (1, -1, 0), result=[]),
    op("CAN_setRXFilteringOn", (1, 1), (57, "01 01", "01 00")),
    op("CAN_setRXFilterOrMask", (1, 7, 0x7FF), (58, "01 07 FFE00000", "01 00")),
    op("CAN_setRXFilterOrMask", (1, 0, 0x3FFFF, True, True), (58, "01 00 001BFFFF", "01 00")),
    op("_CAN_setTXPriority", (1, 2, 3), (55, "01 02 03", "01 00")),
    op("_CAN_setRXRollover", (1, 1), (56, "01 01", "01 00")),
    op("_CAN_setEnableInterrupt", (1, 255), (54, "01 FF", "01 00")),
    op("_CAN_getInterrupts", (1,), (59, "01", "01 00 01 02 03"), result=[1, 2, 3]),
    op("_CAN_getErrors", (1,), (60, "01", "01 00 60 FF"), result=[96, 255]),
    op("_CAN_getCounters", (1,), (61, "01", RECEIVED), result=[0, 1, 2, 3, 4, 0xFFFFFFFF]),
    op("CAN_stop", (1,), (51, "01", "01 00")),
    op("CAN_close", (1,), (51, "01", "01 00"), (52, "01", "01 00")),
    op("_checkCANPinState_", (1,), (127, "01", "00 06 00 23 44 44"), result=None),
]
