"""The system module against a virtual device, each operation in both forms."""

import datetime
import functools

import pytest
from fakes import PATIENCE_S, eventually

import pyqvx


@pytest.fixture
def ask(lab, call):
    """ask("Sys_getMode", 1) runs either form of an operation."""
    return functools.partial(call, lab("FeroxA", serial="QVTEST01", alias="start"))


def test_who_the_device_is(ask):
    assert ask("Sys_getDriverInfo")[0] == "Ferox-A" and len(ask("Sys_getDriverInfo")) == 3
    assert ask("Sys_getSerialNumber") == "QVTEST01"
    assert ask("Sys_getPythonVersion") == pyqvx.__version__
    assert ask("_getDriverInfo_dev", 0).startswith("Ferox-A_")
    assert ask("_getThreads")


def test_the_alias_is_kept(ask):
    assert ask("Sys_getDeviceAlias") == "start"
    for alias in ("Bench 7", "a", "", "~" * 64, "Prüfstand 3 µV", "é" * 32):
        assert ask("Sys_setDeviceAlias", alias) == 0
        assert ask("Sys_getDeviceAlias") == alias


def test_the_clock_runs_from_what_is_set(ask):
    assert ask("Sys_setRTC", 2031, 12, 31, 23, 59, 58) == 0
    text = ask("Sys_getRTC")
    moment = datetime.datetime.strptime(text, "%Y-%m-%d, %H:%M:%S")
    late = moment - datetime.datetime(2031, 12, 31, 23, 59, 58)
    assert datetime.timedelta(0) <= late < datetime.timedelta(seconds=30)
    with pytest.raises(pyqvx.FirmwareRTCError):
        ask("Sys_setRTC", 2031, 2, 30, 0, 0, 0)


def test_the_alarm_is_kept(ask):
    assert ask("_Sys_getRTCAlarmState") == "off"
    assert ask("Sys_setRTC", 2030, 5, 1, 0, 0, 0) == 0
    assert ask("Sys_startRTCAlarm", 0, 17, 6, 30, 15) == 0
    assert ask("_Sys_getRTCAlarmState") == "on"
    assert ask("_Sys_getRTCAlarmConfig") == "2030-05-17, 06:30:15"
    assert ask("Sys_startRTCAlarm", 1, 7, 0, 0, 0) == 0
    assert ask("_Sys_getRTCAlarmConfig") == "2030-05-05, 00:00:00"  # a Sunday
    assert ask("Sys_stopRTCAlarm") == 0
    assert ask("_Sys_getRTCAlarmState") == "off"


def test_slots_and_pins_remember(ask):
    setters = ["Idle", "DI", "DO", "DIO", "Motion", "AIO", "Switch"]
    for number, mode in enumerate(setters):
        for slot in (1, 2, 4):
            assert ask(f"Sys_set{mode}Mode", slot) == 0
            assert ask("Sys_getMode", slot) == mode
            assert ask("_Sys_setSlotMode", slot, (number + 1) % 7) == 0
            assert ask("Sys_getMode", slot) == setters[(number + 1) % 7]
    assert ask("Sys_getPinModeInPort", 0) == (8, ["ADC"] * 8)
    with pytest.raises(pyqvx.FirmwarePinIndexError):
        ask("Sys_getPinModeInPort", 200)
    for slot in (0, 3, 5):
        with pytest.raises(pyqvx.LUMAPortNotAvaliableError):
            ask("Sys_getMode", slot)


def test_the_memory_is_kept(ask):
    page = list(range(64))
    assert ask("_setEEPROMPage", 5, page) == 0
    assert ask("_getEEPROMPage", 5) == page
    assert ask("_setEEPROMByte", 5, 63, 255) == 0
    assert ask("_getEEPROMPage", 5) == page[:-1] + [255]
    assert bytes(ask("_getEEPROMDevice", 0))[:2] == b"QV"
    for name, args in [
        ("_getEEPROMPage", (128,)),
        ("_setEEPROMByte", (5, 64, 0)),
        ("_getEEPROMDevice", (1,)),
    ]:
        with pytest.raises(pyqvx.FirmwareEEPROMError):
            ask(name, *args)


def test_factory_operations(ask):
    ask("Sys_setDeviceAlias", "gone")
    assert ask("_setSerialNumber", "NEW00001") == 0
    assert ask("_resetFactory") == 0
    assert ask("Sys_getSerialNumber") == "NEW00001"
    assert ask("Sys_getDeviceAlias") != "gone"


@pytest.mark.parametrize("operation", ["Sys_reboot", "_Sys_rebootOnBootloader"])
def test_a_reboot_ends_the_connection(ask, operation, caplog):
    assert ask(operation) == 0
    with pytest.raises((pyqvx.NetworkConnectionLostError, pyqvx.ReceivePacketTimeoutError)):
        ask("Sys_getRTC")
    assert eventually(lambda: "NetworkConnectionLostError" in caplog.text)


@pytest.mark.parametrize(
    "faults", [{"split": True}, {"duplicate": 1.0}, {"delay": 30}, {"drop": 0.3, "seed": 5}]
)
def test_requests_survive_faults_of_the_network(bench, faults):
    place = bench(serial="QVFAULTY", **faults)
    with pyqvx.FeroxA(verbose=False) as device:
        device.connect(place.ip, place.port)
        answered = 0
        for _ in range(10):
            try:
                assert device.Sys_getSerialNumber(timeout=1 if "drop" in faults else PATIENCE_S) == "QVFAULTY"
                answered += 1
            except pyqvx.ReceivePacketTimeoutError:
                assert "drop" in faults
        assert answered >= 8
