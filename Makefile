# The commands of a checkout. Each does its own set-up on Debian 12 and is quick when there is nothing to do.
#   build test test-dev demo bench    lint format asan tsan fuzz
#   stubs check-stubs check-usb check-wheel check-fresh    clean
SHELL := /bin/bash
.SHELLFLAGS := -eu -o pipefail -c
MAKEFLAGS += --no-print-directory
# Debian's own tools, whatever else the machine has installed.
export PATH := /usr/bin:/bin:$(PATH)

PYTHON := .venv/bin/python
# Seconds that each fuzz target runs.
FUZZ_SECONDS ?= 20

configure = if ! [ build/$(1)/build.ninja -nt CMakePresets.json ]; then cmake --preset $(1); touch build/$(1)/build.ninja; fi
# Adds the tests to build/release, once their packages are there.
configure_tests = if ! grep -q '^QVX_BUILD_TESTS:BOOL=ON' build/release/CMakeCache.txt; then cmake --preset release-tests; fi

.PHONY: all build test test-dev demo bench lint format asan tsan fuzz stubs check-stubs check-usb check-wheel check-fresh clean
all: build

# Leaves .venv/bin/python able to import pyqvx, and .venv/bin/qvx-virtual.
build:
	@tools/install-packages build
	@$(call configure,release)
	@cmake --build build/release --target pyqvx qvx-virtual
	@[ -x $(PYTHON) ] || /usr/bin/python3.11 -m venv --system-site-packages .venv
	@cmake --install build/release --component pyqvx --prefix $(CURDIR)/.venv

test: build
	@tools/install-packages test
	@$(configure_tests)
	@cmake --build build/release
	@$(PYTHON) tools/run_tests.py release

# The Python tests in the interpreter's development mode, whose allocator shows what is used or freed again, and with a
# garbage collection at almost every allocation.
test-dev: build
	@tools/install-packages test
	@PYTHONDEVMODE=1 $(PYTHON) -m pytest --quiet -n 4

# The same tests as `test`, with everything built under a sanitizer.
asan tsan: build
	@tools/install-packages test
	@$(call configure,$@)
	@cmake --build build/$@
	@$(PYTHON) tools/run_tests.py $@

fuzz:
	@tools/install-packages build fuzz
	@$(call configure,fuzz)
	@cmake --build build/fuzz
	@tools/run-fuzz build/fuzz $(FUZZ_SECONDS)

demo: build
	@tools/install-packages demo
	@$(PYTHON) examples/demo.py

bench: build
	@tools/install-packages test
	@$(configure_tests)
	@cmake --build build/release --target qvx_mock_bus
	@$(PYTHON) benchmarks/run.py

# Needs no build: only the compile commands.
lint:
	@tools/install-packages build test lint
	@$(call configure,dev)
	@tools/lint

format:
	@tools/install-packages lint
	@tools/lint --fix

# The stub package follows the built module: `stubs` writes it, `check-stubs` fails where it differs.
stubs: build
	@$(PYTHON) tools/make_stubs.py
check-stubs: build
	@$(PYTHON) tools/make_stubs.py --check

# The module and the virtual bench on a real kernel's USB, in a virtual machine.
check-usb: build
	@tools/install-packages usb-kernel
	@/usr/bin/python3.11 tools/usb_kernel.py

check-wheel:
	@tools/install-packages build
	@tools/check-wheel

# The README's commands on a machine where nothing was ever installed.
check-fresh:
	@tools/install-packages fresh
	@tools/check-fresh

clean:
	rm -rf build .venv dist .mypy_cache .pytest_cache .hypothesis
