# SPDX-License-Identifier: GPL-3.0-or-later
"""An installed tree in use: private folders of a user, a news server, the programs."""

import os
import pathlib
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent / "scenarios"))

# pylint: disable=wrong-import-position
import quillet_script  # noqa: E402

LIMIT = 60  # seconds; only a hang takes so long


def run(*words, **more):
    done = subprocess.run(words, check=False, text=True, errors="replace",
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=300, **more)
    if done.returncode != 0:
        raise AssertionError("%s: %d\n%s" % (words, done.returncode, done.stdout))
    return done.stdout


class Home:
    """The folders of a user who has never run the program."""

    # Of the toolkit's libraries, which keep what they know of fonts.
    OTHERS = (".cache/fontconfig", ".cache/mesa_shader_cache")

    def __enter__(self):
        self._folder = tempfile.TemporaryDirectory(prefix="quillet-home-")
        self.path = pathlib.Path(self._folder.name)
        (self.path / "home").mkdir()
        (self.path / "run").mkdir(mode=0o700)
        return self

    def __exit__(self, *_):
        self._folder.cleanup()

    def environment(self, **more):
        """Nothing of this machine's desktop; a name with the value None is not set."""
        kept = {name: value for name, value in os.environ.items()
                if name in ("PATH", "TMPDIR") or name.endswith("SAN_OPTIONS")}
        set_here = {"HOME": str(self.path / "home"), "XDG_RUNTIME_DIR": str(self.path / "run"),
                    "LC_ALL": "C.UTF-8", "QT_QPA_PLATFORM": "offscreen",
                    "DBUS_SESSION_BUS_ADDRESS": "unix:path=%s/no-bus" % self.path}
        return {name: value for name, value in {**kept, **set_here, **more}.items()
                if value is not None}

    def files(self):
        home = self.path / "home"
        return {str(path.relative_to(home)) for path in home.rglob("*") if path.is_file()}

    def files_of_others(self):
        """Those that are in neither of the program's folders."""
        own = (".config/quillet/", ".local/share/quillet/", *self.OTHERS)
        return {name for name in self.files() if not name.startswith(own)}


class DemoServer:
    """The demonstration's news server of the build folder, with twelve articles."""

    GROUP = "bench.alpha"

    def __init__(self, build):
        self._program = build / "demo/quillet-demo-server"

    def __enter__(self):
        self._process = subprocess.Popen(
            [self._program, "--generate", "12", "--group", self.GROUP, "--die-with-parent"],
            stdout=subprocess.PIPE, text=True)
        self.port = int(self._process.stdout.readline().rsplit(":", 1)[1])
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()


class Screen:
    """An X server in memory; `display` names it."""

    def __enter__(self):
        read, write = os.pipe()
        self._process = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write), "-screen", "0", "800x600x24", "-nolisten", "tcp"],
            pass_fds=[write], stderr=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as number:
            self.display = ":" + number.readline().strip()
        return self

    def __exit__(self, *_):
        self._process.terminate()  # it removes its lock and socket
        self._process.wait(LIMIT)


class Window:
    """One run of the program with its window."""

    def __init__(self, program, environment, arguments):
        self._command = [program, *arguments]
        self._environment = environment
        self._process = subprocess.Popen(self._command, env=environment, stdin=subprocess.DEVNULL,
                                         stdout=subprocess.PIPE, stderr=subprocess.PIPE)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._process.kill()
        self._process.wait()
        self._process.stdout.close()
        self._process.stderr.close()

    def wait_until_it_answers(self):
        """A second start hands over to this one; before this one listens it would be the first."""
        end = time.monotonic() + LIMIT
        folder = "/proc/%d/fd" % self._process.pid
        while time.monotonic() < end:
            if self._process.poll() is not None:
                raise AssertionError("ended with %d: %s" % (self._process.returncode,
                                                            self._process.stderr.read()))
            if any("Quillet articles.gdb" in target for target in targets_of(folder)):
                subprocess.run(self._command, env=self._environment, check=True, timeout=LIMIT,
                               stderr=subprocess.DEVNULL)
                return
            time.sleep(0.05)
        raise AssertionError("it has not opened its databases")

    def end(self, number):
        """(exit status, what stood on standard error but for what a display without a screen lacks)."""
        self._process.send_signal(number)
        _, said = self._process.communicate(timeout=LIMIT)
        lines = said.decode(errors="replace").splitlines()
        return self._process.returncode, "\n".join(
            line for line in lines if not line.startswith("quillet: This plugin does not support "))


def targets_of(folder):
    for entry in os.listdir(folder):
        try:
            yield os.readlink(os.path.join(folder, entry))
        except OSError:
            pass  # closed meanwhile


class InstalledTree:
    def __init__(self, prefix):
        self.prefix = pathlib.Path(prefix)

    def program(self, name):
        return self.prefix / "bin" / name

    def script(self, home, **more):
        return quillet_script.Quillet(self.program("quillet-script"), options=("--xdg",),
                                      wrapper=exact_environment(home.environment()), **more)

    def window(self, home, *arguments, **environment):
        return Window(self.program("quillet"), home.environment(**environment), arguments)


def exact_environment(environment):
    """Words in front of a command that give it this environment and no other."""
    return ("env", "-i", *("%s=%s" % one for one in environment.items()))
