// SPDX-License-Identifier: GPL-3.0-or-later
// Prints every record of a database file as "KEY VALUE" in hexadecimal, one a line. Uses nothing of
// the program, so that a check of its files does not trust its own code.
#include <gdbm.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string Hex(const datum& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text(static_cast<std::size_t>(bytes.dsize) * 2, ' ');
  char* out = text.data();
  for (int i = 0; i < bytes.dsize; ++i) {
    const auto byte = static_cast<unsigned char>(bytes.dptr[i]);
    *out++ = kDigits[byte / 16];
    *out++ = kDigits[byte % 16];
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fputs("usage: quillet-gdbm-dump FILE\n", stderr);
    return 2;
  }
  GDBM_FILE file = gdbm_open(argv[1], 0, GDBM_READER, 0, nullptr);
  if (file == nullptr) {
    std::fprintf(stderr, "quillet-gdbm-dump: %s: %s\n", argv[1], gdbm_strerror(gdbm_errno));
    return 1;
  }
  for (datum key = gdbm_firstkey(file); key.dptr != nullptr;) {
    const datum value = gdbm_fetch(file, key);
    std::printf("%s %s\n", Hex(key).c_str(), Hex(value).c_str());
    const datum next = gdbm_nextkey(file, key);
    std::free(value.dptr);
    std::free(key.dptr);
    key = next;
  }
  const bool sound = gdbm_errno == GDBM_NO_ERROR || gdbm_errno == GDBM_ITEM_NOT_FOUND;
  gdbm_close(file);
  return sound ? 0 : 1;
}
