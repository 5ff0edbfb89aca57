"""What Set takes, and what it refuses."""

import json
import threading
import unittest

from gnmi_client import Client, gnmi, grpc, path, refusal, running, text_of

CODE = grpc.StatusCode
VLANS = "/stp/global/config/disabled-vlan"
GUARD = "/stp/global/config/bpdu-guard"


def update(text, value=None, **typed):
    if value is not None:
        typed = {"json_ietf_val": json.dumps(value).encode()}
    return gnmi.Update(path=path(text), val=gnmi.TypedValue(**typed))


def scalars(*values):
    return {"leaflist_val": gnmi.ScalarArray(element=[
        gnmi.TypedValue(string_val=value) if isinstance(value, str)
        else gnmi.TypedValue(uint_val=value) for value in values])}


class Set(unittest.TestCase):
    def setUp(self):
        self.context = running()
        self.agent, self.client = self.context.__enter__()

    def tearDown(self):
        self.context.__exit__(None, None, None)

    def vlans(self):
        return self.client.values("/stp/global").get(VLANS, [])

    def refused(self, code, culprit, **members):
        refused, message = refusal(self.client.set, **members)
        self.assertEqual(refused, code, message)
        self.assertIn(culprit, message)

    def test_W1_operations_take_effect_in_the_order_delete_replace_update(self):
        self.client.set(replace=[update(VLANS, [1, 2, 3])])
        self.client.set(update=[update(VLANS, [30])], replace=[update(VLANS, [20])],
                        delete=[path(VLANS)])
        self.assertEqual(self.vlans(), [20, 30])

    def test_W1_a_failing_third_operation_leaves_everything_as_it_was(self):
        self.client.set(replace=[update(VLANS, [5])])
        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            self.refused(CODE.INVALID_ARGUMENT, "4095", delete=[path(VLANS)],
                         replace=[update(VLANS, [7])], update=[update(VLANS, [4095])])
            self.assertTrue(stream.is_quiet())
        self.assertEqual(self.vlans(), [5])

    def test_W2_what_the_mirror_owns_is_refused_with_its_owner(self):
        self.refused(CODE.PERMISSION_DENIED, "mirror", update=[update(GUARD, True)])
        self.refused(CODE.PERMISSION_DENIED, "mirror", delete=[path(GUARD)])
        self.refused(CODE.PERMISSION_DENIED, "mirror",
                     update=[update("/stp/global/state/bpdu-guard", True)])
        self.refused(CODE.PERMISSION_DENIED, "/stp", delete=[path("/stp")])
        self.refused(CODE.PERMISSION_DENIED, "bpdu-guard",
                     update=[update("/stp/global/config",
                                    {"disabled-vlan": [3], "bpdu-guard": True})])
        self.assertEqual(self.vlans(), [])

    def test_W2_a_container_of_writable_leaves_alone_is_taken(self):
        self.client.set(update=[update("/stp/global/config",
                                       {"stp-openconfig-disabled-vlan:disabled-vlan": [3]})])
        self.client.set(update=[update("/", {"openconfig-spanning-tree:stp": {
            "global": {"config": {"disabled-vlan": [4]}}}})])
        self.assertEqual(self.vlans(), ["3..4"])

    def test_W2_what_is_unknown_or_unparsable_is_told_apart(self):
        for code, culprit, members in (
                (CODE.NOT_FOUND, "nope", {"update": [update("/stp/nope", 1)]}),
                (CODE.UNIMPLEMENTED, "rapid-pvst", {"delete": [path("/stp/rapid-pvst")]}),
                (CODE.INVALID_ARGUMENT, "JSON",
                 {"update": [update(VLANS, json_ietf_val=b"[1,")]}),
                (CODE.INVALID_ARGUMENT, "4095", {"update": [update(VLANS, [4095])]}),
                (CODE.INVALID_ARGUMENT, "12..10", {"update": [update(VLANS, ["12..10"])]}),
                (CODE.INVALID_ARGUMENT, "true", {"update": [update(VLANS, True)]}),
                (CODE.INVALID_ARGUMENT, "-1", {"update": [update(VLANS, int_val=-1)]}),
                (CODE.INVALID_ARGUMENT, "bytes_val", {"update": [update(VLANS, bytes_val=b"1")]}),
                (CODE.INVALID_ARGUMENT, "value", {"update": [gnmi.Update(path=path(VLANS))]}),
                (CODE.INVALID_ARGUMENT, "deprecated",
                 {"update": [gnmi.Update(path=path(VLANS), value=gnmi.Value(value=b"1"))]}),
                (CODE.UNIMPLEMENTED, "ASCII", {"update": [update(VLANS, ascii_val="1")]}),
                (CODE.UNIMPLEMENTED, "protobuf", {"update": [update(VLANS, proto_bytes=b"1")]}),
                (CODE.INVALID_ARGUMENT, "interface",
                 {"delete": [path("/stp/interfaces/interface[name=*]/config/name")]})):
            with self.subTest(culprit=culprit, members=members):
                self.refused(code, culprit, **members)
        self.assertEqual(self.vlans(), [])

    def test_W2_a_set_arrives_in_the_engines_configuration(self):
        # Only what the engine is configured with can be taken away from it there.
        self.client.set(replace=[update(VLANS, [5, 7])])
        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            self.agent.set("input", "disabledVlan", 5, value=False)
            stream.until(lambda state: state[VLANS] == [7])
        self.client.set(delete=[path(VLANS)])
        self.agent.set("input", "disabledVlan", 9, value=True)
        with self.client.subscribe(VLANS) as stream:
            stream.until(lambda state: state.get(VLANS) == [9])

    def test_W2_the_engines_configuration_and_clients_write_the_same(self):
        self.agent.set("input", "disabledVlan", 3, value=True)
        with self.client.subscribe(VLANS) as stream:
            stream.until(lambda state: state.get(VLANS) == [3])
            self.client.set(update=[update(VLANS, [8])])
            stream.until(lambda state: state.get(VLANS) == [3, 8])
            self.client.set(replace=[update(VLANS, [8])])
            self.agent.set("input", "disabledVlan", 4, value=True)
            stream.until(lambda state: state.get(VLANS) == [4, 8])

    def test_W2_each_form_of_a_value_is_taken(self):
        for typed in ({"json_val": b"[10, 12]"}, {"json_ietf_val": b"[10, 12]"},
                      scalars(10, 12), {"json_ietf_val": b'["10..10", "12..12"]'}):
            with self.subTest(typed):
                self.client.set(delete=[path(VLANS)])
                self.client.set(replace=[update(VLANS, **typed)])
                self.assertEqual(self.vlans(), [10, 12])
        for typed in ({"uint_val": 4}, {"int_val": 4}, {"json_val": b"4"},
                      {"string_val": "4..4"}):
            with self.subTest(typed):
                self.client.set(replace=[update(VLANS, **typed)])
                self.assertEqual(self.vlans(), [4])

    def test_W3_a_replace_with_a_wrong_value_is_refused_and_changes_nothing(self):
        self.client.set(replace=[update(VLANS, [6])])
        for value in ([0], [4095], ["x"], [1.5], [True], [[1]], {"disabled-vlan": [1]}, None):
            with self.subTest(value):
                self.refused(CODE.INVALID_ARGUMENT, "", replace=[
                    update(VLANS, json_ietf_val=json.dumps(value).encode())])
        self.assertEqual(self.vlans(), [6])

    def test_W3_delete_of_what_is_absent_and_an_empty_set_are_taken(self):
        self.client.set(delete=[path(VLANS)])
        self.assertEqual(list(self.client.set().response), [])

    def test_W4_update_adds_replace_sets_delete_clears(self):
        self.client.set(update=[update(VLANS, [10])])
        self.client.set(update=[update(VLANS, 12)])
        self.client.set(update=[update(VLANS, **scalars(11, "20..22"))])
        self.assertEqual(self.vlans(), ["10..12", "20..22"])
        self.client.set(replace=[update(VLANS, ["21..23"])])
        self.assertEqual(self.vlans(), ["21..23"])
        self.client.set(replace=[update(VLANS, ["7..7", "1..1", "4094..4094"])])
        self.assertEqual(self.vlans(), [1, 7, 4094])
        self.client.set(delete=[path(VLANS)])
        self.assertEqual(self.vlans(), [])

    def test_W5_one_result_an_operation_in_order(self):
        operations = gnmi.UpdateResult
        answer = self.client.set(update=[update(VLANS, [1]), update(VLANS, [2])],
                                 replace=[update(VLANS, [3])], delete=[path(VLANS)])
        self.assertEqual([result.op for result in answer.response],
                         [operations.DELETE, operations.REPLACE, operations.UPDATE,
                          operations.UPDATE])
        self.refused(CODE.UNIMPLEMENTED, "union_replace", union_replace=[update(VLANS, [1])])

    def test_W1_sets_of_many_clients_are_each_whole(self):
        failures = []

        def write(first):
            try:
                with Client("unix:" + self.agent.socket) as client:
                    for _ in range(30):
                        client.set(replace=[update(VLANS, [first])],
                                   update=[update(VLANS, [first + 10])])
            except Exception as error:
                failures.append(error)

        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            writers = [threading.Thread(target=write, args=[first]) for first in (1, 2, 3, 4)]
            for writer in writers:
                writer.start()
            for writer in writers:
                writer.join()
            stream.settle()
            self.assertEqual(failures, [])
            self.assertIn(stream.state[VLANS], [[first, first + 10] for first in (1, 2, 3, 4)])
            self.assertEqual(stream.state[VLANS], self.vlans())

    def test_W1_what_a_set_changes_is_one_notification(self):
        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            self.client.set(delete=[path(VLANS)], replace=[update(VLANS, [20])],
                            update=[update(VLANS, [30]), update(VLANS, [31])])
            (notification,) = stream.until(lambda state: state.get(VLANS) == [20, "30..31"])
            self.assertEqual(len(notification.update), 1)
            self.assertTrue(stream.is_quiet())

    def test_W1_the_answer_comes_when_the_state_is_there(self):
        for vlan in range(1, 200):
            self.client.set(replace=[update(VLANS, [vlan])])
            self.assertEqual(self.vlans(), [vlan])

    def test_W5_the_answer_repeats_the_prefix_and_has_a_time(self):
        prefix = gnmi.Path(target="switch-7", elem=path("/stp/global").elem)
        answer = self.client.set(prefix=prefix, replace=[update("/config/disabled-vlan", [3])])
        self.assertEqual(answer.prefix, prefix)
        self.assertEqual(text_of(answer.response[0].path), "/config/disabled-vlan")
        self.assertGreater(answer.timestamp, 0)
        self.assertEqual(self.vlans(), [3])

    def test_W5_the_own_set_appears_on_the_own_stream(self):
        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            self.client.set(replace=[update(VLANS, [9])])
            stream.until(lambda state: state.get(VLANS) == [9])


if __name__ == "__main__":
    unittest.main()
