// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/charset.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "mime/charset_names.h"
#include "mime/iconv_descriptor.h"
#include "mime/seven_bit.h"
#include "mime/utf16.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr char16_t kReplacement = u'\xFFFD';

struct Conversion {
  std::u16string text;
  Misfits misfits;
};

unsigned char ByteAt(std::string_view text, std::size_t at) {
  return static_cast<unsigned char>(text[at]);
}

bool HasC1Byte(std::string_view bytes) {
  return std::ranges::any_of(bytes,
                             [](char c) { return (static_cast<unsigned char>(c) & 0xE0) == 0x80; });
}

struct Sequence {
  std::size_t length = 1;  // of what is there of it, at least one
  char32_t value = 0;
  enum { kGood, kBad, kCut } state = kBad;
};

// The sequence at `at`, by the table of well-formed ones: only the second byte's range varies.
Sequence Utf8At(std::string_view text, std::size_t at) {
  const unsigned lead = ByteAt(text, at);
  if (lead < 0xC2 || lead > 0xF4) return {};
  const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  const unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  char32_t value = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if (at + i == text.size()) return {i, 0, Sequence::kCut};
    const unsigned byte = ByteAt(text, at + i);
    if (byte < (i == 1 ? low : 0x80) || byte > (i == 1 ? high : 0xBF))
      return {i, 0, Sequence::kBad};
    value = value << 6 | (byte & 0x3F);
  }
  return {length, value, Sequence::kGood};
}

std::size_t AsciiRun(std::string_view text, std::size_t at) {
  const std::size_t start = at;
  constexpr std::uint64_t kHighBits = 0x8080808080808080U;
  for (std::uint64_t word = 0; at + sizeof(word) <= text.size(); at += sizeof(word)) {
    std::memcpy(&word, text.data() + at, sizeof(word));
    if ((word & kHighBits) != 0) break;
  }
  while (at < text.size() && ByteAt(text, at) < 0x80) ++at;
  return at - start;
}

Conversion FromUtf8Bytes(std::string_view bytes) {
  Conversion result;
  result.text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t run = AsciiRun(bytes, at);
    result.text.append(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                       bytes.begin() + static_cast<std::ptrdiff_t>(at + run));
    at += run;
    if (at == bytes.size()) break;
    const Sequence sequence = Utf8At(bytes, at);
    at += sequence.length;
    AppendCharacter(result.text, sequence.state == Sequence::kGood ? sequence.value : kReplacement);
    result.misfits.bad += sequence.state == Sequence::kBad;
    result.misfits.cut = sequence.state == Sequence::kCut;
  }
  return result;
}

Conversion ByIconv(std::string_view bytes, const std::string& name) {
  Conversion result;
  result.text.reserve(bytes.size());
  IconvDescriptor* descriptor = IconvDescriptor::For(name);
  if (descriptor == nullptr) return {Widen(bytes), {.bad = bytes.size()}};
  result.misfits = descriptor->Convert(bytes, result.text);
  return result;
}

Conversion FromUtf16(std::string_view bytes) {
  const bool little = bytes.starts_with("\xFF\xFE");
  if (little || bytes.starts_with("\xFE\xFF")) bytes.remove_prefix(2);
  return ByIconv(bytes, little ? "UTF-16LE" : "UTF-16BE");
}

// Few write more than the Japanese sets of old; the sets of other countries and the newer ones of
// Japan are in two different forms, each of which takes the other's escapes for text.
Conversion FromIso2022Jp(std::string_view bytes) {
  if (const auto euc = Iso2022JpToEuc(bytes)) return ByIconv(*euc, "EUC-JP-MS");
  bool newer = false;
  for (const std::string_view escape : {"\x1B$(O", "\x1B$(P", "\x1B$(Q"}) {
    newer = newer || bytes.find(escape) != std::string_view::npos;
  }
  return ByIconv(bytes, newer ? "ISO-2022-JP-3" : "ISO-2022-JP-2");
}

