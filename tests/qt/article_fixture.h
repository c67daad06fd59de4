// SPDX-License-Identifier: GPL-3.0-or-later
// The article's panes in a window: what their tests stand on.
#pragma once

#include <QScrollBar>
#include <string>
#include <vector>

#include "qt/article_services.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {

inline std::u16string Wrapped(const std::u16string& text) {
  return u"<FONT FACE=\"Arial\" SIZE=\"2\">" + text + u"&nbsp;<br></FONT>";
}

inline std::u16string Lines(int count) {
  std::u16string lines;
  for (int i = 0; i < count; ++i) lines += u"one line of an article&nbsp;<br>";
  return Wrapped(lines);
}

class ArticleTest : public DisplayTest {
 protected:
  port::ArticlePanes& article() { return device->article(); }
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
      if (message.kind == port::MessageKind::kLink) links.push_back(message.text);
    }
    return links;
  }
};

}  // namespace quillet::qt
