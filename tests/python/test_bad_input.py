"""Every operation of every model, found by its own signature, refuses what it cannot take: a wrong type, a
value just outside, an unknown port, a closed device. Each with its published error, in both forms, and with
nothing sent."""

import asyncio
import functools
import inspect
import itertools
import math
import re

import pytest
from fakes import FakeTransport, connected, models
from test_golden import NO_OPERATION, plain, rows_of

import pyqvx

TYPE = pyqvx.InputTypeNotCorrectError
RANGE = pyqvx.InputDataNotInRangeError
NUMBERS_DIFFER = pyqvx.PinsValueNotDefineError

NAN, INF = float("nan"), float("inf")
# What is of no argument's type, then of the wrong type for each kind of argument.
STRANGE = [None, object(), {}, 1j, {1}, print]
INT = [*STRANGE, "1", 1.0, NAN, [1], b"\0", "\ud800"]
NUMBER = [*STRANGE, "1", [1.0], b"\0"]
TEXT = [*STRANGE, 1, 1.0, ["a"], b"a", "\ud800"]
INTS = [*STRANGE, "1", 1, 1.0, ["a"], [1.0], [None], [[1]]]
REALS = [*STRANGE, "1", b"1", 1, 1.0, ["a"], [None], [[1.0]]]
TEXTS = [*STRANGE, "Idle", 1, [1], [None], ["\ud800"]]
INT_OR_INTS = [*STRANGE, "1", b"1", bytearray(1), 1.0, ["a"], [1.0], [None], [[1]]]
TEXT_OR_BYTES = [*STRANGE, 1, 1.0, "\ud800", ["ab"], ["\ud800"], [1.0], [None], [[1]]]

HUGE = [2**63, 10**400]
NEGATIVE_HUGE = [-(2**63) - 1, -(10**400)]


def beyond(low, high):
    """Just outside a range of ints on both sides, and where no integer of a machine reaches."""
    return [low - 1, high + 1, *HUGE, *NEGATIVE_HUGE]


def each(values):
    return [[value] for value in values]


SOME_MORE = [-2, *NEGATIVE_HUGE]  # -1 is all that are there, and nobody has too many
NO_BYTES = [[-1], [256], [1, 256], *each(HUGE)]
NO_REALS = [NAN, INF, -INF, 1e39]
NO_PIN = [-1, 16, *HUGE, [], [-1], [0, 16], *each(HUGE)]
NO_STATES = beyond(0, 0xFFFF)
NO_ADDRESS = ["", "1.2.3", "1.2.3.4.5", "192.0.2.256", "192.0.2.01", "224.0.0.1", "0.0.0.1"]
NO_MAC = ["", "02:51:56:00:00", "02:51:56:00:00:1", "01:51:56:00:00:01", "00:00:00:00:00:00"]

