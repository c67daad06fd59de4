// SPDX-License-Identifier: GPL-3.0-or-later
// The first steps as links below the rows of the group list. Display thread only.
#pragma once

#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <cstdint>
#include <functional>
#include <vector>

#include "port/list_view.h"
#include "qt/group_table.h"

namespace quillet::qt {

// One step: a button that looks as a link, its text in as many lines as it needs. A done one has a
// tick, and ", done" in its accessible name.
class StepLink final : public QPushButton {
 public:
  explicit StepLink(QWidget* parent);

  void Show(const port::GuideStep& step);
  const port::GuideStep& Step() const { return step_; }
  // Where its text stands and is clicked.
  QRect TextRect() const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;
  int heightForWidth(int width) const override;

 protected:
  bool hitButton(const QPoint& place) const override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  int MarkWidth() const;
  int Margin() const;
  void DrawTick(QPainter& painter, const QRect& text) const;
  void DrawFocus(QPainter& painter, const QRect& text) const;

  port::GuideStep step_;
};

// The palette's colour of links where it can be read on the list's ground, else that of its text.
QColor LegibleLinkColour(const QPalette& palette);

// It lies in the table's parent, over the part of the table that no row has. Where that is too
// little for the table's font the letters are smaller, down to the application's; then it scrolls,
// and it is hidden where not even one line has room.
class StartGuide final : public QScrollArea {
 public:
  // `follow` is called with the command of a step.
  StartGuide(GroupTable& table, std::function<void(std::uint32_t command)> follow);

  void Show(const std::vector<port::GuideStep>& steps);
  std::vector<StepLink*> Links() const { return links_; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void AddLink();
  void Place();
  void FitFont(QSize room);
  int HeightFor(int width) const;

  QPointer<GroupTable> table_;
  std::function<void(std::uint32_t command)> follow_;
  std::vector<StepLink*> links_;
};

}  // namespace quillet::qt
