"""What is sent, leaf by leaf, against the document of the same agent."""

import json
import unittest

from gnmi_client import CAPTURES, Agent, Client, gnmi, leaves_of


def in_proto(value):
    """A value of JSON as PROTO has it: there a number of 64 bits is no text."""
    return int(value) if isinstance(value, str) and value.isdigit() else value


def written(leaves):
    """As text: to Python true and 1 are equal."""
    return {text: json.dumps(value) for text, value in leaves.items()}


class Documents(unittest.TestCase):
    maxDiff = None

    def test_S1_once_sends_each_leaf_of_the_document_of_each_moment(self):
        for bridge, series in (("br0", "captures"), ("br4", "captures-operational")):
            for moment in sorted((CAPTURES.parent / series).iterdir()):
                with self.subTest(moment=moment.name, bridge=bridge):
                    self.check(bridge, moment)

    def check(self, bridge, moment):
        sent = {}
        with Agent("replay", "--bridge", bridge, str(moment)) as agent:
            with Client("unix:" + agent.socket) as client:
                client.until_there()
                for encoding in (gnmi.JSON_IETF, gnmi.PROTO):
                    with client.subscribe("/", mode=gnmi.SubscriptionList.ONCE,
                                          encoding=encoding) as stream:
                        stream.until_sync()
                        sent[encoding] = stream.state
            self.assertEqual(agent.stop(), 0)
            document = leaves_of(json.loads("".join(agent.output)))
        self.assertTrue(any(text.endswith("/port-state") for text in document))
        self.assertEqual(written(sent[gnmi.JSON_IETF]), written(document))
        self.assertEqual(written(sent[gnmi.PROTO]),
                         written({text: in_proto(value) for text, value in document.items()}))


if __name__ == "__main__":
    unittest.main()
