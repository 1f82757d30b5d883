"""Import time in a fresh interpreter, of the module and of Python's socket module."""

from __future__ import annotations

import os
import subprocess
import sys
from pathlib import Path

import pyqvx
from measure import Row, compare

SCRIPT = """
import sys, time
sys.path.insert(0, sys.argv[1])
began = time.perf_counter()
import {}
print(time.perf_counter() - began)
"""


def run(rounds: int) -> Row:
    def importing(name: str) -> float:
        # Isolated, so that nothing the environment asks for has been imported before.
        command = [sys.executable, "-I", "-c", SCRIPT.format(name), os.fspath(Path(pyqvx.__file__).parent)]
        return float(subprocess.run(command, capture_output=True, text=True, check=True).stdout)

    return compare(
        "import pyqvx / import socket", lambda: importing("pyqvx"), lambda: importing("socket"), rounds, None
    )
