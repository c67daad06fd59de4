#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The whole program over TLS with a real news server, and over links that fail.

Environment: QUILLET_SCRIPT, QUILLET_SETUP (programs), QUILLET_INN_CACHE (package files).
"""

import os
import re
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path[:0] = [HERE] + [os.path.join(HERE, os.pardir, name) for name in ("scenarios", "support")]

# pylint: disable=wrong-import-position
import certificates  # noqa: E402
import inn_server  # noqa: E402
import quillet_script  # noqa: E402
import side_by_side  # noqa: E402
from link_proxy import LinkProxy, Plan  # noqa: E402

GROUP = "secure.test"
HOST = "localhost"
ARTICLES = 8
IDS = ["<%d@example.org>" % number for number in range(ARTICLES, 0, -1)]
PASSWORD_FILES = []
READERS = """auth "all" {
  hosts: "*"
  auth: "ckpasswd -f %s"
}
access "all" {
  users: "*"
  newsgroups: "*"
}
"""


def stream():
    """What the server is fed with."""
    text = b""
    for number in range(1, ARTICLES + 1):
        message_id = "<%d@example.org>" % number
        text += ("TAKETHIS %s\r\nPath: feed.example.org!not-for-mail\r\nFrom: a@example.org\r\n"
                 "Newsgroups: %s\r\nSubject: Article %d\r\nDate: Sat, 21 Nov 2026 10:00:00 GMT\r\n"
                 "Message-ID: %s\r\n\r\nText %d\r\n%s.\r\n" % (
                     message_id, GROUP, number, message_id, number,
                     ("x" * 70 + "\r\n") * 10)).encode("ascii")
    return text


def login(password):
    """The options of quillet-setup that log in, with the password in a file that goes with this
    process."""
    file = tempfile.NamedTemporaryFile("w", prefix="quillet-password-")
    file.write(password + "\n")
    file.flush()
    PASSWORD_FILES.append(file)
    return "--user", "ann", "--password-file", file.name


class Secure(side_by_side.Test):
    maxDiff = None
    folder = inn = authority = None
    ports = {}
    identities = {}

    def setUp(self):
        self.profile = os.path.join(self.folder, self.id().rsplit(".", maxsplit=1)[-1])

    def run_against(self, port, security, *more, answers=(), values=(), trust=True):
        """One connection of a profile, which is made when it is not there; returns its boxes."""
        if not os.path.exists(self.profile):
            subprocess.run([os.environ["QUILLET_SETUP"], "--profile", self.profile, "--server",
                            HOST, "--port", str(port), "--group", GROUP, "--security", security,
                            *more], check=True, stdout=subprocess.DEVNULL)
        trusted = self.authority.file if trust else "/dev/null"
        with quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], self.profile, timeout=60,
                                    hold=True, env={"SSL_CERT_FILE": trusted,
                                                    "SSL_CERT_DIR": "/nowhere"}) as q:
            for name, value in values:
                q.set_dword(name, value)
            for question, answer in answers:
                q.expect(question, answer)
            q.start()
            q.do("keep-transaction-log on")
            q.connect()
            self.log = q.transaction_log()
            self.chain = q.chain(GROUP)
            self.bodies = [q.article(message_id)["body"] for message_id in self.chain]
        self.assertEqual((q.status, q.failure(), q.errors()), (0, None, ""))
        self.raw_boxes = q.of("box")
        return [(caption, text) for caption, text, _ in q.boxes()]

    def assert_all_there(self):
        self.assertEqual(self.chain, IDS)
        for message_id, body in zip(self.chain, self.bodies):
            self.assertTrue(body.startswith("Text %s\r\n" % message_id[1:].split("@")[0]), body)

    def assert_nothing_sent(self, proxy):
        """Of the session, in the clear."""
        for text in proxy.sent:
            for word in (b"AUTHINFO", b"GROUP", b"MODE", b"POST"):
                self.assertNotIn(word, text)

    @property
    def address(self):
        return self.inn.host


class Certificates(Secure):
    def test_own_authority_from_the_start(self):
        self.assertEqual(self.run_against(self.ports["tls"], "tls"), [])
        self.assert_all_there()
        self.assertIn("#(the connection is encrypted)\r\n20", self.log)

    def test_own_authority_after_starttls(self):
        with LinkProxy((self.address, self.ports["starttls"])) as proxy:
            self.assertEqual(self.run_against(proxy.port, "starttls"), [])
            self.assert_nothing_sent(proxy)
            self.assertTrue(proxy.sent[0].startswith(b"STARTTLS\r\n\x16\x03"), proxy.sent[0][:20])
        self.assert_all_there()
        self.assertIn("\r\nSTARTTLS\r\n382 ", self.log)

    def test_login_goes_out_encrypted(self):
        with LinkProxy((self.address, self.ports["login"])) as proxy:
            boxes = self.run_against(proxy.port, "starttls", *login("secret"),
                                     values=[("Extensions\\retries", 0),
                                             ("Extensions\\loginlater", 0)])
            self.assertEqual(boxes, [])
            self.assert_nothing_sent(proxy)
        self.assertIn("AUTHINFO PASS secret\r\n281 ", self.log)
        self.assert_all_there()

    def test_login_later_where_none_was_set_for_the_greeting(self):
        subprocess.run([os.environ["QUILLET_SETUP"], "--profile", self.profile, "--server", HOST,
                        "--port", str(self.ports["login"]), "--group", GROUP, "--security",
                        "starttls", *login("secret")], check=True,
                       stdout=subprocess.DEVNULL)
        with quillet_script.Quillet(os.environ["QUILLET_SCRIPT"], self.profile, hold=True) as q:
            q.set_numbers("useauths", [0])
            q.do("end")
        self.assertEqual(self.run_against(self.ports["login"], "starttls"), [])
        self.assertRegex(self.log, r"\r\n480 [^\r]*\r\nAUTHINFO USER ann\r\n")
        self.assert_all_there()

    def refused(self, name, sentence):
        """A certificate that proves nothing: the question, and No."""
        with LinkProxy((self.address, self.ports[name])) as proxy:
            boxes = self.run_against(proxy.port, "tls", *login("x"),
                                     answers=[(sentence, "no")])
            self.assert_nothing_sent(proxy)
        fingerprint = self.identities[name].fingerprint()
        self.assertEqual(boxes, [
            ("Quillet confirmation", "%s\r\n\r\nSHA-256 fingerprint:\r\n%s\r\n\r\nTrust this "
             "certificate from now on?" % (sentence, fingerprint))])
        self.assertEqual(self.chain, [])

    def test_wrong_name(self):
        self.refused("wrong", "The certificate of localhost is for mail.example.org.")

    def test_expired(self):
        done = subprocess.run(["openssl", "x509", "-in", self.identities["expired"].certificate,
                               "-noout", "-enddate", "-dateopt", "iso_8601"], check=True,
                              capture_output=True, text=True)
        day = re.search(r"\d{4}-\d\d-\d\d", done.stdout).group()
        self.refused("expired", "The certificate of localhost has expired on %s." % day)

    def test_self_signed(self):
        self.refused("self", "The certificate of localhost is signed by itself, by no authority.")

    def test_trusted_once_it_is_not_asked_about_again_and_another_one_is_refused(self):
        sentence = "The certificate of localhost is signed by itself, by no authority."
        with LinkProxy((self.address, self.ports["self"])) as proxy:
            boxes = self.run_against(proxy.port, "tls", answers=[(sentence, "yes")])
            self.assertEqual([caption for caption, _ in boxes], ["Quillet confirmation"])
            self.assert_all_there()
            self.assertEqual(proxy.connections, 2)
            self.assertEqual(self.run_against(proxy.port, "tls"), [])
            self.assertEqual(proxy.connections, 3)
            # Another server in its place, even one that the authority vouches for.
            proxy.server = (self.address, self.ports["tls"])
            changed = "The certificate of localhost is not the one that was trusted."
            boxes = self.run_against(proxy.port, "tls", answers=[(changed, "ok")])
            self.assertEqual(len(boxes), 1)
            self.assertTrue(boxes[0][1].startswith(changed + "\r\n\r\nSHA-256 fingerprint:\r\n" +
                                                   self.identities["tls"].fingerprint()))
            self.assertEqual(self.raw_boxes[0]["icon"], "exclamation")

    def test_tls_1_0_only(self):
        self.assertEqual(self.run_against(self.ports["old"], "tls"), [
            ("Error log", "localhost offers no version of TLS that is safe enough (TLS 1.2 at "
                          "least).\r\n")])
        self.assertEqual(self.chain, [])

    def test_no_tls_where_it_is_to_start_at_once(self):
        boxes = self.run_against(self.ports["starttls"], "tls")
        self.assertEqual(boxes, [("Error log", "localhost does not speak TLS on this port.\r\n")])


class OnTheWay(Secure):
    @side_by_side.for_each(0, 1, 5, 6, 90, 200, 600)
    def test_cut_in_the_handshake(self, after):
        with LinkProxy((self.address, self.ports["tls"]), Plan(cut_after=after)) as proxy:
            boxes = self.run_against(proxy.port, "tls", *login("x"))
            self.assert_nothing_sent(proxy)
            self.assertEqual(proxy.connections, 1)
        self.assertEqual(boxes, [("Error log", "The connection to localhost ended during the TLS "
                                               "handshake.\r\n")])

    def test_text_injected_after_starttls_is_dropped(self):
        def inject(data):
            return data + b"200 posting allowed\r\n281 welcome\r\n211 1 1 1 x\r\n" * (
                b"382 " in data)
        with LinkProxy((self.address, self.ports["starttls"]), Plan(edit=inject)) as proxy:
            self.assertEqual(self.run_against(proxy.port, "starttls"), [])
            self.assertIn(b"281 welcome", proxy.received[0])
        self.assertNotIn("281 welcome", self.log)
        self.assertNotIn("211 1 1 1", self.log)
        self.assert_all_there()

    def test_starttls_taken_away_sends_nothing(self):
        def strip(data):
            return b"580 no\r\n" if data.startswith(b"382 ") else data
        with LinkProxy((self.address, self.ports["starttls"]), Plan(edit=strip)) as proxy:
            boxes = self.run_against(proxy.port, "starttls", *login("x"))
            self.assertEqual(proxy.sent[0], b"STARTTLS\r\nQUIT\r\n")
        self.assertEqual(boxes, [("Error log",
                                  "The news server offers no STARTTLS: 580 no\r\n")])

    @side_by_side.for_each(("tls", 3000), ("tls", 6000), ("starttls", 4500))
    def test_lost_links_are_made_again(self, security, after):
        with LinkProxy((self.address, self.ports[security]), Plan(cut_after=after)) as proxy:
            boxes = self.run_against(proxy.port, security,
                                     values=[("Extensions\\retries", 1)])
            self.assertEqual(proxy.connections, 2)
        self.assertEqual(boxes, [("Error log", "socket destroyed\r\n")])
        self.assert_all_there()
        # What was there before the loss was not fetched again.
        self.assertLessEqual(self.log.count("BODY\r\n"), ARTICLES + 1)

    @side_by_side.for_each("none", "tls")
    def test_silent_links_are_made_again(self, security):
        port = self.ports["tls"] if security == "tls" else self.inn.port
        with LinkProxy((self.address, port), Plan(stall_after=4000)) as proxy:
            boxes = self.run_against(proxy.port, security, values=[
                ("Extensions\\retries", 1), ("Extensions\\stalllimit", 1)])
            self.assertEqual(proxy.connections, 2)
        self.assertEqual(boxes, [("Error log",
                                  "The news server has not answered for 1 seconds.\r\n")])
        self.assert_all_there()


def start_readers(inn, folder):
    """One reader for every certificate that there is a test of."""
    authority = certificates.Authority(folder)
    Secure.authority = authority
    good = authority.sign("good", HOST)
    identities = {"tls": good, "starttls": good, "login": good, "old": good,
                  "wrong": authority.sign("wrong", "mail.example.org"),
                  "expired": authority.sign("expired", HOST, days=0),
                  "self": authority.self_signed("self", HOST)}
    hashed = subprocess.run(["openssl", "passwd", "-6", "secret"], check=True, capture_output=True,
                            text=True).stdout.strip()
    inn.write("etc/news/passwords", "ann:%s\n" % hashed)
    os.chmod(inn.path("etc/news/passwords"), 0o644)
    more = {"old": {"tlsprotocols": "[ TLSv1 ]", "tlsciphers": "DEFAULT@SECLEVEL=0"}}
    for name, identity in identities.items():
        arguments = () if name in ("starttls", "login") else ("-S",)
        readers = READERS % inn.path("etc/news/passwords") if name == "login" else None
        Secure.ports[name] = inn.secured_reader(name, identity, *arguments, readers=readers,
                                                **more.get(name, {}))
    Secure.identities = identities


def main():
    with tempfile.TemporaryDirectory(prefix="quillet-inn-secure-") as folder, \
            inn_server.InnServer(os.environ["QUILLET_INN_CACHE"], [GROUP]) as inn:
        inn.feed(stream())
        Secure.folder, Secure.inn = folder, inn
        start_readers(inn, folder)
        side_by_side.main()


if __name__ == "__main__":
    main()
