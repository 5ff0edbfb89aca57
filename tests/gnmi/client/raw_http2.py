"""HTTP/2 by hand, for what no client library would send, or leave unanswered."""

import socket
import struct

from gnmi_client import PATIENCE

PREFACE = b"PRI * HTTP/2.0\r\n\r\nSM\r\n\r\n"
DATA, HEADERS, SETTINGS, PING, GOAWAY, CONTINUATION = 0, 1, 4, 6, 7, 9
ACK, END_HEADERS = 1, 4


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
