// SPDX-License-Identifier: GPL-3.0-or-later
// Names of hosts as they stand behind the "@" of addresses and Message-IDs. Pure; any thread.
#pragma once

#include <string_view>

namespace quillet {

// Two labels at least, of letters, digits and inner hyphens, 63 characters each and 253 in all.
bool IsPlausibleDomain(std::string_view domain);

}  // namespace quillet
