"""The client that the README starts with."""

import os
import pathlib
import subprocess
import tempfile
import unittest

from gnmi_client import Agent
from test_security import Authority, openssl

EXAMPLE = pathlib.Path(__file__).resolve().parents[3] / "examples/gnmi_watch.py"


class Example(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="gnmi-example-")
        self.addCleanup(self.folder.cleanup)
        self.authority = Authority(self.folder.name)
        certificate, key = self.authority.sign("server")
        users = os.path.join(self.folder.name, "users")
        with open(users, "w", encoding="ascii") as file:
            file.write(f"ann:{openssl('passwd', '-6', 'secret')}:read\n")
        self.agent = Agent("run", "--show", "none", gnmi_options=[
            "--gnmi", "localhost:0", "--gnmi-cert", certificate, "--gnmi-key", key,
            "--gnmi-users", users]).listens()
        self.addCleanup(self.agent.stop)

    def watch(self, *options, user="ann:secret"):
        return subprocess.Popen(
            ["/usr/bin/python3", EXAMPLE, self.agent.addresses[0], "--ca",
             self.authority.certificate, "--user", user, *options],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)

    def test_S3_what_there_is_and_then_each_change(self):
        self.agent.set("input", "disabledVlan", 10, value=True)
        with self.watch("--path", "/stp/global/config") as watching:
            expected = {"That is what there is; from now on, what changes.\n",
                        "/stp/global/config/disabled-vlan = [10]\n"}
            while expected:  # in either order: the agent may read its input later
                line = watching.stdout.readline()
                self.assertTrue(line, f"not printed: {expected}")
                expected -= {line, line.split(" ", 1)[1]}
            self.agent.set("input", "disabledVlan", 11, value=True)
            self.assertIn(" /stp/global/config/disabled-vlan = ['10..11']\n",
                          watching.stdout.readline())
            self.agent.operation(op="clear", path=["input", "disabledVlan"])
            self.assertIn(" /stp/global/config/disabled-vlan", watching.stdout.readline())
            watching.terminate()

    def test_A4_a_refusal_is_said_in_one_line(self):
        with self.watch(user="ann:wrong") as watching:
            self.assertEqual(watching.wait(), 1)
            self.assertEqual(watching.stderr.read(),
                             "UNAUTHENTICATED: wrong user name or password\n")


if __name__ == "__main__":
    unittest.main()
