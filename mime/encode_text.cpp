// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/encode_text.h"

#include <glib.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "mime/charset_names.h"
#include "mime/part_head.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr const char* kUtf8 = "UTF-8";

// A conversion that iconv knows; false: it does not.
class Converter {
 public:
  Converter(const std::string& to, const std::string& from)
      : handle_(g_iconv_open(to.c_str(), from.c_str())) {}
  ~Converter() {
    if (*this) g_iconv_close(handle_);
  }
  Converter(const Converter&) = delete;
  Converter& operator=(const Converter&) = delete;
  explicit operator bool() const { return handle_ != kNone; }

  // From the first state and back to it; false when something cannot be said in the other charset.
  bool Append(std::string_view text, std::string& result) {
    gchar* in = const_cast<gchar*>(text.data());  // iconv only reads it
    gsize left = text.size();
    while (left > 0) {
      if (!Step(&in, &left, result)) return false;
    }
    return Step(nullptr, nullptr, result);
  }

 private:
  bool Step(gchar** in, gsize* left, std::string& result) {
    std::array<gchar, 1024> piece;
    gchar* out = piece.data();
    gsize room = piece.size();
    const gsize replaced = g_iconv(handle_, in, left, &out, &room);
    const bool full = replaced == kFailed && errno == E2BIG;
    result.append(piece.data(), piece.size() - room);
    return replaced == 0 || full;
  }

  static constexpr gsize kFailed = static_cast<gsize>(-1);
  static inline const GIConv kNone = reinterpret_cast<GIConv>(-1);  // NOLINT: its own word

  const GIConv handle_;
};

// What iconv calls a charset by that name; empty for one that nothing is written in.
std::string IconvName(std::string_view charset) {
  const Charset found = FindCharset(charset);
  switch (found.kind) {
    case CharsetKind::kUnlabelled:
      return "US-ASCII";
    case CharsetKind::kLatin1:
      return "ISO-8859-1";
    case CharsetKind::kWindows1252:
      return "CP1252";
    case CharsetKind::kUtf8:
      return kUtf8;
    case CharsetKind::kIso2022Jp:
      return "ISO-2022-JP";
    case CharsetKind::kIconv:
      return found.iconv_name;
    case CharsetKind::kUnknown:
    case CharsetKind::kUtf16:
    case CharsetKind::kHz:
      break;
  }
  return {};
}

// Calls with each line and its line end.
template <class Take>
bool ForEachLine(std::string_view text, const Take& take) {
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    if (!take(text.substr(0, end))) return false;
    text.remove_prefix(end);
  }
  return true;
}

}  // namespace

std::optional<std::string> EncodeText(std::u16string_view text, std::string_view charset) {
  std::string utf8 = ToUtf8(text);
  const std::string name = IconvName(charset);
  if (name == kUtf8) return utf8;
  if (name.empty()) return std::nullopt;
  Converter converter(name, kUtf8);
  constexpr std::string_view kPlain = "a+b\r\n";
  std::string encoded;
  if (!converter || !converter.Append(kPlain, encoded) || encoded != kPlain) return std::nullopt;
  encoded.clear();
  const bool all =
      ForEachLine(utf8, [&](std::string_view line) { return converter.Append(line, encoded); });
  if (!all) return std::nullopt;
  return encoded;
}

std::optional<std::u16string> DecodeText(std::string_view bytes, std::string_view charset) {
  const std::string name = IconvName(charset);
  if (name.empty()) return std::nullopt;
  Converter converter(kUtf8, name);
  std::string utf8;
  if (!converter || !converter.Append(bytes, utf8)) return std::nullopt;
  return FromUtf8(utf8);
}

std::string CharsetOfHead(std::string_view head) {
  return ReadPartHead(head, {}).charset;
}

}  // namespace quillet
