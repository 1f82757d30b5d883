"""Runs a light along the outputs of port 0 of a CordlogF1D and shows what arrives at the inputs of port 1."""

import time

import pyqvx
from address import devices_to_use

OUTPUTS = 0
INPUTS = 1


def lamps(states: list[int]) -> str:
    return " ".join("#" if state else "." for state in states)


with devices_to_use(__doc__, model="CordlogF1D", wire="do0=di1") as devices, pyqvx.CordlogF1D() as device:
    device.connect(*devices[0])
    device.resend = False  # a toggle that is repeated would be undone
    device.DO_openPort(OUTPUTS)
    device.DI_openPort(INPUTS)
    count, modes = device.Sys_getPinModeInPort(INPUTS)
    print(f"port {INPUTS} has {count} pins: {', '.join(modes)}\n")

    print(f"{f'port {OUTPUTS} drives':<18}port {INPUTS} reads")
    driven = device.DO_writePins(OUTPUTS, [0, 1], [1, 0])
    for pin in device.do_dict[OUTPUTS]:
        print(f"{lamps(driven):<18}{lamps(device.DI_readPort(INPUTS))}")
        if pin + 1 in device.do_dict[OUTPUTS]:
            driven = device.DO_togglePins(OUTPUTS, [pin, pin + 1])
        time.sleep(0.05)
    device.DO_closePort(OUTPUTS)
    device.DI_closePort(INPUTS)
