"""The interface of python-can, and python-can's own tools, against virtual devices on one bus."""

import os
import re
import signal
import subprocess
import sys
import threading
import time
import tomllib
import warnings

import pytest
from fakes import PATIENCE_S, ROOT, environment, eventually, start_program

import pyqvx

can = pytest.importorskip("can")

PACKAGE = ROOT / "python-can-qvx"
sys.path.insert(0, str(PACKAGE))

from can_qvx import QvxBus, fit  # noqa: E402


@pytest.fixture
def urls(bench):
    place = bench(model="CordlogF1CD", count=2)
    return [f"tcp://{ip}:{port}" for ip, port in place.addresses]


@pytest.fixture
def pair(urls):
    with QvxBus(urls[0]) as a, QvxBus(urls[1]) as b:
        yield a, b


def message(id_, data=bytes(8), **options):
    return can.Message(arbitration_id=id_, data=data, is_extended_id=id_ > 0x7FF, **options)


def content(msg):
    return msg.arbitration_id, msg.is_extended_id, msg.is_remote_frame, msg.dlc, bytes(msg.data)


def test_messages_arrive(pair):
    a, b = pair
    sent = [
        message(0x123, bytes(range(8))),
        message(0x1ABCDEFF, b"\xff" * 8),
        can.Message(arbitration_id=5, is_remote_frame=True, dlc=8, is_extended_id=False),
        can.Message(arbitration_id=5, data=[1] * 8, is_extended_id=True),
    ]
    for each in sent:
        a.send(each)
    for each in sent:
        received = b.recv(PATIENCE_S)
        assert content(received) == content(each)
        assert received.is_rx and abs(received.timestamp - time.time()) < 60
    assert b.recv(0) is None and b.recv(0.05) is None
    assert "Cordlog-F1-CD" in a.channel_info and "CC000001" in str(a)
    assert a.state is can.BusState.ACTIVE


def test_shorter_messages_are_extended(pair, caplog):
    a, b = pair
    for _ in range(2):
        a.send(message(1, b"\1\2"))
        assert bytes(b.recv(PATIENCE_S).data) == b"\1\2\0\0\0\0\0\0"
    assert len([each for each in caplog.records if "extended with zeros" in each.message]) == 1


def test_recv_without_timeout_waits_until_something_comes(pair):
    a, b = pair
    received = []

    def receive():
        try:
            while True:
                received.append(b.recv().arbitration_id)
        except can.CanOperationError as error:  # the bus is shut down
            received.append(type(error))

    thread = threading.Thread(target=receive)
    thread.start()
    a.send(message(7))
    assert eventually(lambda: received == [7])
    b.shutdown()
    b.shutdown()
    thread.join(PATIENCE_S)
    assert received[1:] == [can.CanOperationError]


def test_own_messages_on_demand(urls, caplog):
    with QvxBus(urls[0], receive_own_messages=True) as a, QvxBus(urls[1]) as b:
        a.send(message(3))
        own = a.recv(PATIENCE_S)
        assert own.arbitration_id == 3 and not own.is_rx and own.timestamp > 1.7e9
        assert b.recv(PATIENCE_S).is_rx
        # With nobody who receives them, the queue is full at some time; what is sent is sent.
        frames = a._device.can_frame_queue
        a._device.can_data_queue.put(bytes(13 * frames.maxsize))
        assert eventually(frames.full)
        a.send(message(4))
        assert "own message is lost" in caplog.text and b.recv(PATIENCE_S).arbitration_id == 4


IDS = [0x100, 0x123, 0x7FF, 0x10000, 0x1FFFFFFF]


def masked(*pairs):
    return [{"can_id": id_, "can_mask": mask, "extended": id_ > 0x7FF} for id_, mask in pairs]


@pytest.mark.parametrize(
    ("filters", "passing", "by_device"),
    [
        (None, IDS, True),
        ([{"can_id": 0, "can_mask": 0}], IDS, True),
        (masked((0x123, 0x7FF)), [0x123], True),
        (masked((0x100, 0x700), (0x10000, 0x1FFFFFFF)), [0x100, 0x123, 0x10000], True),
        (masked(*((id_, 0x7FF) for id_ in (1, 2, 3, 4, 5, 0x7FF))), [0x7FF], True),
        (masked((0x123, 0x7FF), (0x123, 0x7FE), (0x123, 0x7FC)), [0x123], False),  # more masks than it has
        ([{"can_id": 0xFF, "can_mask": 0xFF}], [0x7FF, 0x1FFFFFFF], False),
    ],
)
def test_filters(pair, filters, passing, by_device):
    a, b = pair
    b.set_filters(filters)
    assert (fit(filters or []) is not None) == (by_device and filters is not None)
    for id_ in IDS:
        a.send(message(id_))
    a.send(message(passing[0]))
    received = [b.recv(PATIENCE_S).arbitration_id for _ in range(len(passing) + 1)]
    assert sorted(received) == sorted([*passing, passing[0]]) and b.recv(0.02) is None
    if by_device:  # nothing else came over the connection
        assert b._device._CAN_getCounters(1)[1] == len(passing) + 1


