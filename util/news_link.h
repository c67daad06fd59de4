// SPDX-License-Identifier: GPL-3.0-or-later
// Links to newsgroups and articles (RFC 5538): "news:" and "nntp:". Anybody writes them, so that
// nothing but a link that says one clear thing is taken. Pure; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// Bytes. A Message-ID has 250 at most, each written with three characters, a host 253.
inline constexpr std::size_t kLongestNewsLink = 2048;

enum class NewsLinkFault {
  kNone,
  kTooLong,
  kDamaged,        // not written as the rules want it
  kNoSingleGroup,  // all groups, those of a pattern, or a server alone
};

// Either a group, with or without the number of an article, or an article by its Message-ID.
struct NewsLink {
  NewsLinkFault fault = NewsLinkFault::kNone;  // with another one there is nothing else
  std::string server = {};                     // its host, an IPv6 address without brackets; empty:
                                               // the link names none
  std::uint16_t port = 0;                      // 0: none is named
  std::u16string group = {};
  std::optional<std::uint64_t> number = {};  // of an article, as the server counts
  std::string message_id = {};               // with its angle brackets
};

// Whether the text begins with "news:" or "nntp:", in letters of either case.
bool IsNewsLink(std::string_view text);

// Of a text in UTF-8. What has another scheme is damaged.
NewsLink ParseNewsLink(std::string_view text);

}  // namespace quillet
