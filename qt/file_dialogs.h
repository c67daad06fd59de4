// The file dialog service on the toolkit: the desktop's own dialog where there is one.
#pragma once

#include <QFileDialog>
#include <QPointer>
#include <QString>
#include <atomic>

#include "port/file_dialogs.h"
#include "qt/display.h"

namespace quillet::qt {

class QtFileDialogs final : public port::FileDialogs {
 public:
  explicit QtFileDialogs(Display& display) : display_(display) {}

  // Starts in the folder that was used last in this run, at first in the user's documents.
  std::optional<std::u16string> SaveFile(port::WindowHandle owner,
                                         const port::SaveFileTraits& traits) override;

  // Cancels the open dialog and every later one. Any thread.
  void AnswerAll();

  // The dialog on the screen, or null. Display thread.
  QFileDialog* OpenDialog() const { return open_; }

 private:
  void Open(port::WindowHandle owner, const port::SaveFileTraits& traits,
            const std::function<void(const QString& path)>& answered);

  Display& display_;
  std::atomic<bool> answer_all_ = false;
  // Display thread.
  QPointer<QFileDialog> open_;
  QString last_folder_;
};

}  // namespace quillet::qt
