#!/usr/bin/python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Pictures of a profile that nobody has configured. Usage: screenshot_test.py QUILLET-SCREENSHOT"""

import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

PROGRAM = sys.argv.pop(1)


class EmptyProfile(unittest.TestCase):
    def test_the_greeting_is_put_away_and_the_window_drawn(self):
        with tempfile.TemporaryDirectory() as folder:
            done = subprocess.run(
                [PROGRAM, "--profile", folder + "/profile", "--out", folder, "--size", "240x320"],
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, timeout=60, check=False,
                env=dict(os.environ, HOME=folder, XDG_RUNTIME_DIR=folder))
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            names = ["window-240x320-dark.png", "window-240x320-light.png"]
            self.assertEqual(sorted(path.name for path in pathlib.Path(folder).glob("*.png")), names)
            for name in names:
                head = (pathlib.Path(folder) / name).read_bytes()[:24]
                self.assertEqual(struct.unpack(">II", head[16:]), (240, 320))


if __name__ == "__main__":
    unittest.main()
