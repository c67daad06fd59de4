#include "qt/article_services.h"

#include <QAccessible>
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMimeData>
#include <QPalette>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTextBlock>
#include <QToolButton>
#include <algorithm>

#include "qt/icons.h"
#include "qt/text.h"
#include "qt/viewer_text.h"
#include "tests/qt/display_fixture.h"

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

std::u16string Wrapped(const std::u16string& text) {
  return u"<FONT FACE=\"Arial\" SIZE=\"2\">" + text + u"&nbsp;<br></FONT>";
}

std::u16string Lines(int count) {
  std::u16string lines;
  for (int i = 0; i < count; ++i) lines += u"one line of an article&nbsp;<br>";
  return Wrapped(lines);
}

double Milliseconds(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start)
      .count();
}

class ArticleTest : public DisplayTest {
 protected:
  QtArticlePanes& article() { return device->article(); }
  Viewer& Text() { return *Main().Article()->Text(); }
  HeaderBar& Header() { return *Main().Article()->Header(); }

  port::WindowHandle ShowArticleTab(port::Size size = {640, 480}) {
    const port::WindowHandle main = ShowWindow(port::TabPlacement::kBottom, size);
    device->windows().SelectTab(2);
    article().CreatePanes(u"Tahoma", 10);
    article().FocusViewer();
    OnDisplay([] { QCoreApplication::processEvents(); });
    TakeMessages(queues);
    return main;
  }
  void ShowSource(const std::u16string& source, bool plain_text = false) {
    article().ClearViewer();
    article().AddToViewer(source, plain_text);
    article().EndOfSource();
  }
  QString ShownText() {
    QString text;
    OnDisplay([&] { text = Text().toPlainText(); });
    return text;
  }
  int Scrolled() {
    int value = 0;
    OnDisplay([&] { value = Text().verticalScrollBar()->value(); });
    return value;
  }
  // Middle of the first character with that link.
  QPoint PlaceOfText(const QString& text) {
    QTextCursor cursor = Text().document()->find(text);
    cursor.setPosition(cursor.selectionStart() + 1);
    return Text().cursorRect(cursor).center() + QPoint(1, 0);
  }
  void Click(QWidget& widget, QPoint place) {
    QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, place);
  }
  std::vector<std::u16string> TakeLinks() {
    std::vector<std::u16string> links;
    for (const port::Message& message : TakeMessages(queues)) {
      if (message.kind == MessageKind::kLink) links.push_back(message.text);
    }
    return links;
  }
};

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
    const QPalette light = QApplication::palette();
    QPalette dark(QColor(0x20, 0x20, 0x20));
    QApplication::setPalette(dark);
    const QImage image = Header().grab().toImage();
    QApplication::setPalette(light);
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
              QStringLiteral("Subject: Re: <b>ships</b>, Thread 3/12, From: Ann <a@b>, "
                             "Article 0/4"));
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

// --- links ---

TEST_F(ArticleTest, LinkIsToldToTheCharacterAndNotFollowed) {
  const port::WindowHandle main = ShowArticleTab();
  for (const std::u16string target :
       {u"http://a.b/", u"http://A.B/%7e/x%20y", u"http://a.b/?q=1&amp;r=2&lt;3", u"http://",
        u"http://a.b/\u00e4\u00f6|{}\\^`", u"http://../.././x#", u"http://user:pw@h:99999/"}) {
    ShowSource(Wrapped(u"see <a href=\"" + target + u"\">this place</a> now"));
    OnDisplay([&] { Click(*Text().viewport(), PlaceOfText(QStringLiteral("this place"))); });
    const std::vector<port::Message> messages = TakeMessages(queues);
    ASSERT_EQ(messages.size(), 1u) << QString::fromStdU16String(target).toStdString();
    EXPECT_EQ(messages[0].window, main);
    EXPECT_EQ(messages[0].kind, MessageKind::kLink);
    EXPECT_EQ(messages[0].text, target);
    EXPECT_EQ(ShownText(), QStringLiteral("see this place now\n"));
  }
}

