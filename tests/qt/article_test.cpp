// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/article_services.h"

#include <QAccessible>
#include <QApplication>
#include <QPalette>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QToolButton>
#include <algorithm>

#include "qt/icons.h"
#include "qt/text.h"
#include "tests/qt/article_fixture.h"

namespace quillet::qt {
namespace {

using port::HeaderLine;
using port::MessageKind;
using port::ScrollStep;

const std::vector<port::ToolbarButton> kButtons{{40018, 0, u"Previous Thread"},
                                                {40017, 1, u"Previous Article"},
                                                {40019, 2, u"Next Article"},
                                                {40016, 3, u"Next Thread"},
                                                {0, 0, u""},
                                                {40048, 4, u"Find"},
                                                {0, 0, u""},
                                                {40011, 5, u"Delete Article"},
                                                {40028, 6, u"Delete Thread"}};

double Milliseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

// --- without a window ---

TEST_F(ArticleTest, WithoutAWindowNothingHappens) {
  article().CreatePanes(u"Tahoma", 10);
  EXPECT_FALSE(article().PanesCreated());
  EXPECT_FALSE(article().CreateToolbar(kButtons));
  ShowSource(u"x");
  article().SetHeader({});
  article().ScrollViewer(ScrollStep::kBottom);
  article().CopyFromViewer();
  article().FocusViewer();
}

TEST_F(ArticleTest, BeforeItsPanesNothingHappens) {
  ShowWindow();
  EXPECT_FALSE(article().PanesCreated());
  ShowSource(u"x");
  article().SetHeader({});
  article().FocusViewer();
  article().CreatePanes(u"Tahoma", 10);
  EXPECT_TRUE(article().PanesCreated());
  EXPECT_EQ(ShownText(), QString());
}

TEST_F(ArticleTest, NewTabsHaveNoPanesAndNoToolbar) {
  ShowArticleTab();
  ASSERT_TRUE(article().CreateToolbar(kButtons));
  device->windows().CreateTabs(port::TabPlacement::kLeft);
  EXPECT_FALSE(article().PanesCreated());
  OnDisplay([&] { EXPECT_EQ(Main().Toolbar(), nullptr); });
}

TEST_F(ArticleTest, NewPanesReplaceTheOldOnes) {
  ShowArticleTab();
  ShowSource(u"old");
  article().CreatePanes(u"", 24);
  EXPECT_EQ(ShownText(), QString());
  OnDisplay([&] {
    EXPECT_EQ(Main().findChildren<Viewer*>().size(), 1);
    int bars = 0;
    for (const QAbstractButton* button : Main().Article()->findChildren<QAbstractButton*>()) {
      if (dynamic_cast<const HeaderBar*>(button) != nullptr) ++bars;
    }
    EXPECT_EQ(bars, 1);
    EXPECT_TRUE(Text().hasFocus());
  });
}

// --- the header bar ---

const std::array<HeaderLine, 2> kHeader{
    {{u"Subject: Re: <b>ships</b>", u"Thread 3/12"}, {u"From: Ann <a@b>", u"Article 0/4"}}};

TEST_F(ArticleTest, HeaderStandsAboveTheTextTwoLinesHigh) {
  ShowArticleTab();
  article().SetHeader(kHeader);
  OnDisplay([&] {
    EXPECT_EQ(Header().geometry().topLeft(), QPoint(0, 0));
    EXPECT_EQ(Header().width(), Main().Article()->width());
    EXPECT_EQ(Text().geometry().top(), Header().height());
    EXPECT_EQ(Text().geometry().bottom(), Main().Article()->height() - 1);
    const int line = Header().fontMetrics().height();
    EXPECT_GE(Header().height(), 2 * line);
    EXPECT_LE(Header().height(), 2 * line + 10);
  });
}

TEST_F(ArticleTest, HeaderTextsEndFivePixelsBeforeTheRightOnes) {
  ShowArticleTab({240, 320});
  article().SetHeader({{{u"Subject: " + std::u16string(100000, u'w'), u"Thread 3/12"},
                        {u"From: x", u"Article 10/4000"}}});
  OnDisplay([&] {
    for (const std::size_t line : {0u, 1u}) {
      const QRect right = Header().RightRect(line);
      const QRect left = Header().LeftRect(line);
      EXPECT_EQ(right.left() - (left.right() + 1), 5);
      EXPECT_GE(Header().width() - right.right(), 1);
      EXPECT_LE(Header().width() - right.right(), 6);
      EXPECT_LE(Header().fontMetrics().horizontalAdvance(Header().ShownLeft(line)), left.width());
    }
    EXPECT_TRUE(Header().ShownLeft(0).startsWith(QStringLiteral("Subject: w")));
    EXPECT_TRUE(Header().ShownLeft(0).endsWith(QChar(0x2026)));
    EXPECT_EQ(Header().ShownLeft(1), QStringLiteral("From: x"));
    EXPECT_EQ(Header().RightRect(0).width(),
              Header().fontMetrics().horizontalAdvance(QStringLiteral("Thread 3/12")));
  });
}

TEST_F(ArticleTest, HeaderNarrowerThanItsRightTextStillPaints) {
  ShowArticleTab();
  article().SetHeader({{{u"Subject: x", std::u16string(500, u'w')}, {u"", u""}}});
  OnDisplay([&] {
    EXPECT_EQ(Header().LeftRect(0).width(), 0);
    EXPECT_GE(Header().RightRect(0).left(), 0);
    EXPECT_FALSE(Header().grab().isNull());
  });
}

TEST_F(ArticleTest, HeaderIsLightGreyWithBlackTextInEveryPalette) {
  ShowArticleTab();
  article().SetHeader(kHeader);
  OnDisplay([&] {
    const DarkPalette dark;
    const QImage image = Header().grab().toImage();
    EXPECT_EQ(image.pixelColor(1, 1), QColor(0xD9, 0xD9, 0xD9));
    int darkest = 255;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        darkest = std::min(darkest, image.pixelColor(x, y).lightness());
      }
    }
    EXPECT_LT(darkest, 0x40);
  });
}

