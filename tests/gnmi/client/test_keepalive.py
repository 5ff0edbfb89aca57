"""Peers that are silent: which are gone, and which are not."""

import contextlib
import os
import subprocess
import sys
import tempfile
import time
import unittest

from gnmi_client import LONG, Agent, Client, gnmi, grpc, path
from raw_http2 import (DATA, END_HEADERS, GOAWAY, HEADERS, PING, SUBSCRIBE, Connection, frame,
                       message)
from test_security import Authority, ip

CODE = grpc.StatusCode
GUARD = "/stp/global/config/bpdu-guard"
SUBSCRIPTION = gnmi.SubscribeRequest(subscribe=gnmi.SubscriptionList(
    subscription=[gnmi.Subscription(path=path(GUARD))], encoding=gnmi.PROTO)).SerializeToString()


def subscribed(address):
    """A connection with a stream that has had its first message."""
    connection = Connection(address)
    connection.greet()
    connection.send(frame(HEADERS, SUBSCRIBE, END_HEADERS, 1),
                    frame(DATA, message(SUBSCRIPTION), 0, 1))
    for kind, _, _ in connection.frames():
        if kind == DATA:
            break
    return connection


class Keepalive(unittest.TestCase):
    def until_there_is_room(self, client, seconds):
        """Until the only place for a subscription is free."""
        end = time.monotonic() + seconds
        while True:
            with client.subscribe(GUARD) as stream:
                try:
                    stream.until_sync()
                    return
                except grpc.RpcError as error:
                    self.assertEqual(error.code(), CODE.RESOURCE_EXHAUSTED)
            self.assertLess(time.monotonic(), end)
            time.sleep(1)

    def test_B4_who_pings_every_few_seconds_is_tolerated(self):
        interval, count = (10, 6) if LONG else (6, 4)
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure"]) as agent, \
                subscribed(agent.addresses[0]) as connection:
            for number in range(count):
                time.sleep(interval)
                payload = bytes([number] * 8)
                connection.send(frame(PING, payload))
                for kind, _, received in connection.frames():
                    self.assertNotEqual(kind, GOAWAY)
                    if kind == PING and received == payload:
                        break
                else:
                    self.fail("the connection was closed")

    def test_B4_who_pings_again_and_again_is_not(self):
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure"]) as agent, \
                subscribed(agent.addresses[0]) as connection:
            connection.send(*[frame(PING, bytes(8))] * 20)
            self.assertIn(GOAWAY, [kind for kind, _, _ in connection.frames()])

    @unittest.skipUnless(LONG, "takes minutes")
    def test_B4_who_answers_no_ping_is_gone(self):
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure", "--gnmi-max-clients", "1"]) as agent, \
                Client(agent.addresses[0]) as client, \
                subscribed(agent.addresses[0]):
            self.until_there_is_room(client, 120)

    @unittest.skipUnless(LONG, "takes minutes")
    def test_B4_whose_link_is_down_is_gone(self):
        names = [f"gnmi{os.getpid()}{side}" for side in "ab"]
        with contextlib.ExitStack() as context:
            for name in names:
                try:
                    ip("netns", "add", name)
                except (OSError, subprocess.CalledProcessError) as error:
                    self.skipTest(f"no network namespace can be made: {error}")
                context.callback(ip, "netns", "delete", name)
            ip("link", "add", "e0", "netns", names[0], "type", "veth", "peer", "e0", "netns",
               names[1])
            for number, name in enumerate(names, 1):
                ip("-n", name, "address", "add", f"192.0.2.{number}/24", "dev", "e0")
                ip("-n", name, "link", "set", "e0", "up")
            folder = context.enter_context(tempfile.TemporaryDirectory())
            authority = Authority(folder)
            certificate, key = authority.sign("server")
            agent = context.enter_context(Agent(
                "run", "--show", "none", namespace=names[0], gnmi_options=[
                    "--gnmi", "192.0.2.1:0", "--gnmi", "unix:" + os.path.join(folder, "s"),
                    "--gnmi-insecure", "--gnmi-cert", certificate, "--gnmi-key", key,
                    "--gnmi-max-clients", "1"]))
            agent.listens(2)
            remote = context.enter_context(subprocess.Popen(
                ["ip", "netns", "exec", names[1], sys.executable, "-B",
                 os.path.join(os.path.dirname(os.path.abspath(__file__)), "subscriber.py"),
                 "--authority", authority.certificate, agent.addresses[0], GUARD],
                stdout=subprocess.PIPE, text=True))
            context.callback(remote.kill)
            self.assertIn(GUARD, remote.stdout.readline())
            client = context.enter_context(Client("unix:" + os.path.join(folder, "s")))
            with client.subscribe(GUARD) as stream, self.assertRaises(grpc.RpcError):
                stream.until_sync()
            ip("-n", names[1], "link", "set", "e0", "down")
            self.until_there_is_room(client, 120)


if __name__ == "__main__":
    unittest.main()
