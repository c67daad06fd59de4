// SPDX-License-Identifier: GPL-3.0-or-later
// The message box service on the toolkit.
#pragma once

#include <QMessageBox>
#include <memory>
#include <vector>

#include "port/message_box.h"
#include "qt/display.h"

namespace quillet::qt {

class QtMessageBoxes : public port::MessageBoxes {
 public:
  // Answers every open box and every later one as Escape would. Any thread.
  virtual void AnswerAll() = 0;

  // The boxes on the screen. Display thread.
  virtual std::vector<QMessageBox*> OpenBoxes() const = 0;
};

// The display must outlive it.
std::unique_ptr<QtMessageBoxes> NewMessageBoxes(Display& display);

}  // namespace quillet::qt
