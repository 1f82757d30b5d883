"""Runs the C++ and the Python tests of one build and ends with their counts: run_tests.py PRESET

For a sanitizer's build the interpreter, which is not built with it, gets the sanitizer's runtime preloaded
and imports that build's module; the virtual bench is the installed one, so that its pace is right.
"""

import os
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
PYTHON = ROOT / ".venv" / "bin" / "python"
# Seconds after which a run that hangs is ended.
LIMIT = 1200

RUNTIME = {"asan": "libasan.so", "tsan": "libtsan.so"}
# The interpreter leaves memory behind at exit, so leaks are looked for in the C++ tests only.
OPTIONS = {
    "asan": {"UBSAN_OPTIONS": "print_stacktrace=1", "ASAN_OPTIONS": "strict_string_checks=1"},
    "tsan": {
        "TSAN_OPTIONS": f"second_deadlock_stack=1:report_thread_leaks=0:suppressions={ROOT}/tests/tsan.supp"
    },
}


class Counts:
    def __init__(self, passed: int = 0, failed: int = 0) -> None:
        self.passed = passed
        self.failed = failed

    def __str__(self) -> str:
        return f"{self.passed} passed, {self.failed} failed"


def read_junit(report: Path) -> Counts:
    """Counts of a JUnit report, which both runners write; one that is missing counts as a failure."""
    if not report.is_file():
        return Counts(0, 1)
    counts = Counts()
    for case in ElementTree.parse(report).iter("testcase"):
        if case.find("failure") is not None or case.find("error") is not None or case.get("status") == "fail":
            counts.failed += 1
        elif case.find("skipped") is None and case.get("status") not in ("disabled", "notrun"):
            counts.passed += 1
    return counts


def run(name: str, command: list[str], report: Path, env: dict[str, str]) -> Counts:
    """Runs one suite. One that ran no test, or failed in another way than by a test, counts as a failure."""
    report.unlink(missing_ok=True)
    print(f"== {name}", flush=True)
    try:
        status = subprocess.run(
            command, cwd=ROOT, env=os.environ | env, timeout=LIMIT, check=False
        ).returncode
    except subprocess.TimeoutExpired:
        print(f"{name}: ended after {LIMIT} s")
        status = 1
    counts = read_junit(report)
    if counts.failed == 0 and (status != 0 or counts.passed == 0):
        print(f"{name}: ended with status {status} after {counts.passed} tests passed")
        counts.failed = 1
    return counts


def runtime_library(name: str) -> str:
    found = subprocess.run(["g++", f"-print-file-name={name}"], capture_output=True, text=True, check=True)
    return found.stdout.strip()


def starter(preset: str) -> list[str]:
    """ThreadSanitizer's map of memory does not fit where addresses spread over more than 28 bits."""
    bits = Path("/proc/sys/vm/mmap_rnd_bits")
    try:
        wide = int(bits.read_text()) > 28
    except OSError:
        wide = True
    return ["setarch", "--addr-no-randomize"] if preset == "tsan" and wide else []


def main() -> int:
    preset = sys.argv[1]
    build = ROOT / "build" / preset
    env = dict(OPTIONS.get(preset, {}))
    wrapper = starter(preset)

    report = build / "ctest.xml"
    ctest = ["ctest", "--test-dir", str(build), "-j", str(os.cpu_count() or 1), "--output-on-failure"]
    ctest += ["--no-tests=error", "--output-junit", str(report)]
    cpp = run("C++", wrapper + ctest, report, env)

    if preset in RUNTIME:
        env["LD_PRELOAD"] = " ".join(runtime_library(name) for name in (RUNTIME[preset], "libstdc++.so"))
        env["PYTHONPATH"] = str(build / "src" / "binding")
        env["PYTHONMALLOC"] = "malloc"
        env["QVX_SANITIZER"] = preset
        env["QVX_VIRTUAL"] = str(ROOT / ".venv" / "bin" / "qvx-virtual")
        if preset == "asan":
            env["ASAN_OPTIONS"] += ":detect_leaks=0"
        # Into files: pytest captures standard error, and a process that is ended takes the reports along.
        for old in build.glob("report.*"):
            old.unlink()
        for variable in OPTIONS[preset]:
            env[variable] += f":log_path={build}/report"
    report = build / "pytest.xml"
    pytest = [str(PYTHON), "-m", "pytest", "tests/python", "--quiet", "-n", "4", f"--junitxml={report}"]
    python = run("Python", wrapper + pytest, report, env)

    for text in (file.read_text(errors="replace") for file in sorted(build.glob("report.*"))):
        print(text)
        python.failed = max(python.failed, 1)

    print(f"C++: {cpp}")
    print(f"Python: {python}")
    print(Counts(cpp.passed + python.passed, cpp.failed + python.failed))
    return 1 if cpp.failed + python.failed else 0


if __name__ == "__main__":
    sys.exit(main())
