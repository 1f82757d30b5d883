"""Every example runs as its reader would run it, and the demo notices when what it claims does not hold."""

from __future__ import annotations

import importlib.util
import re
import subprocess
import sys
from pathlib import Path

import pytest
from fakes import ROOT, environment

EXAMPLES = ROOT / "examples"
LIMIT_S = 100


def run(name: str, *options: str) -> subprocess.CompletedProcess[str]:
    command = [sys.executable, str(EXAMPLES / name), *options]
    environ = environment() | {"PYTHONIOENCODING": "utf-8"}
    return subprocess.run(command, env=environ, capture_output=True, text=True, timeout=LIMIT_S, check=False)


@pytest.mark.parametrize(
    ("name", "pattern"),
    [
        ("read_on_demand.py", r"AI0 \[V\].*AI7 \[V\]\n(( +-?\d\.\d{4}){8}\n){10}"),
        # Channels 0 and 1 of its sources: a sine of 50 Hz, a square wave of 120 Hz and 2 V.
        ("stream_to_numpy.py", r"AI0 +0\.0000 +3\.53\d\d +50\nAI1 +0\.0000 +2\.00\d\d +120\n"),
        (
            "stream_asyncio.py",
            r"(.* 5000 samples, AI0 from -5\.0000 to 5\.0000 V\n){3}15000 samples from 3 devices",
        ),
        (
            "digital_lines.py",
            r"has 6 pins: DI.*\n\n.*\n# \. \. \. \. \. \. \.   # \. \.[^#]*\n(.*\n){6}(\. ){7}#   [^#]*\n",
        ),
        (
            "uart_loopback.py",
            r"(.*: b'The quick brown fox\.'\n){2}sent at  19200, received at   9600: b'(?!The)",
        ),
        (
            "can_monitor.py",
            r" s  18DA00F1  \[8\]  00 00 00 00 04 03 02 01\n1 frame sent, [1-9]\d* received\n$",
        ),
        (
            "digital_asyncio.py",
            r"(FD00000[123]: output 2 arrives at \[3\]; output 3 arrives at \[2\]\n){3}$",
        ),
        (
            "ao_levels_asyncio.py",
            r"( *(-?\d\.\d{4}) V -> +\2 V\n| .*\n){20}gain 1\.0000\d, offset 0\.\d\d mV\n$",
        ),
        (
            "i2c_eeprom.py",
            r"on I2C 1: 0x50, 0x57\nbefore:( ff){8}\nafter:  calibrated 2026-11-21, .* -0\.3 mV\n",
        ),
        (
            "spi_shift_register.py",
            r"(CD00000[12]\n.*\n# (\. ){7} *(\. ){7}\.\n(.*\n){6}(\. ){7}# +(\. ){6}# \.\n\n){2}$",
        ),
        ("read_high_voltage.py", r"\n( +-?\d+\.\d{3} V\n){10}D"),
        # The channels' sources: a level of 1.5 V, a sine of 100 uV around 2 V, noise within +-20 uV.
        (
            "stream_24_bit.py",
            r"is 1\.19 uV\n.*\nAI0 +1\.4999998 +0\.00 +0\.00\n"
            r"AI1 +2\.0000000 +70\.\d\d +\d+\.\d\d\nAI2 .* 11\.\d\d +",
        ),
    ],
)
def test_example(name: str, pattern: str) -> None:
    result = run(name, "--virtual")
    assert result.returncode == 0, result.stdout + result.stderr
    assert re.search(pattern, result.stdout), result.stdout
    assert result.stderr == ""


def test_generated_sine_is_drawn(tmp_path: Path) -> None:
    picture = tmp_path / "sine.png"
    drawn = importlib.util.find_spec("matplotlib") is not None
    result = run("ao_sine_to_ai.py", "--virtual", *(["--png", str(picture)] if drawn else []))
    assert result.returncode == 0, result.stdout + result.stderr
    measured = re.search(r"measured (\S+) V around (\S+) V\.", result.stdout)
    assert measured
    amplitude, offset = measured.groups()
    # Held between its steps, the sine loses sin(x)/x of its height, x being half a step's angle.
    assert abs(float(amplitude) - 4 * 0.99897) < 0.003 and abs(float(offset) - 1) < 0.003
    assert "5.00 V" in result.stdout and "-3.00 V" in result.stdout
    assert not drawn or picture.read_bytes().startswith(b"\x89PNG")


def test_example_without_device() -> None:
    result = run("read_on_demand.py")
    assert result.returncode == 2 and "--virtual" in result.stderr


def test_demo(tmp_path: Path) -> None:
    picture = tmp_path / "demo.png"
    drawn = importlib.util.find_spec("matplotlib") is not None
    result = run("demo.py", "--seconds", "0.5", *(["--png", str(picture)] if drawn else ["--no-png"]))
    assert result.returncode == 0, result.stdout + result.stderr
    assert "✔ every value is the one recorded (40,000 compared)" in result.stdout
    assert re.search(r"\n +lost +0\n", result.stdout)
    assert "\x1b" not in result.stdout and "\r" not in result.stdout
    assert not drawn or picture.read_bytes().startswith(b"\x89PNG")


def test_demo_fails_when_samples_are_wrong() -> None:
    result = run("demo.py", "--seconds", "0.5", "--no-png", "--fault", "duplicate=0.3")
    assert result.returncode == 1, result.stdout + result.stderr
    assert "DOES NOT HOLD: every value is the one recorded" in result.stdout
