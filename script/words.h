// SPDX-License-Identifier: GPL-3.0-or-later
// Command lines of the script: words, quotes, escapes, numbers, sizes, keys. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "port/windows.h"

namespace quillet {

struct ScriptLine {
  std::vector<std::u16string> words;  // empty: a blank line or a comment
  std::string error;                  // not empty: what is wrong with the line
};

// Splits a UTF-8 line (without its line end) into words.
ScriptLine SplitScriptLine(std::string_view line);

// Decimal digits only, at most 4,294,967,295.
std::optional<std::uint32_t> ParseNumber(std::u16string_view word);
// "240x320"; both at least 1 and at most 32,767.
std::optional<port::Size> ParseSize(std::u16string_view word);
// An even number of hexadecimal digits; the bytes.
std::optional<std::string> ParseHex(std::u16string_view word);

struct KeyCombination {
  std::uint32_t virtual_key = 0;
  std::uint32_t modifiers = 0;
};

// "Ctrl+Alt+M", "Escape"; letter case does not count.
std::optional<KeyCombination> ParseKey(std::u16string_view word);
// The same backwards; a key without a name is its number.
std::string KeyText(std::uint32_t virtual_key, std::uint32_t modifiers);

}  // namespace quillet
