// SPDX-License-Identifier: GPL-3.0-or-later
// A draft from a hostile file: what was taken is written again to the byte.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "post/draft.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const auto draft = quillet::ParseDraft(bytes);
  if (!draft) return 0;
  const auto again = quillet::ParseDraft(quillet::SerializeDraft(*draft));
  if (!again || quillet::SerializeDraft(*again) != quillet::SerializeDraft(*draft)) {
    std::fprintf(stderr, "fuzz_draft: a draft has changed\n");
    std::abort();
  }
  return 0;
}