TEST_F(ArticleTest, HeaderFontFollowsItsPixelsAndStaysReadable) {
  OnDisplay([] {
    QFont base = QApplication::font();
    base.setPixelSize(20);
    EXPECT_EQ(HeaderFont(u"", 10, base).pixelSize(), 20);
    EXPECT_EQ(HeaderFont(u"", 24, base).pixelSize(), 48);
    EXPECT_EQ(HeaderFont(u"", 14, base).pixelSize(), 28);
    EXPECT_EQ(HeaderFont(u"", 8, base).pixelSize(), 18);  // never below nine tenths
    EXPECT_EQ(HeaderFont(u"", -5, base).pixelSize(), 18);
    QFont odd = base;
    odd.setPixelSize(15);
    EXPECT_EQ(HeaderFont(u"", 9, odd).pixelSize(), 14);  // 13.5, rounded
    odd.setPixelSize(16);
    EXPECT_EQ(HeaderFont(u"", 14, odd).pixelSize(), 22);  // 22.4
    EXPECT_EQ(HeaderFont(u"DejaVu Sans", 10, base).family(), QStringLiteral("DejaVu Sans"));
    EXPECT_EQ(HeaderFont(u"No such face", 10, base).family(), base.family());
  });
}

TEST_F(ArticleTest, HeaderIsTappedByMouseEnterAndSpace) {
  const port::WindowHandle main = ShowArticleTab();
  OnDisplay([&] { Click(Header(), {20, 5}); });
  std::vector<port::Message> messages = TakeMessages(queues);
  ASSERT_EQ(OfKind(messages, MessageKind::kHeaderTapped), (Details{{0, 0}}));
  EXPECT_EQ(messages[0].window, main);
  OnDisplay([&] {
    EXPECT_TRUE(Text().hasFocus());  // a click leaves the keyboard where it is
    Header().setFocus();
  });
  Key(Qt::Key_Return);
  Key(Qt::Key_Space);
  Key(Qt::Key_Down);
  EXPECT_EQ(OfKind(TakeMessages(queues), MessageKind::kHeaderTapped), (Details{{0, 0}, {0, 0}}));
}

TEST_F(ArticleTest, HeaderSaysItsTextsAndShowsTheWholeSubject) {
  ShowArticleTab();
  article().SetHeader(kHeader);
  OnDisplay([&] {
    EXPECT_EQ(Header().accessibleName(),
              QStringLiteral("Subject: Re: <b>ships</b>, Thread 3 of 12, From: Ann <a@b>, "
                             "Article 0 of 4"));
    QAccessibleInterface* reader = QAccessible::queryAccessibleInterface(&Header());
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->role(), QAccessible::Button);
    // Never mark-up.
    EXPECT_TRUE(Header().toolTip().contains(QStringLiteral("&lt;b&gt;ships&lt;/b&gt;")));
  });
  article().SetHeader({});
  OnDisplay([&] {
    EXPECT_EQ(Header().toolTip(), QString());
    EXPECT_FALSE(Header().accessibleName().isEmpty());
  });
}

