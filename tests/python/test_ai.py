"""Analog input against a virtual device: every operation in both forms, streams to the last sample."""

import queue
import struct
import sys
import threading
import time
import warnings
import wave

import numpy
import pytest
from fakes import PATIENCE_S, eventually, run_script

import pyqvx

RATIO = 10 / 32768
CHANNELS = 8


def volts(codes):
    """What an application must see of raw codes."""
    return [round(code * RATIO, 4) for code in codes]


def ramp(first, count):
    """Samples of a stream in which channel c of sample n has the code 8 n + c, from sample `first` on."""
    return [
        volts((8 * n + c + 32768) % 65536 - 32768 for c in range(CHANNELS))
        for n in range(first, first + count)
    ]


@pytest.fixture
def recording(lab, tmp_path):
    """A device that plays a WAV file in which every sample is different, and the samples of that file."""
    frames = 7000
    codes = [(17 * n + 4099 * c) % 65536 - 32768 for n in range(frames) for c in range(CHANNELS)]
    path = tmp_path / "signal.wav"
    with wave.open(str(path), "wb") as file:
        file.setnchannels(CHANNELS)
        file.setsampwidth(2)
        file.setframerate(1000)
        file.writeframes(struct.pack(f"<{len(codes)}h", *codes))
    return lab("FeroxA", source=f"wav:{path}"), [volts(codes[8 * n : 8 * n + 8]) for n in range(frames)]


def prepare(device, mode, rate=20000, number=1):
    device.AI_open(0)
    device.AI_setMode(0, mode)
    device.AI_setSamplingRate(0, rate)
    device.AI_setNumSamples(0, number)
    device.AI_openStreaming(0)


def collect(device, count, read="AI_readStreaming"):
    """Exactly `count` samples, as lists, in as many reads as it takes."""
    samples = []
    deadline = time.monotonic() + 3 * PATIENCE_S
    while len(samples) < count and time.monotonic() < deadline:
        samples += list(getattr(device, read)(0, count - len(samples), 1))
    return samples


def test_read_on_demand(lab, call):
    levels = (-10, -9.9997, -1, 0, 0.0003, 1, 5, 11)
    device = lab("FeroxA", source=[f"{c}=constant:{v}" for c, v in enumerate(levels)])
    sample = call(device, "AI_readOnDemand", 0)
    assert sample == pytest.approx([*levels[:7], 9.9997], abs=2e-4) and sample == [
        round(v, 4) for v in sample
    ]
    assert call(device, "_AI_getDataRTC", 0) == sample


def test_n_samples_are_exactly_n_and_may_come_again(recording, call):
    device, signal = recording
    prepare(device, 1, number=5000)
    assert device.ai_mode == 1 and device.ai_open_flag
    for _ in range(2):  # each run begins with the file's first sample
        assert call(device, "AI_startStreaming", 0) == 0
        assert collect(device, 5000) == signal[:5000]
        assert call(device, "AI_readStreaming", 0, -1, 0) == []
    assert call(device, "AI_readStreaming", 0, 1, 0.05) == []
    assert call(device, "_AI_getCounter", 0)[0] == 5000
    assert call(device, "_AI_readBufferStatus", 0)[0] == 0
    assert call(device, "_AI_clearBufferStatus", 0) == 0
    assert call(device, "_AI_getCounter", 0) == [0, 0, 0]
    assert call(device, "AI_closeStreaming", 0) == 0
    assert call(device, "AI_close", 0) == 0 and not device.ai_open_flag


@pytest.mark.parametrize("read", ["AI_readStreaming", "AI_readStreamingArray"])
def test_every_sample_of_a_continuous_stream_equals_its_source(recording, read):
    device, signal = recording
    prepare(device, 2)
    device.AI_startStreaming(0)
    count = 10000
    samples = [list(sample) for sample in collect(device, count, read)]
    assert samples == [signal[n % len(signal)] for n in range(count)]  # the file begins again
    device.AI_closeStreaming(0)
    assert device.ai_signal_queue_list[0].dropped == 0


@pytest.mark.parametrize("faults", [{"split": True}, {"duplicate": 1.0}, {"delay": 20}])
def test_streams_survive_what_the_network_does(lab, faults):
    device = lab("FeroxA", source="constant:2.5", **faults)
    prepare(device, 1, rate=1000, number=200)
    device.AI_startStreaming(0)
    count = 400 if "duplicate" in faults else 200
    assert collect(device, count) == [[2.5] * 8] * count


