"""Rounds of: start the daemon, load it, end it at a random moment, and look at what it left. The load
follows the acknowledgements, so that it is as high as the daemon can take and no packet is dropped:
then the events of a run are, without a gap, the first of its exchanges, and one that is lost shows.
"""

import argparse
import plistlib
import random
import re
import shutil
import signal
import sqlite3
import sys
import tempfile
import threading
import time
from pathlib import Path

from support.bus import BusError
from support.daemon import ROOT, Daemon, Fault, Loss, check, events_of, service
from support.exchanges import Exchanges, number_of
from support.isolation import isolate

BATCH_SIZE = 5
# Batches close by their size only. The filler makes the file long, which one can see torn.
VARIABLES = {"dns_batch_size": BATCH_SIZE, "dns_batch_max_delay": 3600.0,
             "removal_register_timeout": 0.0, "filler": "x" * 20_000}
# What a reply handed out that never arrived waits again soon.
HANDED_OUT_SECONDS = 2.0
SETTINGS = {"delivered_timeout_sec": HANDED_OUT_SECONDS}
# Exchanges under way; fewer than the rings of the capture hold.
WINDOW = 400
MOST_LOAD_SECONDS = 20
ACKNOWLEDGEMENT = re.compile(rb"Stored messages: (\d+)")


class LoadedDaemon(Daemon):
    """Counts the batches that it has acknowledged since its last start."""

    def __init__(self, build, program):
        super().__init__(build, VARIABLES, SETTINGS, program)

    def launch(self):
        super().launch()
        self.acknowledged = 0
        self._log = open(self.log_file, "rb")
        self._unfinished = b""

    def read_acknowledgements(self):
        *lines, self._unfinished = (self._unfinished + self._log.read()).split(b"\n")
        for line in lines:
            if match := ACKNOWLEDGEMENT.search(line):
                self.acknowledged += int(match[1])

    def load(self, exchanges, has_come):
        """Exchanges at the rate of the acknowledgements, until the moment has come."""
        first = exchanges.count
        deadline = time.monotonic() + MOST_LOAD_SECONDS
        while not has_come():
            check(time.monotonic() < deadline, "the daemon acknowledges nothing more")
            self.read_acknowledgements()
            if exchanges.count - first < self.acknowledged * BATCH_SIZE + WINDOW:
                for _ in range(BATCH_SIZE):
                    exchanges.exchange()
            else:
                time.sleep(0.0002)

    def end_by(self, number):
        """The exit status and the seconds that it took."""
        began = time.monotonic()
        self.process.send_signal(number)
        status = self.process.wait(20)
        seconds = time.monotonic() - began
        self.read_acknowledgements()
        return status, seconds


class HandedOut:
    """The numbers of the events that the daemon handed out, and the names of their batches."""

    def __init__(self):
        self.numbers = set()
        self.ids = set()

    def fetch(self, connection):
        """True when there was something new. What waits again comes behind what never was handed
        out."""
        before = len(self.numbers)
        batches, = connection.call("GetDNSMessages")
        self.ids.update(batches)
        self.numbers.update(map(number_of, events_of(batches)))
        return len(self.numbers) > before


class Companion(threading.Thread):
    """Reports the batches of earlier runs and fetches those of this one, until the daemon ends."""

    def __init__(self, connection, handed_out, reportable, pause):
        super().__init__(daemon=True)
        self.connection = connection
        self.handed_out = handed_out
        self.reportable = reportable
        self.pause = pause

    def run(self):
        try:
            for batch in self.reportable:
                self.connection.call("SetMessageDeliveryState", "ssas", [batch, "Ok", []])
                self.handed_out.ids.discard(batch)
            while True:
                self.handed_out.fetch(self.connection)
                time.sleep(self.pause)
        except BusError:
            pass


