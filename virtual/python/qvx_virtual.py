"""Start virtual QVX devices from Python: for tests, examples and trying things without hardware.

    with VirtualDevice("FeroxA", source="sine:5:50") as bench:
        device.connect(bench.ip, bench.port)

    with VirtualDevice("FeroxA", pty=True) as bench:
        uart_device.connect(bench.path)

Needs nothing but the program qvx-virtual, which is looked for in the environment variable QVX_VIRTUAL, beside
this file, in the scripts of this Python environment and on the PATH.
"""

from __future__ import annotations

import os
import selectors
import shutil
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterable, Mapping
from pathlib import Path
from types import TracebackType
from typing import IO

__all__ = ["VirtualDevice", "find_program"]

_START_TIMEOUT_S = 20.0
_STOP_TIMEOUT_S = 5.0


def find_program() -> str:
    """The path of qvx-virtual. Raises RuntimeError when it is nowhere."""
    given = os.environ.get("QVX_VIRTUAL")
    if given:
        return given
    beside = [Path(__file__).resolve().parent, Path(sys.prefix) / "bin"]
    for directory in beside:
        found = shutil.which("qvx-virtual", path=str(directory))
        if found:
            return found
    on_path = shutil.which("qvx-virtual")
    if on_path:
        return on_path
    raise RuntimeError("qvx-virtual was not found: put it on the PATH, or its path into QVX_VIRTUAL")


def _command_line(options: Mapping[str, object]) -> list[str]:
    """Keyword options as arguments: True is a flag, a list repeats, a mapping gives KEY=VALUE."""
    arguments: list[str] = []
    for name, value in options.items():
        option = "--" + name.replace("_", "-")
        if value is None or value is False:
            continue
        if value is True:
            arguments.append(option)
        elif isinstance(value, Mapping):
            arguments += [f"{option}={key}={item}" for key, item in value.items()]
        elif isinstance(value, Iterable) and not isinstance(value, (str, bytes)):
            arguments += [f"{option}={item}" for item in value]
        else:
            arguments.append(f"{option}={value}")
    return arguments


class VirtualDevice:
    """One virtual device, or several with `count`, in a process of their own, as a context manager.

    model: class name of the product.
    listen: address and port of the first device; by default a free port of 127.0.0.1. Not with `pty`, a
        serial line, and `usbip`, True for the usual address or "ADDRESS:PORT".
    options: those of qvx-virtual, with underscores for hyphens: source="sine:5:50", drop=0.1, silent=True,
        source=["ramp", "3=constant:1"], status={177: 52}.

    After `start` (or inside `with`) `ip`, `port` and `address` are those of the first device, `addresses` has
    a pair (ip, port) for each and `process` is the running program. Wireless models stream over a port of
    their own: `data_port`, and `data_ports` for each device; None on other models. With `pty` there is
    instead `path`, the terminal to open, and `paths`; with `usbip` `bus_ids` beside `addresses`, which are
    all the same. `start` raises RuntimeError with the program's message when it does not start. The program
    ends with this process, whatever happens.
    """

    def __init__(
        self,
        model: str = "FeroxA",
        *,
        listen: str | Iterable[str] | None = None,
        **options: object,
    ) -> None:
        if listen is None and not options.get("pty") and not options.get("usbip"):
            listen = "127.0.0.1:0"
        self._options: dict[str, object] = {"model": model, "listen": listen}
        self._options.update(options)
        self._errors: IO[bytes] | None = None
        self._process: subprocess.Popen[bytes] | None = None
        self.addresses: list[tuple[str, int]] = []
        self.data_ports: list[int | None] = []
        self.paths: list[str] = []
        self.bus_ids: list[str] = []

    @property
    def process(self) -> subprocess.Popen[bytes]:
        if self._process is None:
            raise RuntimeError("the virtual device has not been started")
        return self._process

    @property
    def ip(self) -> str:
        return self.addresses[0][0]

    @property
    def port(self) -> int:
        return self.addresses[0][1]

    @property
    def path(self) -> str:
        return self.paths[0]

    @property
    def data_port(self) -> int | None:
        return self.data_ports[0]

    @property
    def address(self) -> tuple[str, int]:
        return self.addresses[0]

    @property
    def log(self) -> str:
        """What the program has written to standard error so far."""
        if self._errors is None:
            return ""
        # pread: the program shares the file's position.
        return os.pread(self._errors.fileno(), 1 << 24, 0).decode(errors="replace")

    def start(self) -> VirtualDevice:
        if self._process is not None:
            raise RuntimeError("the virtual device has been started already")
        command = [find_program(), "--die-with-parent", *_command_line(self._options)]
        # A file, not a pipe: nobody reads a pipe, and a full one would block the program.
        self._errors = tempfile.TemporaryFile()
        try:
            self._process = subprocess.Popen(
                command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=self._errors
            )
            self._read_addresses()
        except OSError as error:
            self.stop()
            raise RuntimeError(f"{command[0]} cannot be run: {error}") from error
        except BaseException:
            self.stop()
            raise
        return self

    def stop(self) -> None:
        """Ends the program; safe to repeat. The log is gone afterwards."""
        process, self._process = self._process, None
        if process is not None:
            process.terminate()
            try:
                process.wait(_STOP_TIMEOUT_S)
            except subprocess.TimeoutExpired:
                process.kill()
                process.wait()
            if process.stdout is not None:
                process.stdout.close()
        if self._errors is not None:
            self._errors.close()
            self._errors = None

    def __enter__(self) -> VirtualDevice:
        return self.start()

    def __exit__(
        self,
        kind: type[BaseException] | None,
        error: BaseException | None,
        traceback: TracebackType | None,
    ) -> None:
        self.stop()

    def _read_addresses(self) -> None:
        stdout = self.process.stdout
        assert stdout is not None
        deadline = time.monotonic() + _START_TIMEOUT_S
        received = b""
        with selectors.DefaultSelector() as selector:
            selector.register(stdout, selectors.EVENT_READ)
            while not (b"\n" + received).endswith(b"\nready\n"):
                if not selector.select(max(0.0, deadline - time.monotonic())):
                    raise RuntimeError(f"qvx-virtual was not ready in {_START_TIMEOUT_S:.0f} s\n{self.log}")
                block = os.read(stdout.fileno(), 65536)
                if not block:
                    self.process.wait(_STOP_TIMEOUT_S)
                    raise RuntimeError(
                        f"qvx-virtual ended with {self.process.returncode}: {self.log.strip()}"
                    )
                received += block
        for line in received.decode().splitlines():
            _, *place = line.split()[1:] or [""]
            if place and place[0].startswith("/"):
                self.paths.append(place[0])
            elif place:
                ip, _, port = place[0].rpartition(":")
                self.addresses.append((ip, int(port)))
                _, colon, data_port = place[-1].rpartition(":") if len(place) > 1 else ("", "", "")
                self.data_ports.append(int(data_port) if colon else None)
                self.bus_ids += [] if colon else place[1:]
