"""Conversions and validators, against struct and Python's own arithmetic."""

import math
import struct

import pytest
from hypothesis import given
from hypothesis import strategies as st

import pyqvx
from pyqvx import InputDataNotInRangeError, InputTypeNotCorrectError

# Kind as in the names, layout.
NUMBERS = [("U16", ">H"), ("U32", ">I"), ("U64", ">Q"), ("I16", ">h"), ("I32", ">i"), ("I64", ">q")]
NUMBERS += [("F32", ">f"), ("F64", ">d")]
INTEGERS = NUMBERS[:6]


def pair(kind):
    size = int(kind[1:]) // 8
    return getattr(pyqvx, f"convert{kind}To{size}U8"), getattr(pyqvx, f"convert{size}U8To{kind}"), size


def limits(kind):
    bits = int(kind[1:])
    return (0, 2**bits - 1) if kind[0] == "U" else (-(2 ** (bits - 1)), 2 ** (bits - 1) - 1)


@pytest.mark.parametrize("kind, layout", NUMBERS)
@given(data=st.data())
def test_bytes_agree_with_struct(kind, layout, data):
    into, back, size = pair(kind)
    raw = data.draw(st.binary(min_size=size, max_size=size))
    [value] = struct.unpack(layout, raw)
    for given_as in (list(raw), raw):
        got = back(given_as)
        assert type(got) is type(value)
        assert got == value or (math.isnan(got) and math.isnan(value))
    if not math.isnan(value):
        assert into(value) == list(raw)


@pytest.mark.parametrize("kind, layout", INTEGERS)
@given(value=st.floats() | st.integers(-(2**70), 2**70))
def test_what_does_not_fit_an_integer_is_refused(kind, layout, value):
    into, _, _ = pair(kind)
    low, high = limits(kind)
    if math.isfinite(value) and low <= int(value) <= high:
        assert into(value) == list(struct.pack(layout, int(value)))
    else:
        with pytest.raises(InputDataNotInRangeError):
            into(value)


@pytest.mark.parametrize("kind, layout", INTEGERS)
def test_integers_hold_at_their_ends(kind, layout):
    into, _, _ = pair(kind)
    low, high = limits(kind)
    for value in (low, high, True):
        assert into(value) == list(struct.pack(layout, value))
    for value in (low - 1, high + 1, float(high + 1), 10**400):
        with pytest.raises(InputDataNotInRangeError):
            into(value)


@pytest.mark.parametrize("kind, layout", NUMBERS)
def test_wrong_arguments(kind, layout):
    into, back, size = pair(kind)
    for value in ("1", None, [1], 1j, b"\1"):
        with pytest.raises(InputTypeNotCorrectError):
            into(value)
    for items in (
        [],
        [0] * (size - 1),
        [0] * (size + 1),
        [0] * (size - 1) + [256],
        [-1] * size,
        [10**30] * size,
    ):
        with pytest.raises(InputDataNotInRangeError):
            back(items)
    for items in (None, 5, "ab", [1.0] * size, ["1"] * size, {0: 1}):
        with pytest.raises(InputTypeNotCorrectError):
            back(items)


def test_binary32_overflows_to_infinity():
    for value in (1e39, -1e39, 10**200):
        assert pyqvx.convertF32To4U8(value) == list(struct.pack(">f", math.copysign(math.inf, value)))
    with pytest.raises(InputDataNotInRangeError):
        pyqvx.convertF64To8U8(10**400)


def test_numpy_numbers_are_welcome():
    numpy = pytest.importorskip("numpy")
    assert pyqvx.convertU16To2U8(numpy.int64(258)) == [1, 2]
    assert pyqvx.convertU16To2U8(numpy.float32(258.9)) == [1, 2]
    assert pyqvx.convertF32To4U8(numpy.float64(1)) == [63, 128, 0, 0]
    assert pyqvx.convert2U8ToU16(numpy.array([1, 2], numpy.uint8)) == 258
    assert pyqvx.fillBit(numpy.uint8(1), numpy.int8(9)) == 513
    assert pyqvx.convertIntToIndexList(numpy.uint8(6)) == [1, 2]


@given(st.floats())
def test_angles_are_those_of_math(value):
    assert struct.pack("d", pyqvx.convertDegToRad(value)) == struct.pack("d", math.radians(value))
    assert struct.pack("d", pyqvx.convertRadToDeg(value)) == struct.pack("d", math.degrees(value))


@given(st.text())
def test_texts(text):
    raw, first = text.encode(), text.split("\0")[0]
    assert pyqvx.convertU8ListToStr([*raw, 0, 67]) == pyqvx.convertU8ListToStr(raw) == first
    assert pyqvx.convertStrToU8List(text) == [ord(c) for c in text]


