// SPDX-License-Identifier: GPL-3.0-or-later
// The file dialog service on the toolkit: the desktop's own dialog where there is one.
#pragma once

#include <QFileDialog>
#include <memory>

#include "port/file_dialogs.h"
#include "qt/display.h"

namespace quillet::qt {

class QtFileDialogs : public port::FileDialogs {
 public:
  // Cancels the open dialog and every later one. Any thread.
  virtual void AnswerAll() = 0;

  // The dialog on the screen, or null. Display thread.
  virtual QFileDialog* OpenDialog() const = 0;
};

// The display must outlive it.
std::unique_ptr<QtFileDialogs> NewFileDialogs(Display& display);

}  // namespace quillet::qt