TEST_F(ArticleTest, HeaderTextsStayOnTheirLines) {
  ShowArticleTab();
  article().SetHeader({{{u"Subject: a\nb\tc\u2028d", u"1"}, {u"From", u"2"}}});
  OnDisplay([&] { EXPECT_EQ(Header().ShownLeft(0), QStringLiteral("Subject: a b c d")); });
}

// --- the text ---

TEST_F(ArticleTest, BlanksAndLineEndsCount) {
  ShowArticleTab();
  ShowSource(Wrapped(u"  two  blanks&nbsp;<br>&nbsp;<br>\tthird &amp; &lt;last&gt;"));
  EXPECT_EQ(ShownText(), QStringLiteral("  two  blanks\n\n\tthird & <last>\n"));
}

TEST_F(ArticleTest, OddLineEndsAreShownAsTheyCome) {
  ShowArticleTab();
  ShowSource(Wrapped(u"lone CR &and lone LF nbsp;<br>next"));
  EXPECT_EQ(ShownText(), QStringLiteral("lone CR &and lone LF nbsp;\nnext\n"));
}

TEST_F(ArticleTest, PiecesOfASourceAreOneText) {
  ShowArticleTab();
  article().ClearViewer();
  article().AddToViewer(u"<FONT SIZE=\"2\">on", false);
  article().AddToViewer(u"e&am", false);
  article().AddToViewer(u"p;two</FONT>", false);
  article().EndOfSource();
  EXPECT_EQ(ShownText(), QStringLiteral("one&two"));
}

TEST_F(ArticleTest, ClearingShowsNothing) {
  ShowArticleTab();
  ShowSource(u"something");
  article().ClearViewer();
  EXPECT_EQ(ShownText(), QString());
  OnDisplay([&] { EXPECT_FALSE(Text().updatesEnabled()); });  // the old page, for a moment
  EXPECT_TRUE(WaitOnDisplay([&] { return Text().updatesEnabled(); }));
}

TEST_F(ArticleTest, PlainTextIsShownAsItStands) {
  ShowArticleTab();
  ShowSource(u"<b>not bold</b> &amp;  two\r\nsecond", true);
  EXPECT_EQ(ShownText(), QStringLiteral("<b>not bold</b> &amp;  two\nsecond"));
  OnDisplay(
      [&] { EXPECT_NEAR(Text().font().pointSizeF(), QApplication::font().pointSizeF(), 0.1); });
}

TEST_F(ArticleTest, ColoursOfQuotesHitsAndLinksAreKept) {
  ShowArticleTab();
  ShowSource(
      Wrapped(u"<FONT COLOR=\"#C02020\">&gt; quoted</FONT>&nbsp;<br>"
              u"<b><span style=\"background: #FFFF00\">found</span></b>&nbsp;<br>"
              u"<a href=\"http://a/\">http://a/</a>"));
  OnDisplay([&] {
    const auto format = [&](const char* text) {
      return Text().document()->find(QLatin1String(text)).charFormat();
    };
    EXPECT_EQ(format("quoted").foreground().color(), QColor(0xC0, 0x20, 0x20));
    EXPECT_EQ(format("found").background().color(), QColor(0xFF, 0xFF, 0x00));
    EXPECT_EQ(format("found").fontWeight(), QFont::Bold);
    EXPECT_EQ(format("http").foreground().color(), QColor(0x00, 0x00, 0xC8));
  });
}

TEST_F(ArticleTest, PageIsWhiteWithBlackTextInEveryPalette) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">http://a/</a>"));
  OnDisplay([&] {
    const QPalette light = QApplication::palette();
    QPalette dark(QColor(0x20, 0x20, 0x20));
    dark.setColor(QPalette::Base, QColor(0x18, 0x18, 0x18));
    dark.setColor(QPalette::Text, Qt::white);
    dark.setColor(QPalette::Link, QColor(0x80, 0xC0, 0xFF));
    QApplication::setPalette(dark);
    const QImage image = Text().viewport()->grab().toImage();
    EXPECT_EQ(Text().palette().color(QPalette::Base), QColor(Qt::white));
    EXPECT_EQ(Text().palette().color(QPalette::Text), QColor(Qt::black));
    EXPECT_EQ(image.pixelColor(image.width() - 2, image.height() - 2), QColor(Qt::white));
    EXPECT_EQ(Text().document()->find(QStringLiteral("http")).charFormat().foreground().color(),
              QColor(0x00, 0x00, 0xC8));
    QApplication::setPalette(light);
  });
}

