"""Identity, clock and alarm, slots and pins, restart."""

from golden.row import WIRED, WIRELESS, op

import pyqvx


def text(characters: str) -> str:
    return characters.encode().hex()


MODES = ["Idle", "DI", "DO", "DIO", "Motion", "AIO", "Switch"]
SLOT_PORTS = {1: "00", 2: "01", 4: "03"}

ROWS = [
    op("Sys_getDriverInfo", (), (240, "00", text("Name_Mode_1.2\0")), result=["Name", "Mode", "1.2"]),
    op("_getDriverInfo_dev", (3,), (240, "03", text("x_y")), result="x_y"),
    op("Sys_getPythonVersion", (), result=pyqvx.__version__),
    op("Sys_getDeviceAlias", (), (2056, "00", text("my dev\r\n")), result="my dev"),
    op("Sys_getDeviceAlias", (), (2056, "00", text("a\rb\r\nrest")), result="a\rb"),
    op("Sys_setDeviceAlias", ("Bench 1",), (2057, text("Bench 1"), "00")),
    op("Sys_setDeviceAlias", ("",), (2057, "", "00")),
    op("Sys_getSerialNumber", (), (122, "", text("ABCD1234")), result="ABCD1234"),
    op("_setSerialNumber", ("ABCD1234",), (123, text("ABCD1234"), "00")),
    op(
        "Sys_getPinModeInPort",
        (2,),
        (127, "02", "00 05 76 54 32 98"),
        result=(5, ["PWM", "ADC", "DI", "DO", "UART", "I2C", "SPI", "CAN"]),
    ),
    op("Sys_getRTC", (), (241, "00", "00 7C 02 1D 17 05 09"), result="2024-02-29, 23:05:09", on=WIRED),
    op("Sys_getRTC", (), (241, "00", "00 18 02 1D 17 05 09"), result="2024-02-29, 23:05:09", on=WIRELESS),
    op("Sys_setRTC", (2024, 12, 31, 23, 59, 58), (242, "7C 0C 1F 17 3B 3A", "00")),
    op("Sys_setRTC", (1900, 1, 1, 0, 0, 0), (242, "00 01 01 00 00 00", "00")),
    op("Sys_startRTCAlarm", (0, 31, 7, 8, 9), (2212, "00 1F 07 08 09", "00 00")),
    op("Sys_startRTCAlarm", (1, 7, 4, 5, 6), (2212, "01 07 04 05 06", "01 00")),
    op("Sys_startRTCAlarm", (1, 8, 4, 5, 6), result=pyqvx.InputDataNotInRangeError),  # no day of the week
    op("Sys_stopRTCAlarm", (), (2213, "00", "00 00")),
    op("_Sys_getRTCAlarmState", (), (2214, "00", "00 01"), result="on"),
    op("_Sys_getRTCAlarmState", (), (2214, "00", "00 02"), result="off"),
    op(
        "_Sys_getRTCAlarmConfig",
        (),
        (2215, "00", "00 00 63 01 02 03 04 05"),
        result="1999-01-02, 03:04:05",
        on=WIRED,
    ),
    op(
        "_Sys_getRTCAlarmConfig",
        (),
        (2215, "00", "00 00 18 01 02 03 04 05"),
        result="2024-01-02, 03:04:05",
        on=WIRELESS,
    ),
    op("Sys_reboot", (), (250, "", "00")),
    op("_Sys_rebootOnBootloader", (), (251, "", "00")),
    op("_getEEPROMPage", (7,), (247, "07", "00 01 02 FF"), result=[1, 2, 255]),
    op("_setEEPROMPage", (3, [1, 2, 255]), (248, "03 01 02 FF", "00")),
    op("_getEEPROMDevice", (1,), (249, "01", "00 09"), result=[9]),
    op("_setEEPROMByte", (3, 63, 255), (255, "03 3F FF", "00")),
    op("_getThreads", (), (126, "", text("main\0")), result="main"),
    op("_resetFactory", (), (121, "", "00")),
    *[
        op("Sys_getMode", (slot,), (2054, port, f"00 {mode:02X}"), result=name)
        for slot, port in SLOT_PORTS.items()
        for mode, name in enumerate(MODES)
    ],
    *[
        op(f"Sys_set{name}Mode", (slot,), (2055, f"{port} {mode:02X}", f"{port} 00"))
        for slot, port in SLOT_PORTS.items()
        for mode, name in enumerate(MODES)
    ],
    op("_Sys_setSlotMode", (2, 3), (2055, "01 03", "01 00")),
]
