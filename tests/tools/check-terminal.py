#!/usr/bin/env python3
"""Looks at tovictl in a terminal of its own, with keys, signals and changes of size.

Usage: check-terminal.py TOVICTL

The daemon that it asks serves names that could upset a terminal, and a batch of such events. Says "shown" when all is well, then
"waits" once the daemon is gone and top says so, and "goes on" once it is back.
"""

import fcntl
import os
import pty
import re
import select
import signal
import socket
import struct
import sys
import termios
import time

import pyte

TOVICTL = sys.argv[1]
SECONDS = 20
# Bidirectional controls and C1 controls must not reach a terminal in any form.
FORBIDDEN = re.compile("[\x80-\x9f\u202a-\u202e\u2066-\u2069]")
# Each name was counted five times.
ENTRY = "        5  "
COLOUR = re.compile(rb"\033\[[0-9;]*3[0-7]")


class Terminal:
    """A program in a terminal of 80x24, and what is seen there."""

    def __init__(self, *arguments, **environment):
        self.master, self.slave = pty.openpty()
        self.screen = pyte.Screen(80, 24)
        self.stream = pyte.ByteStream(self.screen)
        self.raw = b""
        self.resize(80, 24)
        self.before = termios.tcgetattr(self.slave)
        self.pid = os.fork()
        if self.pid == 0:
            os.setsid()
            fcntl.ioctl(self.slave, termios.TIOCSCTTY, 0)
            for descriptor in range(3):
                os.dup2(self.slave, descriptor)
            os.environ.update({"TERM": "xterm-256color", "LC_ALL": "C.UTF-8", "NO_COLOR": "",
                               "TZ": "UTC",
                               **environment})
            os.execv(TOVICTL, [TOVICTL, *arguments])

    def resize(self, columns, rows):
        self.screen.resize(rows, columns)
        fcntl.ioctl(self.master, termios.TIOCSWINSZ, struct.pack("HHHH", rows, columns, 0, 0))

    def read(self, seconds):
        """False when nothing came in that time."""
        if not select.select([self.master], [], [], seconds)[0]:
            return False
        data = os.read(self.master, 65536)
        self.raw += data
        self.stream.feed(data)
        return True

    def text(self):
        return "\n".join(self.screen.display)

    def cells(self):
        """The lines, with a blank behind each wide character."""
        return ["".join(self.screen.buffer[row][column].data or " "
                        for column in range(self.screen.columns))
                for row in range(self.screen.lines)]

    def until(self, condition, what):
        deadline = time.monotonic() + SECONDS
        while not condition():
            if time.monotonic() > deadline:
                sys.exit(f"{what}: not seen in\n{self.text()}")
            self.read(0.1)

    def until_seen(self, text):
        self.until(lambda: text in self.text(), text)

    def press(self, keys):
        os.write(self.master, keys.encode())

    def end(self, what):
        """Waits for the end of the program, which must be a good one."""
        self.until(lambda: os.waitid(os.P_PID, self.pid, os.WEXITED | os.WNOHANG | os.WNOWAIT), what)
        status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        while self.read(0):
            pass
        check(status == 0, f"{what}: status {status}")
        check(termios.tcgetattr(self.slave) == self.before, f"{what}: the terminal is not as it was")
        check(not FORBIDDEN.search(self.raw.decode()), f"{what}: a control character got through")


def check(condition, what):
    if not condition:
        sys.exit(what)


def check_layout(terminal):
    lines = terminal.cells()
    check(lines[-1].startswith("q quit"), f"no keys in the last line of\n{terminal.text()}")
    check(terminal.screen.title == "", "a name set the window's title")
    place = next(line for line in lines if "Names asked for" in line).index("Processes asking")
    entries = [line for line in lines if line.startswith(ENTRY)]
    check(len(entries) >= 15, f"too few entries in\n{terminal.text()}")
    for line in entries:
        check(line[place - 2:].startswith("  " + ENTRY), f"out of line: {line!r}")


def check_events():
    """In the last batch, one event is all that could upset a terminal, and one is no event."""
    follow = Terminal("follow", "--once")
    follow.end("follow")
    lines = [line.rstrip() for line in follow.cells()]
    heading = next(row for row, line in enumerate(lines) if line.startswith("TIME "))
    check(lines[heading + 1] == "2022-01-25", f"no day in\n{follow.text()}")
    places = [lines[heading].index(name) for name in ("PROCESS", "TYPE", "NAME", "ANSWER")]
    events = [line for line in lines if line.startswith("17:02:5")]
    check(len(events) == 2, f"no two events in\n{follow.text()}")
    for line in events:
        check(all(line[place - 2:place] == "  " for place in places), f"out of line: {line!r}")
        check(line[places[1]:places[2]].strip() == "AAAA", f"no type in {line!r}")
    check("[4294967]" in events[0] and "NXDOMAIN" in events[0], f"too little in {events[0]!r}")
    check("[7]" in events[1] and events[1].endswith("2001:db8::1"), f"too little in {events[1]!r}")
    check("unreadable_batch" in follow.text(), f"an event is missing in\n{follow.text()}")
    check(follow.screen.title == "", "an event set the window's title")
    check(COLOUR.search(follow.raw) is not None, "follow: no colours")


def bus_process():
    with socket.socket(socket.AF_UNIX) as bus:
        bus.connect(os.environ["DBUS_SYSTEM_BUS_ADDRESS"].split("=")[1].split(",")[0])
        return struct.unpack("3i", bus.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, 12))[0]


def check_silence(top):
    """What a daemon that hangs looks like, a bus that hangs looks like as well."""
    bus = bus_process()
    os.kill(bus, signal.SIGSTOP)
    try:
        top.until_seen("No answer for ")
    finally:
        os.kill(bus, signal.SIGCONT)
    top.until(lambda: "No answer for " not in top.text(), "the answers again")


def main():
    top = Terminal("top", "--interval", "0.1")
    top.until_seen("q quit")
    check_layout(top)
    check("\\x1B]0;ow" in top.text(), f"a name is missing in\n{top.text()}")
    top.press("s")
    top.until_seen("by name")
    top.press("s?")
    top.until_seen("pause, and go on")
    top.press("?")
    top.resize(120, 40)
    top.until(lambda: top.screen.display[-1].startswith("q quit"), "the new size")
    top.until(lambda: "pause, and" not in top.text(), "the lists")
    check_layout(top)
    check("日本語" in top.text(), f"a name is missing in\n{top.text()}")
    top.press("q")
    top.end("q")

    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT):
        top = Terminal("top")
        top.until_seen("q quit")
        os.kill(top.pid, number)
        top.end(signal.Signals(number).name)

    for verb in (("status", "--force"), ("messages", "--json"), ("top", "--once")):
        for environment, coloured in (({}, verb[0] == "status"), ({"NO_COLOR": "1"}, False),
                                      ({"TERM": "dumb"}, False)):
            terminal = Terminal(*verb, **environment)
            terminal.end(" ".join(verb))
            check((COLOUR.search(terminal.raw) is not None) == coloured,
                  f"{verb} {environment}: colours")
            check(coloured or b"\033" not in terminal.raw, f"{verb} {environment}: escapes")

    top = Terminal("top", "--interval", "0.1")
    top.until_seen("q quit")
    check_silence(top)
    check_events()
    print("shown", flush=True)
    top.until_seen("Waiting: ")
    print("waits", flush=True)
    top.until(lambda: "Waiting: " not in top.text(), "the daemon again")
    print("goes on", flush=True)
    top.press("q")
    top.end("q")


main()
