"""The daemon as the harnesses run it: on a bus with the installed policy, and gone when they are."""

import json
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[3]
sys.path.append(str(ROOT))
from bench.support import service
from support.bus import BusError, Connection


class Fault(Exception):
    """A promise that did not hold."""


class Loss(Fault):
    """Of a batch that was acknowledged."""


def check(holds, what, kind=Fault):
    if not holds:
        raise kind(what)


def events_of(batches):
    return [event for text in batches.values() if text
            for event in json.loads(text)["events_data"]]


class Daemon(service.Daemon):
    log_level = "debug"

    def __init__(self, build, variables, settings, program=None):
        super().__init__(build, variables=variables, settings=settings)
        self.program = program or build / "app" / "ToviDaemon"
        self.connection = None

    def connect(self):
        return Connection(self.directory / "bus")

    @property
    def log_file(self):
        return self.directory / "daemon.log"

    @property
    def store(self):
        return self.directory / "state" / "store"

    def _make_resources(self):
        self.connection = self.connect()
        super()._make_resources()
        # Others than root reach the bus, and it alone.
        self.directory.chmod(0o711)
        self.environment["TOVI_LOG_LEVEL"] = self.log_level

    def start(self):
        self.launch()
        service.until(self.answers, 20, "the daemon", interval=0.005)

    def command(self):
        return ["setpriv", "--pdeathsig", "KILL", self.program]

    def answers(self):
        try:
            self.connection.call("GetActivationStatus")
            return True
        except BusError:
            return False
