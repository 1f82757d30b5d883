"""Digital lines. `inputs` and `outputs` are ports of eight pins."""

from golden.row import CORDLOG, Row, names, op

import pyqvx

FIXED = {"FeroxD", "FeroxL", "CordlogF1DSNK", "LUMA", "SkylogE3AOD"}


def bits(word: int) -> list[int]:
    return [word >> pin & 1 for pin in range(8)]


def opening(direction: str, port: str, pins: object, mask: str, on: set[str]) -> list[Row]:
    name, args = (f"{direction}_openPort", ()) if pins is None else (f"{direction}_openPins", (pins,))
    args = (int(port, 16), *args)
    output = mask if direction == "DO" else "0000"
    current = (227, f"{port} {mask} {mask} {output} 0000", f"{port} 00")
    own, other = ("33", "22") if direction == "DO" else ("22", "33")
    taken = pyqvx.DOPortNotAvaliableError if direction == "DO" else pyqvx.DIPortNotAvaliableError
    rows = [
        op(name, args, on=on & FIXED),
        op(name, args, (127, port, "00 08 11 11 11 11"), current, on=on - FIXED),
        op(name, args, (127, port, f"00 08 {own} {own} {own} {own}"), current, on=on - FIXED),
        op(name, args, (127, port, f"00 08 {other} {other} {other} {other}"), result=taken, on=on - FIXED),
        op(name, args, (127, port, "00 08 44 44 44 44"), result=taken, on=on - FIXED),
    ]
    return [row for row in rows if row.models]


