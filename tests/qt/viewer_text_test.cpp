// Fragments and texts in the form that the toolkit lays out quickly.
#include "qt/viewer_text.h"

#include <gtest/gtest.h>

namespace quillet::qt {
namespace {

TEST(ViewerTextTest, FragmentIsWrappedAndItsLinesAreParagraphs) {
  EXPECT_EQ(PageOf(QStringLiteral("<FONT SIZE=\"2\">a&nbsp;<br>b &amp; c<br></FONT>")),
            QStringLiteral("<div style=\"white-space:pre-wrap\"><FONT SIZE=\"2\">a\nb &amp; c\n"
                           "</FONT></div>"));
}

TEST(ViewerTextTest, TargetsSurviveTheDecodingOfMarkUp) {
  EXPECT_EQ(PageOf(QStringLiteral("<a href=\"http://a/?b&lt;&c\">x &lt;</a>")),
            QStringLiteral("<div style=\"white-space:pre-wrap\"><a href=\"http://a/?b&amp;lt;&amp;c"
                           "\">x &lt;</a></div>"));
}

TEST(ViewerTextTest, OnlyVeryLongWordsGetBreakMarks) {
  const QString word(1000, QLatin1Char('w'));
  EXPECT_EQ(TextPageOf(word + QLatin1Char(' ') + word), word + QLatin1Char(' ') + word);
  EXPECT_EQ(TextPageOf(word + QLatin1Char('x')), word + QChar(0x200B) + QLatin1Char('x'));
  EXPECT_EQ(WithoutBreakMarks(TextPageOf(word + word + word)), word + word + word);
  // An entity is one character and stays whole, a pair of surrogates too.
  const QString page = PageOf(QStringLiteral("&amp;").repeated(1001));
  EXPECT_TRUE(page.contains(QString(QChar(0x200B)) + QStringLiteral("&amp;</div>")));
  EXPECT_EQ(page.count(QChar(0x200B)), 1);
  const QString pair = QString::fromUcs4(U"\U0001F600");
  EXPECT_FALSE(TextPageOf(pair.repeated(2000)).contains(pair[0] + QString(QChar(0x200B))));
}

TEST(ViewerTextTest, UnfinishedMarkUpIsText) {
  EXPECT_EQ(PageOf(QStringLiteral("a < b")), QStringLiteral("<div style=\"white-space:pre-wrap\">"
                                                            "a &lt; b</div>"));
  EXPECT_EQ(PageOf(QStringLiteral("<a href=\"x")),
            QStringLiteral("<div style=\"white-space:pre-wrap\">&lt;a href=\"x</div>"));
  EXPECT_EQ(PageOf(QStringLiteral("& &; &x &amp")),
            QStringLiteral("<div style=\"white-space:pre-wrap\">& &; &x &amp</div>"));
}

}  // namespace
}  // namespace quillet::qt