TEST_F(ArticleTest, LinksAreReachedByKeyboardInTurn) {
  ShowArticleTab();
  ShowSource(
      Wrapped(u"<a href=\"http://a/%41\">first</a> and <a href=\"http://b/?x&y\">second"
              u"</a>"));
  Key(Qt::Key_Tab);
  Key(Qt::Key_Return);
  Key(Qt::Key_Tab);
  Key(Qt::Key_Enter);
  EXPECT_EQ(TakeLinks(), (std::vector<std::u16string>{u"http://a/%41", u"http://b/?x&y"}));
  Key(Qt::Key_Tab);  // and on to the next control
  OnDisplay([&] { EXPECT_FALSE(Text().hasFocus()); });
}

TEST_F(ArticleTest, EnterWithoutALinkDoesNothing) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">link</a>"));
  Key(Qt::Key_Return);
  OnDisplay([&] { Text().selectAll(); });
  Key(Qt::Key_Return);  // the selection does not begin in a link
  EXPECT_TRUE(TakeLinks().empty());
}

TEST_F(ArticleTest, PointerShowsWhatALinkIs) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">link</a>"));
  const auto point_to = [&](const char* text) {
    QWidget* page = Text().viewport();
    const QPointF place = PlaceOfText(QLatin1String(text));
    QMouseEvent move(QEvent::MouseMove, place, page->mapToGlobal(place), Qt::NoButton, Qt::NoButton,
                     Qt::NoModifier);
    QApplication::sendEvent(page, &move);
    return page->cursor().shape();
  };
  OnDisplay([&] {
    EXPECT_EQ(point_to("link"), Qt::PointingHandCursor);
    EXPECT_NE(point_to("text"), Qt::PointingHandCursor);
  });
}

TEST_F(ArticleTest, DraggingOverALinkSelectsAndDoesNotOpenIt) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">link</a> more text"));
  OnDisplay([&] {
    QWidget* page = Text().viewport();
    QTest::mousePress(page, Qt::LeftButton, Qt::NoModifier, PlaceOfText(QStringLiteral("text")));
    QTest::mouseMove(page, PlaceOfText(QStringLiteral("more")));
    QTest::mouseMove(page, PlaceOfText(QStringLiteral("link")) + QPoint(8, 0));
    QTest::mouseRelease(page, Qt::LeftButton, Qt::NoModifier,
                        PlaceOfText(QStringLiteral("link")) + QPoint(8, 0));
    EXPECT_TRUE(Text().textCursor().hasSelection());
  });
  EXPECT_TRUE(TakeLinks().empty());
}

// --- keys and scrolling ---

TEST_F(ArticleTest, KeysDoNotScrollAndTheirReleasesAreTold) {
  const port::WindowHandle main = ShowArticleTab();
  ShowSource(Lines(500));
  article().ScrollViewer(ScrollStep::kPageDown);
  const int before = Scrolled();
  ASSERT_GT(before, 0);
  const std::vector<std::pair<Qt::Key, std::uint32_t>> keys{
      {Qt::Key_PageUp, 0x21}, {Qt::Key_PageDown, 0x22}, {Qt::Key_End, 0x23},
      {Qt::Key_Home, 0x24},   {Qt::Key_Left, 0x25},     {Qt::Key_Up, 0x26},
      {Qt::Key_Right, 0x27},  {Qt::Key_Down, 0x28},     {Qt::Key_Return, 0x0D},
      {Qt::Key_Space, 0x20},  {Qt::Key_Select, 0x86},   {Qt::Key_F23, 0x86},
      {Qt::Key_F24, 0x87},    {Qt::Key_Escape, 0x1B}};
  for (const auto& [key, virtual_key] : keys) {
    TakeMessages(queues);
    Key(key);
    const std::vector<port::Message> messages = TakeMessages(queues);
    EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp), (Details{{virtual_key, 0}})) << key;
    for (const port::Message& message : messages) EXPECT_EQ(message.window, main);
    EXPECT_EQ(Scrolled(), before) << key;
  }
}

