#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Downloads 20,000 articles with the whole program and compares the speed with others' in one run.

usage: download.py BUILD-FOLDER INN-CACHE-FOLDER [--articles N] [--rounds N]

Against a stock INN and against the demo server, both on loopback: the program with its window
(offscreen), the program behind its scripted front, and a bare client that sends the same commands
and throws the text away; the window over TLS against the demo server; and slrnpull against INN. A connection is measured from the outside, from
the moment the client is connected until the server has closed after QUIT, so every client is
measured alike. Rounds alternate between the clients; the best of each counts, since anything else
that runs on the machine only makes a run slower.
"""

import argparse
import os
import shutil
import signal
import sqlite3
import struct
import subprocess
import sys
import tempfile
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, os.path.join(ROOT, "tests", "inn"))

import inn_server  # noqa: E402  pylint: disable=wrong-import-position

GROUP = "bench.feed"
SEED = 11
PULLED = 1500          # slrnpull is slow: its rate is taken from this many articles
CONNECTED = "01"
# The demo server answers at once: there the time is the program's own.
BARE_TARGET = {"stock INN": 0.85, "demo server": 0.65}
SLRNPULL_TARGET, MEMORY_TARGET = 10, 1.05
TLS_TARGET = 0.8       # of the same over plain TCP


def connections(port):
    """States of the client ends of connections to that local port."""
    wanted = "0100007F:%04X" % port
    with open("/proc/net/tcp", encoding="ascii") as file:
        rows = [line.split() for line in file]
    return [row[3] for row in rows[1:] if row[2] == wanted]


def resident_kilobytes(process_id):
    try:
        with open("/proc/%d/statm" % process_id, encoding="ascii") as file:
            return int(file.read().split()[1]) * os.sysconf("SC_PAGESIZE") // 1024
    except (OSError, IndexError):
        return 0


def last_downloaded(profile):
    try:
        with sqlite3.connect("file:%s/registry.db?mode=ro" % profile, uri=True) as database:
            row = database.execute(
                "SELECT data FROM registry_value WHERE folded = 'lastdownloaded'").fetchone()
        return struct.unpack("<I", row[0][:4])[0] if row else 0
    except sqlite3.Error:
        return 0


class Run:
    """What one client's connection took."""

    def __init__(self):
        self.seconds = 0.0
        self.memory_early = 0   # resident kilobytes around the 1,000th article
        self.memory_late = 0    # and at the last


def measure(process, port, profile=None, limit=900):
    """Watches the connection of a client that was just started."""
    run, started, give_up = Run(), None, time.monotonic() + limit
    looked = 0.0
    while time.monotonic() < give_up:
        now = time.monotonic()
        connected = CONNECTED in connections(port)
        if connected and started is None:
            started = now
        elif started is not None and not connected:
            run.seconds = now - started
            return run
        elif started is None and process.poll() is not None:
            break
        if profile and now - looked > 0.05:
            looked = now
            memory = resident_kilobytes(process.pid)
            run.memory_late = memory or run.memory_late
            if not run.memory_early and last_downloaded(profile) >= 1000:
                run.memory_early = memory
        time.sleep(0.002)
    process.kill()
    raise SystemExit("the client did not finish: %s" % " ".join(process.args))


class Bench:
    def __init__(self, build, cache, articles):
        self.build = build
        self.cache = cache
        self.articles = articles
        self.folder = tempfile.mkdtemp(prefix="quillet-bench-")

    def program(self, name):
        return os.path.join(self.build, name)

    def start(self, *command, **options):
        return subprocess.Popen(list(command), stdout=subprocess.DEVNULL, **options)

    def make_profile(self, port, security="none"):
        profile = os.path.join(self.folder, "profile")
        shutil.rmtree(profile, ignore_errors=True)
        subprocess.run(
            [self.program("setup/quillet-setup"), "--profile", profile, "--server", "127.0.0.1",
             "--port", str(port), "--group", GROUP, "--number", "maxarticles=1000000", "--number",
             "maxarticlesize=128", "--number", "maxstore=100", "--security", security],
            check=True, stdout=subprocess.DEVNULL)
        return profile

    def check_complete(self, profile):
        if last_downloaded(profile) != self.articles:
            raise SystemExit("only %d of %d articles were reached" %
                             (last_downloaded(profile), self.articles))

    def bare(self, port):
        process = self.start(self.program("bench/bare_client"), "127.0.0.1", str(port), GROUP)
        run = measure(process, port)
        if process.wait() != 0:
            raise SystemExit("the bare client failed")
        return run

    @property
    def authority(self):
        """The demo server's, which the client over TLS trusts."""
        return os.path.join(self.folder, "authority.pem")

    def window(self, port, security="none"):
        profile = self.make_profile(port, security)
        process = self.start(self.program("qt/quillet"), "--profile", profile, "AppRunAtTime",
                             env=dict(os.environ, QT_QPA_PLATFORM="offscreen",
                                      SSL_CERT_FILE=self.authority))
        run = measure(process, port, profile)
        time.sleep(3)   # it takes its time to close the connection
        process.send_signal(signal.SIGTERM)
        process.wait(timeout=60)
        self.check_complete(profile)
        return run

    def script(self, port):
        profile = self.make_profile(port)
        process = self.start(self.program("script/quillet-script"), "--profile", profile,
                             "--timeout", "900", stdin=subprocess.PIPE)
        process.stdin.write(b"command 40008\nwait\nclose\n")
        process.stdin.close()
        run = measure(process, port, profile)
        if process.wait(timeout=60) != 0:
            raise SystemExit("the scripted run failed")
        self.check_complete(profile)
        return run

    def slrnpull(self, port):
        folder = os.path.join(self.folder, "pull")
        shutil.rmtree(folder, ignore_errors=True)
        os.makedirs(os.path.join(folder, "news"))
        with open(os.path.join(folder, "slrnpull.conf"), "w", encoding="ascii") as file:
            file.write("default %d 0 0\n%s %d 0 0\n" % (PULLED, GROUP, PULLED))
        process = self.start("slrnpull", "-d", folder, "-h", "127.0.0.1:%d" % port, "--no-post",
                             stderr=subprocess.DEVNULL)
        run = measure(process, port)
        process.wait(timeout=60)
        spool = os.path.join(folder, "news", *GROUP.split("."))
        self.pulled = len([name for name in os.listdir(spool) if name.isdigit()])
        return run

    def best(self, clients, port, rounds):
        """{name: Run} with the shortest of each client's runs."""
        found = {}
        for number in range(rounds):
            for name, client in clients.items():
                run = client(port)
                print("    round %d, %-8s %7.2f s  %6.0f articles/s" %
                      (number + 1, name, run.seconds, self.articles / run.seconds), flush=True)
                if name not in found or run.seconds < found[name].seconds:
                    found[name] = run
        return found


