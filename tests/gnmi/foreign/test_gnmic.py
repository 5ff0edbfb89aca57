"""gnmic asks the target, and feeds Prometheus from it."""

import re
import subprocess
import time
import unittest
import urllib.request

from foreign import (GUARD, PATIENCE, VLANS, Agent, Listening, Secured, captures, documents,
                     final_state, fold, free_port, gnmi, guard, installed, needs, replaying_all,
                     running)

GNMIC = installed("bin", "gnmic")


def command(agent, *arguments, how=("--insecure",)):
    # Nothing of the user's own configuration.
    return [GNMIC, "--config", "/dev/null", "--address", agent.addresses[0], "--timeout", "10s", *how,
            *arguments]


def asked(agent, *arguments, **members):
    """Its exit status, and what it printed."""
    ended = subprocess.run(command(agent, *arguments, **members), capture_output=True, text=True,
                           timeout=PATIENCE)
    return ended.returncode, ended.stdout + ended.stderr


def answered(agent, *arguments, **members):
    ended = subprocess.run(command(agent, *arguments, "--format", "json", **members),
                           capture_output=True, text=True, timeout=PATIENCE)
    assert ended.returncode == 0, ended.stderr
    (document,), _ = documents(ended.stdout)
    return document


def slashed(path):
    return "/" + path.lstrip("/")


def changes(document):
    """The updates and deletes of a notification as gnmic shows it."""
    updates = {}
    for update in document.get("updates", []):
        for value in update["values"].values():
            # A leaf-list of the encoding PROTO is shown as gnmic holds it.
            if isinstance(value, dict):
                value = [each for element in value["element"] for each in element["Value"].values()]
            updates[slashed(update["Path"])] = value
    return updates, [slashed(path) for path in document.get("deletes", [])]


def subscribing(agent, *arguments):
    return Listening(*command(agent, "subscribe", "--format", "json", *arguments))


def is_sync(document):
    return document.get("sync-response", False)


