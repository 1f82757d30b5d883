"""Addresses, the radio, and what a wireless device measures of itself."""

from golden.row import op

import pyqvx


def padded(text: str, size: int) -> str:
    return text.encode().ljust(size, b"\0").hex()


ROWS = [
    op("Net_getIP", (), (243, "", "00 C0A80114 FFFFFF00"), result=("192.168.1.20", "255.255.255.0")),
    op("Net_setIP", ("10.13.10.2", "255.255.0.0"), (244, "0A0D0A02 FFFF0000", "00")),
    op("Net_setIP", ("1.0.0.1", "255.255.255.252"), (244, "01000001 FFFFFFFC", "00")),
    # The first and the last address of a subnet.
    *[
        op("Net_setIP", (ip, mask), result=pyqvx.InputDataNotInRangeError)
        for ip, mask in [("192.168.1.255", "255.255.255.0"), ("10.0.0.4", "255.255.255.252")]
    ],
    op("Net_getGateway", (), (124, "", "00 00000000"), result="0.0.0.0"),
    op("Net_setGateway", ("0.0.0.0",), (125, "00000000", "00")),
    op("Net_getGateway", (), (124, "", "00 C0A80101"), result="192.168.1.1"),
    op("Net_setGateway", ("192.168.1.254",), (125, "C0A801FE", "00")),
    op("Net_getMAC", (), (245, "", "00 025156AB000F"), result="02:51:56:ab:00:0f"),
    op("_Net_setMAC", ("02:51:56:AB:00:0f",), (246, "025156AB000F", "00")),
    op("Wifi_getRSSI", (), (113, "", "00 C9"), result=-55),
    op(
        "Wifi_getConfiguration",
        (),
        (117, "", "00 01 02" + padded("Lab 7", 32)),
        result=("Lab 7", "WPA3", "AP"),
    ),
    op("Wifi_getRSSI", (), (113, "", "00 80"), result=-128),
    op(
        "Wifi_getConfiguration",
        (),
        (117, "", "00 00 00" + "n".encode().hex() * 32),
        result=("n" * 32, "Open", "Station"),
    ),
    op(
        "Wifi_getConfiguration",
        (),
        (117, "", "00 00 01" + padded("Café", 32)),
        result=("Café", "WPA2", "Station"),
    ),
    op("Wifi_setConfiguration", ("A", "", 0), (116, "00" + padded("A", 32) + "00" * 64, "00")),
    op(
        "Wifi_setConfiguration",
        ("Lab 7", "password", 1),
        (116, "01" + padded("Lab 7", 32) + padded("password", 64), "00"),
    ),
    # A password where there is none, and none where there must be one.
    op("Wifi_setConfiguration", ("Lab", "password", 0), result=pyqvx.InputDataNotInRangeError),
    op("Wifi_setConfiguration", ("Lab", "", 1), result=pyqvx.InputDataNotInRangeError),
    op("_Net_setMAC", ("ff:ff:ff:ff:ff:ff",), result=pyqvx.InputDataNotInRangeError),
    op("Wifi_setAP", (1,), (112, "01", "00")),
    op("Wifi_getBandwidth", (), (119, "", "00 28"), result=40),
    op("Wifi_setBandwidth", (20,), (118, "14", "00")),
    op("Wifi_readBattery", (), (114, "", "00 57"), result=87),
    op("_Wifi_readThermometer", (), (115, "", "00 C1480000"), result=-12.5),
    op("_Wifi_readAcceleration", (), (111, "", "00 3E800000 BF000000 411C0000"), result=[0.25, -0.5, 9.75]),
]