class Rounds:
    """The subclass says how a run is ended and what must be true then."""

    def __init__(self, daemon, options):
        self.daemon = daemon
        self.random = random.Random(options.seed)
        self.rounds = options.rounds
        self.exchanges = Exchanges()
        self.handed_out = HandedOut()
        self.companion_connection = daemon.connect()
        self.variables = VARIABLES
        self.batches = 0
        self.events = 0

    def play(self):
        """Returns once all rounds are over; raises Fault."""
        for number in range(self.rounds):
            first = self.exchanges.count
            try:
                self.run_loaded()
                self.check_store()
                self.check_variables()
                self.start_again()
                self.check_handed_out(first)
            except Fault as fault:
                raise type(fault)(f"round {number + 1}: {fault}") from fault
            self.batches += self.daemon.acknowledged_before

    def run_loaded(self):
        # Batches of one second share their name: one of this second may name batches to come.
        now = time.strftime("%Y%m%d%H%M%S", time.gmtime())
        self.first_second = now
        reportable = [batch for batch in self.handed_out.ids if batch < now]
        self.handed_out.numbers.clear()
        companion = Companion(self.companion_connection, self.handed_out, reportable,
                              self.random.uniform(0, 0.05))
        companion.start()
        self.daemon.load(self.exchanges, self.moment())
        self.end()
        companion.join()

    def moment(self):
        """After some time, or just when a batch was acknowledged."""
        if self.random.random() < 0.5:
            deadline = time.monotonic() + self.random.uniform(0, 0.5)
            return lambda: time.monotonic() >= deadline
        batches = self.random.randint(1, 300)
        return lambda: self.daemon.acknowledged >= batches

    def check_store(self):
        with tempfile.TemporaryDirectory() as copy:
            for file in self.daemon.store.glob("MessageModel.sqlite*"):
                shutil.copy(file, copy)
            store = sqlite3.connect(Path(copy, "MessageModel.sqlite"))
            result, = store.execute("PRAGMA integrity_check").fetchone()
            kept, = store.execute("SELECT count(*) FROM Messages WHERE id >= ?",
                                  (self.first_second,)).fetchone()
            store.close()
        check(result == "ok", f"the database is damaged: {result}")
        # Of this run nothing was reported yet: what was handed out is there still.
        check(kept >= self.daemon.acknowledged,
              f"{self.daemon.acknowledged} batches acknowledged, {kept} in the store", Loss)

    def read_variables(self):
        return plistlib.loads(self.daemon.variables_file.read_bytes())

    def check_variables(self):
        try:
            now = self.read_variables()
        except Exception as error:
            raise Fault(f"the property list is torn: {error}") from error
        check(now.items() >= VARIABLES.items(), "the property list has lost entries")
        before, counted = (variables.get("dns_events_count", 0)
                           for variables in (self.variables, now))
        check(before <= counted <= self.exchanges.count,
              f"the property list counts {counted} events, after {before}")
        self.previous, self.variables = self.variables, now

    def start_again(self):
        self.daemon.acknowledged_before = self.daemon.acknowledged
        self.daemon.start()
        check(b"Error" not in self.daemon.log_file.read_bytes(), "the start logged an error")

    def acknowledged_events(self):
        return self.daemon.acknowledged_before * BATCH_SIZE

    def check_handed_out(self, first):
        """Everything acknowledged is handed out, and what is handed out are the oldest events of the
        run, none left out."""
        acknowledged = self.acknowledged_events()
        deadline = time.monotonic() + 2 * HANDED_OUT_SECONDS
        while True:
            is_new = self.handed_out.fetch(self.daemon.connection)
            numbers = {number for number in self.handed_out.numbers if number >= first}
            is_whole = len(numbers) >= acknowledged and numbers == set(
                range(first, first + len(numbers)))
            if not is_new and (is_whole or time.monotonic() > deadline):
                break
        missing = sorted(set(range(first, first + max(acknowledged, len(numbers)))) - numbers)
        check(not missing, f"{len(missing)} of {acknowledged} acknowledged events are lost, from "
                           f"number {missing[0] - first if missing else 0} of the run on", Loss)
        self.events += len(numbers)
        self.stored = len(numbers)


def play(make_rounds, description, rounds):
    """Runs the harness's program."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--build", type=Path, default=ROOT / "build" / "release", metavar="DIR")
    parser.add_argument("--program", type=Path, help="in place of the build's daemon")
    parser.add_argument("--rounds", type=int, default=rounds)
    parser.add_argument("--seed", type=int, default=random.randrange(2**32))
    parser.add_argument("--expect-loss", action="store_true",
                        help="succeed only if an acknowledged batch is lost")
    options = parser.parse_args()
    service.end_cleanly_on_signals()
    isolate()
    print(f"seed {options.seed}", flush=True)
    began = time.monotonic()
    with LoadedDaemon(options.build.resolve(), options.program) as daemon:
        game = make_rounds(daemon, options)
        try:
            game.play()
        except Fault as fault:
            print(fault)
            sys.exit(0 if options.expect_loss and isinstance(fault, Loss) else 1)
    print(f"{game.rounds} rounds in {time.monotonic() - began:.0f} s: {game.summary()}")
    sys.exit(1 if options.expect_loss else 0)