def test_a_full_queue_is_waited_for(pair):
    a, b = pair
    for number in range(1000):
        a.send(message(number % 0x800), timeout=PATIENCE_S)
    assert [b.recv(PATIENCE_S).arbitration_id for _ in range(1000)] == list(range(1000))


def test_what_cannot_be_sent(urls, bench):
    with QvxBus(urls[0], bitrate=125_000) as a, QvxBus(urls[1], bitrate=250_000) as b:
        for wrong in (can.Message(is_error_frame=True), can.Message(is_fd=True)):
            with pytest.raises(can.CanOperationError):
                a.send(wrong)
        a.send(message(1))
        assert eventually(lambda: a.state is can.BusState.ERROR)
        with pytest.raises(can.CanOperationError, match="off the bus"):
            a.send(message(1))
        assert b.recv(0) is None


def test_what_is_no_bus(urls):
    with pytest.raises(ValueError, match="bitrate"):
        QvxBus(urls[0], bitrate=100_000)
    with pytest.raises(can.CanInitializationError):
        QvxBus("tcp://127.0.0.1:1")
    with QvxBus(urls[0]), pytest.raises(can.CanInitializationError, match="CANPortNotAvaliableError"):
        QvxBus(urls[0])
    with QvxBus(urls[0]):  # closed, it is free again
        pass


def test_detection_finds_usb_devices_with_a_bus(monkeypatch, capfd):
    def attached(handle):
        pyqvx.ExtLibNotFoundWarning()
        return [("A", "Cordlog-F1-CD"), ("B", "Cordlog-F1-D")]

    monkeypatch.setattr(pyqvx.USBDevice, "_getAllUSBDevices", attached, raising=False)
    with warnings.catch_warnings():
        warnings.simplefilter("error")
        assert QvxBus._detect_available_configs() == [
            {"interface": "qvx", "channel": "A", "model": "CordlogF1CD"}
        ]
    assert capfd.readouterr() == ("", "")


@pytest.fixture
def installed(tmp_path):
    """The environment of a program for which the package is installed."""
    project = tomllib.loads((PACKAGE / "pyproject.toml").read_text())["project"]
    info = tmp_path / "python_can_qvx-0.dist-info"
    info.mkdir()
    (info / "METADATA").write_text(f"Metadata-Version: 2.1\nName: {project['name']}\nVersion: 0\n")
    points = project["entry-points"]["can.interface"]
    lines = "".join(f"{name} = {target}\n" for name, target in points.items())
    (info / "entry_points.txt").write_text(f"[can.interface]\n{lines}")
    variables = environment()
    variables["PYTHONPATH"] = os.pathsep.join([str(tmp_path), str(PACKAGE), variables["PYTHONPATH"]])
    return variables


def test_the_tools_of_python_can(urls, installed, tmp_path):
    recorded = tmp_path / "recorded.log"
    recorded.write_text(
        "".join(f"({n / 1000:.6f}) vcan0 {n:03X}#{n:016X}\n" for n in range(200))
        + "(0.200000) vcan0 1ABCDEFF#0102030405060708\n"
    )
    expected = [
        (int(id_, 16), bytes.fromhex(data)) for id_, data in re.findall(r"(\w+)#(\w+)", recorded.read_text())
    ]
    command = [sys.executable, "-u", "-m", "can.logger", "-i", "qvx", "-c", urls[0]]
    with start_program(command, installed) as logger:
        lines = iter(logger.stdout)
        assert any("Connected to QvxBus" in line for line in lines)
        player = subprocess.run(
            [sys.executable, "-m", "can.player", "-i", "qvx", "-c", urls[1], str(recorded)],
            env=installed,
            capture_output=True,
            text=True,
            timeout=3 * PATIENCE_S,
            check=False,
        )
        assert player.returncode == 0, player.stdout + player.stderr
        logged = []
        while len(logged) < len(expected):
            line = next(lines)
            if match := re.match(
                r"Timestamp: +(\d+\.\d+) +ID: +(\w+) +[SX] Rx +DL: +8 +((?:\w\w ){7}\w\w)", line
            ):
                logged.append((int(match[2], 16), bytes.fromhex(match[3])))
                assert abs(float(match[1]) - time.time()) < 600
        assert logged == expected
        logger.send_signal(signal.SIGINT)
    assert logger.returncode == 0
