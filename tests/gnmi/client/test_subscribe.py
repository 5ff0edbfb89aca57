"""What Subscribe sends, and when."""

import itertools
import signal
import threading
import time
import unittest

from gnmi_client import (LONG, Agent, Client, Subscription, captures, gnmi, gnmi_ext, grpc,
                         is_last, path, plain, refusal, replaying, running, served, text_of,
                         timeless, uncounted)

CODE = grpc.StatusCode
LIST = gnmi.SubscriptionList
GUARD = "/stp/global/config/bpdu-guard"


def subscription(text, mode=gnmi.TARGET_DEFINED, **members):
    return gnmi.Subscription(path=path(text), mode=mode, **members)


class Subscribe(unittest.TestCase):
    def setUp(self):
        self.context = running()
        self.agent, self.client = self.context.__enter__()

    def tearDown(self):
        self.context.__exit__(None, None, None)

    def guard(self, value):
        self.agent.set("input", "portfastBpduguard", value=value)

    def has(self, text, value):
        return lambda state: state.get(text) == value

    def ended(self, stream):
        """The status with which a stream ends."""
        return refusal(stream.rest)

    def test_S1_once_is_updates_the_marker_and_the_end(self):
        with self.client.subscribe("/", mode=LIST.ONCE) as stream:
            stream.until_sync()
            self.assertTrue(stream.state)
            self.assertEqual(stream.rest(), [])
            self.assertEqual(stream.state, self.client.values("/"))

    def test_S2_poll_sends_nothing_before_the_first_poll_and_all_at_each(self):
        with self.client.subscribe(GUARD, mode=LIST.POLL) as stream:
            self.assertTrue(stream.is_quiet())
            for value in (True, False):
                self.guard(value)
                with self.client.subscribe(GUARD) as other:
                    other.until(self.has(GUARD, value))
                stream.poll()
                stream.until_sync()
                self.assertEqual(stream.state, {GUARD: value})
            stream.half_close()
            self.assertEqual(stream.rest(), [])

    def test_S3_a_stream_has_no_gap_between_the_state_and_its_changes(self):
        for round_number in range(100):
            self.guard(round_number % 2 == 0)
            with self.client.subscribe(GUARD) as stream:
                self.guard(round_number % 2 == 1)
                stream.until_sync()
                stream.until(self.has(GUARD, round_number % 2 == 1))

    def test_S4_what_does_not_change_is_not_sent(self):
        with self.client.subscribe("/") as stream:
            stream.until_sync()
            self.agent.operation(op="touch", path=["input", "portfastBpduguard"])
            self.guard(False)
            self.guard(True)
            (notification,) = stream.until(self.has(GUARD, True))
            self.assertEqual([text_of(update.path) for update in notification.update], [GUARD])

    def test_S5_removal_sends_deletes(self):
        self.agent.operation(op="create", path=["input", "portConfig", "Ethernet1"], value={})
        name = "/stp/interfaces/interface[name=Ethernet1]/config/name"
        with self.client.subscribe("/stp/interfaces") as stream:
            stream.until(self.has(name, "Ethernet1"))
            self.agent.operation(op="delete", path=["input", "portConfig", "Ethernet1"])
            stream.until(lambda state: name not in state)
            self.assertEqual(stream.state, {})

    def test_S6_what_one_operation_changes_is_one_notification(self):
        with self.client.subscribe("/stp/global/state") as stream:
            stream.until_sync()
            for number in range(1, 20):
                self.agent.global_state(bpduGuard=number % 2 == 1, disabledVlan=[number])
                notification = stream.next().update
                self.assertEqual([text_of(update.path) for update in notification.update],
                                 ["/stp/global/state/bpdu-guard",
                                  "/stp/global/state/disabled-vlan"])
            self.assertTrue(stream.is_quiet())

    def test_S6_values_are_leaves_in_each_encoding(self):
        self.agent.ports(3)
        last = "/stp/interfaces/interface[name=port0002]/state/name"
        with self.client.subscribe("/") as stream:
            stream.until(lambda state: last in state)
        wanted = self.client.values("/")
        for encoding in (gnmi.JSON, gnmi.JSON_IETF, gnmi.PROTO):
            with self.client.subscribe("/", mode=LIST.ONCE, encoding=encoding) as stream:
                stream.until_sync()
                self.assertEqual(stream.state, wanted)
        for encoding in (gnmi.BYTES, gnmi.ASCII):
            with self.client.subscribe("/", encoding=encoding) as stream:
                self.assertEqual(self.ended(stream)[0], CODE.UNIMPLEMENTED)

    def test_S7_the_time_is_that_of_the_change(self):
        self.guard(True)
        with self.client.subscribe(GUARD) as stream:
            (change,) = stream.until(self.has(GUARD, True))[-1:]
        time.sleep(0.2)
        with self.client.subscribe(GUARD) as stream:
            (initial,) = stream.until_sync()
        self.assertEqual(initial.timestamp, change.timestamp)
        self.assertLess(abs(time.time_ns() - change.timestamp), 60_000_000_000)

    def test_S8_samples_come_at_every_interval_and_not_below_the_minimum(self):
        with self.client.subscribe(
                subscription(GUARD, gnmi.SAMPLE, sample_interval=1_000_000_000)) as stream:
            stream.until_sync()
            first, second = stream.next().update, stream.next().update
            self.assertGreaterEqual(second.timestamp - first.timestamp, 500_000_000)
        with self.client.subscribe(
                subscription(GUARD, gnmi.SAMPLE, sample_interval=1_000_000)) as stream:
            self.assertEqual(self.ended(stream)[0], CODE.INVALID_ARGUMENT)

    def test_S11_updates_only(self):
        with self.client.subscribe(GUARD, updates_only=True) as stream:
            self.assertEqual(stream.until_sync(), [])
            self.guard(True)
            stream.until(self.has(GUARD, True))
        for mode in (LIST.ONCE, LIST.POLL):
            with self.client.subscribe(GUARD, mode=mode, updates_only=True) as stream:
                if mode == LIST.POLL:
                    stream.poll()
                self.assertEqual(stream.until_sync(), [])

    def test_S12_what_is_absent_is_told_when_it_appears(self):
        wanted = "/stp/interfaces/interface[name=Ethernet9]/config/name"
        with self.client.subscribe(wanted) as exact, \
                self.client.subscribe("/stp/interfaces/interface[name=*]/config/name") as wild:
            self.assertEqual(exact.until_sync(), [])
            self.assertEqual(wild.until_sync(), [])
            self.agent.operation(op="create", path=["input", "portConfig", "Ethernet9"], value={})
            exact.until(self.has(wanted, "Ethernet9"))
            wild.until(self.has(wanted, "Ethernet9"))

    def test_S13_misuse_ends_that_call_alone(self):
        asked = LIST(subscription=[subscription(GUARD)], encoding=gnmi.PROTO)
        with self.client.subscribe(GUARD) as bystander:
            bystander.until_sync()
            for misuse in ("second", "poll", "empty", "neither", "poll on a stream"):
                with Subscription(self.client) as stream:
                    if misuse in ("second", "poll on a stream"):
                        stream.send(subscribe=asked)
                    if misuse == "second":
                        stream.send(subscribe=asked)
                    elif misuse == "empty":
                        stream.send(subscribe=LIST())
                    elif misuse == "neither":
                        stream.send()
                    else:
                        stream.poll()
                    self.assertEqual(self.ended(stream)[0], CODE.INVALID_ARGUMENT, misuse)
            self.guard(True)
            bystander.until(self.has(GUARD, True))

    def test_S14_a_leaf_of_several_paths_comes_once(self):
        with self.client.subscribe("/stp", GUARD, "/stp/global", mode=LIST.ONCE) as stream:
            told = [text_of(update.path) for notification in stream.until_sync()
                    for update in notification.update]
        self.assertEqual(len(told), len(set(told)))
        self.assertIn(GUARD, told)

    def test_S16_extensions_that_change_the_meaning_are_not_served(self):
        for name in ("history", "depth", "commit", "master_arbitration", "config_subscription"):
            extension = gnmi_ext.Extension()
            getattr(extension, name).SetInParent()
            with Subscription(self.client) as stream:
                stream.send(subscribe=LIST(subscription=[subscription(GUARD)]),
                            extension=[extension])
                code, message = self.ended(stream)
                self.assertEqual(code, CODE.UNIMPLEMENTED, name)
                self.assertIn(name, message)

    def test_S16_what_asks_for_nothing_here_is_taken(self):
        unknown = gnmi_ext.Extension(registered_ext=gnmi_ext.RegisteredExtension(id=999))
        with Subscription(self.client) as stream:
            stream.send(subscribe=LIST(
                subscription=[subscription(GUARD)], encoding=gnmi.PROTO, allow_aggregation=True,
                qos=gnmi.QOSMarking(marking=5)), extension=[unknown])
            stream.until_sync()
            self.assertEqual(stream.state, {GUARD: False})

    def test_B5_at_the_end_streams_are_unavailable(self):
        with self.client.subscribe(GUARD) as stream:
            stream.until_sync()
            self.assertEqual(self.agent.stop(), 0)
            self.assertEqual(self.ended(stream)[0], CODE.UNAVAILABLE)