def test_a_stream_stops_and_starts_again(lab):
    device = lab("FeroxA", source="ramp")
    for _ in range(3):
        prepare(device, 2, rate=10000)
        device.AI_startStreaming(0)
        taken = len(collect(device, 500))
        device.AI_closeStreaming(0)
        # All that was due has come before the answer; after it nothing comes.
        acquired, _, lost = device._AI_getCounter(0)
        taken += len(collect(device, acquired - lost - taken))
        assert taken == acquired - lost and device.AI_readStreaming(0, 1, 0.1) == []
        device.AI_close(0)


def test_settings_during_a_stream_are_refused_by_the_device(lab):
    device = lab("FeroxA")
    prepare(device, 2)
    device.AI_startStreaming(0)
    assert collect(device, 10)
    for name, value in [("AI_setMode", 0), ("AI_setSamplingRate", 10), ("AI_setNumSamples", 5)]:
        with pytest.raises(pyqvx.FirmwareAIError):
            getattr(device, name)(0, value)
    assert device.ai_mode == 2
    device.AI_closeStreaming(0)


# The decoder, with raw blocks put into its queue from Python.


def feed(device, count, size=50):
    """The samples of ramp(0, count), in raw blocks of `size` each."""
    for first in range(0, count, size):
        codes = (code % 65536 for code in range(8 * first, 8 * (first + size)))
        device.ai_data_queue_list[0].put(struct.pack(f">{8 * size}H", *codes))


def test_lists_and_arrays_agree(fake):
    count = 12000
    fake.AI_open(0)
    feed(fake, count)
    assert fake.AI_readStreaming(0, count, PATIENCE_S) == ramp(0, count)
    feed(fake, count)
    made = fake.AI_readStreamingArray(0, count, PATIENCE_S)
    assert made.dtype == numpy.float64 and made.shape == (count, CHANNELS) and made.flags.c_contiguous
    assert made.tolist() == ramp(0, count)
    made[0, 0] = 1  # it belongs to the caller
    empty = fake.AI_readStreamingArray(0, 10, 0)
    assert empty.shape == (0, CHANNELS)


