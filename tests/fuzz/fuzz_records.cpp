// SPDX-License-Identifier: GPL-3.0-or-later
// Article and group records from a hostile file: parsing stays inside the value, and what it took
// can be stored and read again unchanged.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "base/prefs.h"
#include "port/fake/fake_platform.h"
#include "store/chains.h"
#include "store/compression.h"
#include "store/records.h"

namespace {

using namespace quillet;  // NOLINT: the whole program under test

void Require(bool good, const char* what) {
  if (good) return;
  std::fprintf(stderr, "fuzz_records: %s\n", what);
  std::abort();
}

void StartOnce() {
  static port::FakePlatform* const fake = [] {
    auto* device = new port::FakePlatform;
    LoadCompressionLibrary();
    return device;
  }();
  fake->display.ForgetBoxes();
}

bool SameTexts(const AsciiArticle& a, const AsciiArticle& b) {
  return a.messageId == b.messageId && a.headers == b.headers && a.body == b.body &&
         a.parentId == b.parentId && a.subject == b.subject && a.from == b.from &&
         a.source == b.source && a.date == b.date && a.replyTo == b.replyTo && a.read == b.read &&
         a.articleNumber == b.articleNumber;
}

void CheckArticle(std::string_view value) {
  AsciiArticle names;
  AsciiArticle article;
  const bool parsed = ParseArticle(value, article, false);
  Require(ParseArticle(value, names, true) == parsed, "names only and all disagree");
  if (!parsed) return;
  Require(!names.body && names.subject == article.subject, "names only took something else");
  for (const SerializeMode mode : {SerializeMode::kPlain, SerializeMode::kCompress}) {
    const auto stored = SerializeArticle(article, mode);
    AsciiArticle again;
    Require(stored && ParseArticle(*stored, again, false), "a stored article is unreadable");
    Require(SameTexts(article, again), "a stored article has changed");
  }
}

void CheckGroup(std::string_view value) {
  GDBMGroup group;
  if (!ParseGroup(value, group)) return;
  GDBMGroup again;
  Require(ParseGroup(SerializeGroup(group), again), "a stored group is unreadable");
  Require(group.previous == again.previous && group.next == again.next &&
              group.groupName == again.groupName && group.messageId == again.messageId,
          "a stored group has changed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  StartOnce();
  const std::string_view value(reinterpret_cast<const char*>(data), size);
  CheckArticle(value);
  CheckGroup(value);
  return 0;
}
