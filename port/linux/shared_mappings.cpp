// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/shared_mappings.h"

#include <sys/mman.h>

#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>

namespace quillet::port {

void KeepSharedMappingsFromChildren() {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::uintptr_t first = 0;
    std::uintptr_t end = 0;
    char rights[5] = "";  // such as "rw-s"
    if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " %4s", &first, &end, rights) != 3 ||
        rights[1] != 'w' || rights[3] != 's') {
      continue;
    }
    // One that has gone meanwhile, or belongs to a device, is no loss.
    auto* const place = reinterpret_cast<void*>(first);  // NOLINT(performance-no-int-to-ptr)
    madvise(place, end - first, MADV_DONTFORK);
  }
}

}  // namespace quillet::port
