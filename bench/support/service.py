"""The daemon as the measuring scripts run it: on a bus of its own, with a state directory, resources
and, if wanted, a network namespace of its own. Needs root."""

import json
import os
import plistlib
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
from pathlib import Path
from typing import NamedTuple

BUS = Path(__file__).resolve().parents[2] / "scripts" / "bus" / "tovi.conf"
BATCH_SIZE = 20
TICKS_PER_SECOND = os.sysconf("SC_CLK_TCK")


def until(condition, seconds, what, interval=0.1):
    """Waits until the condition holds; the program ends when it does not in that time."""
    deadline = time.monotonic() + seconds
    while not condition():
        if time.monotonic() > deadline:
            sys.exit(f"{what}: not within {seconds} s")
        time.sleep(interval)


def stop(process):
    """Ends a program that this one started, by force if it has to be."""
    process.send_signal(signal.SIGTERM)
    try:
        process.wait(20)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def end_cleanly_on_signals():
    """Makes SIGTERM leave all contexts, as an interrupt does."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit("ended by a signal"))


def in_namespace(namespace, command):
    return ["ip", "netns", "exec", namespace, *command] if namespace else command


class Stored(NamedTuple):
    """What a daemon left behind when it ended."""
    events: int
    batches: int


class Daemon:
    """A context in which the daemon runs, is enrolled, and captures."""

    enrollment = {"uuid": "bench", "key": "bench"}

    def __init__(self, build, namespace=None, variables=None, settings=None):
        self.build = build
        self.namespace = namespace
        self.variables = variables or {}
        self.settings = settings or {}

    def __enter__(self):
        # Below /tmp, since the path of a socket may not be long.
        self.directory = Path(tempfile.mkdtemp(prefix="tovi-bench-"))
        self.bus = self.process = None
        try:
            self._start_bus()
            self._make_resources()
            self.start()
            self._enroll()
        except BaseException:
            self.__exit__()
            raise
        return self

    def __exit__(self, *_):
        for process in (self.process, self.bus):
            if process:
                stop(process)
        shutil.rmtree(self.directory, ignore_errors=True)

    @property
    def pid(self):
        return self.process.pid

    def _start_bus(self):
        socket = self.directory / "bus"
        self.bus = subprocess.Popen(["dbus-daemon", f"--config-file={BUS}",
                                     f"--address=unix:path={socket}", "--nofork", "--nopidfile"],
                                    stdin=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        until(socket.exists, 10, "the bus")

    @property
    def variables_file(self):
        return self.directory / "resources" / "PermanentVariables.plist"

    def _make_resources(self):
        resources = self.directory / "resources"
        resources.mkdir()
        shutil.copy(self.build / "resources" / "Info.plist", resources)
        for name, entries in (("PermanentVariables", self.variables), ("Settings", self.settings)):
            (resources / f"{name}.plist").write_bytes(plistlib.dumps(entries))
        self.environment = {**os.environ, "TOVI_RESOURCES_DIR": str(resources),
                            "TOVI_HELPERS_DIR": str(self.build / "platform" / "linux" / "helpers"),
                            "STATE_DIRECTORY": str(self.directory / "state"),
                            "DBUS_SYSTEM_BUS_ADDRESS": f"unix:path={self.directory}/bus"}

    def start(self):
        self.launch()
        until(self.answers, 20, "the daemon")

    def launch(self):
        with open(self.directory / "daemon.log", "wb") as log:
            self.process = subprocess.Popen(in_namespace(self.namespace, self.command()),
                                            env=self.environment, stdin=subprocess.DEVNULL,
                                            stdout=log, stderr=log)

    def command(self):
        return [self.build / "app" / "ToviDaemon"]

    def answers(self):
        return self.ctl("state").returncode == 0

    def _enroll(self):
        if self.ctl("enroll", "-", text=json.dumps(self.enrollment)).returncode != 0:
            sys.exit("the daemon refused the enrollment")

    def ctl(self, *arguments, text=""):
        return subprocess.run([self.build / "tools" / "tovictl" / "tovictl", *arguments],
                              env=self.environment, input=text, capture_output=True, text=True)

    def some_events(self):
        """The events of the oldest batches that wait."""
        messages = json.loads(self.ctl("messages", "--json").stdout)["messages"]
        return [event for message in messages for event in message["batch"]["events_data"]]

    def counters(self):
        """What the daemon counted since its start, by name."""
        reply = subprocess.run(["busctl", "--system", "--json=short", "call", "io.tovi.ToviAgentXPC",
                                "/io/tovi/ToviAgentXPC", "io.tovi.ToviStatistics", "GetCounters"],
                               env=self.environment, capture_output=True, check=True).stdout
        counters, = json.loads(reply)["data"]
        return {name: counter["data"] for name, counter in counters.items()}

    def cpu(self):
        """Seconds of processor time so far, that of programs it ran included."""
        fields = Path(f"/proc/{self.pid}/stat").read_text().rsplit(")", 1)[1].split()
        return sum(map(int, fields[11:15])) / TICKS_PER_SECOND

    def peak_memory(self):
        """MiB."""
        return self._status_number(f"/proc/{self.pid}/status", "VmHWM") / 1024

    def wake_ups(self):
        """How often each thread has waited so far, by number and name."""
        counts = {}
        for task in Path(f"/proc/{self.pid}/task").iterdir():
            counts[task.name, (task / "comm").read_text().strip()] = self._status_number(
                task / "status", "voluntary_ctxt_switches")
        return counts

    @staticmethod
    def _status_number(file, key):
        with open(file) as lines:
            return int(next(line for line in lines if line.startswith(key + ":")).split()[1])

    def await_quiet(self):
        """Waits until the daemon has worked off what it was given."""
        def is_quiet():
            before = self.cpu()
            time.sleep(2)
            return self.cpu() - before < 0.05
        until(is_quiet, 120, "the daemon at rest")

    def end(self):
        """Stops the daemon as a service manager does, and says what it has counted and stored."""
        stop(self.process)
        if self.process.returncode != 0:
            sys.exit(f"the daemon ended with status {self.process.returncode}")
        variables = plistlib.loads(self.variables_file.read_bytes())
        return Stored(variables.get("dns_events_count", 0), self._stored_batches())

    def _stored_batches(self):
        for file in (self.directory / "state" / "store").iterdir():
            if file.read_bytes()[:16] == b"SQLite format 3\0":
                with sqlite3.connect(file) as store:
                    return store.execute("SELECT count(*) FROM Messages").fetchone()[0]
        return 0
