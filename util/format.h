// SPDX-License-Identifier: GPL-3.0-or-later
// Type-safe formatting with the conversions the program's texts are written in.
//
// Conversions: %ls or %s (a text: wide or 8-bit; 8-bit text in a wide format is widened with code
// page 1252, wide text in an 8-bit format is narrowed), %lu %u %d %ld (any integer, printed by its
// own signedness), %x (unsigned hexadecimal, lower case), %% (a percent sign). A conversion without
// an argument is printed as it stands; surplus arguments are ignored. Never fails.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <type_traits>

#include "util/text.h"

namespace quillet {

class FormatArgument {
 public:
  FormatArgument(std::u16string_view text) : text_(text) {}        // NOLINT: implicit by design
  FormatArgument(const std::u16string& text) : text_(text) {}      // NOLINT
  FormatArgument(const char16_t* text) : text_(text) {}            // NOLINT
  FormatArgument(std::string_view text) : text_(Widen(text)) {}    // NOLINT
  FormatArgument(const std::string& text) : text_(Widen(text)) {}  // NOLINT
  FormatArgument(const char* text) : text_(Widen(text)) {}         // NOLINT
  template <class T, class = std::enable_if_t<std::is_integral_v<T>>>
  FormatArgument(T number)  // NOLINT
      : number_(static_cast<std::uint64_t>(number)),
        negative_(std::is_signed_v<T> && number < T{0}),
        is_number_(true),
        width_(sizeof(T)) {}

  std::u16string Decimal() const;
  std::u16string Hexadecimal() const;

 private:
  std::u16string text_;
  std::uint64_t number_ = 0;
  bool negative_ = false;
  bool is_number_ = false;
  std::size_t width_ = 0;
};

std::u16string FormatWideArguments(std::u16string_view format,
                                   std::initializer_list<FormatArgument> arguments);

template <class... Args>
std::u16string FormatWide(std::u16string_view format, const Args&... args) {
  return FormatWideArguments(format, {FormatArgument(args)...});
}

// The same for 8-bit text. 8-bit arguments come out unchanged: code page 1252 round-trips.
template <class... Args>
std::string FormatNarrow(std::string_view format, const Args&... args) {
  return Narrow(FormatWideArguments(Widen(format), {FormatArgument(args)...}));
}

}  // namespace quillet
