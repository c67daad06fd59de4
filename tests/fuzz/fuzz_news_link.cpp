// SPDX-License-Identifier: GPL-3.0-or-later
// Links from arbitrary bytes: one that is taken says one thing, in characters that are harmless.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "util/blanks.h"
#include "util/news_link.h"

using namespace quillet;

namespace {

void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "fuzz_news_link: %s\n", what);
  std::abort();
}

bool IsPlain(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c > ' ' && c < '\x7F'; });
}
bool IsPlain(std::u16string_view text) {
  return std::ranges::none_of(text, [](char16_t unit) { return IsBlank(unit) || IsControl(unit); });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const NewsLink link = ParseNewsLink(text);
  const bool has_group = !link.group.empty();
  const bool has_article = !link.message_id.empty();
  Require(IsPlain(link.server) && IsPlain(link.message_id) && IsPlain(link.group), "not plain");
  if (link.fault != NewsLinkFault::kNone) {
    Require(!has_group && !has_article && link.server.empty(), "a faulty link says something");
    return 0;
  }
  Require(IsNewsLink(text) && size <= kLongestNewsLink, "no link was taken");
  Require(has_group != has_article, "neither or both");
  Require(has_group || !link.number, "a number without a group");
  Require(link.port == 0 || !link.server.empty(), "a port without a server");
  Require(link.server.size() <= 253, "a long host");
  Require(link.group.find_first_of(u"*?,@/") == link.group.npos, "no name of a group");
  if (has_article) {
    Require(link.message_id.starts_with('<') && link.message_id.ends_with('>'), "no brackets");
    Require(link.message_id.find('@') != std::string_view::npos, "no \"@\"");
  }
  return 0;
}
