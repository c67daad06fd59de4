// SPDX-License-Identifier: GPL-3.0-or-later
// A scanner by hand over UTF-16 units, because escapes and quotes work on units and lone surrogates
// are allowed. Errors are texts, the first one ends the line. Keys are named by two tables, for
// reading and for writing them.
#include "script/words.h"

#include <array>
#include <cstdio>

#include "port/fake/fake_display.h"
#include "port/message.h"
#include "util/text.h"

namespace quillet {
namespace {

struct NamedKey {
  std::uint32_t virtual_key;
  std::u16string_view name;
};

constexpr std::array<NamedKey, 16> kNamedKeys = {{{port::kKeyEscape, u"Escape"},
                                                  {port::kKeyReturn, u"Return"},
                                                  {port::kKeySpace, u"Space"},
                                                  {port::kKeyPageUp, u"PageUp"},
                                                  {port::kKeyPageDown, u"PageDown"},
                                                  {port::kKeyLeft, u"Left"},
                                                  {port::kKeyUp, u"Up"},
                                                  {port::kKeyRight, u"Right"},
                                                  {port::kKeyDown, u"Down"},
                                                  {port::kKeyDelete, u"Delete"},
                                                  {port::kKeyF1, u"F1"},
                                                  {port::kKeyF24, u"F24"},
                                                  {port::kKeyHome, u"Home"},
                                                  {port::kKeyEnd, u"End"},
                                                  {port::kKeyAction, u"Action"},
                                                  {port::kKeyContextMenu, u"Menu"}}};

struct NamedModifier {
  std::uint32_t modifier;
  std::u16string_view prefix;
};

constexpr std::array<NamedModifier, 3> kNamedModifiers = {{{port::kModifierControl, u"Ctrl+"},
                                                           {port::kModifierAlt, u"Alt+"},
                                                           {port::kModifierShift, u"Shift+"}}};

std::optional<unsigned> HexDigit(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10U;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10U;
  return std::nullopt;
}

// Reads the escape whose backslash stands at `at` and leaves `at` on its last unit.
std::optional<char16_t> ReadEscape(std::u16string_view line, std::size_t& at) {
  if (++at == line.size()) return std::nullopt;
  switch (line[at]) {
    case u'"':
    case u'\\':
      return line[at];
    case u'n':
      return u'\n';
    case u'r':
      return u'\r';
    case u't':
      return u'\t';
    case u'u':
      break;
    default:
      return std::nullopt;
  }
  unsigned unit = 0;
  for (int i = 0; i < 4; ++i) {
    const auto digit = ++at < line.size() ? HexDigit(line[at]) : std::nullopt;
    if (!digit) return std::nullopt;
    unit = unit << 4 | *digit;
  }
  return static_cast<char16_t>(unit);
}

// Reads the quoted word whose opening quote stands at `at`; afterwards `at` is behind its closing
// quote. The text that says what is wrong, empty when nothing is.
std::string ReadQuoted(std::u16string_view line, std::size_t& at, std::u16string& word) {
  for (++at; at < line.size(); ++at) {
    if (line[at] == u'"') {
      ++at;
      if (at < line.size() && line[at] != u' ' && line[at] != u'\t') {
        return "no blank after a closing quote";
      }
      return {};
    }
    if (line[at] != u'\\') {
      word += line[at];
      continue;
    }
    const auto unit = ReadEscape(line, at);
    if (!unit) return "bad escape in a quoted word";
    word += *unit;
  }
  return "no closing quote";
}

bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r';
}

}  // namespace

ScriptLine SplitScriptLine(std::string_view text) {
  ScriptLine result;
  const std::u16string line = FromUtf8(text);
  if (ToUtf8(line) != text) {
    result.error = "not UTF-8";
    return result;
  }
  std::size_t at = 0;
  while (at < line.size()) {
    if (IsBlank(line[at])) {
      ++at;
      continue;
    }
    if (line[at] == u'#' && result.words.empty()) return result;
    std::u16string word;
    if (line[at] == u'"') {
      result.error = ReadQuoted(line, at, word);
      if (!result.error.empty()) return result;
    } else {
      while (at < line.size() && !IsBlank(line[at])) word += line[at++];
    }
    result.words.push_back(std::move(word));
  }
  return result;
}

std::optional<std::uint32_t> ParseNumber(std::u16string_view word) {
  if (word.empty()) return std::nullopt;
  std::uint64_t number = 0;
  for (const char16_t unit : word) {
    if (unit < u'0' || unit > u'9') return std::nullopt;
    number = number * 10 + (unit - u'0');
    if (number > 0xFFFFFFFF) return std::nullopt;
  }
  return static_cast<std::uint32_t>(number);
}

std::optional<port::Size> ParseSize(std::u16string_view word) {
  const std::size_t cross = word.find(u'x');
  if (cross == std::u16string_view::npos) return std::nullopt;
  const auto width = ParseNumber(word.substr(0, cross));
  const auto height = ParseNumber(word.substr(cross + 1));
  if (!width || !height || *width == 0 || *height == 0) return std::nullopt;
  if (*width > 32767 || *height > 32767) return std::nullopt;
  return port::Size{static_cast<int>(*width), static_cast<int>(*height)};
}

std::optional<std::string> ParseHex(std::u16string_view word) {
  if (word.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (std::size_t i = 0; i < word.size(); i += 2) {
    const auto high = HexDigit(word[i]);
    const auto low = HexDigit(word[i + 1]);
    if (!high || !low) return std::nullopt;
    bytes += static_cast<char>(*high << 4 | *low);
  }
  return bytes;
}

std::optional<KeyCombination> ParseKey(std::u16string_view word) {
  KeyCombination key;
  for (bool found = true; found;) {
    found = false;
    for (const NamedModifier& named : kNamedModifiers) {
      if ((key.modifiers & named.modifier) != 0 || !StartsWithNoCase(word, named.prefix)) continue;
      key.modifiers |= named.modifier;
      word.remove_prefix(named.prefix.size());
      found = true;
    }
  }
  for (const NamedKey& named : kNamedKeys) {
    if (!EqualsNoCase(word, named.name)) continue;
    key.virtual_key = named.virtual_key;
    return key;
  }
  if (word.size() != 1) return std::nullopt;
  const char16_t unit = word[0] >= u'a' && word[0] <= u'z' ? word[0] - u'a' + u'A' : word[0];
  const bool known = (unit >= u'A' && unit <= u'Z') || (unit >= u'0' && unit <= u'9');
  if (!known) return std::nullopt;
  key.virtual_key = unit;
  return key;
}

std::string KeyText(std::uint32_t virtual_key, std::uint32_t modifiers) {
  std::u16string text;
  for (const NamedModifier& named : kNamedModifiers) {
    if ((modifiers & named.modifier) != 0) text += named.prefix;
  }
  for (const NamedKey& named : kNamedKeys) {
    if (named.virtual_key == virtual_key) return ToUtf8(text.append(named.name));
  }
  const bool plain =
      (virtual_key >= 'A' && virtual_key <= 'Z') || (virtual_key >= '0' && virtual_key <= '9');
  if (plain) return ToUtf8(text) + static_cast<char>(virtual_key);
  return ToUtf8(text) + std::to_string(virtual_key);
}

}  // namespace quillet
