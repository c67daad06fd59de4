// SPDX-License-Identifier: GPL-3.0-or-later
// A shared library that the library service loads by its path.
extern "C" int test_answer();

int test_answer() {
  return 42;
}
