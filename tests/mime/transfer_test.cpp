// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/transfer.h"

#include <gtest/gtest.h>

#include <random>

namespace quillet {
namespace {

std::string FromBase64(std::string_view letters) {
  std::string out;
  DecodeBase64(letters, out);
  return out;
}

TEST(Base64, SkipsWhatIsNoLetter) {
  EXPECT_EQ(FromBase64("SGVs\r\nbG8="), "Hello");
  EXPECT_EQ(FromBase64("S-G.V s!b*G_8"), "Hello");
  EXPECT_EQ(FromBase64(""), "");
  EXPECT_EQ(FromBase64("===="), "");
  EXPECT_EQ(FromBase64("A"), "");
}

TEST(Base64, NeedsNoPaddingAndGoesOnBehindIt) {
  EXPECT_EQ(FromBase64("SGVsbG8"), "Hello");
  EXPECT_EQ(FromBase64("SGVsbG8=SGVsbA==SGk"), "HelloHellHi");
}

// Letter by letter.
std::string DecodePlainly(std::string_view letters) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bits, bytes;
  for (const char c : letters) {
    if (c == '=') bits.clear();
    const std::size_t value = kAlphabet.find(c);
    if (value == std::string_view::npos) continue;
    for (int bit = 5; bit >= 0; --bit) bits += (value >> bit & 1) != 0 ? '1' : '0';
    if (bits.size() < 8) continue;
    bytes += static_cast<char>(std::stoi(bits.substr(0, 8), nullptr, 2));
    bits.erase(0, 8);
  }
  return bytes;
}

TEST(Base64, AgreesWithGoingLetterByLetter) {
  std::mt19937 random(3);
  constexpr std::string_view kOften = "AZaz09+/==\r\n \xFF*";
  for (int round = 0; round < 20000; ++round) {
    std::string letters;
    for (auto left = random() % 40; left > 0; --left) {
      letters += random() % 4 == 0 ? kOften[random() % kOften.size()]
                                   : static_cast<char>('A' + random() % 26);
    }
    ASSERT_EQ(FromBase64(letters), DecodePlainly(letters)) << letters;
  }
}

TEST(Base64, EndsWhereTextBegins) {
  EXPECT_EQ(FindBase64("SGVs\r\nbG8=\r\n\r\n-- \r\nThe list: <a@b>\r\n").end, 14U);
  EXPECT_TRUE(FindBase64("SGVs\r\nbG8=\r\nThe list\r\n").is_base64);
  EXPECT_EQ(FindBase64("SGVs\r\nbG8=\r\nSGk=\r\n").end, 18U);
  EXPECT_FALSE(FindBase64("This is a text, and no base64 at all.\r\n").is_base64);
  EXPECT_TRUE(FindBase64("SGVs!bG8\r\nSGVsbG8SGVsbG8\r\n").is_base64);
  EXPECT_TRUE(FindBase64("").is_base64);
}

TEST(QuotedPrintable, JoinsSoftLinesAndDropsBlanksAtLineEnds) {
  EXPECT_EQ(DecodeQuotedPrintable("a=\r\nb= \t\r\nc \t\r\nd=20\r\ne"), "abc\r\nd \r\ne");
  EXPECT_EQ(DecodeQuotedPrintable("a=\nb \nc"), "ab\nc");
  EXPECT_EQ(DecodeQuotedPrintable("x=C3=bc="), "x\xC3\xBC");
  EXPECT_EQ(DecodeQuotedPrintable("x \t"), "x");
  EXPECT_EQ(DecodeQuotedPrintable("x=09 "), "x\t");
  EXPECT_EQ(DecodeQuotedPrintable(""), "");
}

TEST(QuotedPrintable, LeavesWhatIsNoEscape) {
  EXPECT_EQ(DecodeQuotedPrintable("1=2 =XY =C =\xE9"), "1=2 =XY =C =\xE9");
  EXPECT_EQ(DecodeQuotedPrintable("a==41"), "a=A");
  EXPECT_EQ(DecodeQuotedPrintable(std::string("=00\0", 4)), std::string("\0\0", 2));
}

TEST(QuotedPrintable, ALongLineOfBlanksTakesNoLonger) {
  const std::string blanks(1000000, ' ');
  EXPECT_EQ(DecodeQuotedPrintable(blanks + "\r\n"), "\r\n");
  EXPECT_EQ(DecodeQuotedPrintable(blanks + "=" + blanks + "x").size(), 2000002U);
}

}  // namespace
}  // namespace quillet
