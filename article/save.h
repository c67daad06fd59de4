// SPDX-License-Identifier: GPL-3.0-or-later
// The name under which an article is saved.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// The first 16 characters shown of a stored subject with "_" for what is not an ASCII letter or
// digit, and ".txt".
std::u16string DefaultFileName(std::string_view subject);

}  // namespace quillet
