// SPDX-License-Identifier: GPL-3.0-or-later
// What keys, clicks and fingers do in an article's text: links, scrolling, copying.
#include <QApplication>
#include <QClipboard>
#include <QMenu>
#include <QMimeData>

#include "tests/qt/article_fixture.h"

namespace quillet::qt {
namespace {

using port::MessageKind;
using port::ScrollStep;

using ArticleInputTest = ArticleTest;

// --- links ---

TEST_F(ArticleInputTest, LinkIsToldToTheCharacterAndNotFollowed) {
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

TEST_F(ArticleInputTest, LinksAreReachedByKeyboardInTurn) {
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

TEST_F(ArticleInputTest, EnterWithoutALinkDoesNothing) {
  ShowArticleTab();
  ShowSource(Wrapped(u"text <a href=\"http://a/\">link</a>"));
  Key(Qt::Key_Return);
  OnDisplay([&] { Text().selectAll(); });
  Key(Qt::Key_Return);  // the selection does not begin in a link
  EXPECT_TRUE(TakeLinks().empty());
}

TEST_F(ArticleInputTest, PointerShowsWhatALinkIs) {
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

TEST_F(ArticleInputTest, DraggingOverALinkSelectsAndDoesNotOpenIt) {
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

TEST_F(ArticleInputTest, KeysDoNotScrollAndTheirReleasesAreTold) {
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

// Control was let go first; that the arrow scrolls nothing then is the program's to know.
TEST_F(ArticleInputTest, TheReleaseOfAnAcceleratorsKeyIsToldAsItIs) {
  ShowArticleTab();
  OnDisplay([&] {
    QWindow* window = Main().windowHandle();
    QTest::keyPress(window, Qt::Key_Down, Qt::ControlModifier);
    QTest::keyRelease(window, Qt::Key_Down, Qt::NoModifier);
  });
  const std::vector<port::Message> messages = TakeMessages(queues);
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyDown), (Details{{0x28, 1}}));
  EXPECT_EQ(OfKind(messages, MessageKind::kKeyUp), (Details{{0x28, 0}}));
}

TEST_F(ArticleInputTest, ScrollStepsGoByPagesAndToTheEnds) {
  ShowArticleTab();
  ShowSource(Lines(2000));
  EXPECT_EQ(Scrolled(), 0);
  article().ScrollViewer(ScrollStep::kPageDown);
  int page = 0;
  int line = 0;
  OnDisplay([&] {
    page = Text().viewport()->height();
    line = Text().fontMetrics().height();
  });
  // The last line is seen again: it may have been cut at the edge.
  EXPECT_LE(Scrolled(), page - line);
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

TEST_F(ArticleInputTest, WheelScrolls) {
  ShowArticleTab();
  ShowSource(Lines(500));
  OnDisplay([&] {
    QWheelEvent wheel(QPointF(50, 50), Text().viewport()->mapToGlobal(QPointF(50, 50)), QPoint(),
                      QPoint(0, -120), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(Text().viewport(), &wheel);
  });
  EXPECT_GT(Scrolled(), 0);
}

TEST_F(ArticleInputTest, FingerScrollsAndSelectsNothing) {
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

TEST_F(ArticleInputTest, ShowsFromTheTop) {
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

TEST_F(ArticleInputTest, ShowsTheFirstHighlightedPlace) {
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

TEST_F(ArticleInputTest, FocusComesToTheText) {
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

TEST_F(ArticleInputTest, CopiesTheSelectionOrEverything) {
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

TEST_F(ArticleInputTest, CopyingKeepsThePlaceAndLongWords) {
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

TEST_F(ArticleInputTest, MenuCopiesTextAndLinks) {
  ShowArticleTab();
  ShowSource(
      Wrapped(u"some <a href=\"http://a/?x=1&y\">link</a>"
              u" <a href=\"attachment:1\">file</a>"));
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
    for (const char* other : {"some", "file"}) {
      menu = Text().NewMenu(PlaceOfText(QLatin1String(other)));
      EXPECT_FALSE(action(*menu, "Copy &link")->isEnabled()) << other;
    }
    action(*menu, "Select &all")->trigger();
    EXPECT_TRUE(Text().textCursor().hasSelection());
    action(*menu, "&Copy")->trigger();
    EXPECT_EQ(Copied(), QStringLiteral("some link file\n"));
  });
}

TEST_F(ArticleInputTest, MenuKeyOpensAMenuThatHoldsUpNothing) {
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

}  // namespace
}  // namespace quillet::qt
