#!/usr/bin/env python3
"""Holds what tovi-replay --format prints, and a page's examples, against each format's rules.

Usage: check-formats.py TOVI_REPLAY PAGE

The capture has every record type, chains of names, all flags and response codes, and hostile names.
"""

import json
import pathlib
import re
import struct
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from format_rules import FLAGS, VALIDATORS

NAME = b"\7example\3org\0"
SHORT, TEXT = struct.pack("!H", 7), b"\4text"
ADDRESS, ADDRESS6 = b"\xc0\0\2\1", b"\x20\1\r\xb8" + bytes(11) + b"\1"
SIGNATURE = SHORT + b"\5\2" + struct.pack("!IIIH", 300, 9, 1, 7) + NAME + b"key"
KEY = SHORT + b"\3\5" + b"key"
# By type number, under the registered name: record data that can be read.
RECORDS = {
    1: ("A", ADDRESS), 2: ("NS", NAME), 3: ("MD", NAME), 4: ("MF", NAME), 5: ("CNAME", NAME),
    6: ("SOA", NAME + NAME + struct.pack("!5I", 1, 2, 3, 4, 5)), 7: ("MB", NAME), 8: ("MG", NAME),
    9: ("MR", NAME), 10: ("NULL", b"any"), 11: ("WKS", ADDRESS + b"\6\1"), 12: ("PTR", NAME),
    13: ("HINFO", TEXT + TEXT), 14: ("MINFO", NAME + NAME), 15: ("MX", SHORT + NAME),
    16: ("TXT", b"\5a\"\\\0\xff"), 17: ("RP", NAME + NAME), 18: ("AFSDB", SHORT + NAME),
    19: ("X25", TEXT), 20: ("ISDN", TEXT), 21: ("RT", SHORT + NAME), 22: ("NSAP", b"\x47\5"),
    23: ("NSAP-PTR", NAME), 24: ("SIG", SIGNATURE), 25: ("KEY", KEY),
    26: ("PX", SHORT + NAME + NAME), 27: ("GPOS", TEXT * 3), 28: ("AAAA", ADDRESS6),
    29: ("LOC", b"\0\x12\x16\x13" + struct.pack("!III", 2**31, 2**31, 10**7)),
    30: ("NXT", NAME + b"\x40"), 31: ("EID", b"eid"), 32: ("NIMLOC", b"loc"),
    33: ("SRV", SHORT * 3 + NAME), 34: ("ATMA", b"\1" + b"123"),
    35: ("NAPTR", SHORT * 2 + TEXT * 3 + NAME), 36: ("KX", SHORT + NAME),
    37: ("CERT", b"\0\1" + SHORT + b"\5cert"), 38: ("A6", b"\0" + ADDRESS6), 39: ("DNAME", NAME),
    40: ("SINK", b"\1\2sink"), 41: ("OPT", b"\0\3\0\3nsi"), 42: ("APL", b"\0\1\x10\2\xc0\0"),
    43: ("DS", SHORT + b"\5\1" + bytes(20)), 44: ("SSHFP", b"\1\1" + bytes(20)),
    45: ("IPSECKEY", b"\1\1\2" + ADDRESS + b"key"), 46: ("RRSIG", SIGNATURE),
    47: ("NSEC", NAME + b"\0\1\x40"), 48: ("DNSKEY", KEY), 49: ("DHCID", b"dhcid"),
    50: ("NSEC3", b"\1\0" + SHORT + b"\1s\1h\0\1\x40"),
    51: ("NSEC3PARAM", b"\1\0" + SHORT + b"\1s"),
}
CODES = {0: ("NOERROR", "success"), 1: ("FORMERR", "failure"), 2: ("SERVFAIL", "failure"),
         3: ("NXDOMAIN", "failure"), 11: ("DSOTYPENI", "failure"), 15: ("UNKNOWN", "unknown")}
HOSTILE = [b"\1.\1a\0", b"\4\\\"!,\3;\n\t\0", b"\x3f" + bytes(range(63)) + b"\0",
           b"\x10<script>alert(1)\0", b"\2\xff\xfe\1 \0", b"\0"]


def packet(payload, source, target):
    udp = struct.pack("!HHHH", source, target, 8 + len(payload), 0) + payload
    ip = struct.pack("!BBHHHBBHII", 0x45, 0, 20 + len(udp), 1, 0, 64, 17, 0, 0x7F000001, 0x7F000002)
    frame = bytes(12) + b"\x08\0" + ip + udp
    return struct.pack("<IIII", 1643130172, 0, len(frame), len(frame)) + frame


class Capture:
    """Exchanges, each with what is expected of it beside what the daemon's own event says."""

    def __init__(self):
        self.bytes = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1)
        self.types, self.bits, self.outcomes = [], [], []

    def add(self, name, kind, answers, bits=0x8180, dns_class=1):
        identifier = len(self.types) + 1
        question = name + struct.pack("!HH", kind, dns_class)
        query = struct.pack("!6H", identifier, bits & 0x7800 | 0x100, 1, 0, 0, 0) + question
        response = struct.pack("!6H", identifier, bits, 1, len(answers), 0, 0) + question
        for owner, answer_kind, data in answers:
            response += owner + struct.pack("!HHIH", answer_kind, dns_class, 300, len(data)) + data
        self.bytes += packet(query, 40000, 53) + packet(response, 53, 40000)
        self.types.append([RECORDS[answer[1]][0] for answer in answers])
        self.bits.append({at for at, bit in enumerate((10, 9, 8, 7, 5, 4)) if bits >> bit & 1})
        self.outcomes.append(CODES[bits & 15][1])


