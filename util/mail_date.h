// SPDX-License-Identifier: GPL-3.0-or-later
// The date of an article or a mail, as RFC 5322 writes it and its forerunners wrote it. Pure; any
// thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace quillet {

// Seconds since 1970, UTC. Names in any case, comments and blanks anywhere between the parts, years
// of two and three digits, zones by name ("EST"); seconds may be left out, and so may the zone,
// which is UTC then, as is one that nobody knows. Nothing when it is no date: a day that its month
// does not have, a part that is missing, a year before 1900 or behind 9999, something behind it.
std::optional<std::int64_t> ParseMailDate(std::string_view text);

// Days from 1 January 1970 to that day of the Gregorian calendar, months counted from 1.
std::int64_t DaysSince1970(std::int64_t year, unsigned month, unsigned day);

}  // namespace quillet
