// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/part_head.h"

#include <gmime/gmime.h>

#include <algorithm>
#include <array>
#include <memory>

#include "mime/header_words.h"
#include "mime/mime_library.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::size_t kLongestValue = 10240;  // longer heads are not kept either

struct Unref {
  void operator()(void* object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::ranges::transform(lower, lower.begin(), [](char c) { return ToLowerAscii(c); });
  return lower;
}

// Up to a blank, a comment or a next parameter, without quotation marks.
std::string_view Token(std::string_view value) {
  constexpr std::string_view kAround = " \t\"'";
  value.remove_prefix(std::min(value.find_first_not_of(kAround), value.size()));
  return value.substr(0, value.find_first_of(" \t\"'(;,"));
}

bool IsTypeCharacter(char c) {
  const char lower = ToLowerAscii(c);
  return (lower >= 'a' && lower <= 'z') || (c >= '0' && c <= '9') ||
         std::string_view("!#$&^_.+-").find(c) != std::string_view::npos;
}

// "text/plain" in small letters; `fallback` where that is not to be seen. Before there were
// subtypes a text was "text".
std::string TypeIn(std::string_view value, std::string_view fallback) {
  value = Token(value.substr(0, value.find(';')));
  const std::size_t slash = value.find('/');
  if (slash == std::string_view::npos) {
    return EqualsNoCase(Widen(value), u"text") ? "text/plain" : std::string(fallback);
  }
  const std::string_view main = value.substr(0, slash), sub = value.substr(slash + 1);
  const bool fine = !main.empty() && !sub.empty() && value.size() <= 127 &&
                    std::ranges::all_of(main, IsTypeCharacter) &&
                    std::ranges::all_of(sub, IsTypeCharacter);
  return fine ? Lower(value) : std::string(fallback);
}

std::string ParameterOf(GMimeParamList* parameters, const char* name) {
  GMimeParam* parameter = g_mime_param_list_get_parameter(parameters, name);
  const char* value = parameter == nullptr ? nullptr : g_mime_param_get_value(parameter);
  return value == nullptr ? std::string() : std::string(value);
}

// Names come encoded in two ways; the library undoes the one that the standard wants, and most of
// the other.
std::u16string NameOf(const std::string& value) {
  return DecodeHeaderWords(value, HeaderForm::kOneLine);
}

void ReadType(const std::string& value, std::string_view fallback, PartHead& head) {
  head.type = TypeIn(value, fallback);
  const std::size_t parameters_start = value.find(';');
  if (parameters_start == std::string::npos) return;
  // Behind a type that it cannot make out the library reads no parameters.
  const std::string readable = "text/plain" + value.substr(parameters_start);
  const Owned<GMimeContentType> parsed(g_mime_content_type_parse(nullptr, readable.c_str()));
  GMimeParamList* parameters = g_mime_content_type_get_parameters(parsed.get());
  head.charset = Token(ParameterOf(parameters, "charset"));
  head.boundary = ParameterOf(parameters, "boundary");
  if (FindNoCase(readable, "boundary=\"") == std::string::npos) {
    // The rest of another field may stand below this one's last line.
    head.boundary.erase(std::min(head.boundary.find_first_of(" \t"), head.boundary.size()));
  }
  head.flowed = Lower(Token(ParameterOf(parameters, "format"))) == "flowed";
  head.del_space = Lower(Token(ParameterOf(parameters, "delsp"))) == "yes";
  if (head.name.empty()) head.name = NameOf(ParameterOf(parameters, "name"));
}

void ReadDisposition(const std::string& value, PartHead& head) {
  const std::string kind = Lower(Token(value));
  head.attached = !kind.empty() && kind != "inline";
  if (value.find(';') == std::string::npos) return;
  const Owned<GMimeContentDisposition> parsed(
      g_mime_content_disposition_parse(nullptr, value.c_str()));
  GMimeParamList* parameters = g_mime_content_disposition_get_parameters(parsed.get());
  head.name = NameOf(ParameterOf(parameters, "filename"));
}

struct TransferName {
  std::string_view name;
  Transfer transfer;
};
constexpr std::array kTransfers = std::to_array<TransferName>({
    {"quoted-printable", Transfer::kQuotedPrintable},
    {"base64", Transfer::kBase64},
    {"x-uuencode", Transfer::kUuencode},
    {"uuencode", Transfer::kUuencode},
    {"x-uue", Transfer::kUuencode},
});

Transfer TransferOf(std::string_view value) {
  const std::string name = Lower(Token(value));
  const auto* found = std::ranges::find(kTransfers, name, &TransferName::name);
  return found == kTransfers.end() ? Transfer::kNone : found->transfer;
}

// Whether the line is of that field; `colon` is set to the place of the colon then.
bool IsField(std::string_view line, std::string_view name, std::size_t& colon) {
  if (!StartsWithNoCase(line, name)) return false;
  colon = name.size();
  while (colon < line.size() && IsBlank(line[colon])) ++colon;
  return colon < line.size() && line[colon] == ':';
}

// "Name:", with blanks before the colon perhaps.
bool IsAnyField(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == 0 || colon == std::string_view::npos) return false;
  std::string_view name = line.substr(0, colon);
  while (name.size() > 1 && IsBlank(name.back())) name.remove_suffix(1);
  return std::ranges::all_of(name, [](char c) { return c > ' ' && c < 0x7F; });
}

// The next line without its end, which goes from `text` too.
std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = std::min(text.find('\n'), text.size());
  std::string_view line = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

}  // namespace

std::optional<std::string> FieldValue(std::string_view head, std::string_view name) {
  while (!head.empty()) {
    std::string_view line = TakeLine(head);
    std::size_t colon = 0;
    if (!IsField(line, name, colon)) continue;
    line.remove_prefix(colon + 1);
    std::string value(line.substr(0, kLongestValue));
    while (!head.empty() && IsBlank(head.front()) && value.size() < kLongestValue) {
      value += TakeLine(head).substr(0, kLongestValue);
    }
    value.erase(0, value.find_first_not_of(" \t"));
    return value;
  }
  return std::nullopt;
}

HeadAndBody SplitHead(std::string_view entity) {
  std::string_view rest = entity;
  while (!rest.empty()) {
    const std::size_t start = entity.size() - rest.size();
    const std::string_view line = TakeLine(rest);
    if (line.empty()) return {entity.substr(0, entity.size() - rest.size()), rest};
    const bool envelope = start == 0 && (line.starts_with("From ") || line.starts_with(">From "));
    const bool continues = start > 0 && IsBlank(line.front());
    if (!envelope && !continues && !IsAnyField(line)) {
      return {entity.substr(0, start), entity.substr(start)};
    }
  }
  return {entity, {}};
}

PartHead ReadPartHead(std::string_view head, std::string_view fallback) {
  PartHead result;
  result.type = fallback;
  // Most heads have none of the fields, or all of them: one look for what their names begin with.
  if (FindNoCase(head, "content-") == std::string_view::npos) return result;
  StartMimeLibrary();
  const auto disposition = FieldValue(head, "Content-Disposition");
  const auto type = FieldValue(head, "Content-Type");
  const auto transfer = FieldValue(head, "Content-Transfer-Encoding");
  result.has_fields = disposition || type || transfer;
  if (disposition) ReadDisposition(*disposition, result);
  if (type) ReadType(*type, fallback, result);
  if (transfer) result.transfer = TransferOf(*transfer);
  return result;
}

}  // namespace quillet
