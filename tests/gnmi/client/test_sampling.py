"""Samples and heartbeats, at intervals as short as they are let."""

import unittest

from gnmi_client import gnmi, grpc, path, plain, refusal, running, text_of

CODE = grpc.StatusCode
GUARD = "/stp/global/config/bpdu-guard"
TOLD = "/stp/global/state/bpdu-guard"
PROTOCOL = "/stp/global/config/enabled-protocol"
PORT = "/stp/interfaces/interface[name=Ethernet1]/config/name"
LEAST_MS = 40
LEAST = LEAST_MS * 1_000_000
LONG = 3600 * 1_000_000_000  # beyond every test


def on_change(text, **members):
    return gnmi.Subscription(path=path(text), mode=gnmi.ON_CHANGE, **members)


def sample(text, interval=LEAST, **members):
    return gnmi.Subscription(path=path(text), mode=gnmi.SAMPLE, sample_interval=interval,
                             **members)


def target_defined(text, **members):
    return gnmi.Subscription(path=path(text), mode=gnmi.TARGET_DEFINED, **members)


class Sampling(unittest.TestCase):
    def setUp(self):
        self.context = running("--gnmi-min-sample-interval", str(LEAST_MS))
        self.agent, self.client = self.context.__enter__()

    def tearDown(self):
        self.context.__exit__(None, None, None)

    def guard(self, value):
        self.agent.set("input", "portfastBpduguard", value=value)

    def protocol(self, value):
        self.agent.set("input", "mode", value=value)

    def told(self, stream, count):
        """The leaves of the next notifications, which are no markers; their times rise."""
        notifications = []
        for _ in range(count):
            response = stream.next()
            self.assertFalse(response.sync_response)
            notifications.append(response.update)
        times = [notification.timestamp for notification in notifications]
        self.assertEqual(times, sorted(set(times)))
        return [[text_of(update.path) for update in notification.update]
                for notification in notifications]

    def refused(self, culprit, subscription):
        with self.client.subscribe(subscription) as stream:
            code, message = refusal(stream.rest)
        self.assertEqual(code, CODE.INVALID_ARGUMENT)
        self.assertIn(culprit, message)

    def test_S5_a_removal_is_told_once_by_samples(self):
        self.agent.operation(op="create", path=["input", "portConfig", "Ethernet1"], value={})
        with self.client.subscribe(on_change("/stp")) as other:
            other.until(lambda state: PORT in state)
            with self.client.subscribe(sample("/stp/interfaces"), sample(GUARD)) as stream:
                stream.until_sync()
                self.agent.operation(op="delete", path=["input", "portConfig", "Ethernet1"])
                other.until(lambda state: PORT not in state)
                deletes = []
                after = 0
                while after < 3:
                    update = stream.next().update
                    deletes += [text_of(gone) for gone in update.delete]
                    if deletes:
                        after += 1
                        self.assertNotIn(PORT, [text_of(each.path) for each in update.update])
                self.assertEqual(deletes.count(PORT), 1)
                self.assertEqual(len(deletes), len(set(deletes)))

    def test_S7_samples_and_heartbeats_have_the_time_of_sampling(self):
        for subscription in (sample(GUARD), on_change(GUARD, heartbeat_interval=LEAST)):
            with self.client.subscribe(subscription) as stream:
                (initial,) = stream.until_sync()
                first, second = stream.next().update, stream.next().update
                self.assertLess(initial.timestamp, first.timestamp)
                self.assertLess(first.timestamp, second.timestamp)

    def test_S8_samples_come_again_and_again_with_what_is_then(self):
        with self.client.subscribe(sample(GUARD)) as stream:
            stream.until_sync()
            self.assertEqual(self.told(stream, 4), [[GUARD]] * 4)
            self.guard(True)
            stream.until(lambda state: state[GUARD])
            self.assertEqual(self.told(stream, 2), [[GUARD]] * 2)

    def test_S8_zero_is_the_shortest_interval(self):
        with self.client.subscribe(sample(GUARD, 0)) as stream:
            stream.until_sync()
            self.assertEqual(self.told(stream, 3), [[GUARD]] * 3)

    def test_S8_a_sample_is_no_change(self):
        with self.client.subscribe(sample(GUARD, LONG)) as stream:
            stream.until_sync()
            self.guard(True)
            self.assertTrue(stream.is_quiet())

    def test_S8_redundant_leaves_are_left_out_one_by_one(self):
        with self.client.subscribe(sample("/stp/global", suppress_redundant=True)) as stream:
            stream.until_sync()
            self.assertTrue(stream.is_quiet())
            self.guard(True)
            self.assertEqual(self.told(stream, 1), [[GUARD]])
            self.assertTrue(stream.is_quiet())

    def test_S8_intervals_are_checked(self):
        self.refused("too short", sample(GUARD, LEAST - 1))
        self.refused("too long", sample(GUARD, 1 << 63))

    def test_S9_heartbeats_send_all_again_without_a_second_marker(self):
        for subscription in (on_change("/stp/global", heartbeat_interval=LEAST),
                             target_defined("/stp/global", heartbeat_interval=LEAST),
                             sample("/stp/global", suppress_redundant=True,
                                    heartbeat_interval=2 * LEAST)):
            with self.client.subscribe(subscription) as stream:
                stream.until_sync()
                everything = sorted(self.client.values("/stp/global"))
                self.assertEqual([sorted(each) for each in self.told(stream, 3)],
                                 [everything] * 3)

    def test_S9_heartbeats_come_beside_changes(self):
        with self.client.subscribe(on_change(GUARD, heartbeat_interval=LEAST)) as stream:
            stream.until_sync()
            for value in (True, False, True):
                self.guard(value)
                stream.until(lambda state: state[GUARD] == value)
            self.assertEqual(self.told(stream, 2), [[GUARD]] * 2)
            self.assertEqual(stream.state, {GUARD: True})

    def test_S9_intervals_are_checked(self):
        self.refused("too short", on_change(GUARD, heartbeat_interval=LEAST - 1))
        self.refused("too long", on_change(GUARD, heartbeat_interval=1 << 63))
        self.refused("shorter than the sample interval",
                     sample(GUARD, 3 * LEAST, heartbeat_interval=2 * LEAST))

    def test_S10_the_target_defines_changes(self):
        with self.client.subscribe(target_defined(GUARD)) as stream:
            stream.until_sync()
            self.assertTrue(stream.is_quiet())
            self.guard(True)
            self.assertEqual(self.told(stream, 1), [[GUARD]])
            self.assertTrue(stream.is_quiet())

    def test_S10_with_an_interval_it_is_refused(self):
        self.refused("sample_interval", target_defined(GUARD, sample_interval=LEAST))

    def test_S8_to_S10_intervals_are_for_streams(self):
        for mode in (gnmi.SubscriptionList.ONCE, gnmi.SubscriptionList.POLL):
            with self.client.subscribe(sample(GUARD, 1, heartbeat_interval=1),
                                       target_defined(TOLD, sample_interval=1),
                                       mode=mode) as stream:
                stream.poll() if mode == gnmi.SubscriptionList.POLL else None
                stream.until_sync()
                self.assertEqual(sorted(stream.state), [GUARD, TOLD])

    def test_S15_each_path_of_a_list_has_its_own_mode(self):
        with self.client.subscribe(on_change(GUARD), sample(TOLD), target_defined(PROTOCOL),
                                   sample("/stp/mstp", LONG)) as stream:
            stream.until_sync()
            self.assertEqual(sorted(stream.state)[:2], [GUARD, PROTOCOL])
            self.assertEqual(self.told(stream, 3), [[TOLD]] * 3)
            protocol = stream.state[PROTOCOL]
            self.guard(True)
            self.protocol(3)
            changes = [text_of(update.path)
                       for notification in stream.until(
                           lambda state: state[GUARD] and state[PROTOCOL] != protocol)
                       for update in notification.update]
            changes += sum(self.told(stream, 3), [])
            self.assertEqual([changes.count(GUARD), changes.count(PROTOCOL)], [1, 1])
            self.assertEqual(set(changes), {GUARD, PROTOCOL, TOLD})


if __name__ == "__main__":
    unittest.main()
