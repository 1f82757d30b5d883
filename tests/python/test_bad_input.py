"""Every operation of every model, found by its own description: bad arguments are refused with an error of
this library before anything is sent, and a closed device refuses everything."""

import asyncio
import inspect
import re

import pytest
from fakes import FakeTransport, connected, models

import pyqvx

SIGNATURE = re.compile(r"^(?P<name>\w+)\((?P<parameters>.*?)\) -> (?P<result>.+)$")
# Of no type that any argument has, and one of each that only some have.
STRANGE = [None, object(), {}, 1j, b"\0", [[1]], {1}, print, float("nan")]
TEXT_OR_BYTES = "str | bytes | list[str] | list[int]"
OF_TYPE = {
    "int": ["1", 1.0, [1], "\ud800"],
    "str": [1, 1.0, ["a"], "\ud800"],
    "float": ["1", [1.0]],
    "list[int]": ["1", 1, 1.0, ["a"], [1.0], [None]],
    "list[float]": ["1", 1, ["a"], [None]],
    TEXT_OR_BYTES: [1, 1.0, "\ud800", ["ab"], ["\ud800"], [1.0], [None], [256]],
    "list[int] | int": ["1", 1.0, ["a"], [1.0], [None]],
}
# No range holds these.
HUGE = [2**63, -(2**63) - 1, 10**400, -(10**400)]
GOOD = {
    "int": 1,
    "str": "a",
    "float": 0.01,
    "list[int]": [1],
    "list[float]": [1.0],
    "list[int] | int": 1,
    "bool": False,
}
GOOD_BY_NAME = {
    **{
        "port": 0,
        "bus port": 1,
        "timeout": 3,
        "delay": 0,
        "num_samples": 1,
        "bytes_to_read": 1,
        "num_frames": 1,
        "serial_num": "ABCD1234",
        "ip_addr": "192.0.2.1",
    },
    **{"year": 2024, "mode": 1, "slot": 1},
}
# Where anything goes, or what fits is not known from the type alone.
READ_COUNTS = {"num_samples", "bytes_to_read", "num_frames"}
FIXED = {pyqvx.FeroxD, pyqvx.SkylogE3AOD, pyqvx.CordlogF1DSNK}
ANYTHING = {"cmd", "data", "data_out", "queue_", "item", "value_", "err"}


def operations(cls):
    """By name, the [(argument, type)] of every operation that sends something or checks an argument."""
    found = {}
    for name in dir(cls):
        described = SIGNATURE.match((inspect.getdoc(getattr(cls, name)) or "").partition("\n")[0])
        if described is None or described["name"] != name or name.startswith("__"):
            continue
        if not re.match(r"[A-Z]\w*_|_[A-Z]\w*_|_(get|set|reset|check|ckeck|convert)[A-Z]", name):
            continue
        parts = [part for part in re.split(r",\s*(?![^\[]*\])", described["parameters"]) if part]
        pairs = [re.match(r"(\w+): ([^=]+?)(?: = .*)?$", part).groups() for part in parts]
        if not any(argument in ANYTHING for argument, _ in pairs) or name.startswith("CAN_"):
            # The ports of buses count from 1.
            bus = re.match(r"_?(check)?(UART|CAN|SPI|I2C)", name)
            found[name] = [("bus port" if bus and a == "port" else a, kind) for a, kind in pairs]
    return found


CASES = [(cls, name, pairs) for cls in models() for name, pairs in operations(cls).items()]


def good(pairs):
    return [
        GOOD_BY_NAME.get(argument, GOOD.get(kind, GOOD.get(kind.split(" |")[0]))) for argument, kind in pairs
    ]


def run(device, name, args):
    result = getattr(device, name)(*args)
    if name.endswith("_async"):

        async def main():
            return await result

        return asyncio.run(main())
    return result


def test_the_operations_are_found():
    names = operations(pyqvx.FeroxA)
    for name in (
        "AI_open",
        "AI_readStreaming_async",
        "Sys_setRTC",
        "_setEEPROMPage",
        "_checkAIPort",
        "_AI_getCounter",
    ):
        assert name in names
    assert names["AI_setMode"] == [("port", "int"), ("mode", "int"), ("timeout", "float")]
    assert len(names) > 80


