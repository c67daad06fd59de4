// SPDX-License-Identifier: GPL-3.0-or-later
// What stands for an empty string in the registry's lists. A text that begins with it is read back
// as empty.
#pragma once

namespace quillet {

inline constexpr char16_t kEmptyEntryMark = 0xE000;

}  // namespace quillet
