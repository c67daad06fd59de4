// SPDX-License-Identifier: GPL-3.0-or-later
// Lists of strings as registry data: each string with its 16-bit NUL, one more NUL at the end; an
// empty string is the single character U+E000, since two NULs would end the list; an empty list is
// four zero bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "port/registry.h"

namespace quillet {

// A count above this that the data does not back is taken as one that no memory could hold.
inline constexpr std::uint32_t kMostMadeUpStrings = 16777216;

// The data (UTF-16 little-endian). An embedded NUL cuts its string. On allocation failure the
// critical report "out of memory" in "CreateMultiString" and an empty result.
std::string CreateMultiString(std::span<const std::u16string> strings);
// The same for 8-bit strings, widened with code page 1252.
std::string CreateMultiString(std::span<const std::string> strings);

// Exactly `count` strings of the value (missing ones are empty); the number never comes from the
// data. A value of another type counts as missing. On allocation failure (a count no memory could
// hold) the critical report "out of memory" in "ReadMultiString" and an empty list.
std::vector<std::u16string> ReadMultiString(port::RegistryKey& key, std::u16string_view name,
                                            std::uint32_t count);
// As many strings as the data really holds, at most `count`; narrowed with code page 1252.
std::vector<std::string> ReadNarrowMultiString(port::RegistryKey& key, std::u16string_view name,
                                               std::uint32_t count);
// The same on raw bytes; std::bad_alloc instead of the report.
std::vector<std::u16string> ParseMultiString(std::string_view data, std::uint32_t count);
// How many strings the data really holds. NULs at its end are terminators, not strings.
std::size_t CountMultiStrings(std::string_view data);
// The same for a value; 0 when it is missing or of another type.
std::size_t CountStoredStrings(port::RegistryKey& key, std::u16string_view name);

}  // namespace quillet