# Operations and their arguments, as regular expressions: what is of a wrong type, what is outside, and the
# error for that. An argument may have several rows. Ports and what depends on a model stand below.
RULES = [
    (".*", "timeout", NUMBER, [NAN], RANGE),
    # System
    ("Sys_getPinModeInPort", "port", INT, beyond(0, 255), RANGE),
    (".*", "slot", INT, [0, 3, 5, *HUGE, *NEGATIVE_HUGE], pyqvx.LUMAPortNotAvaliableError),
    ("_Sys_setSlotMode", "mode", INT, beyond(0, 6), RANGE),
    ("Sys_setDeviceAlias", "alias", TEXT, ["\n", "\x7f", "\xe9" * 33, "a" * 65], RANGE),
    ("Sys_setRTC", "year", INT, beyond(1900, 2155), RANGE),
    ("Sys_setRTC", "month", INT, beyond(1, 12), RANGE),
    ("Sys_(setRTC|startRTCAlarm)", "day", INT, beyond(1, 31), RANGE),
    ("Sys_(setRTC|startRTCAlarm)", "hour", INT, beyond(0, 23), RANGE),
    ("Sys_(setRTC|startRTCAlarm)", "minute|second", INT, beyond(0, 59), RANGE),
    ("Sys_startRTCAlarm", "mode", INT, beyond(0, 1), RANGE),
    ("_getDriverInfo_dev", "mode", INT, beyond(0, 255), RANGE),
    ("_[gs]etEEPROM.*", "page_number|device_number|byte_index|value", INT, beyond(0, 255), RANGE),
    ("_setEEPROMPage", "int_list", INTS, [*NO_BYTES, [0] * 65, bytes(70000)], RANGE),
    ("_setSerialNumber", "serial_num", TEXT, ["ABCD123", "ABCD12345", "ABCD123\n", "\xe9" * 4], RANGE),
    # Network and Wi-Fi
    ("Net_setIP|_checkIPAddr", "ip_addr", TEXT, [*NO_ADDRESS, "0.0.0.0"], RANGE),
    ("Net_setIP", "ip_addr", TEXT, ["10.13.0.0", "10.13.255.255"], RANGE),
    (".*", "subnet_mask", TEXT, [*NO_ADDRESS, "254.0.0.0", "255.255.255.254", "255.0.255.0"], RANGE),
    ("Net_setGateway", "gateway", TEXT, NO_ADDRESS, RANGE),
    (".*", "mac_addr", TEXT, NO_MAC, RANGE),
    (".*Wifi.*", "ssid", TEXT, ["", "a" * 33, "\n"], RANGE),
    (".*Wifi.*", "password", TEXT, ["a" * 7, "a" * 64, "\xe9" * 8], RANGE),
    (".*Wifi.*", "security", INT, beyond(0, 2), RANGE),
    ("Wifi_setAP", "enable", INT, beyond(0, 1), RANGE),
    (".*Wifi.*", "bandwidth", INT, [19, 21, 39, 41, *HUGE, *NEGATIVE_HUGE], RANGE),
    # Analog input
    ("AI_setMode|_checkAIMode", "mode", INT, beyond(0, 2), pyqvx.AIModeNotAvaliableError),
    (".*AITriggerMode|AI_setTriggerMode", "mode", INT, beyond(0, 6), pyqvx.AITriggerModeNotAvaliableError),
    ("_convertAITriggerModeToMask", "mode", INT, [], None),  # any number has a mask
    ("AI_enableChannel|_checkAIChannel", "channel", INT, beyond(1, 8), pyqvx.AIChannelNotAvaliableError),
    (".*", "cs|chip_select", [*INTS, b"\1"], [[], *each(beyond(0, 2))], pyqvx.AICSNotAvaliableError),
    ("A[IO]_setNumSamples", "num_samples", INT, beyond(0, 2**32 - 1), RANGE),
    # Reading what has been streamed
    ("AI_readStreaming.*|UART_read|CAN_read", "num_samples|bytes_to_read|num_frames", INT, SOME_MORE, RANGE),
    ("AI_readStreaming.*|UART_read|CAN_read", "delay", NUMBER, [NAN, -1e-9, -INF], RANGE),
    # Analog output
    (".*AO.*", "channel", INT, beyond(0, 7), pyqvx.AOChannelNotAvaliableError),
    (
        "AO_setEnableChannels",
        "channel_list",
        [*INTS, b"\1"],
        each(beyond(0, 7)),
        pyqvx.AOChannelNotAvaliableError,
    ),
    ("AO_setMode|_checkAOMode", "mode", INT, beyond(0, 2), pyqvx.AOModeNotVaildError),
    (".*AO.*", "form", INT, beyond(1, 3), pyqvx.AOFormNotAvaliableError),
    (".*AO.*", "span", INT, beyond(0, 4), pyqvx.AOSpanNotVaildError),
    ("AO_setFormParam", "amplitude|offset|frequency|phase|duty_cycle", NUMBER, NO_REALS, RANGE),
    ("_checkAONumOfValues", "n", INT, [], None),  # answers False
    ("_AO_pushToBuffer", "num_of_val", INT, beyond(2, 2), NUMBERS_DIFFER),
    ("_AO_pushToBuffer", "value_list", REALS, [[0.0], [0.0] * 3], NUMBERS_DIFFER),
    ("AO_writeAllChannels", "value_list", REALS, [[0.0] * 9], NUMBERS_DIFFER),
    # Digital
    (".*", "mask", INT, beyond(0, 0xFFFF), RANGE),
    (".*", "enabled|direction|state", INT_OR_INTS, NO_STATES, RANGE),
    (".*", "enabled|direction|state", INT_OR_INTS, [[], [0] * 7, [0] * 9], NUMBERS_DIFFER),
    ("DO_writePort", "value", INT_OR_INTS, NO_STATES, RANGE),
    ("DO_writePort", "value", INT_OR_INTS, [[], [0] * 9], NUMBERS_DIFFER),
    ("DO_writePins", "value", INT_OR_INTS, [[], [0] * 9], NUMBERS_DIFFER),
    ("DO_write.*", "value", INT_OR_INTS, [[0, "a"], [0, 1.0], [0, True]], pyqvx.InputTypeNotConsistentError),
    (".*", "pin", INT_OR_INTS, NO_PIN, pyqvx.PinsNotExistError),
    # Serial ports
    (".*UART.*", "baud_rate|rate", INT, beyond(0, 400000), pyqvx.UARTBaudRateNotSupportError),
    (".*UART.*DataBit", "mode", INT, beyond(0, 1), pyqvx.UARTDataBitNotSupportError),
    (".*UART.*Parity.*", "mode", INT, beyond(0, 3), pyqvx.UARTParityNotSupportError),
    (".*UART.*NumStopBit.*", "mode", INT, beyond(0, 3), pyqvx.UARTStopBitNotSupportError),
    ("UART_write", "write_data", TEXT_OR_BYTES, [[-1], [256], "\u0100", ["\u0100"]], RANGE),
    ("UART_write", "write_data", [], ["a" * 51, [0] * 51, bytes(51)], pyqvx.UARTExceedMaxLengthError),
    ("_checkUARTDataLength", "data", [*STRANGE, 1], ["a" * 51, [0] * 51], pyqvx.UARTExceedMaxLengthError),
    # SPI and I2C
    (".*SPI.*DataSize", "mode", INT, beyond(0, 1), pyqvx.SPIDataSizeNotVaildError),
    (".*SPI.*FirstBit", "mode", INT, beyond(0, 1), pyqvx.SPIFirstBitNotVaildError),
    ("_SPI_setC.*", "polarity|phase", INT, beyond(0, 1), pyqvx.SPIModeNotVaildError),
    (".*SPI.*Mode", "mode", INT, beyond(0, 3), pyqvx.SPIModeNotVaildError),
    (".*SPI.*", "prescaler", INT, [3, 255, *beyond(2, 256)], pyqvx.SPIPrescalerNotVaildError),
    ("(SPI|I2C)_.*", "write_data", INTS, NO_BYTES, RANGE),
    ("(SPI|I2C)_read", "bytes_to_read", INT, beyond(0, 255), RANGE),
    (".*I2C.*Clock.*", "mode", INT, beyond(0, 3), pyqvx.I2CClockNotSupportError),
    (".*I2C.*AddressSize", "mode", INT, beyond(0, 1), pyqvx.I2CAddressSizeNotVaildError),
    ("I2C_.*", "(read|write)_address", INT, beyond(0, 127), RANGE),
    ("_check(SPI|I2C)PinState", "allow_state", TEXTS, [], None),
    # CAN
    (".*CAN.*", "speed_mode|speed", INT, beyond(0, 3), pyqvx.CANSpeedNotVaildError),
    ("CAN_.*", "id_", INT, beyond(0, 0x7FF), RANGE),
    (".*CAN.*", "data", INTS, NO_BYTES, RANGE),
    (".*CAN.*", "data", INTS, [[0] * 9, bytes(9)], pyqvx.CANDataLengthNotVaildError),
    ("CAN_.*", "remote|extended_id|on_off", INT, beyond(0, 1), RANGE),
    ("CAN_setRXFilterOrMask", "index", INT, beyond(0, 7), RANGE),
    ("_CAN_setRXRollover", "status", INT, beyond(0, 1), RANGE),
    ("_CAN_setEnableInterrupt", "status", INT, beyond(0, 255), RANGE),
    ("_CAN_setTXPriority|_checkCANTXIndex", "tx_mode|index", INT, beyond(0, 2), pyqvx.CANTXNotVaildError),
    (".*CANTXPriority|_CAN_setTXPriority", "priority", INT, beyond(0, 3), pyqvx.CANTXPriorityNotVaildError),
]

