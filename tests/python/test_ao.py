"""Analog output against virtual devices, in both forms: levels, generation, and outputs wired to inputs."""

import math

import numpy
import pytest
from fakes import PATIENCE_S, connect_to, eventually

import pyqvx

STEP = 20 / 65536
IDLE, STAND_BY, RUNNING = range(3)


@pytest.mark.parametrize("model", ["FeroxO", "SkylogE3AO", "SkylogE3AOD", "CordlogF1AOD"])
def test_levels(lab, call, model):
    device = lab(model)
    assert call(device, "AO_getPort") == [0] and call(device, "_AO_getPinMapPort", 0) == device.ao_dict[0]
    assert (device.ao_volt_min, device.ao_volt_max) == (-10, 10)
    if model != "FeroxO":  # whose outputs are always on
        with pytest.raises(pyqvx.FirmwareAOError):
            call(device, "AO_writeOneChannel", 0, 0, 1)
    assert call(device, "AO_open", 0) == 0
    last = device.ao_channel - 1
    assert call(device, "AO_writeOneChannel", 0, last, 10) == 0
    assert call(device, "AO_writeAllChannels", 0, [1, 2.5, -10]) == 0
    if hasattr(device, "AO_getValues"):
        expected = [1, 2.5, -10] + [0] * (device.ao_channel - 3)
        assert call(device, "AO_getValues", 0) == pytest.approx(expected, abs=STEP)
    if last < 7:
        with pytest.raises(pyqvx.FirmwareAOError):  # the driver knows channels 0 to 7, the device its own
            call(device, "AO_writeOneChannel", 0, 7, 1)
    assert call(device, "AO_close", 0) == 0


def test_an_open_output_keeps_the_pins_of_its_port(lab, call):
    device = lab("CordlogF1AOD")
    call(device, "_checkAOPinState", 0)
    call(device, "AO_open", 0)
    for operation, refused in [
        ("AO_open", pyqvx.AOPortNotAvaliableError),
        ("DI_openPort", pyqvx.DIPortNotAvaliableError),
    ]:
        with pytest.raises(refused):
            call(device, operation, 0)
    call(device, "_checkAIPinState", 0)  # inputs have pins of their own
    call(device, "AO_close", 0)
    call(device, "AO_open", 0)


def test_every_operation_of_generation(lab, call):
    device = lab("FeroxO")
    assert call(device, "_AO_getState", 0) == IDLE
    assert call(device, "AO_openStreaming", 0) == [0, 1000.0]
    assert call(device, "_AO_getState", 0) == STAND_BY
    assert call(device, "AO_setMode", 0, 1) == 0 and call(device, "_AO_getMode", 0) == 1
    assert call(device, "AO_setSamplingRate", 0, 10000) == 0
    assert call(device, "AO_setNumSamples", 0, 200) == 0
    assert call(device, "AO_setEnableChannels", 0, [0, 7]) == 0
    assert call(device, "AO_setForm", 0, 7, 1) == 0
    assert call(device, "AO_setFormParam", 0, 7, 2, 0.5, 50, 0, 25) == 0
    assert call(device, "AO_openStreaming", 0) == [1, 10000.0]
    assert call(device, "AO_startStreaming", 0) == 0
    assert eventually(lambda: device._AO_getState(0) == STAND_BY)
    assert call(device, "_AO_getCounters", 0) == [200, 400]
    assert call(device, "AO_getValues", 0) == pytest.approx([0] * 7 + [-1.5], abs=STEP)
    assert call(device, "_AO_setSpan", 0, 1) == 0
    assert call(device, "AO_getValues", 0) == [0] * 8  # what the span does not hold is cut off
    assert call(device, "AO_setMode", 0, 2) == 0
    assert call(device, "AO_startStreaming", 0) == 0
    assert eventually(lambda: device._AO_getState(0) == RUNNING)
    with pytest.raises(pyqvx.FirmwareAOError):
        call(device, "AO_setMode", 0, 1)
    assert call(device, "_AO_stopStreaming", 0) == 0 and call(device, "_AO_getState", 0) == STAND_BY
    assert call(device, "AO_closeStreaming", 0) == 0 and call(device, "_AO_getState", 0) == IDLE


