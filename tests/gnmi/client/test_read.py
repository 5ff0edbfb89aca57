"""What Capabilities and Get answer."""

import json
import subprocess
import unittest

from gnmi_client import (AGENT, CAPTURES, PATIENCE, captures, elem, gnmi, gnmi_ext, grpc, path, plain,
                         refusal, running, served, text_of)

CODE = grpc.StatusCode
CAPTURE = captures()[0]


def document():
    shown = subprocess.run([AGENT, "replay", "--bridge", "br0", str(CAPTURE)], capture_output=True,
                           check=True, timeout=PATIENCE)
    return json.loads(shown.stdout)


class Read(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.context = served(CAPTURE)
        cls.agent, cls.client = cls.context.__enter__()
        # The folder is applied before or after the first call, not between two leaves of it.
        while not cls.client.values("/"):
            pass

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
            self.assertEqual(plain(notification.update[0].val), document())

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
        ours = gnmi.ModelData(name="openconfig-spanning-tree", version="0.3.1")
        self.assertEqual(self.client.values("/", use_models=[ours]), self.client.values("/"))
        for model in (gnmi.ModelData(name="openconfig-interfaces"),
                      gnmi.ModelData(name="openconfig-spanning-tree", version="9.9.9")):
            self.assertEqual(self.refused("/", use_models=[model])[0], CODE.INVALID_ARGUMENT)

    def test_S16_extensions_that_change_the_meaning_are_refused(self):
        for extension in (gnmi_ext.Extension(depth=gnmi_ext.Depth(level=1)),
                          gnmi_ext.Extension(history=gnmi_ext.History(snapshot_time=1)),
                          gnmi_ext.Extension(commit=gnmi_ext.Commit(id="x"))):
            self.assertEqual(self.refused("/", extension=[extension])[0], CODE.UNIMPLEMENTED)
        unknown = gnmi_ext.Extension(registered_ext=gnmi_ext.RegisteredExtension(id=999))
        self.assertTrue(self.client.get("/", extension=[unknown]).notification)

    def test_A6_limits(self):
        deep = gnmi.Path(elem=[elem("stp")] * 33)
        self.assertEqual(refusal(self.client._get, gnmi.GetRequest(path=[deep]))[0],
                         CODE.INVALID_ARGUMENT)
        long = gnmi.Path(elem=[elem("stp"), elem("interfaces"), elem("interface", name="x" * 257)])
        self.assertEqual(refusal(self.client._get, gnmi.GetRequest(path=[long]))[0],
                         CODE.INVALID_ARGUMENT)
        large = gnmi.GetRequest(path=[path("/stp")], prefix=gnmi.Path(target="x" * (1 << 20)))
        self.assertEqual(refusal(self.client._get, large)[0], CODE.RESOURCE_EXHAUSTED)
        self.assertEqual(refusal(self.client._get, gnmi.GetRequest(path=[path("/stp")]),
                                 metadata=(("x", "y" * (20 << 10)),))[0], CODE.RESOURCE_EXHAUSTED)


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
