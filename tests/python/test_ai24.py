"""24-bit analog input against virtual devices, and its decoder against numpy."""

from functools import partial

import numpy
import pytest
from fakes import PATIENCE_S, FakeTransport, connected

import pyqvx

CHANNELS = 8


def test_read_on_demand(lab, call):
    levels = (-11, -1e-5, 0, 1e-6, 5, 11)
    device = lab("FeroxA2", source=[f"{c}=constant:{v}" for c, v in enumerate(levels)])
    sample = call(device, "AI_readOnDemand", 0)
    assert sample == pytest.approx([-10, -1e-5, 0, 1e-6, 5, 10 - 10 / 2**23, 0, 0], abs=6e-7)
    assert all(volts * 2**23 / 10 == int(volts * 2**23 / 10) for volts in sample)


@pytest.mark.parametrize("model", ["FeroxI", "FeroxIA"])
@pytest.mark.parametrize("volts", [-60, -25, -12.3456, 0.0004, 24.9994, 25, 42.1234, 60])
def test_each_reading_has_its_range(lab, call, model, volts):
    device = lab(model, source=f"constant:{volts}")
    assert call(device, "AI_open", 0) == 0
    assert call(device, "AI_readOnDemand", 0) == [round(max(-50, min(volts, 50)), 3)]
    fine = device._echoPacket(pyqvx.READAI24BIT, [0, 255], PATIENCE_S)[2]
    assert fine == (-25 < volts < 25)
    assert call(device, "AI_close", 0) == 0
    assert not hasattr(device, "AI_openStreaming")


def test_every_sample_of_a_stream_equals_its_source(lab, call):
    run = partial(call, lab("FeroxA2", source=["sine:9:3", "1=ramp:-1:1:2"]))
    count, rate = 3000, 10000
    settings = {"AI_setMode": 1, "AI_setNumSamples": count, "AI_setSamplingRate": rate}
    assert run("AI_open", 0) == 0 and [run(name, 0, value) for name, value in settings.items()] == [0] * 3
    assert run("AI_openStreaming", 0) == run("AI_startStreaming", 0) == 0
    samples = numpy.array(run("AI_readStreaming", 0, 1000, PATIENCE_S))
    samples = numpy.concatenate([samples, run("AI_readStreamingArray", 0, 2000, PATIENCE_S)])
    time_s = numpy.arange(count) / rate
    assert samples.shape == (count, CHANNELS)
    assert numpy.abs(samples[:, 0] - 9 * numpy.sin(2 * numpy.pi * 3 * time_s)).max() < 1e-6
    assert numpy.abs(samples[:, 2] - 9 * numpy.sin(2 * numpy.pi * (3 * time_s + 2 / 8))).max() < 1e-6
    assert numpy.abs(samples[:, 1] + 1 - 2 * ((2 * time_s + 1 / 8) % 1)).max() < 1e-6
    assert run("AI_readStreaming", 0, 1, 0.02) == []
    assert run("AI_closeStreaming", 0) == run("AI_close", 0) == 0


def test_decoding_equals_numpys():
    device = connected(FakeTransport(default=b"\0\0"), pyqvx.FeroxA2)
    device.AI_open(0)
    raw = numpy.random.default_rng(1).integers(0, 256, 3 * CHANNELS * 5000, dtype=numpy.uint8)
    codes = numpy.zeros((len(raw) // 3, 4), numpy.uint8)
    codes[:, :3] = raw.reshape(-1, 3)
    expected = ((codes.view(">i4")[:, 0] >> 8) * device.ai_ratio).reshape(-1, CHANNELS)
    device.ai_data_queue_list[0].put(b"\0")  # a start, acknowledged
    for block in raw.reshape(10, -1):
        device.ai_data_queue_list[0].put(block.tobytes())
    assert numpy.array_equal(device.AI_readStreamingArray(0, 5000, PATIENCE_S), expected)
    device.close()