# The attribute with the ports of a module's operations, and the error for every other port.
PORTS = [
    ("(AI_|_AI_|_checkAI|_ckeckAI).*", ["ai_dict"], pyqvx.AIPortNotAvaliableError),
    ("(AO_|_AO_|_checkAO).*", ["ao_dict"], pyqvx.AOPortNotAvaliableError),
    ("DI_.*|_checkDIPort.*|_DIO_setPortDI", ["di_dict"], pyqvx.DIPortNotAvaliableError),
    ("DO_.*|_checkDOPort.*|_DIO_setPortDO", ["do_dict"], pyqvx.DOPortNotAvaliableError),
    (
        "DIO_.*|_DIO_(saveStartup|setPortIdle)|_closeDIO.*|_[gs]etDIO.*|_toggleDIO.*"
        "|_readAndGetDI|_setAndWriteDO|_toggleAndWriteDO|_readDI|_writeDO",
        ["di_dict", "do_dict"],
        pyqvx.DIPortNotAvaliableError,
    ),
    (".*UART.*", ["uart_dict"], pyqvx.UARTPortNotAvaliableError),
    (".*SPI.*", ["SPI_dict"], pyqvx.SPIPortNotAvaliableError),
    (".*I2C.*", ["I2C_dict"], pyqvx.I2CPortNotAvaliableError),
    (".*CAN.*", ["can_dict"], pyqvx.CANPortNotAvaliableError),
]

