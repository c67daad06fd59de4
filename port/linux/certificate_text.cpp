// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/certificate_text.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "util/format.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::size_t kLongestText = 64;
constexpr std::u16string_view kCut = u"...";

bool IsHostCharacter(char c) {
  const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
  return letter || (c >= '0' && c <= '9') ||
         std::string_view("-._*:%").find(c) != std::string::npos;
}

// Controls, what has no width, what turns the direction, fillers, variation selectors, private and
// half characters.
constexpr std::array<std::pair<char16_t, char16_t>, 19> kHarmful = {{
    {0x0000, 0x001F}, {0x007F, 0x009F}, {0x00AD, 0x00AD}, {0x034F, 0x034F}, {0x061C, 0x061C},
    {0x115F, 0x1160}, {0x17B4, 0x17B5}, {0x180B, 0x180F}, {0x200B, 0x200F}, {0x2028, 0x202E},
    {0x2060, 0x206F}, {0x2800, 0x2800}, {0x3164, 0x3164}, {0xD800, 0xDFFF}, {0xE000, 0xF8FF},
    {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFF},
}};

bool IsHarmful(char16_t unit) {
  return std::ranges::any_of(kHarmful, [unit](const std::pair<char16_t, char16_t>& range) {
    return unit >= range.first && unit <= range.second;
  });
}

std::u16string DateText(const std::string& date) {
  return date.empty() ? u"an unknown day" : Widen(date);
}

std::u16string DescribeOther(std::string_view host, std::string_view words) {
  return FormatWide(u"The certificate of %ls cannot be trusted: %ls.", HostNameText(host),
                    AuthorityText(words));
}

}  // namespace

std::u16string HostNameText(std::string_view name) {
  // What is cut off need not be looked at: every byte becomes one character at least.
  const bool cut = name.size() > kLongestText;
  if (cut) name = name.substr(name.size() - kLongestText);
  std::u16string text;
  for (const char c : name) {
    if (IsHostCharacter(c)) {
      text += static_cast<char16_t>(c);
    } else {
      constexpr std::u16string_view kDigits = u"0123456789abcdef";
      const auto byte = static_cast<std::uint8_t>(c);
      text += u"\\x";
      text += kDigits[byte >> 4U];
      text += kDigits[byte & 15U];
    }
  }
  if (!cut && text.size() <= kLongestText) return text;
  return std::u16string(kCut) + text.substr(text.size() - (kLongestText - kCut.size()));
}

std::u16string AuthorityText(std::string_view name) {
  // A character has four bytes at most.
  const bool cut = name.size() > kLongestText * 4;
  std::u16string text = FromUtf8(name.substr(0, kLongestText * 4));
  for (char16_t& unit : text) {
    // Also the halves of characters beyond the first plane: names of authorities do without.
    if (IsHarmful(unit)) unit = u'?';
  }
  if (!cut && text.size() <= kLongestText) return text;
  text.resize(std::min(text.size(), kLongestText - kCut.size()));
  return text.append(kCut);
}

std::u16string HostNamesText(const CertificateFacts& facts) {
  std::u16string text;
  const std::size_t shown = std::min(facts.names.size(), kShownNames);
  for (std::size_t i = 0; i < shown; ++i) {
    if (i > 0) text += u", ";
    text += HostNameText(facts.names[i]);
  }
  if (facts.name_count > shown) text += FormatWide(u" and %lu more", facts.name_count - shown);
  return text;
}

std::u16string DescribeFault(CertificateFault fault, std::string_view host,
                             const CertificateFacts& failed, bool own, std::string_view words) {
  const std::u16string name = HostNameText(host);
  const std::u16string_view whose = own ? u"The certificate of" : u"A certificate that vouches for";
  switch (fault) {
    case CertificateFault::kOtherHost:
      if (failed.names.empty()) return FormatWide(u"The certificate of %ls names no host.", name);
      return FormatWide(u"The certificate of %ls is for %ls.", name, HostNamesText(failed));
    case CertificateFault::kExpired:
      return FormatWide(u"%ls %ls has expired on %ls.", whose, name, DateText(failed.ends));
    case CertificateFault::kNotYetValid:
      return FormatWide(u"%ls %ls is not valid before %ls.", whose, name, DateText(failed.begins));
    case CertificateFault::kSelfSigned:
      return FormatWide(u"The certificate of %ls is signed by itself, by no authority.", name);
    case CertificateFault::kUnknownAuthority:
      return FormatWide(
          u"The certificate of %ls is from an authority that this computer does not know: %ls.",
          name, failed.issuer.empty() ? u"without a name" : AuthorityText(failed.issuer));
    case CertificateFault::kRevoked:
      return FormatWide(u"%ls %ls has been revoked.", whose, name);
    case CertificateFault::kTooWeak:
      return FormatWide(u"%ls %ls has a key or a signature that is too weak.", whose, name);
    case CertificateFault::kNotForServers:
      return FormatWide(u"The certificate of %ls is not meant for a server.", name);
    case CertificateFault::kWrongSignature:
      return FormatWide(u"%ls %ls has a wrong signature.", whose, name);
    case CertificateFault::kOther:
      break;
  }
  return DescribeOther(host, words);
}

}  // namespace quillet::port