def test_text_edges():
    assert pyqvx.convertU8ListToStr([]) == ""
    assert pyqvx.convertStrToU8List("\udc80\u20ac") == [0xDC80, 0x20AC]
    with pytest.raises(UnicodeDecodeError):
        pyqvx.convertU8ListToStr([65, 255])
    with pytest.raises(InputDataNotInRangeError):
        pyqvx.convertU8ListToStr([256])
    for call in (pyqvx.convertStrToU8List, pyqvx.convertIPAddrTo4U8, pyqvx.convertMACAddrTo6U8):
        for value in (b"1.2.3.4", 5, None):
            with pytest.raises(InputTypeNotCorrectError):
                call(value)


def test_addresses():
    assert pyqvx.convertIPAddrTo4U8("192.168.1.10") == [192, 168, 1, 10]
    assert pyqvx.convertMACAddrTo6U8("00:1A:2b:3C:4d:FF") == [0, 26, 43, 60, 77, 255]
    for call in (pyqvx.convertIPAddrTo4U8, pyqvx.convertMACAddrTo6U8):
        for text in ("", "0:", "1.2.3.256", "1.2.3.4\0", "\udc80"):
            with pytest.raises(InputDataNotInRangeError):
                call(text)


@given(st.integers(-(2**80), 2**80), st.integers(0, 100))
def test_bits_of_ints_of_any_size(number, index):
    assert pyqvx.clearBit(number, index) == number & ~(1 << index)
    assert pyqvx.fillBit(number, index) == number | (1 << index)
    assert pyqvx.readBit(number, index) == (number >> index) & 1
    assert pyqvx.convertIntToBinaryList(number, index) == [(number >> i) & 1 for i in range(index)]
    if number >= 0:
        assert pyqvx.convertIndexListToInt(pyqvx.convertIntToIndexList(number)) == number


def test_bit_edges():
    assert pyqvx.writeBit(7, 0, 0) == 6
    assert pyqvx.writeBit(7, 0, 2) is None and pyqvx.writeBit(7, 0, "x") is None
    assert pyqvx.convertIntToIndexList(0) == [] == pyqvx.convertIntToBinaryList(6, 0)
    assert pyqvx.convertIndexListToInt([3, 0, 3]) == 9
    assert pyqvx.convertIndexAndBinaryListsToInt([1, 2, 3], [-4, 1]) == 4
    for call in (pyqvx.clearBit, pyqvx.fillBit, pyqvx.readBit):
        with pytest.raises(ValueError):
            call(1, -1)
        with pytest.raises(InputTypeNotCorrectError):
            call(1.0, 0)
    with pytest.raises(InputDataNotInRangeError):
        pyqvx.convertIntToIndexList(-1)
    with pytest.raises(InputTypeNotCorrectError):
        pyqvx.convertIndexListToInt([1, "2"])


def test_lists():
    ten = list(range(10))
    assert pyqvx.adjustDataList(ten) == ten
    data = [1, 2]
    assert pyqvx.adjustDataList(data) == [1, 2, 0, 0, 0, 0, 0, 0] and data == [1, 2]
    assert pyqvx.adjustDataList((1,), 2) == [1, 0]
    assert pyqvx.coerce([-0.5, 0.25, 2]) == [0, 0.25, 1]
    for call in (pyqvx.adjustDataList, pyqvx.coerce):
        with pytest.raises(InputTypeNotCorrectError):
            call(5)


def test_validators():
    assert pyqvx.checkInputType(True, int) is None
    assert pyqvx.checkInputType("x", (int, str)) is None
    with pytest.raises(InputTypeNotCorrectError) as caught:
        pyqvx.checkInputType(1.0, int)
    assert caught.value.msg == "The data type is not valid or is not recognized."
    assert pyqvx.checkInputTypeConsistent([1], ["a"]) is None
    with pytest.raises(pyqvx.InputTypeNotConsistentError):
        pyqvx.checkInputTypeConsistent(True, 1)
    assert pyqvx.checkEachItemInRange([0, 255]) is None
    assert pyqvx.checkEachItemInRange([], 1, 0) is None
    for items in ([256], [0, -1], [math.nan]):
        with pytest.raises(InputDataNotInRangeError, match="Error -8009: The input value"):
            pyqvx.checkEachItemInRange(items)
    with pytest.raises(InputDataNotInRangeError, match="Error -8009: mine"):
        pyqvx.checkEachItemInRange([3], low=0, high=2, msg="mine")
    with pytest.raises(InputTypeNotCorrectError):
        pyqvx.checkEachItemInRange(["1"])


def test_pin_maps():
    assert pyqvx.checkFuncPinMap([], []) is True
    assert pyqvx.checkFuncPinMap([0, 1], [0]) is False

    def rows():
        yield [0, 1]
        yield [2]
        raise AssertionError("rows after the first that fails are not looked at")

    assert pyqvx.checkPinMap(rows(), [0, 1]) is False
