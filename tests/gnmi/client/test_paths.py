"""What paths select, which are refused, and how the paths of answers look."""

import unittest

from gnmi_client import (captures, elem, gnmi, grpc, path, plain, refusal, running, served,
                         text_of)

CODE = grpc.StatusCode
LIST = gnmi.SubscriptionList
NAME = "/stp/interfaces/interface[name=Ethernet1]/config/name"

# Whether anything is selected is part of each, so that no pattern is right by selecting nothing.
PATTERNS = {
    "/": True,
    "/*": True,
    "/...": True,
    "/.../...": True,
    "/stp/*": True,
    "/stp/*/config": True,
    "/stp/.../config": True,
    "/.../state": True,
    "/.../state/*": True,
    "/.../name": True,
    "/.../*/bpdu-guard": True,
    "/*/*/*/*": True,
    "/stp/interfaces/interface": True,
    "/stp/interfaces/interface[name=*]": True,
    "/stp/interfaces/interface[name=*]/config/name": True,
    "/stp/interfaces/interface[name=Ethernet1]": True,
    "/stp/interfaces/interface[name=Ethernet1]/...": True,
    "/stp/interfaces/*[name=Ethernet1]/state": True,
    "/.../interface[name=Ethernet1]": True,
    "/.../interface[name=Ethernet1]/*/edge-port": True,
    "/.../*[mst-id=5]": True,
    "/stp/mstp/mst-instances/mst-instance[mst-id=5]/...": True,
    "/stp/mstp/mst-instances/mst-instance[mst-id=*]/config/vlan": True,
    "/stp/mstp/mst-instances/mst-instance[mst-id=4094]/*": False,
    "/.../interface[name=nobody]": False,
    "/.../interface[name=nobody]/...": False,
}

MALFORMED = {
    "/stp/nope": "nope",
    "/stp/global/nope/config": "nope",
    "/stp/global/config/bpdu-guard/below": "below",
    "/stp[name=x]/global": "stp",
    "/stp/interfaces/interface[port=x]": "port",
    "/stp/interfaces/interface[name=x][port=y]": "port",
    "/stp/...[name=x]": "...",
    "/openconfig-interfaces:stp": "openconfig-interfaces",
    "/stp/mstp/mst-instances/mst-instance[mst-id=0]": "mst-id=0",
    "/stp/mstp/mst-instances/mst-instance[mst-id=4095]": "mst-id=4095",
    "/stp/mstp/mst-instances/mst-instance[mst-id=05]": "mst-id=05",
    "/stp/mstp/mst-instances/mst-instance[mst-id=five]": "mst-id=five",
}

UNSERVED = {
    "/stp/rapid-pvst": "rapid-pvst",
    "/stp/rapid-pvst/vlan[vlan-id=5]/state": "rapid-pvst",
    "/stp/global/config/loop-guard": "loop-guard",
    "/stp/interfaces/interface[name=Ethernet1]/name": "name",
}


def selects(pattern, leaf):
    """Whether a pattern's elements select a leaf's, by the plain rules."""
    if not pattern:
        return True
    first, *others = pattern
    if first.name == "...":
        return selects(others, leaf) or bool(leaf) and selects(pattern, leaf[1:])
    if not leaf or first.name not in ("*", leaf[0].name):
        return False
    return (all(leaf[0].key.get(name) is not None and value in ("*", leaf[0].key[name])
                for name, value in first.key.items())
            and selects(others, leaf[1:]))


