"""What the tests with clients that others wrote share: where these are, and what they print.

STP_FOREIGN_CLIENTS in the environment is the folder into which tools/foreign-clients installs them.
"""

import json
import os
import pathlib
import queue
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

FOLDER = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(FOLDER.parent / "client"))

from gnmi_client import PATIENCE, Agent, Client, captures, gnmi, is_last, replaying  # noqa: E402,F401

INSTALLED = pathlib.Path(os.environ.get("STP_FOREIGN_CLIENTS", "nowhere"))
EXAMPLES = FOLDER.parents[2] / "examples"
VLANS = "/stp/global/config/disabled-vlan"
GUARD = "/stp/global/config/bpdu-guard"


def installed(*path):
    """A client's file; who is not installed is skipped."""
    return INSTALLED.joinpath(*path)


def needs(file):
    return unittest.skipUnless(file.exists(), f"{file} is not installed: see tools/foreign-clients")


def openssl(*arguments):
    return subprocess.run(["openssl", *arguments], check=True, capture_output=True,
                          text=True).stdout.strip()


class Secured:
    """A folder with a certificate for 127.0.0.1 and a user, and agents that use them."""

    def __enter__(self):
        self.folder = tempfile.TemporaryDirectory(prefix="gnmi-foreign-")
        self.certificate, self.key, self.users = (os.path.join(self.folder.name, name)
                                                  for name in ("cert.pem", "key.pem", "users"))
        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                "-days", "2", "-subj", "/CN=localhost", "-addext",
                "subjectAltName=DNS:localhost,IP:127.0.0.1", "-keyout", self.key, "-out",
                self.certificate)
        with open(self.users, "w", encoding="ascii") as file:
            file.write(f"ann:{openssl('passwd', '-6', 'secret')}:write\n")
        return self

    def __exit__(self, *_):
        self.folder.cleanup()

    def example(self, name, changed):
        """A copy of an example in which texts stand for others, each of which is in it."""
        text = (EXAMPLES / name).read_text(encoding="utf-8")
        for before, after in changed.items():
            assert before in text, before
            text = text.replace(before, after)
        copy = os.path.join(self.folder.name, name)
        with open(copy, "w", encoding="utf-8") as file:
            file.write(text)
        return copy

    def agent(self):
        return running("--gnmi-cert", self.certificate, "--gnmi-key", self.key, "--gnmi-users",
                       self.users)


def free_port():
    with socket.create_server(("127.0.0.1", 0)) as server:
        return server.getsockname()[1]


def running(*options):
    return Agent("run", "--show", "none", gnmi_options=[
        "--gnmi", "127.0.0.1:0", *(options or ["--gnmi-insecure"])])


def guard(agent, value):
    agent.set("input", "portfastBpduguard", value=value)


def documents(text):
    """The JSON documents that stand one behind the other, and the text that is none yet."""
    decoder = json.JSONDecoder()
    found = []
    while True:
        text = text.lstrip()
        try:
            document, end = decoder.raw_decode(text)
        except json.JSONDecodeError:
            return found, text
        found.append(document)
        text = text[end:]


class Listening:
    """A client as a process that prints JSON documents until it is ended."""

    def __init__(self, *command):
        self.process = subprocess.Popen([str(each) for each in command], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.documents = queue.Queue()
        self._readers = [threading.Thread(target=self._read),
                         threading.Thread(target=self._read_errors)]
        self.errors = b""
        for reader in self._readers:
            reader.start()

    def _read(self):
        rest = ""
        while chunk := os.read(self.process.stdout.fileno(), 65536):
            found, rest = documents(rest + chunk.decode())
            for document in found:
                self.documents.put(document)
        self.documents.put(None)

    def _read_errors(self):
        self.errors = self.process.stderr.read()

    def ask(self, **members):
        self.process.stdin.write((json.dumps(members) + "\n").encode())
        self.process.stdin.flush()

    def next(self):
        document = self.documents.get(timeout=PATIENCE)
        if document is None:
            self.process.wait()
            raise AssertionError(f"the client ended: {self.errors.decode()}")
        return document

    def until(self, condition):
        """The documents up to the one for which the condition holds."""
        found = [self.next()]
        while not condition(found[-1]):
            found.append(self.next())
        return found

    def settled(self):
        """All that comes until nothing has come for a while."""
        found = []
        while True:
            try:
                document = self.documents.get(timeout=1)
            except queue.Empty:
                return found
            assert document is not None, self.errors
            found.append(document)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        for reader in self._readers:
            reader.join()
        for pipe in (self.process.stdin, self.process.stdout, self.process.stderr):
            pipe.close()


def fold(state, updates, deletes):
    """Has what a client was told take effect on what it knows; paths begin with a slash."""
    for gone in deletes:
        for known in [known for known in state if known == gone or known.startswith(gone + "/")]:
            del state[known]
    state.update(updates)


def final_state(agent, encoding=gnmi.PROTO):
    """What the agent serves when it has replayed all captures, as an independent client reads it."""
    end = time.monotonic() + PATIENCE
    with Client(agent.addresses[0]) as client:
        while not is_last(client.values("/")):
            assert time.monotonic() < end, "the replay does not end"
            time.sleep(0.1)
        with client.subscribe("/", mode=gnmi.SubscriptionList.ONCE, encoding=encoding) as stream:
            stream.until_sync()
            return stream.state


def replaying_all():
    return Agent("replay", "--bridge", "br0", "--show", "none", "--pace", "100",
                 *map(str, captures()),
                 gnmi_options=["--gnmi", "127.0.0.1:0", "--gnmi-insecure"])
