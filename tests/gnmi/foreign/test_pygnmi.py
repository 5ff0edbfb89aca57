"""pygnmi asks the target. It reads no leaf-lists in the encoding PROTO of its own accord, so what it
streams is in JSON_IETF."""

import json
import unittest

from foreign import (FOLDER, GUARD, VLANS, Listening, Secured, final_state, fold, gnmi, guard,
                     installed, needs, replaying_all, running)

PYTHON = installed("python", "bin", "python3")
MODULE = "openconfig-spanning-tree:"


def session(agent, **members):
    return Listening(PYTHON, "-B", FOLDER / "pygnmi_session.py", agent.addresses[0],
                     *([json.dumps(members)] if members else []))


def connected(agent, **members):
    client = session(agent, **members)
    assert client.next() == {"connected": True}
    return client


def call(client, name, **members):
    client.ask(call=name, members=members)
    return client.next()


def subscribe(client, mode, *subscriptions):
    client.ask(call="subscribe", members={"subscribe": {
        "mode": mode, "encoding": "json_ietf", "subscription": list(subscriptions)}})


def changes(document):
    """The updates and deletes of a response."""
    update = document["response"].get("update", {})
    return ({"/" + each["path"]: each["val"] for each in update.get("update", [])},
            ["/" + each["path"] for each in update.get("delete", [])])


@needs(PYTHON)
class PyGnmi(unittest.TestCase):
    def test_C1_capabilities(self):
        with running() as agent, connected(agent) as client:
            answer = call(client, "capabilities")["answer"]
        self.assertEqual(answer["gnmi_version"], "0.10.0")
        self.assertIn("openconfig-spanning-tree",
                      [model["name"] for model in answer["supported_models"]])
        self.assertEqual(sorted(answer["supported_encodings"]), ["json", "json_ietf", "proto"])

    def test_G4_get_in_every_encoding_with_names_of_modules(self):
        with running() as agent, connected(agent) as client:
            for encoding in ("json", "json_ietf", "proto"):
                for path in (GUARD, MODULE + GUARD[1:]):
                    (notification,) = call(client, "get", path=[path],
                                           encoding=encoding)["answer"]["notification"]
                    (update,) = notification["update"]
                    self.assertEqual((update["path"], update["val"]), (GUARD[1:], False))

    def test_P6_a_wrong_path_is_refused_by_name(self):
        with running() as agent, connected(agent) as client:
            answer = call(client, "get", path=["/stp/nope"])
        self.assertEqual(answer["refused"], "INVALID_ARGUMENT")
        self.assertIn("nope", answer["text"])

    def test_W4_set(self):
        with running() as agent, connected(agent) as client:
            for members, expected in (({"replace": [[VLANS, [5, "7..9"]]]}, [5, "7..9"]),
                                      ({"update": [[VLANS, [6]]]}, ["5..9"])):
                call(client, "set", encoding="json_ietf", **members)
                answer = call(client, "get", path=[VLANS], encoding="json_ietf")["answer"]
                self.assertEqual(answer["notification"][0]["update"][0]["val"], expected)
            call(client, "set", delete=[VLANS])
            self.assertEqual(call(client, "get", path=[VLANS])["refused"], "NOT_FOUND")

    def test_S1_once(self):
        with running() as agent, connected(agent) as client:
            subscribe(client, "once", {"path": GUARD})
            told = client.until(lambda document: "ended" in document)
        self.assertEqual(changes(told[0]), ({GUARD: False}, []))
        self.assertEqual(told[1:], [{"response": {"sync_response": True}}, {"ended": True}])

    def test_S3_a_stream_in_every_mode(self):
        for mode in ("on_change", "sample", "target_defined"):
            with running() as agent, connected(agent) as client:
                subscribe(client, "stream", {"path": MODULE + GUARD[1:], "mode": mode})
                client.until(lambda document: "sync_response" in document["response"])
                guard(agent, True)
                client.until(lambda document: changes(document) == ({GUARD: True}, []))

    def test_S3_all_captures_fold_to_the_final_state(self):
        state = {}
        with replaying_all() as agent, connected(agent) as client:
            subscribe(client, "stream", {"path": "/", "mode": "on_change"})
            expected = final_state(agent, gnmi.JSON_IETF)
            for document in client.settled():
                fold(state, *changes(document))
        self.assertTrue(state)
        self.assertEqual(state, expected)

    def test_A4_credentials_over_tls(self):
        with Secured() as secured, secured.agent() as agent:
            trusted = {"path_cert": secured.certificate, "username": "ann"}
            with connected(agent, password="secret", **trusted) as client:
                self.assertIn("answer", call(client, "get", path=[GUARD]))
            with session(agent, password="wrong", **trusted) as client:
                self.assertIn("wrong user name or password", client.next()["failed"])

    def test_A1_plaintext_is_refused_and_so_is_a_certificate_that_nobody_vouches_for(self):
        with Secured() as secured, Secured() as other, secured.agent() as agent:
            for members in ({"insecure": True}, {"path_cert": other.certificate}):
                with session(agent, username="ann", password="secret", **members) as client:
                    self.assertIn("failed", client.next())


if __name__ == "__main__":
    unittest.main()
