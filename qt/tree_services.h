// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree and pop-up menu services on the toolkit.
#pragma once

#include <QMenu>
#include <memory>

#include "port/pop_up_menus.h"
#include "port/tree_view.h"
#include "qt/display.h"

namespace quillet::qt {

class QtPopUpMenus : public port::PopUpMenus {
 public:
  // Dismisses the open menu and every later one. Any thread.
  virtual void DismissAll() = 0;

  // The menu on the screen, null for none. Display thread.
  virtual QMenu* OpenMenu() const = 0;
};

// The display must outlive them.
std::unique_ptr<port::TreeView> NewTreeView(Display& display);
std::unique_ptr<QtPopUpMenus> NewPopUpMenus(Display& display);

}  // namespace quillet::qt
