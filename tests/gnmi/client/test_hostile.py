"""Connections that mean no good, or nothing at all: they end, others are served."""

import contextlib
import os
import random
import socket
import time
import unittest

from gnmi_client import LONG, PATIENCE, Agent, Client, grpc, refusal
from raw_http2 import CONTINUATION, END_HEADERS, HEADERS, SUBSCRIBE, Connection, frame, literal

CODE = grpc.StatusCode
GUARD = "/stp/global/config/bpdu-guard"


class Hostile(unittest.TestCase):
    def setUp(self):
        self.context = contextlib.ExitStack()
        self.agent = self.context.enter_context(Agent(
            "run", "--show", "none", gnmi_options=["--gnmi", "127.0.0.1:0", "--gnmi-insecure"]))
        self.address = self.agent.addresses[0]
        self.client = self.context.enter_context(Client(self.address))
        self.stream = self.context.enter_context(self.client.subscribe(GUARD))
        self.stream.until_sync()
        self.guard = False

    def tearDown(self):
        self.others_are_served()
        self.context.close()

    def others_are_served(self):
        """A stream that was there, and one who comes."""
        self.guard = not self.guard
        self.agent.set("input", "portfastBpduguard", value=self.guard)
        self.stream.until(lambda state: state[GUARD] == self.guard)
        with Client(self.address) as client:
            self.assertEqual(client.values(GUARD), {GUARD: self.guard})

    def test_B3_garbage_is_cut_off(self):
        chance = random.Random(1)
        for _ in range(30):
            with Connection(self.address) as connection:
                connection.send(chance.randbytes(chance.randrange(1, 3000)))
                connection.socket.shutdown(socket.SHUT_WR)
                self.assertTrue(connection.is_closed())

    def test_B3_garbage_behind_a_greeting_is_cut_off(self):
        chance = random.Random(2)
        for _ in range(60):
            with Connection(self.address) as connection:
                connection.greet()
                for _ in range(chance.randrange(1, 20)):
                    connection.send(frame(chance.randrange(12), chance.randbytes(
                        chance.randrange(300)), chance.randrange(256), chance.randrange(8)))
                with contextlib.suppress(OSError):
                    connection.socket.shutdown(socket.SHUT_WR)
                self.assertTrue(connection.is_closed())

    def test_B3_messages_of_garbage_are_refused(self):
        chance = random.Random(3)
        subscribe = self.client.channel.stream_stream("/gnmi.gNMI/Subscribe")
        get = self.client.channel.unary_unary("/gnmi.gNMI/Get")
        for _ in range(100):
            message = b"\xff" + chance.randbytes(chance.randrange(200))
            code, _ = refusal(list, subscribe(iter([message]), timeout=PATIENCE))
            self.assertEqual(code, CODE.INVALID_ARGUMENT)
            refusal(get, message, timeout=PATIENCE)

    def test_A6_floods_of_headers_cost_no_memory(self):
        field = literal(b"x", b"y" * 1000)
        before = self.agent.resident()
        for _ in range(20):
            with Connection(self.address) as connection:
                connection.greet()
                connection.send(frame(HEADERS, SUBSCRIBE, 0, 1))
                for _ in range(2000):
                    if not connection.send(frame(CONTINUATION, field, 0, 1)):
                        break
        self.assertLess(self.agent.resident() - before, 32 << 20)

    def test_A6_floods_of_calls_cost_no_memory(self):
        before = self.agent.resident()
        with Connection(self.address) as connection:
            connection.greet()
            for stream in range(1, 20_001, 2):
                if not connection.send(frame(HEADERS, SUBSCRIBE, END_HEADERS, stream)):
                    break
            # 10,000 calls would be more than twice as much.
            self.assertLess(self.agent.resident() - before, 64 << 20)

    def test_A6_more_connections_than_there_may_be_leave_room_for_those_that_come_later(self):
        connections = []
        with contextlib.ExitStack() as context:
            for _ in range(10_000 if LONG else 5_000):
                try:
                    connection = context.enter_context(Connection(self.address))
                except OSError:
                    continue
                connection.greet()
                connections.append(connection)
            descriptors = len(os.listdir(f"/proc/{self.agent.process.pid}/fd"))
            self.assertLess(descriptors, 4_500)
            # The streams that are there do not mind.
            self.guard = not self.guard
            self.agent.set("input", "portfastBpduguard", value=self.guard)
            self.stream.until(lambda state: state[GUARD] == self.guard)


class FewDescriptors(unittest.TestCase):
    def test_A6_without_descriptors_clients_are_served_again_when_there_are_some(self):
        with Agent("run", "--show", "none", descriptors=100, gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure"]) as agent:
            with contextlib.ExitStack() as context:
                for _ in range(200):
                    context.enter_context(Connection(agent.addresses[0])).greet()
            with Client(agent.addresses[0]) as client:
                end = time.monotonic() + PATIENCE
                while True:
                    try:
                        self.assertTrue(client.get("/").notification)
                        break
                    except grpc.RpcError:
                        self.assertLess(time.monotonic(), end)
                        time.sleep(0.1)


if __name__ == "__main__":
    unittest.main()
