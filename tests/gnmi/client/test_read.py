"""What Capabilities and Get answer."""

import json
import subprocess
import threading
import unittest

from gnmi_client import (AGENT, CAPTURES, PATIENCE, Client, captures, elem, gnmi, gnmi_ext, grpc,
                         leaves_of, path, plain, refusal, running, served, text_of, timeless)

CODE = grpc.StatusCode
CAPTURE = captures()[0]
ENCODINGS = (gnmi.JSON, gnmi.JSON_IETF, gnmi.PROTO)


def document():
    shown = subprocess.run([AGENT, "replay", "--bridge", "br0", str(CAPTURE)], capture_output=True,
                           check=True, timeout=PATIENCE)
    return timeless(json.loads(shown.stdout))


def configurable():
    """The leaves that the model has as configuration, whether there is a value or not."""
    ports = [f"/stp/interfaces/interface[name=Ethernet{number}]/config/" for number in range(1, 9)]
    trees = [f"/stp/mstp/mst-instances/mst-instance[mst-id={number}]/config/" for number in (1, 5)]
    return ({"/stp/global/config/" + leaf
             for leaf in ("enabled-protocol", "bpdu-guard", "disabled-vlan")}
            | {port + leaf for port in ports
               for leaf in ("name", "edge-port", "link-type", "guard", "bpdu-guard", "bpdu-filter")}
            | {tree + leaf for tree in trees for leaf in ("mst-id", "vlan", "bridge-priority")}
            | {"/stp/mstp/config/" + leaf
               for leaf in ("name", "revision", "max-hop", "hello-time", "max-age",
                            "forwarding-delay", "hold-count")}
            | {"/stp/mstp/cist/config/bridge-priority"}
            | {f"{tree}interfaces/interface[name=Ethernet{number}]/config/{leaf}"
               for tree in ["/stp/mstp/cist/"] + [each.removesuffix("config/") for each in trees]
               for number in range(1, 9) for leaf in ("name", "port-priority")})


