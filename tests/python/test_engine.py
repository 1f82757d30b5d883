"""The packet engine through its named methods, with pools that Python fills and transports that it brings."""

import array
import asyncio
import collections.abc
import queue
import threading
import time

import pytest
from fakes import GLANCE_S, PATIENCE_S, FakeTransport, eventually

import pyqvx

ECHO = pyqvx.GET_SERIAL_NUMBER
START_AI = pyqvx.START_AI_STREAMING


def engine(answers=None, cls=pyqvx.Packet):
    made = cls()
    made.client_cmd = FakeTransport(answers or {})
    return made


@pytest.mark.parametrize(
    ("code", "data", "frame", "back"),
    [
        (240, [], [2, 0, 1, 240, 13, 10], (240, b"")),
        (10241, [5], [2, 0, 3, 40, 1, 5, 13, 10], (10241, b"\5")),
        (255, [0, 255], [2, 0, 3, 255, 0, 255, 13, 10], (255, b"\0\xff")),
        (256, [], [2, 0, 2, 1, 0, 13, 10], (256, b"")),
        (181, [13, 10], [2, 0, 3, 181, 13, 10, 13, 10], (181, b"\r\n")),
        # The one code that the receiver's rule misreads.
        (48, [1, 2], [2, 0, 3, 48, 1, 2, 13, 10], (48 << 8 | 1, b"\2")),
        (65535, [], [2, 0, 2, 255, 255, 13, 10], (255, b"\xff")),
    ],
)
def test_frames_are_built_and_split(code, data, frame, back):
    for given in (data, tuple(data), bytes(data), bytearray(data)):
        assert engine()._preparePacket(code, given) == frame
    client = pyqvx.Client()
    for byte in b"\x02junk" + bytes(frame):
        assert client.stream == b"" or client._splitPacket() == []
        client.stream += bytes([byte])
    assert client._splitPacket() == [back]
    assert client.stream == b"" and client.last_index == 0


def test_the_splitter_keeps_what_is_unfinished():
    client = pyqvx.Client()
    assert client._splitPacket() == [] and client.last_index == 0
    client.stream = bytes([2, 0, 1, 240, 13, 10, 2, 0, 2, 122, 9, 13, 10, 2, 0, 4, 181])
    assert client._splitPacket() == [(240, b""), (122, b"\t")]
    assert client.stream == bytes([2, 0, 4, 181])
    client.stream += bytes([13, 10, 7])
    assert client._splitPacket() == [] and client.last_index == 5
    client.stream += bytes([13, 10])
    assert client._splitPacket() == [(181, b"\r\n\7")]
    for name, argument in {"sendPacket": [2], "recvPacket": 1, "recvAndSplitPacket": 1}.items():
        with pytest.raises(pyqvx.APINotSupportError):
            getattr(client, name)(argument)


def test_replies_wait_in_the_pool_and_a_newer_one_wins():
    e = engine()
    e.data_pool_echo[ECHO] = b"old"
    e.data_pool_echo[ECHO] = [110, 101, 119]
    assert ECHO in e.data_pool_echo and len(e.data_pool_echo) == 1
    assert e._echoPacket(ECHO, [], 5) == b"new"
    assert e.client_cmd.sent == [(ECHO, b"")]
    assert ECHO not in e.data_pool_echo


def test_the_reply_pool_is_a_mapping():
    pool = engine().data_pool_echo
    pool[1] = b"a"
    pool[-5] = bytearray(b"b")
    assert sorted(pool) == sorted(pool.keys()) == [-5, 1] and dict(pool.items()) == {1: b"a", -5: b"b"}
    assert pool[1] == b"a" and pool.get(2) is None and pool.get(2, 7) == 7 and pool.pop(2, 8) == 8
    for missing in (lambda: pool[2], lambda: pool.pop(2), lambda: pool.__delitem__(2)):
        with pytest.raises(KeyError):
            missing()
    assert pool.pop(1) == b"a"
    del pool[-5]
    assert len(pool) == 0 and 1 not in pool and "x" not in pool and 2**70 not in pool
    pool.update({3: b"c"})
    assert pool == {3: b"c"} and list(pool.values()) == [b"c"] and pool.popitem() == (3, b"c")
    assert isinstance(pool, collections.abc.MutableMapping)


