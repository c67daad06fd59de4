// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/attachment.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "mime/body.h"
#include "mime/harmless.h"
#include "mime/utf16.h"
#include "util/blanks.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kLongestName = 120;       // UTF-16 units
constexpr std::size_t kLongestNameBytes = 240;  // file systems take 255, and copies get a number
constexpr std::size_t kLongestExtension = 16;

struct TypeExtension {
  std::string_view type;
  std::u16string_view extension;
};
constexpr std::array kExtensions = std::to_array<TypeExtension>({
    {"application/gzip", u"gz"},
    {"application/json", u"json"},
    {"application/msword", u"doc"},
    {"application/pdf", u"pdf"},
    {"application/pgp-keys", u"asc"},
    {"application/pgp-signature", u"asc"},
    {"application/pkcs7-mime", u"p7m"},
    {"application/pkcs7-signature", u"p7s"},
    {"application/x-pkcs7-signature", u"p7s"},
    {"application/x-tar", u"tar"},
    {"application/zip", u"zip"},
    {"audio/midi", u"mid"},
    {"audio/mpeg", u"mp3"},
    {"audio/ogg", u"ogg"},
    {"audio/wav", u"wav"},
    {"image/bmp", u"bmp"},
    {"image/gif", u"gif"},
    {"image/jpeg", u"jpg"},
    {"image/png", u"png"},
    {"image/svg+xml", u"svg"},
    {"image/tiff", u"tif"},
    {"image/webp", u"webp"},
    {"message/rfc822", u"eml"},
    {"text/calendar", u"ics"},
    {"text/css", u"css"},
    {"text/csv", u"csv"},
    {"text/html", u"html"},
    {"text/plain", u"txt"},
    {"text/vcard", u"vcf"},
    {"text/x-vcard", u"vcf"},
    {"text/xml", u"xml"},
    {"video/mp4", u"mp4"},
    {"video/mpeg", u"mpg"},
});

std::u16string_view ExtensionOf(std::string_view type) {
  const auto* found = std::ranges::find(kExtensions, type, &TypeExtension::type);
  return found == kExtensions.end() ? u"bin" : found->extension;
}

// What no folder's file may have in its name, here or on a card that another machine reads.
bool MayNotStand(char16_t unit) {
  return unit < u' ' || unit == 0xFFFD ||
         std::u16string_view(u":*?\"<>|").find(unit) != std::u16string_view::npos;
}

// Without its last character, whole.
std::u16string_view Shorter(std::u16string_view text) {
  text.remove_suffix(1);
  if (!text.empty() && IsHighSurrogate(text.back())) text.remove_suffix(1);
  return text;
}

std::u16string Shortened(std::u16string_view name) {
  const std::size_t dot = name.rfind(u'.');
  const bool keep = dot != std::u16string_view::npos && name.size() - dot <= kLongestExtension;
  const std::u16string_view extension = keep ? name.substr(dot) : std::u16string_view();
  std::u16string_view stem = name.substr(0, name.size() - extension.size());
  stem = stem.substr(0, kLongestName);
  const std::size_t extension_bytes = ToUtf8(extension).size();
  while (!stem.empty() &&
         (stem.size() + extension.size() > kLongestName || IsHighSurrogate(stem.back()) ||
          ToUtf8(stem).size() + extension_bytes > kLongestNameBytes)) {
    stem = Shorter(stem);
  }
  return std::u16string(stem).append(extension);
}

std::u16string Decimal(std::uint64_t tenths, char16_t unit) {
  return Widen(std::to_string(tenths / 10) + "." + std::to_string(tenths % 10)) + unit;
}

std::u16string SizeText(std::uint64_t bytes) {
  constexpr std::uint64_t kStep = 1024;
  if (bytes < kStep) return Widen(std::to_string(bytes)) + (bytes == 1 ? u" byte" : u" bytes");
  std::uint64_t unit = kStep;
  for (const char16_t letter : {u'K', u'M'}) {
    const std::uint64_t tenths = (bytes / unit) * 10 + (bytes % unit * 10 + unit / 2) / unit;
    if (tenths < kStep * 10) return Decimal(tenths, letter);
    unit *= kStep;
  }
  return Decimal((bytes / unit) * 10 + (bytes % unit * 10 + unit / 2) / unit, u'G');
}

}  // namespace

std::u16string AttachmentName(std::u16string_view came, std::string_view type, std::size_t number) {
  std::u16string name(came);
  MakeOneLine(name, 0);
  std::ranges::replace(name, u'\t', u' ');
  name = std::u16string(Trimmed(name));
  if (!name.empty()) return name;
  return u"attachment-" + Widen(std::to_string(number)) + u"." + std::u16string(ExtensionOf(type));
}

std::u16string AttachmentLine(const Attachment& attachment) {
  return u"Attachment: " + attachment.name + u", " + Widen(attachment.type) + u", " +
         SizeText(attachment.bytes);
}

std::u16string SafeFileName(std::u16string_view name) {
  const std::size_t separator = name.find_last_of(u"/\\");
  if (separator != std::u16string_view::npos) name.remove_prefix(separator + 1);
  std::u16string safe(name);
  MakeOneLine(safe, 0);
  safe = FromUtf8(ToUtf8(safe));  // halves of characters are none
  std::ranges::replace_if(safe, MayNotStand, u'_');
  // A tilde may be taken for somebody's home.
  safe.erase(0, safe.find_first_not_of(u". ~"));
  safe = Shortened(safe);
  while (safe.ends_with(u'.') || safe.ends_with(u' ')) safe.pop_back();
  return safe.empty() ? u"attachment" : safe;
}

}  // namespace quillet