# The highest rate of each model, in Hz.
RATES = {
    **dict.fromkeys(["FeroxA", "SkylogF4A"], 20000),
    **dict.fromkeys(["FeroxA2", "SkylogE3A", "SkylogE3AH", "SkylogE3AOD"], 10000),
    **dict.fromkeys(["CordlogF1AD", "CordlogF1AOD"], 2000),  # with all eight channels
}

# Of the checks, which have no golden row: what they take.
TAKEN = {
    **{"channel": 1, "cs": [0], "rate": 1000, "mode": 0, "form": 1, "span": 0, "n": 1, "pin": 0},
    **{"slot": 1, "prescaler": 2, "speed": 0, "index": 0, "priority": 0, "data": [1], "security": 1},
    **{"ssid": "a", "password": "password", "bandwidth": 20, "ip_addr": "192.0.2.1"},
    **{"subnet_mask": "255.255.255.0", "mac_addr": "02:51:56:00:00:01"},
}

ALWAYS_ON = {"FeroxA", "FeroxA2", "FeroxI", "FeroxIA"}
FIXED = {"FeroxD", "SkylogE3AOD", "CordlogF1DSNK"}
OPENS_FIXED = "D[IO]_open(Pins|Port)"
# What sends nothing has nothing to miss when the device is closed, and gives what it always gives.
SENDS_NOTHING = {
    "AI_(open|close)": ALWAYS_ON,
    "AO_(open|close)": {"FeroxO"},
    OPENS_FIXED: FIXED,
    "_AO_getPinMapPort|Sys_getPythonVersion": None,
    "AI_readStreaming(Array)?|UART_read|CAN_read": None,  # what has arrived can still be read
}


@functools.cache
def parameters(cls, name):
    return [p for p in inspect.signature(getattr(cls, name)).parameters if p != "self"]


def operations(cls):
    """Every method with arguments that a model has from its modules; not the coroutines of the same name."""
    names = [n for n in dir(cls) if not n.startswith("__") and n not in NO_OPERATION]
    names = [n for n in names if callable(getattr(cls, n)) and not n.endswith("_async")]
    return [n for n in names if parameters(cls, n)]


def sends_nothing(cls, name):
    return any(
        re.fullmatch(pattern, name) and (on is None or cls.__name__ in on)
        for pattern, on in SENDS_NOTHING.items()
    )


def ports_of(device, name):
    """The ports of the operation's module, and the error of all others."""
    for pattern, attributes, error in PORTS:
        if re.fullmatch(pattern, name):
            return sorted({port for a in attributes for port in getattr(device, a)}), error
    return None


def valid_calls(device):
    """By operation, arguments that it takes, by name, and what it gives for them: a value or an error."""
    cls = type(device)
    golden = {}
    for row in rows_of(cls):
        golden.setdefault(row.name, row)
    calls = {}
    for name in operations(cls):
        if name in golden:
            calls[name] = dict(zip(parameters(cls, name), golden[name].args)), golden[name].result
        else:
            taken = TAKEN | ({"port": ports_of(device, name)[0][0]} if ports_of(device, name) else {})
            arguments = {p: taken[p] for p in parameters(cls, name)}
            calls[name] = arguments, getattr(device, name)(**arguments)
    return calls


