"""Programs that use a device, in processes of their own: how they end, are interrupted and fork."""

import signal
import time
from pathlib import Path

import pytest
from fakes import PATIENCE_S, forks, run_script, start_script

START = """
import asyncio, gc, logging, os, signal, socket, sys, threading, time, types
import pyqvx
from qvx_virtual import VirtualDevice
"""
# A server that takes no more connections: who connects waits.
FULL = """
full = socket.create_server(("127.0.0.1", 0), backlog=0)
knocks = [socket.socket() for _ in range(4)]
for knock in knocks:
    knock.setblocking(False)
    knock.connect_ex(full.getsockname())
"""


def test_the_interpreter_ends_with_devices_open():
    output = run_script(
        START
        + """
with VirtualDevice() as bench:
    devices = [pyqvx.FeroxA() for _ in range(3)]
    for device in devices[:2]:
        device.connect(bench.ip, bench.port)
    devices[0].AI_open(0)
    devices[0].AI_setMode(0, 2)
    devices[0].AI_setSamplingRate(0, 20000)
    devices[0].AI_openStreaming(0)
    devices[0].AI_startStreaming(0)
    def forever(call):
        while True:
            call()
    for call in (
        lambda: devices[0].AI_readStreaming(0, 100, 1),
        lambda: devices[1].AI_readStreaming(0, 10**6, 600),
        lambda: devices[1]._getReplyFromPool(6, 0),
        pyqvx.RawQueue().get,
    ):
        threading.Thread(target=forever, args=(call,), daemon=True).start()
    left = devices[0].Sys_getSerialNumber_async()
    loop = asyncio.new_event_loop()
    task = loop.create_task(devices[1]._getReplyFromPool_async(5))
    loop.run_until_complete(asyncio.sleep(0.05))
    print("end")
    sys.exit(0)
"""
    )
    assert output.count("Closed handle (Ferox-A)") == 3, output


@pytest.mark.parametrize(
    "way",
    [
        "device.on_connection_lost = forever; peer.close()",
        "logging.getLogger('pyqvx').addFilter(forever); logging.basicConfig(); peer.close()",
        "device.client_cmd = types.SimpleNamespace(recvAndSplitPacket=forever, disconnect=lambda: None)",
        "daemon(lambda: device._sendPacketWithoutReply(200, [Index()]))",
    ],
)
def test_the_interpreter_ends_while_python_runs_for_the_driver(way):
    """On threads of the driver's, or in the middle of its C++ on one of the program's."""
    run_script(
        START
        + f"""
running = threading.Event()
def forever(*_):
    running.set()
    while True:
        time.sleep(0.001)
class Index:
    __index__ = forever
def daemon(call):
    threading.Thread(target=call, daemon=True).start()
server = socket.create_server(("127.0.0.1", 0))
device = pyqvx.NetworkDevice(verbose=False)
device.connect(*server.getsockname())
peer, _ = server.accept()
{way}
assert running.wait(10)
sys.exit(0)
"""
    )


@pytest.mark.parametrize(
    "call",
    [
        "device.Sys_getSerialNumber(timeout=600)",
        "device._getReplyFromPool(5, 0)",
        "device.AI_readStreaming(0, 10, 600)",
        "device._getStreamingFromPool(device.data_pool_strm[49, 0], 10, 600)",
        "device._getStreamingFromPool(types.SimpleNamespace(qsize=[].__len__, get_nowait=[].pop), 1, 0)",
        "device.data_pool_strm[49, 0].get()",
        "device.recv_cmd_thread.join()",
        "device.ai_lock.acquire()",
        "asyncio.run(device.Sys_getSerialNumber_async(timeout=600))",
        "other.connect(*full.getsockname())",
        "asyncio.run(other.connect_async(*full.getsockname()))",
        "flood()",
    ],
)
def test_ctrl_c_ends_what_waits(call):
    script = (
        START
        + FULL
        + f"""
deaf = socket.create_server(("127.0.0.1", 0))
def flood():
    other.connect(*deaf.getsockname())
    while True:
        other._sendPacketWithoutReply(200, [7] * 60000)
with (
    VirtualDevice(silent=True) as bench,
    pyqvx.FeroxA(verbose=False) as device,
    pyqvx.NetworkDevice(verbose=False) as other,
):
    device.connect(bench.ip, bench.port)
    print("waiting")
    try:
        {call}
    except KeyboardInterrupt:
        print("interrupted")
"""
    )
    with start_script(script) as process:
        assert process.stdout.readline() == "waiting\n"
        time.sleep(0.3)  # into the call; earlier would be just as well
        begin = time.monotonic()
        process.send_signal(signal.SIGINT)
        # Of a send of which a part is out, the lost connection may be reported first.
        printed = []
        while "interrupted\n" not in printed:
            printed.append(process.stdout.readline())
            assert printed[-1], "".join(printed)
        assert time.monotonic() - begin < 4  # of the 5 s that a connect or a send may take
        process.communicate(timeout=PATIENCE_S)
    assert process.returncode == 0


def test_a_signal_handler_may_close_a_device_that_connects():
    output = run_script(
        START
        + FULL
        + """
device = pyqvx.FeroxA(verbose=False)
signal.signal(signal.SIGUSR1, lambda *_: device.close())
threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGUSR1)).start()
begin = time.monotonic()
try:
    device.connect(*full.getsockname())
except pyqvx.NetworkConnectionError:
    print("ended", time.monotonic() - begin < 4.5, repr(device))
"""
    )
    assert output == "ended True <FeroxA (Ferox-A) closed>\n"


