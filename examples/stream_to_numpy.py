"""Streams half a second of all inputs of a FeroxA into numpy and prints what each channel carries."""

import numpy as np
import pyqvx
from address import devices_to_use

PORT = 0
RATE = 10_000
SAMPLES = RATE // 2

with devices_to_use(__doc__, source=["sine:5:50", "1=square:2:120", "2=noise:0.5"]) as addresses:
    with pyqvx.FeroxA() as device:
        if not device.connect(*addresses[0]):
            raise SystemExit(1)
        device.AI_open(PORT)
        device.AI_setMode(PORT, 2)  # continuous
        device.AI_setSamplingRate(PORT, RATE)
        device.AI_openStreaming(PORT)
        device.AI_startStreaming(PORT)
        # Waits at most 5 s, and returns what is there by then.
        volts = device.AI_readStreamingArray(PORT, SAMPLES, 5.0)
        device.AI_closeStreaming(PORT)
        device.AI_close(PORT)

if len(volts) < SAMPLES:
    raise SystemExit(f"only {len(volts)} samples came")
window = np.hanning(SAMPLES)[:, np.newaxis]
spectrum = np.abs(np.fft.rfft((volts - volts.mean(axis=0)) * window, axis=0))
strongest = spectrum.argmax(axis=0) * RATE / SAMPLES

print("channel    mean [V]     rms [V]   strongest at [Hz]")
for channel, (mean, rms, hz) in enumerate(zip(volts.mean(axis=0), volts.std(axis=0), strongest)):
    print(f"AI{channel} {mean:z15.4f} {rms:11.4f} {hz:14.0f}")