def test_unanswered_requests_time_out():
    e = engine()
    begin = time.monotonic()
    for call, timeout in (
        (e._echoPacket, 0.1),
        (e._echoPacketWithRetry, 1),
    ):  # 30 ms would do for all retries
        with pytest.raises(pyqvx.ReceivePacketTimeoutError) as error:
            call(ECHO, [], timeout)
        assert error.value.msg == "Receive packet timeout."
    assert time.monotonic() - begin >= 1.1
    assert len(e.client_cmd.sent) == 1 + pyqvx.NUM_RETRIES
    for timeout in (0, -1):
        with pytest.raises(pyqvx.ReceivePacketTimeoutError):
            e._echoPacketWithRetry(ECHO, [], timeout)
    assert len(e.client_cmd.sent) == 1 + pyqvx.NUM_RETRIES
    with pytest.raises(pyqvx.ReceivePacketTimeoutError):
        e._getReplyFromPool(ECHO, -0.5)


def test_timeout_0_never_ends():
    e = engine()
    e.data_pool_echo[ECHO] = b"there"
    thread = threading.Thread(target=e._getReplyFromPool, args=(ECHO, 0), daemon=True)
    thread.start()
    thread.join(GLANCE_S)
    assert thread.is_alive() and e.data_pool_echo[ECHO] == b"there"


@pytest.mark.parametrize("make", [pyqvx.RawQueue, queue.Queue])
def test_streamed_items_are_drained(make):
    e = engine()
    q = make()
    assert e._getStreamingFromPool(q, -1, 0.01) == [] and e._getStreamingFromPool(q, 0, 0.01) == []
    for item in (b"a", b"b", b"c"):
        q.put(item)
    assert e._getStreamingFromPool(q, 2, 0.01) == [b"a", b"b"]
    assert e._getStreamingFromPool(q, -1, 0.01) == [b"c"]
    results = []
    thread = threading.Thread(target=lambda: results.append(e._getStreamingFromPool(q, 2, 0.01)), daemon=True)
    thread.start()
    q.put(b"d")
    thread.join(GLANCE_S)
    assert thread.is_alive()
    q.put(b"e")
    thread.join(PATIENCE_S)
    assert results == [[b"d", b"e"]]
    timer = threading.Timer(GLANCE_S, lambda: [q.put(item) for item in (b"f", b"g")])
    timer.start()
    assert asyncio.run(pyqvx.Packet_async()._getStreamingFromPool_async(q, 2, 0.01)) == [b"f", b"g"]
    timer.join()
    with pytest.raises(pyqvx.Error):
        e._getStreamingFromPool(object(), 3, 0.01)


def test_raw_queues_are_queues():
    q = pyqvx.RawQueue()
    assert q.empty() and not q.full() and q.maxsize == 0
    with pytest.raises(queue.Empty):
        q.get_nowait()
    with pytest.raises(queue.Empty):
        q.get(timeout=0.01)
    with pytest.raises(ValueError):
        q.get(timeout=-1)
    q.put_nowait([1, 2])
    assert q.qsize() == len(q) == 1 and q.get() == b"\1\2"


def test_stream_and_broadcast_pools_make_their_entries():
    e = engine()
    assert (START_AI, 0) not in e.data_pool_strm and len(e.data_pool_strm) == 0
    q = e.data_pool_strm[START_AI, 0]
    assert e.data_pool_strm[START_AI, 0] is q and list(e.data_pool_strm) == [(START_AI, 0)]
    for key in (START_AI, (START_AI,), (START_AI, 256), ("a", 0)):
        with pytest.raises(pyqvx.Error):
            e.data_pool_strm[key]
    assert START_AI not in e.data_pool_strm and e.data_pool_strm.get((START_AI, 1)) is None
    assert e.data_pool_strm.get((START_AI, 0)) is q and list(e.data_pool_strm.values()) == [q]
    answers = e.data_pool_bcst[252]
    answers.add(b"x")
    assert answers | {b"y"} == {b"x", b"y"} and {b"x"} - answers == set()
    assert answers <= {b"x"} and 3 not in answers
    answers.add([120])
    assert answers == {b"x"} and b"x" in answers and list(answers) == [b"x"] and len(answers) == 1


