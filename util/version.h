// The version that users see. The about box's form has it too, and a test holds them together.
#pragma once

#include <string_view>

namespace quillet {

inline constexpr std::string_view kVersionText = "1.14r3";

}  // namespace quillet
