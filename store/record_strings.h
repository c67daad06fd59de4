// SPDX-License-Identifier: GPL-3.0-or-later
// The two things every record format here is made of: NUL-terminated strings in a row, and keys
// that are strings. Only for store/.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "util/text.h"

namespace quillet {

// Length of the undefined bytes at the end of every record; written as zeros, ignored on reading.
constexpr std::size_t kSlackLength = 4;
// No record, and no text inside one, is longer than this.
constexpr std::size_t kLongestRecord = std::size_t{64} << 20;

// A key that is a string includes its NUL. Text after an embedded NUL is not stored, so it does not
// count either.
inline std::string StringKey(std::string_view text) {
  std::string key(UntilNul(text));
  key.push_back('\0');
  return key;
}

// Takes one string after the other from a block; nothing once a string does not end inside it.
class StringReader {
 public:
  explicit StringReader(std::string_view block) : rest_(block) {}

  std::optional<std::string_view> Next() {
    const std::size_t end = rest_.find('\0');
    if (end == std::string_view::npos) return std::nullopt;
    const std::string_view text = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
    return text;
  }

 private:
  std::string_view rest_;
};

}  // namespace quillet
