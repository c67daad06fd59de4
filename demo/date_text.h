// SPDX-License-Identifier: GPL-3.0-or-later
// Points in time as news texts, in UTC. Pure functions; seconds since 1970.
#pragma once

#include <cstdint>
#include <string>

namespace quillet::demo {

// "20240108093000", the form of the DATE reply.
std::string CompactDate(std::int64_t seconds);
// "Mon, 08 Jan 2024 09:30:00 +0000", the form of a Date header; the day's name is optional there.
std::string MailDate(std::int64_t seconds, bool with_weekday = true);

}  // namespace quillet::demo
