#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The demo server as a process: where it listens, how it ends, how it copes with rude clients.
Environment: QUILLET_DEMO_SERVER (program)."""

import os
import signal
import socket
import ssl
import subprocess
import tempfile
import time
import unittest

SERVER = os.environ["QUILLET_DEMO_SERVER"]


class Server:
    def __init__(self, *arguments):
        self.process = subprocess.Popen([SERVER, *arguments], stdout=subprocess.PIPE, text=True)
        line = self.process.stdout.readline().strip()
        assert line.startswith("listening on 127.0.0.1:"), line
        self.port = int(line.rsplit(":", 1)[1])

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()

    def connect(self):
        link = socket.create_connection(("127.0.0.1", self.port), timeout=20)
        return link, link.makefile("rb")


class TlsServer(Server):
    """With a throw-away authority: `tls_port` speaks TLS from the start, `port` knows STARTTLS."""

    def __init__(self, *arguments):
        self.folder = tempfile.TemporaryDirectory()
        self.authority = os.path.join(self.folder.name, "authority.pem")
        super().__init__(*arguments, "--authority", self.authority, "--tls-port", "0")
        line = self.process.stdout.readline().strip()
        assert line.startswith("TLS on 127.0.0.1:"), line
        self.tls_port = int(line.rsplit(":", 1)[1])

    def __exit__(self, *trouble):
        super().__exit__(*trouble)
        self.folder.cleanup()

    def encrypt(self, link, name="127.0.0.1"):
        link = ssl.create_default_context(cafile=self.authority).wrap_socket(
            link, server_hostname=name)
        return link, link.makefile("rb")


class TlsTest(unittest.TestCase):
    def test_tls_from_the_start_and_a_goodbye_that_is_whole(self):
        with TlsServer("--generate", "2") as server:
            for name in ("127.0.0.1", "localhost"):
                link, lines = server.encrypt(
                    socket.create_connection(("127.0.0.1", server.tls_port), timeout=20), name)
                self.assertEqual(lines.readline()[:4], b"200 ")
                link.sendall(b"CAPABILITIES\r\nQUIT\r\n")
                answer = lines.read()
                self.assertNotIn(b"STARTTLS", answer)
                self.assertTrue(answer.endswith(b"205 Goodbye\r\n"), answer)
                link.close()

    def test_starttls_throws_away_what_came_in_the_clear(self):
        with TlsServer("--generate", "2", "--user", "me", "--password", "secret") as server:
            link, lines = server.connect()
            lines.readline()
            link.sendall(b"CAPABILITIES\r\n")
            while (line := lines.readline()) != b".\r\n":
                last = line
            self.assertEqual(last, b"STARTTLS\r\n")
            link.sendall(b"STARTTLS\r\nAUTHINFO USER me\r\n")
            self.assertEqual(lines.readline()[:4], b"382 ")
            link, lines = server.encrypt(link)
            link.sendall(b"STARTTLS\r\nAUTHINFO PASS secret\r\nAUTHINFO USER me\r\n"
                         b"AUTHINFO PASS secret\r\nDATE\r\n")
            replies = [lines.readline()[:3] for _ in range(5)]
            self.assertEqual(replies, [b"502", b"482", b"381", b"281", b"111"])
            link.close()

    def test_bytes_that_are_no_tls_end_that_client_only(self):
        with TlsServer("--generate", "2") as server:
            for bad in (b"GROUP x\r\n", b"\x16\x03\x01\xff\xff" + b"x" * 70000):
                link = socket.create_connection(("127.0.0.1", server.tls_port), timeout=20)
                link.sendall(bad)
                try:
                    while link.recv(4096):
                        pass
                except ConnectionError:
                    pass
                link.close()
            link, lines = server.connect()
            self.assertEqual(lines.readline()[:4], b"200 ")
            link.close()

    def test_without_an_authority_there_is_no_tls(self):
        with Server("--generate", "1") as server:
            link, lines = server.connect()
            lines.readline()
            link.sendall(b"STARTTLS\r\nDATE\r\n")
            self.assertEqual([lines.readline()[:3], lines.readline()[:3]], [b"502", b"111"])
            link.close()

    def test_an_authority_that_cannot_be_written_is_told(self):
        done = subprocess.run([SERVER, "--generate", "1", "--authority", "/nonexistent/a.pem"],
                              check=False, capture_output=True, text=True, timeout=20)
        self.assertEqual((done.returncode, done.stderr),
                         (1, "quillet-demo-server: /nonexistent/a.pem cannot be written\n"))
        done = subprocess.run([SERVER, "--generate", "1", "--tls-port", "0"], check=False,
                              capture_output=True, text=True, timeout=20)
        self.assertEqual(done.returncode, 2)


class ServerTest(unittest.TestCase):
    def test_it_refuses_to_listen_elsewhere(self):
        done = subprocess.run([SERVER, "--generate", "1", "--address", "0.0.0.0"], check=False,
                              capture_output=True, text=True, timeout=20)
        self.assertEqual(done.returncode, 1)
        self.assertIn("loopback address 127.0.0.1 only", done.stderr)

    def test_wrong_arguments_end_with_2_and_the_usage(self):
        for arguments in ([], ["--generate", "x"], ["--generate", "1", "--articles", "x"],
                          ["--generate", "1", "--port", "65536"], ["--nonsense"]):
            done = subprocess.run([SERVER, *arguments], check=False, capture_output=True,
                                  text=True, timeout=20)
            self.assertEqual((done.returncode, done.stderr[:7]), (2, "usage: "), arguments)

    def test_a_folder_that_is_not_there_is_named(self):
        done = subprocess.run([SERVER, "--articles", "/nonexistent"], check=False,
                              capture_output=True, text=True, timeout=20)
        self.assertEqual((done.returncode, done.stderr),
                         (1, "quillet-demo-server: /nonexistent/groups cannot be read\n"))

    def test_it_ends_with_0_on_sigterm_and_sigint(self):
        for number in (signal.SIGTERM, signal.SIGINT):
            with Server("--generate", "1") as server:
                server.process.send_signal(number)
                self.assertEqual(server.process.wait(timeout=20), 0)

    def test_it_ends_when_its_parent_dies(self):
        shell = subprocess.Popen(
            ["/bin/sh", "-c", '"$0" --generate 1 --die-with-parent & wait', SERVER],
            stdout=subprocess.PIPE, text=True)
        line = shell.stdout.readline()
        self.assertTrue(line.startswith("listening"), line)
        shell.kill()
        shell.wait()
        # The pipe closes when its last writer, the server, is gone.
        self.assertEqual(shell.stdout.read(), "")
        shell.stdout.close()

    def test_many_clients_are_served_at_once(self):
        with Server("--generate", "5") as server:
            clients = [server.connect() for _ in range(20)]
            for link, replies in clients:
                self.assertTrue(replies.readline().startswith(b"200 "))
                link.sendall(b"GROUP bench.alpha\r\n")
            for _, replies in reversed(clients):
                self.assertTrue(replies.readline().startswith(b"211 "))
            for link, replies in clients:
                link.close()
                replies.close()

    def test_a_client_that_takes_no_answers_stops_nobody(self):
        with Server("--generate", "300") as server:
            rude, _replies = server.connect()
            rude.setblocking(False)
            try:
                rude.sendall(b"GROUP bench.alpha\r\n")
                for _ in range(200000):
                    rude.sendall(b"ARTICLE\r\n")
            except BlockingIOError:
                pass
            link, replies = server.connect()
            replies.readline()
            link.sendall(b"DATE\r\nQUIT\r\n")
            self.assertTrue(replies.readline().startswith(b"111 "))
            self.assertTrue(replies.readline().startswith(b"205 "))
            self.assertEqual(replies.readline(), b"")
            for thing in (link, replies, rude, _replies):
                thing.close()

    def test_lock_step_requests_wait_for_nothing(self):
        with Server("--generate", "20") as server:
            link, replies = server.connect()
            replies.readline()
            started = time.monotonic()
            for _ in range(500):
                link.sendall(b"DATE\r\n")
                replies.readline()
            # A reply held back for an acknowledgement would cost 40 ms each.
            self.assertLess(time.monotonic() - started, 10)
            link.close()
            replies.close()


if __name__ == "__main__":
    unittest.main(verbosity=2)
