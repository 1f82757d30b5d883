"""clang-tidy over the C++ rooms, as many files at a time as there are processors: tidy.py BUILD_DIR

BUILD_DIR holds compile_commands.json. A file that was clean is skipped until it, a header it reaches, its
compile command, the settings or clang-tidy itself change. The same run analyses what each mutex guards. Of
the binding that is all: what pybind11's headers make of it is not ours.
"""

import hashlib
import json
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

from check_includes import includes, room_of

ROOT = Path(__file__).resolve().parent.parent
STAMPS = ROOT / "build" / "lint" / "tidy"
COMMANDS = ROOT / "build" / "lint" / "compile_commands.json"
CLANG_TIDY = "clang-tidy-14"
# Options that only GCC knows are passed over.
OPTIONS = ["--quiet", "--extra-arg=-Wno-unknown-warning-option", "--extra-arg=-Wthread-safety"]
# clang-tidy refuses to run with none of its own.
BINDING_CHECKS = "--checks=-*,clang-diagnostic-thread-safety*,readability-duplicate-include"


def reached(source: Path) -> list[Path]:
    """The file and every file of the project that it includes, directly or not."""
    found = {source}
    waiting = [source]
    while waiting:
        for include in includes(ROOT, waiting.pop()):
            if include.target is not None and include.target not in found:
                found.add(include.target)
                waiting.append(include.target)
    return sorted(found)


def fingerprint(source: Path, command: str, common: bytes) -> str:
    digest = hashlib.sha256(common + command.encode())
    for path in reached(source):
        digest.update(str(path).encode() + b"\0" + path.read_bytes() + b"\0")
    return digest.hexdigest()


def without_gcc(command: str) -> str:
    """A compile command without GCC's precompiled header; which warnings are errors, .clang-tidy says."""
    return re.sub(r" (-Winvalid-pch|-include \S*cmake_pch\S*|-Werror)(?= )", "", command)


def check(source: Path, commands: Path) -> tuple[bool, str]:
    only = [BINDING_CHECKS] if room_of(ROOT, source) == "binding" else []
    run = subprocess.run(
        [CLANG_TIDY, *OPTIONS, *only, "-p", str(commands.parent), str(source)],
        capture_output=True,
        text=True,
        check=False,
    )
    # The count of suppressed warnings goes to stderr, always; it matters only when clang-tidy could not work.
    return run.returncode == 0, run.stdout + (run.stderr if run.returncode and not run.stdout else "")


def main() -> int:
    build = Path(sys.argv[1])
    version = subprocess.run([CLANG_TIDY, "--version"], capture_output=True, check=True).stdout
    common = version + (ROOT / ".clang-tidy").read_bytes() + repr((OPTIONS, BINDING_CHECKS)).encode()
    pending = []
    checked = 0
    entries = json.loads((build / "compile_commands.json").read_text())
    for entry in entries:
        entry["command"] = without_gcc(entry["command"])
    COMMANDS.parent.mkdir(parents=True, exist_ok=True)
    COMMANDS.write_text(json.dumps(entries))
    for entry in entries:
        source = Path(entry["directory"], entry["file"]).resolve()
        if not source.is_relative_to(ROOT) or not room_of(ROOT, source):
            continue
        checked += 1
        stamp = STAMPS / f"{source.relative_to(ROOT)}.ok"
        mark = fingerprint(source, entry["command"], common)
        if not (stamp.is_file() and stamp.read_text() == mark):
            pending.append((source, stamp, mark))
    failed = 0
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for (_, stamp, mark), (clean, text) in zip(
            pending, pool.map(lambda job: check(job[0], COMMANDS), pending)
        ):
            if clean:
                stamp.parent.mkdir(parents=True, exist_ok=True)
                stamp.write_text(mark)
            else:
                failed += 1
                print(text, flush=True)
    print(f"clang-tidy: {checked} files, {len(pending)} of them changed, {failed} with faults")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