def verdict(value, good):
    return "%s %s" % (value, "ok" if good else "MISSED")


def tell(title, found, articles):
    """Prints the ratios; whether all targets were met."""
    print("  %s:" % title)
    target = BARE_TARGET[title]
    met = True
    for name in ("window", "script"):
        run = found[name]
        ratio = found["bare"].seconds / run.seconds
        growth = run.memory_late / max(run.memory_early, 1)
        # The scripted front keeps every text it reported, so its memory says nothing.
        flat = growth <= MEMORY_TARGET or name == "script"
        met = met and ratio >= target and flat
        print("    %-7s %6.0f articles/s = %s of the bare client's %.0f (target %.2f)" % (
            name, articles / run.seconds, verdict("%.2f" % ratio, ratio >= target),
            articles / found["bare"].seconds, target))
        if name == "window":
            print("            resident %d KB at the 1,000th article, %d KB at the last: %s "
                  "(target flat, %.2f)" % (run.memory_early, run.memory_late,
                                           verdict("%.2f" % growth, flat), MEMORY_TARGET))
    return met


def run_inn(bench, stream, rounds):
    clients = {"bare": bench.bare, "window": bench.window, "script": bench.script}
    with inn_server.InnServer(bench.cache, [GROUP]) as inn:
        inn.feed(stream)
        print("  stock INN, %d articles, %.1f MB" % (bench.articles, len(stream) / 1e6))
        found = bench.best(clients, inn.port, rounds)
        pull = bench.slrnpull(inn.port)
    met = tell("stock INN", found, bench.articles)
    pull_rate = bench.pulled / pull.seconds
    ratio = bench.articles / found["window"].seconds / pull_rate
    print("    slrnpull %5.0f articles/s (%d articles); window is %s times as fast (target %d)" % (
        pull_rate, bench.pulled, verdict("%.1f" % ratio, ratio >= SLRNPULL_TARGET),
        SLRNPULL_TARGET))
    return met and ratio >= SLRNPULL_TARGET


def tell_tls(found, articles):
    ratio = found["window"].seconds / found["tls"].seconds
    print("    over TLS %5.0f articles/s = %s of the window's %.0f over plain TCP (target %.2f)" % (
        articles / found["tls"].seconds, verdict("%.2f" % ratio, ratio >= TLS_TARGET),
        articles / found["window"].seconds, TLS_TARGET))
    return ratio >= TLS_TARGET


def run_demo_server(bench, rounds):
    server = subprocess.Popen(
        [bench.program("demo/quillet-demo-server"), "--generate", str(bench.articles), "--seed",
         str(SEED), "--group", GROUP, "--authority", bench.authority, "--tls-port", "0",
         "--die-with-parent"], stdout=subprocess.PIPE, text=True)
    try:
        port, tls_port = (int(server.stdout.readline().rsplit(":", 1)[1]) for _ in range(2))
        clients = {"bare": bench.bare, "window": bench.window, "script": bench.script,
                   "tls": lambda _: bench.window(tls_port, "tls")}
        print("  demo server, %d articles" % bench.articles)
        found = bench.best(clients, port, rounds)
        met = tell("demo server", found, bench.articles)
        return tell_tls(found, bench.articles) and met
    finally:
        server.terminate()
        server.wait()


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n")[2][7:])
    parser.add_argument("build")
    parser.add_argument("cache")
    parser.add_argument("--articles", type=int, default=20000)
    parser.add_argument("--rounds", type=int, default=3)
    options = parser.parse_args()
    bench = Bench(os.path.abspath(options.build), os.path.abspath(options.cache), options.articles)
    print("download:")
    try:
        path = os.path.join(bench.folder, "stream")
        subprocess.run([bench.program("demo/quillet-demo-generate"), "--seed", str(SEED), "--count",
                        str(options.articles), "--group", GROUP, "--stream", path], check=True)
        with open(path, "rb") as file:
            stream = file.read()
        met = run_inn(bench, stream, options.rounds)
        met = run_demo_server(bench, options.rounds) and met
    finally:
        shutil.rmtree(bench.folder, ignore_errors=True)
    sys.exit(0 if met else 1)


if __name__ == "__main__":
    main()
