"""Who is let in, and what they may do."""

import os
import pathlib
import shutil
import socket
import ssl
import subprocess
import sys
import tempfile
import time
import unittest

from gnmi_client import AGENT, PATIENCE, Agent, Client, gnmi, grpc, path, refusal

CODE = grpc.StatusCode
VLANS = gnmi.Update(path=path("/stp/global/config/disabled-vlan"),
                    val=gnmi.TypedValue(json_ietf_val=b"[5]"))


def openssl(*arguments):
    return subprocess.run(["openssl", *arguments], check=True, capture_output=True,
                          text=True).stdout.strip()


def ip(*words):
    subprocess.run(["ip", *words], check=True, capture_output=True)


class Authority:
    """A certificate authority in a folder, and what it signs."""

    def __init__(self, folder, name="authority"):
        self.folder = folder
        self.certificate = os.path.join(folder, name + ".pem")
        self.key = os.path.join(folder, name + ".key")
        openssl("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                "-days", "2", "-subj", "/CN=" + name, "-keyout", self.key, "-out",
                self.certificate)

    def sign(self, name):
        """The files of a certificate and its key."""
        key, request, certificate, extensions = (os.path.join(self.folder, name + end)
                                                 for end in (".key", ".csr", ".pem", ".ext"))
        openssl("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj",
                "/CN=" + name, "-keyout", key, "-out", request)
        with open(extensions, "w", encoding="ascii") as file:
            file.write("subjectAltName=DNS:localhost,IP:127.0.0.1\n")
        openssl("x509", "-req", "-in", request, "-CA", self.certificate, "-CAkey", self.key,
                "-CAcreateserial", "-days", "2", "-extfile", extensions, "-out", certificate)
        return certificate, key


def contents(file):
    with open(file, "rb") as opened:
        return opened.read()