TEST_F(ArticleTest, SizeTwoIsTheSizeOfTheApplication) {
  ShowArticleTab();
  const auto size = [&](int index) {
    ShowSource(u"<FONT SIZE=\"" + std::u16string(1, static_cast<char16_t>(u'0' + index)) +
               u"\">text</FONT>");
    double points = 0;
    OnDisplay([&] {
      const QTextBlock block = Text().document()->firstBlock();
      const QTextLayout& layout = *block.layout();
      points = layout.boundingRect().height();
    });
    return points;
  };
  std::vector<double> sizes;
  for (int i = 1; i <= 8; ++i) sizes.push_back(size(i));
  double usual = 0;
  OnDisplay([&] { usual = QFontMetricsF(QApplication::font()).height(); });
  EXPECT_NEAR(sizes[1], usual, 1.5);
  for (std::size_t i = 1; i < 7; ++i) EXPECT_GT(sizes[i], sizes[i - 1]) << i;
  EXPECT_GE(sizes[7], sizes[6]);
  EXPECT_LT(sizes[7], 5 * usual);
}

TEST_F(ArticleTest, FaceIsTakenOrReplaced) {
  ShowArticleTab();
  ShowSource(u"<FONT FACE=\"DejaVu Sans Mono\" SIZE=\"2\">text</FONT>");
  OnDisplay([&] {
    const QTextCharFormat format = Text().document()->find(QStringLiteral("text")).charFormat();
    EXPECT_EQ(format.fontFamilies().toStringList(),
              QStringList{QStringLiteral("DejaVu Sans Mono")});
  });
  ShowSource(u"<FONT FACE=\"No such face\" SIZE=\"2\">text</FONT>");
  EXPECT_EQ(ShownText(), QStringLiteral("text"));
}

TEST_F(ArticleTest, EveryLineHasTheSameHeight) {
  ShowArticleTab();
  ShowSource(Wrapped(u"one&nbsp;<br>&nbsp;<br>three&nbsp;<br>&nbsp;<br>"));
  OnDisplay([&] {
    std::vector<double> heights;
    for (QTextBlock block = Text().document()->begin(); block.isValid(); block = block.next()) {
      heights.push_back(block.layout()->boundingRect().height());
    }
    ASSERT_EQ(heights.size(), 6u);
    for (std::size_t i = 1; i < 5; ++i) EXPECT_NEAR(heights[i], heights[0], 0.5) << i;
  });
}

TEST_F(ArticleTest, NothingIsLoadedFromOutside) {
  const QTemporaryDir folder;
  const QString path = folder.filePath(QStringLiteral("dot.png"));
  QImage dot(40, 40, QImage::Format_RGB32);
  dot.fill(Qt::green);
  ASSERT_TRUE(dot.save(path));
  ShowArticleTab();
  const std::u16string name = FromQt(path);
  ShowSource(u"<img src=\"" + name + u"\"><img src=\"file://" + name +
             u"\"><p style=\"background-image:url(" + name + u")\">x</p>");
  OnDisplay([&] {
    const QImage image = Text().viewport()->grab().toImage();
    bool green = false;
    for (int y = 0; y < image.height(); ++y) {
      for (int x = 0; x < image.width(); ++x) {
        green = green || image.pixelColor(x, y) == QColor(Qt::green);
      }
    }
    EXPECT_FALSE(green);
    const QVariant picture = Text().document()->resource(QTextDocument::ImageResource, QUrl(path));
    EXPECT_EQ(qvariant_cast<QImage>(picture).size(), QSize(1, 1));
  });
}

// --- the buttons ---

class ToolbarTest : public ArticleTest {
 protected:
  QList<QToolButton*> Buttons() {
    return Main().Toolbar()->findChildren<QToolButton*>(QString(), Qt::FindDirectChildrenOnly);
  }
  void LeaveRoom() {
    port::Size inside;
    OnDisplay([&] {
      const QSize size = Main().centralWidget()->size();
      inside = {size.width(), size.height()};
    });
    device->windows().LayOut(inside, {inside.width, inside.height - 26});
  }
};

