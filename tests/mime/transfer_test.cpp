#include "mime/transfer.h"

#include <gtest/gtest.h>

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
