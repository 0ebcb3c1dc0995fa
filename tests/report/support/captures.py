"""Capture files of DNS exchanges, octet by octet, with a record of what was put in."""

import collections
import struct

TYPES = {"A": 1, "CNAME": 5, "MX": 15, "TXT": 16, "AAAA": 28, "HTTPS": 65}
DATA = {"A": b"\xc0\0\2\1", "AAAA": b"\x20\x01\x0d\xb8" + bytes(12), "TXT": b"\3abc",
        "MX": b"\0\x0a\1m\0", "CNAME": b"\1c\0"}


def wire_name(labels):
    """A name of these labels, each of any octets."""
    return b"".join(bytes([len(label)]) + label for label in labels) + b"\0"


class Capture:
    """Frames of Ethernet in a pcap file with nanoseconds, and counts of what they hold."""

    def __init__(self, start):
        self.now = start
        self._port = 1024
        self._records = [struct.pack("<IHHiIII", 0xA1B23C4D, 2, 4, 0, 0, 65535, 1)]
        self.counts = collections.Counter()
        self.codes = collections.Counter()
        self.failed = collections.Counter()
        self.delays = []

    def octets(self):
        """The file."""
        return b"".join(self._records)

    def frame(self, octets, after=0):
        """A frame, so many nanoseconds after the last one."""
        self.now += after
        self._records.append(struct.pack("<IIII", self.now // 10**9, self.now % 10**9, len(octets),
                                         len(octets)) + octets)
        self.counts["packets"] += 1

    def datagram(self, payload, ports, after=0, protocol=17):
        """UDP over IPv4; the client is 192.0.2.2, the server 192.0.2.53."""
        if protocol == 17:
            payload = struct.pack(">HHHH", *ports, len(payload) + 8, 0) + payload
        sides = [b"\xc0\0\2\2", b"\xc0\0\2\x35"]
        if ports[0] == 53:
            sides.reverse()
        header = struct.pack(">BBHHHBBH", 0x45, 0, 20 + len(payload), 1, 0, 64, protocol, 0)
        self.frame(bytes(12) + b"\x08\0" + header + b"".join(sides) + payload, after)

    def query(self, labels, kind="A"):
        """A query from a port of its own, which is returned."""
        self._port += 1
        self.datagram(self._message(0x0100, labels, kind, []), (self._port, 53), after=10**6)
        self.counts["queries"] += 1
        return self._port

    def response(self, port, labels, kind="A", code=0, answers=None, after=10**6):
        """A response with answers of these types, by default with one of the type asked for."""
        answers = ([kind] if code == 0 else []) if answers is None else answers
        self.datagram(self._message(0x8180 | code, labels, kind, answers), (53, port), after)
        self.counts["responses"] += 1
        self.codes[code] += 1
        if code:
            self.failed[labels] += 1

    def exchange(self, labels, kind="A", code=0, answers=None, delay=10**6):
        """A query and its response after `delay` nanoseconds."""
        self.response(self.query(labels, kind), labels, kind, code, answers, delay)
        self.delays.append(delay)

    @staticmethod
    def _message(flags, labels, kind, answers):
        text = struct.pack(">HHHHHH", 7, flags, 1, len(answers), 0, 0)
        text += wire_name(labels) + struct.pack(">HH", TYPES[kind], 1)
        for answer in answers:
            data = DATA[answer]
            text += b"\xc0\x0c" + struct.pack(">HHIH", TYPES[answer], 1, 300, len(data)) + data
        return text
