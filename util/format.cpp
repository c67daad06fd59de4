// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/format.h"

#include <array>
#include <charconv>

namespace quillet {
namespace {

std::u16string Digits(std::uint64_t value, int base) {
  std::array<char, 24> buffer{};
  const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, base);
  return {buffer.data(), result.ptr};
}

enum class Conversion { kNone, kPercent, kText, kDecimal, kHexadecimal };

// The conversion at `at` (which stands on "%") and the number of units it takes.
Conversion ConversionAt(std::u16string_view format, std::size_t at, std::size_t& length) {
  struct Entry {
    std::u16string_view text;
    Conversion conversion;
  };
  static constexpr std::array<Entry, 8> kEntries = {{{u"%%", Conversion::kPercent},
                                                     {u"%ls", Conversion::kText},
                                                     {u"%s", Conversion::kText},
                                                     {u"%lu", Conversion::kDecimal},
                                                     {u"%ld", Conversion::kDecimal},
                                                     {u"%u", Conversion::kDecimal},
                                                     {u"%d", Conversion::kDecimal},
                                                     {u"%x", Conversion::kHexadecimal}}};
  for (const Entry& entry : kEntries) {
    if (format.substr(at).starts_with(entry.text)) {
      length = entry.text.size();
      return entry.conversion;
    }
  }
  length = 1;
  return Conversion::kNone;
}

}  // namespace

std::u16string FormatArgument::Decimal() const {
  if (!is_number_) return text_;
  std::u16string text;
  if (negative_) text.push_back(u'-');
  return text.append(Digits(negative_ ? ~number_ + 1 : number_, 10));
}

std::u16string FormatArgument::Hexadecimal() const {
  if (!is_number_) return text_;
  const std::uint64_t mask =
      width_ >= 8 ? ~std::uint64_t{0} : (std::uint64_t{1} << (8 * width_)) - 1;
  return Digits(number_ & mask, 16);
}

std::u16string FormatWideArguments(std::u16string_view format,
                                   std::initializer_list<FormatArgument> arguments) {
  std::u16string out;
  const FormatArgument* next = arguments.begin();
  for (std::size_t at = 0; at < format.size();) {
    std::size_t length = 1;
    const Conversion conversion =
        format[at] == u'%' ? ConversionAt(format, at, length) : Conversion::kNone;
    if (conversion == Conversion::kPercent) {
      out.push_back(u'%');
    } else if (conversion == Conversion::kNone || next == arguments.end()) {
      out.append(format.substr(at, length));
    } else {
      out.append(conversion == Conversion::kHexadecimal ? next->Hexadecimal() : next->Decimal());
      ++next;
    }
    at += length;
  }
  return out;
}

}  // namespace quillet
