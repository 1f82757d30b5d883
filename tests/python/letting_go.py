"""A program whose threads let go of devices, queues, coroutines and transports in every state, while others
collect garbage and while what is printed, warned of and finalized runs Python: letting_go.py SECONDS

Ends with the number of rounds, and badly where an object or a thread of the driver is left over.
"""

from __future__ import annotations

import asyncio
import gc
import logging
import os
import random
import socket
import sys
import threading
import time
import warnings
import weakref

from fakes import PATIENCE_S, eventually
from qvx_virtual import VirtualDevice

import pyqvx

THREADS = 2 if os.environ.get("QVX_SANITIZER") == "tsan" else 1  # which has one of its own
END = time.monotonic() + float(sys.argv[1])


class Output:
    """Standard output as a notebook has it; sometimes it fails."""

    def write(self, text):
        self.last = [{"text": text}]
        if random.random() < 0.02:
            raise OSError(text)

    def flush(self):
        pass


class Transport:
    """Knows its device."""

    def __init__(self, device):
        self.device = device

    def connect(self, address, port):
        return True

    def disconnect(self):
        pass

    def sendPacket(self, packet):
        self.last = [packet]

    def recvAndSplitPacket(self, size):
        if time.monotonic() > END:
            raise pyqvx.NetworkConnectionLostError
        time.sleep(0.001)
        return []


class Rig(pyqvx.FeroxA):
    """Has a __del__ that calls no other."""

    def __del__(self):
        self.last = [self.__dict__]


class Phoenix(pyqvx.CordlogF1D):
    """Survives its end once."""

    def __del__(self):
        revived.append(self)
        super().__del__()


class Plain(pyqvx.WifiDevice):
    pass


class Queue(pyqvx.RawQueue):
    pass


class Client(pyqvx.TCPClient):
    pass


class Collector:
    """Collects when it goes."""

    def __del__(self):
        gc.collect()


# Devices that live on because somebody has taken hold of them when they ended.
revived: list[object] = []
HANDLES = (pyqvx.NetworkDevice, pyqvx.USBDevice, pyqvx.UARTDevice, pyqvx.BroadcastDevice)
MODELS = (pyqvx.FeroxA, pyqvx.SkylogE3A, pyqvx.CordlogF1AD, *HANDLES, Rig, Phoenix, Plain)


def never_connected():
    return random.choice(MODELS)()


def connected():
    device = random.choice((pyqvx.FeroxA, Rig))()
    device.connect(*bench.address)
    return device


def asked():
    device = connected()
    device.Sys_getSerialNumber(PATIENCE_S)
    return device


def parts_of_a_stream():
    device = connected()
    device.AI_open(0)
    device.AI_setMode(0, 2)
    device.AI_startStreaming(0)
    return [device.ai_signal_queue_list[0], device.data_pool_echo, device.recv_cmd_thread, device.ai_lock]


def lost():
    device = pyqvx.NetworkDevice()
    if random.random() < 0.5:
        device.on_connection_lost = device.close
    with socket.create_server(("127.0.0.1", 0)) as server:
        device.connect(*server.getsockname())
        server.accept()[0].close()
    return device


def transport_that_knows_its_device():
    device = Rig()
    device.client_cmd = Transport(device)
    device.connect("127.0.0.1")
    return device


def closed_twice_at_once():
    device = never_connected()
    thread = threading.Thread(target=device.close)
    thread.start()
    device.close()
    thread.join()
    return device


def cycle():
    device = never_connected()
    device.itself = [device]
    return device


def observed():
    device = never_connected()
    device.last = Collector()
    return [weakref.ref(device, lambda _: gc.collect()), device]


def coroutines():
    device = connected()
    loop = asyncio.new_event_loop()
    tasks = [loop.create_task(device._getReplyFromPool_async(5)) for _ in range(3)]
    fresh = [device.Sys_getSerialNumber_async() for _ in range(2)]
    loop.run_until_complete(asyncio.sleep(0))  # the tasks wait now
    tasks[0].cancel()
    loop.run_until_complete(asyncio.sleep(0))
    fresh[0].close()
    if random.random() < 0.5:
        tasks[1].cancel()
        tasks[2].cancel()
        loop.run_until_complete(asyncio.wait(tasks))
        loop.close()
        return device
    loop.close()
    return fresh


def without_a_device():
    return [Queue(), Client(), pyqvx.TCPClient(), pyqvx.CANFrame(1, [2])]


def forked():
    device = connected()
    child = os.fork()
    if child == 0:
        del device
        gc.collect()
        os._exit(0)
    assert os.waitpid(child, 0)[1] == 0
    return device


SCENES = [
    never_connected,
    connected,
    asked,
    parts_of_a_stream,
    lost,
    transport_that_knows_its_device,
    closed_twice_at_once,
    cycle,
    observed,
    coroutines,
    without_a_device,
]
if os.environ.get("QVX_SANITIZER") != "asan":  # which does not survive a fork
    SCENES.append(forked)
rounds = {scene.__name__: 0 for scene in SCENES}


def let_go():
    while time.monotonic() < END:
        scene = random.choice(SCENES)
        try:
            held = scene()
            if random.random() < 0.3 and hasattr(held, "close"):
                held.close()
        except OSError:  # of the output
            pass
        held = None
        rounds[scene.__name__] += 1
        revived.clear()


def collect():
    while time.monotonic() < END:
        kept = [[n] for n in range(100)]
        kept.append(gc.collect(random.randrange(3)))


def nothing_is_left():
    revived.clear()
    gc.collect()
    devices = sum(isinstance(thing, pyqvx.Device) for thing in gc.get_objects())
    return devices == 0 and len(os.listdir("/proc/self/task")) == THREADS


gc.set_threshold(1)
logging.disable()
# Each warning of an unclosed device becomes an exception that nobody catches but the hook, which keeps the
# device.
warnings.simplefilter("ignore")
warnings.simplefilter("error", ResourceWarning)
sys.unraisablehook = lambda unraisable: revived.append(unraisable.object)
threading.excepthook = lambda _: None  # of the output

with VirtualDevice(source="ramp") as bench:
    printed, sys.stdout = sys.stdout, Output()  # type: ignore[assignment]
    threads = [threading.Thread(target=call) for call in 4 * [let_go] + 2 * [collect]]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert eventually(nothing_is_left)
    sys.stdout = printed
print(f"{min(rounds.values())} rounds of each")
