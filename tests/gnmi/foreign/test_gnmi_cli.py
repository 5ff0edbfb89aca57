"""openconfig's gnmi_cli asks the target. It does not poll here: it waits for values before its first
poll, and the target sends them behind it."""

import re
import subprocess
import threading
import unittest

from foreign import GUARD, PATIENCE, VLANS, Secured, guard, installed, needs, running

CLI = installed("bin", "gnmi_cli")


def elems(path):
    return "".join(f'elem:{{name:"{name}"}}' for name in path.strip("/").split("/"))


def asked(agent, *options, how=("-insecure",)):
    """Its exit status, and what it printed."""
    ended = subprocess.run([CLI, "-address", agent.addresses[0], "-timeout", "5s", *how, *options],
                           capture_output=True, text=True, timeout=PATIENCE)
    return ended.returncode, ended.stdout + ended.stderr


@needs(CLI)
class GnmiCli(unittest.TestCase):
    def test_C1_capabilities(self):
        with running() as agent:
            status, text = asked(agent, "-capabilities")
        self.assertEqual(status, 0, text)
        self.assertRegex(text, r'gNMI_version: +"0\.10\.0"')
        self.assertEqual(re.findall(r"supported_encodings: +(\S+)", text),
                         ["JSON", "JSON_IETF", "PROTO"])

    def test_G4_get_in_every_encoding(self):
        with running() as agent:
            for encoding, value in (("JSON", r'json_val: +"false"'),
                                    ("JSON_IETF", r'json_ietf_val: +"false"'),
                                    ("PROTO", r"bool_val: +false")):
                status, text = asked(agent, "-get", "-proto",
                                     f"path:{{{elems(GUARD)}}} encoding:{encoding}")
                self.assertEqual(status, 0, text)
                self.assertRegex(text, value)

    def test_P6_a_wrong_path_is_refused_by_name(self):
        with running() as agent:
            status, text = asked(agent, "-get", "-proto", f"path:{{{elems('/stp/nope')}}}")
        self.assertNotEqual(status, 0)
        self.assertIn("InvalidArgument", text)
        self.assertIn('"nope" is not in the model', text)

    def test_W2_set(self):
        with running() as agent:
            status, text = asked(agent, "-set", "-proto", "update:{path:{" + elems(VLANS) +
                                 '} val:{json_ietf_val:"[5]"}}')
            self.assertEqual(status, 0, text)
            self.assertRegex(text, r"op: +UPDATE")
            status, text = asked(agent, "-get", "-proto",
                                 f"path:{{{elems(VLANS)}}} encoding:JSON_IETF")
            self.assertRegex(text, r'json_ietf_val: +"\[5\]"')

    def test_S1_once(self):
        with running() as agent:
            status, text = asked(agent, "-query_type", "once", "-query", GUARD)
        self.assertEqual(status, 0, text)
        self.assertRegex(text, '"bpdu-guard": .*false')

    def test_S3_a_stream_tells_what_changes(self):
        with running() as agent, subprocess.Popen(
                [CLI, "-address", agent.addresses[0], "-insecure", "-query_type", "streaming",
                 "-query", GUARD, "-display_type", "proto"], stdout=subprocess.PIPE,
                text=True) as client:
            watchdog = threading.Timer(PATIENCE, client.kill)
            watchdog.start()
            try:
                self.assertTrue(any('"false"' in line for line in client.stdout))
                guard(agent, True)
                self.assertTrue(any('"true"' in line for line in client.stdout))
            finally:
                watchdog.cancel()
                client.kill()

    def test_A4_who_gives_no_name_is_nobody(self):
        with Secured() as secured, secured.agent() as agent:
            secure = ("-ca_crt", secured.certificate)
            status, text = asked(agent, "-get", "-proto", f"path:{{{elems(GUARD)}}}", how=secure)
            self.assertNotEqual(status, 0)
            self.assertIn("Unauthenticated", text)

    def test_A1_plaintext_is_refused_and_so_is_a_certificate_that_nobody_vouches_for(self):
        with Secured() as secured, Secured() as other, secured.agent() as agent:
            for how in (("-insecure",), ("-ca_crt", other.certificate)):
                status, text = asked(agent, "-capabilities", how=how)
                self.assertNotEqual(status, 0, text)


if __name__ == "__main__":
    unittest.main()
