// SPDX-License-Identifier: GPL-3.0-or-later
// The version that users see, for every place that shows it.
#pragma once

#include <string_view>

namespace quillet {

inline constexpr std::string_view kVersionText = "1.14r3";

}  // namespace quillet