def rules_of(device, name, argument):
    """[(wrong types, values outside, their error)] of an argument."""
    rules = [each[2:] for each in RULES if re.fullmatch(each[0], name) and re.fullmatch(each[1], argument)]
    if argument == "port" and ports_of(device, name):
        known, error = ports_of(device, name)
        others = [p for p in (known[0] - 1, known[-1] + 1, -1, 255, 256) if p not in known]
        rules.append((INT, others + HUGE, error))
    if argument == "pin" and "port" in parameters(type(device), name):
        rules.append((INT_OR_INTS, [8, [0, 8], [8, 0]], pyqvx.PinsNotExistError))  # no port has more than 8
    if argument in ("rate", "sampling_rate") and "AI" in name:
        rules.append((INT, beyond(1, RATES[type(device).__name__]), pyqvx.AIRateNotVaildError))
    if argument in ("rate", "sampling_rate") and "AO" in name:
        rules.append((INT, beyond(1, device.ao_rate), pyqvx.AORateNotVaildError))
    if argument in ("value", "value_list") and "AO" in name:
        volts = [math.nextafter(device.ao_volt_min, -INF), math.nextafter(device.ao_volt_max, INF), NAN, INF]
        rules.append((NUMBER, volts, RANGE) if argument == "value" else (REALS, each(volts), RANGE))
    assert rules, f"{name}({argument}): no rule says what it refuses"
    return rules


def bad_calls(device):
    """[(cell, operation, arguments of which one is bad, how it must end)]"""
    calls = []
    for name, (good, result) in valid_calls(device).items():
        for argument in parameters(type(device), name):
            rules = rules_of(device, name, argument)
            pairs = [(value, TYPE) for value in rules[0][0]]
            # Pins that need no opening: nobody asks which there are.
            asked = argument == "timeout" or not (
                re.fullmatch(OPENS_FIXED, name) and sends_nothing(type(device), name)
            )
            pairs += [(value, error if asked else 0) for _, outside, error in rules for value in outside]
            for value, error in pairs:
                # What a model does not have it refuses whatever the arguments are.
                expected = result if result is pyqvx.APINotSupportError else error
                calls.append((f"{name}({argument}={value!r:.60})", name, good | {argument: value}, expected))
    return calls


def calls_when_closed(device, valid):
    """The same of operations with valid arguments."""
    usb = isinstance(device, pyqvx.USBDevice)
    lost = pyqvx.USBConnectionError if usb else pyqvx.NetworkConnectionLostError
    calls = []
    for name, (good, result) in valid.items():
        if hasattr(device, name + "_async"):
            same = result is pyqvx.APINotSupportError or sends_nothing(type(device), name)
            calls.append((f"{name} when closed", name, good, result if same else lost))
    return calls


def walk(device, calls):
    """What ended otherwise than it must, or sent something, in either form."""
    failures = []
    sent = device.client_cmd.sent

    def check(cell, end, expected):
        if sent or repr(plain(end)) != repr(expected):
            failures.append(f"{cell} gave {end!r:.120}, not {expected!r}, and sent {sent}")
        sent.clear()

    async def walk_coroutines():
        for cell, name, arguments, expected in calls:
            name += "_async"
            if hasattr(device, name) and arguments.keys() <= set(parameters(type(device), name)):
                try:
                    end = await getattr(device, name)(**arguments)
                except Exception as error:
                    end = type(error)
                check(f"await {cell}", end, expected)

    for cell, name, arguments, expected in calls:
        try:
            end = getattr(device, name)(**arguments)
        except Exception as error:
            end = type(error)
        check(cell, end, expected)
    asyncio.run(walk_coroutines())
    return failures


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_bad_arguments_and_closed_devices_are_refused(cls):
    device = connected(FakeTransport(default=b"\0\0"), cls)
    failures = walk(device, bad_calls(device))
    valid = valid_calls(device)
    device.close()
    failures += walk(device, calls_when_closed(device, valid))
    if failures:
        pytest.fail("\n".join([f"{len(failures)} cells:", *failures[:60]]), pytrace=False)


def test_every_rule_is_of_some_operation():
    pairs = {(name, argument) for c in models() for name in operations(c) for argument in parameters(c, name)}
    for operation, arguments, *_ in RULES:
        assert any(re.fullmatch(operation, n) and re.fullmatch(arguments, a) for n, a in pairs), operation
    assert len(pairs) > 400


