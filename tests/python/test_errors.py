"""The error family as Python sees it: classes, codes, texts, what constructing one does."""

import copy
import pickle
import sys
import warnings
from types import SimpleNamespace

import pytest

import pyqvx

CLASSES = [
    c for c in vars(pyqvx).values() if isinstance(c, type) and issubclass(c, (pyqvx.Error, pyqvx.QVXWarning))
]
ERRORS = [c for c in CLASSES if issubclass(c, pyqvx.Error) and c is not pyqvx.Error]
WARNINGS = [c for c in CLASSES if issubclass(c, pyqvx.QVXWarning) and c is not pyqvx.QVXWarning]

SAMPLES = [
    ("PinsNotExistError", "errPinsNotExist", -8005, "The pin index is not valid or is not recognized."),
    ("FirmwareQVXIndexError", "errFirmwareQVXIndex", -7003, "The HAL error in the firmware."),
    ("DVSTPortNotAvaliable", "errCANPort", -8900, None),
    ("CANQueueOverflowWarning", "warnCANOverflow", 520002, "Occurrence CAN queue overflow."),
]


def quietly(make, *args, **kwargs):
    with warnings.catch_warnings():
        warnings.simplefilter("ignore")
        return make(*args, **kwargs)


def test_the_family_is_complete():
    assert (len(ERRORS), len(WARNINGS)) == (96, 20)
    assert {c.__base__ for c in ERRORS} == {pyqvx.Error}
    assert {c.__base__ for c in WARNINGS} == {pyqvx.QVXWarning}
    assert pyqvx.Error.__base__ is Exception and pyqvx.QVXWarning.__base__ is UserWarning
    assert {c.__module__ for c in CLASSES} == {"pyqvx"}


@pytest.mark.parametrize("name, constant, code, message", SAMPLES)
def test_code_and_text(name, constant, code, message):
    error = quietly(getattr(pyqvx, name))
    assert (error.code, error.msg) == (code, message)
    assert getattr(pyqvx, constant) == code


@pytest.mark.parametrize("cls", [*ERRORS, *WARNINGS])
def test_every_class_constructs_copies_and_pickles(cls, capsys):
    word = "Error" if issubclass(cls, pyqvx.Error) else "Warning"
    first = quietly(cls)
    for error in (quietly(cls, "x"), quietly(cls, msg="x"), quietly(cls, "x", 1, extra=2)):
        assert str(error) == f"{word} {first.code}: x"
        capsys.readouterr()
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            twins = [copy.copy(error), *(pickle.loads(pickle.dumps(error, p)) for p in range(6))]
        for twin in twins:
            assert (type(twin), twin.code, twin.msg, twin.args) == (cls, first.code, "x", error.args)
        assert capsys.readouterr().out == ""


def test_base_stores_what_it_is_given():
    error = pyqvx.Error(-5, "text")
    assert (error.code, error.msg, str(error)) == (-5, "text", "Error -5: text")
    assert str(pyqvx.Error(code=1, msg=None)) == "Error 1: None"
    with pytest.raises(TypeError):
        pyqvx.Error(1)


def test_code_is_read_when_the_object_is_made(monkeypatch):
    monkeypatch.setattr(pyqvx, "errPinsNotExist", -1)
    monkeypatch.setattr(pyqvx, "errCANPort", -2)
    assert pyqvx.PinsNotExistError().code == -1
    assert pyqvx.CANPortNotAvaliableError().code == -2
    assert pyqvx.DVSTPortNotAvaliable().code == -8900


def test_subclasses_of_applications_work():
    class Mine(pyqvx.AIPortNotAvaliableError):
        def __init__(self, port):
            super().__init__(f"port {port}")
            self.port = port

    error = Mine(4)
    assert (error.code, str(error), error.port) == (-8201, "Error -8201: port 4", 4)


def test_constructing_a_warning_reports_it_at_the_line_of_the_application(capsys):
    with pytest.warns(UserWarning) as caught:
        error = pyqvx.MotionAxisError()
    assert not isinstance(error, pyqvx.Error)
    [warning] = caught
    assert str(warning.message) == "Warning -9100: The motion axis is not valid or is not recognized."
    assert (warning.category, warning.filename) == (UserWarning, __file__)
    entries = capsys.readouterr().out.strip().split("\n\n")
    assert entries[-1].strip().startswith(f'File "{__file__}"')
    assert "test_constructing_a_warning_reports_it" in entries[-1]
    assert "error = pyqvx.MotionAxisError()" in entries[-1]
    assert warning.lineno == int(entries[-1].split("line ")[1].split(",")[0])


def test_a_filter_turns_the_construction_into_the_warning_exception():
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        with pytest.raises(UserWarning, match="Warning 520000: mine") as caught:
            pyqvx.AIQueueOverflowWarning("mine")
    assert not isinstance(caught.value, pyqvx.QVXWarning)


def test_print_generic_error(capsys):
    assert pyqvx.printGenericError(pyqvx.InputDataNotInRangeError()) is None
    pyqvx.printGenericError(ValueError("bad"))
    pyqvx.printGenericError(quietly(pyqvx.MotionPortNotAvaliable, "x"))
    lines = capsys.readouterr().out.splitlines()
    assert lines[0] == "InputDataNotInRangeError: Error -8009: The input value is not the acceptable range."
    assert lines[1] == "ValueError: bad"
    assert lines[-1] == "MotionPortNotAvaliable: Warning -9101: x"


def test_lines_of_several_threads_do_not_mix(monkeypatch):
    written = []
    monkeypatch.setattr(sys, "stdout", SimpleNamespace(write=written.append, flush=lambda: None))
    pyqvx.printGenericError(pyqvx.InputDataNotInRangeError())
    pyqvx.FeroxA().close()
    assert [text[-2:] for text in written if text] == [".\n", ")\n", ")\n"]


STATUSES = {10: -7000, 11.0: -7001, 13: -7003, 20: -7004, 27: -7011, 40: -7012, 42: -7014}
STATUSES |= {50: -7015, 57: -7022, 70: -7023, 73: -7026, 80: -7027}
UNLISTED = [1, 14, 30, 255, -1, True, 10.5, float("nan"), float("inf"), 10**400, 2**64 + 10]


def test_firmware_statuses():
    for status in (0, 0.0, False):
        assert pyqvx.checkFirmwareError(status) is status
    for status, code in [*STATUSES.items(), *((status, pyqvx.errFirmwareOther) for status in UNLISTED)]:
        with pytest.raises(pyqvx.Error) as caught:
            pyqvx.checkFirmwareError(status)
        assert (caught.value.code, caught.value.args) == (code, ()), status
    for status in ("0", None, [0], 1j):
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            pyqvx.checkFirmwareError(status)