@needs(GNMIC)
class Gnmic(unittest.TestCase):
    def test_C1_capabilities(self):
        with running() as agent:
            status, text = asked(agent, "capabilities")
        self.assertEqual(status, 0, text)
        self.assertIn("0.10.0", text)
        for name in ("openconfig-spanning-tree", "JSON", "JSON_IETF", "PROTO"):
            self.assertIn(name, text)

    def test_G4_get_in_every_encoding_with_names_of_modules(self):
        with running() as agent:
            for encoding in ("json", "json_ietf", "proto"):
                for path in (GUARD, "/openconfig-spanning-tree:" + GUARD[1:],
                             "openconfig-spanning-tree:" + GUARD):
                    (notification,) = answered(agent, "--encoding", encoding, "get", "--path", path)
                    self.assertEqual(changes(notification), ({GUARD: False}, []))

    def test_G2_types(self):
        with running() as agent:
            for kind in ("all", "config"):
                (notification,) = answered(agent, "--encoding", "proto", "get", "--path",
                                           "/stp/global/config", "--type", kind)
                self.assertIn(GUARD, changes(notification)[0])

    def test_P6_a_wrong_path_is_refused_by_name(self):
        with running() as agent:
            status, text = asked(agent, "get", "--path", "/stp/nope")
        self.assertNotEqual(status, 0)
        self.assertIn("InvalidArgument", text)
        self.assertIn("nope", text)

    def test_W4_set(self):
        with running() as agent:
            for arguments, expected in (
                    (("--replace", VLANS + ':::json_ietf:::[5,"7..9"]'), [5, "7..9"]),
                    (("--update", VLANS + ":::json_ietf:::[6]"), ["5..9"])):
                status, text = asked(agent, "set", *arguments)
                self.assertEqual(status, 0, text)
                (notification,) = answered(agent, "--encoding", "json_ietf", "get", "--path", VLANS)
                self.assertEqual(changes(notification)[0], {VLANS: expected})
            status, text = asked(agent, "set", "--delete", VLANS)
            self.assertEqual(status, 0, text)
            self.assertIn("NotFound", asked(agent, "get", "--path", VLANS)[1])

    def test_S1_once(self):
        with running() as agent, subscribing(agent, "--mode", "once", "--path", GUARD) as client:
            told = client.until(is_sync)
            self.assertEqual([changes(each) for each in told[:-1]], [({GUARD: False}, [])])

    def test_S3_a_stream_in_every_mode_and_encoding(self):
        for mode in ("on-change", "sample", "target-defined"):
            for encoding in ("json", "json_ietf", "proto"):
                interval = ("--sample-interval", "1s") if mode == "sample" else ()
                with running() as agent, subscribing(
                        agent, "--encoding", encoding, "--stream-mode", mode, "--path", GUARD,
                        *interval) as client:
                    client.until(is_sync)
                    guard(agent, True)
                    client.until(lambda document: changes(document) == ({GUARD: True}, []))

    def test_S3_all_captures_fold_to_the_final_state_and_all_is_read(self):
        for encoding in (gnmi.JSON_IETF, gnmi.PROTO):
            state = {}
            name = gnmi.Encoding.Name(encoding).lower()
            with replaying_all() as agent, subscribing(
                    agent, "--encoding", name, "--stream-mode", "on-change", "--path",
                    "/") as client:
                expected = final_state(agent, encoding)
                told = client.settled()
            for document in told:
                self.assertTrue(is_sync(document) or document["timestamp"] > 0, document)
                fold(state, *changes(document))
            self.assertEqual(sum(map(is_sync, told)), 1)
            self.assertTrue(state)
            self.assertEqual(state, expected)

    def test_A4_credentials_over_tls(self):
        with Secured() as secured, secured.agent() as agent:
            how = ("--tls-ca", secured.certificate, "--username", "ann", "--password")
            (notification,) = answered(agent, "get", "--path", GUARD, how=(*how, "secret"))
            self.assertEqual(changes(notification), ({GUARD: False}, []))
            status, text = asked(agent, "get", "--path", GUARD, how=(*how, "wrong"))
            self.assertNotEqual(status, 0)
            self.assertIn("Unauthenticated", text)

    def test_A1_plaintext_is_refused_and_so_is_a_certificate_that_nobody_vouches_for(self):
        with Secured() as secured, Secured() as other, secured.agent() as agent:
            for how in (("--insecure",), ("--tls-ca", other.certificate)):
                status, text = asked(agent, "capabilities", how=how)
                self.assertNotEqual(status, 0, text)

    def test_the_example_feeds_prometheus(self):
        port = free_port()
        with Secured() as secured, Agent(
                "replay", "--bridge", "br0", "--show", "none", str(captures()[0]),
                gnmi_options=["--gnmi", "127.0.0.1:0", "--gnmi-cert", secured.certificate,
                              "--gnmi-key", secured.key, "--gnmi-users", secured.users]) as agent:
            configuration = secured.example("gnmic-prometheus.yaml", {
                "localhost:9339": agent.addresses[0], "build/cert.pem": secured.certificate,
                ":9804": f"127.0.0.1:{port}"})
            with Listening(GNMIC, "--config", configuration, "subscribe") as client:
                wanted = re.compile(r'^\w*bpdu_guard{[^}]*interface_name="Ethernet3"[^}]*} [01]', re.M)
                end = time.monotonic() + PATIENCE
                text = ""
                while not wanted.search(text):
                    self.assertLess(time.monotonic(), end, text)
                    self.assertIsNone(client.process.poll(), client.errors)
                    time.sleep(0.5)
                    try:
                        with urllib.request.urlopen(f"http://127.0.0.1:{port}/metrics") as page:
                            text = page.read().decode()
                    except OSError:
                        pass


if __name__ == "__main__":
    unittest.main()
