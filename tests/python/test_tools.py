"""The tools that guard the tree, each on a small tree or module made for it; and what the build promises."""

import json
import os
import re
import shutil
import subprocess
import sys
import types
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "tools"))

import check_includes  # noqa: E402
import make_stubs  # noqa: E402
import run_tests  # noqa: E402
import tidy  # noqa: E402

import pyqvx  # noqa: E402


@pytest.mark.parametrize(
    "source, line, fault",
    [
        ("src/protocol/a.cpp", '#include "core/bytes.h"', None),
        ("src/modules/analog/a.cpp", '#include "modules/system/system.h"', None),
        ("src/binding/a.cpp", "#include <pybind11/pybind11.h>", None),
        ("virtual/a.cpp", '#include "core/bytes.h"', None),
        ("src/core/a.cpp", '#include "protocol/pools.h"', "core must not include protocol"),
        ("src/core/a.cpp", '#include "../protocol/pools.h"', "core must not include protocol"),
        ("src/core/a.cpp", "#  include <protocol/pools.h>", "core must not include protocol"),
        ("src/models/a.cpp", '#include "virtual/options.h"', "models must not include virtual"),
        ("virtual/a.cpp", '#include "protocol/pools.h"', "virtual must not include protocol"),
        ("src/core/a.cpp", '#include "tests/help.h"', "core must not include a file outside all rooms"),
        (
            "src/modules/a.cpp",
            "#include <thread>",
            "only binding, protocol, runtime, transport may include this",
        ),
        ("src/protocol/a.cpp", "#include <boost/context/fiber.hpp>", "only runtime may include this"),
        ("src/protocol/a.cpp", "#include <condition_variable>", "only runtime may include this"),
        ("src/runtime/a.cpp", "std::mutex a; std::condition_variable b; std::thread c(d);", None),
        (
            "src/protocol/a.cpp",
            "std::thread a; std::thread::id b; std::this_thread::yield();  // std::mutex",
            None,
        ),
        ("src/protocol/a.cpp", "std::recursive_mutex a;", "outside runtime it is Mutex"),
        ("src/binding/a.cpp", "std::thread([] {}).detach();", "outside runtime it is startThread"),
        ("src/binding/a.cpp", "std::jthread a{[] {}};", "outside runtime it is startThread"),
        ("src/transport/a.cpp", "pthread_create(&a, nullptr, b, c);", "outside runtime it is startThread"),
        ("src/core/a.h", "#include <Python.h>", "only binding may include this"),
        ("src/elsewhere/a.cpp", "", "lies in no known room"),
    ],
)
def test_include_direction(tmp_path, source, line, fault):
    headers = ("src/core/bytes.h", "src/protocol/pools.h", "src/modules/system/system.h")
    for name in (*headers, "virtual/options.h", "tests/help.h"):
        (tmp_path / name).parent.mkdir(parents=True, exist_ok=True)
        (tmp_path / name).write_text("#pragma once\n")
    (tmp_path / source).parent.mkdir(parents=True, exist_ok=True)
    (tmp_path / source).write_text("// A file.\n\n" + line + "\n")
    found = list(check_includes.violations(tmp_path))
    if fault is None:
        assert found == []
    else:
        place = source if "room" in fault and not line else f"{source}:3"
        assert len(found) == 1 and found[0].startswith(place) and found[0].endswith(fault)


def test_a_change_of_a_header_reached_through_another_is_noticed(tmp_path, monkeypatch):
    monkeypatch.setattr(tidy, "ROOT", tmp_path)
    core = tmp_path / "src" / "core"
    core.mkdir(parents=True)
    texts = {
        "a.cpp": '#include "core/b.h"',
        "b.h": '#include "core/c.h"',
        "c.h": "int x;",
        "other.h": "int y;",
    }
    for name, text in texts.items():
        (core / name).write_text(text + "\n")

    def marks():
        return tidy.fingerprint(core / "a.cpp", "g++ a.cpp", b"settings")

    before = marks()
    (core / "other.h").write_text("int z;\n")
    assert marks() == before
    (core / "c.h").write_text("long x;\n")
    assert marks() != before


@pytest.mark.skipif(shutil.which(tidy.CLANG_TIDY) is None, reason="clang-tidy is not installed")
@pytest.mark.parametrize("room", ["protocol", "binding"])
@pytest.mark.parametrize("lock, clean", [("const qvx::Lock lock(mutex_);", True), ("", False)])
def test_a_missing_lock_is_a_fault(tmp_path, monkeypatch, room, lock, clean):
    monkeypatch.setattr(tidy, "ROOT", tmp_path)
    shutil.copy(ROOT / ".clang-tidy", tmp_path)
    source = tmp_path / "src" / room / "a.cpp"
    source.parent.mkdir(parents=True)
    source.write_text(
        f"""#include "runtime/mutex.h"
class Counter {{
 public:
  void add() {{ {lock} ++count_; }}

 private:
  qvx::Mutex mutex_;
  int count_ QVX_GUARDED_BY(mutex_) = 0;
}};
void add(Counter& counter) {{ counter.add(); }}
"""
    )
    commands = tmp_path / "compile_commands.json"
    command = f"g++ -std=c++20 -Winvalid-pch -include /none/cmake_pch.hxx -Werror -I {ROOT}/src -c {source}"
    entry = {"directory": str(tmp_path), "file": str(source), "command": tidy.without_gcc(command)}
    commands.write_text(json.dumps([entry]))
    good, text = tidy.check(source, commands)
    assert good == clean and ("requires holding mutex 'mutex_'" in text) != clean, text


