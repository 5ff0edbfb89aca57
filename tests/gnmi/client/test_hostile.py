"""Connections that mean no good, or nothing at all: they end, others are served."""

import contextlib
import os
import random
import resource
import socket
import struct
import threading
import time
import unittest

from gnmi_client import LONG, PATIENCE, Agent, Client, PortCase, grpc, refusal
from raw_http2 import (CONTINUATION, DATA, END_HEADERS, GET, HEADERS, SUBSCRIBE, Connection,
                       Sending, frame, literal, message)

CODE = grpc.StatusCode
GUARD = "/stp/global/config/bpdu-guard"


class Hostile(PortCase):
    def setUp(self):
        super().setUp()
        self.stream = self.enterContext(self.client.subscribe(GUARD))
        self.stream.until_sync()
        self.guard = False

    def tearDown(self):
        self.others_are_served()

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
            garbage = b"\xff" + chance.randbytes(chance.randrange(200))
            for refused in (refusal(list, subscribe(iter([garbage]), timeout=PATIENCE)),
                            refusal(get, garbage, timeout=PATIENCE)):
                self.assertEqual(refused[0], CODE.INVALID_ARGUMENT)

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

    @unittest.skipUnless(LONG, "takes more than a minute")
    def test_A6_calls_whose_request_does_not_come_are_given_up(self):
        subscribe = self.client.channel.stream_stream("/gnmi.gNMI/Subscribe")
        get = self.client.channel.stream_unary("/gnmi.gNMI/Get")
        done = threading.Event()

        def nothing():
            done.wait()
            yield from ()

        with Connection(self.address) as connection:
            connection.greet()
            begin = time.monotonic()
            for stream, headers in ((1, GET), (3, SUBSCRIBE)):
                connection.send(frame(HEADERS, headers, END_HEADERS, stream),
                                frame(DATA, message(b"x" * 1000)[:500], 0, stream))
            late = [subscribe(nothing()), get.future(nothing())]
            for call in late:
                code, text = refusal(list, call) if call is late[0] else refusal(call.result)
                self.assertEqual((code, text),
                                 (CODE.DEADLINE_EXCEEDED, "no request came within 60 s"))
            self.assertGreater(time.monotonic() - begin, 59)
            done.set()
            ended = set()
            for kind, stream, _ in connection.frames():
                if kind == HEADERS:
                    ended.add(stream)
                if ended == {1, 3}:
                    break
            self.assertEqual(ended, {1, 3})

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


class Huge(PortCase):
    def test_A6_messages_that_say_to_be_huge_end_before_they_cost_what_the_target_may_have(self):
        for _ in range(2):
            with contextlib.ExitStack() as context:
                attacks = []
                for _ in range(3):
                    connection = context.enter_context(Connection(self.address))
                    connection.greet()
                    connection.send(frame(HEADERS, SUBSCRIBE, END_HEADERS, 1))
                    attacks.append(Sending(connection, 1))
                    attacks[-1].send(b"\0" + struct.pack(">I", (1 << 31) - 1))
                while not all(attack.is_answered for attack in attacks):
                    for attack in attacks:
                        attack.send(bytes(16_384))
                        self.assertLess(attack.sent, 1 << 30)
                self.assertLess(self.agent.resident(), 896 << 20)
            # Nobody is any the worse for it, once he has come again.
            with self.client.subscribe(GUARD) as stream:
                stream.until_sync()
                guard = not stream.state[GUARD]
                self.agent.set("input", "portfastBpduguard", value=guard)
                stream.until(lambda state: state[GUARD] == guard)


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

    def test_A6_without_any_descriptor_the_target_waits_for_one(self):
        if os.environ.get("STP_SANITIZED") == "1":
            self.skipTest("the sanitizers need descriptors themselves")
        with Agent("run", "--show", "none", gnmi_options=[
                "--gnmi", "127.0.0.1:0", "--gnmi-insecure"]) as agent:
            pid = agent.process.pid
            limits = resource.prlimit(pid, resource.RLIMIT_NOFILE)
            taken = 1 + max(int(number) for number in os.listdir(f"/proc/{pid}/fd"))
            resource.prlimit(pid, resource.RLIMIT_NOFILE, (taken, limits[1]))
            with contextlib.ExitStack() as context:
                for _ in range(20):
                    context.enter_context(Connection(agent.addresses[0]))
                before = agent.seconds_of_work()
                time.sleep(1)
                self.assertLess(agent.seconds_of_work() - before, 0.1)
                resource.prlimit(pid, resource.RLIMIT_NOFILE, limits)
                with Client(agent.addresses[0]) as client:
                    self.assertTrue(client.get("/").notification)


if __name__ == "__main__":
    unittest.main()