TEST_F(ArticleTest, AcceleratorKeepsItsRelease) {
  ShowArticleTab();
  OnDisplay([&] {
    QWindow* window = Main().windowHandle();
    QTest::keyPress(window, Qt::Key_Down, Qt::ControlModifier);
    // Control was let go first: the arrow alone would scroll the article that is shown now.
    QTest::keyRelease(window, Qt::Key_Down, Qt::NoModifier);
  });
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyDown), (Details{{0x28, 1}}));
  EXPECT_TRUE(OfKind(messages, MessageKind::kKeyUp).empty());
}

TEST_F(ArticleTest, ScrollStepsGoByPagesAndToTheEnds) {
  ShowArticleTab();
  ShowSource(Lines(2000));
  EXPECT_EQ(Scrolled(), 0);
  article().ScrollViewer(ScrollStep::kPageDown);
  int page = 0;
  OnDisplay([&] { page = Text().viewport()->height(); });
  EXPECT_LE(Scrolled(), page);
  EXPECT_GT(Scrolled(), page / 2);
  article().ScrollViewer(ScrollStep::kPageUp);
  EXPECT_EQ(Scrolled(), 0);
  article().ScrollViewer(ScrollStep::kPageUp);
  EXPECT_EQ(Scrolled(), 0);
  article().ScrollViewer(ScrollStep::kBottom);
  OnDisplay([&] {
    QTextCursor last(Text().document());
    last.movePosition(QTextCursor::End);
    EXPECT_LE(Text().cursorRect(last).bottom(), Text().viewport()->height());
    EXPECT_EQ(Text().verticalScrollBar()->value(), Text().verticalScrollBar()->maximum());
  });
  const int bottom = Scrolled();
  article().ScrollViewer(ScrollStep::kPageDown);
  EXPECT_EQ(Scrolled(), bottom);
  article().ScrollViewer(ScrollStep::kTop);
  EXPECT_EQ(Scrolled(), 0);
}

TEST_F(ArticleTest, WheelScrolls) {
  ShowArticleTab();
  ShowSource(Lines(500));
  OnDisplay([&] {
    QWheelEvent wheel(QPointF(50, 50), Text().viewport()->mapToGlobal(QPointF(50, 50)), QPoint(),
                      QPoint(0, -120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(Text().viewport(), &wheel);
  });
  EXPECT_GT(Scrolled(), 0);
}

TEST_F(ArticleTest, FingerScrollsAndSelectsNothing) {
  ShowArticleTab();
  ShowSource(Lines(500));
  QPointingDevice* finger = nullptr;
  OnDisplay([&] { finger = QTest::createTouchDevice(); });
  const auto touch = [&](const std::function<void(QTest::QTouchEventSequence&)>& step) {
    OnDisplay([&] {
      QTest::QTouchEventSequence sequence = QTest::touchEvent(Main().windowHandle(), finger, false);
      step(sequence);
      sequence.commit();
      QCoreApplication::processEvents();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(16));
  };
  QPoint place;
  OnDisplay([&] { place = Text().viewport()->mapTo(&Main(), QPoint(60, 250)); });
  QWindow* window = Main().windowHandle();
  touch([&](auto& sequence) { sequence.press(0, place, window); });
  for (int moved = 10; moved <= 200; moved += 10) {
    touch([&](auto& sequence) { sequence.move(0, place - QPoint(0, moved), window); });
  }
  touch([&](auto& sequence) { sequence.release(0, place - QPoint(0, 200), window); });
  EXPECT_GT(Scrolled(), 50);
  OnDisplay([&] { EXPECT_FALSE(Text().textCursor().hasSelection()); });
}

class FingerTest : public ArticleTest {
 protected:
  // A finger at that place of the text.
  void Press(QPoint place) { Send(QEvent::MouseButtonPress, place, Qt::LeftButton); }
  void Move(QPoint place) { Send(QEvent::MouseMove, place, Qt::NoButton); }
  void Release(QPoint place) { Send(QEvent::MouseButtonRelease, place, Qt::LeftButton); }

 private:
  void Send(QEvent::Type type, QPoint place, Qt::MouseButton button) {
    QWidget* page = Text().viewport();
    const auto held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, QPointF(place), page->mapTo(page->window(), QPointF(place)),
                      page->mapToGlobal(QPointF(place)), button, held, Qt::NoModifier,
                      Qt::MouseEventSynthesizedByQt);
    QApplication::sendEvent(page, &event);
  }
};

TEST_F(FingerTest, TapOpensALinkAndTheEndOfAScrollDoesNot) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">link</a>"));
  OnDisplay([&] {
    const QPoint link = PlaceOfText(QStringLiteral("link"));
    Press(link + QPoint(0, 60));
    Move(link);
    Release(link);
  });
  EXPECT_TRUE(TakeLinks().empty());
  OnDisplay([&] {
    const QPoint link = PlaceOfText(QStringLiteral("link"));
    Press(link);
    Release(link + QPoint(1, 0));
  });
  EXPECT_EQ(TakeLinks(), std::vector<std::u16string>{u"http://a/"});
}

