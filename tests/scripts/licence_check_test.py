# SPDX-License-Identifier: GPL-3.0-or-later
"""The check of the licence lines, on a small tree in a folder of its own."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
SCRIPT = TREE / 'scripts/licence.py'
LINE = 'SPDX-License-Identifier: ' + 'GPL-3.0-or-later'
CLEAN = {
    'util/text.h': '// %s\n// What it is.\n#pragma once\n',
    'util/text.cpp': '// %s\n',
    'util/CMakeLists.txt': '# %s\n',
    'cmake/All.cmake': '# %s\n',
    'scripts/check': '#!/usr/bin/env bash\n# %s\n',
    'scripts/common.sh': '# %s\n',
    'tests/one_test.py': '#!/usr/bin/python3\n# %s\n"""What it is."""\n',
    'tests/two.py': '# %s\n',
    'res/form.ui': '<?xml version="1.0"?>\n<!-- %s -->\n<ui/>\n',
    'qt/icons.qrc': '<!-- %s -->\n<RCC/>\n',
    'packaging/a.bash': '# %s\n',
    'packaging/a.fish': '# %s\n',
    'packaging/a.zsh': '#compdef a\n# %s\n',
}
# No sources, or none of ours.
OTHERS = ('README.md', 'res/icon.svg', 'docs/a.png', 'debian/copyright', 'packaging/list.txt',
          'demo/articles/a.h', 'tests/data/a.cpp', 'tests/fuzz/corpus/html/a.py', 'build/x/a.cpp',
          'out/a.cpp', '.ci/run.sh', 'groups')
WRONG = ('// %s \n', '//%s\n', ' // %s\n', '\n// %s\n', '# %s\n', '// %s or more\n', '// x %s\n', '// %s\r\n')


class LicenceCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='quillet-licence-')
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        for name, text in CLEAN.items():
            self.write(name, text)
        for name in OTHERS:
            self.write(name, 'nothing\n')

    def write(self, name, text):
        path = self.root / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text.replace('%s', LINE).encode())

    def check(self, *names):
        done = subprocess.run([sys.executable, '-B', SCRIPT, self.root, *names], check=False,
                              stdout=subprocess.PIPE, text=True, timeout=60)
        return done.returncode, done.stdout

    def found(self, *names):
        return ['%s: its first line is not "%s"' % (name, LINE) for name in names]

    def test_a_tree_in_which_all_sources_have_the_line_is_clean(self):
        self.assertEqual(self.check(), (0, ''))

    def test_each_kind_of_source_without_it_is_found(self):
        for name in CLEAN:
            self.write(name, CLEAN[name].replace('%s', 'nothing'))
        self.assertEqual(self.check(), (1, '\n'.join(self.found(*sorted(CLEAN))) + '\n'))

    def test_only_the_exact_line_in_its_place_counts(self):
        for text in WRONG:
            self.write('util/odd.cpp', text)
            self.assertEqual(self.check(), (1, self.found('util/odd.cpp')[0] + '\n'), text)
        self.write('util/odd.cpp', '')
        self.assertEqual(self.check()[0], 1)
        self.write('scripts/check', '# %s\n#!/usr/bin/env bash\n')  # a program no more
        self.write('util/odd.cpp', '// %s\n')
        self.assertEqual(self.check()[0], 0)

    def test_named_files_alone_are_looked_at(self):
        self.write('util/odd.cpp', '')
        self.assertEqual(self.check('util/text.cpp', 'util/gone.cpp'), (0, ''))
        self.assertEqual(self.check('util/odd.cpp')[0], 1)


if __name__ == '__main__':
    unittest.main()
