// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/post_id.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "base/extensions.h"
#include "base/prefs.h"
#include "base/registry_values.h"
#include "port/clock.h"
#include "port/platform.h"
#include "port/registry.h"
#include "util/domain_name.h"
#include "util/safe_name.h"
#include "util/stable_hash.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::u16string_view kMarkName = u"postmessageidmark";
constexpr std::string_view kNoHost = "quillet.invalid";
constexpr std::size_t kLongestHost = 128;  // a Message-ID has 250 characters at most

std::uint64_t HashOfSettings() {
  std::vector<std::u16string> texts = {gPrefs->returnmailaddress, gPrefs->fullname,
                                       gPrefs->signature};
  texts.insert(texts.end(), gPrefs->servers.begin(), gPrefs->servers.end());
  std::uint64_t hash = StableHash("");
  for (const std::u16string& text : texts) hash = StableHash(ToUtf8(text) + '\0', hash);
  return hash;
}

// Of this moment too, so that two profiles with the same settings differ.
std::uint64_t HashOfNow() {
  const port::CalendarTime now = gPlatform->clock.UtcTime();
  const std::int64_t second = ((now.day * 24LL + now.hour) * 60 + now.minute) * 60 + now.second;
  const std::string text = HexDigits(static_cast<std::uint64_t>(second), 16) +
                           HexDigits(static_cast<std::uint64_t>(now.year * 12LL + now.month), 8) +
                           HexDigits(static_cast<std::uint64_t>(now.millisecond), 8) +
                           HexDigits(gPlatform->clock.Ticks(), 16);
  return StableHash(text, HashOfSettings());
}

std::uint32_t Folded(std::uint64_t hash) {
  return static_cast<std::uint32_t>(hash ^ (hash >> 32));
}

std::uint32_t TakeMark() {
  const std::unique_ptr<port::RegistryKey> key = gPlatform->registry.Create(kExtensionsPath);
  std::uint32_t mark = 0;
  if (key && ValueReader(*key).Dword(kMarkName, mark, 0)) return mark;
  mark = Folded(HashOfNow());
  if (key && WriteDword(*key, kMarkName, mark)) return mark;
  return Folded(HashOfSettings());
}

}  // namespace

PostIdParts TakePostIdParts() {
  return {TakeMark(), HostOfAddress(ToUtf8(gPrefs->returnmailaddress))};
}

std::string HostOfAddress(std::string_view address) {
  const std::size_t at = address.rfind('@');
  if (at == std::string_view::npos) return std::string(kNoHost);
  const std::string_view domain = address.substr(at + 1);
  const bool good = domain.size() <= kLongestHost && IsPlausibleDomain(domain);
  return std::string(good ? domain : kNoHost);
}

std::string MessageIdLine(const PostIdParts& parts, std::string_view post_key) {
  return "Message-ID: <" + SafeName(post_key) + "." + HexDigits(parts.mark, 8) + "@" + parts.host +
         ">";
}

bool HasMessageId(std::string_view header) {
  while (!header.empty()) {
    if (StartsWithNoCase(header, "Message-ID:")) return true;
    header.remove_prefix(std::min(header.find('\n'), header.size() - 1) + 1);
  }
  return false;
}

}  // namespace quillet