class Changing(unittest.TestCase):
    """Clients that subscribe while the state changes again and again."""

    VLANS = "/stp/global/state/disabled-vlan"
    NUMBERS = 4000
    AT_A_TIME = 20

    def count(self):
        self.number = self.number % self.NUMBERS + 1
        self.agent.global_state(disabledVlan=[self.number])

    def change(self, ended):
        port = ["ocInterfaceStateDir", "state", "port1"]
        for step in itertools.count():
            if step % 20 == 0:
                self.agent.operation(op="set", path=port, value={})
            elif step % 20 == 10:
                self.agent.operation(op="delete", path=port)
            self.count()
            if ended.wait(0.002):
                return

    def check_numbers(self, notifications):
        """None is missing and none comes twice; those that were skipped are counted."""
        last = None
        for notification in notifications:
            for update in notification.update:
                if text_of(update.path) == self.VLANS:
                    (number,) = plain(update.val)
                    if last is not None:
                        self.assertEqual((number - last - 1 - update.duplicates) % self.NUMBERS, 0)
                    last = number

    def test_S3_nothing_is_lost_or_doubled_between_the_state_and_its_changes(self):
        self.number = 0
        with running() as (self.agent, client):
            self.count()
            for _ in range(50 if LONG else 5):
                ended = threading.Event()
                changing = threading.Thread(target=self.change, args=[ended])
                changing.start()
                streams = []
                try:
                    for _ in range(self.AT_A_TIME):
                        streams.append(client.subscribe("/stp"))
                    time.sleep(0.1)
                    ended.set()
                    changing.join()
                    self.count()
                    while client.values("/stp").get(self.VLANS) != [self.number]:
                        pass
                    final = client.values("/stp")
                    for stream in streams:
                        self.check_numbers(stream.until_sync()
                                           + stream.until(lambda state: state == final))
                finally:
                    ended.set()
                    changing.join()
                    for stream in streams:
                        stream.cancel()


