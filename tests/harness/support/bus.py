"""A small D-Bus client (the D-Bus wire protocol, version 1): calls and replies over one socket.
It also sends what a well-behaved one would not."""

import itertools
import os
import socket
import struct

NAME = "io.tovi.ToviAgentXPC"
PATH = "/io/tovi/ToviAgentXPC"
INTERFACE = "io.tovi.ToviAgentXPCProtocol"
FIXED = {"y": "B", "b": "I", "n": "h", "q": "H", "i": "i", "u": "I", "x": "q", "t": "Q", "d": "d"}
ALIGNMENT = {"s": 4, "o": 4, "a": 4, "g": 1, "v": 1, "(": 8, "{": 8,
             **{kind: struct.calcsize(code) for kind, code in FIXED.items()}}
CALL, RETURN, ERROR = 1, 2, 3


class BusError(Exception):
    """The error that a call was answered with, or the end of the connection."""


def _first_type(signature):
    if signature[0] == "a":
        return "a" + _first_type(signature[1:])
    if signature[0] not in "({":
        return signature[0]
    depth = 0
    for end, letter in enumerate(signature):
        depth += (letter in "({") - (letter in ")}")
        if depth == 0:
            return signature[:end + 1]
    raise ValueError(signature)


def types(signature):
    while signature:
        kind = _first_type(signature)
        yield kind
        signature = signature[len(kind):]


def _pad(data, alignment):
    data.extend(bytes(-len(data) % alignment))


def write(data, signature, values):
    for kind, value in zip(types(signature), values, strict=True):
        _write_one(data, kind, value)


def _write_one(data, kind, value):
    _pad(data, ALIGNMENT[kind[0]])
    if kind in FIXED:
        data += struct.pack("<" + FIXED[kind], value)
    elif kind in "sog":
        text = value if isinstance(value, bytes) else value.encode()
        data += struct.pack("<B" if kind == "g" else "<I", len(text)) + text + b"\0"
    elif kind == "v":
        write(data, "g", [value[0]])
        write(data, *value)
    elif kind[0] == "a":
        place = len(data)
        data += bytes(4)
        _pad(data, ALIGNMENT[kind[1]])
        start = len(data)
        for item in value:
            _write_one(data, kind[1:], item)
        data[place:place + 4] = struct.pack("<I", len(data) - start)
    else:
        write(data, kind[1:-1], value)


class _Reader:
    def __init__(self, data):
        self.data = data
        self.at = 0

    def take(self, count):
        self.at += count
        return self.data[self.at - count:self.at]

    def align(self, alignment):
        self.at += -self.at % alignment

    def values(self, signature):
        return [self.value(kind) for kind in types(signature)]

    def value(self, kind):
        self.align(ALIGNMENT[kind[0]])
        if kind in FIXED:
            return struct.unpack("<" + FIXED[kind], self.take(ALIGNMENT[kind]))[0]
        if kind in "sog":
            length = self.value("y" if kind == "g" else "u")
            return self.take(length + 1)[:-1].decode()
        if kind == "v":
            return self.value(self.value("g"))
        if kind[0] == "a":
            return self._array(kind[1:])
        return self.values(kind[1:-1])

    def _array(self, kind):
        length = self.value("u")
        self.align(ALIGNMENT[kind[0]])
        end = self.at + length
        items = []
        while self.at < end:
            items.append(self.value(kind))
        return dict(items) if kind[0] == "{" else items


class Connection:
    """A connection as the user that this process is. One thread."""

    def __init__(self, path, timeout=30):
        self.serials = itertools.count(1)
        self.socket = socket.socket(socket.AF_UNIX)
        self.socket.settimeout(timeout)
        self.socket.connect(str(path))
        self.socket.sendall(b"\0AUTH EXTERNAL %s\r\n" % str(os.geteuid()).encode().hex().encode())
        if not self.socket.recv(1024).startswith(b"OK"):
            raise BusError("the bus refused this user")
        self.socket.sendall(b"BEGIN\r\n")
        self.call("Hello", to=("org.freedesktop.DBus", "/", "org.freedesktop.DBus"))

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()

    def call(self, member, signature="", arguments=(), to=(NAME, PATH, INTERFACE)):
        """The values of the reply."""
        return self.reply(self.ask(member, signature, arguments, to))

    def ask(self, member, signature="", arguments=(), to=(NAME, PATH, INTERFACE)):
        """Calls without waiting for the reply, which comes under the number returned."""
        serial = next(self.serials)
        self.send(message(serial, member, signature, arguments, to))
        return serial

    def reply(self, serial):
        while True:
            kind, fields, values = self._receive()
            if fields.get(5) != serial:
                continue
            if kind == RETURN:
                return values
            raise BusError(fields[4].removeprefix("org.freedesktop.DBus.Error."))

    def send(self, data):
        try:
            self.socket.sendall(data)
        except OSError as error:
            raise BusError(str(error)) from error

    def _receive(self):
        header = self._read(16)
        body_length, _, fields_length = struct.unpack("<III", header[4:])
        reader = _Reader(header + self._read(fields_length + -fields_length % 8))
        reader.at = 12
        fields = dict(reader.value("a(yv)"))
        return header[1], fields, _Reader(self._read(body_length)).values(fields.get(8, ""))

    def _read(self, count):
        data = bytearray()
        while len(data) < count:
            try:
                part = self.socket.recv(count - len(data))
            except OSError as error:
                raise BusError(str(error)) from error
            if not part:
                raise BusError("the bus closed the connection")
            data += part
        return bytes(data)


def message(serial, member, signature="", arguments=(), to=(NAME, PATH, INTERFACE)):
    """The bytes of a call."""
    body = bytearray()
    write(body, signature, arguments)
    name, path, interface = to
    fields = [(1, ("o", [path])), (2, ("s", [interface])), (3, ("s", [member])),
              (6, ("s", [name]))]
    if signature:
        fields.append((8, ("g", [signature])))
    data = bytearray(struct.pack("<cBBBII", b"l", CALL, 0, 1, len(body), serial))
    write(data, "a(yv)", [fields])
    _pad(data, 8)
    return bytes(data + body)
