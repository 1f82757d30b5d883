"""QVX devices with a CAN bus as an interface of python-can: can.Bus(interface="qvx", channel=...)."""

from __future__ import annotations

import logging
import math
import queue
import time
import warnings
from collections import deque
from collections.abc import Iterator, Sequence
from contextlib import contextmanager, redirect_stdout
from typing import Any

import can
import pyqvx

__all__ = ["QvxBus"]

LOG = logging.getLogger("can.qvx")
BITRATES = (125_000, 250_000, 500_000, 1_000_000)
DATA_SIZE = 8
STANDARD_IDS = 0x7FF
EXTENDED_IDS = 0x1FFFFFFF
# The device's filters by mask: index of the mask, indexes of its filters.
BANKS = ((6, (0, 1)), (7, (2, 3, 4, 5)))
# Bits of a device's interrupt and error states.
BUFFERS_EMPTY = 0x1C
BUS_OFF = 0x20
RETRY_S = 0.002
# After how long a wait for messages notices that the connection is lost.
NOTICE_S = 1.0
# How long a shutdown waits for what is to be sent.
LINGER_S = 1.0


@contextmanager
def raising(kind: type[can.CanError]) -> Iterator[None]:
    """The driver's errors as python-can's."""
    try:
        yield
    except pyqvx.Error as error:
        raise kind(f"{type(error).__name__}: {error}") from error