class Paths(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.context = served(captures()[0])
        cls.agent, cls.client = cls.context.__enter__()
        cls.client.until_there()

    @classmethod
    def tearDownClass(cls):
        cls.context.__exit__(None, None, None)

    def once(self, *subscriptions, **members):
        """All that a ONCE tells, in its order; a prefix may be among the members."""
        with self.client.subscribe(*subscriptions, mode=LIST.ONCE, **members) as stream:
            told = [(text_of(update.path), plain(update.val))
                    for notification in stream.until_sync() for update in notification.update]
            self.assertEqual(stream.rest(), [])
        return told

    def refused(self, code, culprit, a_path, prefix=None):
        """Get and Subscribe refuse it alike."""
        get = gnmi.GetRequest(path=[a_path], prefix=prefix)
        subscription = gnmi.Subscription(path=a_path)
        refusals = [refusal(self.client._get, get)]
        for mode in (LIST.ONCE, LIST.POLL, LIST.STREAM):
            with self.client.subscribe(subscription, mode=mode, prefix=prefix) as stream:
                refusals.append(refusal(stream.rest))
        for refused, message in refusals:
            self.assertEqual(refused, code, message)
            self.assertIn(culprit, message)

    def test_P1_a_subscription_is_the_same_wherever_it_is_split(self):
        whole = path(NAME).elem
        for at in range(len(whole) + 1):
            told = self.once(gnmi.Subscription(path=gnmi.Path(elem=whole[at:])),
                             prefix=gnmi.Path(elem=whole[:at]))
            self.assertEqual(told, [(NAME, "Ethernet1")])

    def test_P1_an_empty_path_is_the_root(self):
        everything = self.client.values("/")
        self.assertEqual(self.client.values(), everything)
        self.assertEqual(dict(self.once("")), everything)

    def test_P2_patterns_select_what_the_plain_rules_do(self):
        everything = {text_of(update.path): (list(update.path.elem), plain(update.val))
                      for update in self.client.get(
                          "/", encoding=gnmi.PROTO).notification[0].update}
        for pattern, selects_some in PATTERNS.items():
            with self.subTest(pattern):
                wanted = {text: value for text, (elements, value) in everything.items()
                          if selects(list(path(pattern).elem), elements)}
                self.assertEqual(bool(wanted), selects_some)
                (notification,) = self.client.get(pattern, encoding=gnmi.PROTO).notification
                got = [(text_of(update.path), plain(update.val))
                       for update in notification.update]
                self.assertEqual(dict(got), wanted)
                self.assertEqual(len(got), len(wanted))
                told = self.once(pattern)
                self.assertEqual(dict(told), wanted)
                self.assertEqual(len(told), len(wanted))

    def test_P4_origins_and_modules_of_subscriptions(self):
        for origin in ("", "openconfig", "openconfig-spanning-tree"):
            for members in ({"prefix": gnmi.Path(origin=origin)}, {}):
                asked = gnmi.Subscription(path=path(NAME, "" if members else origin))
                with self.client.subscribe(asked, mode=LIST.ONCE, **members) as stream:
                    (notification,) = stream.until_sync()
                    self.assertEqual(notification.prefix.origin, origin)
        qualified = NAME.replace("/stp", "/openconfig-spanning-tree:stp")
        self.assertEqual(self.once(qualified), [(NAME, "Ethernet1")])
        self.refused(CODE.INVALID_ARGUMENT, "cli", path("/stp", "cli"))
        self.refused(CODE.INVALID_ARGUMENT, "openconfig", path("/stp", "openconfig"),
                     gnmi.Path(origin="openconfig"))

    def test_P5_the_target_of_a_subscription_is_echoed_else_absent(self):
        with self.client.subscribe(NAME, prefix=gnmi.Path(target="switch-7")) as stream:
            (notification,) = stream.until_sync()
            self.assertEqual(notification.prefix.target, "switch-7")
        with self.client.subscribe(NAME) as stream:
            (notification,) = stream.until_sync()
            self.assertFalse(notification.HasField("prefix"))
        self.assertFalse(self.client.get("/stp").notification[0].HasField("prefix"))

    def test_P6_what_is_not_in_the_model_is_named(self):
        for text, culprit in MALFORMED.items():
            with self.subTest(text):
                self.refused(CODE.INVALID_ARGUMENT, culprit, path(text))
        self.refused(CODE.INVALID_ARGUMENT, "no name", gnmi.Path(elem=[elem("stp"), elem("")]))

    def test_P6_what_is_in_the_model_and_not_served_is_told_apart(self):
        for text, culprit in UNSERVED.items():
            with self.subTest(text):
                self.refused(CODE.UNIMPLEMENTED, culprit, path(text))

    def test_P7_the_deprecated_element_is_refused_wherever_it_stands(self):
        deprecated = gnmi.Path(element=["stp"])
        self.refused(CODE.INVALID_ARGUMENT, "stp", deprecated)
        self.refused(CODE.INVALID_ARGUMENT, "stp", path("/stp"), deprecated)
        self.assertEqual(refusal(self.client.set, delete=[deprecated])[0], CODE.INVALID_ARGUMENT)


class Wild(unittest.TestCase):
    def test_P2_a_port_named_as_a_wildcard_is_read_through_its_list(self):
        with running() as (agent, client):
            for name in ("*", "Ethernet1"):
                agent.operation(op="create", path=["input", "portConfig", name], value={})
            names = "/stp/interfaces/interface[name=*]/config/name"
            with client.subscribe("/stp/interfaces/interface") as stream:
                stream.until(lambda state: names in state and NAME in state)
            self.assertEqual([plain(update.val) for update in client.get(
                names, encoding=gnmi.PROTO).notification[0].update], ["*", "Ethernet1"])


if __name__ == "__main__":
    unittest.main()
