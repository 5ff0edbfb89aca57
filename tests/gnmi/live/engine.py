"""mstpd and a bridge, in a network namespace that goes with the test, and a neighbour at its ports.

STP_MSTPD and STP_MSTPCTL in the environment name the two programs if they are not in the PATH.
"""

import json
import os
import pathlib
import shutil
import socket
import struct
import subprocess
import sys
import threading
import time
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[1] / "client"))

from gnmi_client import PATIENCE  # noqa: E402

MSTPD = os.environ.get("STP_MSTPD") or shutil.which("mstpd")
MSTPCTL = os.environ.get("STP_MSTPCTL") or shutil.which("mstpctl")
INSIDE = "STP_LIVE_TEST_INSIDE"
BRIDGE = "br4"
PORTS = ("Eth1", "Eth2", "Eth3")


def skip(reason):
    print(reason, file=sys.stderr)
    sys.exit(77)


def run_inside():
    """Runs the tests of the main program in namespaces of their own: a network without anything in
    it, and processes that end with the first of them. Ends with status 77 where that can't be."""
    if not MSTPD or not MSTPCTL:
        skip("mstpd is not installed; STP_MSTPD and STP_MSTPCTL say where it is")
    if os.environ.get(INSIDE):
        unittest.main()
    as_root = [] if os.geteuid() == 0 else ["--user", "--map-root-user"]
    inside = ["unshare", *as_root, "--net", "--mount", "--pid", "--fork", "--kill-child",
              "--mount-proc", "sh", "-c", 'mount -t sysfs sysfs /sys && exec "$@"', "sh"]
    made = subprocess.run([*inside, "ip", "link", "add", BRIDGE, "type", "bridge"],
                          capture_output=True, text=True)
    if made.returncode != 0:
        skip(f"no network namespace with a bridge can be made: {made.stderr}")
    os.execvpe(inside[0], [*inside, sys.executable, "-B", *sys.argv], {**os.environ, INSIDE: "1"})


def run(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def ip(text):
    run("ip", *text.split())


def mstpctl(*words):
    return run(MSTPCTL, *words)


def told(*words):
    """What the engine says, as objects."""
    answer = json.loads(mstpctl("-f", "json", *words))
    return answer if isinstance(answer, list) else [answer]


def until(condition, what):
    """What the condition comes to, once that is true."""
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if result := condition():
            return result
        time.sleep(0.05)
    raise AssertionError(f"never: {what}")


def is_answering():
    return subprocess.run([MSTPCTL, "showbridge"], capture_output=True).returncode == 0


class Neighbour:
    """A bridge at the far end of the ports: says every half second, on each that it was given, that
    it is the root."""

    def __init__(self):
        self._said = {}
        self._ended = threading.Event()
        self._socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)
        self._thread = threading.Thread(target=self._run)
        self._thread.start()

    def says(self, port, priority, address):
        self._said = {**self._said, port: (priority, bytes.fromhex(address.replace(":", "")))}

    def _run(self):
        while not self._ended.wait(0.5):
            for port, (priority, address) in self._said.items():
                try:
                    self._socket.sendto(self._frame(port, priority, address), (port, 0))
                except OSError:
                    pass  # the link is down

    # IEEE 802.1D-2004, 9.3.3: a designated port that forwards; times are in 1/256 s.
    @staticmethod
    def _frame(port, priority, address):
        bridge = struct.pack("!H", priority) + address
        bpdu = (struct.pack("!HBBB", 0, 2, 2, 0x3C) + bridge + struct.pack("!I", 0) + bridge +
                struct.pack("!HHHHHB", 0x8000 + int(port[-1]), 0, 20 << 8, 2 << 8, 15 << 8, 0))
        data = b"\x42\x42\x03" + bpdu
        return b"\x01\x80\xC2\0\0\0" + address + struct.pack("!H", len(data)) + data

    def end(self):
        self._ended.set()
        self._thread.join()
        self._socket.close()


class EngineCase(unittest.TestCase):
    """A bridge that speaks MSTP, with three ports and the instance 5."""

    def setUp(self):
        ip(f"link add {BRIDGE} type bridge")
        self.addCleanup(ip, f"link delete {BRIDGE}")
        # Without this the kernel would pass BPDUs on instead of up. With it, in this namespace, it
        # speaks STP itself; but nobody here listens to that, or speaks it.
        ip(f"link set {BRIDGE} type bridge stp_state 1")
        for port in PORTS:
            ip(f"link add {port} type veth peer name {self.far(port)}")
            self.addCleanup(ip, f"link delete {port}")
            ip(f"link set {port} up master {BRIDGE}")
            ip(f"link set {self.far(port)} up")
        ip(f"link set {BRIDGE} up")
        self.engine = None
        self.start_engine()
        self.addCleanup(self.end_engine)
        self.neighbour = Neighbour()
        self.addCleanup(self.neighbour.end)

    @staticmethod
    def far(port):
        return port.replace("Eth", "Far")

    def start_engine(self):
        self.engine = subprocess.Popen([MSTPD, "-d", "-v", "0"], stdout=subprocess.DEVNULL,
                                       stderr=subprocess.DEVNULL)
        until(is_answering, "mstpd answers")
        mstpctl("addbridge", BRIDGE)
        mstpctl("setforcevers", BRIDGE, "mstp")
        mstpctl("createtree", BRIDGE, "5")

    def end_engine(self):
        self.engine.kill()
        self.engine.wait()

    def becomes_root(self, priority, address):
        """The neighbour, which is on two links, of which the engine then blocks the second."""
        for port in ("Far1", "Far2"):
            self.neighbour.says(port, priority, address)
