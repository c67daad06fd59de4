// SPDX-License-Identifier: GPL-3.0-or-later
// The tab control: three image-only tabs at one edge, the pane of the selected one beside them.
#pragma once

#include <QTabBar>
#include <QWidget>
#include <array>
#include <cstdint>
#include <functional>

#include "port/windows.h"

class QStackedWidget;
class QStylePainter;

namespace quillet::qt {

class ImageTabBar final : public QTabBar {
 public:
  ImageTabBar(port::TabPlacement placement, QWidget* parent);

  // Resource id of a tab's image.
  std::uint32_t Bitmap(int tab) const { return bitmaps_[static_cast<std::size_t>(tab)]; }

 protected:
  QSize tabSizeHint(int index) const override;
  QSize minimumTabSizeHint(int index) const override { return tabSizeHint(index); }
  void paintEvent(QPaintEvent* event) override;

 private:
  void PaintTab(QStylePainter& painter, int tab);

  std::array<std::uint32_t, port::kTabCount> bitmaps_;
};

class TabControl final : public QWidget {
 public:
  using Changed = std::function<void(int old_tab, int new_tab)>;

  // `panes` become children. `changed` is called when the user chose another tab, whose pane is
  // shown by then.
  TabControl(port::TabPlacement placement, const std::array<QWidget*, port::kTabCount>& panes,
             Changed changed, QWidget* parent);

  int Selected() const;
  void Select(int tab);  // does not call `changed`
  ImageTabBar& Bar() { return *bar_; }
  QWidget* Pane(int tab) const;

 private:
  void ShowPane(int tab);

  ImageTabBar* bar_;
  QStackedWidget* stack_;
  Changed changed_;
  int selected_ = 0;
};

}  // namespace quillet::qt
