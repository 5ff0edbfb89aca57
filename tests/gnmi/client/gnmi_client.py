"""A gNMI client made of nothing but gRPC and the messages, and an agent to ask.

The environment says where things are: STP_AGENT, STP_CAPTURES, and in STP_GNMI_MESSAGES the folder
of the generated message classes.
"""

import contextlib
import json
import os
import pathlib
import queue
import re
import resource
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

sys.path.insert(0, os.environ["STP_GNMI_MESSAGES"])

import grpc  # noqa: E402
from github.com.openconfig.gnmi.proto.gnmi import gnmi_pb2 as gnmi  # noqa: E402
from github.com.openconfig.gnmi.proto.gnmi_ext import gnmi_ext_pb2 as gnmi_ext  # noqa: E402,F401

AGENT = os.environ["STP_AGENT"]
CAPTURES = pathlib.Path(os.environ["STP_CAPTURES"])
LONG = os.environ.get("STP_LONG_TESTS") == "1"  # whether tests may take minutes
PATIENCE = 20  # seconds for what should take milliseconds


def captures():
    """The folders of snapshots of br0, in order."""
    return sorted(folder for folder in CAPTURES.iterdir() if folder.is_dir())


class Agent:
    """The agent as a process that serves on a socket file, or where it is told."""

    def __init__(self, *arguments, gnmi_options=None, descriptors=None,
                 namespace=None, environment=None):
        self.folder = tempfile.TemporaryDirectory(prefix="gnmi-test-")
        self.socket = os.path.join(self.folder.name, "gnmi.sock")
        if gnmi_options is None:
            gnmi_options = ["--gnmi", "unix:" + self.socket, "--gnmi-insecure"]
        self.process = subprocess.Popen(
            [*(["ip", "netns", "exec", namespace] if namespace else []), AGENT, *arguments,
             *gnmi_options],
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
            text=True, errors="replace", bufsize=1, env={**os.environ, **(environment or {})},
            preexec_fn=descriptors and (lambda: resource.setrlimit(
                resource.RLIMIT_NOFILE, (descriptors, descriptors))))
        self.addresses = []
        self.errors = []
        self.output = []
        self._has_ended = False
        self._told = threading.Condition()
        self._readers = [threading.Thread(target=self._read_errors),
                         threading.Thread(target=self._read_output)]
        for reader in self._readers:
            reader.start()

    def _read_errors(self):
        for line in self.process.stderr:
            with self._told:
                found = re.search(r"gnmi: listening on (\S+)", line)
                if found:
                    self.addresses.append(found.group(1))
                self.errors.append(line.rstrip("\n"))
                self._told.notify_all()
        with self._told:
            self._has_ended = True
            self._told.notify_all()

    def _read_output(self):
        self.output.extend(self.process.stdout)

    def wait_for(self, condition, what):
        """Until the condition of its standard error holds."""
        with self._told:
            if not self._told.wait_for(condition, PATIENCE):
                raise AssertionError(f"{what}; standard error: {self.errors}")

    def listens(self, count=1):
        self.wait_for(lambda: len(self.addresses) >= count or self._has_ended,
                      "the agent does not listen")
        if len(self.addresses) < count:
            raise AssertionError(f"the agent ended: {self.errors}")
        return self

    def operation(self, **members):
        self.process.stdin.write(json.dumps(members) + "\n")
        self.process.stdin.flush()

    def set(self, *path, value):
        self.operation(op="set", path=list(path), value=value)

    def operations(self, operations):
        """Many at once."""
        self.process.stdin.write("".join(json.dumps(each) + "\n" for each in operations))
        self.process.stdin.flush()

    def global_state(self, **members):
        """Writes leaves of /stp/global/state in one operation."""
        self.operation(op="set", path=["ocGlobalState", "state"], value=members)

    def ports(self, count):
        """That many ports, with all leaves of their state."""
        self.operations({"op": "set", "path": ["ocInterfaceStateDir", "state", f"port{at:04}"],
                         "value": {}} for at in range(count))

    def resident(self):
        """Its memory, in bytes; 0 with sanitizers, which keep what was freed."""
        if os.environ.get("STP_SANITIZED") == "1":
            return 0
        with open(f"/proc/{self.process.pid}/statm", encoding="ascii") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGE_SIZE")

    def seconds_of_work(self):
        """What it has had of processors."""
        with open(f"/proc/{self.process.pid}/stat", encoding="ascii") as file:
            ticks = file.read().rpartition(")")[2].split()[11:13]
        return sum(map(int, ticks)) / os.sysconf("SC_CLK_TCK")

    def stop(self, signal_number=signal.SIGTERM):
        """Its exit status."""
        if self.process.poll() is None:
            self.process.send_signal(signal_number)
        with contextlib.suppress(BrokenPipeError):
            self.process.stdin.close()
        try:
            status = self.process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
            raise AssertionError("the agent does not end")
        for reader in self._readers:
            reader.join()
        self.process.stdout.close()
        self.process.stderr.close()
        self.folder.cleanup()
        return status

    def __enter__(self):
        return self.listens()

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.stop()


