// SPDX-License-Identifier: GPL-3.0-or-later
// In a plain text of a western set or UTF-8 the characters of ASCII are shown as themselves and
// beside each other as they stand in a line. So a part of the wanted text in ASCII has to be there,
// unless it comes from one of the few other characters that fold to such letters. Whatever is not
// that simple is left to the long way. The figures are in bench/view_bench.
#include "mime/search_filter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

#include "mime/as_stored.h"
#include "mime/folding.h"
#include "mime/transfer.h"
#include "util/ascii.h"
#include "util/base64.h"
#include "util/text.h"

namespace quillet {
namespace {

std::string LongestAsciiRun(std::u16string_view text) {
  std::u16string_view longest;
  for (std::size_t at = 0; at < text.size(); ++at) {
    std::size_t end = at;
    while (end < text.size() && text[end] < 0x80) ++end;
    if (end - at > longest.size()) longest = text.substr(at, end - at);
    at = end;
  }
  return Narrow(longest);
}

struct Pair {
  std::uint8_t lead, low, high;
};
// The beginnings, in UTF-8, of characters that fold to letters of ASCII: the sharp s, dotted I, n
// with apostrophe, long s, j with caron, t with diaeresis and its neighbours, the sign of Kelvin,
// ligatures.
constexpr std::array<Pair, 8> kFoldToAscii = {{{0xC3, 0x9F, 0x9F},
                                               {0xC4, 0xB0, 0xB0},
                                               {0xC5, 0x89, 0x89},
                                               {0xC5, 0xBF, 0xBF},
                                               {0xC7, 0xB0, 0xB0},
                                               {0xE1, 0xBA, 0xBA},
                                               {0xE2, 0x84, 0x84},
                                               {0xEF, 0xAC, 0xAC}}};
constexpr std::uint8_t kWesternSharpS = 0xDF;

bool MayFoldToAscii(std::string_view bytes) {
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    const auto byte = static_cast<std::uint8_t>(bytes[at]);
    if (byte < 0xC3) continue;
    const auto next = static_cast<std::uint8_t>(at + 1 < bytes.size() ? bytes[at + 1] : 0);
    const bool folds = std::ranges::any_of(kFoldToAscii, [=](const Pair& pair) {
      return byte == pair.lead && next >= pair.low && next <= pair.high;
    });
    if (folds || byte == kWesternSharpS) return true;
  }
  return false;
}

// Without the blanks at line ends taken away, which no hit needs. Nothing where an equals sign
// opens nothing.
std::optional<std::string> CleanQuotedPrintable(std::string_view body) {
  std::string bytes;
  bytes.reserve(body.size());
  while (!body.empty()) {
    const std::size_t equals = std::min(body.find('='), body.size());
    bytes.append(body.substr(0, equals));
    body.remove_prefix(equals);
    if (body.empty()) break;
    const int byte = EscapedByte(body);
    const std::size_t end = std::min(body.find_first_not_of(" \t\r", 1), body.size());
    if (byte >= 0) {
      bytes += static_cast<char>(byte);
      body.remove_prefix(3);
    } else if (end < body.size() && body[end] == '\n') {
      body.remove_prefix(end + 1);
    } else {
      return std::nullopt;
    }
  }
  return bytes;
}

// Nothing unless it is letters in lines, with the padding behind them, and nothing else.
std::optional<std::string> CleanBase64(std::string_view body) {
  const std::string_view letters = body.substr(0, body.find_last_not_of("=\r\n") + 1);
  const bool clean = std::ranges::all_of(
      letters, [](char c) { return Base64Value(c) != kNoBase64Letter || c == '\r' || c == '\n'; });
  if (!clean) return std::nullopt;
  std::string bytes;
  DecodeBase64(letters, bytes);
  return bytes;
}

}  // namespace

SearchFilter::SearchFilter(std::u16string_view wanted, const MatchOptions& options) {
  const std::string run =
      LongestAsciiRun(options.match_case ? std::u16string(wanted) : FoldFully(wanted));
  const bool one_line = std::ranges::none_of(run, [](char c) { return c < ' '; });
  if (!run.empty() && one_line) run_.emplace(run, MatchOptions{options.match_case, false});
}

bool SearchFilter::IsNotIn(std::string_view bytes) const {
  return run_->Find(bytes, 1).empty() && !HasSpecialLine(bytes, false) && !MayFoldToAscii(bytes);
}

bool SearchFilter::RulesOut(const BodySource& source) const {
  if (!run_) return false;
  const std::optional<SimpleHead> head = ReadSimpleHead(source.head);
  if (!head || !head->western || HasSpecialLine(source.body, source.stuffed)) return false;
  switch (head->transfer) {
    case Transfer::kNone:
      return IsNotIn(source.body);
    case Transfer::kQuotedPrintable: {
      const std::optional<std::string> bytes = CleanQuotedPrintable(source.body);
      return bytes && IsNotIn(*bytes);
    }
    case Transfer::kBase64: {
      const std::optional<std::string> bytes = CleanBase64(source.body);
      return bytes && IsNotIn(*bytes);
    }
    case Transfer::kUuencode:
      break;
  }
  return false;
}

}  // namespace quillet
