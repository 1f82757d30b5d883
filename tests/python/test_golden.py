"""Golden bytes of every operation of every product, in both forms."""

import inspect
from dataclasses import replace

import pytest
from fakes import FakeTransport, connect_to, connected
from golden import ROWS, i2c_spi, serial_can
from golden.row import products

import pyqvx

# What handles have is no operation of a module.
HANDLES = (pyqvx.NetworkDevice, pyqvx.WifiDevice, pyqvx.USBDevice, pyqvx.UARTDevice)
NO_OPERATION = {name for handle in HANDLES for name in dir(handle)}


def operations(cls):
    """The names of what a model offers in both forms."""
    names = {name.removesuffix("_async") for name in dir(cls) if name.endswith("_async")}
    return {name for name in names - NO_OPERATION if hasattr(cls, name)}


def rows_of(cls):
    """A row without models is for all that have its operation."""
    offered = operations(cls)
    return [row for row in ROWS if row.name in offered and (row.models is None or cls.__name__ in row.models)]


def plain(result):
    return result.tolist() if hasattr(result, "tolist") else result


def received(code, payload):
    """A reply as the splitter cuts it: codes up to 48 have two bytes."""
    return (code, payload) if code > 48 else (code << 8 | payload[0], payload[1:])


def check(device, row, call=lambda device, name, *args: getattr(device, name)(*args)):
    transport = device.client_cmd
    transport.sent.clear()
    replies = {(code, bytes.fromhex(sent)): reply for code, sent, reply in row.exchanges}

    def answer(code):
        def file_reply(payload):
            reply = replies.get((code, payload))
            if reply is not None:
                device._putToDataPool(*received(code, bytes.fromhex(reply)))

        return file_reply

    transport.answers = {code: answer(code) for code, _ in replies}
    try:
        result = call(device, row.name, *row.args)
    except pyqvx.Error as error:
        result = type(error)
    assert transport.sent == [(code, bytes.fromhex(sent)) for code, sent, _ in row.exchanges], str(row)
    # As text: 0 is not False, and 1 is not 1.0.
    assert repr(plain(result)) == repr(row.result), str(row)


@pytest.mark.parametrize("cls", products(), ids=lambda cls: cls.__name__)
def test_operations_send_and_give_what_they_should(cls, call):
    device = connected(FakeTransport({}), cls)
    device.resend = False
    try:
        for row in rows_of(cls):
            check(device, row, call)
    finally:
        device.client_cmd.pool = None
        device.close()


# Replies that tell nothing of how it went.
NO_STATUS = {
    *("Sys_getDriverInfo", "_getDriverInfo_dev", "Sys_getDeviceAlias"),
    *("Sys_getSerialNumber", "_getThreads", "_Sys_getRTCAlarmState"),
}


@pytest.mark.parametrize("cls", products(), ids=lambda cls: cls.__name__)
def test_every_status_is_looked_at(bench, cls):
    """Of a device that fails at everything, and of one whose replies hold nothing."""
    place = bench(model=cls.__name__, status=52)
    rows = [row for row in rows_of(cls) if row.exchanges and None not in [e[2] for e in row.exchanges]]
    names = {row.name: row for row in rows if row.name not in NO_STATUS}
    with cls(verbose=False) as device:
        connect_to(device, place)
        for name, row in names.items():
            with pytest.raises(pyqvx.FirmwareAIError):
                pytest.fail(f"{name}: {getattr(device, name)(*row.args)}")
    short = connected(FakeTransport({}, default=b""), cls)
    for name, row in names.items():
        with pytest.raises(pyqvx.FirmwareOtherError, match="bytes"):
            pytest.fail(f"{name}: {getattr(short, name)(*row.args)}")
    short.client_cmd.pool = None
    short.close()


def test_buses_raise_what_the_device_refuses():
    """Every one of their replies is [port, status, ...]."""
    device = connected(FakeTransport({}), pyqvx.CordlogF1CD)
    device.resend = False
    for row in i2c_spi.ROWS + serial_can.ROWS:
        check(device, row)
        answered = [exchange for exchange in row.exchanges if exchange[2] is not None]
        if answered and answered[-1][0] != pyqvx.GET_PIN_MODE_OF_SLOT:
            code, sent, reply = answered.pop()
            exchanges = (*answered, (code, sent, reply[:2] + "39"))
            check(device, replace(row, exchanges=exchanges, result=pyqvx.FirmwareCANError))
    device.client_cmd.pool = None
    device.close()


@pytest.mark.parametrize("cls", products(), ids=lambda cls: cls.__name__)
def test_every_operation_has_a_golden_row(cls):
    offered = operations(cls)
    assert len(offered) > 30
    assert offered - {row.name for row in rows_of(cls)} == set()


@pytest.mark.parametrize("cls", products(), ids=lambda cls: cls.__name__)
def test_docstrings_name_the_class_for_a_port_that_is_not_there(cls):
    for name in operations(cls):
        family = name.lstrip("_")[:2]
        doc = inspect.getdoc(getattr(cls, name))
        if name.startswith(("AI_", "_AI_", "AO_", "_AO_", "DI_", "DO_")) and "(port: int" in doc:
            if name != "AI_readStreamingArray":  # as AI_readStreaming
                assert f"{family}PortNotAvaliableError" in doc, name


def test_every_row_is_of_some_product():
    used = [row for cls in products() for row in rows_of(cls)]
    assert [str(row) for row in ROWS if row not in used] == []
    for row in ROWS:
        assert row.models is None or row.models <= {cls.__name__ for cls in products()}, str(row)