def capture():
    made = Capture()
    for kind, (_, data) in RECORDS.items():
        made.add(NAME, kind, [(b"\xc0\x0c", kind, data)])
    chain = [(b"\1%c\0" % at, 5, b"\1%c\0" % (at + 1)) for at in b"abcdefgh"]
    made.add(b"\1a\0", 28, chain + [(b"\1i\0", 28, ADDRESS6), (b"\1i\0", 1, ADDRESS)])
    for bits in (0, 0x400, 0x200, 0x100, 0x80, 0x20, 0x10, 0x7B0):
        made.add(NAME, 1, [(NAME, 1, ADDRESS)], 0x8000 | bits)
    for code in CODES:
        made.add(NAME, 1, [(NAME, 5, NAME)], 0x8180 | code)
    for opcode in range(16):
        made.add(NAME, 1, [(NAME, 1, ADDRESS)], 0x8000 | opcode << 11)
    for dns_class in (3, 4, 255, 7, 32769):
        made.add(NAME, 16, [(NAME, 16, TEXT)], dns_class=dns_class)
    for name in HOSTILE:
        made.add(name, 5, [(name, 5, name)])
    return made


def require(condition, what):
    if not condition:
        sys.exit(what)


def replay(program, file, *options):
    run = subprocess.run([program, *options, file], capture_output=True, text=True, check=True)
    return [json.loads(line) for line in run.stdout.splitlines()]


def compare_ecs(events, own, made):
    letters = ["AA", "TC", "RD", "RA", "AD", "CD"]
    for event, origin, types, bits, outcome in zip(events, own, made.types, made.bits,
                                                   made.outcomes):
        dns, exchange = event["dns"], origin["dns_packet"]
        require(dns["question"]["name"] == exchange["question"]["name"], f"question: {event}")
        for member in ("name", "ttl", "data"):
            require([answer[member] for answer in dns["answers"]] ==
                    [answer[member] for answer in exchange["answers"]], f"{member}: {event}")
        require([answer["type"] for answer in dns["answers"]] == types, f"types: {event}")
        require(set(dns["header_flags"]) == {letters[bit] for bit in bits}, f"flags: {event}")
        require(event["event"]["outcome"] == outcome, f"outcome: {event}")
        require(dns["response_code"] == exchange["response_code"], f"code: {event}")


def compare_ocsf(events, own, made):
    for event, origin, types, bits, outcome in zip(events, own, made.types, made.bits,
                                                   made.outcomes):
        exchange, answers = origin["dns_packet"], event["answers"]
        is_new = event["metadata"]["version"] == "1.9.0"
        owners = answers if is_new else event["unmapped"]["dns_packet"]["answers"]
        require([owner["hostname" if is_new else "name"] for owner in owners] ==
                [answer["name"] for answer in exchange["answers"]], f"owners: {event}")
        require([(answer["rdata"], answer["ttl"]) for answer in answers] ==
                [(answer["data"], answer["ttl"]) for answer in exchange["answers"]],
                f"data: {event}")
        require([answer["type"] for answer in answers] == types, f"types: {event}")
        identifier = "transaction_id" if is_new else "packet_uid"
        for place in [event] if is_new else answers:
            require(place[identifier] == exchange["id"], f"identifier: {event}")
            require({flag - 1 for flag in place["flag_ids"]} == bits, f"flags: {event}")
            require(set(place["flags"]) == {FLAGS[bit] for bit in bits}, f"flags: {event}")
        require(event["time"] == 1643130172000, f"time: {event}")
        require(event["status"].lower() == outcome, f"outcome: {event}")


def corruptions(value):
    """The value with one member after the other, at any depth, missing its type or renamed."""
    members = value.items() if isinstance(value, dict) else enumerate(value)
    for key, member in list(members):
        value[key] = {} if not isinstance(member, dict) else 1.5
        yield f"{key}={value[key]}"
        value[key] = member
        if isinstance(value, dict):
            value["no such " + key] = value.pop(key)
            yield f"a renamed {key}"
            value[key] = value.pop("no such " + key)
        if isinstance(member, (dict, list)):
            yield from corruptions(member)


def check_examples(page):
    examples = dict(re.findall(r"^```json (\S+)\n(.*?)^```$", page, re.MULTILINE | re.DOTALL))
    for name, validator in VALIDATORS.items():
        example = json.loads(examples[name])
        validator.validate(example)
        for corruption in corruptions(example):
            require(not validator.is_valid(example), f"{name}: {corruption} passes")


def check_replay(program, directory):
    made, file = capture(), directory / "capture.pcap"
    file.write_bytes(made.bytes)
    own = replay(program, file)
    require(len(own) == len(made.types), f"{len(own)} events of {len(made.types)} exchanges")
    for name, validator in VALIDATORS.items():
        events = replay(program, file, "--format", name)
        require(len(events) == len(own), f"{name} has {len(events)} events of {len(own)}")
        for event in events:
            validator.validate(event)
        (compare_ecs if name == "ecs" else compare_ocsf)(events, own, made)
    require(replay(program, file, "--format", "ocsf") == replay(program, file, "--format=ocsf-1.8"),
            "ocsf is not ocsf-1.8")


with tempfile.TemporaryDirectory() as place:
    check_replay(sys.argv[1], pathlib.Path(place))
check_examples(pathlib.Path(sys.argv[2]).read_text())
