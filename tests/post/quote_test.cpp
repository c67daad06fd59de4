// SPDX-License-Identifier: GPL-3.0-or-later
#include "post/quote.h"

#include <gtest/gtest.h>

#include <string>

#include "mime/columns.h"
#include "util/text.h"

namespace quillet {
namespace {

std::u16string Times(std::size_t count, std::u16string_view text) {
  std::u16string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

TEST(QuoteLines, EveryLineHasTheMark) {
  EXPECT_EQ(QuoteLines(u"One\r\n\r\nTwo\r\n", u"> "), u"> One\r\n> \r\n> Two\r\n");
  EXPECT_EQ(QuoteLines(u"One\nTwo", u"> "), u"> One\n> Two");
  EXPECT_EQ(QuoteLines(u"> \u03A9\r\n", u"> "), u"> > \u03A9\r\n");
  EXPECT_EQ(QuoteLines(u"", u"> "), u"");
}

TEST(QuoteLines, LongLinesStay) {
  const std::u16string line = Times(40, u"word ");
  EXPECT_EQ(QuoteLines(line, u"> "), u"> " + line);
}

TEST(QuoteParagraphs, ShortLinesAreQuotedAsTheyAre) {
  EXPECT_EQ(QuoteParagraphs(u"One\r\n\r\n-- \r\nTwo", u"> "), u"> One\r\n> \r\n> -- \r\n> Two");
  EXPECT_EQ(QuoteParagraphs(u"", u"> "), u"");
  EXPECT_EQ(QuoteParagraphs(u"\r\n", u"> "), u"> \r\n");
}

TEST(QuoteParagraphs, LongOnesAreBrokenAtBlanksInto72Columns) {
  // Fourteen words with their blanks and the mark make 72 columns, one more letter 73.
  EXPECT_EQ(QuoteParagraphs(Times(13, u"four ") + u"fives four\r\n", u"> "),
            u"> " + Times(13, u"four ") + u"fives\r\n> four\r\n");
  EXPECT_EQ(QuoteParagraphs(Times(13, u"four ") + u"sixsix four\r\n", u"> "),
            u"> " + Times(12, u"four ") + u"four\r\n> sixsix four\r\n");
}

TEST(QuoteParagraphs, DepthOfQuotingIsKept) {
  EXPECT_EQ(QuoteParagraphs(u"> One\r\n>> Two\r\n>\r\n", u"> "), u">> One\r\n>>> Two\r\n>> \r\n");
  EXPECT_EQ(QuoteParagraphs(u">> " + Times(20, u"four ") + u"\r\n", u"> "),
            u">>> " + Times(12, u"four ") + u"four\r\n>>> " + Times(6, u"four ") + u"four \r\n");
  // Another mark stays what it is.
  EXPECT_EQ(QuoteParagraphs(u"> One\r\n", u"| "), u"| > One\r\n");
  EXPECT_EQ(QuoteParagraphs(u"> One\r\n", u""), u"> One\r\n");
}

TEST(QuoteParagraphs, WideCharactersCountTwiceAndMayBeParted) {
  EXPECT_EQ(QuoteParagraphs(Times(50, u"\u65E5") + u"\r\n", u"> "),
            u"> " + Times(35, u"\u65E5") + u"\r\n> " + Times(15, u"\u65E5") + u"\r\n");
  // Not from the mark that stands on it, nor an emoji in the middle.
  EXPECT_EQ(QuoteParagraphs(Times(35, u"\u304B\u3099") + u"\u304B\u3099", u"> "),
            u"> " + Times(35, u"\u304B\u3099") + u"\r\n> \u304B\u3099");
  EXPECT_EQ(QuoteParagraphs(Times(40, u"\xD83D\xDE00"), u"> "),
            u"> " + Times(35, u"\xD83D\xDE00") + u"\r\n> " + Times(5, u"\xD83D\xDE00"));
}

TEST(QuoteParagraphs, WordsThatAreTooLongStayWhole) {
  const std::u16string link = u"https://example.org/" + Times(90, u"x");
  EXPECT_EQ(QuoteParagraphs(u"See " + link + u" for more", u"> "),
            u"> See\r\n> " + link + u"\r\n> for more");
}

TEST(QuoteParagraphs, MarksThatLeaveNoRoomLeaveSomeColumns) {
  EXPECT_EQ(QuoteParagraphs(Times(80, u">") + u" four four four four four", u"> "),
            Times(81, u">") + u" four four four four\r\n" + Times(81, u">") + u" four");
}

TEST(QuoteParagraphs, NoLineIsBrokenOnceMoreWhenItIsPosted) {
  std::u16string text;
  for (int i = 0; i < 400; ++i)
    text += std::u16string(1 + static_cast<unsigned>(i * 7) % 11, u'x') + u" ";
  std::u16string quoted = QuoteParagraphs(text, u"> ");
  while (!quoted.empty()) {
    const std::size_t end = std::min(quoted.find(u"\r\n"), quoted.size());
    EXPECT_LE(ColumnsOf(std::string_view(ToUtf8(quoted.substr(0, end)))), 73U);
    quoted.erase(0, end + 2);
  }
}

}  // namespace
}  // namespace quillet