@forks
def test_a_forked_child_leaves_the_parents_connection_alone():
    output = run_script(
        START
        + """
with VirtualDevice() as bench:
    device = pyqvx.FeroxA(verbose=False)
    device.connect(bench.ip, bench.port)
    for end in ("exit", "close", "collect", "os._exit"):
        child = os.fork()
        if child == 0:
            assert not device.recv_cmd_thread.is_alive()
            if end == "close":
                device.close()
            elif end == "collect":
                del device
                gc.collect()
            elif end == "os._exit":
                os._exit(0)
            bench._process = None
            sys.exit(0)
        assert os.waitpid(child, 0)[1] == 0, end
        print(end, len(device.Sys_getSerialNumber()))
    device.close()
"""
    )
    assert output == "exit 8\nclose 8\ncollect 8\nos._exit 8\n"


@forks
def test_a_child_forked_in_the_middle_of_reads_and_requests_does_not_hang():
    run_script(
        START
        + """
with VirtualDevice(stream_as_fast_as_possible=True) as bench, pyqvx.FeroxA(verbose=False) as device:
    device.connect(bench.ip, bench.port)
    device.AI_open(0)
    device.AI_setMode(0, 2)
    device.AI_startStreaming(0)
    done = threading.Event()

    def ask():
        while not done.is_set():
            device.Sys_getSerialNumber()

    asking = [threading.Thread(target=ask) for _ in range(4)]
    for thread in asking:
        thread.start()
    for _ in range(200):
        child = os.fork()
        if child == 0:
            signal.alarm(10)
            try:
                device._getReplyFromPool(1, 0.01)
            except pyqvx.NetworkConnectionLostError:
                device.disconnect()
            os._exit(0)
        assert os.waitpid(child, 0)[1] == 0, "hung"
        device.AI_readStreaming(0, -1, 0)
    done.set()
    for thread in asking:
        thread.join()
    device.AI_closeStreaming(0)
"""
    )


# A transport written in Python whose read comes back when `seconds` have passed, and not before.
DEAF = """
sys.path.insert(0, {folder!r})
from fakes import FakeTransport
reading = threading.Event()
class Deaf(FakeTransport):
    seconds = 8
    act = None
    def recvAndSplitPacket(self, size):
        reading.set()
        if self.act:
            self.act()
        else:
            time.sleep(self.seconds)
        return []
device = pyqvx.FeroxA(verbose=False)
device.client_cmd = transport = Deaf()
def took(call):
    begin = time.monotonic()
    call()
    return time.monotonic() - begin
def close_with_main():
    closing.wait(5)
    time.sleep(0.1)  # into the other close()
    device.close()
closing = threading.Event()
def close():
    closing.set()
    device.close()
"""


@pytest.mark.parametrize(
    "body",
    [
        pytest.param(
            """
transport.act = close_with_main
device.connect("192.0.2.1")
reading.wait()
assert took(close) < 3
""",
            id="a transport closes too",
        ),
        pytest.param(
            """
class Hook:
    def write(self, text):
        if "Error" in text:
            reading.set()
            close_with_main()
    def flush(self):
        pass
def fail():
    raise pyqvx.NetworkConnectionLostError()
transport.act = fail
sys.stdout = Hook()
device.connect("192.0.2.1")
reading.wait()
assert took(close) < 3
""",
            id="a print hook closes too",
        ),
        pytest.param(
            """
device.connect("192.0.2.1")
reading.wait()
assert took(device.close) < 2
os._exit(0)  # not before 8 s otherwise
""",
            id="a read takes its time",
        ),
        pytest.param(
            """
device.connect("192.0.2.1")
reading.wait()
threading.Timer(0.2, os.kill, (os.getpid(), signal.SIGINT)).start()
begin = time.monotonic()
try:
    device.close()
    print("closed")
except KeyboardInterrupt:
    assert time.monotonic() - begin < 0.7, time.monotonic() - begin
    os._exit(0)
""",
            id="a read takes its time, and Ctrl-C is pressed",
        ),
        pytest.param(
            """
device.close()
device = pyqvx.BroadcastDevice(verbose=False)
device.connect()
time.sleep(0.1)  # into the read
device.client_udp = FakeTransport()
assert took(device.close) < 3
""",
            id="a broadcast transport was replaced",
        ),
        pytest.param(
            """
device.connect("192.0.2.1")
reading.wait()
closer = threading.Thread(target=device.close)
closer.start()
for _ in range(12):
    time.sleep(0.05)
    child = os.fork()
    if child == 0:
        signal.alarm(10)
        device.close()
        sys.exit(0)
    assert os.waitpid(child, 0)[1] == 0, "hung"
os._exit(0)
""",
            id="children are forked meanwhile",
            marks=forks,
        ),
    ],
)
def test_close_waits_for_nobody_who_does_not_come_back(body):
    run_script(START + DEAF.format(folder=str(Path(__file__).parent)) + body)


def test_sub_interpreters_are_refused():
    """Before and after the main interpreter's import, of which a second one gives the same module."""
    output = run_script(
        """
import _xxsubinterpreters as interpreters

def attempt():
    try:
        interpreters.run_string(interpreters.create(), "import pyqvx")
    except interpreters.RunFailedError as error:
        print(error)

attempt()
import pyqvx
attempt()
first = sys.modules.pop("pyqvx")
import pyqvx
print(pyqvx is first)
"""
    )
    refused = "<class 'ImportError'>: pyqvx works in the main interpreter only, not in a sub-interpreter\n"
    assert output == 2 * refused + "True\n"