TEST_F(FingerTest, RestingFingerOpensTheMenuAndNoLink) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">link</a>"));
  OnDisplay([&] { Press(PlaceOfText(QStringLiteral("link"))); });
  EXPECT_TRUE(WaitOnDisplay([] { return QApplication::activePopupWidget() != nullptr; }));
  OnDisplay([&] {
    Release(PlaceOfText(QStringLiteral("link")));
    QApplication::activePopupWidget()->close();
  });
  EXPECT_TRUE(TakeLinks().empty());
}

TEST_F(ArticleTest, ShowsFromTheTop) {
  ShowArticleTab();
  ShowSource(Lines(500));
  article().ScrollViewer(ScrollStep::kBottom);
  ShowSource(Lines(400));
  EXPECT_EQ(Scrolled(), 0);
}

std::u16string WithHitAt(int line, int lines) {
  std::u16string text;
  for (int i = 0; i < lines; ++i) {
    text += i == line ? u"<b><span style=\"background: #FFFF00\">hit</span></b>&nbsp;<br>"
                      : u"line&nbsp;<br>";
  }
  return Wrapped(text);
}

TEST_F(ArticleTest, ShowsTheFirstHighlightedPlace) {
  ShowArticleTab();
  ShowSource(WithHitAt(2, 500));
  EXPECT_EQ(Scrolled(), 0);  // in view already
  ShowSource(WithHitAt(300, 500));
  OnDisplay([&] {
    QTextCursor hit = Text().document()->find(QStringLiteral("hit"));
    const QRect place = Text().cursorRect(hit);
    EXPECT_GE(place.top(), 0);
    EXPECT_LE(place.bottom(), Text().viewport()->height());
  });
  ShowSource(WithHitAt(499, 500));
  OnDisplay([&] {
    const QRect place = Text().cursorRect(Text().document()->find(QStringLiteral("hit")));
    EXPECT_GE(place.top(), 0);
    EXPECT_LE(place.bottom(), Text().viewport()->height());
  });
}

TEST_F(ArticleTest, FocusComesToTheText) {
  ShowArticleTab();
  OnDisplay([&] { Header().setFocus(); });
  article().FocusViewer();
  OnDisplay([&] { EXPECT_TRUE(Text().hasFocus()); });
  device->windows().SelectTab(0);
  device->windows().SelectTab(2);
  OnDisplay([&] { EXPECT_TRUE(Text().hasFocus()); });
}

// --- copying ---

QString Copied() {
  return QApplication::clipboard()->text();
}

