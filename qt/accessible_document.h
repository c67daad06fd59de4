// SPDX-License-Identifier: GPL-3.0-or-later
// The page of an article for readers of the screen: a document that can be read, walked through
// and marked, and not be edited; its links are items that can be followed. Display thread only.
#pragma once

#include <QTextCursor>
#include <vector>

#include "qt/accessible_part.h"

namespace quillet::qt {

class Viewer;

class AccessibleDocument final : public AccessibleOwner, public QAccessibleTextInterface {
 public:
  struct Link {
    int start = 0;
    int end = 0;
    QString target;
  };

  explicit AccessibleDocument(Viewer& viewer);

  Viewer& Page() const { return viewer_; }
  // In the order of the text; made anew after the page has changed.
  const std::vector<Link>& Links() const;
  // From the first to behind the last character, in screen coordinates.
  QRect PlaceOf(int start, int end) const;
  QString TextOf(int start, int end) const;

  QAccessible::State state() const override;
  int childCount() const override;
  QAccessibleInterface* child(int index) const override;
  QAccessibleInterface* childAt(int x, int y) const override;
  int indexOfChild(const QAccessibleInterface* child) const override;
  void* interface_cast(QAccessible::InterfaceType type) override;

  void selection(int index, int* start, int* end) const override;
  int selectionCount() const override;
  void addSelection(int start, int end) override;
  void removeSelection(int index) override;
  void setSelection(int index, int start, int end) override;
  int cursorPosition() const override;
  void setCursorPosition(int position) override;
  QString text(int start, int end) const override;
  using AccessibleOwner::text;
  int characterCount() const override;
  QRect characterRect(int offset) const override;
  int offsetAtPoint(const QPoint& point) const override;
  void scrollToSubstring(int start, int end) override;
  QString attributes(int offset, int* start, int* end) const override;

 private:
  QTextCursor CursorFor(int start, int end) const;
  int Within(int offset) const;

  Viewer& viewer_;
  QObject alive_;
  mutable bool known_ = false;
  mutable std::vector<Link> links_;
  mutable AccessibleParts<int> items_;
};

}  // namespace quillet::qt
