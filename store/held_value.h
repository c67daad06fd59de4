// SPDX-License-Identifier: GPL-3.0-or-later
// A fetched value in the memory that the database library made for it.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <string_view>

namespace quillet {

class HeldValue {
 public:
  HeldValue() = default;
  HeldValue(char* bytes, std::size_t size) : bytes_(bytes), size_(size) {}
  explicit operator bool() const { return bytes_ != nullptr; }  // false: there was none
  std::string_view view() const { return {bytes_.get(), bytes_ ? size_ : 0}; }

 private:
  struct Free {
    void operator()(char* bytes) const { std::free(bytes); }  // NOLINT: the library allocates it
  };
  std::unique_ptr<char, Free> bytes_;
  std::size_t size_ = 0;
};

}  // namespace quillet
