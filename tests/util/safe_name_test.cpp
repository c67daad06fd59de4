// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/safe_name.h"

#include <gtest/gtest.h>

#include <set>

#include "util/stable_hash.h"

namespace quillet {
namespace {

TEST(StableHashTest, IsTheOneThatIsStored) {
  EXPECT_EQ(StableHash(""), 0xCBF29CE484222325U);
  EXPECT_EQ(StableHash("a"), 0xAF63DC4C8601EC8CU);
  EXPECT_EQ(StableHash("foobar"), 0x85944171F73967E8U);
  EXPECT_EQ(StableHash("bar", StableHash("foo")), StableHash("foobar"));
}

TEST(SafeNameTest, DigitsAndSmallLettersStandForThemselves) {
  EXPECT_EQ(SafeName("2024123115905123"), "2024123115905123");
  EXPECT_EQ(SafeName("az09-_"), "az09-_");
}

TEST(SafeNameTest, EveryOtherByteIsEscaped) {
  EXPECT_EQ(SafeName("<A.b@x>"), "=3c=41=2eb=40x=3e");
  EXPECT_EQ(SafeName("a\\b\r\n=\xFF "), "a=5cb=0d=0a=3d=ff=20");
  EXPECT_EQ(SafeName(""), "=");
}

TEST(SafeNameTest, LongNamesAreCutAndTold) {
  EXPECT_EQ(SafeName(std::string(80, 'x')), std::string(80, 'x'));
  const std::string first = SafeName(std::string(81, 'x'));
  EXPECT_EQ(first.size(), 80U);
  EXPECT_EQ(first.substr(0, 64), std::string(62, 'x') + "=h");
  EXPECT_EQ(first.substr(64), HexDigits(StableHash(std::string(81, 'x')), 16));
  EXPECT_NE(first, SafeName(std::string(82, 'x')));
  EXPECT_EQ(SafeName(std::string(100000, '<')).size(), 80U);
}

TEST(SafeNameTest, DifferentBytesHaveDifferentNamesWithoutRegardToCase) {
  std::set<std::string> names;
  for (int byte = 0; byte < 256; ++byte)
    names.insert(SafeName(std::string(1, static_cast<char>(byte))));
  EXPECT_EQ(names.size(), 256U);
  for (const std::string& name : names) {
    EXPECT_EQ(name.find_first_not_of("abcdefghijklmnopqrstuvwxyz0123456789-_="), std::string::npos);
  }
}

TEST(HexDigitsTest, AreTheLowerOnes) {
  EXPECT_EQ(HexDigits(0, 8), "00000000");
  EXPECT_EQ(HexDigits(0x1DEADBEEFU, 8), "deadbeef");
  EXPECT_EQ(HexDigits(~std::uint64_t{0}, 16), "ffffffffffffffff");
}

}  // namespace
}  // namespace quillet
