"""Digital lines against a virtual device whose outputs are wired to its inputs: operations in both forms."""

import contextlib
import re
from functools import partial

import pytest
from fakes import connect_to, eventually, models

import pyqvx

CORDLOG = {0: [0, 1, 2, 3, 4, 5, 6, 7], 1: [0, 1, 2, 3, 4, 5], 2: [0, 1, 2, 3, 6, 7], 3: [0, 1, 2, 3, 4, 5]}


def test_outputs_reach_the_inputs_that_they_are_wired_to(lab, call):
    device = lab("CordlogF1D", wire=["do0=di1", "do0.7=di2.6"])
    run = partial(call, device)
    assert run("DO_openPort", 0) == run("DI_openPort", 1) == run("DI_openPins", 2, 6) == 0
    assert run("DI_readPort", 1) == [0] * 8
    assert run("DO_writePins", 0, [0, 1, 5], [1, 0, 1]) == [1, 0, 0, 0, 0, 1, 0, 0]
    assert run("DI_readPort", 1) == [1, 0, 0, 0, 0, 1, 0, 0]
    assert run("DI_readPins", 1, [5, 4, 0]) == [1, 0, 1] and run("DI_readPins", 1, 5) == [1]
    assert run("DO_writePort", 0, [0, 1] * 4) == [0, 1] * 4
    assert run("DI_readPort", 1) == [0, 1, 0, 1, 0, 1, 0, 0] and run("DI_readPins", 2, [6]) == [1]
    assert run("DO_togglePins", 0, [0, 7]) == [1, 1, 0, 1, 0, 1, 0, 0]
    assert run("DI_readPort", 1) == [1, 1, 0, 1, 0, 1, 0, 0] and run("DI_readPins", 2, [6]) == [0]
    assert run("DO_togglePort", 0) == [0, 0, 1, 0, 1, 0, 1, 1]
    assert run("DO_writePort", 0, 0x21) == [1, 0, 0, 0, 0, 1, 0, 0]
    assert run("DO_closePins", 0, [0]) == 0
    assert run("DI_readPort", 1) == [0, 0, 0, 0, 0, 1, 0, 0]
    with pytest.raises(pyqvx.FirmwareEnableError):
        run("DO_writePort", 0, 0)
    assert run("DO_writePins", 0, [1, 2], [True, False])[1:3] == [1, 0]
    for mixed in ([True, 1], (1, False), ["1", 1]):
        with pytest.raises(pyqvx.InputTypeNotConsistentError):
            run("DO_writePins", 0, [1, 2], mixed)
    assert run("DO_closePort", 0) == run("DI_closePort", 1) == run("DI_closePins", 2, 6) == 0
    assert device.Sys_getPinModeInPort(0) == (8, ["Idle"] * 8)


def test_pins_have_one_direction_at_a_time(lab, call):
    device = lab("FeroxEXD")
    run = partial(call, device)
    run("DI_openPins", 3, [0, 1])
    assert run("DI_openPort", 3) == 0  # those that are open already are no obstacle
    with pytest.raises(pyqvx.DOPortNotAvaliableError):
        run("DO_openPins", 3, [1, 2])
    assert device.Sys_getPinModeInPort(3) == (8, ["DI"] * 8)
    run("DI_closePins", 3, [1, 2])
    assert run("DO_openPins", 3, [1, 2]) == 0
    modes = device.Sys_getPinModeInPort(3)[1]
    assert modes == ["DI", "DO", "DO", "DI", "DI", "DI", "DI", "DI"]
    for operation in ("DI_openPort", "DO_openPort"):
        with pytest.raises((pyqvx.DIPortNotAvaliableError, pyqvx.DOPortNotAvaliableError)):
            run(operation, 3)
    assert device.Sys_getPinModeInPort(3)[1] == modes


@pytest.mark.parametrize(
    ("model", "outputs", "inputs"), [("FeroxD", 0, 1), ("SkylogE3AOD", 1, 2), ("CordlogF1DSNK", 1, 3)]
)
def test_fixed_directions_need_no_opening(lab, call, model, outputs, inputs):
    run = partial(call, lab(model, wire=f"do{outputs}=di{inputs}"))
    assert run("DO_openPort", outputs) == run("DI_openPort", inputs) == 0
    written = run("DO_writePort", outputs, 0x2D)
    assert written == run("DI_readPort", inputs) == [1, 0, 1, 1, 0, 1, 0, 0]


