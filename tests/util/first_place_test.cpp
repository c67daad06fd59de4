// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/first_place.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillet {
namespace {

template <class Flag, class Char>
struct Is {
  std::basic_string_view<Char> text;
  Char wanted;
  Flag operator()(std::size_t place) const { return text[place] == wanted ? 1 : 0; }
};

// Every length around two blocks, and every place in it.
TEST(FirstPlace, IsFoundWhereverItIs) {
  for (std::size_t length = 0; length < 70; ++length) {
    for (std::size_t place = 0; place < length; ++place) {
      std::string bytes(length, '.');
      std::u16string units(length, u'.');
      bytes[place] = 'x';
      units[place] = u'x';
      const Is<std::uint8_t, char> is_byte{bytes, 'x'};
      const Is<std::uint16_t, char16_t> is_unit{units, u'x'};
      for (std::size_t from = 0; from <= length; ++from) {
        const std::size_t expected = from <= place ? place : length;
        ASSERT_EQ(FirstPlace(from, length, is_byte), expected) << length << ' ' << from;
        ASSERT_EQ(FirstPlace(from, length, is_unit), expected) << length << ' ' << from;
      }
    }
  }
}

TEST(FirstPlace, AnyOfSeveralConditionsWillDo) {
  const std::u16string text = std::u16string(40, u'.') + u"b" + std::u16string(40, u'.') + u"a";
  const Is<std::uint16_t, char16_t> a{text, u'a'}, b{text, u'b'}, c{text, u'c'};
  EXPECT_EQ(FirstPlace(0, text.size(), a, b, c), 40U);
  EXPECT_EQ(FirstPlace(41, text.size(), a, b, c), 81U);
  EXPECT_EQ(FirstPlace(0, text.size(), c), text.size());
}

TEST(FirstPlace, NothingIsLookedAtFromTheEndOn) {
  const auto fits = [](std::size_t place) -> std::uint8_t {
    EXPECT_LT(place, 40U);
    return 0;
  };
  EXPECT_EQ(FirstPlace(0, 40, fits), 40U);
  EXPECT_EQ(FirstPlace(40, 40, fits), 40U);
  EXPECT_EQ(FirstPlace(41, 40, fits), 41U);
}

}  // namespace
}  // namespace quillet
