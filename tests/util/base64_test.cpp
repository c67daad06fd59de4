// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/base64.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet {
namespace {

using namespace std::string_literals;

TEST(Base64Test, TextsOfTheStandard) {
  EXPECT_EQ(Base64Encode(""), "");
  EXPECT_EQ(Base64Encode("f"), "Zg==");
  EXPECT_EQ(Base64Encode("fo"), "Zm8=");
  EXPECT_EQ(Base64Encode("foo"), "Zm9v");
  EXPECT_EQ(Base64Encode("foob"), "Zm9vYg==");
  EXPECT_EQ(Base64Encode("fooba"), "Zm9vYmE=");
  EXPECT_EQ(Base64Encode("foobar"), "Zm9vYmFy");
  EXPECT_EQ(Base64Encode("\xFB\xEF\xFF\x00"s), "++//AA==");
}

TEST(Base64Test, EveryLetterOfTheAlphabetInItsPlace) {
  std::string bytes;
  for (unsigned i = 0; i < 64; i += 4) {
    const unsigned bits = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
    bytes += static_cast<char>(bits >> 16);
    bytes += static_cast<char>(bits >> 8 & 0xFF);
    bytes += static_cast<char>(bits & 0xFF);
  }
  constexpr const char* kAll = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  EXPECT_EQ(Base64Encode(bytes), kAll);
  EXPECT_EQ(Base64Decode(kAll), bytes);
}

TEST(Base64Test, DecodesWhatItEncodes) {
  std::string bytes;
  for (int i = 0; i < 300; ++i) {
    EXPECT_EQ(Base64Decode(Base64Encode(bytes)), bytes) << i;
    bytes += static_cast<char>(i * 37);
  }
}

TEST(Base64Test, TokenOfTheLargestBuffer) {
  EXPECT_EQ(Base64Encode(std::string(2048, '\xFF')).size(), 2732U);
}

TEST(Base64Test, BlanksAndTabsAtTheStartAreSkipped) {
  EXPECT_EQ(Base64Decode(" \t  \tZm9v"), "foo");
  EXPECT_EQ(Base64Decode(" \t "), "");
  EXPECT_EQ(Base64Decode(""), "");
}

TEST(Base64Test, FirstCharacterOutsideTheAlphabetEndsTheText) {
  EXPECT_EQ(Base64Decode("Zm9v YmFy"), "foo");
  EXPECT_EQ(Base64Decode("Zm9v\r\nYmFy"), "foo");
  EXPECT_EQ(Base64Decode("Zm9v=YmFy"), "foo");
  EXPECT_EQ(Base64Decode("Zm8=Zm8="), "fo");
  EXPECT_EQ(Base64Decode("Zm9v-_"), "foo");
  EXPECT_EQ(Base64Decode("\nZm9v"), "");
  EXPECT_EQ(Base64Decode("Zm9v\0YmFy"s), "foo");
  EXPECT_EQ(Base64Decode("Zm9v\xE9YmFy"), "foo");
}

TEST(Base64Test, BitsThatMakeNoWholeByteAreDropped) {
  EXPECT_EQ(Base64Decode("Z"), "");
  EXPECT_EQ(Base64Decode("Zm"), "f");
  EXPECT_EQ(Base64Decode("Zm8"), "fo");
  EXPECT_EQ(Base64Decode("Zm9vY"), "foo");
}

}  // namespace
}  // namespace quillet
