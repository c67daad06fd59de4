// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/format.h"

#include <gtest/gtest.h>

#include "util/little_endian.h"

namespace quillet {
namespace {

TEST(Format, TextsAndNumbers) {
  EXPECT_EQ(FormatWide(u"%lu article%ls queued", 2U, u"s"), u"2 articles queued");
  EXPECT_EQ(FormatNarrow("GROUP %s%s", std::u16string(u"a.b"), "\r\n"), "GROUP a.b\r\n");
  EXPECT_EQ(FormatWide(u"%d/%d", -1, std::uint64_t{18446744073709551615U}),
            u"-1/18446744073709551615");
  EXPECT_EQ(FormatWide(u"%x", 0x90312), u"90312");
  EXPECT_EQ(FormatWide(u"%x", -1), u"ffffffff");
}

TEST(Format, PercentAndMissingArguments) {
  EXPECT_EQ(FormatWide(u"%d%% full", 40), u"40% full");
  EXPECT_EQ(FormatWide(u"%ls and %ls", u"one"), u"one and %ls");
  EXPECT_EQ(FormatWide(u"100%", 3), u"100%");
}

TEST(Format, EightBitTextPassesUnchanged) {
  EXPECT_EQ(FormatNarrow("%s", "\x80\x81\xFF"), "\x80\x81\xFF");
}

TEST(LittleEndian, WordsRoundTrip) {
  std::string bytes = "xxxxx";
  PutU32(bytes, 1, 0x04030201U);
  EXPECT_EQ(bytes, std::string("x\x01\x02\x03\x04"));
  EXPECT_EQ(GetU32(bytes, 1), 0x04030201U);
  std::string grown;
  AppendU32(grown, 0xFFFFFFFEU);
  EXPECT_EQ(grown, "\xFE\xFF\xFF\xFF");
}

}  // namespace
}  // namespace quillet
