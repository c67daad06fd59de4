# SPDX-License-Identifier: GPL-3.0-or-later
"""The check of the layers, on a small tree in a folder of its own: clean it passes, and each thing that
it is there to find is found, with the line and the rule."""
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SCRIPTS = Path(__file__).resolve().parents[2] / 'scripts'
sys.path.insert(0, str(SCRIPTS))
import layers  # pylint: disable=wrong-import-position

CLEAN = {
    'scripts/layers.txt': 'util:\nport: util\nport/linux: util port\nstore: util port\n'
                          'thread: util port store\nqt: util port\nqt/program: thread\n',
    'util/CMakeLists.txt': 'quillet_library(quillet_util SOURCES text.cpp)\n',
    'util/text.h': '#pragma once\n#include <string>\n',
    'util/text.cpp': '#include "util/text.h"\n',
    'port/files.h': '#include "util/text.h"\n',
    'port/linux/CMakeLists.txt':
        'quillet_library(quillet_linux SOURCES disk.cpp USES quillet_util ${CMAKE_DL_LIBS})\n',
    'port/linux/disk.h': '',
    'port/linux/disk.cpp': '#include "port/linux/disk.h"\n#include <unistd.h>\n',
    'store/CMakeLists.txt':
        '# quillet_store uses quillet_thread: only a remark.\n'
        'quillet_library(quillet_store\n  SOURCES records.cpp\n  USES quillet_util gdbm)\n',
    'store/records.h': '#include <gdbm.h>\n#include "port/files.h"\n',
    'store/records.cpp': '#include "store/records.h"\n// No "thread/view.h" here.\n',
    'thread/CMakeLists.txt':
        'quillet_library(quillet_thread SOURCES view.cpp USES quillet_store)\n',
    'thread/view.h': '#include "store/records.h"\n',
    'thread/view.cpp': '#include "thread/view.h"\n',
    'qt/CMakeLists.txt':
        'quillet_library(quillet_qt SOURCES window.cpp USES quillet_util Qt6::Widgets)\n'
        'quillet_library(quillet_desktop SOURCES program.cpp USES quillet_qt quillet_thread)\n'
        'quillet_program(quillet SOURCES main.cpp USES quillet_desktop)\n',
    'qt/window.h': '#include <QWidget>\n#include "ui_about.h"\n',
    'qt/window.cpp': '#include "qt/window.h"\n',
    'qt/program.h': '#include "thread/view.h"\n',
    'qt/program.cpp': '#include "qt/program.h"\n',
    'qt/main.cpp': '#include "qt/program.h"\nint main() {}\n',
    'tests/thread/view_test.cpp': '#include "qt/program.h"\n#include <unistd.h>\n',
    'build/copy.cpp': '#include <unistd.h>\n',
}


class LayersCheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix='quillet-layers-')
        self.addCleanup(folder.cleanup)
        self.root = Path(folder.name)
        for path, text in CLEAN.items():
            self.write(path, text)

    def write(self, path, text):
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding='utf-8')

    def add(self, path, line):
        self.write(path, CLEAN[path] + line + '\n')

    def run_check(self):
        done = subprocess.run([sys.executable, '-B', SCRIPTS / 'layers.py', '--root', self.root],
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stdout.splitlines()

    def expect(self, *lines):
        self.assertEqual(layers.find_problems(self.root), list(lines))

    def expect_found(self, beginning):
        lines = layers.find_problems(self.root)
        self.assertTrue(lines, f'nothing was found: {beginning}')
        self.assertEqual([line for line in lines if not line.startswith(beginning)], [])

    def test_a_clean_tree_passes(self):
        self.assertEqual(self.run_check(), (0, ['Every folder includes and links what it may.']))

    def test_what_is_found_is_printed_and_fails(self):
        self.write('groups/list.h', '')
        self.assertEqual(self.run_check(),
                         (1, ['groups/list.h: "groups" has no row in scripts/layers.txt']))

    def test_an_upward_include_is_found(self):
        self.add('store/records.cpp', '#include "thread/view.h"')
        self.expect('store/records.cpp:3: #include "thread/view.h": store may include port, store, '
                    'util')

    def test_an_include_of_a_device_is_found(self):
        self.add('thread/view.cpp', '  #  include "port/linux/disk.h"')
        self.expect_found('thread/view.cpp:2: #  include "port/linux/disk.h": thread may include')

    def test_an_include_that_does_not_begin_at_the_root_is_found(self):
        for path in ('view.h', '../thread/view.h'):
            self.add('thread/view.cpp', f'#include "{path}"')
            self.expect_found(f'thread/view.cpp:2: #include "{path}": thread may include')

    def test_an_upward_link_is_found_on_its_line(self):
        self.write('store/CMakeLists.txt', CLEAN['store/CMakeLists.txt'].replace(
            'quillet_util', 'quillet_util\n       quillet_thread'))
        self.expect('store/CMakeLists.txt:5: quillet_store links quillet_thread: it may link what '
                    'lies in port, store, util')

    def test_an_upward_link_by_another_command_is_found(self):
        self.add('util/CMakeLists.txt', 'target_link_libraries(quillet_util PUBLIC quillet_store)')
        self.expect_found('util/CMakeLists.txt:2: quillet_util links quillet_store: ')

    def test_what_one_file_may_include_is_not_for_its_folder(self):
        self.add('qt/window.cpp', '#include "thread/view.h"')
        self.expect_found('qt/window.cpp:2: #include "thread/view.h": ')
        self.write('qt/window.cpp', CLEAN['qt/window.cpp'])
        self.write('qt/CMakeLists.txt',
                   CLEAN['qt/CMakeLists.txt'].replace('Qt6::Widgets', 'quillet_thread'))
        self.expect_found('qt/CMakeLists.txt:1: quillet_qt links quillet_thread: ')

    def test_what_only_some_folders_may_use_is_found_elsewhere(self):
        for line, what in (
                ('#include <QString>', 'the toolkit'),
                ('#include "ui_about.h"', 'the toolkit'),
                ('#include <sys/stat.h>', 'the operating system'),
                ('#include <sqlite3.h>', 'the operating system'),
                ('#include <gdbm.h>', 'the libraries of the store'),
                ('#include <gtest/gtest.h>', 'a test framework'),
                ('#include <fstream>', 'a service that belongs behind the port'),
                ('#include <filesystem>', 'a service that belongs behind the port'),
                ('gAbortRequested = 1;', 'the abort flag; an operation that fails says so by its RunEnd'),
                ('text = Widen(article.subject);', 'text shown of stored bytes, which mime/ makes'),
                ('std::fstream file;', 'a service that belongs behind the port'),
                ('std::ifstream file;', 'a service that belongs behind the port'),
                ('auto* home = getenv("HOME");', 'a service that belongs behind the port'),
                ('auto now = std::chrono::system_clock::now();',
                 'a service that belongs behind the port')):
            with self.subTest(line):
                self.add('thread/view.cpp', line)
                self.expect_found(f'thread/view.cpp:2: {line}: {what}, which is for ')

    def test_libraries_that_only_some_folders_may_link_are_found_elsewhere(self):
        for library in ('Qt6::Core', 'PkgConfig::SQLITE', '${CMAKE_DL_LIBS}', 'gdbm', 'GTest::gtest'):
            with self.subTest(library):
                self.write('thread/CMakeLists.txt',
                           f'quillet_library(quillet_thread SOURCES view.cpp USES {library})')
                self.expect_found(f'thread/CMakeLists.txt:1: quillet_thread links {library}: ')

    def test_a_source_without_its_header_is_found(self):
        self.write('thread/labels.cpp', '#include "thread/view.h"\n')
        self.expect('thread/labels.cpp: it has no labels.h')

    def test_a_folder_without_a_row_is_found(self):
        self.write('groups/list.h', '')
        self.expect('groups/list.h: "groups" has no row in scripts/layers.txt')

    def test_a_table_with_a_circle_is_refused(self):
        self.write('scripts/layers.txt', 'util: store\nstore: util\n')
        self.expect('scripts/layers.txt:1: "store" is no row above this one')

    def test_a_row_of_nothing_is_refused(self):
        self.add('scripts/layers.txt', 'nowhere: util')
        self.expect('scripts/layers.txt:8: there is no folder and no file "nowhere"')

    def test_a_folder_without_sources_is_no_tree(self):
        with tempfile.TemporaryDirectory() as empty:
            (Path(empty) / 'scripts').mkdir()
            (Path(empty) / 'scripts/layers.txt').write_text('', encoding='utf-8')
            self.root = Path(empty)
            self.expect_found(f'{self.root}: there are no sources')


if __name__ == '__main__':
    unittest.main()