def sampled(device, rate, count):
    """Samples of all inputs, from before the outputs start to at least that many after."""
    device.AI_open(0)
    device.AI_setMode(0, 2)
    device.AI_setSamplingRate(0, rate)
    device.AI_openStreaming(0)
    device.AI_startStreaming(0)
    assert device.AI_readStreaming(0, 1, PATIENCE_S)
    device.AO_startStreaming(0)
    count += device._AI_getCounter(0)[0]
    volts = device.AI_readStreamingArray(0, count, PATIENCE_S)
    device.AI_closeStreaming(0)
    assert len(volts) == count
    return volts


@pytest.fixture
def loop(lab):
    """Outputs 0 and 1 wired to inputs 2 and 5; the rest of the inputs measure 3 V."""
    device = lab("CordlogF1AOD", wire=["ao0.0=ai0.2", "ao0.1=ai0.5"], source="constant:3")
    device.AO_open(0)
    device.AO_openStreaming(0)
    return device


def test_a_generated_sine_comes_back_sampled(loop):
    rate, hertz, amplitude = 2000, 50, 4
    loop.AO_setMode(0, 2)
    loop.AO_setSamplingRate(0, 10000)
    loop.AO_setEnableChannels(0, [0, 1])
    for channel, (form, phase) in enumerate([(3, 0), (3, 90)]):
        loop.AO_setForm(0, channel, form)
        loop.AO_setFormParam(0, channel, amplitude, 1, hertz, phase, 50)
    volts = sampled(loop, rate, 1500)
    begin = int(numpy.flatnonzero(volts[:, 5])[0])  # the cosine begins with a step
    time_s = numpy.arange(len(volts) - begin) / rate
    for channel, wave in [(2, numpy.sin), (5, numpy.cos)]:
        played = volts[begin:, channel]
        # Within one sample of either converter: it began somewhere between two samples of the input.
        slope = 2 * math.pi * hertz * amplitude
        assert (
            numpy.abs(played - 1 - amplitude * wave(2 * math.pi * hertz * time_s)).max()
            < slope / rate + slope / 10000
        )
        assert played.max() == pytest.approx(5, abs=0.02) and played.min() == pytest.approx(-3, abs=0.02)
    assert numpy.all(volts[:begin, [2, 5]] == 0)
    assert numpy.allclose(volts[:, [0, 1, 3, 4, 6, 7]], 3, atol=STEP)


def test_a_pushed_buffer_comes_back_value_for_value(loop):
    values = [round(9 * math.sin(n * n / 90), 3) for n in range(60)]
    loop.AO_setMode(0, 1)
    loop.AO_setNumSamples(0, len(values))
    loop.AO_setSamplingRate(0, 500)
    loop.AO_setEnableChannels(0, [1])
    loop._AO_initialBuffer(0)
    loop._AO_pushToBuffer(0, len(values), values)
    volts = sampled(loop, 2000, 500)[:, 5]
    begin = int(numpy.argmax(numpy.abs(volts - values[0]) > 2 * STEP))  # where the second value begins
    starts = begin - 4 + 4 * numpy.arange(len(values))
    assert numpy.allclose(volts[starts + 1], values, atol=STEP) and numpy.allclose(
        volts[starts + 2], values, atol=STEP
    )
    assert numpy.allclose(volts[starts[-1] + 1 :], values[-1], atol=STEP)  # the last one stays


def test_a_level_is_read_back_on_demand(lab, call):
    device = lab("SkylogE3AOD", wire="ao0.3=ai0.0", source="constant:-2")
    call(device, "AO_open", 0)
    call(device, "AI_open", 0)
    for volts in (-10, -0.5, 0, 9.99):
        call(device, "AO_writeOneChannel", 0, 3, volts)
        sample = call(device, "AI_readOnDemand", 0)
        assert sample[0] == pytest.approx(volts, abs=STEP) and sample[1:] == [sample[1]] * 7


def test_generation_goes_on_without_its_client(bench):
    place = bench(model="FeroxO")
    with pyqvx.FeroxO(verbose=False) as device:
        connect_to(device, place)
        device.AO_setMode(0, 2)
        device.AO_openStreaming(0)
        device.AO_startStreaming(0)
        begin = device._AO_getCounters(0)[0]
        device.disconnect()
        connect_to(device, place)
        assert device._AO_getState(0) == RUNNING
        assert eventually(lambda: device._AO_getCounters(0)[0] > begin)
