"""Streams half a second of all inputs of a FeroxA2, whose converters have 24 bits, and prints what is left of
each channel when its mean is taken away, in microvolts."""

import numpy as np
import pyqvx
from address import devices_to_use

PORT = 0
RATE = 10_000
SAMPLES = RATE // 2
# What the channels of virtual devices measure.
SOURCES = ["constant:1.5", "1=sine:0.0001:50:2", "2=noise:0.00002"]

with devices_to_use(__doc__, model="FeroxA2", source=SOURCES) as places:
    with pyqvx.FeroxA2() as device:
        if not device.connect(*places[0]):
            raise SystemExit(1)
        step_uv = device.ai_ratio * 1e6
        device.AI_open(PORT)
        device.AI_setMode(PORT, 1)  # a number of samples
        device.AI_setNumSamples(PORT, SAMPLES)
        device.AI_setSamplingRate(PORT, RATE)
        device.AI_openStreaming(PORT)
        device.AI_startStreaming(PORT)
        volts = device.AI_readStreamingArray(PORT, SAMPLES, 5.0)
        device.AI_closeStreaming(PORT)
        device.AI_close(PORT)

if len(volts) < SAMPLES:
    raise SystemExit(f"only {len(volts)} samples came")
print(f"one step of the converter is {step_uv:.2f} uV")
print("channel      mean [V]    rms [uV]   peak to peak [uV]")
facts = zip(volts.mean(axis=0), volts.std(axis=0), np.ptp(volts, axis=0))
for channel, (mean, rms, peaks) in enumerate(facts):
    print(f"AI{channel} {mean:18.7f} {rms * 1e6:11.2f} {peaks * 1e6:15.2f}")