def test_startup_and_the_port_as_a_whole(lab, call):
    device = lab("CordlogF1D")
    run = partial(call, device)
    assert run("DIO_loadStartup", 3) == [[0] * 8] * 3
    enabled, direction, state = [1, 1, 1, 0, 0, 0, 0, 0], [0, 1, 1, 0, 0, 0, 0, 0], [0, 0, 1, 0, 0, 0, 0, 0]
    assert run("_DIO_saveStartup", 3, enabled, direction, state) == 0
    assert run("DIO_loadStartup", 3) == [enabled, direction, state]
    with pytest.raises(pyqvx.FirmwarePinIndexError):
        run("_DIO_saveStartup", 3, 0x40, 0, 0)
    assert run("_DIO_setPortDO", 3) == 0 and device.Sys_getPinModeInPort(3)[1][:6] == ["DO"] * 6
    assert run("_DIO_setPortDI", 3) == 0 and device.Sys_getPinModeInPort(3)[1][:6] == ["DI"] * 6
    assert run("_DIO_setPortIdle", 3) == 0 and device.Sys_getPinModeInPort(3)[1][:6] == ["Idle"] * 6
    url = device.serial_num
    device.Sys_reboot()
    device.disconnect()
    device.connect(url)
    assert device.Sys_getPinModeInPort(3)[1][:4] == ["DI", "DO", "DO", "Idle"]
    assert run("DI_readPins", 3, [0, 1, 2]) == [0, 0, 1]


def test_single_commands(lab, call):
    run = partial(call, lab("CordlogF1D", wire="do0=di1"))
    assert run("_setDIOCurrent", 0, 0x0F, 0x0F, 0x03, 0x01) == run("_DIO_setPortDI", 1) == 0
    assert run("_getDIOCurrent", 0, 0xFF) == [
        [1, 1, 1, 1, 0, 0, 0, 0],
        [1, 1, 0, 0, 0, 0, 0, 0],
        [1, 0, 0, 0, 0, 0, 0, 0],
    ]
    assert run("_setDIOState", 0, 0x03, 0x02) == 0
    assert run("_readAndGetDI", 1, 0x3F) == [1, 0, 0, 0, 0, 0, 0, 0]
    assert run("_writeDO", 0) == run("_readDI", 1) == 0
    assert run("_getDIOState", 1, 0x3F) == [0, 1, 0, 0, 0, 0, 0, 0]
    assert run("_toggleDIODirection", 0, 0x05, 0x04) == 0
    assert run("_setAndWriteDO", 0, 0x02, 0) == [0, 0, 1, 0, 0, 0, 0, 0]
    assert run("_toggleAndWriteDO", 0, 0x06) == [0, 1, 0, 0, 0, 0, 0, 0]
    assert run("_closeDIOInPins", 0, [0, 1]) == run("_closeDIOInPort", 1) == 0
    assert run("_getDIOCurrent", 0, 0xFF)[0] == [0, 0, 1, 1, 0, 0, 0, 0]


@pytest.mark.parametrize(
    "cls", [c for c in models() if issubclass(c, pyqvx.DIOModule)], ids=lambda c: c.__name__
)
def test_pin_tables(cls):
    with cls(verbose=False) as device:
        if cls.__name__.startswith("Cordlog"):
            assert device.di_dict == device.do_dict == CORDLOG
        device.di_dict.clear()
        device.DI_getPinMap().clear()
        assert device.di_dict == device.DI_getPinMap() != {} and device.do_dict == device.DO_getPinMap()
        assert device.dio_num_pins_per_port == 8
        assert device._getPinIndexInInt([0, 1, 5]) == 0x23 and device._getPinIndexInInt(15) == 0x8000
        assert device._getPinIndexInList(5) == [5] and device._getPinIndexInList([5, 0]) == [5, 0]


# A line that toggles and a level that is asked for.
@pytest.mark.parametrize(("resend", "toggles", "queries"), [("safe", 1, 3), (True, 3, 3), (False, 1, 1)])
def test_a_slow_link_repeats_what_it_may(bench, resend, toggles, queries):
    # Slower than any machine is; 50 ms would do.
    place = bench(model="FeroxD", delay=800, verbose=True)
    with pyqvx.FeroxD(verbose=False) as device:
        connect_to(device, place)
        assert device.resend == "safe"
        device.resend = resend
        assert device.DO_togglePins(0, 3) == [0, 0, 0, 1, 0, 0, 0, 0]
        with contextlib.suppress(pyqvx.FirmwareDIOError):  # this one's directions are fixed
            device._toggleDIODirection(0, 8, 0)
        device.Sys_getSerialNumber()
        packets = (
            (r"<- 238: 0 0 8\n", toggles),
            (r"<- 228: 0 0 8 0 0\n", toggles),
            (r"<- 122:\s*\n", queries),
        )
        for carried_out, times in packets:
            assert eventually(lambda: len(re.findall(carried_out, place.log)) == times), place.log


def test_rules_of_replies_take_what_they_should(fake):
    for name, first, wrong_ones in (
        ("resend", "safe", (0, 1, None, "no")),
        ("late_replies", True, (0, None, "safe")),
    ):
        assert getattr(fake, name) == first
        for wrong in wrong_ones:
            with pytest.raises(pyqvx.InputTypeNotCorrectError):
                setattr(fake, name, wrong)
        assert getattr(fake, name) == first
