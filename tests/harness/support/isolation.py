"""Namespaces of this process's own, so that what a harness does is seen by nobody else, and needs no
cleaning up. Needs root."""

import ctypes
import fcntl
import os
import socket
import struct
import sys
from pathlib import Path

# Of linux/sched.h, linux/mount.h, linux/if.h and linux/sockios.h.
CLONE_NEWNS, CLONE_NEWNET = 0x00020000, 0x40000000
MS_BIND, MS_REC, MS_PRIVATE = 0x1000, 0x4000, 0x40000
IFF_UP, SIOCSIFFLAGS = 1, 0x8914
# How a test says to ctest that it did not run.
SKIPPED = 77
JOURNAL = Path("/run/systemd/journal")

_libc = ctypes.CDLL(None, use_errno=True)


def _check(result):
    if result != 0:
        raise OSError(ctypes.get_errno(), os.strerror(ctypes.get_errno()))


def _mount(source, target, kind=None, flags=0):
    encoded = [None if text is None else os.fsencode(text) for text in (source, target, kind)]
    _check(_libc.mount(*encoded, ctypes.c_ulong(flags), None))


def isolate():
    """Leaves this process and its children with a network of loopback alone, and without the
    journal, so that the daemon logs to its standard error."""
    try:
        _check(_libc.unshare(CLONE_NEWNS | CLONE_NEWNET))
        _mount("none", "/", flags=MS_REC | MS_PRIVATE)
    except OSError as error:
        print(f"not run: needs root and namespaces ({error})", file=sys.stderr)
        sys.exit(SKIPPED)
    if JOURNAL.is_dir():
        _mount("none", JOURNAL, "tmpfs")
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:
        fcntl.ioctl(any_socket, SIOCSIFFLAGS, struct.pack("16sH14x", b"lo", IFF_UP))


def add_accounts(directory, users, groups):
    """Makes accounts known to this process and its children: users by name and number, groups by
    name, number and members."""
    lines = {"passwd": [f"{name}:x:{number}:{number}::/:/bin/false" for name, number in users],
             "group": [":".join([name, "x", str(number), ",".join(members)])
                       for name, number, members in groups]}
    for name, added in lines.items():
        extended = directory / name
        extended.write_text(Path("/etc", name).read_text() + "\n".join(added) + "\n")
        _mount(extended, f"/etc/{name}", flags=MS_BIND)
