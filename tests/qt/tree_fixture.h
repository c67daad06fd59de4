// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree in a window: what its tests stand on.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tests/qt/display_fixture.h"

namespace quillet::qt {

inline std::u16string Text(const std::string& text) {
  return {text.begin(), text.end()};
}

// Two threads and a lone article:
//   100 2/4 Hello        200 World
//     1 Ada                5 Eve
//       2 Bob            300 1/1 Apple
//         3 Cyd            6 Fay
//     4 Dan
inline std::vector<port::TreeRow> SmallTree() {
  return {{100, 0, true, u"2/4 Hello"}, {1, 1, true, u"Ada"},         {2, 2, false, u"Bob"},
          {3, 3, true, u"Cyd"},         {4, 1, false, u"Dan"},        {200, 0, false, u"World"},
          {5, 1, false, u"Eve"},        {300, 0, true, u"1/1 Apple"}, {6, 1, true, u"Fay"}};
}

class TreeTest : public DisplayTest {
 protected:
  port::TreeView& tree() { return device->thread_tree(); }
  ThreadTree& Tree() { return *Main().Threads()->Tree(); }
  const ThreadModel& Rows() { return Tree().Rows(); }
  QModelIndex At(port::TreeItem item) { return Rows().Find(item); }

  // The window with the tree in its shown tab, and no message left of that.
  port::WindowHandle ShowTree(std::vector<port::TreeRow> rows, port::Size size = {640, 480}) {
    const port::WindowHandle main = ShowWindow(port::TabPlacement::kBottom, size);
    device->windows().SelectTab(port::kThreadTab);
    tree().CreateTree(u"thread tree", u"", 4);
    tree().FillTree(std::move(rows));
    tree().FocusTree();
    OnDisplay([&] { QCoreApplication::processEvents(); });
    TakeMessages(queues);
    return main;
  }

  // The items on the screen from top to bottom, collapsed ones left out. Any thread.
  std::vector<port::TreeItem> Shown() {
    std::vector<port::TreeItem> items;
    OnDisplay([&] {
      for (QModelIndex row = Tree().model()->index(0, 0); row.isValid();
           row = Tree().indexBelow(row)) {
        items.push_back(Rows().ItemOf(row));
      }
    });
    return items;
  }
  void Expand(port::TreeItem item, bool expanded = true) {
    OnDisplay([&] { Tree().setExpanded(At(item), expanded); });
  }
  QPoint TextOf(port::TreeItem item) {
    const QRect text = Tree().TextRect(At(item));
    return {text.left() + 8, text.center().y()};
  }
  // But for the last line of pixels, which scrolling to a row may leave out.
  ::testing::AssertionResult OnScreen(const QRect& place) {
    if (Tree().viewport()->rect().contains(place.adjusted(0, 0, 0, -1)))
      return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << place.x() << "," << place.y() << " " << place.width() << "x" << place.height()
           << " in " << Tree().viewport()->width() << "x" << Tree().viewport()->height();
  }
  QPoint MarkOf(port::TreeItem item) { return Tree().MarkRect(At(item)).center(); }
  void Click(QPoint place, Qt::MouseButton button = Qt::LeftButton) {
    QTest::mouseClick(Tree().viewport(), button, Qt::NoModifier, place);
  }
  void DoubleClick(QPoint place) {
    Click(place);
    QTest::mouseDClick(Tree().viewport(), Qt::LeftButton, Qt::NoModifier, place);
  }
  Details Activated() { return OfKind(TakeMessages(queues), port::MessageKind::kItemActivated); }
};

}  // namespace quillet::qt