def test_packets_are_classified_and_filed():
    device = pyqvx.Device()
    rows = [
        (START_AI, b"\0", "streaming"),
        (pyqvx.START_CAN, b"", "streaming"),  # and the reply to the command
        (pyqvx.GET_DEVICE_INFO, b"\1x", "broadcast"),
        (pyqvx.GET_DEVICE_INFO, b"\0x", "ignore"),
        (pyqvx.GET_DEVICE_INFO, b"", "ignore"),
        (ECHO, b"", "echo"),
    ]
    for code, data, kind in rows:
        assert device._checkCommandType(code, data) == kind
        device._putToDataPool(code, data)
    assert device.data_pool_bcst[pyqvx.GET_DEVICE_INFO] == {b"x"}
    assert device.data_pool_strm[START_AI, 0].get_nowait() == b""
    # A packet of START_CAN that holds no frame is its reply.
    assert sorted(device.data_pool_echo.keys()) == [pyqvx.START_CAN, ECHO]
    device.close()


def test_answers_to_a_broadcast(fake):
    """Sent three times, collected until the time is over or the handle is closed."""
    fake.client_udp = FakeTransport()
    fake.data_pool_bcst[pyqvx.GET_DEVICE_INFO].add(b"stale")

    async def main():
        awaited = asyncio.create_task(fake._broadcastPacket_async(pyqvx.GET_DEVICE_INFO, [0]))
        blocking = asyncio.create_task(asyncio.to_thread(fake._broadcastPacket, pyqvx.GET_DEVICE_INFO, [0]))
        while len(fake.client_udp.broadcasts) < 6:
            await asyncio.sleep(0.001)
        fake.data_pool_bcst[pyqvx.GET_DEVICE_INFO].add(b"answer")
        assert not awaited.done() and not blocking.done()
        fake.close()
        return await asyncio.gather(awaited, blocking)

    assert [set(answers) for answers in asyncio.run(main())] == [{b"answer"}] * 2
    assert fake.client_udp.broadcasts == [[2, 0, 2, 252, 0, 13, 10]] * 6


def test_without_a_transport_sends_fail():
    e = pyqvx.Packet()
    assert e.client_cmd is None
    with pytest.raises(pyqvx.NetworkConnectionLostError):
        e._sendPacketWithoutReply(ECHO, [])
    with pytest.raises(pyqvx.APINotSupportError):
        e._broadcastPacket(252, [])


class Trouble(Exception):
    pass


@pytest.mark.parametrize("failure", [Trouble("own"), pyqvx.NetworkConnectionLostError(), KeyboardInterrupt()])
def test_failures_of_a_python_transport_reach_the_caller(failure):
    e = engine()
    e.client_cmd.failure = failure
    with pytest.raises(type(failure)) as blocking:
        e._echoPacketWithRetry(ECHO, [], 5)
    assert blocking.value is failure
    a = engine(cls=pyqvx.Packet_async)
    a.client_cmd.failure = failure
    with pytest.raises(type(failure)) as awaited:
        asyncio.run(a._echoPacketWithRetry_async(ECHO, []))
    assert awaited.value is failure


def test_a_python_transport_may_do_anything_from_a_coroutine():
    """Deep recursion and real work: none of it may run on a coroutine's small stack."""

    class Deep(FakeTransport):
        def sendPacket(self, packet):
            def depth(n):
                return 0 if n == 0 else 1 + depth(n - 1)

            assert depth(800) == 800
            sorted(range(1000), key=lambda n: repr(n))
            e.data_pool_echo[ECHO] = b"deep"

    e = pyqvx.Packet_async()
    e.client_cmd = Deep()
    assert asyncio.run(e._echoPacket_async(ECHO, [], 5)) == b"deep"


