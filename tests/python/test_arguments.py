"""What stands for a number or a list is one to every operation; the first wrong argument is blamed."""

import array
import decimal
import re

import numpy as np
import pytest
from fakes import FakeTransport, connected, models
from test_bad_input import TYPE, operations, parameters, valid_calls
from test_golden import plain

import pyqvx


class Index:
    def __init__(self, value):
        self.value = value

    def __index__(self):
        return self.value


def variants(value):
    """The same value, as other types have it."""
    if isinstance(value, bool) or value is None:
        return []
    if isinstance(value, int):
        return [
            np.int64(value),
            np.uint32(value) if value >= 0 else np.int32(value),
            Index(value),
            np.array(value),
        ]
    if isinstance(value, float):
        return [np.float64(value), decimal.Decimal(value), np.array(value)]
    if isinstance(value, list) and value and all(type(item) is int for item in value):
        some = [tuple(value), np.array(value), [np.int16(item) for item in value], array.array("l", value)]
        if value == list(range(value[0], value[0] + len(value))):
            some.append(range(value[0], value[0] + len(value)))
        return some
    if isinstance(value, list) and value and all(type(item) is float for item in value):
        return [tuple(value), np.array(value), [decimal.Decimal(item) for item in value]]
    return []


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_numbers_of_every_kind_are_numbers(cls):
    device = connected(FakeTransport(default=b"\0\0"), cls)
    sent = device.client_cmd.sent

    def outcome(name, arguments):
        sent.clear()
        try:
            end = getattr(device, name)(**arguments)
        except Exception as error:
            end = type(error)
        return repr(plain(end)), list(sent)

    tried, failures = 0, []
    for name, (good, _) in valid_calls(device).items():
        expected = outcome(name, good)
        for argument, value in good.items():
            for same in variants(value):
                tried += 1
                given = outcome(name, good | {argument: same})
                if given != expected:
                    failures.append(f"{name}({argument}={same!r}) gave {given}, not {expected}")
    device.close()
    assert not failures, "\n".join(failures[:40])
    assert tried > 50


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_the_first_wrong_argument_is_blamed(cls):
    """With the same words, whether those behind it are right or wrong."""
    device = connected(FakeTransport(default=b"\0\0"), cls)
    failures = []
    for name, (good, result) in valid_calls(device).items():
        names = [n for n in parameters(cls, name) if n in good or n == "timeout"]
        for i, first in enumerate(names if result is not pyqvx.APINotSupportError else []):
            blamed = []
            for wrong in ([first], names[i:]):
                with pytest.raises(TYPE) as caught:
                    getattr(device, name)(**good | {n: object() for n in wrong})
                blamed.append(str(caught.value))
            if blamed[0] != blamed[1]:
                failures.append(f"{name}: {first} is wrong, and {blamed[1]} blames another")
    device.close()
    assert not failures, "\n".join(failures[:60])


def test_what_stands_for_no_number_is_refused():
    device = connected(FakeTransport(default=b"\0\0"), pyqvx.FeroxD)
    for pins, value in (
        ([0], b"0"),
        (b"\0", [1]),
        ([0], bytearray(1)),
        ([0], memoryview(b"\1")),
        ([0], "1"),
        (np.array([0.0]), [1]),
        ([0], [np.complex64(1)]),
        ([0], {0: 1}),
        (0, 1),
        (0, b"1"),
    ):
        with pytest.raises(TYPE):
            device.DO_writePins(0, pins, value)
    for port in (np.array([0]), np.float32(0), 0.0, decimal.Decimal(0), np.complex128(0)):
        with pytest.raises(TYPE):
            device.DI_readPort(port)
    assert device.client_cmd.sent == []
    device.close()
    device = connected(FakeTransport(default=b"\0\0\0\1"), pyqvx.FeroxD)
    assert device.DO_writePins(0, np.arange(2), np.array([True, False]))[:2] == [1, 0]
    device.close()


def test_an_items_own_code_may_change_the_list_or_raise():
    device = connected(FakeTransport(default=b"\0\0\0\0"), pyqvx.FeroxD)
    pins = [Index(0), 1, 2]

    class Clears(Index):
        def __index__(self):
            pins.clear()
            return self.value

    class Raises:
        def __index__(self):
            raise ZeroDivisionError

    pins[0] = Clears(3)
    device.DO_togglePins(0, pins)  # pin 3, which is all that there is then
    with pytest.raises(ZeroDivisionError):
        device.DO_togglePins(0, [Raises()])
    endless = []
    endless.append(endless)
    with pytest.raises(TYPE):
        device.DO_togglePins(0, endless)
    device.close()


def test_every_public_operation_has_both_forms():
    lacking = [
        f"{cls.__name__}.{name}"
        for cls in models()
        for name in dir(cls)
        if re.match(r"(AI|AO|DI|DO|DIO|SPI|I2C|UART|CAN|Sys|Net|Wifi)_", name)
        and not name.endswith("_async")
        and callable(getattr(cls, name))
        and not hasattr(cls, name + "_async")
    ]
    assert lacking == [] and operations(pyqvx.FeroxA)