// A label that the bytes themselves refute: the sets of ISO 8859 have no characters at 80 to 9F,
// where UTF-8 has many of its bytes.
bool IsUtf8InDisguise(std::string_view bytes, const Charset& set) {
  const bool iso = set.kind == CharsetKind::kLatin1 || set.iconv_name.starts_with("ISO-8859-");
  return iso && HasC1Byte(bytes) && IsUtf8(bytes);
}

Conversion Convert(std::string_view bytes, const Charset& set) {
  if (IsUtf8InDisguise(bytes, set)) return FromUtf8Bytes(bytes);
  switch (set.kind) {
    case CharsetKind::kLatin1:
    case CharsetKind::kWindows1252:
      return {Widen(bytes), {}};
    case CharsetKind::kUtf8:
      return FromUtf8Bytes(bytes);
    case CharsetKind::kUtf16:
      return FromUtf16(bytes);
    case CharsetKind::kIso2022Jp:
      return FromIso2022Jp(bytes);
    case CharsetKind::kHz:
      return ByIconv(HzToGb(bytes), "GB18030");
    case CharsetKind::kIconv:
      return ByIconv(bytes, set.iconv_name);
    case CharsetKind::kUnlabelled:
    case CharsetKind::kUnknown:
      break;
  }
  return {DecodeUnlabelled(bytes), {}};
}

// Whether the label is worth more than a guess. That a text ends within a character says nothing
// against its label when there are other such characters.
bool IsMostlyGood(const Conversion& conversion) {
  const Misfits& misfits = conversion.misfits;
  if (misfits.bad == 0 && !misfits.cut) return true;
  const auto beyond_ascii = static_cast<std::size_t>(
      std::ranges::count_if(conversion.text, [](char16_t unit) { return unit >= 0x80; }));
  return beyond_ascii > misfits.cut && beyond_ascii >= 11 * misfits.bad;
}

constexpr std::array<std::string_view, 12> kAsciiFamilies = {
    "ISO-8859-", "CP125", "CP874", "CP932", "KOI8-", "GB18030",
    "BIG5",      "UHC",   "EUC-",  "MAC",   "CP8",   "CP950"};

}  // namespace

bool IsUtf8(std::string_view bytes) {
  for (std::size_t at = AsciiRun(bytes, 0); at < bytes.size(); at += AsciiRun(bytes, at)) {
    const Sequence sequence = Utf8At(bytes, at);
    if (sequence.state != Sequence::kGood) return false;
    at += sequence.length;
  }
  return true;
}

bool IsKnownCharset(std::string_view name) {
  return FindCharset(name).kind != CharsetKind::kUnknown;
}

bool KeepsAscii(std::string_view name) {
  const Charset set = FindCharset(name);
  if (set.kind == CharsetKind::kIconv) {
    return std::ranges::any_of(kAsciiFamilies, [&](std::string_view family) {
      return set.iconv_name.starts_with(family);
    });
  }
  return set.kind != CharsetKind::kUtf16 && set.kind != CharsetKind::kIso2022Jp &&
         set.kind != CharsetKind::kHz;
}

std::u16string DecodeUnlabelled(std::string_view bytes) {
  return IsUtf8(bytes) ? FromUtf8Bytes(bytes).text : Widen(bytes);
}

std::u16string DecodeCharset(std::string_view bytes, std::string_view name) {
  Conversion conversion = Convert(bytes, FindCharset(name));
  return IsMostlyGood(conversion) ? std::move(conversion.text) : DecodeUnlabelled(bytes);
}

std::optional<std::u16string> DecodeExactly(std::string_view bytes, std::string_view name) {
  const Charset set = FindCharset(name);
  if (set.kind == CharsetKind::kUnknown) return std::nullopt;
  Conversion conversion = Convert(bytes, set);
  const bool whole = conversion.misfits.bad == 0 && !conversion.misfits.cut;
  return whole ? std::optional(std::move(conversion.text)) : std::nullopt;
}

}  // namespace quillet
