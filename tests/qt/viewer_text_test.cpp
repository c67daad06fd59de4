// SPDX-License-Identifier: GPL-3.0-or-later
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

TEST(ViewerTextTest, BreakMarksOfTheArticleItselfAreCopied) {
  const QString mark(QChar(0x200B));
  const QString thai = QStringLiteral("\u0E44\u0E17\u0E22");
  const QString word(1000, QLatin1Char('w'));
  for (const QString& text :
       {thai + mark + thai, mark, mark + mark + mark, mark + thai, thai + mark, word + mark + word,
        word + QLatin1Char('x') + mark, mark + word + word + mark, QString()}) {
    EXPECT_EQ(WithoutBreakMarks(TextPageOf(text)), text);
  }
  EXPECT_EQ(WithoutBreakMarks(QStringLiteral("cut off") + mark), QStringLiteral("cut off"));
}

// --- Very long articles --------------------------------------------------------------------------

constexpr qsizetype kMostCharacters = 2400000;

constexpr QLatin1String kHit("<b><span style=\"background: #FFFF00\">hit</span></b>");
constexpr QLatin1String kNotice(
    "\n[The rest of this long article is not shown. Save it to read it.]</div>");
constexpr QLatin1String kHitNotice(
    "\n[The rest of this long article is not shown, and what was searched for is only found there. "
    "Save it to read it.]</div>");

TEST(ViewerTextTest, ALongArticleEndsAfterSoManyCharacters) {
  const QString words = QStringLiteral("12345678 ").repeated(kMostCharacters / 9 + 1);
  EXPECT_FALSE(PageOf(words.first(kMostCharacters)).contains(QLatin1String("not shown")));
  const QString page = PageOf(words.first(kMostCharacters + 1));
  EXPECT_TRUE(page.endsWith(kNotice));
  EXPECT_EQ(page.count(QLatin1String("12345678 ")), kMostCharacters / 9);
}

TEST(ViewerTextTest, ALineEndCountsEightCharacters) {
  const QString lines = QStringLiteral("&nbsp;<br>").repeated(kMostCharacters / 8);
  EXPECT_FALSE(PageOf(lines).contains(QLatin1String("not shown")));
  EXPECT_TRUE(PageOf(lines + QLatin1Char('x')).endsWith(kNotice));
  EXPECT_TRUE(TextPageOf(QString(kMostCharacters / 8, QLatin1Char('\n')) + QLatin1Char('x'))
                  .endsWith(QLatin1String(
                      "[The rest of this long article is not shown. Save it to read it.]")));
}

TEST(ViewerTextTest, TheNoticeTellsWhenOnlyTheRestHasHits) {
  const QString shown = QStringLiteral("12345678 ").repeated(kMostCharacters / 9 + 1);
  EXPECT_TRUE(PageOf(shown + kHit).endsWith(kHitNotice));
  EXPECT_TRUE(PageOf(kHit + shown + kHit).endsWith(kNotice));
  EXPECT_TRUE(PageOf(kHit + shown).endsWith(kNotice));
  EXPECT_FALSE(PageOf(kHit).contains(QLatin1String("not shown")));
  // The mark-up as the text of an article.
  const QString text = QString(kHit).toHtmlEscaped();
  EXPECT_TRUE(PageOf(shown + text).endsWith(kNotice));
}

TEST(ViewerTextTest, TheAttachmentsOfALongArticleAreListedAllTheSame) {
  const QString shown = QStringLiteral("12345678 ").repeated(kMostCharacters / 9 + 1);
  const QString rest =
      QStringLiteral("rest&nbsp;<br><a href=\"http://a/\">http://a/</a>&nbsp;<br>");
  const QString list = QStringLiteral("<a href=\"attachment:1\">one &amp; more</a>");
  QString notice = kNotice;
  notice.chop(6);
  EXPECT_TRUE(PageOf(shown + rest + list + QStringLiteral("&nbsp;<br>"))
                  .endsWith(notice + QStringLiteral("\n\n") + list + QStringLiteral("\n</div>")));
  const QString page = PageOf(shown + rest + list.repeated(1000000));
  EXPECT_LT(page.size(), shown.size() + 1000000);
  EXPECT_TRUE(page.contains(notice + QStringLiteral("\n\n") + list + list));
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
