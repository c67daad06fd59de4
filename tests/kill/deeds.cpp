// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kill/deeds.h"

#include <sys/mman.h>

#include <cstdio>
#include <cstdlib>

namespace quillet {

const char* NameOf(Deed deed) {
  switch (deed) {
    case Deed::kOpen:
      return "open";
    case Deed::kStore:
      return "store";
    case Deed::kDelete:
      return "delete";
    case Deed::kMark:
      return "mark";
    case Deed::kDeleteRead:
      return "delete read";
    case Deed::kDeleteAll:
      return "delete all";
    case Deed::kEmpty:
      return "empty";
    case Deed::kWhole:
      return "whole";
    case Deed::kPost:
      return "post";
    case Deed::kUnpost:
      return "unpost";
    case Deed::kCompact:
      return "compact";
    case Deed::kConvert:
      return "convert";
    case Deed::kCompress:
      return "compress";
    case Deed::kUncompress:
      return "uncompress";
    case Deed::kPurge:
      return "purge";
  }
  return "?";
}

DeedLog& SharedLog() {
  static DeedLog* const log = [] {
    void* const memory =
        mmap(nullptr, sizeof(DeedLog), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
      std::perror("the memory of the log");
      std::abort();
    }
    return static_cast<DeedLog*>(memory);
  }();
  return *log;
}

void ClearLog(DeedLog& log) {
  log.count = 0;
  log.open_microseconds = 0;
  log.complaint[0] = '\0';
}

}  // namespace quillet
