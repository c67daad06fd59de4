// SPDX-License-Identifier: GPL-3.0-or-later
// A header's value as killfile and thread tree compare it. Any thread; pure but for the switch of
// mime/decoding.h.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// The texts of two killfile entries are one: they have the same bytes, or are shown alike.
bool SameHeaderText(std::string_view a, std::string_view b);

// One value that many texts are looked for in; it is decoded once, when the first one needs it.
// Borrows the stored value.
class ComparedHeader {
 public:
  explicit ComparedHeader(std::string_view stored);

  // As HeaderContains says.
  bool Contains(std::string_view wanted);

 private:
  std::string_view stored_;
  bool plain_;
  std::optional<std::u16string> shown_;
};

}  // namespace quillet
