"""What errors say, and what is printed and logged."""

import asyncio
import logging
import socket
import warnings

import pytest
from fakes import connect_to, eventually

import pyqvx


def test_errors_of_the_device_name_the_operation_and_the_usual_cause(bench):
    place = bench(model="CordlogF1AD")
    with pyqvx.CordlogF1AD(verbose=False) as device:
        connect_to(device, place)
        for form in (device.AI_readOnDemand, lambda port: asyncio.run(device.AI_readOnDemand_async(port))):
            with pytest.raises(pyqvx.FirmwareAIError) as caught:
                form(0)
            assert str(caught.value) == (
                "Error -7017: The AI error in the firmware. (AI_readOnDemand, port 0: is it open? AI_open)"
            )
            assert caught.value.code == -7017
        with pytest.raises(pyqvx.FirmwareEnableError, match=r"\(SPI_read, port 1: is it open\? SPI_open\)"):
            device.SPI_read(1, 4)


def test_a_timeout_names_the_operation_and_the_seconds():
    with socket.create_server(("127.0.0.1", 0)) as silent, pyqvx.FeroxA(verbose=False) as device:
        device.connect(*silent.getsockname())
        with pytest.raises(pyqvx.ReceivePacketTimeoutError) as caught:
            device.Sys_getRTC(timeout=0.05)
        assert str(caught.value).endswith("(Sys_getRTC: no reply within 0.05 s)")


@pytest.mark.parametrize("verbose", [True, False])
def test_what_is_printed_is_logged_too(bench, capsys, caplog, verbose):
    """Where the application has set up a handler; without one, logging would write to standard error."""
    caplog.set_level(logging.INFO)
    place = bench()
    with pyqvx.FeroxA(verbose=verbose) as device:
        device.connect(place.ip, place.port)
        place.stop()
        assert eventually(lambda: "NetworkConnectionLostError" in caplog.text)
    printed = capsys.readouterr()
    assert printed.err == ""
    lines = printed.out.split("\n")[:-1]
    logged = [(record.name, record.levelno) for record in caplog.records]
    assert ("pyqvx", logging.ERROR) in logged
    if verbose:
        assert lines == [record.getMessage() for record in caplog.records if record.name == "pyqvx"]
    else:
        assert lines == [] and len(logged) == 1


def test_without_a_handler_nothing_is_logged(capfd, monkeypatch):
    monkeypatch.setattr(logging.getLogger(), "handlers", [])
    with warnings.catch_warnings(), pyqvx.FeroxA() as device:
        warnings.simplefilter("ignore")
        with socket.create_server(("127.0.0.1", 0)) as server:
            device.connect(*server.getsockname())
            server.accept()[0].close()
        assert eventually(lambda: device.connection_lost)
        device.disconnect()
    assert capfd.readouterr().err == ""
