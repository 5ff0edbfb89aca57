"""Many clients for long, among them such as stop, die, and mean no good.

STP_GNMI_SUBSCRIBERS names the program that subscribes many times (tests/gnmi/subscribers).
"""

import contextlib
import json
import os
import pathlib
import random
import shutil
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest

from gnmi_client import LONG, Agent, Client, captures, grpc, uncounted
from raw_http2 import CONTINUATION, END_HEADERS, HEADERS, SUBSCRIBE, Connection, frame, literal
from test_security import Authority, contents
from test_slow import Stalled, subscriber

SUBSCRIBERS = os.environ["STP_GNMI_SUBSCRIBERS"]
STREAMS, CONNECTIONS, SECONDS = (1000, 50, 600) if LONG else (200, 10, 5)
INTERVAL = 0.01


class Changes:
    """A change each some milliseconds, until it is left."""

    def __init__(self, agent):
        self.agent = agent
        self.count = 0
        self._ended = threading.Event()
        self._thread = threading.Thread(target=self._run)

    def _change(self, number):
        port = ["ocInterfaceStateDir", "state", f"port{number % 20}"]
        kind = number % 5
        if kind == 0:
            self.agent.operation(op="set", path=port, value={"bpduGuard": number // 20 % 2})
        elif kind == 1 and number % 3 == 0:
            self.agent.operation(op="delete", path=port)
        elif kind == 2:
            self.agent.set("input", "portfastBpduguard", value=number % 2 == 0)
        else:
            self.agent.global_state(disabledVlan=[number % 4000 + 1])

    def _run(self):
        due = time.monotonic()
        while not self._ended.is_set():
            self.count += 1
            try:
                self._change(self.count)
            except (OSError, ValueError):  # the agent has ended
                return
            due += INTERVAL
            self._ended.wait(max(0, due - time.monotonic()))

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._ended.set()
        self._thread.join()


class Subscribers:
    """Many streams in a process of their own."""

    def __init__(self, address):
        self.process = subprocess.Popen([SUBSCRIBERS, address, str(STREAMS), str(CONNECTIONS)],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)

    def are_synced(self):
        return self.process.stdout.readline() == "synced\n"

    def ask(self, question):
        self.process.stdin.write(question + "\n")
        self.process.stdin.flush()
        return json.loads(self.process.stdout.readline())

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


class Reliability(unittest.TestCase):
    def agent(self, *options, address="127.0.0.1:0"):
        return Agent("run", "--show", "none",
                     gnmi_options=["--gnmi", address, "--gnmi-max-clients", "2000", *options])

    def misbehave(self, address, chance):
        """One of the ways in which clients are no good."""
        kind = chance.randrange(5)
        if kind == 0:  # one that is stopped, and then goes on, or dies
            with subscriber(address, "/stp") as process:
                process.stdout.readline()
                process.send_signal(signal.SIGSTOP)
                time.sleep(chance.random())
                if chance.randrange(2):
                    process.send_signal(signal.SIGCONT)
                    process.stdout.readline()
        elif kind == 1:  # one that takes nothing
            with Stalled(address, "/stp") as stalled:
                next(iter(stalled))
                time.sleep(chance.random())
        elif kind == 2:  # garbage
            with Connection(address) as connection:
                connection.greet()
                for _ in range(20):
                    connection.send(frame(chance.randrange(12), chance.randbytes(
                        chance.randrange(300)), chance.randrange(256), chance.randrange(8)))
        elif kind == 3:  # a flood of headers
            with Connection(address) as connection:
                connection.greet()
                connection.send(frame(HEADERS, SUBSCRIBE, 0, 1))
                for _ in range(200):
                    connection.send(frame(CONTINUATION, literal(b"x", b"y" * 1000), 0, 1))
        else:  # half-open ones
            with contextlib.ExitStack() as context:
                for _ in range(20):
                    connection = context.enter_context(Connection(address))
                    connection.greet()
                    connection.send(frame(HEADERS, SUBSCRIBE, END_HEADERS, 1))
                time.sleep(chance.random())

    def test_B1_many_subscribers_lose_nothing_and_cost_no_more_with_time(self):
        chance = random.Random(1)
        with self.agent("--gnmi-insecure") as agent, \
                Subscribers(agent.addresses[0]) as subscribers:
            self.assertTrue(subscribers.are_synced())
            sizes = []
            with Changes(agent) as changes:
                begin = time.monotonic()
                end = begin + SECONDS
                while time.monotonic() < end:
                    self.misbehave(agent.addresses[0], chance)
                    sizes.append((time.monotonic() - begin, agent.resident()))
                taken = subscribers.ask("count")
            time.sleep(1)
            compared = subscribers.ask("compare")
            early = [size for at, size in sizes if at >= SECONDS / 10][0]
            print(f"\n{STREAMS} streams, {SECONDS} s, {changes.count} changes: {taken}, {compared};"
                  f" MiB {[round(size / 2**20) for _, size in (sizes[0], sizes[-1])]},"
                  f" after a tenth {round(early / 2**20)}", file=sys.stderr)
            self.assertEqual(taken["ended"], 0)
            self.assertEqual(compared["equal"], STREAMS)
            self.assertGreater(compared["leaves"], 4)
            if LONG:
                self.assertLess(sizes[-1][1] - early, 32 << 20)

    def test_A2_the_certificate_is_swapped_under_load(self):
        with tempfile.TemporaryDirectory() as folder:
            authority = Authority(folder)
            pairs = [authority.sign(name) for name in ("one", "two")]
            live = [os.path.join(folder, name) for name in ("live.pem", "live.key")]

            def swap(pair):
                for source, file in zip(pair, live):
                    shutil.copy(source, file + ".new")
                    os.rename(file + ".new", file)

            swap(pairs[0])
            credentials = grpc.ssl_channel_credentials(contents(authority.certificate))
            with self.agent("--gnmi-cert", live[0], "--gnmi-key", live[1]) as agent, \
                    contextlib.ExitStack() as context:
                streams = []
                for _ in range(10):
                    client = context.enter_context(Client(agent.addresses[0], credentials))
                    streams.append(context.enter_context(client.subscribe("/stp")))
                with Changes(agent):
                    end = time.monotonic() + (60 if LONG else 5)
                    swaps = 0
                    while time.monotonic() < end:
                        swaps += 1
                        swap(pairs[swaps % 2])
                        with Client(agent.addresses[0], credentials) as client:
                            self.assertTrue(client.get("/").notification)
                        time.sleep(0.1)
                agent.global_state(disabledVlan=[4001])
                with Client(agent.addresses[0], credentials) as client:
                    while client.values("/stp").get(
                            "/stp/global/state/disabled-vlan") != [4001]:
                        time.sleep(0.01)
                    final = client.values("/stp")
                for stream in streams:
                    stream.until_sync()
                    stream.until(lambda state: state == final)

    def test_B5_the_end_may_come_at_any_time(self):
        chance = random.Random(2)
        for _ in range(30 if LONG else 3):
            with self.agent("--gnmi-insecure") as agent, \
                    Subscribers(agent.addresses[0]) as subscribers:
                self.assertTrue(subscribers.are_synced())
                with Changes(agent):
                    time.sleep(chance.random() / 4)
                    self.assertEqual(agent.stop(), 0)
                while subscribers.ask("count")["ended"] < STREAMS:
                    time.sleep(0.01)

    def test_B5_without_the_engine_the_last_state_is_served(self):
        stand_in = pathlib.Path(__file__).parents[2] / "agent" / "mstpctl"
        with tempfile.TemporaryDirectory() as folder:
            engine = pathlib.Path(folder)

            def plays(capture):
                (engine / "link").symlink_to(capture)
                (engine / "link").rename(engine / "now")

            def mood(word):
                (engine / "new").write_text(word, encoding="ascii")
                (engine / "new").rename(engine / "mood")

            first, second = captures()[0], captures()[2]
            plays(first)
            with Agent("follow", "--bridge", "br0", "--interval", "0.05", "--mstpctl",
                       str(stand_in), "--show", "none", environment={"ENGINE": folder}) as agent, \
                    Client("unix:" + agent.socket) as client, client.subscribe("/stp") as stream:
                stream.until(lambda state: any("interface[" in text for text in state))
                stream.settle()
                before = dict(stream.state)
                mood("down")
                agent.wait_for(lambda: any("control connection" in line for line in agent.errors),
                               "the engine's end is not told")
                self.assertTrue(stream.is_quiet())
                self.assertEqual(uncounted(client.values("/stp")), uncounted(before))
                plays(second)
                (engine / "mood").unlink()
                stream.until(lambda state: state != before)
                stream.settle()
                self.assertEqual(uncounted(stream.state), uncounted(client.values("/stp")))


if __name__ == "__main__":
    unittest.main()
