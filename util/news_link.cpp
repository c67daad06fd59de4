// SPDX-License-Identifier: GPL-3.0-or-later
// The parts are told apart before anything is decoded, so that an encoded "/" or "@" of the server
// never moves a border; only what a group may not have in any form, as the "@" that makes the rest
// a Message-ID, is looked for afterwards.
#include "util/news_link.h"

#include <algorithm>
#include <utility>

#include "util/blanks.h"
#include "util/percent.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::string_view kNewsScheme = "news:";
constexpr std::string_view kNntpScheme = "nntp:";
static_assert(kNewsScheme.size() == kNntpScheme.size());
constexpr std::size_t kLongestHost = 253;
constexpr std::size_t kMostDigitsOfNumber = 16;
constexpr std::size_t kMostDigitsOfPort = 5;
constexpr std::uint64_t kHighestPort = 65535;

NewsLink Faulty(NewsLinkFault fault) {
  return {.fault = fault};
}
NewsLink Damaged() {
  return Faulty(NewsLinkFault::kDamaged);
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
bool IsHostCharacter(char c) {
  const char lower = ToLowerAscii(c);
  return IsDigit(c) || (lower >= 'a' && lower <= 'z') || c == '-' || c == '.' || c == '_';
}
bool IsAddressCharacter(char c) {
  return HexDigitValue(c) >= 0 || c == ':' || c == '.';
}
bool IsVisibleAscii(char c) {
  return c > ' ' && c < '\x7F';
}

// Of so many digits at most; nothing for any other text.
std::optional<std::uint64_t> NumberOf(std::string_view text, std::size_t most_digits) {
  if (text.empty() || text.size() > most_digits) return std::nullopt;
  std::uint64_t number = 0;
  for (const char c : text) {
    if (!IsDigit(c)) return std::nullopt;
    number = number * 10 + static_cast<std::uint64_t>(c - '0');
  }
  return number;
}

// --- The server ----------------------------------------------------------------------------------

// Takes an address in brackets or a name off the front.
bool TakeHost(std::string_view& authority, NewsLink& link) {
  const bool bracketed = authority.starts_with('[');
  const std::size_t end = bracketed ? authority.find(']') : authority.find(':');
  if (bracketed && end == authority.npos) return false;
  const std::string_view host = authority.substr(bracketed ? 1 : 0, end - (bracketed ? 1 : 0));
  if (host.empty() || host.size() > kLongestHost) return false;
  if (!std::ranges::all_of(host, bracketed ? IsAddressCharacter : IsHostCharacter)) return false;
  link.server = host;
  authority.remove_prefix(std::min(authority.size(), bracketed ? end + 1 : end));
  return true;
}

// Nothing, a colon alone, or a colon and a number.
bool TakePort(std::string_view rest, NewsLink& link) {
  if (rest.empty()) return true;
  if (!rest.starts_with(':')) return false;
  rest.remove_prefix(1);
  if (rest.empty()) return true;
  const auto port = NumberOf(rest, kMostDigitsOfPort);
  if (!port || *port == 0 || *port > kHighestPort) return false;
  link.port = static_cast<std::uint16_t>(*port);
  return true;
}

// A name or password of a user, which may stand before the host, is none of our business: the
// servers that are asked have logins of their own.
bool TakeServer(std::string_view authority, NewsLink& link) {
  const std::size_t user = authority.rfind('@');
  if (user != authority.npos) authority.remove_prefix(user + 1);
  return TakeHost(authority, link) && TakePort(authority, link);
}

// --- Group and article ---------------------------------------------------------------------------

// Characters that end a link's path or never stand in a name.
bool MayStandInGroup(char16_t unit) {
  constexpr std::u16string_view kNever = u"\"<>\\^`{|}[]@,/#%\uFFFD";
  return !IsBlank(unit) && !IsControl(unit) && kNever.find(unit) == kNever.npos;
}

NewsLink GroupLink(NewsLink link, std::string_view name) {
  const auto decoded = PercentDecoded(name);
  if (!decoded) return Damaged();
  link.group = FromUtf8(*decoded);
  if (!std::ranges::all_of(link.group, MayStandInGroup)) return Damaged();
  const bool pattern = link.group.find_first_of(u"*?") != link.group.npos;
  if (link.group.empty() || pattern) return Faulty(NewsLinkFault::kNoSingleGroup);
  return link;
}

// In angle brackets or, as links should have it, without them.
NewsLink ArticleLink(NewsLink link, std::string_view id) {
  if (id.starts_with('<') && id.ends_with('>')) id = id.substr(1, id.size() - 2);
  const std::size_t at = id.rfind('@');
  if (at == 0 || at == id.npos || at + 1 == id.size()) return Damaged();
  if (!std::ranges::all_of(id, IsVisibleAscii) || id.find_first_of("<>") != id.npos) {
    return Damaged();
  }
  link.message_id.append("<").append(id).append(">");
  return link;
}

NewsLink NewsTarget(NewsLink link, std::string_view path) {
  const auto decoded = PercentDecoded(path);
  if (!decoded) return Damaged();
  if (decoded->find('@') != decoded->npos) return ArticleLink(std::move(link), *decoded);
  return GroupLink(std::move(link), path);
}

NewsLink NntpTarget(NewsLink link, std::string_view path) {
  const std::size_t slash = path.find('/');
  if (slash != path.npos) {
    link.number = NumberOf(path.substr(slash + 1), kMostDigitsOfNumber);
    if (!link.number) return Damaged();
  }
  return GroupLink(std::move(link), path.substr(0, slash));
}

}  // namespace

bool IsNewsLink(std::string_view text) {
  return StartsWithNoCase(text, kNewsScheme) || StartsWithNoCase(text, kNntpScheme);
}

NewsLink ParseNewsLink(std::string_view text) {
  if (text.size() > kLongestNewsLink) return Faulty(NewsLinkFault::kTooLong);
  if (!IsNewsLink(text)) return Damaged();
  const bool nntp = StartsWithNoCase(text, kNntpScheme);
  text.remove_prefix(kNewsScheme.size());
  NewsLink link;
  const bool has_server = text.starts_with("//");
  if (has_server) {
    text.remove_prefix(2);
    const std::size_t slash = text.find('/');
    if (!TakeServer(text.substr(0, slash), link)) return Damaged();
    text.remove_prefix(slash == text.npos ? text.size() : slash + 1);
  }
  // Numbers of articles, and nntp links altogether, mean nothing without their server.
  if (nntp && !has_server) return Damaged();
  return nntp ? NntpTarget(std::move(link), text) : NewsTarget(std::move(link), text);
}

}  // namespace quillet