def replaying(*folders, options=()):
    return Agent("replay", "--bridge", "br0", "--show", "none", *options,
                 *map(str, folders or captures()))


def is_last(state):
    """Whether all captures have been replayed: the last one alone is of RSTP."""
    protocol = state.get("/stp/global/config/enabled-protocol")
    return protocol == ["openconfig-spanning-tree-types:RSTP"]


def elem(element, **keys):
    return gnmi.PathElem(name=element, key=keys)


def path(text="", origin=""):
    """From a text as it stands in messages: /a/b[name=x]/c."""
    result = gnmi.Path(origin=origin)
    for part in re.findall(r"/((?:[^/\[]|\[(?:\\.|[^\]])*\])+)", text):
        name, _, rest = part.partition("[")
        keys = re.findall(r"([^=\[]+)=((?:\\.|[^\]])*)\]", rest)
        result.elem.append(gnmi.PathElem(
            name=name, key={key: re.sub(r"\\(.)", r"\1", value) for key, value in keys}))
    return result


def text_of(a_path):
    return "".join(
        "/" + element.name + "".join(f"[{key}={value}]"
                                     for key, value in sorted(element.key.items()))
        for element in a_path.elem) or "/"


def checked(notification):
    """Paths of answers have bare names and the key of each list, and no wildcards."""
    whole = [update.path for update in notification.update] + list(notification.delete)
    for each in whole:
        for element in each.elem:
            assert not set("*:") & set(element.name) and element.name != "...", text_of(each)
            lists = {"interface": ["name"], "mst-instance": ["mst-id"]}
            assert list(element.key) == lists.get(element.name, []), text_of(each)
    assert not notification.atomic
    return notification


def plain(value):
    """A typed value as Python has it."""
    kind = value.WhichOneof("value")
    if kind == "leaflist_val":
        return [plain(element) for element in value.leaflist_val.element]
    if kind in ("json_val", "json_ietf_val"):
        return json.loads(getattr(value, kind))
    return getattr(value, kind)


class Client:
    def __init__(self, address, credentials=None, metadata=(), options=()):
        options = [("grpc.use_local_subchannel_pool", 1), *options]
        self.channel = (grpc.secure_channel(address, credentials, options) if credentials
                        else grpc.insecure_channel(address, options))
        self.metadata = tuple(metadata)
        for name, request, response in (
                ("Capabilities", gnmi.CapabilityRequest, gnmi.CapabilityResponse),
                ("Get", gnmi.GetRequest, gnmi.GetResponse),
                ("Set", gnmi.SetRequest, gnmi.SetResponse)):
            setattr(self, "_" + name.lower(), self.channel.unary_unary(
                "/gnmi.gNMI/" + name, request_serializer=request.SerializeToString,
                response_deserializer=response.FromString))
        self._subscribe = self.channel.stream_stream(
            "/gnmi.gNMI/Subscribe", request_serializer=gnmi.SubscribeRequest.SerializeToString,
            response_deserializer=gnmi.SubscribeResponse.FromString)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.channel.close()

    def capabilities(self, **members):
        return self._capabilities(gnmi.CapabilityRequest(**members), metadata=self.metadata,
                                  timeout=PATIENCE)

    def get(self, *texts, encoding=gnmi.JSON_IETF, **members):
        answer = self._get(gnmi.GetRequest(path=[path(text) for text in texts], encoding=encoding,
                                           **members),
                           metadata=self.metadata, timeout=PATIENCE)
        for notification in answer.notification:
            checked(notification)
        return answer

    def values(self, *texts, encoding=gnmi.PROTO, **members):
        """Path by path what Get answers, flat."""
        return {text_of(update.path): plain(update.val)
                for notification in self.get(*texts, encoding=encoding, **members).notification
                for update in notification.update}

    def until_there(self):
        """Until a folder is served: it is applied before or after a call, not between two leaves of
        it. What is there before any folder has no ports."""
        while not any("/interface[" in text for text in self.values("/")):
            pass

    def set(self, **members):
        return self._set(gnmi.SetRequest(**members), metadata=self.metadata, timeout=PATIENCE)

    def subscribe(self, *subscriptions, **members):
        return Subscription(self, gnmi.SubscriptionList(
            subscription=[each if isinstance(each, gnmi.Subscription)
                          else gnmi.Subscription(path=path(each)) for each in subscriptions],
            **{"encoding": gnmi.PROTO, **members}))


