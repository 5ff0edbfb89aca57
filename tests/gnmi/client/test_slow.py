"""Clients that do not take what they are sent."""

import contextlib
import json
import os
import signal
import subprocess
import sys
import threading
import time
import unittest

from gnmi_client import (LONG, Agent, Client, PortCase, fold, gnmi, grpc, path, plain,
                         refusal)

CODE = grpc.StatusCode
VLANS = "/stp/global/state/disabled-vlan"
GUARD = "/stp/global/state/bpdu-guard"


class Stalled:
    """A call of which nothing is read until somebody asks for it. What the connection takes
    without being asked is little, since its windows stay as they are."""

    OPTIONS = [("grpc.http2.bdp_probe", 0), ("grpc.http2.lookahead_bytes", 16384)]

    def __init__(self, address, *paths, mode=gnmi.SubscriptionList.STREAM):
        self.client = Client(address, options=self.OPTIONS)
        self._done = threading.Event()
        request = gnmi.SubscribeRequest(subscribe=gnmi.SubscriptionList(
            subscription=[gnmi.Subscription(path=path(text)) for text in paths],
            encoding=gnmi.PROTO, mode=mode))
        self.call = self.client._subscribe(self._requests(request))

    def _requests(self, request):
        yield request
        self._done.wait()

    def __iter__(self):
        return self.call

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._done.set()
        self.call.cancel()
        self.client.channel.close()


@contextlib.contextmanager
def subscriber(address, *paths):
    """A client in a process of its own, see subscriber.py."""
    program = os.path.join(os.path.dirname(os.path.abspath(__file__)), "subscriber.py")
    with subprocess.Popen([sys.executable, "-B", program, address, *paths],
                          stdout=subprocess.PIPE, text=True) as process:
        try:
            yield process
        finally:
            process.kill()


def until_applied(client, text, value):
    while client.values("/stp/...").get(text) != value:
        time.sleep(0.05)