@pytest.mark.parametrize(("cls", "name", "pairs"), CASES, ids=[f"{c.__name__}.{n}" for c, n, _ in CASES])
def test_arguments_of_a_wrong_type_are_refused(cls, name, pairs):
    device = connected(FakeTransport(default=b"\0\0"), cls)
    try:
        for index, (argument, kind) in enumerate(pairs):
            simple = kind.split(" |")[0]
            bad = STRANGE + OF_TYPE.get(kind, OF_TYPE.get(simple, []))
            bad += HUGE if "int" in kind.split(" | ") else []
            for value in bad:
                if value == b"\0" and ("bytes" in kind or simple.startswith("list[")):
                    continue
                if value is None and "None" in kind:
                    continue
                if name.startswith(("_convertAITriggerMode", "_checkAONumOfValues")) and isinstance(
                    value, int
                ):
                    continue  # any number has a mask, and an answer
                if argument in READ_COUNTS and "ead" in name and value in HUGE and value > 0:
                    continue  # as many as there are
                if name.startswith("DO_writePins") and argument == "value" and value in HUGE:
                    continue  # below 0 is 0, above 1 is 1
                if name[:7] in ("DI_open", "DO_open") and cls in FIXED and value in HUGE:
                    continue  # they are open, whatever they are
                args = good(pairs)
                args[index] = value
                with pytest.raises(pyqvx.Error) as error:
                    run(device, name, args)
                    pytest.fail(f"{name}({argument}={value!r}) was accepted")
                assert not type(error.value).__name__.startswith(("Firmware", "Receive", "NetworkConnection"))
        assert device.client_cmd.sent == []
    finally:
        device.close()


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_a_closed_device_refuses_everything(cls):
    device = connected(FakeTransport(default=b"\0\0"), cls)
    # What these arguments are good for is known only from a device that takes them.
    accepted = []
    for name, pairs in operations(cls).items():
        sent = len(device.client_cmd.sent)
        try:
            run(device, name, good(pairs))
        except pyqvx.Error:
            pass
        if len(device.client_cmd.sent) > sent:
            accepted.append((name, good(pairs)))
    assert len(accepted) > 40
    device.close()
    device.client_cmd.sent.clear()
    lost = pyqvx.USBConnectionError if issubclass(cls, pyqvx.USBDevice) else pyqvx.NetworkConnectionLostError
    for name, args in accepted:
        with pytest.raises(lost):
            run(device, name, args)
            pytest.fail(f"{name} did not notice")
    assert device.client_cmd.sent == []
    if issubclass(cls, pyqvx.AIBased):
        assert device.AI_readStreaming(0, 5, 600) == []
    if cls is pyqvx.FeroxA:  # whose converter is always on: nothing is sent
        assert device.AI_open(0) == device.AI_close(0) == 0


REPLIES = [b"", b"\0", b"\0\0", bytes(3), b"\x50\x50", b"\xff" * 5, bytes(2000)]


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
@pytest.mark.parametrize("reply", REPLIES, ids=lambda reply: reply[:2].hex() + f"x{len(reply)}")
def test_short_long_and_strange_replies(cls, reply):
    """Whatever a device answers, an operation returns or raises an error of this library."""
    device = connected(FakeTransport({}, default=reply), cls)
    for name, pairs in operations(cls).items():
        if "readStreaming" in name:
            continue
        try:
            run(device, name, good(pairs))
        except pyqvx.Error as error:
            assert not isinstance(error, pyqvx.ReceivePacketTimeoutError), name
    assert device.recv_cmd_thread.is_alive() and "connected" in repr(device)
    device.close()


def test_too_short_a_reply_is_described():
    device = connected(FakeTransport({pyqvx.READ_AI_ON_DEMAND: b"\0\0\1\2\3"}))
    with pytest.raises(pyqvx.FirmwareOtherError) as error:
        device.AI_readOnDemand(0)
    assert all(number in error.value.msg for number in ("181", "5 bytes", "18"))
    device.close()


def test_wrong_numbers_of_arguments_are_pythons_own_error(fake):
    for call in (
        fake.AI_open,
        lambda: fake.AI_open(0, 3, 4),
        lambda: fake.AI_open(0, wrong=1),
        fake.AI_setMode_async,
    ):
        with pytest.raises(TypeError):
            call()
    assert fake.client_cmd.sent == []


def test_keywords_and_defaults(fake):
    assert fake.AI_setMode(port=0, mode=1, timeout=1) == fake.AI_setMode(0, mode=True) == 0
    assert asyncio.run(fake_main(fake)) == 0
    assert fake.client_cmd.sent == [(178, b"\0\1")] * 3


async def fake_main(fake):
    return await fake.AI_setMode_async(mode=1, port=0)


def test_pythons_rule_of_what_an_int_is(fake):
    numpy = pytest.importorskip("numpy")
    for value in (1.0, numpy.int64(1), numpy.float64(1)):
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            fake.AI_setMode(0, value)
    assert fake.AI_setMode(False, True) == 0
    assert fake.client_cmd.sent == [(178, b"\0\1")]


@pytest.mark.parametrize("make", [pyqvx.TCPClient, pyqvx.UDPClient, pyqvx.UARTClient])
def test_clients_check_sizes_and_times_before_they_read(make):
    client = make()
    for read in (client.recvPacket, client.recvAndSplitPacket):
        for size in ("64", 64.0, None, [64]):
            with pytest.raises(pyqvx.InputTypeNotCorrectError):
                read(size)
        for size in (-1, 2**24 + 1, 2**40, 2**80):
            with pytest.raises(pyqvx.InputDataNotInRangeError):
                read(size)
    for seconds in ("1", b"1", [1]):
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            client.setTimeout(seconds)
    for seconds in (-1, float("nan")):
        with pytest.raises(pyqvx.InputDataNotInRangeError):
            client.setTimeout(seconds)