def rows(inputs: int, outputs: int, on: set[str]) -> list[Row]:
    i, o = f"{inputs:02X}", f"{outputs:02X}"
    closed = "0000 0000 0000"
    table = [
        op("DI_closePins", (inputs, [1, 7]), (227, f"{i} 0082 {closed}", f"{i} 00")),
        op("DI_closePort", (inputs,), (227, f"{i} 00FF {closed}", f"{i} 00")),
        op("DO_closePins", (outputs, 5), (227, f"{o} 0020 {closed}", f"{o} 00")),
        op("DO_closePort", (outputs,), (227, f"{o} 00FF {closed}", f"{o} 00")),
        op("_closeDIOInPins", (inputs, [0]), (227, f"{i} 0001 {closed}", f"{i} 00")),
        op("_closeDIOInPort", (outputs,), (227, f"{o} 00FF {closed}", f"{o} 00")),
        op("DI_readPins", (inputs, [7, 0, 1]), (233, f"{i} 0083", f"{i} 00 0081"), result=[1, 1, 0]),
        op("DI_readPins", (inputs, [7, 0, 7, 1]), (233, f"{i} 0083", f"{i} 00 FF81"), result=[1, 1, 1, 0]),
        op("DI_readPort", (inputs,), (233, f"{i} 00FF", f"{i} 00 0041"), result=bits(0x41)),
        op(
            "DO_writePins",
            (outputs, [0, 1, 5], [1, 0, 1]),
            (234, f"{o} 0023 0021", f"{o} 00 0021"),
            result=bits(0x21),
        ),
        op(
            "DO_writePins",
            (outputs, [5, 0], [1, 0]),
            (234, f"{o} 0021 0020", f"{o} 00 0020"),
            result=bits(32),
        ),
        op(
            "DO_writePins",
            (outputs, [0, 1], [5, -5]),
            (234, f"{o} 0003 0001", f"{o} 00 0001"),
            result=bits(1),
        ),
        op("DO_writePins", (outputs, 3, [1]), (234, f"{o} 0008 0008", f"{o} 00 0008"), result=bits(8)),
        op("DO_writePort", (outputs, 0x89), (234, f"{o} 00FF 0089", f"{o} 00 0089"), result=bits(0x89)),
        op(
            "DO_writePort",
            (outputs, bits(0x89)),
            (234, f"{o} 00FF 0089", f"{o} 00 0089"),
            result=bits(0x89),
        ),
        op("DO_togglePins", (outputs, [6, 7]), (238, f"{o} 00C0", f"{o} 00 0080"), result=bits(0x80)),
        op("DO_togglePort", (outputs,), (238, f"{o} 00FF", f"{o} 00 0003"), result=bits(3)),
        op(
            "DIO_loadStartup",
            (outputs,),
            (224, o, f"{o} 00 0003 0001 0080"),
            result=[bits(3), bits(1), bits(0x80)],
        ),
        op("_DIO_saveStartup", (outputs, 3, 1, 0x80), (225, f"{o} 0003 0001 0080", f"{o} 00")),
        op(
            "_DIO_saveStartup",
            (outputs, 0x0103, bits(0x81), 0),
            (225, f"{o} 0103 0081 0000", f"{o} 00"),
        ),
        op("_DIO_setPortIdle", (outputs,), (237, o, f"{o} 00")),
        op("_DIO_setPortDI", (inputs,), (235, i, f"{i} 00")),
        op("_DIO_setPortDO", (outputs,), (236, o, f"{o} 00")),
        op("_setDIOCurrent", (outputs, 15, 7, 3, 1), (227, f"{o} 000F 0007 0003 0001", f"{o} 00")),
        op(
            "_setDIOCurrent",
            (outputs, 0x0102, 0x0304, 0x0506, 0x0708),
            (227, f"{o} 0102 0304 0506 0708", f"{o} 00"),
        ),
        op(
            "_getDIOCurrent",
            (outputs, 0x83),
            (226, f"{o} 0083", f"{o} 00 0003 0001 0080"),
            result=[bits(3), bits(1), bits(0x80)],
        ),
        op("_setDIOState", (outputs, 15, 5), (230, f"{o} 000F 0005", f"{o} 00")),
        op("_getDIOState", (outputs, 15), (229, f"{o} 000F", f"{o} 00 0005"), result=bits(5)),
        op("_toggleDIODirection", (outputs, 3, 1), (228, f"{o} 0003 0001", f"{o} 00")),
        op("_readAndGetDI", (inputs, 255), (233, f"{i} 00FF", f"{i} 00 0005"), result=bits(5)),
        op("_setAndWriteDO", (outputs, 7, 3), (234, f"{o} 0007 0003", f"{o} 00 0003"), result=bits(3)),
        op("_toggleAndWriteDO", (outputs, 1), (238, f"{o} 0001", f"{o} 00 0001"), result=bits(1)),
        op("_readDI", (inputs,), (231, i, f"{i} 00")),
        op("_writeDO", (outputs,), (232, o, f"{o} 00")),
    ]
    return [
        *[op(row.name, row.args, *row.exchanges, result=row.result, on=on) for row in table],
        *opening("DI", i, None, "00FF", on),
        *opening("DI", i, [0, 1], "0003", on),
        *opening("DO", o, None, "00FF", on),
        *opening("DO", o, 7, "0080", on),
    ]


PINS = list(range(8))
CORDLOG_PINS = {0: PINS, 1: PINS[:6], 2: [0, 1, 2, 3, 6, 7], 3: PINS[:6]}


def pin_maps(inputs: dict[int, list[int]], outputs: dict[int, list[int]], on: set[str]) -> list[Row]:
    return [op("DI_getPinMap", (), result=inputs, on=on), op("DO_getPinMap", (), result=outputs, on=on)]


ROWS = [
    *pin_maps(CORDLOG_PINS, CORDLOG_PINS, CORDLOG & names(pyqvx.DIOModule)),
    *pin_maps(dict.fromkeys(range(4), PINS), dict.fromkeys(range(4), PINS), {"FeroxEXD"}),
    *pin_maps({1: PINS}, {0: PINS}, {"FeroxD"}),
    *pin_maps({2: PINS}, {1: PINS}, {"SkylogE3AOD"}),
    *rows(0, 0, (CORDLOG | {"FeroxEXD"}) & names(pyqvx.DIOModule)),
    *rows(1, 0, {"FeroxD"}),
    *rows(2, 1, {"SkylogE3AOD"}),
]
