"""HTTP/2 by hand, for what no client library would send, or leave unanswered."""

import socket
import struct

from gnmi_client import PATIENCE

PREFACE = b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"
DATA, HEADERS, RST_STREAM, SETTINGS, PING, GOAWAY, WINDOW_UPDATE, CONTINUATION = (
    0, 1, 3, 4, 6, 7, 8, 9)
ACK, END_HEADERS = 1, 4
INITIAL_WINDOW_SIZE = 4


def frame(kind, payload=b"", flags=0, stream=0):
    return struct.pack(">I", len(payload))[1:] + bytes([kind, flags]) + struct.pack(
        ">I", stream) + payload


def varint(number):
    encoded = b""
    while number >= 128:
        encoded += bytes([number % 128 + 128])
        number //= 128
    return encoded + bytes([number])


def literal(name, value):
    """A header field that is not indexed."""
    def text(value):
        return (bytes([len(value)]) if len(value) < 127
                else b"\x7f" + varint(len(value) - 127)) + value
    return b"\x00" + text(name) + text(value)


def call(method):
    """The headers of a call of gNMI."""
    return b"".join(literal(*field) for field in (
        (b":method", b"POST"), (b":scheme", b"http"), (b":path", b"/gnmi.gNMI/" + method),
        (b":authority", b"x"), (b"content-type", b"application/grpc"), (b"te", b"trailers")))


GET, SUBSCRIBE = call(b"Get"), call(b"Subscribe")


def message(serialised):
    """As it stands in the data of a call."""
    return b"\0" + struct.pack(">I", len(serialised)) + serialised


class Connection:
    def __init__(self, address):
        host, port = address.rsplit(":", 1)
        self.socket = socket.create_connection((host, int(port)), PATIENCE)
        self.answers_pings = True

    def send(self, *parts):
        """False if the other side does not want any more of it."""
        try:
            for part in parts:
                self.socket.sendall(part)
            return True
        except OSError:
            return False

    def greet(self):
        return self.send(PREFACE, frame(SETTINGS))

    def frames(self):
        """Kind, stream and payload of what comes, up to the end."""
        waiting = b""
        while True:
            try:
                received = self.socket.recv(65536)
            except ConnectionError:
                return
            if not received:
                return
            waiting += received
            while len(waiting) >= 9:
                length = int.from_bytes(waiting[:3], "big")
                if len(waiting) < 9 + length:
                    break
                kind, flags, payload = waiting[3], waiting[4], waiting[9:9 + length]
                if flags & ACK == 0 and kind == SETTINGS:
                    self.send(frame(SETTINGS, flags=ACK))
                if flags & ACK == 0 and kind == PING and self.answers_pings:
                    self.send(frame(PING, payload, ACK))
                yield kind, int.from_bytes(waiting[5:9], "big"), payload
                waiting = waiting[9 + length:]

    def is_closed(self):
        """Waits for the end."""
        try:
            for _ in self.frames():
                pass
            return True
        except TimeoutError:
            return False

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.socket.close()


class Sending:
    """Sends on one stream as much as the other side gives leave for."""

    def __init__(self, connection, stream):
        self.connection = connection
        self.stream = stream
        self.initial = 65_535
        self.windows = {0: 65_535, stream: 65_535}
        self.sent = 0
        self.is_answered = False
        self._frames = connection.frames()

    def send(self, payload):
        while not self.is_answered and min(self.windows.values()) < len(payload):
            self._take(*next(self._frames))
        if not self.is_answered:
            for stream in self.windows:
                self.windows[stream] -= len(payload)
            self.sent += len(payload)
            self.connection.send(frame(DATA, payload, 0, self.stream))

    def _take(self, kind, stream, payload):
        if kind == SETTINGS:
            for at in range(0, len(payload), 6):
                setting, value = struct.unpack(">HI", payload[at:at + 6])
                if setting == INITIAL_WINDOW_SIZE:
                    self.windows[self.stream] += value - self.initial
                    self.initial = value
        elif kind == WINDOW_UPDATE:
            self.windows[stream] += int.from_bytes(payload, "big")
        self.is_answered = kind in (HEADERS, RST_STREAM)
