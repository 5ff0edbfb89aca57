"""What Set takes, and what it refuses."""

import json
import unittest

from gnmi_client import gnmi, grpc, path, refusal, running

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

    def test_W5_the_own_set_appears_on_the_own_stream(self):
        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            self.client.set(replace=[update(VLANS, [9])])
            stream.until(lambda state: state.get(VLANS) == [9])


if __name__ == "__main__":
    unittest.main()