class QvxBus(can.BusABC):
    """A CAN port of a QVX device. See README.md for the arguments.

    Any thread may send, one at a time may receive. Raises CanInitializationError when the device cannot be
    connected or its port not be opened.
    """

    def __init__(
        self,
        channel: str,
        can_filters: Any = None,
        bitrate: int = 500_000,
        port: int = 1,
        model: str = "CordlogF1CD",
        receive_own_messages: bool = False,
        **kwargs: Any,
    ) -> None:
        if int(bitrate) not in BITRATES:
            raise ValueError(f"bitrate {bitrate} is not one of {', '.join(map(str, BITRATES))}")
        self._channel = str(channel)
        self._port = int(port)
        self._own = receive_own_messages in (True, "True", "true", 1)
        self._waiting: deque[pyqvx.CANFrame] = deque()
        self._warned = False
        product: Any = getattr(pyqvx, model, None)
        if not hasattr(product, "CAN_open") or not hasattr(product, "connect"):
            raise ValueError(f"model {model} is no QVX product with a CAN bus")
        self._device = product(verbose=False)
        try:
            with raising(can.CanInitializationError):
                self._device.connect(channel)
                self._device.resend = False  # what is sent again would be on the bus twice
                self._device.CAN_open(self._port)
                self._device.CAN_setSpeed(self._port, BITRATES.index(int(bitrate)))
                self.channel_info = (
                    f"QVX {self._device.Sys_getDriverInfo()[0]} {self._device.Sys_getSerialNumber()}, "
                    f"CAN port {self._port}, {int(bitrate) // 1000} kbit/s"
                )
                super().__init__(channel, can_filters, **kwargs)
                self._device.CAN_start(self._port)
        except BaseException:
            self._device.close()
            raise

    def _recv_internal(self, timeout: float | None) -> tuple[can.Message | None, bool]:
        if not self._waiting:
            with raising(can.CanOperationError):
                end = math.inf if timeout is None else time.monotonic() + timeout
                while not self._waiting and not self._device.killed and not self._device.connection_lost:
                    left = max(end - time.monotonic(), 0)
                    self._waiting.extend(self._device.CAN_read(self._port, 1, min(left, NOTICE_S)))
                    if left == 0:
                        break
                self._waiting.extend(self._device.CAN_read(self._port, -1, 0))
            if not self._waiting:
                if self._device.killed:
                    raise can.CanOperationError("the bus has been shut down")
                if self._device.connection_lost:
                    raise can.CanOperationError("the connection to the device is lost")
                return None, False
        # What came before the filters were set may not have passed them.
        return self._message(self._waiting.popleft()), False

    def _message(self, frame: pyqvx.CANFrame) -> can.Message:
        own = frame.timestamp == 0  # put into the queue by send
        return can.Message(
            timestamp=time.time() if own else frame.timestamp,
            arbitration_id=frame.id,
            is_extended_id=frame.extended_id,
            is_remote_frame=frame.remote,
            dlc=frame.length,
            data=None if frame.remote else frame.data[: frame.length],
            channel=self._channel,
            is_rx=not own,
        )

    def send(self, msg: can.Message, timeout: float | None = None) -> None:
        if msg.is_error_frame or msg.is_fd:
            raise can.CanOperationError("a QVX device sends neither error frames nor CAN FD")
        if msg.dlc != DATA_SIZE and not self._warned:
            self._warned = True
            LOG.warning("messages are sent with %d bytes: shorter ones are extended with zeros", DATA_SIZE)
        frame: list[Any] = [
            msg.arbitration_id,
            list(msg.data or b""),
            msg.is_remote_frame,
            msg.is_extended_id,
        ]
        end = math.inf if timeout is None else time.monotonic() + timeout
        with raising(can.CanOperationError):
            while True:
                try:
                    self._device.CAN_write(self._port, *frame)
                    break
                except pyqvx.FirmwareCANError:
                    self._check_queue_is_full()
                if time.monotonic() >= end:
                    raise can.CanTimeoutError("the device's queue was full for too long")
                time.sleep(RETRY_S)
        if self._own:
            try:
                self._device.can_frame_queue.put(pyqvx.CANFrame(*frame))
            except queue.Full:  # it has been sent all the same
                LOG.warning("nobody receives: an own message is lost")

    def _check_queue_is_full(self) -> None:
        """Why a frame was refused: raises when waiting would not help."""
        _, state, errors = self._device._CAN_getInterrupts(self._port)
        if errors & BUS_OFF:
            raise can.CanOperationError("the device is off the bus, after too many errors")
        if state & BUFFERS_EMPTY == BUFFERS_EMPTY and self._device._CAN_getInterrupts(self._port)[1] == state:
            raise can.CanOperationError("the device refuses to send")

    def _apply_filters(self, filters: Sequence[Any] | None) -> None:
        banks = fit(filters or [])
        with raising(can.CanOperationError):
            self._device.CAN_setRXFilteringOn(self._port, 0)
            if banks is None:
                return
            for (mask_index, indexes), (mask, wanted) in zip(BANKS, banks):
                self._device.CAN_setRXFilterOrMask(self._port, mask_index, mask, False, mask > STANDARD_IDS)
                for place, index in enumerate(indexes):
                    identifier, extended = wanted[min(place, len(wanted) - 1)]
                    self._device.CAN_setRXFilterOrMask(self._port, index, identifier, False, extended)
            self._device.CAN_setRXFilteringOn(self._port, 1)

    @property  # type: ignore[misc]
    def state(self) -> can.BusState:
        with raising(can.CanOperationError):
            errors = self._device._CAN_getInterrupts(self._port)[2]
        if errors & BUS_OFF:
            return can.BusState.ERROR
        return can.BusState.PASSIVE if errors & 0x18 else can.BusState.ACTIVE

    def shutdown(self) -> None:
        super().shutdown()
        if self._device.killed:
            return
        try:
            self._wait_until_sent()
            self._device.CAN_close(self._port)
        except pyqvx.Error as error:  # of a connection that is gone: there is nothing left to close
            LOG.warning("the port could not be closed: %s", error)
        finally:
            self._device.close()

    def _wait_until_sent(self) -> None:
        """Stopping drops what waits to be sent; where nobody acknowledges it there is no other way."""
        end = time.monotonic() + LINGER_S
        while self._device._CAN_getInterrupts(self._port)[1] & BUFFERS_EMPTY != BUFFERS_EMPTY:
            if time.monotonic() >= end:
                LOG.warning("not everything could be sent before the bus was shut down")
                break
            time.sleep(RETRY_S)

    @staticmethod
    def _detect_available_configs() -> list[Any]:
        models = {
            label: name
            for name, label in pyqvx.LABEL_DICT.items()
            if issubclass(getattr(pyqvx, name, object), pyqvx.CANModule)
        }
        handle = pyqvx.USBDevice(verbose=False)
        try:
            # Programs that ask every interface want an answer, not the warning about a missing library, which
            # the driver prints with a stack.
            with redirect_stdout(None), warnings.catch_warnings():
                warnings.simplefilter("ignore")
                found = handle._getAllUSBDevices()
        except pyqvx.Error:
            found = []
        finally:
            handle.close()
        return [
            {"interface": "qvx", "channel": serial, "model": models[product]}
            for serial, product in found
            if product in models
        ]


Bank = tuple[int, list[tuple[int, bool]]]


def fit(filters: Sequence[Any]) -> tuple[Bank, Bank] | None:
    """python-can's filters as (mask, [(identifier, extended), ...]) for each of the device's two masks; None
    when there are none, or they don't fit."""
    wanted: dict[int, list[tuple[int, bool]]] = {}
    for each in filters:
        identifier, mask = each["can_id"], each["can_mask"]
        for extended in [each["extended"]] if "extended" in each else [False, True]:
            bits = EXTENDED_IDS if extended else STANDARD_IDS
            if identifier & mask & ~bits:
                continue  # no message of this format passes
            # A mask of at most 11 bits is set in the standard format, in which they stand where those of a
            # standard identifier do; an extended one must not be confused with it.
            if extended and mask & bits <= STANDARD_IDS and mask & bits != 0:
                return None
            wanted.setdefault(mask & bits, []).append((identifier & bits, extended))
    banks = sorted(wanted.items(), key=lambda bank: len(bank[1]))
    if len(banks) == 1:
        mask, places = banks[0]
        banks = [(mask, places[:2]), (mask, places[2:] or places[:1])]
    if len(banks) != 2 or any(len(bank[1]) > len(places) for bank, (_, places) in zip(banks, BANKS)):
        return None
    return banks[0], banks[1]
