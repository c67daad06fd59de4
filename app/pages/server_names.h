// SPDX-License-Identifier: GPL-3.0-or-later
// Names of news servers as a user types them. Program thread only.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "base/prefs.h"

namespace quillet {

// Why no server can have that name, as a sentence for the user; empty when one can.
std::u16string RefusalOfServerName(std::u16string_view name);
// The place of a server of that name, whatever the case of its letters.
std::optional<std::size_t> FindServer(const Prefs& prefs, std::u16string_view name);

}  // namespace quillet
