"""Tries pyqvx and qvx-virtual on a real kernel's USB, and prints what was seen: usb_kernel.py [SECONDS]

A virtual machine boots Debian's kernel, with this machine's files read-only below it. Inside,
tests/usb/kernel_guest.py attaches devices that qvx-virtual serves by USB/IP, and uses them as any program
would. Nothing outside is changed, but for what is kept in build/usb-kernel/. SECONDS, 120 by default, is the
limit from the machine's start to the result.
"""

from __future__ import annotations

import lzma
import re
import shutil
import signal
import struct
import subprocess
import sys
import time
from pathlib import Path
from typing import IO

ROOT = Path(__file__).resolve().parent.parent
KEPT = ROOT / "build" / "usb-kernel"
LIMIT_S = 120.0
BUSYBOX = Path("/bin/busybox")
DONE = "usb-kernel: done, status "

# In the order in which they are loaded. The last is a driver that takes the device before pyqvx does.
MODULES = """
    virtio_ring virtio virtio_pci_modern_dev virtio_pci_legacy_dev virtio_pci
    netfs fscache 9pnet 9pnet_virtio 9p
    usb-common usbcore usbip-core vhci-hcd usbserial
""".split()
PARAMETERS = {"usbserial": "vendor=0x483 product=0x5750"}

INIT = """#!/bin/busybox sh
export PATH=/bin
/bin/busybox --install -s /bin
mount -t proc proc /proc
mount -t devtmpfs dev /dev
echo 3 >/proc/sys/kernel/printk
{modules}
mount -t 9p -o trans=virtio,version=9p2000.L,msize=524288,cache=loose,ro host /host || poweroff -f
mount -t proc proc /host/proc
mount -t sysfs sys /host/sys
mount -t devtmpfs dev /host/dev
mount -t tmpfs run /host/run
ip link set lo up
cd /
chroot /host /usr/bin/env -i PATH=/usr/bin:/bin HOME=/run TMPDIR=/run LC_ALL=C.UTF-8 \\
  PYTHONDONTWRITEBYTECODE=1 {python} -u {guest} </dev/null
echo "{done}$?"
poweroff -f
"""


def run(*command: str, cwd: Path | None = None, stdin: IO[bytes] | None = None) -> None:
    subprocess.run(command, check=True, cwd=cwd, stdin=stdin)


def kernel_package() -> str:
    """The package that linux-image-amd64 stands for."""
    for attempt in range(2):
        shown = subprocess.run(
            ["apt-cache", "depends", "linux-image-amd64"], capture_output=True, text=True, check=False
        )
        found = re.search(r"Depends: (linux-image-\S+)", shown.stdout)
        if found:
            return found[1]
        if attempt == 0:  # this machine has no package lists yet
            run("apt-get", "-qq", "update")
    raise RuntimeError("apt knows no linux-image-amd64; its package lists may be missing")


def unpack_kernel(directory: Path) -> None:
    """Downloads Debian's kernel; leaves `vmlinuz` and the modules in `directory`. Nothing is installed."""
    package = kernel_package()
    print(f"usb-kernel: downloads {package}", flush=True)
    run("apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download", package, cwd=directory)
    (archive,) = directory.glob("linux-image-*.deb")
    wanted = ["--wildcards", "./boot/vmlinuz-*"]
    wanted += [f"*/{name}.ko" for name in MODULES]
    with subprocess.Popen(["dpkg-deb", "--fsys-tarfile", str(archive)], stdout=subprocess.PIPE) as opened:
        run("tar", "-x", "-C", str(directory), "--no-anchored", *wanted, stdin=opened.stdout)
    archive.unlink()


def extract_vmlinux(image: bytes) -> bytes:
    """What `image` would unpack when it boots, slowly: an ELF file, which can be booted as it is."""
    setup_sectors = image[0x1F1] or 4
    offset, length = struct.unpack_from("<II", image, 0x248)
    start = (setup_sectors + 1) * 512 + offset
    unpacker = lzma.LZMADecompressor()  # Debian's are packed by xz; four bytes of length follow
    vmlinux = unpacker.decompress(image[start : start + length])
    if not vmlinux.startswith(b"\x7fELF"):
        raise RuntimeError("the kernel is packed in a way that this program does not know")
    return vmlinux


def find_module(unpacked: Path, name: str) -> Path | None:
    return next(unpacked.glob(f"lib/modules/**/{name}.ko"), None)


