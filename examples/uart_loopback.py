"""Sends text from serial port 1 of a CordlogF1D to its port 2 and shows what arrives, at equal and at unequal
baud rates. Connect P2.0, which sends for port 1, to P2.3, which receives for port 2."""

import pyqvx
from address import devices_to_use

SENDER = 1
RECEIVER = 2
TEXT = "The quick brown fox."

with devices_to_use(__doc__, model="CordlogF1D", wire="uart1=uart2") as devices, pyqvx.CordlogF1D() as device:
    device.connect(*devices[0])
    device.resend = False  # a write that is repeated would be sent twice
    device.UART_open(SENDER)
    device.UART_open(RECEIVER)
    for sent, expected in ((9600, 9600), (400_000, 400_000), (19_200, 9600)):
        device.UART_setBaudRate(SENDER, sent)
        device.UART_setBaudRate(RECEIVER, expected)
        device.UART_write(SENDER, TEXT)
        received = bytes(device.UART_read(RECEIVER, len(TEXT), 1.0))
        print(f"sent at {sent:6}, received at {expected:6}: {received!r}")
    device.UART_close(SENDER)
    device.UART_close(RECEIVER)
