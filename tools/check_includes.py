"""Fails on an include that points up: check_includes.py [ROOT]

Each room may include itself and the rooms before it. The virtual bench stands beside them and shares core/
only. What the system, the language or a third party offers may be reserved to some rooms too.
"""

import re
import sys
from pathlib import Path
from typing import Iterator, NamedTuple

ORDER = ("core", "runtime", "transport", "protocol", "modules", "models", "binding")
MAY_INCLUDE = {room: set(ORDER[: place + 1]) for place, room in enumerate(ORDER)} | {
    "virtual": {"virtual", "core"}
}

# (what an include begins with, the rooms that may have it)
RESERVED = (
    (re.compile(r"pybind11/|Python\.h$"), {"binding"}),
    (re.compile(r"boost/context/"), {"runtime"}),
    (re.compile(r"sys/socket\.h$|netinet/|libusb|termios\.h$"), {"transport", "virtual"}),
    (re.compile(r"condition_variable$|shared_mutex$|semaphore$|pthread\.h$"), {"runtime"}),
    (re.compile(r"thread$"), {"runtime", "transport", "protocol", "binding"}),
)

# (a name of the language or the system, what stands for it, the rooms that may use it)
NAMES = (
    (
        re.compile(r"\bstd::(\w*mutex|condition_variable\w*|lock_guard|unique_lock|scoped_lock)\b"),
        "Mutex",
        {"runtime"},
    ),
    # Started, not held: `std::thread(`, `std::thread name(` and so on.
    (re.compile(r"\bstd::(j?thread(\s+\w+)?\s*[({]|async\b)|\bpthread_\w+"), "startThread", {"runtime"}),
)

INCLUDE = re.compile(r'^[ \t]*#[ \t]*include[ \t]*([<"])([^>"]+)[>"]', re.MULTILINE)


class Include(NamedTuple):
    line: int
    name: str
    # The project's file that it names; None for the system's and third parties'.
    target: Path | None


def source_files(root: Path) -> list[Path]:
    """The C++ files of every room."""
    suffixes = {".h", ".cpp", ".def"}
    return sorted(f for top in ("src", "virtual") for f in (root / top).rglob("*") if f.suffix in suffixes)


def includes(root: Path, source: Path) -> Iterator[Include]:
    """The includes of one file; a quoted name is looked for beside the file first, as the compiler does."""
    text = source.read_text(encoding="utf-8")
    for match in INCLUDE.finditer(text):
        places = [source.parent] if match[1] == '"' else []
        candidates = [(place / match[2]).resolve() for place in (*places, root / "src", root)]
        target = next((c for c in candidates if c.is_file() and c.is_relative_to(root)), None)
        yield Include(text.count("\n", 0, match.start()) + 1, match[2], target)


def room_of(root: Path, path: Path) -> str:
    """The room a file of the project lives in; "" for a file outside all rooms."""
    parts = path.relative_to(root).parts
    name = parts[1] if parts[0] == "src" else parts[0]
    return name if name in MAY_INCLUDE else ""


def violations(root: Path) -> Iterator[str]:
    """One line per arrow, and per name, that must not be there."""
    root = root.resolve()
    for source in source_files(root):
        room = room_of(root, source)
        place = source.relative_to(root)
        if not room:
            yield f"{place}: lies in no known room"
            continue
        for include in includes(root, source):
            where = f'{place}:{include.line}: "{include.name}"'
            if include.target is not None:
                other = room_of(root, include.target)
                if other not in MAY_INCLUDE[room]:
                    yield f"{where}: {room} must not include {other or 'a file outside all rooms'}"
                continue
            for begins, rooms in RESERVED:
                if room not in rooms and begins.match(include.name):
                    yield f"{where}: only {', '.join(sorted(rooms))} may include this"
        for number, line in enumerate(source.read_text(encoding="utf-8").splitlines(), 1):
            for name, instead, rooms in NAMES:
                if room not in rooms and (found := name.search(line.partition("//")[0])):
                    yield f"{place}:{number}: {found[0]}: outside {', '.join(sorted(rooms))} it is {instead}"


def main() -> int:
    root = Path(sys.argv[1]) if len(sys.argv) > 1 else Path(__file__).parent.parent
    found = list(violations(root))
    for line in found:
        print(line)
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
