"""Calls on the bus as an attacker makes them: real and made-up methods, with arguments that are
malformed, huge, or of other types than expected. What a permitted caller may do to the daemon by
design, such as disabling the agent, is not among them."""

import contextlib
import string

from support.bus import INTERFACE, NAME, PATH, BusError, Connection, message

METHODS = {"GetActivationStatus": "", "GetDNSMessages": "", "SetActivationData": "s",
           "SetMessageDeliveryState": "ssas", "GetStatusEvent": "b", "GetAgentSettings": ""}
SIGNATURES = ["", "s", "ss", "ssas", "as", "b", "ay", "a{ss}", "a{sv}", "v", "(sas)", "aas", "dxt",
              "ssv", "og", "u" * 200]
STATISTICS = "io.tovi.ToviStatistics"
INTERFACES = [INTERFACE, STATISTICS, "org.freedesktop.DBus.Properties", "org.freedesktop.DBus.Introspectable",
              "org.freedesktop.DBus.Peer", "org.freedesktop.DBus.ObjectManager", "no.such.Interface"]
HUGE = 2 << 20


def _text(random):
    return random.choice([
        "", "Ok", "Nok", "status_message", "20200101000000", "AgentDeliveredCompleted", "\u202e\x01",
        "[" * 50_000, '{"a":' * 20_000, '{"uuid":5,"key":[]}', '{"uuid":"","key":""}',
        '{"active":"no"}', '{"batch_size":"20"}', '{"polling_interval_minutes":{}}', "%s%n" * 9,
        "".join(random.choices(string.printable, k=random.randrange(200))),
        "x" * random.randrange(10_000)])


def _value(random, kind):
    if kind == "s":
        return _text(random)
    if kind == "o":
        return random.choice(["/", PATH, "/no/such/object"])
    if kind == "g":
        return random.choice(["", "s", "a{sv}"])
    if kind == "b":
        return random.randrange(2)
    if kind == "d":
        return random.choice([0.0, -1.5, 1e308, float("nan")])
    if kind in "ynqiuxt":
        return random.choice([0, 1, 127])
    if kind == "v":
        inner = random.choice(["s", "as", "x", "v"])
        return inner, _value(random, inner)
    if kind[0] == "a":
        count = random.choice([0, 1, 2, 3])
        return [_value(random, kind[1:]) for _ in range(count)]
    return tuple(_values(random, kind[1:-1]))


def _types(signature):
    """The complete types that a signature is made of."""
    while signature:
        end = depth = 0
        while end == 0 or depth > 0 or signature[end - 1] == "a":
            depth += (signature[end] in "({") - (signature[end] in ")}")
            end += 1
        yield signature[:end]
        signature = signature[end:]


def _values(random, signature):
    return [_value(random, kind) for kind in _types(signature)]


def _call(random):
    """Member, signature, arguments and addressee of any call."""
    member = random.choice([*METHODS, "GetCounters", "GetActivity", "NoSuchMethod", "Get", "GetAll", "Introspect", "Ping"])
    signature = METHODS.get(member, "s")
    if random.random() < 0.5:
        signature = random.choice(SIGNATURES)
    to = (NAME, random.choice([PATH] * 9 + ["/", "/other"]),
          random.choice([INTERFACE] * 9 + INTERFACES))
    if random.random() < 0.02:
        signature, value = random.choice([("s", "y" * HUGE), ("as", ["y"] * (HUGE // 50))])
        return member, signature, [value], to
    return member, signature, _values(random, signature), to


def _damaged(random, data):
    data = bytearray(data)
    for _ in range(random.randrange(1, 4)):
        data[random.randrange(min(len(data), 400))] = random.randrange(256)
    return data[:random.randrange(1, len(data))] if random.random() < 0.2 else data


class Attacker:
    """One connection, made anew whenever the bus has closed it. Counts what came of the calls."""

    def __init__(self, bus, random, counts):
        self.bus = bus
        self.random = random
        self.counts = counts
        self.connection = None

    def ask(self):
        """Sends a call, or something like one."""
        self.serial = None
        with self._counting_errors():
            if not self.connection:
                self.connection = Connection(self.bus)
            if self.random.random() < 0.1:
                self._send_damaged()
            else:
                self.serial = self.connection.ask(*_call(self.random))

    def await_reply(self):
        if self.serial is None:
            return
        with self._counting_errors():
            self.connection.reply(self.serial)
            self._count("answered")

    @contextlib.contextmanager
    def _counting_errors(self):
        try:
            yield
        except BusError as error:
            self._count(str(error))
            # An error's name has no spaces: this is the end of the connection.
            if " " in str(error):
                self._leave()

    def _send_damaged(self):
        data = message(1_000_000, *_call(self.random))
        self.connection.send(_damaged(self.random, data))
        self._count("damaged")
        self._leave()

    def _leave(self):
        if self.connection:
            self.connection.close()
        self.connection = None

    def _count(self, what):
        self.counts[what] += 1
