"""The life of a device object: connecting, losing the connection, closing, and all that may come between."""

import asyncio
import gc
import os
import pickle
import signal
import socket
import sys
import threading
import time
import warnings

import pytest
from fakes import PATIENCE_S, FakeTransport, eventually

import pyqvx


def test_the_handle_says_what_happens(bench, capsys):
    place = bench()
    device = pyqvx.FeroxA()
    assert device.connect(place.ip, place.port) is True
    device.disconnect()
    device.disconnect()
    device.connect(place.ip, place.port)
    device.close()
    device.close()
    assert capsys.readouterr().out.splitlines() == [
        "Opened handle (Ferox-A)",
        f"Connected to {place.ip} (Ferox-A)",
        f"Disconnected from {place.ip} (Ferox-A)",
        f"Connected to {place.ip} (Ferox-A)",
        f"Disconnected from {place.ip} (Ferox-A)",
        "Closed handle (Ferox-A)",
    ]
    with pyqvx.FeroxA(verbose=False):
        pass
    assert capsys.readouterr().out == ""


def test_context_managers_close(bench):
    place = bench()
    with pytest.raises(ZeroDivisionError):
        with pyqvx.FeroxA(verbose=False) as device:
            device.connect(place.ip, place.port)
            1 / 0
    assert "closed" in repr(device)

    async def main():
        async with pyqvx.FeroxA(verbose=False) as made:
            assert await made.connect_async(place.ip, place.port) is True
            assert await made.Sys_getDriverInfo_async()
        return made

    assert "closed" in repr(asyncio.run(main()))


def test_connections_that_do_not_come_about():
    deaf = socket.socket()  # bound, and nobody else's, but not listening
    deaf.bind(("127.0.0.1", 0))
    refused = deaf.getsockname()
    device = pyqvx.FeroxA(verbose=False)
    for address in [refused, ("not an address", 7), ("", 7), ("1.2.3", 7), ("127.0.0.1\0", 7)]:
        for connect in (device.connect, lambda *to: asyncio.run(device.connect_async(*to))):
            with pytest.raises(pyqvx.NetworkConnectionError):
                connect(*address)
    assert repr(device) == "<FeroxA (Ferox-A) not connected>" and device.recv_cmd_lock.locked()
    for address in [(5, 7), ("127.0.0.1", "7"), ("127.0.0.1", 7.0), (None, 7)]:
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            device.connect(*address)
    for port in (0, -1, 65536, 2**70):
        with pytest.raises(pyqvx.InputDataNotInRangeError):
            device.connect("127.0.0.1", port)
    device.close()
    with pytest.raises(pyqvx.NetworkConnectionError):
        device.connect(*refused)
    deaf.close()


def test_a_lost_connection_costs_no_processor_time():
    with socket.create_server(("127.0.0.1", 0)) as listener, pyqvx.FeroxA(verbose=False) as device:
        device.connect(*listener.getsockname())
        listener.accept()[0].close()
        assert eventually(lambda: "lost connection" in repr(device))

        def idle():
            before = time.process_time()
            time.sleep(0.5)
            return time.process_time() - before < 0.1

        assert eventually(idle)


def test_close_ends_every_wait(silent):
    queue = silent.data_pool_strm[pyqvx.START_CAN, 3]
    ended = []
    calls = [
        lambda: silent.Sys_getSerialNumber(timeout=600),
        lambda: silent._getStreamingFromPool(queue, 10, 0.01),
        lambda: silent.AI_readStreaming(0, 10, 600),
        lambda: silent._getReplyFromPool(5, 0),
        lambda: silent.recv_cmd_thread.join(),
        lambda: silent.ai_stream_thread.join(),
    ]

    def run(call):
        try:
            ended.append(call())
        except pyqvx.Error as error:
            ended.append(type(error))

    threads = [threading.Thread(target=run, args=(call,)) for call in calls]
    for thread in threads:
        thread.start()
    assert eventually(lambda: len(silent.client_cmd.sent) == pyqvx.NUM_RETRIES)
    silent.close()
    for thread in threads:
        thread.join(PATIENCE_S)
    assert len(ended) == len(calls) and pyqvx.NetworkConnectionLostError in ended


def test_a_collected_device_warns_and_closes(bench, capsys):
    place = bench()
    device = pyqvx.FeroxA()
    device.connect(place.ip, place.port)
    with pytest.warns(ResourceWarning, match="unclosed device Ferox-A"):
        del device
        gc.collect()
    assert "Closed handle (Ferox-A)" in capsys.readouterr().out
    device = pyqvx.FeroxA()
    device.close()
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        del device
        gc.collect()


class ClosedOutput:
    def write(self, text):
        raise ValueError("closed output")

    def flush(self):
        pass


