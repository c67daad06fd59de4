// SPDX-License-Identifier: GPL-3.0-or-later
// What of an article's links reaches the desktop: an article is written by anybody, and its links
// are opened by one tap.
#include "port/linux/opener_link.h"

#include <algorithm>
#include <array>

#include "util/percent.h"
#include "util/text.h"

namespace quillet::port {
namespace {

bool IsLetter(char c) {
  return ToLowerAscii(c) >= 'a' && ToLowerAscii(c) <= 'z';
}

// The letters before the first colon; empty when there is no such beginning.
std::string_view SchemeOf(std::string_view target) {
  std::size_t end = 0;
  while (end < target.size() && IsLetter(target[end])) ++end;
  if (end == target.size() || target[end] != ':') return {};
  return target.substr(0, end);
}

// An article's text may hold anything: these schemes only show something or begin a message, which
// the user sees before it goes.
constexpr std::array<std::string_view, 6> kOpenedSchemes = {"http", "https", "ftp",
                                                            "news", "nntp",  "mailto"};

bool IsOpened(std::string_view scheme) {
  return std::ranges::any_of(kOpenedSchemes, [scheme](std::string_view opened) {
    return opened.size() == scheme.size() && StartsWithNoCase(scheme, opened);
  });
}

constexpr std::size_t kLongestField = 3 * std::string_view("attach").size();

// Whether a "mailto:" link has a field "attach", "attachment" or the like, which some mailers obey:
// it would send a file of the user's along. Looked for as mailers do, decoded before and after the
// fields are told apart.
bool AttachesSomething(std::string_view link) {
  const std::string decoded = PercentDecodedLeniently(link);
  for (const std::string_view text : {link, std::string_view(decoded)}) {
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '?' && text[i] != '&' && text[i] != ';') continue;
      if (StartsWithNoCase(PercentDecodedLeniently(text.substr(i + 1, kLongestField)), "attach"))
        return true;
    }
  }
  return false;
}

}  // namespace

std::string LinkForOpener(std::u16string_view target) {
  std::string link = ToUtf8(target);
  if (link.empty() || link.front() == '-' || HasControlCharacter(link)) return {};
  if (StartsWithNoCase(link, "www.")) return "http://" + link;
  const std::string_view scheme = SchemeOf(link);
  if (!IsOpened(scheme)) return {};
  if (StartsWithNoCase(scheme, "mailto") && AttachesSomething(link)) return {};
  return link;
}

}  // namespace quillet::port