TEST_F(ToolbarTest, StandsInTheRoomBelowTheTabs) {
  ShowArticleTab();
  LeaveRoom();
  ASSERT_TRUE(article().CreateToolbar(kButtons));
  OnDisplay([&] {
    const QWidget* inside = Main().centralWidget();
    EXPECT_TRUE(Main().Toolbar()->isVisible());
    EXPECT_EQ(Main().Toolbar()->geometry(), QRect(0, inside->height() - 26, inside->width(), 26));
    EXPECT_EQ(Tabs().geometry().bottom() + 1, inside->height() - 26);
  });
}

TEST_F(ToolbarTest, IsShownWithTheArticleTabOnly) {
  ShowArticleTab();
  LeaveRoom();
  article().CreateToolbar(kButtons);
  device->windows().SelectTab(1);
  OnDisplay([&] { EXPECT_FALSE(Main().Toolbar()->isVisible()); });
  device->windows().SelectTab(2);
  OnDisplay([&] {
    EXPECT_TRUE(Main().Toolbar()->isVisible());
    Tabs().Bar().setCurrentIndex(0);  // the user
    EXPECT_FALSE(Main().Toolbar()->isVisible());
  });
}

TEST_F(ToolbarTest, HasItsButtonsInOrderWithNamesAndImages) {
  ShowArticleTab();
  LeaveRoom();
  article().CreateToolbar(kButtons);
  OnDisplay([&] {
    const QList<QToolButton*> buttons = Buttons();
    ASSERT_EQ(buttons.size(), 7);
    int at = 0;
    int x = -1;
    for (const port::ToolbarButton& entry : kButtons) {
      if (entry.command == 0) continue;
      QToolButton& button = *buttons[at++];
      EXPECT_EQ(button.toolTip(), ToQt(entry.tooltip));
      EXPECT_EQ(button.accessibleName(), ToQt(entry.tooltip));
      EXPECT_TRUE(button.isEnabled());
      EXPECT_FALSE(button.icon().pixmap(16).isNull());
      EXPECT_GT(button.x(), x);
      x = button.x();
    }
    EXPECT_EQ(Main().Toolbar()->findChildren<QFrame*>(QString(), Qt::FindDirectChildrenOnly).size(),
              2);
  });
}

TEST_F(ToolbarTest, PressIsItsCommandAndLeavesTheFocus) {
  const port::WindowHandle main = ShowArticleTab();
  LeaveRoom();
  article().CreateToolbar(kButtons);
  OnDisplay([&] {
    for (QToolButton* button : Buttons()) Click(*button, button->rect().center());
    EXPECT_TRUE(Text().hasFocus());
  });
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_EQ(
      OfKind(messages, MessageKind::kCommand),
      (Details{
          {40018, 0}, {40017, 0}, {40019, 0}, {40016, 0}, {40048, 0}, {40011, 0}, {40028, 0}}));
  EXPECT_EQ(messages[0].window, main);
}

TEST_F(ToolbarTest, AllButtonsFitANarrowWindow) {
  ShowArticleTab({240, 320});
  LeaveRoom();
  article().CreateToolbar(kButtons);
  OnDisplay([&] {
    Main().resize(240, 320);
    QCoreApplication::processEvents();
    EXPECT_EQ(Main().width(), 240);
    for (const QToolButton* button : Buttons()) {
      EXPECT_GE(button->x(), 0);
      EXPECT_LE(button->geometry().right(), 239);
      EXPECT_GE(button->width(), 24);
      EXPECT_EQ(button->height(), 26);
    }
  });
}

TEST_F(ToolbarTest, ANewOneReplacesIt) {
  ShowArticleTab();
  LeaveRoom();
  article().CreateToolbar(kButtons);
  ASSERT_TRUE(article().CreateToolbar({{40048, 4, u"Find"}}));
  OnDisplay([&] {
    ASSERT_EQ(Buttons().size(), 1);
    EXPECT_EQ(Buttons()[0]->toolTip(), QStringLiteral("Find"));
    EXPECT_TRUE(Main().Toolbar()->isVisible());
  });
}

