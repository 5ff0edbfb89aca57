"""What Set writes to a switch's databases, in a real server."""

import itertools
import os
import signal
import subprocess
import tempfile
import threading
import time
import unittest

from gnmi_client import PATIENCE, Agent, Client, gnmi, grpc, path, refusal
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

    def begun(self, vlan):
        """A Set under way that adds a VLAN."""
        return self.client._set.future(gnmi.SetRequest(update=[update(VLANS, [vlan])]),
                                       timeout=PATIENCE)

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
        self.assertEqual(self.vlans(), [10])

    def test_what_is_set_is_served_when_it_is_answered(self):
        self.command("CONFIG", "SET", "notify-keyspace-events", "")
        for vlans in ([10], [10, 12], [], [11]):
            self.client.set(replace=[update(VLANS, vlans)])
            self.assertEqual(self.vlans(), vlans)

    def test_rows_count_that_nothing_told_of(self):
        self.command("CONFIG", "SET", "notify-keyspace-events", "")
        self.command("HSET", "STP_VLAN|Vlan12", "enabled", "true")
        self.client.set(update=[update(VLANS, [12])])
        self.assertEqual(self.enabled()[12], "false")
        self.command("HSET", "STP_VLAN|Vlan12", "enabled", "true")
        self.client.set(update=[update(VLANS, [10])])
        self.assertEqual(self.enabled(), {10: "false", 11: "true", 12: "true"})
        self.command("HSET", "VLAN|Vlan13", "vlanid", "13")
        self.client.set(update=[update(VLANS, [13])])
        self.assertEqual(self.vlans(), [10, 13])

    def test_a_mode_counts_that_nothing_told_of(self):
        self.command("CONFIG", "SET", "notify-keyspace-events", "")
        self.command("HSET", "STP|GLOBAL", "mode", "mst")
        self.refused("pvst", update=[update(VLANS, [10])])
        self.assertEqual(self.enabled(), {10: "", 11: "true", 12: "false"})
        self.command("HSET", "STP|GLOBAL", "mode", "rpvst")
        self.client.set(update=[update(VLANS, [10])])
        self.assertEqual(self.enabled(), {10: "false", 11: "true", 12: "false"})

    def test_a_vlan_that_is_not_there_refuses_all(self):
        self.refused("13", update=[update(VLANS, [10, 13])])
        self.assertEqual(self.enabled(), {10: "", 11: "true", 12: "false"})
        self.assertEqual(self.vlans(), [12])

    def test_one_that_is_refused_takes_no_other_with_it(self):
        self.server.send_signal(signal.SIGSTOP)
        calls = [self.begun(vlan) for vlan in (13, 11, 14, 10)]
        self.server.send_signal(signal.SIGCONT)
        self.assertEqual([call.code() for call in calls],
                         [CODE.FAILED_PRECONDITION, CODE.OK, CODE.FAILED_PRECONDITION, CODE.OK])
        for at, vlan in ((0, 13), (2, 14)):
            self.assertIn(f"no VLAN {vlan}", calls[at].details())
        self.assertEqual(self.enabled(), {10: "false", 11: "false", 12: "false"})

    def test_other_modes_refuse(self):
        self.command("HSET", "STP|GLOBAL", "mode", "mst")
        self.until(lambda: self.vlans() == [], "the other mode")
        self.refused("pvst", update=[update(VLANS, [10])])
        self.assertEqual(self.enabled(), {10: "", 11: "true", 12: "false"})
        self.assertEqual(self.vlans(), [])
        self.client.set(delete=[path(VLANS)])  # none is disabled
        self.assertEqual(self.enabled(), {10: "", 11: "true", 12: "false"})

    def test_a_server_that_only_reads_refuses_each_time_at_once(self):
        self.command("REPLICAOF", "127.0.0.1", "1")
        for _ in range(50):
            self.refused("READONLY", update=[update(VLANS, [10])])
            self.assertEqual(self.vlans(), [12])

    def test_what_is_refused_was_never_there_and_is_refused_again(self):
        self.server.kill()
        self.server.wait()
        with self.client.subscribe(VLANS) as stream:
            stream.until_sync()
            for _ in range(3):
                self.refused("unix:" + self.socket, update=[update(VLANS, [10])])
                self.assertEqual(self.vlans(), [12])
            self.assertTrue(stream.is_quiet())
        self.client.set()  # asks for nothing

    def test_what_is_under_way_when_the_agent_ends_is_refused(self):
        self.server.send_signal(signal.SIGSTOP)
        call = self.begun(10)
        self.agent.process.send_signal(signal.SIGTERM)
        self.assertIn(call.code(), (CODE.FAILED_PRECONDITION, CODE.UNAVAILABLE, CODE.CANCELLED))
        self.server.send_signal(signal.SIGCONT)
        self.assertEqual(self.enabled()[10], "")

    def test_what_is_answered_ok_is_there_although_the_agent_ends(self):
        written = []

        def write():
            for at in itertools.count():
                vlan = 10 + at % 3
                try:
                    self.client.set(replace=[update(VLANS, [vlan])])
                except grpc.RpcError:
                    return
                written.append(vlan)

        writer = threading.Thread(target=write)
        writer.start()
        self.until(lambda: len(written) >= 20 or not writer.is_alive(), "writes")
        self.agent.process.send_signal(signal.SIGTERM)
        writer.join()
        self.agent.process.wait(PATIENCE)
        disabled = [vlan for vlan, enabled in self.enabled().items() if enabled == "false"]
        # The one that was refused may have been under way.
        self.assertIn(disabled, ([written[-1]], [10 + len(written) % 3]))


if __name__ == "__main__":
    unittest.main()
