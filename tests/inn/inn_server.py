#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""A stock INN news server for tests: private folder, loopback, unprivileged user, own ports.

The server comes from Debian's package, unpacked below the private folder; nothing is installed.
Its configuration is the package's own with the paths moved, so that its sockets, its storage and
its caches behave as on any Debian machine. Run as root it becomes the user "news", otherwise it
runs as the user who starts it.

    with InnServer(cache_folder, groups) as inn:
        inn.feed(stream_bytes)         # TAKETHIS commands with their articles
        ...connect a reader to inn.host, inn.port...
"""

import grp
import os
import pwd
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import threading
import time

# Unpacked, not installed. What they need besides comes with LIBRARY_PACKAGES.
SERVER_PACKAGES = ("inn2", "inn2-inews", "libcanlock3")
LIBRARY_PACKAGES = ("libperl5.36", "libpython3.11", "libdb5.3", "libsasl2-2", "libssl3",
                    "libsystemd0", "zlib1g", "libsqlite3-0", "libpam0g")
HOST = "127.0.0.1"
PATHHOST = "server.example.net"

# Set in inn.conf besides the paths. The first two say who and where the server is. Articles of any
# age are taken, since the generated ones are dated in the past; and a busy test machine is no
# reason to refuse a reader.
SETTINGS = {
    "domain": "example.net",
    "bindaddress": HOST,
    "artcutoff": "0",
    "nnrpdloadlimit": "0",
}
PATHS = {
    "pathnews": "usr/lib/news",
    "pathbin": "usr/lib/news/bin",
    "pathcontrol": "usr/lib/news/bin/control",
    "pathetc": "etc/news",
    "pathfilter": "etc/news/filter",
    "pathdb": "db",
    "pathhttp": "http",
    "pathlog": "log",
    "pathrun": "run",
    "pathspool": "spool",
    "patharchive": "spool/archive",
    "patharticles": "spool/articles",
    "pathincoming": "spool/incoming",
    "pathoutgoing": "spool/outgoing",
    "pathoverview": "spool/overview",
    "pathtmp": "spool/incoming/tmp",
}
SYSTEM_GROUPS = ("control", "control.cancel", "control.checkgroups", "control.newgroup",
                 "control.rmgroup", "junk")


class InnError(Exception):
    """The server cannot be had or does not work."""


def fetch_packages(cache):
    """The package files, downloaded into the cache folder once."""
    os.makedirs(cache, exist_ok=True)
    files = []
    for package in SERVER_PACKAGES:
        found = [name for name in sorted(os.listdir(cache))
                 if name.startswith(package + "_") and name.endswith(".deb")]
        if not found:
            done = subprocess.run(["apt-get", "download", package], cwd=cache, text=True,
                                  stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            found = [name for name in sorted(os.listdir(cache))
                     if name.startswith(package + "_") and name.endswith(".deb")]
            if done.returncode != 0 or not found:
                raise InnError("cannot download %s: %s" % (package, done.stdout.strip()))
        files.append(os.path.join(cache, found[-1]))
    return files


def free_port():
    with socket.socket() as probe:
        probe.bind((HOST, 0))
        return probe.getsockname()[1]


def wait_for_greeting(port, process, seconds=60):
    """True when something on the port greets as a news server."""
    end = time.monotonic() + seconds
    while time.monotonic() < end and process.poll() is None:
        try:
            with socket.create_connection((HOST, port), timeout=5) as probe:
                if probe.recv(3) in (b"200", b"201"):
                    return True
        except OSError:
            pass
        time.sleep(0.05)
    return False


def wait_for_listener(port, process, seconds=60):
    """True when something listens on the port."""
    end = time.monotonic() + seconds
    while time.monotonic() < end and process.poll() is None:
        try:
            socket.create_connection((HOST, port), timeout=5).close()
            return True
        except OSError:
            time.sleep(0.05)
    return False


class InnServer:
    """The two processes: innd takes the feed, nnrpd serves readers on `port`. Further keywords are
    settings of inn.conf; `moderated` groups' posts go by mail to the file `moderated_mail`."""

    def __init__(self, cache, groups, moderated=(), **settings):
        self.host = HOST
        self.moderated = set(moderated)
        self.settings = settings
        self.port = 0
        self.feed_port = 0
        self.groups = list(groups)
        self.processes = []
        self.root = None
        self.cache = cache
        self.user = pwd.getpwnam("news") if os.geteuid() == 0 else pwd.getpwuid(os.geteuid())

    def __enter__(self):
        try:
            self.start()
        except BaseException:
            self.stop()
            raise
        return self

    def __exit__(self, *_):
        self.stop()

    def path(self, *parts):
        return os.path.join(self.root, *parts)

    # -- preparing ---------------------------------------------------------------------------

    def prepare(self):
        self.root = tempfile.mkdtemp(prefix="quillet-inn-")
        for package in fetch_packages(self.cache):
            subprocess.run(["dpkg", "-x", package, self.root], check=True)
        for folder in PATHS.values():
            os.makedirs(self.path(folder), exist_ok=True)
        self.write_settings()
        self.write_groups()
        self.write_moderation()
        if os.geteuid() == 0:
            self.give_to_user()
        self.run_tool("makedbz", "-i", "-o")

    def write_settings(self):
        with open(self.path("etc/news/inn.conf"), encoding="utf-8") as file:
            text = file.read()
        values = {name: self.path(folder) for name, folder in PATHS.items()}
        values.update(SETTINGS)
        values.update(self.settings)
        values["mta"] = '"%s %%s"' % self.path("mta")
        values["port"] = str(self.feed_port)
        values["mailcmd"] = "/bin/true"
        values["runasuser"] = self.user.pw_name
        values["runasgroup"] = grp.getgrgid(self.user.pw_gid).gr_name
        for name, value in values.items():
            text = re.sub(r"(?m)^%s:.*\n" % name, "", text)
            text += "%s: %s\n" % (name, value)
        self.write("etc/news/inn.conf", text)
        self.write("etc/news/newsfeeds", "ME:!*::\n")
        self.write("etc/news/incoming.conf",
                   'streaming: true\nmax-connections: 8\npeer ME {\n  hostname: "%s"\n}\n' % HOST)

    def write_groups(self):
        active = ""
        for name in (*SYSTEM_GROUPS, *self.groups):
            flag = "n" if name in SYSTEM_GROUPS else "m" if name in self.moderated else "y"
            active += "%s 0000000000 0000000001 %s\n" % (name, flag)
        self.write("db/active", active)
        self.write("db/active.times", "")
        self.write("db/newsgroups", "".join("%s\tA test group\n" % g for g in self.groups))
        self.write("db/history", "")

    def write_moderation(self):
        """What goes to a moderator is kept in a file instead of being mailed."""
        self.write("etc/news/moderators", "*:moderator@example.net\n")
        self.write("mta", "#!/bin/sh\ncat >> '%s'\n" % self.moderated_mail)
        os.chmod(self.path("mta"), 0o755)

    @property
    def moderated_mail(self):
        return self.path("run/moderated")

    def write(self, name, text):
        with open(self.path(name), "w", encoding="utf-8") as file:
            file.write(text)

    def give_to_user(self):
        os.chown(self.root, self.user.pw_uid, self.user.pw_gid)
        for folder, names, files in os.walk(self.root):
            for name in names + files:
                os.chown(os.path.join(folder, name), self.user.pw_uid, self.user.pw_gid,
                         follow_symlinks=False)

    # -- processes ---------------------------------------------------------------------------

    def environment(self, configuration="inn.conf"):
        libraries = [self.path("usr/lib/news")]
        for folder, _, files in os.walk(self.path("usr/lib")):
            if any(name.startswith("libcanlock.so") for name in files):
                libraries.append(folder)
        return {
            "PATH": self.path("usr/lib/news/bin") + ":/usr/bin:/bin",
            "LD_LIBRARY_PATH": ":".join(libraries),
            "INNCONF": self.path("etc/news", configuration),
            "PERL5LIB": self.path("usr/share/perl5"),
            "LC_ALL": "C",
            "TMPDIR": self.path("spool/incoming/tmp"),
        }

    def identity(self):
        if os.geteuid() != 0:
            return {}
        return {"user": self.user.pw_uid, "group": self.user.pw_gid, "extra_groups": []}

    def run_tool(self, name, *arguments):
        done = subprocess.run([self.path("usr/lib/news/bin", name), *arguments], text=True,
                              cwd=self.root, env=self.environment(), stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, check=False, **self.identity())
        if done.returncode != 0:
            raise InnError("%s failed: %s" % (name, done.stdout.strip()))

    def spawn(self, name, *arguments, configuration="inn.conf"):
        log = open(self.path("log", name + ".out"), "ab")  # pylint: disable=consider-using-with
        process = subprocess.Popen(  # pylint: disable=consider-using-with
            [self.path("usr/lib/news/bin", name), *arguments], cwd=self.root,
            env=self.environment(configuration), stdin=subprocess.DEVNULL, stdout=log,
            stderr=subprocess.STDOUT, start_new_session=True, **self.identity())
        log.close()
        self.processes.append(process)
        return process

    def start(self):
        self.feed_port = free_port()
        self.prepare()
        innd = self.spawn("innd", "-f", "-P", str(self.feed_port))
        if not wait_for_greeting(self.feed_port, innd):
            raise InnError("innd does not answer: " + self.logs())
        self.start_reader()

    def start_reader(self):
        self.port = self.another_reader()

    def another_reader(self, *arguments):
        """The port of one more nnrpd, with further arguments."""
        port = free_port()
        nnrpd = self.spawn("nnrpd", "-D", "-f", "-4", HOST, "-p", str(port), *arguments)
        if not wait_for_greeting(port, nnrpd):
            raise InnError("nnrpd does not answer: " + self.logs())
        return port

    def secured_reader(self, name, identity, *arguments, readers=None, **settings):
        """The port of a reader with that certificate (see certificates.py), which speaks TLS after
        STARTTLS, or from the start with the argument "-S". `readers` is its readers.conf."""
        with open(self.path("etc/news/inn.conf"), encoding="utf-8") as file:
            text = file.read()
        for kind, source in (("cert", identity.certificate), ("key", identity.key)):
            own = self.path("etc/news", "%s.%s.pem" % (name, kind))
            shutil.copyfile(source, own)
            os.chmod(own, 0o600)
            os.chown(own, self.user.pw_uid, self.user.pw_gid)
            settings["tls%sfile" % kind] = own
        settings["tlscapath"] = self.path("etc/news")
        for setting, value in settings.items():
            text = re.sub(r"(?m)^%s:.*\n" % setting, "", text) + "%s: %s\n" % (setting, value)
        self.write("etc/news/%s.conf" % name, text)
        os.chmod(self.path("etc/news/%s.conf" % name), 0o644)
        if readers is not None:
            self.write("etc/news/%s.readers" % name, readers)
            os.chmod(self.path("etc/news/%s.readers" % name), 0o644)
            arguments += ("-c", self.path("etc/news/%s.readers" % name))
        port = free_port()
        nnrpd = self.spawn("nnrpd", "-D", "-f", "-4", HOST, "-p", str(port), *arguments,
                           configuration="%s.conf" % name)
        if not wait_for_listener(port, nnrpd):
            raise InnError("nnrpd does not answer: " + self.logs())
        return port

    def reader_without_posting(self):
        """The port of a reader that greets with 201."""
        self.write("etc/news/readonly.conf",
                   'auth "all" {\n  hosts: "*"\n  default: "<all>"\n}\n'
                   'access "all" {\n  users: "<all>"\n  newsgroups: "*"\n  access: "R"\n}\n')
        os.chmod(self.path("etc/news/readonly.conf"), 0o644)
        return self.another_reader("-c", self.path("etc/news/readonly.conf"))

    def logs(self):
        texts = []
        for folder, _, files in os.walk(self.path("log")):
            for name in sorted(files):
                with open(os.path.join(folder, name), "rb") as file:
                    text = file.read()[-2000:].decode("latin-1").strip()
                if text:
                    texts.append("%s: %s" % (name, text))
        return "\n".join(texts) or "(no logs)"

    def stop(self):
        """Ends the processes, each with the children it made for its clients."""
        if self.processes:
            # The innd of this version waits in select through a SIGTERM; this wakes it.
            self.ask_to_shut_down()
        for process in reversed(self.processes):
            end_session(process)
        self.processes = []
        if self.root:
            shutil.rmtree(self.root, ignore_errors=True)
            self.root = None

    def ask_to_shut_down(self):
        try:
            self.run_tool("ctlinnd", "-s", "-t", "10", "shutdown", "test over")
        except InnError:
            pass  # it may have ended already; what is left is ended by its id

    # -- feeding -----------------------------------------------------------------------------

    def feed(self, stream):
        """Sends TAKETHIS commands with their articles; every one must be accepted."""
        wanted = len(re.findall(rb"(?m)^TAKETHIS <", stream))
        with socket.create_connection((HOST, self.feed_port), timeout=120) as link:
            replies = link.makefile("rb")
            self.expect(replies.readline(), b"20")
            link.sendall(b"MODE STREAM\r\n")
            self.expect(replies.readline(), b"203")
            self.send_and_count(link, replies, stream, wanted)
            link.sendall(b"QUIT\r\n")

    def send_and_count(self, link, replies, stream, wanted):
        sender = threading.Thread(target=link.sendall, args=(stream,), daemon=True)
        sender.start()
        for _ in range(wanted):
            self.expect(replies.readline(), b"239")
        sender.join()

    @staticmethod
    def expect(line, code):
        if not line.startswith(code):
            raise InnError("the server said %r, expected %s" % (line, code.decode()))


def end_session(process, seconds=20):
    """Ends a process that was started as the leader of its own session, and what it started."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        try:
            os.killpg(process.pid, number)
        except ProcessLookupError:
            pass
        try:
            process.wait(timeout=seconds)
            break
        except subprocess.TimeoutExpired:
            continue
    try:
        os.killpg(process.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass


def main():
    """Fetches the packages, or feeds one stream file and serves it until standard input ends."""
    if len(sys.argv) == 3 and sys.argv[1] == "--fetch":
        fetch_packages(sys.argv[2])
        return
    if len(sys.argv) < 4:
        sys.exit("usage: inn_server.py --fetch CACHE-FOLDER\n"
                 "       inn_server.py CACHE-FOLDER STREAM-FILE GROUP...")
    with InnServer(sys.argv[1], sys.argv[3:]) as inn, open(sys.argv[2], "rb") as stream:
        started = time.monotonic()
        inn.feed(stream.read())
        print("fed in %.1f s; readers on %s:%d" % (time.monotonic() - started, inn.host, inn.port),
              flush=True)
        sys.stdin.read()


if __name__ == "__main__":
    main()