TEST_F(ToolbarTest, ImagesFollowThePalette) {
  OnDisplay([] {
    const auto darkness = [](std::uint32_t image) {
      const QImage drawn = ToolbarIcon(image).pixmap(32).toImage();
      int sum = 0;
      int count = 0;
      for (int y = 0; y < drawn.height(); ++y) {
        for (int x = 0; x < drawn.width(); ++x) {
          if (drawn.pixelColor(x, y).alpha() < 200) continue;
          sum += drawn.pixelColor(x, y).lightness();
          ++count;
        }
      }
      EXPECT_GT(count, 20) << image;
      return count == 0 ? -1 : sum / count;
    };
    for (std::uint32_t image = 0; image < 7; ++image) EXPECT_LT(darkness(image), 0x60) << image;
    const DarkPalette dark;
    for (std::uint32_t image = 0; image < 7; ++image) EXPECT_GT(darkness(image), 0xA0) << image;
    EXPECT_TRUE(ToolbarIcon(7).pixmap(16).toImage().allGray());  // there is no such image
  });
}

// --- long and odd texts ---

struct OddText {
  const char* name;
  std::u16string source;
};

std::u16string Repeated(const std::u16string& piece, std::size_t length) {
  std::u16string text;
  while (text.size() < length) text += piece;
  return text;
}

TEST_F(ArticleTest, LongAndOddTextsAreShownSoon) {
  ShowArticleTab();
  const std::vector<OddText> cases{
      {"a word of 1 MB", Wrapped(std::u16string(1000000, u'x'))},
      {"words on one line", Wrapped(Repeated(u"word ", 400000))},
      {"5,000 lines", Lines(5000)},
      {"quotes and links",
       Wrapped(Repeated(u"<FONT COLOR=\"#C02020\">&gt; quoted line</FONT>&nbsp;<br>"
                        u"<a href=\"http://example.org/x\">http://example.org/x</a>&nbsp;<br>",
                        200000))},
      {"entities without a blank", Wrapped(Repeated(u"&amp;", 200000))},
      {"lone ampersands", Wrapped(Repeated(u"&", 60000))},
      {"unfinished tags", Repeated(u"<", 60000)},
      {"unfinished links", Repeated(u"<a href=\"", 60000)},
      {"control characters",
       Wrapped(Repeated(std::u16string(u"\0\x01\x1b\x7f\x0c\x0b", 6), 60000))},
      {"characters of the toolkit's own",
       Wrapped(Repeated(u"\uFDD0\uFDD1\uFFFC\u2029\u2028", 30000))},
      {"bidirectional marks", Wrapped(Repeated(u"a\u202E\u05D0\u2067b\u200F ", 60000))},
      {"lone surrogates", Wrapped(Repeated(std::u16string{0xD800, u'a', 0xDC00}, 60000))},
      {"combining marks", Wrapped(u"a" + Repeated(u"\u0301", 5000))},
      {"hard blanks", Wrapped(Repeated(u"&nbsp;", 200000))}};
  for (const OddText& text : cases) {
    for (const bool plain_text : {false, true}) {
      const double ms = Milliseconds([&] {
        ShowSource(text.source, plain_text);
        OnDisplay([&] {
          Text().grab();
          EXPECT_FALSE(Text().document()->isEmpty()) << text.name;
        });
        article().ScrollViewer(ScrollStep::kBottom);
        OnDisplay([&] { Text().grab(); });
      });
      EXPECT_LT(ms, 20000) << text.name << (plain_text ? " as plain text" : "");
    }
  }
}

// Whole they would be higher than the toolkit can lay out.
TEST_F(ArticleTest, AMillionLinesEndWithANotice) {
  ShowArticleTab();
  for (const char16_t* font : {u"<FONT SIZE=\"2\">", u"<FONT SIZE=\"7\">"}) {
    ShowSource(font + Repeated(u"&nbsp;<br>", 10000000) + u"</FONT>");
    for (bool laid_out = false; !laid_out;) {
      OnDisplay([&] {
        Text().grab();
        laid_out = Text().verticalScrollBar()->maximum() > 3000000;
      });
    }
    OnDisplay([&] {
      EXPECT_LT(Text().document()->size().height(), 16000000);
      EXPECT_TRUE(Text().document()->lastBlock().text().startsWith(
          QStringLiteral("[The rest of this long article is not shown.")));
    });
  }
}

TEST_F(ArticleTest, NulAndReservedCharactersAreShownAsReplacements) {
  ShowArticleTab();
  ShowSource(Wrapped(std::u16string(u"a\0b\uFDD0c\uFFFC", 6)));
  EXPECT_EQ(ShownText(), QStringLiteral("a\uFFFDb\uFFFDc\uFFFD\n"));
}

}  // namespace
}  // namespace quillet::qt
