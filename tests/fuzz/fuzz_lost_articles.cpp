// SPDX-License-Identifier: GPL-3.0-or-later
// The list of lost articles from a hostile file: what was taken is written and read again the same.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "port/fake/fake_platform.h"
#include "store/lost_articles.h"

namespace {

void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "fuzz_lost_articles: %s\n", what);
  std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto list = quillet::ParseLostArticles(text);
  Require(list.size() <= quillet::kMostLostArticles, "the list is too long");
  const auto again = quillet::ParseLostArticles(quillet::SerializeLostArticles(list));
  Require(again.size() == list.size(), "an article was lost");
  for (std::size_t i = 0; i < list.size(); ++i) {
    Require(!list[i].message_id.empty(), "an article without an id");
    Require(again[i].message_id == list[i].message_id && again[i].groups == list[i].groups,
            "an article has changed");
  }
  return 0;
}
