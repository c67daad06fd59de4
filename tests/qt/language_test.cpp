// SPDX-License-Identifier: GPL-3.0-or-later
// Articles in every language: each line goes by its own direction, and what is written from right
// to left does not turn what stands beside it; characters of all scripts have glyphs.
#include <QAccessible>
#include <QClipboard>
#include <QFontDatabase>
#include <QRawFont>
#include <QStyledItemDelegate>
#include <QTextBlock>
#include <QTextLayout>

#include "qt/one_line.h"
#include "qt/text.h"
#include "qt/thread_pane.h"
#include "qt/thread_tree.h"
#include "tests/qt/article_fixture.h"
#include "tests/qt/tree_fixture.h"

namespace quillet::qt {
namespace {

const std::u16string kArabic = u"\u0645\u0631\u062D\u0628\u0627 \u0628\u0643\u0645";
const std::u16string kHebrew = u"\u05E9\u05DC\u05D5\u05DD";

// Where the caret before that character stands in a line that is laid out from left to right.
double CaretAt(const QString& text, qsizetype place) {
  QTextLayout layout(text);
  QTextOption option;
  option.setTextDirection(Qt::LeftToRight);
  layout.setTextOption(option);
  layout.beginLayout();
  layout.createLine();
  layout.endLayout();
  return layout.lineAt(0).cursorToX(static_cast<int>(place));
}

// --- the page ---

class LanguageTest : public ArticleTest {
 protected:
  QTextBlock Line(int number) { return Text().document()->findBlockByNumber(number); }
};

TEST_F(LanguageTest, EveryLineOfAnArticleGoesByItsOwnDirection) {
  ShowArticleTab();
  ShowSource(Wrapped(u"Latin " + kArabic + u"&nbsp;<br>" + kArabic + u" Latin&nbsp;<br>" +
                     u"&nbsp;<br>&gt; " + kHebrew + u"&nbsp;<br>1. \u65E5\u672C&nbsp;<br>"));
  OnDisplay([&] {
    EXPECT_EQ(Line(0).textDirection(), Qt::LeftToRight);
    EXPECT_EQ(Line(1).textDirection(), Qt::RightToLeft);
    EXPECT_EQ(Line(2).textDirection(), Qt::LeftToRight);
    EXPECT_EQ(Line(3).textDirection(), Qt::RightToLeft);
    EXPECT_EQ(Line(4).textDirection(), Qt::LeftToRight);
    const int middle = Text().viewport()->width() / 2;
    for (const int number : {0, 1, 3, 4}) {
      const bool right = number == 1 || number == 3;
      const QTextLine line = Line(number).layout()->lineAt(0);
      EXPECT_EQ(line.naturalTextRect().left() > middle, right) << number;
      EXPECT_LT(line.naturalTextRect().width(), middle) << number;
    }
  });
}

TEST_F(LanguageTest, APlainTextGoesLineByLineToo) {
  ShowArticleTab();
  ShowSource(kArabic + u"\r\nLatin\r\n" + kHebrew, true);
  OnDisplay([&] {
    EXPECT_EQ(Line(0).textDirection(), Qt::RightToLeft);
    EXPECT_EQ(Line(1).textDirection(), Qt::LeftToRight);
    EXPECT_EQ(Line(2).textDirection(), Qt::RightToLeft);
  });
}

TEST_F(LanguageTest, AnOverrideEndsWithItsLine) {
  ShowArticleTab();
  ShowSource(Wrapped(u"a \u202Ebc&nbsp;<br>next line&nbsp;<br>"));
  OnDisplay([&] {
    const QTextLine line = Line(1).layout()->lineAt(0);
    EXPECT_LT(line.cursorToX(0), line.cursorToX(5));
    EXPECT_EQ(Line(1).text(), QStringLiteral("next line"));
  });
}

TEST_F(LanguageTest, CopiedTextIsWhatIsShown) {
  ShowArticleTab();
  const std::u16string text = kArabic + u" \u65E5\u672C \U0001F600 \u0E44\u0E17\u0E22 e\u0301";
  ShowSource(Wrapped(text + u"&nbsp;<br>" + std::u16string(1, u'\0') + u"\uFFFD"));
  article().CopyFromViewer();
  OnDisplay([&] {
    EXPECT_EQ(QApplication::clipboard()->text(), ToQt(text) + QStringLiteral("\n\uFFFD\uFFFD\n"));
  });
}

TEST_F(LanguageTest, ReadersOfTheScreenGetTheTextAsItIsShown) {
  ShowArticleTab();
  ShowSource(Wrapped(kHebrew + u" \U0001F600&nbsp;<br>x"));
  OnDisplay([&] {
    QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(&Text());
    ASSERT_NE(reader, nullptr);
    ASSERT_NE(reader->textInterface(), nullptr);
    const int length = reader->textInterface()->characterCount();
    EXPECT_EQ(reader->textInterface()->text(0, length).left(7),
              ToQt(kHebrew) + QStringLiteral(" \U0001F600"));
  });
}

TEST_F(LanguageTest, ALinkToAnAttachmentIsToldToTheCharacter) {
  ShowArticleTab();
  ShowSource(Wrapped(u"<a href=\"attachment:3\">Attachment: \u65E5\u672C.jpg</a>&nbsp;<br>"));
  OnDisplay([&] { Click(*Text().viewport(), PlaceOfText(QStringLiteral("Attachment"))); });
  EXPECT_EQ(TakeLinks(), std::vector<std::u16string>{u"attachment:3"});
}

// --- the header bar ---

TEST_F(LanguageTest, TheLabelOfAHeaderKeepsItsPlaceWhateverFollows) {
  ShowArticleTab({640, 480});
  article().SetHeader({{{u"Subject: " + kHebrew + u" abc", u"Thread 1/2"},
                        {u"From: Ann <ann@x.example>", u"Article 0/1"}}});
  OnDisplay([&] {
    const QString subject = Header().ShownLeft(0);
    ASSERT_TRUE(subject.startsWith(QStringLiteral("Subject: ")));
    EXPECT_EQ(subject,
              QStringLiteral("Subject: \u2068") + ToQt(kHebrew) + QStringLiteral(" abc\u2069"));
    // The name's own direction: what was written first stands at the right.
    const double label_end = CaretAt(subject, 9);
    EXPECT_LT(CaretAt(subject, 0), label_end);
    EXPECT_GT(CaretAt(subject, subject.indexOf(ToQt(kHebrew)) + 1),
              CaretAt(subject, subject.indexOf(QLatin1String("abc")) + 1));
    EXPECT_EQ(Header().ShownLeft(1), QStringLiteral("From: Ann <ann@x.example>"));
    EXPECT_FALSE(Header().accessibleName().contains(QChar(0x2068)));
    EXPECT_FALSE(Header().toolTip().contains(QChar(0x2068)));
  });
}

TEST(Isolated, OnlyWhatIsWrittenFromRightToLeftIsIsolated) {
  EXPECT_EQ(Isolated(u"Ann 1/2"), QStringLiteral("Ann 1/2"));
  EXPECT_EQ(Isolated(u"\u0395\u03BB \u65E5 \U0001F600"),
            QStringLiteral("\u0395\u03BB \u65E5 \U0001F600"));
  EXPECT_EQ(Isolated(u"x \u05D0"), QStringLiteral("\u2068x \u05D0\u2069"));
  EXPECT_EQ(Isolated(u"\u0661"), QStringLiteral("\u2068\u0661\u2069"));
  EXPECT_EQ(Isolated(u"\U0001E900"), QStringLiteral("\u2068\U0001E900\u2069"));
  EXPECT_EQ(Isolated(u""), QString());
}

// --- the thread tree ---

class LanguageTreeTest : public TreeTest {};

TEST_F(LanguageTreeTest, CountsStandBeforeASubjectOfTheOtherDirection) {
  ShowTree(SmallTree());
  OnDisplay([&] {
    const auto* rows = qobject_cast<const QStyledItemDelegate*>(Tree().itemDelegate());
    ASSERT_NE(rows, nullptr);
    const auto shown = [rows](const std::u16string& text) {
      return rows->displayText(ToQt(text), QLocale());
    };
    EXPECT_EQ(shown(u"1/2 " + kArabic),
              QStringLiteral("1/2 \u2068") + ToQt(kArabic) + QStringLiteral("\u2069"));
    EXPECT_EQ(shown(kHebrew + u" <a@b>"),
              QStringLiteral("\u2068") + ToQt(kHebrew) + QStringLiteral(" <a@b>\u2069"));
    EXPECT_EQ(shown(u"1/2 Hello"), QStringLiteral("1/2 Hello"));
    const QString row = shown(u"1/2 " + kHebrew + u" abc");
    EXPECT_LT(CaretAt(row, 0), CaretAt(row, 3));
    EXPECT_LT(CaretAt(row, 3), CaretAt(row, row.indexOf(QLatin1String("abc")) + 1));
  });
}

// --- fonts ---

bool SomeFontHas(const QString& character) {
  const char32_t code = character.toUcs4().front();
  for (const QString& family : QFontDatabase::families()) {
    if (QRawFont::fromFont(QFont(family)).supportsCharacter(code)) return true;
  }
  return false;
}

TEST_F(LanguageTest, EveryCharacterThatSomeFontHasIsDrawnWithIt) {
  ShowArticleTab();
  const QStringList characters{
      QStringLiteral("\u03A9"),     QStringLiteral("\u0416"), QStringLiteral("\u05D0"),
      QStringLiteral("\u0639"),     QStringLiteral("\u0E01"), QStringLiteral("\u3042"),
      QStringLiteral("\u6F22"),     QStringLiteral("\uD55C"), QStringLiteral("\u0915"),
      QStringLiteral("\U0001F600"), QStringLiteral("\u20AC")};
  ShowSource(Wrapped(FromQt(characters.join(QStringLiteral("&nbsp;<br>")))));
  OnDisplay([&] {
    int had = 0;
    for (int i = 0; i < characters.size(); ++i) {
      if (!SomeFontHas(characters[i])) continue;
      ++had;
      ASSERT_EQ(Text().document()->findBlockByNumber(i).text(), characters[i]);
      QTextLayout* layout = Text().document()->findBlockByNumber(i).layout();
      ASSERT_GT(layout->lineCount(), 0);
      for (const QGlyphRun& run : layout->glyphRuns()) {
        for (const quint32 glyph : run.glyphIndexes()) {
          EXPECT_NE(glyph, 0U) << characters[i].toStdString();
        }
      }
    }
    EXPECT_GE(had, 2);  // every machine has Greek and the Euro sign
  });
}

}  // namespace
}  // namespace quillet::qt