class Security(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.mkdtemp(prefix="gnmi-security-")
        cls.authority = Authority(cls.folder)
        cls.server = cls.authority.sign("server")
        cls.users = os.path.join(cls.folder, "users")
        with open(cls.users, "w", encoding="ascii") as file:
            for name, password, role in (("ann", "secret-of-ann", "write"),
                                         ("bob", "secret-of-bob", "read")):
                file.write(f"{name}:{openssl('passwd', '-6', password)}:{role}\n")
            file.write("machine:*:write\n")

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.folder)

    def agent(self, *options, address="127.0.0.1:0"):
        return Agent("run", "--show", "none", gnmi_options=["--gnmi", address, *options])

    def secure(self, *options):
        return self.agent("--gnmi-cert", self.server[0], "--gnmi-key", self.server[1], *options)

    def client(self, agent, user=None, certificate=None, authority=None):
        pair = [contents(file) for file in reversed(certificate)] if certificate else [None, None]
        credentials = grpc.ssl_channel_credentials(
            contents((authority or self.authority).certificate), *pair)
        metadata = [("username", user[0]), ("password", user[1])] if user else []
        return Client(agent.addresses[0], credentials, metadata)

    def may_read(self, client):
        return client.get("/stp/global").notification

    def refused(self, code, call, *arguments, **members):
        refused, message = refusal(call, *arguments, **members)
        self.assertEqual(refused, code, message)

    def start_fails(self, *options, culprit):
        ended = subprocess.run([AGENT, "run", *options], capture_output=True, text=True,
                               timeout=PATIENCE, stdin=subprocess.DEVNULL)
        self.assertEqual(ended.returncode, 2, ended.stderr)
        self.assertIn(culprit, ended.stderr)

    def test_A1_plaintext_is_only_for_whom_it_was_asked_for(self):
        self.start_fails("--gnmi", "127.0.0.1:0", culprit="127.0.0.1:0")
        self.start_fails("--gnmi", "0.0.0.0:0", "--gnmi-insecure", culprit="0.0.0.0:0")
        with self.secure() as agent:
            with Client(agent.addresses[0]) as client:
                self.refused(CODE.UNAVAILABLE, client.get, "/")

    def test_A1_tls_before_1_2_is_refused(self):
        with self.secure() as agent:
            host, port = agent.addresses[0].rsplit(":", 1)
            for version, is_taken in ((ssl.TLSVersion.TLSv1_1, False),
                                      (ssl.TLSVersion.TLSv1_2, True)):
                context = ssl.create_default_context(cafile=self.authority.certificate)
                context.set_ciphers("DEFAULT:@SECLEVEL=0")
                context.set_alpn_protocols(["h2"])
                context.minimum_version = context.maximum_version = version
                with socket.create_connection((host, int(port)), PATIENCE) as connection:
                    if is_taken:
                        context.wrap_socket(connection, server_hostname="localhost").close()
                    else:
                        with self.assertRaises(ssl.SSLError):
                            context.wrap_socket(connection, server_hostname="localhost")

    def test_A1_without_users_everybody_may_read_over_tls_and_nobody_may_set(self):
        with self.secure() as agent, self.client(agent) as client:
            self.assertTrue(self.may_read(client))
            self.refused(CODE.PERMISSION_DENIED, client.set, update=[VLANS])

    def test_A2_a_new_certificate_is_taken_over_and_a_broken_one_refused_once(self):
        other = Authority(self.folder, "other")
        files = [os.path.join(self.folder, name) for name in ("live.pem", "live.key")]
        for source, file in zip(self.server, files):
            shutil.copy(source, file)
        with self.agent("--gnmi-cert", files[0], "--gnmi-key", files[1]) as agent:
            with self.client(agent) as client, client.subscribe("/stp/global") as stream:
                stream.until_sync()
                with open(files[0], "w", encoding="ascii") as file:
                    file.write("garbage")
                agent.wait_for(lambda: any("live.pem" in line for line in agent.errors),
                               "nothing is told of the broken certificate")
                time.sleep(2.5)
                self.assertEqual(len([line for line in agent.errors if "live.pem" in line]), 1)
                with self.client(agent) as again:
                    self.assertTrue(self.may_read(again))
                for source, file in zip(other.sign("server2"), files):
                    shutil.copy(source, file)
                end = time.monotonic() + PATIENCE
                while True:
                    try:
                        with self.client(agent, authority=other) as renewed:
                            self.assertTrue(self.may_read(renewed))
                        break
                    except grpc.RpcError:
                        self.assertLess(time.monotonic(), end, "the new certificate is not used")
                        time.sleep(0.2)
                self.assertTrue(self.may_read(client))
                self.assertTrue(stream.is_quiet())

    def test_A3_a_client_without_a_certificate_is_refused_where_one_is_asked_for(self):
        with self.secure("--gnmi-client-ca", self.authority.certificate) as agent:
            with self.client(agent) as stranger:
                self.refused(CODE.UNAVAILABLE, stranger.get, "/")
            with self.client(agent, certificate=self.authority.sign("machine")) as client:
                self.assertTrue(self.may_read(client))
                self.refused(CODE.PERMISSION_DENIED, client.set, update=[VLANS])

    def test_A3_the_common_name_is_a_users_name(self):
        with self.secure("--gnmi-client-ca", self.authority.certificate, "--gnmi-users",
                         self.users) as agent:
            with self.client(agent, certificate=self.authority.sign("machine")) as client:
                client.set(update=[VLANS])
            with self.client(agent, certificate=self.authority.sign("stranger")) as client:
                self.refused(CODE.UNAUTHENTICATED, client.get, "/")
            with self.client(agent, certificate=self.authority.sign("ann")) as client:
                self.refused(CODE.UNAUTHENTICATED, client.get, "/")  # her password is asked for
            bob = ("bob", "secret-of-bob")
            with self.client(agent, bob, self.authority.sign("machine")) as client:
                self.assertTrue(self.may_read(client))
                self.refused(CODE.PERMISSION_DENIED, client.set, update=[VLANS])

    def test_A4_a_wrong_password_is_unauthenticated_and_in_no_log(self):
        with self.secure("--gnmi-users", self.users) as agent:
            for user in (("ann", "not-hers"), ("nobody", "secret-of-ann"), ("machine", "*"),
                         ("ann", ""), None):
                with self.client(agent, user) as client:
                    self.refused(CODE.UNAUTHENTICATED, client.get, "/")
                    self.refused(CODE.UNAUTHENTICATED, client.set, update=[VLANS])
                    with client.subscribe("/") as stream:
                        self.refused(CODE.UNAUTHENTICATED, stream.rest)
            with self.client(agent, ("ann", "secret-of-ann")) as client:
                self.assertTrue(self.may_read(client))
            agent.stop()
            for line in agent.errors:
                self.assertNotIn("secret", line)
                self.assertNotIn("not-hers", line)

    def test_A5_the_role_decides(self):
        with self.secure("--gnmi-users", self.users) as agent:
            with self.client(agent, ("ann", "secret-of-ann")) as client:
                client.set(update=[VLANS])
            with self.client(agent, ("bob", "secret-of-bob")) as client:
                self.assertTrue(self.may_read(client))
                self.refused(CODE.PERMISSION_DENIED, client.set, update=[VLANS])

    def test_A5_a_name_without_its_password_is_nobodys(self):
        with self.secure("--gnmi-client-ca", self.authority.certificate, "--gnmi-users",
                         self.users) as agent:
            with open(self.users, "a", encoding="ascii") as file:
                file.write("watcher:*:read\n")
            time.sleep(2.5)
            with self.client(agent, certificate=self.authority.sign("watcher")) as client:
                self.assertTrue(self.may_read(client))
                client.metadata = (("username", "ann"),)
                self.assertTrue(self.may_read(client))
                self.refused(CODE.PERMISSION_DENIED, client.set, update=[VLANS])

    def test_A6_what_can_not_be_used_refuses_the_start(self):
        bad = os.path.join(self.folder, "bad-users")
        for line, culprit in (("ann", f"{bad}:2: "), ("ann:x:write", f"{bad}:2: "),
                              ("ann:*:admin", f"{bad}:2: ")):
            with open(bad, "w", encoding="ascii") as file:
                file.write("# users\n" + line + "\n")
            self.start_fails("--gnmi", "127.0.0.1:0", "--gnmi-cert", self.server[0], "--gnmi-key",
                             self.server[1], "--gnmi-users", bad, culprit=culprit)
        self.start_fails("--gnmi", "nowhere", "--gnmi-insecure", culprit="nowhere")
        self.start_fails("--gnmi", "[::1]:99999", "--gnmi-insecure", culprit="99999: not HOST:PORT")
        self.start_fails("--gnmi", "192.0.2.1:0", "--gnmi-cert", self.server[0], "--gnmi-key",
                         self.server[1], culprit="192.0.2.1:0: Cannot assign")
        self.start_fails("--gnmi", "unix:/nonexistent/a", "--gnmi-insecure",
                         culprit="/nonexistent/a: No such file")
        self.start_fails("--gnmi", "127.0.0.1:0", "--gnmi-cert", self.folder, "--gnmi-key",
                         self.server[1], culprit=self.folder + ": Is a directory")
        self.start_fails("--gnmi", "127.0.0.1:0", "--gnmi-cert", self.server[0], "--gnmi-key",
                         self.server[1], "--gnmi-users", "/nonexistent/users",
                         culprit="/nonexistent/users: No such file")
        for option in (["--gnmi-users", self.users], ["--gnmi-insecure"]):
            self.start_fails(*option, culprit=option[0] + " requires --gnmi")
        self.start_fails("--gnmi", "127.0.0.1:0", "--gnmi-cert", self.server[0],
                         culprit="without a key")
        self.start_fails("--gnmi", "127.0.0.1:0", "--gnmi-cert", self.server[0], "--gnmi-key",
                         self.authority.key, culprit=self.authority.key)

    def test_A6_a_certificate_that_is_cut_off_behind_a_good_one_refuses_the_start(self):
        broken = os.path.join(self.folder, "cut-off.pem")
        with open(broken, "wb") as file:
            file.write(contents(self.server[0]) + contents(self.authority.certificate)[:-60])
        for files in (["--gnmi-cert", broken],
                      ["--gnmi-cert", self.server[0], "--gnmi-client-ca", broken]):
            self.start_fails("--gnmi", "127.0.0.1:0", "--gnmi-key", self.server[1], *files,
                             culprit=broken + ": no certificate in PEM")

    def test_A6_an_address_in_use_refuses_the_start(self):
        with self.agent("--gnmi-insecure") as agent:
            self.start_fails("--gnmi", agent.addresses[0], "--gnmi-insecure",
                             culprit=agent.addresses[0] + ": Address already in use")

    def test_A2_the_key_stays_in_no_file_even_of_an_agent_that_is_killed(self):
        with tempfile.TemporaryDirectory() as folder:
            with Agent("run", "--show", "none", environment={"TMPDIR": folder}, gnmi_options=[
                    "--gnmi", "127.0.0.1:0", "--gnmi-cert", self.server[0],
                    "--gnmi-key", self.server[1]]) as agent:
                with self.client(agent) as client:
                    self.assertTrue(self.may_read(client))
                agent.process.kill()
                agent.process.wait()
            left = [contents(file) for file in pathlib.Path(folder).rglob("*")
                    if file.is_file() and not file.is_symlink()]
            self.assertIn(contents(self.server[0]), left)
            self.assertNotIn(contents(self.server[1]), left)

    def namespace(self):
        """The name of a network of its own, which has the addresses of this host alone."""
        name = f"gnmi-both-{os.getpid()}"
        try:
            ip("netns", "add", name)
            self.addCleanup(ip, "netns", "delete", name)
            ip("-n", name, "link", "set", "lo", "up")
        except (OSError, subprocess.CalledProcessError) as error:
            self.skipTest(f"no network namespace can be made and used: {error}")
        return name

    def assert_reached(self, namespace, host, addresses):
        """A target on a port of the host is reached at each of the addresses."""
        with Agent("run", "--show", "none", namespace=namespace,
                   gnmi_options=["--gnmi", f"{host}:0", "--gnmi-cert", self.server[0],
                                 "--gnmi-key", self.server[1]]) as agent:
            port = agent.listens().addresses[0].rsplit(":", 1)[1]
            for each in addresses:
                with self.subTest(each):
                    subprocess.run(["ip", "netns", "exec", namespace, sys.executable, "-c",
                                    f"import socket; socket.create_connection(('{each}', {port}))"],
                                   check=True, timeout=PATIENCE)

    def test_A6_all_addresses_of_ipv6_are_those_of_ipv4_too(self):
        name = self.namespace()
        # A socket of IPv6 leaves IPv4 alone here, unless it is told otherwise.
        subprocess.run(["ip", "netns", "exec", name, "sh", "-c",
                        "echo 1 >/proc/sys/net/ipv6/bindv6only"], check=True)
        self.assert_reached(name, "[::]", ["::1", "127.0.0.1"])

    def test_A6_a_name_is_all_its_addresses_each_of_them_once(self):
        name = self.namespace()
        # What `ip netns exec` puts in the place of the files in /etc.
        folder = os.path.join("/etc/netns", name)
        os.makedirs(folder)
        self.addCleanup(shutil.rmtree, folder)
        with open(os.path.join(folder, "hosts"), "w", encoding="ascii") as file:
            for address in ("127.0.0.1", "127.0.0.2", "127.0.0.1"):
                file.write(address + " many.example\n")
        self.assert_reached(name, "many.example", ["127.0.0.1", "127.0.0.2"])

    def test_A2_users_that_can_not_be_read_any_more_stay_and_that_is_told_once(self):
        users = os.path.join(self.folder, "live-users")
        shutil.copy(self.users, users)
        with self.secure("--gnmi-users", users) as agent:
            os.remove(users)
            os.mkdir(users)
            agent.wait_for(lambda: any("Is a directory" in line for line in agent.errors),
                           "nothing is told of the users")
            time.sleep(2.5)
            self.assertEqual(len([line for line in agent.errors if users in line]), 1)
            with self.client(agent, ("ann", "secret-of-ann")) as client:
                self.assertTrue(self.may_read(client))

    def test_A6_a_socket_file_is_of_its_group_and_goes_with_the_agent(self):
        file = os.path.join(self.folder, "a.sock")
        left = socket.socket(socket.AF_UNIX)
        left.bind(file)
        left.close()
        with self.agent("--gnmi-insecure", address="unix:" + file) as agent:
            self.assertEqual(os.stat(file).st_mode & 0o777, 0o660)
            self.start_fails("--gnmi", "unix:" + file, "--gnmi-insecure", culprit=file)
            with Client("unix:" + file) as client:
                self.assertTrue(self.may_read(client))
            agent.stop()
        self.assertFalse(os.path.exists(file))

    def test_A6_a_file_that_is_no_socket_is_not_replaced(self):
        file = os.path.join(self.folder, "precious")
        with open(file, "w", encoding="ascii") as written:
            written.write("kept")
        self.start_fails("--gnmi", "unix:" + file, "--gnmi-insecure",
                         culprit=file + ": is there, and no socket")
        with open(file, encoding="ascii") as read:
            self.assertEqual(read.read(), "kept")


if __name__ == "__main__":
    unittest.main()
