"""The agent behind a real mstpd: what the engine does is what clients and people are told."""

import json
import subprocess
import unittest

from engine import (BRIDGE, MSTPCTL, PORTS, EngineCase, ip, mstpctl, run_inside, told, until)
from gnmi_client import AGENT, LONG, Agent, Client, gnmi, path

CIST = "/stp/mstp/cist"
INSTANCES = "/stp/mstp/mst-instances/mst-instance"
ROOT, BETTER_ROOT = "02:00:00:00:00:99", "02:00:00:00:00:11"


def in_cist(port, leaf):
    return f"{CIST}/interfaces/interface[name={port}]/state/{leaf}"


def in_instance(port, leaf):
    return f"{INSTANCES}[mst-id=5]/interfaces/interface[name={port}]/state/{leaf}"


def guard_error(port):
    return f"/stp/interfaces/interface[name={port}]/state/bpdu-guard-error"


def identity(name):
    return f"openconfig-spanning-tree-types:{name}"


class Mstpd(EngineCase):
    def setUp(self):
        super().setUp()
        self.agent = self.enterContext(Agent("follow", "--bridge", BRIDGE, "--show", "none",
                                             "--mstpctl", MSTPCTL))
        self.client = self.enterContext(Client("unix:" + self.agent.socket))
        self.client.until_there()

    def watched(self):
        """A stream of what changes in all trees and at all ports, and of nothing else."""
        paths = (f"{CIST}/state", in_cist("*", "role"), in_cist("*", "port-state"),
                 f"{INSTANCES}[mst-id=*]/state", guard_error("*"),
                 f"{INSTANCES}[mst-id=*]/interfaces/interface[name=*]/state")
        stream = self.enterContext(self.client.subscribe(
            *(gnmi.Subscription(path=path(each), mode=gnmi.ON_CHANGE) for each in paths)))
        stream.until_sync()
        return stream

    def comes(self, stream, expected):
        """Waits for leaves; one of None is none."""
        stream.until(lambda state: all(state.get(leaf) == value
                                       for leaf, value in expected.items()))

    def with_a_neighbour(self):
        """A stream of what changes once the neighbour is the root."""
        stream = self.watched()
        self.becomes_root(4096, ROOT)
        self.comes(stream, {
            f"{CIST}/state/designated-root-address": ROOT, f"{CIST}/state/root-port": 1,
            in_cist("Eth1", "role"): identity("ROOT"),
            in_cist("Eth1", "port-state"): identity("FORWARDING"),
            in_cist("Eth2", "role"): identity("ALTERNATE"),
            in_cist("Eth2", "port-state"): identity("BLOCKING"),
            in_instance("Eth1", "master"): True, in_instance("Eth1", "role"): None})
        return stream

    @staticmethod
    def status(*options):
        return subprocess.run([AGENT, "status", "--bridge", BRIDGE, "--mstpctl", MSTPCTL, *options],
                              check=True, capture_output=True, text=True).stdout

    def test_who_is_root_comes_as_it_changes(self):
        stream = self.with_a_neighbour()
        self.becomes_root(0, BETTER_ROOT)
        self.comes(stream, {f"{CIST}/state/designated-root-address": BETTER_ROOT,
                            f"{CIST}/state/designated-root-priority": 0})

    def test_a_link_that_fails_comes_in_every_tree(self):
        stream = self.with_a_neighbour()
        ip("link set Far1 down")
        self.comes(stream, {
            in_cist("Eth1", "role"): None, in_cist("Eth1", "port-state"): identity("DISABLED"),
            in_cist("Eth2", "role"): identity("ROOT"), f"{CIST}/state/root-port": 2,
            in_instance("Eth1", "master"): False,
            in_instance("Eth1", "port-state"): identity("DISABLED"),
            in_instance("Eth2", "master"): True})

    def test_a_port_that_bpdu_guard_takes_out_of_use_comes(self):
        mstpctl("setbpduguard", BRIDGE, "Eth3", "yes")
        stream = self.watched()
        self.comes(stream, {guard_error("Eth3"): False})
        self.neighbour.says("Far3", 4096, ROOT)
        self.comes(stream, {guard_error("Eth3"): True,
                            in_cist("Eth3", "port-state"): identity("DISABLED")})

    @unittest.skipUnless(LONG, "takes the interval of counters, which is ten seconds, twice")
    def test_counters_are_samples(self):
        counter = in_cist("Eth3", "counters/bpdu-sent")
        with self.client.subscribe(counter) as stream:
            stream.until_sync()
            times = [stream.next().update.timestamp for _ in range(2)]
        self.assertGreater(times[1] - times[0], 9_000_000_000)

    def test_the_status_is_what_the_engine_says(self):
        self.with_a_neighbour()
        (bridge,) = told("showbridge", BRIDGE)
        status = json.loads(self.status("--json"))
        cist, instance = status["trees"]
        self.assertEqual((cist["tree"], instance["tree"]), ("Cist", "MST5"))
        self.assertEqual(cist["root"], {"priority": int(bridge["designated-root"][0], 16) * 4096,
                                        "address": bridge["designated-root"][6:]})
        self.assertEqual((cist["rootPort"], cist["rootCost"]),
                         (bridge["root-port"].split(" ")[0], int(bridge["path-cost"])))
        self.assertEqual([port["port"] for port in status["ports"]], list(PORTS))
        in_trees = {"Cist": {each["port"]: each for each in told("showportdetail", BRIDGE)},
                    "MST5": {port: told("showtreeport", BRIDGE, port, "5")[0] for port in PORTS}}
        for tree in status["trees"]:
            for port in tree["ports"]:
                said = in_trees[tree["tree"]][port["port"]]
                self.assertEqual(port["role"], said["role"].lower())
                self.assertEqual(port["state"], said["state"].replace("discarding", "blocking"))
        self.assertIn("| Eth1 | Cist  | root ", self.status())
        self.assertIn("graph topology", self.status("--dot"))

    def test_an_engine_that_goes_is_told_and_followed_again(self):
        stream = self.with_a_neighbour()
        self.end_engine()
        self.agent.wait_for(lambda: any("start mstpd" in line for line in self.agent.errors),
                            "the engine's end is not told")
        self.assertEqual(stream.state[f"{CIST}/state/designated-root-address"], ROOT)
        self.becomes_root(0, BETTER_ROOT)
        self.start_engine()
        self.comes(stream, {f"{CIST}/state/designated-root-address": BETTER_ROOT})
        self.assertIn(f"{BRIDGE}: the engine answers again", "\n".join(self.agent.errors))


run_inside()