REPLIES = [b"", b"\0", b"\0\0", bytes(3), b"\x50\x50", b"\xff" * 5, bytes(2000)]


@pytest.mark.parametrize("cls", models(), ids=lambda cls: cls.__name__)
def test_short_long_and_strange_replies(cls):
    """Whatever a device answers, an operation returns or raises an error of this library, at once."""
    device = connected(FakeTransport({}, default=b""), cls)
    for reply in REPLIES:
        device.client_cmd.default = reply
        for name, (arguments, _) in valid_calls(device).items():
            try:
                getattr(device, name)(**arguments)
            except pyqvx.Error as error:
                assert type(error) is not pyqvx.ReceivePacketTimeoutError, f"{name}, answered {reply!r:.20}"
    assert device.recv_cmd_thread.is_alive() and "connected" in repr(device)
    device.close()


def test_signatures(fake):
    for function, signature in (
        (pyqvx.CordlogF1CD.CAN_write, "(self, port, id_, data, remote=False, extended_id=False, timeout=3)"),
        (fake.AI_close_async, "(port)"),
        (pyqvx.CANFrame.fromU8List, "(int_list)"),
        (pyqvx.coerce, "(list_, lower=0, upper=1)"),
    ):
        assert str(inspect.signature(function)) == signature
    assert pyqvx.FeroxA.AI_close.__doc__.startswith("AI_close(port: int, timeout: float = 3) -> int\n\n")


def test_pythons_own_rules_of_calls(fake):
    numpy = pytest.importorskip("numpy")
    takes = "; it takes \\(port, mode, timeout=3\\)$"
    for call, said in (
        (fake.AI_setMode, r"AI_setMode\(\): missing a required argument: 'port'" + takes),
        (lambda: fake.AI_setMode(0, 2, 3, 4), r"AI_setMode\(\): too many positional arguments" + takes),
        (lambda: fake.AI_setMode(0, mod=2), r"AI_setMode\(\): missing a required argument: 'mode'" + takes),
        (lambda: fake.AI_setMode(0, 2, wrong=1), r"AI_setMode\(\): got an unexpected .* 'wrong'" + takes),
        (lambda: fake.AI_open_async(0, port=1), r"AI_open_async\(\): multiple values .* it takes \(port\)$"),
        (lambda: pyqvx.FeroxA(verbos=False), r"FeroxA\(\): .* 'verbos'; it takes \(verbose=True\)$"),
        (
            lambda: pyqvx.CANFrame(1),
            r"CANFrame\(\): missing a required argument: 'data'; it takes \(id, data, ",
        ),
        (lambda: pyqvx.coerce(), r"coerce\(\): .* 'list_'; it takes \(list_, lower=0, upper=1\)$"),
        (
            pyqvx.FeroxA.AI_open,
            r"AI_open\(\): missing a required argument: 'self'; it takes \(port, timeout=3\)",
        ),
        (
            lambda: pyqvx.FeroxA.AI_open(3, 4),
            r"'AI_open' .* 'pyqvx.AIUnion' objects doesn't apply to a 'int' object",
        ),
    ):
        with pytest.raises(TypeError, match=said):
            call()
    for value in (1.0, numpy.float64(1)):
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            fake.AI_setMode(0, value)
    assert fake.client_cmd.sent == []
    assert fake.AI_setMode(port=0, mode=1, timeout=1) == fake.AI_setMode(False, mode=True) == 0
    assert fake.client_cmd.sent == [(178, b"\0\1")] * 2


@pytest.mark.parametrize("make", [pyqvx.TCPClient, pyqvx.UDPClient, pyqvx.UARTClient])
def test_clients_check_sizes_and_times_before_they_read(make):
    client = make()
    for calls, error, values in (
        ((client.recvPacket, client.recvAndSplitPacket), TYPE, ("64", 64.0, None, [64])),
        ((client.recvPacket, client.recvAndSplitPacket), RANGE, (-1, 2**24 + 1, 2**40, 2**80)),
        ((client.setTimeout,), TYPE, ("1", b"1", [1])),
        ((client.setTimeout,), RANGE, (-1, NAN)),
    ):
        for call, value in itertools.product(calls, values):
            with pytest.raises(error):
                call(value)