def test_async_requests():
    async def main():
        e = engine(cls=pyqvx.Packet_async)
        loop = asyncio.get_running_loop()
        loop.call_later(0.01, e.data_pool_echo.__setitem__, ECHO, b"reply")
        assert await e._echoPacket_async(ECHO, [], 5) == b"reply"
        assert await e._echoPacket_async(ECHO, [], 0.02) is None
        assert await e._echoPacket_async(ECHO, [], 0) is None
        assert await e._echoPacketWithRetry_async(ECHO, [], 0.02) is None
        assert await e._echoPacketWithRetry_async(ECHO, [], 0) is None
        assert len(e.client_cmd.sent) == 4
        assert await e._sendPacketWithoutReply_async(ECHO, [1]) is None
        assert e.client_cmd.sent[-1] == (ECHO, b"\1")
        e.data_pool_echo[ECHO] = b"there"
        assert await e._getReplyFromPool_async(ECHO) == b"there"
        q = e.data_pool_strm[START_AI, 0]
        assert await e._getStreamingFromPool_async(q, -1, 0.01) == []
        loop.call_later(0.01, q.put, b"1")
        loop.call_later(0.02, q.put, b"2")
        assert await e._getStreamingFromPool_async(q, 2, 0.01) == [b"1", b"2"]
        with pytest.raises(pyqvx.InputTypeNotCorrectError):
            e._getStreamingFromPool_async(5, 2, 0.01)

    asyncio.run(main())


def test_an_async_request_is_sent_again_after_a_second():
    async def main():
        e = engine(cls=pyqvx.Packet_async)
        task = asyncio.create_task(e._echoPacketWithRetry_async(ECHO, [], 10))
        begin = time.monotonic()
        while len(e.client_cmd.sent) < 2:
            assert time.monotonic() - begin < PATIENCE_S
            await asyncio.sleep(0.01)
        assert time.monotonic() - begin >= 0.9
        e.data_pool_echo[ECHO] = b"second"
        assert await task == b"second"

    asyncio.run(main())


ENDLESS: list = []
ENDLESS.append(ENDLESS)


@pytest.mark.parametrize("bad", [None, "x", 1.5, object(), [256], [-1], ["a"], [1.0], [[1]], ENDLESS])
def test_bad_payloads_are_refused(bad):
    e = engine()
    calls = [
        lambda: e._preparePacket(ECHO, bad),
        lambda: e._echoPacket(ECHO, bad, 1),
        lambda: e._sendPacketWithoutReply(ECHO, bad),
        lambda: e.data_pool_echo.__setitem__(1, bad),
        lambda: pyqvx.RawQueue().put(bad),
    ]
    for call in calls:
        with pytest.raises((pyqvx.InputTypeNotCorrectError, pyqvx.InputDataNotInRangeError)):
            call()
    assert e.client_cmd.sent == []


def test_payloads_are_sequences_of_byte_values():
    numpy = pytest.importorskip("numpy")
    goods = [[1, 2], (1, 2), b"\1\2", memoryview(b"\1\2"), range(1, 3), array.array("H", [1, 2])]
    for good in (*goods, numpy.array([1, 2]), numpy.array([1, 2], dtype="u1"), [numpy.uint8(1), True + 1]):
        assert engine()._preparePacket(ECHO, good)[4:-2] == [1, 2]
    with pytest.raises(pyqvx.InputDataNotInRangeError):
        engine()._preparePacket(ECHO, numpy.array([300]))


@pytest.mark.parametrize(
    "arrival",
    [None, 5, [5], [(1,)], [("a", b"")], [(1, "a")], [(1, [256])], [(2**40, b"")], [(ECHO, b"ok"), None]],
)
def test_a_transport_that_delivers_nonsense_is_reported_once(fake, caplog, arrival):
    fake.client_cmd.recvAndSplitPacket = lambda size: arrival
    assert eventually(lambda: "lost connection" in repr(fake))
    assert eventually(lambda: "Error -" in caplog.text)
    fake.close()
    assert not fake.recv_cmd_thread.is_alive()


def test_a_transport_whose_error_has_no_text_does_no_harm(fake, caplog):
    class Mute(Exception):
        def __str__(self):
            raise ValueError

    fake.client_cmd.failure = Mute()
    assert eventually(lambda: "lost connection" in repr(fake))
    assert eventually(lambda: "Error -8003: Mute:" in caplog.text)
