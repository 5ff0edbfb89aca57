"""What Set writes to a switch's databases, in a real server."""

import os
import subprocess
import tempfile
import time
import unittest

from gnmi_client import PATIENCE, Client, Agent, grpc, refusal
from test_set import VLANS, update

CODE = grpc.StatusCode


class Sonic(unittest.TestCase):
    def setUp(self):
        self.folder = tempfile.TemporaryDirectory(prefix="redis-test-")
        self.socket = os.path.join(self.folder.name, "redis.sock")
        self.server = subprocess.Popen(
            ["redis-server", "--port", "0", "--unixsocket", self.socket, "--save", "",
             "--dir", self.folder.name, "--logfile", os.path.join(self.folder.name, "log"),
             "--notify-keyspace-events", "AKE"])
        self.addCleanup(self.end)
        self.until(lambda: self.command("PING") == "PONG", "the server")
        self.command("HSET", "STP|GLOBAL", "mode", "pvst")
        for vlan in (10, 11, 12):
            self.command("HSET", f"VLAN|Vlan{vlan}", "vlanid", str(vlan))
        self.command("HSET", "STP_VLAN|Vlan11", "enabled", "true", "priority", "32768")
        self.command("HSET", "STP_VLAN|Vlan12", "enabled", "false")
        self.agent = self.enterContext(
            Agent("sonic", "--redis", "unix:" + self.socket, "--show", "none"))
        self.client = self.enterContext(Client("unix:" + self.agent.socket))
        self.until(lambda: self.vlans() == [12], "the first scan")

    def end(self):
        self.server.kill()
        self.server.wait()
        self.folder.cleanup()

    def command(self, *words):
        return subprocess.run(["redis-cli", "-s", self.socket, "-n", "4", *words],
                              capture_output=True, text=True, check=False).stdout.strip()

    def until(self, condition, what):
        end = time.monotonic() + PATIENCE
        while not condition():
            self.assertLess(time.monotonic(), end, what)
            time.sleep(0.01)

    def vlans(self):
        return self.client.values("/stp/global/config").get(VLANS, [])

    def enabled(self):
        return {vlan: self.command("HGET", f"STP_VLAN|Vlan{vlan}", "enabled")
                for vlan in (10, 11, 12)}

    def refused(self, culprit, **members):
        code, message = refusal(self.client.set, **members)
        self.assertEqual(code, CODE.FAILED_PRECONDITION, message)
        self.assertIn(culprit, message)

    def test_what_is_set_is_in_the_databases_when_it_is_answered(self):
        self.client.set(update=[update(VLANS, [11])])
        self.assertEqual(self.enabled(), {10: "", 11: "false", 12: "false"})
        self.client.set(replace=[update(VLANS, [10])])
        self.assertEqual(self.enabled(), {10: "false", 11: "true", 12: "true"})
        self.assertEqual(self.command("HGET", "STP_VLAN|Vlan11", "priority"), "32768")
        self.until(lambda: self.vlans() == [10], "what was set")

    def test_a_vlan_that_is_not_there_refuses_all(self):
        self.refused("13", update=[update(VLANS, [10, 13])])
        self.assertEqual(self.enabled(), {10: "", 11: "true", 12: "false"})
        self.until(lambda: self.vlans() == [12], "what the databases say")

    def test_other_modes_refuse(self):
        self.command("HSET", "STP|GLOBAL", "mode", "mst")
        self.until(lambda: self.vlans() == [], "the other mode")
        self.refused("pvst", update=[update(VLANS, [10])])
        self.assertEqual(self.enabled(), {10: "", 11: "true", 12: "false"})
        self.until(lambda: self.vlans() == [], "what the databases say")

    def test_a_server_that_only_reads_refuses(self):
        self.command("REPLICAOF", "127.0.0.1", "1")
        self.refused("READONLY", update=[update(VLANS, [10])])
        self.until(lambda: self.vlans() == [12], "what the databases say")

    def test_a_server_that_is_away_refuses(self):
        self.server.kill()
        self.server.wait()
        self.refused("unix:" + self.socket, update=[update(VLANS, [10])])


if __name__ == "__main__":
    unittest.main()
