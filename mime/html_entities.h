// SPDX-License-Identifier: GPL-3.0-or-later
// Characters by their names in HTML. Pure; any thread.
#pragma once

#include <string_view>

namespace quillet {

// The character of "eacute" and the like, with regard to case; 0 where there is none. The names of
// HTML 4, which are those that are in use.
char16_t EntityCharacter(std::u16string_view name);

}  // namespace quillet