def make_initramfs(unpacked: Path, target: Path) -> None:
    tree = unpacked / "initramfs"
    for name in ("bin", "dev", "proc", "host", "modules"):
        (tree / name).mkdir(parents=True)
    shutil.copy(BUSYBOX, tree / "bin" / "busybox")
    loads = []
    for name in MODULES:
        module = find_module(unpacked, name)
        if module is None:
            raise RuntimeError(f"the kernel has no module {name}")
        shutil.copy(module, tree / "modules" / f"{name}.ko")
        loads.append(f"insmod /modules/{name}.ko {PARAMETERS.get(name, '')}")
    init = INIT.format(
        modules="\n".join(loads),
        python=ROOT / ".venv" / "bin" / "python",
        guest=ROOT / "tests" / "usb" / "kernel_guest.py",
        done=DONE,
    )
    (tree / "init").write_text(init)
    (tree / "init").chmod(0o755)
    names = "\n".join(str(path.relative_to(tree)) for path in sorted(tree.rglob("*")))
    with target.open("wb") as archive:
        subprocess.run(
            ["cpio", "-o", "-H", "newc", "--quiet"],
            input=names.encode(),
            stdout=archive,
            cwd=tree,
            check=True,
        )


def prepare() -> tuple[Path, Path]:
    """The kernel, which is kept, and the first file system, made anew."""
    KEPT.mkdir(parents=True, exist_ok=True)
    vmlinux, initramfs, unpacked = KEPT / "vmlinux", KEPT / "initramfs", KEPT / "kernel"
    if not vmlinux.exists() or not all(find_module(unpacked, name) for name in MODULES):
        shutil.rmtree(unpacked, ignore_errors=True)
        unpacked.mkdir()
        unpack_kernel(unpacked)
        (image,) = (unpacked / "boot").glob("vmlinuz-*")
        vmlinux.with_suffix(".part").write_bytes(extract_vmlinux(image.read_bytes()))
        vmlinux.with_suffix(".part").rename(vmlinux)
    shutil.rmtree(unpacked / "initramfs", ignore_errors=True)
    make_initramfs(unpacked, initramfs)
    return vmlinux, initramfs


def machine(vmlinux: Path, initramfs: Path) -> list[str]:
    # One processor: without acceleration two are slower. The kernel's clock must not go by the processor's
    # counter, whose rate it measures far out where this machine is busy.
    return [
        *("setpriv", "--pdeathsig", "KILL"),  # nothing outlives this program, however it ends
        *("qemu-system-x86_64", "-accel", "tcg", "-machine", "q35", "-cpu", "max", "-smp", "1", "-m", "1024"),
        *("-nodefaults", "-no-user-config", "-display", "none", "-no-reboot", "-nic", "none"),
        *("-kernel", str(vmlinux), "-initrd", str(initramfs), "-serial", "stdio"),
        *("-append", "console=ttyS0 quiet panic=-1 nokaslr mitigations=off random.trust_cpu=on tsc=unstable"),
        *("-virtfs", "local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap"),
    ]


def main() -> int:
    limit = float(sys.argv[1]) if len(sys.argv) > 1 else LIMIT_S
    vmlinux, initramfs = prepare()
    print("usb-kernel: boots", flush=True)
    began = time.monotonic()
    status = None
    with subprocess.Popen(
        machine(vmlinux, initramfs),
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
    ) as process:
        assert process.stdout is not None
        signal.signal(signal.SIGTERM, lambda *_: sys.exit(1))  # and takes the machine along
        signal.signal(signal.SIGALRM, lambda *_: process.kill())
        signal.setitimer(signal.ITIMER_REAL, limit)
        try:
            for line in process.stdout:
                text = line.decode(errors="replace").rstrip()
                if text.startswith(DONE):
                    status = int(text[len(DONE) :])
                    break
                print(f"[{time.monotonic() - began:5.1f} s] {text}", flush=True)
        finally:
            process.kill()
            signal.setitimer(signal.ITIMER_REAL, 0)
    took = time.monotonic() - began
    if status is None:
        late = f"after the limit of {limit:.0f} s" if took >= limit else "by itself"
        print(f"usb-kernel: FAILED, the machine ended {late}, without a result")
        return 1
    print(f"usb-kernel: {'passed' if status == 0 else 'FAILED'} {took:.1f} s after the start of the machine")
    return 0 if status == 0 else 1


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (OSError, RuntimeError, subprocess.CalledProcessError, ValueError) as problem:
        sys.exit(f"usb-kernel: {problem}")
