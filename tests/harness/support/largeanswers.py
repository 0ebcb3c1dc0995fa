"""Answers that are small on the wire and large as text: each of their many records is a pointer to
one long name, of octets that take four characters each."""

import socket
import struct

from support.exchanges import SERVER, Exchanges, encoded_name

POINTER = b"\xc0\x0c"
LONG_LABEL = bytes([60]) + b"\1" * 60
UDP_RECORDS, TCP_RECORDS = 68, 700
IN, A, CNAME = b"\0\1", b"\0\1", b"\0\5"


def _question(number):
    return encoded_name(f"e{number}.large.example")[:-1] + LONG_LABEL * 3 + b"\0" + A + IN


def _record(kind, data):
    return POINTER + kind + IN + b"\0\0\1\x2c" + struct.pack(">H", len(data)) + data


def _framed(message):
    return struct.pack(">H", len(message)) + message


class LargeAnswers(Exchanges):
    """Exchanges of the ordinary kind, and such as an attacker's name servers make of them."""

    def __init__(self):
        super().__init__()
        self.large = 0
        self.listener = socket.create_server(SERVER)

    def __exit__(self, *_):
        super().__exit__()
        self.listener.close()

    def _messages(self, record, count):
        self.large += 1
        number = struct.pack(">H", 65535 - self.large % 30000)
        question = _question(self.large)
        return (number + b"\1\0\0\1\0\0\0\0\0\0" + question,
                number + b"\x81\x80\0\1" + struct.pack(">H", count) + bytes(4) + question +
                record * count)

    def over_udp(self):
        query, answer = self._messages(_record(CNAME, POINTER), UDP_RECORDS)
        self.asker.sendto(query, SERVER)
        self.resolver.sendto(answer, self.asker.getsockname())

    def over_tcp(self):
        query, answer = self._messages(_record(A, b"\xc0\0\2\1"), TCP_RECORDS)
        with socket.create_connection(SERVER) as asker:
            with self.listener.accept()[0] as resolver:
                asker.sendall(_framed(query))
                resolver.recv(len(query) + 2, socket.MSG_WAITALL)
                resolver.sendall(_framed(answer))
                asker.recv(len(answer) + 2, socket.MSG_WAITALL)
