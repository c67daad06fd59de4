// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/flowed.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

TEST(JoinFlowed, LinesThatEndWithABlankGoOn) {
  EXPECT_EQ(JoinFlowed(u"one \r\ntwo \r\nthree\r\nfour\r\n", false), u"one two three\r\nfour\r\n");
  EXPECT_EQ(JoinFlowed(u"one \r\n", false), u"one \r\n");
  EXPECT_EQ(JoinFlowed(u"", false), u"");
  EXPECT_EQ(JoinFlowed(u"a \nb\rc", false), u"a b\r\nc\r\n");
}

TEST(JoinFlowed, WithoutTheBlanksWhereTheyAreNoText) {
  EXPECT_EQ(JoinFlowed(u"日本 \r\n語 \r\n\r\nx\r\n", true), u"日本語\r\nx\r\n");
  EXPECT_EQ(JoinFlowed(u"a  \r\nb\r\n", true), u"a b\r\n");
}

TEST(JoinFlowed, EmptyLinesStayAndEndAParagraph) {
  EXPECT_EQ(JoinFlowed(u"a\r\n\r\n\r\nb\r\n", false), u"a\r\n\r\n\r\nb\r\n");
}

TEST(JoinFlowed, AStuffedBlankGoes) {
  EXPECT_EQ(JoinFlowed(u" From here\r\n  x\r\n >no quote\r\n", false),
            u"From here\r\n x\r\n>no quote\r\n");
}

TEST(JoinFlowed, QuotedParagraphsJoinByTheirDepth) {
  EXPECT_EQ(JoinFlowed(u"> a \r\n> b\r\n>> c \r\n>> d \r\n> e \r\nf\r\n>\r\n", false),
            u"> a b\r\n>> c d \r\n> e \r\nf\r\n>\r\n");
  EXPECT_EQ(JoinFlowed(u">a \r\n>b\r\n", false), u"> a b\r\n");
}

TEST(JoinFlowed, ASignatureIsAloneOnItsLine) {
  EXPECT_EQ(JoinFlowed(u"text \r\n-- \r\nAnn \r\nLee\r\n", false), u"text \r\n-- \r\nAnn Lee\r\n");
  EXPECT_EQ(JoinFlowed(u"> q \r\n> -- \r\n> Ann\r\n", false), u"> q \r\n> -- \r\n> Ann\r\n");
}

TEST(JoinFlowed, DeepQuotesGrowNothing) {
  std::u16string text;
  for (int i = 0; i < 1000; ++i) text += std::u16string(1000, u'>') + u"x \r\n";
  EXPECT_EQ(
      JoinFlowed(text, false), std::u16string(1000, u'>') + u" " + [] {
        std::u16string words;
        for (int i = 0; i < 1000; ++i) words += u"x ";
        return words;
      }() + u"\r\n");
}

}  // namespace
}  // namespace quillet
