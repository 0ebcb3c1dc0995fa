"""A small D-Bus client: calls and replies over one connection, and messages as their bytes, so that
damaged ones can be sent as well. One thread a connection."""

import itertools
import re

from jeepney import DBusAddress, HeaderFields, MessageType, new_method_call
from jeepney.io.blocking import open_dbus_connection

NAME = "io.tovi.ToviAgentXPC"
PATH = "/io/tovi/ToviAgentXPC"
INTERFACE = "io.tovi.ToviAgentXPCProtocol"


class BusError(Exception):
    """The error that a call was answered with, or the end of the connection, which has a blank in its
    text."""


def message(serial, member, signature="", arguments=(), to=(NAME, PATH, INTERFACE)):
    """The bytes of a call."""
    name, path, interface = to
    call = new_method_call(DBusAddress(path, name, interface), member, signature or None,
                           tuple(arguments))
    return call.serialise(serial)


class Connection:
    """A connection as the user that this process is."""

    def __init__(self, path, timeout=30):
        self.timeout = timeout
        # The library's own call to the bus, the first of a connection, has the number 1.
        self.serials = itertools.count(2)
        with _as_bus_errors():
            self.connection = open_dbus_connection(f"unix:path={path}", auth_timeout=timeout)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self.connection.close()

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
            with _as_bus_errors():
                answer = self.connection.receive(timeout=self.timeout)
            if answer.header.fields.get(HeaderFields.reply_serial) != serial:
                continue
            if answer.header.message_type == MessageType.method_return:
                return answer.body
            raise BusError(re.sub("^org.freedesktop.DBus.Error.", "",
                                  answer.header.fields[HeaderFields.error_name]))

    def send(self, data):
        with _as_bus_errors():
            self.connection.sock.sendall(data)


class _as_bus_errors:
    """A context in which a broken connection is a BusError."""

    def __enter__(self):
        return self

    def __exit__(self, kind, error, _):
        if kind and issubclass(kind, (OSError, EOFError, TimeoutError)):
            raise BusError(f"no connection: {error}") from error