class Replayed(unittest.TestCase):
    def test_S3_the_stream_of_all_captures_ends_as_the_final_state(self):
        with replaying(options=["--pace", "50"]) as agent, \
                Client("unix:" + agent.socket) as client, client.subscribe("/") as stream:
            stream.until_sync()
            stream.until(is_last)
            stream.settle()
            self.assertEqual(uncounted(stream.state), uncounted(client.values("/")))

    def test_B5_after_a_restart_a_client_has_the_full_state_again(self):
        states = []
        for _ in range(2):
            with served(captures()[0]) as (agent, client), client.subscribe("/") as stream:
                stream.until(lambda state: any("interface[" in text for text in state))
                stream.settle()
                states.append(timeless(uncounted(stream.state)))
                agent.process.send_signal(signal.SIGKILL)
        self.assertEqual(states[0], states[1])


class Limits(unittest.TestCase):
    def test_A6_subscriptions_and_clients_are_limited(self):
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure", "--gnmi-max-clients", "2"]) as agent:
            address = agent.addresses[0]
            with Client(address) as client:
                with client.subscribe(*[GUARD] * 257) as stream:
                    self.assertIn(refusal(stream.rest)[0],
                                  (CODE.RESOURCE_EXHAUSTED, CODE.INVALID_ARGUMENT))
                with client.subscribe(GUARD) as one, client.subscribe(GUARD) as two:
                    one.until_sync()
                    two.until_sync()
                    with client.subscribe(GUARD) as three:
                        self.assertEqual(refusal(three.rest)[0], CODE.RESOURCE_EXHAUSTED)

    def test_A6_calls_of_one_connection_are_limited(self):
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure"]) as agent, \
                Client(agent.addresses[0]) as client:
            streams = [client.subscribe(GUARD) for _ in range(100)]
            try:
                for stream in streams:
                    stream.until_sync()
                self.assertEqual(refusal(client.get, "/")[0], CODE.RESOURCE_EXHAUSTED)
            finally:
                for stream in streams:
                    stream.cancel()


if __name__ == "__main__":
    unittest.main()
