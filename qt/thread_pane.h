// SPDX-License-Identifier: GPL-3.0-or-later
// The thread view's pane: the caption line and the tree below it. Display thread only.
#pragma once

#include <QPointer>
#include <QWidget>
#include <string_view>

#include "qt/thread_tree.h"

class QLabel;

namespace quillet::qt {

class ThreadPane final : public QWidget {
 public:
  using Told = std::function<void(port::TreeItem item)>;

  // `activated` and `menu` are called with the item the user chose.
  ThreadPane(Told activated, Told menu, QWidget* parent = nullptr);

  // In place of an earlier tree.
  void CreateTree(const QString& name, const QFont& font);
  ThreadTree* Tree() const { return tree_; }  // null before CreateTree
  void SetCaption(const QString& text);
  // Where the user asked for a menu last; the pane's middle before that.
  MenuPlace LastMenuPlace() const;

 private:
  Told activated_;
  Told menu_;
  QLabel* caption_;
  QPointer<ThreadTree> tree_;
  MenuPlace menu_place_;
  bool menu_asked_ = false;
};

}  // namespace quillet::qt
