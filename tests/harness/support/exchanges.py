"""DNS exchanges over loopback, both ends of which are sockets of this process."""

import re
import socket
import struct

SERVER = ("127.0.0.1", 53)
NAME = re.compile(r"e(\d+)\.harness\.example")


def encoded_name(name):
    return b"".join(bytes([len(label)]) + label.encode() for label in name.split(".")) + b"\0"


class Exchanges:
    """Numbered exchanges: the name that is asked for carries the number."""

    def __init__(self, count=0):
        self.count = count
        self.asker = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.asker.bind(("127.0.0.1", 0))
        self.resolver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.resolver.bind(SERVER)
        # The messages are made to be captured. What neither end reads, the kernel drops behind that.
        for end in (self.asker, self.resolver):
            end.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 0)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.asker.close()
        self.resolver.close()

    def exchange(self, name=None):
        question = encoded_name(name or f"e{self.count}.harness.example") + b"\0\1\0\1"
        number = struct.pack(">H", self.count % 65535 + 1)
        self.count += 1
        self.asker.sendto(number + b"\1\0\0\1\0\0\0\0\0\0" + question, SERVER)
        self.resolver.sendto(
            number + b"\x81\x80\0\1\0\1\0\0\0\0" + question +
            b"\xc0\x0c\0\1\0\1\0\0\1\x2c\0\4\xc0\0\2\1", self.asker.getsockname())


def number_of(event):
    """The number of the exchange that the event tells of."""
    return int(NAME.fullmatch(event["dns_packet"]["question"]["name"])[1])