def test_a_broken_standard_output_keeps_nothing_open(bench, monkeypatch):
    place = bench()
    device = pyqvx.FeroxA()
    device.connect(place.ip, place.port)
    dropped = pyqvx.FeroxA()
    with monkeypatch.context() as patch:
        patch.setattr(sys, "stdout", ClosedOutput())
        with pytest.raises(ValueError):
            device.close()
        with pytest.raises(ValueError):
            pyqvx.FeroxA()
        with pytest.warns(ResourceWarning):
            patch.setattr(sys, "unraisablehook", lambda unraisable: None)
            del dropped
            gc.collect()
    assert "closed" in repr(device) and not device.recv_cmd_thread.is_alive()
    assert device.client_cmd.socket == 0


def test_a_subclass_keeps_the_products_identity(bench):
    class Rig(pyqvx.FeroxA):
        def __init__(self):
            super().__init__(verbose=False)
            self.own = 5

    place = bench()
    with Rig() as rig:
        rig.connect(place.ip, place.port)
        assert repr(rig).startswith("<Rig (Ferox-A)") and rig._getDeviceName() == "Ferox-A" and rig.own == 5
        assert isinstance(rig, pyqvx.AIModule) and isinstance(rig, pyqvx.AIModule_async)
        assert rig.AI_open(0) == 0 and rig.ai_open_flag
        with pytest.raises(pyqvx.AIRateNotVaildError):
            rig.AI_setSamplingRate(0, 20001)
        with pytest.raises(pyqvx.APINotSupportError):
            rig.AI_enableChannel(0, 1)
        assert rig.AI_setSamplingRate(0, 20000) == 0
        assert len(asyncio.run(rig.AI_readOnDemand_async(0))) == 8


def test_what_is_bound_to_this_process_is_not_pickled(fake):
    for thing in (fake, fake.data_pool_echo, pyqvx.TCPClient()):
        for protocol in range(pickle.HIGHEST_PROTOCOL + 1):
            with pytest.raises(TypeError, match="cannot pickle"):
                pickle.dumps(thing, protocol)
            with pytest.raises(TypeError):
                object.__reduce_ex__(thing, protocol)
        with pytest.raises(TypeError):
            thing.__reduce__()
    base = pyqvx.TCPClient.__mro__[-2]  # of everything that is written in C++
    for cls in (base, type("Derived", (base,), {})):
        for make in (cls, lambda cls=cls: cls.__new__(cls)):
            with pytest.raises(TypeError, match="cannot create"):
                make()


def test_models_and_modules():
    assert len(pyqvx.LABEL_DICT) == 27
    assert issubclass(pyqvx.FeroxA, pyqvx.ETHDevice) and issubclass(pyqvx.ETHDevice, pyqvx.NetworkDevice)
    for module in ("SystemModule", "AIModule"):
        assert issubclass(pyqvx.FeroxA, getattr(pyqvx, module))
        assert issubclass(pyqvx.FeroxA, getattr(pyqvx, module + "_async"))
    with pyqvx.FeroxA(verbose=False) as device:
        assert device.ai_dict == {0: list(range(8))} and device.ai_ratio == 10 / 32768
        assert device.ai_echo_cmd == 181 and device.ai_strm_cmd == 183 and device.ai_num_channels == 8
        assert device.ai_lock.locked() and device.ai_data_queue_list[0] is device.data_pool_strm[183, 0]
        assert device.ai_signal_queue_list[0].maxsize == pyqvx.QUEUE_SIZE_MAX


def test_the_transport_may_be_replaced_under_way(bench):
    place = bench(serial="QVREAL01")
    with pyqvx.FeroxA(verbose=False) as device:
        device.connect(place.ip, place.port)
        native = device.client_cmd
        own = FakeTransport()
        device.client_cmd = own
        assert device.client_cmd is own
        assert device.Sys_getSerialNumber() == "FAKE0001"
        device.client_cmd = native
        assert eventually(lambda: device.Sys_getSerialNumber() == "QVREAL01")
        device.client_cmd = None
        with pytest.raises(pyqvx.NetworkConnectionLostError):
            device.Sys_getSerialNumber()
        device.disconnect()
        with pytest.raises(pyqvx.NetworkConnectionError):
            device.connect(place.ip, place.port)


def test_the_transport_may_be_a_subclass_of_a_client(bench):
    class Counting(pyqvx.TCPClient):
        packets = 0

        def sendPacket(self, packet):
            self.packets += 1
            super().sendPacket(packet)

    place = bench()
    device = pyqvx.FeroxA(verbose=False)
    device.client_cmd = client = Counting()
    device.connect(place.ip, place.port)
    for _ in range(3):
        device.Sys_getSerialNumber()
    assert client.packets >= 3 and client.socket > 0
    device.close()
    assert client.socket == 0


def test_signals_of_the_application_still_arrive(silent):
    """A handler that does not raise interrupts nothing; a blocking call goes on after it."""
    caught = []
    before = signal.signal(signal.SIGUSR1, lambda *_: caught.append(1))
    try:
        timer = threading.Timer(0.05, os.kill, (os.getpid(), signal.SIGUSR1))
        timer.start()
        with pytest.raises(pyqvx.ReceivePacketTimeoutError):
            silent.Sys_getSerialNumber(timeout=0.5)
        timer.join()
        assert caught == [1]
    finally:
        signal.signal(signal.SIGUSR1, before)