def sample_module() -> types.ModuleType:
    """What the binding makes, in Python: docstrings that begin with a signature, typed properties, errors."""

    def doc(text):
        def function(self):
            return 0

        function.__doc__ = text
        return function

    module = types.ModuleType("sample")
    error = type("Error", (Exception,), {"__module__": "sample", "__doc__": "Every failure."})
    members = {
        "rate": property(lambda self: 1.0, lambda self, v: None, doc="Samples a second. -> float"),
        "AI_open": doc('AI_open(port: int, timeout: float = 3) -> int\n\nOpens "the" \\ port.'),
        "AI_open_async": doc("AI_open_async(port: int) -> Coroutine[int]"),
        "AI_close_async": doc("async AI_close_async() -> None"),
    }
    module.__dict__.update(
        CODES=[1, 2],
        Error=error,
        FeroxA=type("FeroxA", (), members),
        _check=doc("_check(value: Mapping[str, FeroxA] | None = None) -> None"),
    )
    return module


def test_stubs_follow_the_docstrings(tmp_path):
    text, faults = make_stubs.make_stubs(sample_module())
    assert faults == []
    for line in (
        "CODES: list[int]",
        "    def rate(self) -> float:",
        "    def rate(self, value: float) -> None: ...",
        "    async def AI_open_async(self, port: int) -> int: ...",
        "    async def AI_close_async(self) -> None: ...",
        "def _check(value: Mapping[str, FeroxA] | None = None) -> None: ...",
        "from collections.abc import Mapping",
    ):
        assert line in text.splitlines()
    stub = tmp_path / "sample.pyi"
    stub.write_text(text)
    use = tmp_path / "use.py"
    use.write_text("import sample\nreveal_type(sample.FeroxA().AI_open(0))\n")
    command = ["mypy", str(use), str(stub), "--cache-dir", str(tmp_path / "cache"), "--config-file="]
    plain = {name: value for name, value in os.environ.items() if name != "LD_PRELOAD"}
    report = subprocess.run(command, capture_output=True, text=True, env=plain, check=False).stdout
    assert 'Revealed type is "builtins.int"' in report and "error:" not in report


@pytest.mark.parametrize(
    "docstring, fault",
    [
        (None, "sample.run: no signature"),
        ("Runs the thing (slowly).", "sample.run: no signature"),
        ("run(port: Porrt) -> int", "sample.run: unknown name `Porrt`"),
        ("run(port: int timeout) -> int", "sample.run: cannot read"),
    ],
)
def test_an_operation_without_a_good_signature_is_a_fault(docstring, fault):
    module = sample_module()
    run = types.FunctionType((lambda: 0).__code__, {}, "run")
    run.__doc__ = docstring
    module.__dict__["run"] = run
    _, faults = make_stubs.make_stubs(module)
    assert len(faults) == 1 and f"sample.{faults[0]}".startswith(fault)


@pytest.mark.parametrize(
    "cases, status, passed, failed",
    [
        ("<testcase/><testcase status='run'/>", 0, 2, 0),
        ("<testcase/><testcase><skipped/></testcase><testcase status='notrun'/>", 0, 1, 0),
        ("<testcase/><testcase><failure/></testcase><testcase><error/></testcase>", 1, 1, 2),
        ("<testcase/>", 66, 1, 1),  # a sanitizer's report at exit
        ("", 0, 0, 1),  # a suite that ran nothing
        (None, 0, 0, 1),  # a suite that died
    ],
)
def test_counts(tmp_path, cases, status, passed, failed):
    report = tmp_path / "report.xml"
    text = f"<testsuite>{cases}</testsuite>"
    make = "" if cases is None else f"open({str(report)!r}, 'w').write({text!r});"
    command = [sys.executable, "-c", f"import sys; {make} sys.exit({status})"]
    counts = run_tests.run("suite", command, report, {})
    assert (counts.passed, counts.failed) == (passed, failed)


def test_one_version_everywhere():
    match = re.search(r"project\(pyqvx VERSION ([0-9.]+)", (ROOT / "CMakeLists.txt").read_text())
    assert match is not None and pyqvx.__version__ == match[1]


def test_the_initialiser_is_the_only_exported_symbol():
    command = ["nm", "--dynamic", "--defined-only", "--format=just-symbols", pyqvx.__file__]
    listed = subprocess.run(command, capture_output=True, text=True, check=True).stdout
    assert listed.split() == ["PyInit_pyqvx"]
