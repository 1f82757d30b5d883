"""In the interpreter's development mode objects are collected as early as can be: what is let go too early, or
twice, shows."""

import gc
import sys

if sys.flags.dev_mode:
    gc.set_threshold(1)