class Read(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.context = served(CAPTURE)
        cls.agent, cls.client = cls.context.__enter__()
        cls.client.until_there()

    @classmethod
    def tearDownClass(cls):
        cls.context.__exit__(None, None, None)

    def refused(self, *arguments, **members):
        return refusal(self.client.get, *arguments, **members)

    def test_C1_capabilities_name_version_models_and_encodings(self):
        answer = self.client.capabilities()
        self.assertEqual(answer.gNMI_version, "0.10.0")
        self.assertIn(("openconfig-spanning-tree", "OpenConfig working group", "0.3.1"),
                      [(model.name, model.organization, model.version)
                       for model in answer.supported_models])
        self.assertEqual(list(answer.supported_encodings),
                         [gnmi.JSON, gnmi.JSON_IETF, gnmi.PROTO])

    def test_C2_reflection_names_the_service(self):
        stream = self.client.channel.stream_stream(
            "/grpc.reflection.v1alpha.ServerReflection/ServerReflectionInfo")
        answer = next(stream(iter([b"\x3a\x00"]), timeout=PATIENCE))
        self.assertIn(b"gnmi.gNMI", answer)

    def test_P1_prefix_and_path_are_joined_wherever_they_are_split(self):
        whole = path("/stp/interfaces/interface[name=Ethernet1]/config/name")
        for at in range(len(whole.elem) + 1):
            answer = self.client._get(gnmi.GetRequest(
                prefix=gnmi.Path(elem=whole.elem[:at]), path=[gnmi.Path(elem=whole.elem[at:])],
                encoding=gnmi.PROTO), timeout=PATIENCE)
            self.assertEqual([plain(update.val) for update in answer.notification[0].update],
                             ["Ethernet1"])

    def test_P3_answers_have_bare_names_and_full_keys(self):
        for text in self.client.values("/stp/interfaces/interface[name=*]"):
            self.assertNotIn("*", text)
            self.assertNotIn(":", text)
            self.assertIn("interface[name=", text)

    def test_P4_origins(self):
        for origin in ("", "openconfig", "openconfig-spanning-tree"):
            answer = self.client._get(gnmi.GetRequest(path=[path("/stp/global", origin)]),
                                      timeout=PATIENCE)
            self.assertEqual(answer.notification[0].prefix.origin, origin)
        named = "/openconfig-spanning-tree:stp/openconfig-spanning-tree:global"
        self.assertEqual(self.client.values(named), self.client.values("/stp/global"))
        code, text = refusal(self.client._get, gnmi.GetRequest(path=[path("/stp", "cli")]))
        self.assertEqual(code, CODE.INVALID_ARGUMENT)
        self.assertIn("cli", text)

    def test_P5_the_target_is_echoed(self):
        for target in ("", "switch-7"):
            answer = self.client.get("/stp/global", prefix=gnmi.Path(target=target))
            self.assertEqual(answer.notification[0].prefix.target, target)

    def test_P6_what_is_not_in_the_model_is_named_and_what_is_not_served_is_told_apart(self):
        for text, code, culprit in (
                ("/stp/nope", CODE.INVALID_ARGUMENT, "nope"),
                ("/stp/interfaces/interface[port=x]", CODE.INVALID_ARGUMENT, "port"),
                ("/stp/rapid-pvst", CODE.UNIMPLEMENTED, "rapid-pvst")):
            refused, message = self.refused(text)
            self.assertEqual(refused, code, text)
            self.assertIn(culprit, message)

    def test_P7_the_deprecated_element_is_never_the_root(self):
        code, text = refusal(self.client._get,
                             gnmi.GetRequest(path=[gnmi.Path(element=["stp", "global"])]))
        self.assertEqual(code, CODE.INVALID_ARGUMENT)
        self.assertIn("stp", text)

    def test_P7_the_deprecated_element_beside_elem_counts_for_nothing(self):
        both = path("/stp/global/config/bpdu-guard")
        both.element.extend(["stp", "global", "config", "bpdu-guard"])
        (notification,) = self.client._get(gnmi.GetRequest(
            path=[both], encoding=gnmi.PROTO)).notification
        self.assertEqual([text_of(update.path) for update in notification.update],
                         ["/stp/global/config/bpdu-guard"])

    def test_G1_one_notification_a_path_of_one_state(self):
        answer = self.client.get("/stp/global", "/stp/interfaces", "/stp/mstp")
        self.assertEqual(len(answer.notification), 3)
        self.assertEqual(len({notification.timestamp for notification in answer.notification}), 1)

    def test_G1_no_path_is_the_root(self):
        (notification,) = self.client.get().notification
        self.assertEqual(timeless(plain(notification.update[0].val)), document())

    def test_G1_an_absent_path_fails_the_whole(self):
        code, text = self.refused("/stp/global", "/stp/interfaces/interface[name=nope]/state")
        self.assertEqual(code, CODE.NOT_FOUND)
        self.assertIn("nope", text)

    def test_G1_a_wildcard_that_selects_nothing_gives_an_empty_notification(self):
        for encoding in ENCODINGS:
            empty, full = self.client.get("/.../interface[name=nope]", "/stp/global",
                                          encoding=encoding).notification
            self.assertFalse(empty.update)
            self.assertTrue(full.update)

    def test_G2_operational_is_state_that_nobody_configured(self):
        everything = self.client.values("/")
        wanted = {text: value for text, value in everything.items()
                  if "/state/" in text
                  and text.replace("/state/", "/config/") not in configurable()}
        self.assertEqual(self.client.values("/", type=gnmi.GetRequest.OPERATIONAL), wanted)

    def test_G2_a_type_means_the_same_in_each_encoding(self):
        for kind in gnmi.GetRequest.DataType.values():
            with self.subTest(gnmi.GetRequest.DataType.Name(kind)):
                wanted = set(self.client.values("/", type=kind))
                for encoding in (gnmi.JSON, gnmi.JSON_IETF):
                    (notification,) = self.client.get("/", type=kind,
                                                      encoding=encoding).notification
                    got = set()
                    for each in notification.update:
                        got.update(leaves_of(plain(each.val)))
                    self.assertEqual(got, wanted)

    def test_G2_a_type_that_leaves_nothing_gives_an_empty_notification(self):
        for encoding in ENCODINGS:
            (notification,) = self.client.get("/stp/global/config", type=gnmi.GetRequest.STATE,
                                              encoding=encoding).notification
            self.assertFalse(notification.update)

    def test_G2_a_type_that_is_none_is_refused(self):
        code, text = self.refused("/", type=9)
        self.assertEqual(code, CODE.INVALID_ARGUMENT)
        self.assertIn("9", text)

    def test_G2_types(self):
        everything = self.client.values("/")
        config = self.client.values("/", type=gnmi.GetRequest.CONFIG)
        state = self.client.values("/", type=gnmi.GetRequest.STATE)
        self.assertTrue(config and state)
        self.assertEqual({**config, **state}, everything)
        self.assertTrue(all("/config/" in text for text in config))
        self.assertTrue(all("/state/" in text for text in state))

    def test_G3_absent_and_unsupported(self):
        code, text = self.refused("/stp/interfaces/interface[name=nope]/config")
        self.assertEqual((code, "nope" in text), (CODE.NOT_FOUND, True))
        for encoding in (gnmi.BYTES, gnmi.ASCII):
            code, text = self.refused("/stp", encoding=encoding)
            self.assertEqual(code, CODE.UNIMPLEMENTED)
            self.assertIn(gnmi.Encoding.Name(encoding), text)

    def test_G4_json_of_the_root_is_the_document(self):
        for encoding in (gnmi.JSON, gnmi.JSON_IETF):
            (notification,) = self.client.get("/", encoding=encoding).notification
            self.assertEqual(timeless(plain(notification.update[0].val)), document())

    def test_G4_json_of_a_subtree_names_its_module_at_the_first_level(self):
        (notification,) = self.client.get("/stp/global").notification
        whole = document()["openconfig-spanning-tree:stp"]["global"]
        self.assertEqual(plain(notification.update[0].val),
                         {"openconfig-spanning-tree:" + name: value
                          for name, value in whole.items()})

    def test_G4_a_list_without_keys_gives_one_update_an_entry(self):
        (notification,) = self.client.get("/stp/interfaces/interface").notification
        names = [text_of(update.path) for update in notification.update]
        listed = document()["openconfig-spanning-tree:stp"]["interfaces"]["interface"]
        self.assertEqual(names, [f"/stp/interfaces/interface[name={entry['name']}]"
                                 for entry in listed])

    def test_G4_proto_has_one_leaf_an_update_with_its_type(self):
        (notification,) = self.client.get("/stp/mstp", encoding=gnmi.PROTO).notification
        kinds = {update.path.elem[-1].name: update.val.WhichOneof("value")
                 for update in notification.update}
        self.assertEqual(kinds["bridge-priority"], "uint_val")
        self.assertEqual(kinds["vlan"], "leaflist_val")
        self.assertEqual(kinds["mst-id"], "uint_val")

    def test_G5_models(self):
        public = gnmi.ModelData(name="openconfig-spanning-tree", version="0.3.1")
        own = ("/disputed", "/master", "/bpdu-guard-error")
        self.assertEqual(self.client.values("/", use_models=[public]),
                         {text: value for text, value in self.client.values("/").items()
                          if not text.startswith("/stp/mstp/cist/") and not text.endswith(own)})
        for model in (gnmi.ModelData(name="openconfig-interfaces"),
                      gnmi.ModelData(name="openconfig-spanning-tree", version="9.9.9")):
            self.assertEqual(self.refused("/", use_models=[model])[0], CODE.INVALID_ARGUMENT)

    def test_G5_each_model_has_its_own_leaves(self):
        everything = self.client.values("/")
        parts = []
        for model in self.client.capabilities().supported_models:
            (notification,) = self.client.get("/", encoding=gnmi.PROTO,
                                              use_models=[model]).notification
            parts.append({text_of(update.path) for update in notification.update})
        self.assertEqual(sum(map(len, parts)), len(everything))
        self.assertEqual(set().union(*parts), set(everything))
        self.assertIn(set(), parts)  # a module of types alone

    def test_S16_extensions_that_change_the_meaning_are_refused(self):
        for extension in (gnmi_ext.Extension(depth=gnmi_ext.Depth(level=1)),
                          gnmi_ext.Extension(history=gnmi_ext.History(snapshot_time=1)),
                          gnmi_ext.Extension(commit=gnmi_ext.Commit(id="x"))):
            self.assertEqual(self.refused("/", extension=[extension])[0], CODE.UNIMPLEMENTED)
        unknown = gnmi_ext.Extension(registered_ext=gnmi_ext.RegisteredExtension(id=999))
        self.assertTrue(self.client.get("/", extension=[unknown]).notification)

    def test_A6_what_is_beyond_a_limit_is_refused_with_a_word_why(self):
        interface = [elem("stp"), elem("interfaces")]
        for request, metadata, code, word in (
                (gnmi.GetRequest(path=[gnmi.Path(elem=[elem("...")] * 33)]), (),
                 CODE.INVALID_ARGUMENT, "32"),
                (gnmi.GetRequest(path=[gnmi.Path(
                    elem=[*interface, elem("interface", name="x" * 257)])]), (),
                 CODE.INVALID_ARGUMENT, "256"),
                (gnmi.GetRequest(prefix=gnmi.Path(target="x" * (1 << 20))), (),
                 CODE.RESOURCE_EXHAUSTED, "1048576"),
                (gnmi.GetRequest(), (("x", "y" * (20 << 10)),), CODE.RESOURCE_EXHAUSTED,
                 "metadata")):
            # With a connection of its own, since that is closed behind metadata that is too large.
            with self.subTest(word), Client("unix:" + self.agent.socket) as client:
                refused, message = refusal(client._get, request, metadata=metadata)
                self.assertEqual(refused, code, message)
                self.assertIn(word, message)

    def test_A6_what_is_just_within_a_limit_is_taken(self):
        interface = [elem("stp"), elem("interfaces"), elem("interface", name="x" * 256)]
        get = self.client._get
        self.assertTrue(get(gnmi.GetRequest(path=[gnmi.Path(elem=[elem("...")] * 32)],
                                            encoding=gnmi.PROTO)).notification[0].update)
        self.assertEqual(refusal(get, gnmi.GetRequest(path=[gnmi.Path(elem=interface)]))[0],
                         CODE.NOT_FOUND)
        target = "x" * ((1 << 20) - 100)
        self.assertTrue(get(gnmi.GetRequest(prefix=gnmi.Path(target=target))).notification)
        self.assertTrue(get(gnmi.GetRequest(), metadata=(("x", "y" * (15 << 10)),)).notification)
        with self.client.subscribe(*["/stp"] * 256) as stream:
            self.assertTrue(stream.until_sync())


class Changing(unittest.TestCase):
    def test_G1_an_answer_never_mixes_versions(self):
        vlans, guard = "/stp/global/state/disabled-vlan", "/stp/global/state/bpdu-guard"
        with running() as (agent, client):
            agent.global_state(bpduGuard=False, disabledVlan=[2])
            while vlans not in client.values("/"):
                pass
            ended = threading.Event()

            def change():
                number = 2
                while not ended.is_set():
                    number = number % 4000 + 1
                    agent.global_state(bpduGuard=number % 2 == 1, disabledVlan=[number])
                    ended.wait(0.001)

            changing = threading.Thread(target=change)
            changing.start()
            seen = set()
            try:
                while len(seen) < 100:
                    both = client.get(guard, vlans, "/", encoding=gnmi.PROTO).notification
                    self.assertEqual(len({each.timestamp for each in both}), 1)
                    values = [plain(both[0].update[0].val), *plain(both[1].update[0].val)]
                    whole = {text_of(update.path): plain(update.val) for update in both[2].update}
                    self.assertEqual([whole[guard], *whole[vlans]], values)
                    self.assertEqual(values[0], values[1] % 2 == 1)
                    seen.add(values[1])
            finally:
                ended.set()
                changing.join()


class Keys(unittest.TestCase):
    def test_P8_keys_of_any_characters_come_back(self):
        names = ["a]b", "a/b", "a b", "ü", "*x", "a\\b", "a=b"]
        with running() as (agent, client):
            for name in names:
                agent.operation(op="create", path=["input", "portConfig", name], value={})
            with client.subscribe("/stp/interfaces/interface[name=*]/config/name") as stream:
                stream.until(lambda state: len(state) == len(names))
            for name in names:
                whole = gnmi.Path(elem=[elem("stp"), elem("interfaces"),
                                        elem("interface", name=name), elem("config"),
                                        elem("name")])
                answer = client._get(gnmi.GetRequest(path=[whole], encoding=gnmi.PROTO))
                (update,) = answer.notification[0].update
                self.assertEqual(plain(update.val), name)
                self.assertEqual(update.path.elem[2].key["name"], name)


if __name__ == "__main__":
    unittest.main()
