# SPDX-License-Identifier: GPL-3.0-or-later
"""The check of words and formats, and the hook that runs it, in a small repository of its own. Skipped
without git, and in part without clang-format. What must not stand in a text is put together here from
halves, for this is a text too."""
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TREE = Path(__file__).resolve().parents[2]
FOUND = ['/wo' + 'rk/notes.md', 'as the sp' + 'ec says', 'by the Specifica' + 'tion',
         'see Pa' + 'rt 3.3', 'fixes iss' + 'ue #12', 'a RUL' + 'ING of May', '/ro' + 'ot/x']
FINE = ['a specific word, especially inspected', 'the session ends', 'text helpers', 'part 1.2 of a mail',
        'this is an issue', 'a part of 3', '/home/me/work', 'homework/']
LICENCE = 'SPDX-License-Identifier: ' + 'GPL-3.0-or-later'
NAME = ['-c', 'user.name=Ann', '-c', 'user.email=ann@example.org']


class WordsCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='quillet-words-')
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        # A hook hands git's own variables down, and they would lead to another repository.
        self.environment = {key: value for key, value in os.environ.items()
                            if not key.startswith('GIT_')}
        (self.root / 'scripts').mkdir()
        for name in ('check', 'layers.py', 'licence.py'):
            shutil.copy2(TREE / 'scripts' / name, self.root / 'scripts' / name)
        shutil.copy2(TREE / '.clang-format', self.root)
        self.write('scripts/layers.txt', 'util:\n')
        self.write('util/text.h', '// %s\n#pragma once\n' % LICENCE)
        self.git('init', '-q')
        self.git('add', '-A')
        self.git(*NAME, 'commit', '-qm', 'A beginning')

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding='utf-8')

    def run_in_tree(self, *command):
        done = subprocess.run(command, cwd=self.root, env=self.environment, text=True, check=False,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        return done.returncode, done.stdout

    def git(self, *arguments):
        status, output = self.run_in_tree('git', *arguments)
        self.assertEqual(status, 0, output)

    def check(self, *arguments):
        return self.run_in_tree('scripts/check', *arguments)

    def test_pointers_to_what_no_reader_has_are_found_with_their_lines(self):
        self.write('util/README.md', ''.join(f'{text}\n' for text in FOUND))
        status, output = self.check('words')
        self.assertEqual(status, 1)
        self.assertEqual(output.splitlines()[:-1],
                         [f'util/README.md:{i}:{text}' for i, text in enumerate(FOUND, 1)])

    def test_words_that_only_look_like_them_are_fine(self):
        self.write('util/README.md', '\n'.join(FINE))
        self.assertEqual(self.check('words'), (0, 'Clean: words.\n'))

    def test_inputs_say_what_they_have_to(self):
        for folder in ('demo/articles', 'tests/data', 'tests/fuzz/corpus/heads'):
            self.write(f'{folder}/one', FOUND[0])
        self.assertEqual(self.check('words')[0], 0)

    def test_only_changed_files_are_looked_at_when_that_is_asked_for(self):
        self.write('util/old.md', FOUND[0])
        self.git('add', '-A')
        self.git(*NAME, 'commit', '-qm', 'Before there was a check')
        self.assertEqual(self.check('words')[0], 1)
        self.assertEqual(self.check('--changed', 'words')[0], 0)
        self.write('util/new.md', FOUND[1])
        self.git('add', 'util/new.md')
        (self.root / 'util/old.md').unlink()
        status, output = self.check('--changed', 'words')
        self.assertEqual((status, output.splitlines()[0]), (1, f'util/new.md:1:{FOUND[1]}'))

    def test_the_layers_are_one_of_the_checks(self):
        self.write('util/up.h', '#include "app/x.h"\n')
        status, output = self.check('layers', 'words')
        self.assertEqual((status, output.count('util/up.h:1: ')), (1, 1))

    def test_the_licence_is_one_of_the_checks(self):
        self.assertEqual(self.check('licence'), (0, 'Clean: licence.\n'))
        self.write('util/none.h', '#pragma once\n')
        for arguments in (('licence',), ('--changed', 'licence'), ()):
            status, output = self.check(*arguments)
            self.assertEqual((status, output.count('util/none.h: ')), (1, 1), arguments)

    def test_the_other_hook_stays(self):
        self.write('.git/hooks/pre-commit', '#!/bin/sh\n')
        self.assertEqual(self.check('--install-hook')[0], 1)
        self.assertEqual((self.root / '.git/hooks/pre-commit').read_text(), '#!/bin/sh\n')

    def test_an_unknown_argument_is_refused(self):
        self.assertEqual(self.check('word')[0], 2)

    @unittest.skipUnless(shutil.which('clang-format'), 'there is no clang-format')
    def test_a_source_in_another_format_is_found(self):
        self.write('util/odd.h', 'int   a ;\n')
        status, output = self.check('format')
        self.assertEqual(status, 1)
        self.assertIn('util/odd.h:1:', output)
        self.write('util/odd.h', 'int a;\n')
        self.assertEqual(self.check('format'), (0, 'Clean: format.\n'))

    @unittest.skipUnless(shutil.which('clang-format'), 'there is no clang-format')
    def test_the_hook_lets_only_a_clean_commit_pass(self):
        for _ in range(2):  # installing it again is no harm
            self.assertEqual(self.check('--install-hook')[0], 0)
        self.write('util/README.md', FOUND[0])
        self.git('add', '-A')
        status, output = self.run_in_tree('git', *NAME, 'commit', '-qm', 'Bad')
        self.assertEqual(status, 1)
        self.assertIn(FOUND[0], output)
        self.write('util/README.md', FINE[0])
        self.git('add', '-A')
        self.git(*NAME, 'commit', '-qm', 'Good')


if __name__ == '__main__':
    if shutil.which('git') is None:
        print('skipped: there is no git')
        sys.exit(77)
    unittest.main()
