// SPDX-License-Identifier: GPL-3.0-or-later
#include "script/json.h"

#include "util/text.h"

namespace quillet {
namespace {

void AppendUnit(std::string& json, char16_t unit) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  if (unit == u'"' || unit == u'\\') {
    json += '\\';
    json += static_cast<char>(unit);
  } else if (unit == u'\n') {
    json += "\\n";
  } else if (unit == u'\r') {
    json += "\\r";
  } else if (unit == u'\t') {
    json += "\\t";
  } else if (unit >= 0x20 && unit < 0x7F) {
    json += static_cast<char>(unit);
  } else {
    json += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4) json += kDigits[unit >> shift & 0xF];
  }
}

}  // namespace

std::string JsonText(std::u16string_view text) {
  std::string json;
  json.reserve(text.size() + 2);
  json += '"';
  for (const char16_t unit : text) AppendUnit(json, unit);
  json += '"';
  return json;
}

std::string JsonText(std::string_view utf8) {
  return JsonText(FromUtf8(utf8));
}

JsonObject& JsonObject::AddRaw(std::string_view name, std::string_view json) {
  if (!members_.empty()) members_ += ',';
  members_ += JsonText(name);
  members_ += ':';
  members_ += json;
  return *this;
}

JsonObject& JsonObject::Append(const JsonObject& other) {
  if (!members_.empty() && !other.members_.empty()) members_ += ',';
  members_ += other.members_;
  return *this;
}

JsonList& JsonList::AddRaw(std::string_view json) {
  if (!items_.empty()) items_ += ',';
  items_ += json;
  return *this;
}

}  // namespace quillet