def test_the_codes_are_rounded_as_python_rounds(fake):
    fake.AI_open(0)
    codes = list(range(-32768, 32768))
    fake.ai_data_queue_list[0].put(struct.pack(f">{len(codes)}h", *codes))
    read = [value for sample in fake.AI_readStreaming(0, len(codes) // 8, PATIENCE_S) for value in sample]
    assert read == volts(codes)


def test_reads_of_any_size_give_the_same_stream(fake, call):
    fake.AI_open(0)
    feed(fake, 6000, size=60)
    assert eventually(lambda: fake.ai_signal_queue_list[0].qsize() == 6000)
    taken = []
    for number in [0, 1, 2, 1023, 1024, 1025, 500, -1]:
        part = call(fake, "AI_readStreaming", 0, number, 0)
        assert number == -1 or len(part) == number
        taken += part
    assert taken == ramp(0, 6000)
    assert call(fake, "AI_readStreaming", 0, 5, 0) == []


def test_a_read_ends_when_enough_has_come_and_no_later_than_its_delay(fake, call):
    fake.AI_open(0)
    timer = threading.Timer(0.05, feed, (fake, 100, 100))
    timer.start()
    begin = time.monotonic()
    assert call(fake, "AI_readStreaming", 0, 100, 60) == ramp(0, 100)
    assert time.monotonic() - begin < PATIENCE_S
    timer.join()
    feed(fake, 50)
    assert eventually(lambda: fake.ai_signal_queue_list[0].qsize() == 50)
    begin = time.monotonic()
    assert len(call(fake, "AI_readStreaming", 0, 51, 0.1)) == 50
    assert time.monotonic() - begin >= 0.1


def test_closing_parks_the_decoder_and_opening_resumes_it(fake):
    thread = fake.ai_stream_thread
    feed(fake, 50)
    assert fake.AI_readStreaming(0, 1, 0.05) == []
    for _ in range(10):
        fake.AI_open(0)
        assert fake.ai_open_flag and not fake.ai_lock.locked()
        assert fake.AI_readStreaming(0, 50, PATIENCE_S) == ramp(0, 50)
        fake.AI_close(0)
        assert not fake.ai_open_flag and fake.ai_lock.locked()
        feed(fake, 50)
        assert fake.AI_readStreaming(0, 1, 0.01) == []
    assert fake.ai_stream_thread is thread and thread.is_alive()


def test_ai_free_ends_the_decoder(fake):
    fake.AI_open(0)
    fake._AI_free()
    fake._AI_free()
    assert fake.ai_killed and not fake.ai_stream_thread.is_alive()
    feed(fake, 50)
    assert fake.AI_readStreaming(0, 1, 600) == []  # nobody decodes any more, so nobody waits


def test_odd_blocks_do_no_harm(fake):
    fake.AI_open(0)
    for block in (b"", b"\x34", bytes(15), bytes(17), bytes(16 * 3 + 5)):
        fake.ai_data_queue_list[0].put(block)
    assert fake.AI_readStreaming(0, 4, PATIENCE_S) == [[0.0] * 8] * 4  # 1 and 3
    with pytest.raises(pyqvx.InputTypeNotCorrectError):
        fake.ai_data_queue_list[0].put("text")


def test_a_full_queue_drops_counts_and_warns(fake):
    fake.AI_open(0)
    signal = fake.ai_signal_queue_list[0]
    size = 50000
    block = bytes(16 * size)
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        for _ in range(pyqvx.QUEUE_SIZE_MAX // size + 2):
            fake.ai_data_queue_list[0].put(block)
        assert eventually(lambda: signal.dropped == 2 * size)
        assert eventually(lambda: caught)
    assert {str(each.message) for each in caught} == {"Warning 520000: Occurrence AI queue overflow."}
    assert signal.full() and signal.qsize() == pyqvx.QUEUE_SIZE_MAX
    # The oldest are kept, and decoding goes on as soon as there is room.
    assert len(fake.AI_readStreamingArray(0, -1, 0)) == pyqvx.QUEUE_SIZE_MAX
    feed(fake, 50)
    assert fake.AI_readStreaming(0, 50, PATIENCE_S) == ramp(0, 50)


def test_a_warning_turned_into_an_error_does_not_stop_the_decoder(fake):
    fake.AI_open(0)
    reported = []
    hook, sys.unraisablehook = sys.unraisablehook, reported.append
    try:
        with warnings.catch_warnings():
            warnings.simplefilter("error")
            for _ in range(21):
                fake.ai_data_queue_list[0].put(bytes(16 * 50000))
            assert eventually(lambda: reported)
    finally:
        sys.unraisablehook = hook
    fake.AI_readStreaming(0, 1000, 0)
    feed(fake, 50)
    assert eventually(lambda: fake.ai_signal_queue_list[0].qsize() == pyqvx.QUEUE_SIZE_MAX - 950)


def test_sample_queues_are_queues(fake):
    samples = fake.ai_signal_queue_list[0]
    samples.put([1.0, 2.0])
    samples.put([3.0])
    assert samples.qsize() == 2 and samples.get() == [1.0, 2.0]
    assert fake._getStreamingFromPool(samples, -1, 0.01) == [[3.0]]
    # An array has one width; the rest waits for the next read.
    for sample in ([1.0], [2.0], [3.0, 4.0]):
        samples.put(sample)
    assert fake.AI_readStreamingArray(0, 3, 0).tolist() == [[1.0], [2.0]]
    assert fake.AI_readStreamingArray(0, 3, 0).tolist() == [[3.0, 4.0]]
    for get in (samples.get_nowait, lambda: samples.get(timeout=0.01)):
        with pytest.raises(queue.Empty):
            get()


def test_readers_in_several_threads_share_the_stream(fake):
    fake.AI_open(0)
    count = 20000
    taken = []

    def read():
        while len(taken) < count:
            taken.extend(fake.AI_readStreaming(0, 70, 0.05))

    threads = [threading.Thread(target=read) for _ in range(3)]
    for thread in threads:
        thread.start()
    feed(fake, count)
    for thread in threads:
        thread.join(3 * PATIENCE_S)
    assert sorted(taken) == sorted(ramp(0, count))


def test_numpy_is_needed_only_for_arrays():
    output = run_script(
        "import sys; sys.modules['numpy'] = None\n"
        "import pyqvx\n"
        "with pyqvx.FeroxA(verbose=False) as device:\n"
        "    print(device.AI_readStreaming(0, 1, 0))\n"
        "    try:\n"
        "        device.AI_readStreamingArray(0, 1, 0)\n"
        "    except ImportError:\n"
        "        print('no numpy')\n"
    )
    assert output == "[]\nno numpy\n"
