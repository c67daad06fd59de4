// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/percent.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet {
namespace {

TEST(Percent, DigitsOfEitherCaseAreDecoded) {
  EXPECT_EQ(PercentDecoded("a%41%7e%7Eb"), "aA~~b");
  EXPECT_EQ(PercentDecoded(""), "");
  EXPECT_EQ(PercentDecoded("%00"), std::string(1, '\0'));
  EXPECT_EQ(PercentDecoded("%25%34%31"), "%41");  // once, not again
}

TEST(Percent, SignWithoutTwoDigitsIsRefusedOrLeft) {
  for (const char* text : {"%", "a%4", "%g0", "%0g", "%%41", "% 41", "%-1"}) {
    EXPECT_EQ(PercentDecoded(text), std::nullopt) << text;
  }
  EXPECT_EQ(PercentDecodedLeniently("%%41%4"), "%A%4");
}

TEST(Percent, HexDigitsAreAsciiOnly) {
  EXPECT_EQ(HexDigitValue('0'), 0);
  EXPECT_EQ(HexDigitValue('f'), 15);
  EXPECT_EQ(HexDigitValue('F'), 15);
  for (const char c : {'g', 'G', '/', ':', '@', '`', '\xB2', '\0'}) EXPECT_EQ(HexDigitValue(c), -1);
}

}  // namespace
}  // namespace quillet