class Slow(PortCase):
    def count(self, first, last):
        """Tells the numbers one after the other, each in an operation of its own."""
        self.agent.operations({"op": "set", "path": ["ocGlobalState", "state"],
                               "value": {"disabledVlan": [number % 4000 + 1]}}
                              for number in range(first, last + 1))
        until_applied(self.client, VLANS, [last % 4000 + 1])

    def count_one(self, number):
        self.agent.global_state(disabledVlan=[number % 4000 + 1])

    def churn(self, port, times):
        """A port's state goes and comes back."""
        place = ["ocInterfaceStateDir", "state", f"port{port:04}"]
        self.agent.operations([{"op": "delete", "path": place},
                               {"op": "set", "path": place, "value": {}}] * times)

    def told(self, process):
        return json.loads(process.stdout.readline())

    def test_B1_who_takes_nothing_costs_no_memory_and_every_skipped_value_is_counted(self):
        self.count(0, 0)
        with Stalled(self.address, VLANS) as stalled:
            responses = iter(stalled)
            self.assertEqual(plain(next(responses).update.update[0].val), [1])
            self.assertTrue(next(responses).sync_response)
            self.count(1, 10_000)
            before = self.agent.resident()
            last = 300_000 if LONG else 60_000
            self.count(10_001, last)
            self.assertLess(self.agent.resident() - before, 8 << 20)
            told = 0
            skipped = 0
            while told + skipped < last:
                (update,) = next(responses).update.update
                told += 1
                skipped += update.duplicates
                self.assertEqual(plain(update.val), [(told + skipped) % 4000 + 1])
            self.assertEqual(told + skipped, last)
            self.assertGreater(skipped, 0)

    def test_B1_a_process_that_was_stopped_has_everything_when_it_goes_on(self):
        self.count(0, 0)
        with subscriber(self.address, VLANS) as process:
            self.assertEqual(self.told(process)["updates"][0][1], [1])
            self.assertTrue(self.told(process)["sync"])
            process.send_signal(signal.SIGSTOP)
            last = 60_000
            self.count(1, last)
            process.send_signal(signal.SIGCONT)
            count = 0
            while count < last:
                ((_, value, duplicates),) = self.told(process)["updates"]
                count += 1 + duplicates
                self.assertEqual(value, [count % 4000 + 1])
            self.assertEqual(count, last)

    def test_B1_what_comes_and_goes_costs_a_slow_client_no_memory(self):
        ports = 100
        self.count(0, 0)
        self.agent.ports(ports)
        with Stalled(self.address, "/stp") as stalled:
            responses = iter(stalled)
            state = {}
            for response in responses:
                fold(state, response.update)
                if response.sync_response:
                    break
            sizes = []
            for times in (2_000, 10_000):
                for number in range(times):
                    self.churn(number % ports, 1)
                    if number % 100 == 0:
                        self.count(number, number)
                self.count(1, 1)
                sizes.append(self.agent.resident())
            self.assertLess(sizes[1] - sizes[0], 8 << 20)
            wanted = self.client.values("/stp")
            while state != wanted:
                fold(state, next(responses).update)

    def test_B2_who_takes_nothing_for_a_minute_is_ended_and_gives_back_his_place(self):
        if not LONG:
            self.skipTest("takes more than a minute")
        ports = 2000
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure", "--gnmi-max-clients", "2"]) as agent, \
                Client(agent.addresses[0]) as client:
            agent.ports(ports)
            last = f"/stp/interfaces/interface[name=port{ports - 1}]/state/name"
            until_applied(client, last, f"port{ports - 1}")
            with Stalled(agent.addresses[0], "/") as unread, \
                    subscriber(agent.addresses[0], "/") as stopped:
                next(iter(unread))
                self.told(stopped)
                stopped.send_signal(signal.SIGSTOP)
                # The system takes a while until what it holds for a stopped process is full.
                end = time.monotonic() + 200
                while not self.has_places(client, 2):
                    self.assertLess(time.monotonic(), end)
                    agent.operations(
                        {"op": "set", "path": ["ocInterfaceStateDir", "state", f"port{port:04}"],
                         "value": {"bpduGuard": int(time.monotonic()) % 2}}
                        for port in range(ports))
                    time.sleep(1)
                code, message = refusal(lambda: [None for _ in unread])
                self.assertEqual(code, CODE.RESOURCE_EXHAUSTED)
                self.assertIn("60 s", message)
                stopped.send_signal(signal.SIGCONT)
                ended = json.loads(stopped.stdout.readlines()[-1])
                self.assertEqual(ended["code"], "RESOURCE_EXHAUSTED")
                self.assertIn("60 s", ended["details"])

    def has_places(self, client, count):
        """Whether so many more may subscribe."""
        with contextlib.ExitStack() as context:
            try:
                for _ in range(count):
                    context.enter_context(client.subscribe(GUARD)).until_sync()
            except grpc.RpcError as error:
                self.assertEqual(error.code(), CODE.RESOURCE_EXHAUSTED)
                return False
        return True

    def test_B3_a_client_that_takes_nothing_delays_nobody(self):
        self.agent.ports(500)
        self.count(0, 0)
        with contextlib.ExitStack() as context:
            for _ in range(5):
                stalled = context.enter_context(Stalled(self.address, "/"))
                next(iter(stalled))
            stream = context.enter_context(self.client.subscribe(VLANS))
            stream.until_sync()
            # One after the other: each is told before the next is made.
            for number in range(1, 301):
                for port in range(20):
                    self.churn(port, 1)
                self.count_one(number)
                (notification,) = stream.until(lambda state: state[VLANS] == [number + 1])
                self.assertEqual(notification.update[0].duplicates, 0)

    def test_B5_clients_that_take_nothing_delay_no_end(self):
        self.agent.ports(500)
        with contextlib.ExitStack() as context:
            calls = [context.enter_context(Stalled(self.address, "/")) for _ in range(5)]
            for stalled in calls:
                next(iter(stalled))
            with self.client.subscribe(GUARD) as stream:
                stream.until_sync()
                self.assertEqual(self.agent.stop(), 0)
                self.assertEqual(refusal(stream.rest)[0], CODE.UNAVAILABLE)
            for stalled in calls:
                self.assertEqual(refusal(lambda: [None for _ in stalled])[0], CODE.UNAVAILABLE)


if __name__ == "__main__":
    unittest.main()
