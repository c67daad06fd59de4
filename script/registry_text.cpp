// SPDX-License-Identifier: GPL-3.0-or-later
// One table of the four types, each with its name and the function that describes its data. Data
// that does not have the form of its type is described as null beside its bytes in hex, so that
// broken values can be written by a test and seen.
#include "script/registry_text.h"

#include <array>
#include <vector>

#include "base/multi_string.h"
#include "base/registry_values.h"
#include "script/words.h"
#include "util/little_endian.h"

namespace quillet {
namespace {

using port::RegistryType;
using port::RegistryValue;

std::string HexText(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

// Each describes data of its type as a JSON value; "null" when the data does not have the form.

std::string DescribeString(std::string_view data) {
  if (data.size() % 2 != 0) return "null";
  std::u16string text = Utf16Text(data);
  if (!text.empty() && text.back() == u'\0') text.pop_back();
  return JsonText(text);
}

std::string DescribeMultiString(std::string_view data) {
  if (data.size() % 2 != 0) return "null";
  const std::u16string units = Utf16Text(data);
  JsonList list;
  for (std::size_t at = 0; at < units.size() && units[at] != u'\0';) {
    const std::size_t end = units.find(u'\0', at);
    list.Add(std::u16string_view(units).substr(at, end - at));
    if (end == std::u16string::npos) break;
    at = end + 1;
  }
  return list.Finish();
}

std::string DescribeNumber(std::string_view data) {
  return data.size() == 4 ? std::to_string(GetU32(data, 0)) : "null";
}

std::string DescribeNumbers(std::string_view data) {
  if (data.size() % 4 != 0) return "null";
  JsonList list;
  for (std::size_t at = 0; at < data.size(); at += 4) {
    list.AddRaw(std::to_string(GetU32(data, at)));
  }
  return list.Finish();
}

struct TypeName {
  RegistryType type;
  std::string_view name;
  std::string (*describe)(std::string_view data);
};

constexpr std::array<TypeName, 4> kTypes = {{
    {RegistryType::kString, "string", DescribeString},
    {RegistryType::kBinary, "binary", DescribeNumbers},
    {RegistryType::kDword, "dword", DescribeNumber},
    {RegistryType::kMultiString, "multi", DescribeMultiString},
}};

// Null for a number that is no type of the registry.
const TypeName* FindType(std::uint32_t number) {
  for (const TypeName& type : kTypes) {
    if (static_cast<std::uint32_t>(type.type) == number) return &type;
  }
  return nullptr;
}

std::optional<std::string> NumbersData(std::span<const std::u16string> words) {
  std::string data;
  for (const std::u16string& word : words) {
    const auto number = ParseNumber(word);
    if (!number) return std::nullopt;
    AppendU32(data, *number);
  }
  return data;
}

std::optional<RegistryValue> WithType(RegistryType type, std::optional<std::string> data) {
  if (!data) return std::nullopt;
  return RegistryValue{type, std::move(*data)};
}

}  // namespace

JsonObject DescribeRegistryValue(std::u16string_view name, const RegistryValue* value) {
  JsonObject object;
  object.Add("name", name).Add("found", value != nullptr);
  if (value == nullptr) return object;
  const TypeName* type = FindType(static_cast<std::uint32_t>(value->type));
  object.Add("type", type != nullptr ? type->name : "unknown");
  object.AddRaw("value", type != nullptr ? type->describe(value->data) : "null");
  return object.Add("hex", HexText(value->data));
}

std::optional<RegistryValue> MakeRegistryValue(std::span<const std::u16string> words) {
  if (words.empty()) return std::nullopt;
  const std::u16string& kind = words[0];
  const auto rest = words.subspan(1);
  if (kind == u"multi") return RegistryValue{RegistryType::kMultiString, CreateMultiString(rest)};
  if (kind == u"numbers") return WithType(RegistryType::kBinary, NumbersData(rest));
  if (kind == u"raw" && rest.size() == 2) {
    const TypeName* type = FindType(ParseNumber(rest[0]).value_or(0));
    return type != nullptr ? WithType(type->type, ParseHex(rest[1])) : std::nullopt;
  }
  if (rest.size() != 1) return std::nullopt;
  if (kind == u"dword") return WithType(RegistryType::kDword, NumbersData(rest));
  if (kind == u"string") return RegistryValue{RegistryType::kString, Utf16Bytes(rest[0] + u'\0')};
  if (kind == u"binary") return WithType(RegistryType::kBinary, ParseHex(rest[0]));
  return std::nullopt;
}

}  // namespace quillet