def timeless(value):
    """A document, or values by path, without the times of the last topology changes: each agent
    reckons them from its own start."""
    name = "last-topology-change"
    if isinstance(value, dict):
        return {key: timeless(member) for key, member in value.items() if not key.endswith(name)}
    return [timeless(entry) for entry in value] if isinstance(value, list) else value


def leaves_of(value, text="", key=""):
    """The leaves of a document by path, as in answers: bare, and not a list's own key."""
    lists = {"interface": "name", "mst-instance": "mst-id"}
    if isinstance(value, dict):
        parts = (leaves_of(member, f"{text}/{name.split(':')[-1]}", name)
                 for name, member in value.items())
    elif isinstance(value, list) and key in lists:
        name = lists[key]
        parts = (leaves_of({each: entry[each] for each in entry if each != name},
                           f"{text}[{name}={entry[name]}]") for entry in value)
    else:
        return {text: value}
    return {place: leaf for part in parts for place, leaf in part.items()}


def uncounted(values):
    """Values by path without counters, which a subscriber has by samples."""
    return {text: value for text, value in values.items() if "/counters/" not in text}


def fold(state, notification):
    """Has a notification take effect on what is known, path by path."""
    for gone in notification.delete:
        text = text_of(gone)
        for known in [known for known in state
                      if known == text or known.startswith(text.rstrip("/") + "/")]:
            del state[known]
    for update in notification.update:
        state[text_of(update.path)] = plain(update.val)


class Subscription:
    """One Subscribe call; what it is sent is read by a thread, and folded on demand."""

    def __init__(self, client, subscription_list=None):
        self.requests = queue.Queue()
        self.received = queue.Queue()
        self.state = {}
        if subscription_list is not None:
            self.send(subscribe=subscription_list)
        self.call = client._subscribe(iter(self.requests.get, None), metadata=client.metadata)
        self._reader = threading.Thread(target=self._read)
        self._reader.start()

    def _read(self):
        try:
            for response in self.call:
                self.received.put(response)
        except grpc.RpcError as error:
            self.received.put(error)
        else:
            self.received.put(None)

    def send(self, **members):
        self.requests.put(gnmi.SubscribeRequest(**members))

    def poll(self):
        self.send(poll=gnmi.Poll())

    def half_close(self):
        self.requests.put(None)

    def next(self, timeout=PATIENCE):
        """The next response; None at the end; raises the error that ended the call."""
        response = self.received.get(timeout=timeout)
        if isinstance(response, Exception):
            raise response
        if response is not None and response.HasField("update"):
            fold(self.state, checked(response.update))
        return response

    def until_sync(self):
        """The notifications before the marker."""
        notifications = []
        while True:
            response = self.next()
            assert response is not None, "the call ended before the marker"
            if response.sync_response:
                return notifications
            notifications.append(response.update)

    def until(self, condition):
        """Folds until the condition of the state holds; the notifications meanwhile."""
        notifications = []
        end = time.monotonic() + PATIENCE
        while not condition(self.state):
            notifications.append(self.next(max(0.1, end - time.monotonic())).update)
        return notifications

    def rest(self):
        """All up to the end of the call."""
        return list(iter(self.next, None))

    def is_quiet(self, seconds=0.3):
        time.sleep(seconds)
        return self.received.empty()

    def settle(self):
        """Folds until nothing comes any more."""
        while not self.is_quiet():
            while not self.received.empty():
                self.next()

    def cancel(self):
        self.requests.put(None)
        self.call.cancel()
        self._reader.join()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.cancel()


@contextlib.contextmanager
def served(*arguments, **members):
    """An agent that replays, and a client of it."""
    with replaying(*arguments, **members) as agent, Client("unix:" + agent.socket) as client:
        yield agent, client


@contextlib.contextmanager
def running(*options):
    """An agent that takes operations, and a client of it; options are beside the usual ones."""
    with Agent("run", "--show", "none", *options) as agent, Client("unix:" + agent.socket) as client:
        yield agent, client


class PortCase(unittest.TestCase):
    """An agent that takes operations, on a port and not on a file, and a client of it."""

    def setUp(self):
        self.agent = self.enterContext(Agent(
            "run", "--show", "none", gnmi_options=["--gnmi", "127.0.0.1:0", "--gnmi-insecure"]))
        self.address = self.agent.addresses[0]
        self.client = self.enterContext(Client(self.address))


def refusal(call, *arguments, **members):
    """The status with which a call is refused: its code, and its text."""
    try:
        result = call(*arguments, **members)
    except grpc.RpcError as error:
        return error.code(), error.details()
    raise AssertionError(f"not refused: {result}")