TEST_F(ArticleTest, CopiesTheSelectionOrEverything) {
  ShowArticleTab();
  ShowSource(Wrapped(u"one <b>two</b>&nbsp;<br>  three"));
  article().CopyFromViewer();
  OnDisplay([&] {
    EXPECT_EQ(Copied(), QStringLiteral("one two\n  three\n"));
    EXPECT_TRUE(QApplication::clipboard()->mimeData()->hasHtml());
    EXPECT_FALSE(Text().textCursor().hasSelection());
    Text().setTextCursor(Text().document()->find(QStringLiteral("two")));
  });
  article().CopyFromViewer();
  OnDisplay([&] {
    EXPECT_EQ(Copied(), QStringLiteral("two"));
    EXPECT_TRUE(Text().textCursor().hasSelection());
  });
}

TEST_F(ArticleTest, CopyingKeepsThePlaceAndLongWords) {
  ShowArticleTab();
  const std::u16string word(5000, u'w');
  ShowSource(Lines(200) + word);
  article().ScrollViewer(ScrollStep::kPageDown);
  const int before = Scrolled();
  article().CopyFromViewer();
  EXPECT_EQ(Scrolled(), before);
  OnDisplay([&] {
    EXPECT_TRUE(Copied().endsWith(QString::fromStdU16String(word)));
    const QString html = QApplication::clipboard()->mimeData()->html();
    EXPECT_FALSE(html.contains(QChar(0x200B)));
  });
}

TEST_F(ArticleTest, MenuCopiesTextAndLinks) {
  ShowArticleTab();
  ShowSource(Wrapped(u"some <a href=\"http://a/?x=1&y\">link</a>"));
  OnDisplay([&] {
    const auto action = [](const QMenu& menu, const char* text) {
      for (QAction* each : menu.actions()) {
        if (each->text() == QLatin1String(text)) return each;
      }
      return static_cast<QAction*>(nullptr);
    };
    auto menu = Text().NewMenu(PlaceOfText(QStringLiteral("link")));
    action(*menu, "Copy &link")->trigger();
    EXPECT_EQ(Copied(), QStringLiteral("http://a/?x=1&y"));
    menu = Text().NewMenu(PlaceOfText(QStringLiteral("some")));
    EXPECT_FALSE(action(*menu, "Copy &link")->isEnabled());
    action(*menu, "Select &all")->trigger();
    EXPECT_TRUE(Text().textCursor().hasSelection());
    action(*menu, "&Copy")->trigger();
    EXPECT_EQ(Copied(), QStringLiteral("some link\n"));
  });
}

TEST_F(ArticleTest, MenuKeyOpensAMenuThatHoldsUpNothing) {
  ShowArticleTab();
  ShowSource(u"text");
  OnDisplay([&] {
    QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, Text().mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(Text().viewport(), &event);
    ASSERT_NE(QApplication::activePopupWidget(), nullptr);
  });
  ShowSource(u"while it is open");
  OnDisplay([&] { QApplication::activePopupWidget()->close(); });
  EXPECT_EQ(ShownText(), QStringLiteral("while it is open"));
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
    const QPalette light = QApplication::palette();
    for (std::uint32_t image = 0; image < 7; ++image) EXPECT_LT(darkness(image), 0x60) << image;
    QPalette dark(QColor(0x20, 0x20, 0x20));
    QApplication::setPalette(dark);
    for (std::uint32_t image = 0; image < 7; ++image) EXPECT_GT(darkness(image), 0xA0) << image;
    QApplication::setPalette(light);
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

TEST_F(ArticleTest, NulAndReservedCharactersAreShownAsReplacements) {
  ShowArticleTab();
  ShowSource(Wrapped(std::u16string(u"a\0b\uFDD0c\uFFFC", 6)));
  EXPECT_EQ(ShownText(), QStringLiteral("a\uFFFDb\uFFFDc\uFFFD\n"));
}

// --- the page ---

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
