// SPDX-License-Identifier: GPL-3.0-or-later
// Makes a database file of the records that come as "KEY VALUE" in hexadecimal, one a line, on
// standard input: what quillet-gdbm-dump prints. Uses nothing of the program.
#include <gdbm.h>

#include <cstdio>
#include <iostream>
#include <string>

namespace {

int Digit(char c) {
  const std::size_t place = std::string("0123456789abcdef").find(c);
  return place == std::string::npos ? -1 : static_cast<int>(place);
}

bool ReadHex(const std::string& text, std::string& bytes) {
  bytes.clear();
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = Digit(text[i]), low = i + 1 < text.size() ? Digit(text[i + 1]) : -1;
    if (high < 0 || low < 0) return false;
    bytes += static_cast<char>(high * 16 + low);
  }
  return true;
}

datum Datum(std::string& bytes) {
  return {bytes.data(), static_cast<int>(bytes.size())};
}

bool Load(GDBM_FILE file) {
  std::string line, key, value;
  while (std::getline(std::cin, line)) {
    const std::size_t blank = line.find(' ');
    if (blank == std::string::npos || !ReadHex(line.substr(0, blank), key) ||
        !ReadHex(line.substr(blank + 1), value)) {
      std::fprintf(stderr, "quillet-gdbm-load: not a record: %s\n", line.c_str());
      return false;
    }
    if (gdbm_store(file, Datum(key), Datum(value), GDBM_REPLACE) != 0) {
      std::fprintf(stderr, "quillet-gdbm-load: %s\n", gdbm_strerror(gdbm_errno));
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: quillet-gdbm-load FILE\n", stderr);
    return 2;
  }
  GDBM_FILE file = gdbm_open(argv[1], 0, GDBM_NEWDB, 0600, nullptr);
  if (file == nullptr) {
    std::fprintf(stderr, "quillet-gdbm-load: %s: %s\n", argv[1], gdbm_strerror(gdbm_errno));
    return 1;
  }
  const bool loaded = Load(file);
  return gdbm_close(file) == 0 && loaded ? 0 : 1;
}
