"""The form of a golden row."""

from __future__ import annotations

from dataclasses import dataclass

import pyqvx

# What travels: the command, the payload of the request and that of the reply, in hexadecimal; None: no reply.
Exchange = tuple[int, str, str | None]


@dataclass(frozen=True)
class Row:
    """A call of an operation, all that it must send and be answered, and what it must give: a value, or the
    class of an error."""

    name: str
    args: tuple
    exchanges: tuple[Exchange, ...]
    result: object
    models: frozenset[str] | None  # None: all that have the operation

    def __str__(self) -> str:
        return f"{self.name}{self.args}"


def op(name: str, args: tuple, *exchanges: Exchange, result: object = 0, on: set[str] | None = None) -> Row:
    return Row(name, args, exchanges, result, None if on is None else frozenset(on))


def products() -> list[type]:
    return [c for c in vars(pyqvx).values() if isinstance(c, type) and c.__name__ in pyqvx.LABEL_DICT]


def names(kind: type) -> set[str]:
    """Of the products that are of this class."""
    return {cls.__name__ for cls in products() if issubclass(cls, kind)}


WIRELESS = names(pyqvx.WifiDevice)
WIRED = names(object) - WIRELESS
CORDLOG = names(pyqvx.USBDevice)
