#include "mime/encode_text.h"

#include <glib.h>
#include <gmime/gmime.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

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
  static inline const GIConv kNone = reinterpret_cast<GIConv>(-1);

  const GIConv handle_;
};

bool IsUtf8(std::string_view charset) {
  return EqualsNoCase(Widen(charset), u"utf-8") || EqualsNoCase(Widen(charset), u"utf8");
}

// A name alone: what iconv understands beside names would have it replace characters.
bool IsCharsetName(std::string_view charset) {
  return !charset.empty() && charset.size() <= 64 && std::ranges::all_of(charset, [](char c) {
    return g_ascii_isalnum(c) || std::string_view("-_.:+()").find(c) != std::string_view::npos;
  });
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

struct Unref {
  void operator()(GMimeContentType* type) const { g_object_unref(type); }
};

void StartLibrary() {
  static const bool started = [] {
    g_mime_init();
    return true;
  }();
  static_cast<void>(started);
}

// The value with its continuation lines, on one line; empty when there is no such field.
std::string WholeValue(std::string_view name, std::string_view head) {
  std::string value;
  bool found = false;
  ForEachLine(head, [&](std::string_view line) {
    const bool continues = line.front() == ' ' || line.front() == '\t';
    if (found && !continues) return false;
    if (!found && !StartsWithNoCase(line, name)) return true;
    if (!found) line.remove_prefix(name.size());
    found = true;
    value.append(line.substr(0, line.find_first_of("\r\n")));
    return true;
  });
  return value;
}

}  // namespace

std::optional<std::string> EncodeText(std::u16string_view text, std::string_view charset) {
  std::string utf8 = ToUtf8(text);
  if (IsUtf8(charset)) return utf8;
  if (!IsCharsetName(charset)) return std::nullopt;
  Converter converter(std::string(charset), kUtf8);
  std::string encoded;
  if (!converter || !converter.Append("\r\n", encoded) || encoded != "\r\n") return std::nullopt;
  encoded.clear();
  const bool all =
      ForEachLine(utf8, [&](std::string_view line) { return converter.Append(line, encoded); });
  if (!all) return std::nullopt;
  return encoded;
}

std::optional<std::u16string> DecodeText(std::string_view bytes, std::string_view charset) {
  if (!IsCharsetName(charset)) return std::nullopt;
  Converter converter(kUtf8, std::string(charset));
  std::string utf8;
  if (!converter || !converter.Append(bytes, utf8)) return std::nullopt;
  return FromUtf8(utf8);
}

std::string CharsetOfHead(std::string_view head) {
  const std::string value = WholeValue("Content-Type:", head);
  if (value.empty()) return {};
  StartLibrary();
  const std::unique_ptr<GMimeContentType, Unref> type(
      g_mime_content_type_parse(nullptr, value.c_str()));
  const char* charset = type ? g_mime_content_type_get_parameter(type.get(), "charset") : nullptr;
  return charset != nullptr ? charset : "";
}

}  // namespace quillet
