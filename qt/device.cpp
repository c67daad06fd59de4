// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/device.h"

#include <QApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <thread>

#include "qt/accessibility.h"

namespace quillet::qt {

QtDevice::QtDevice(port::ThreadQueues& queues, const QString& sizes_file)
    : display_{jobs_, queues},
      boxes_(NewMessageBoxes(display_)),
      windows_(NewWindows(display_)),
      group_list_(NewListView(display_)),
      dialogs_(display_),
      sheets_(display_),
      thread_tree_(NewTreeView(display_)),
      pop_ups_(NewPopUpMenus(display_)),
      article_(NewArticlePanes(display_)),
      file_dialogs_(NewFileDialogs(display_)),
      keys_(display_),
      blocked_focus_(display_) {
  display_.sizes = WindowSizes(sizes_file);
  StartAccessibility();
  // Windows come and go; the program decides when it ends.
  QApplication::setQuitOnLastWindowClosed(false);
  qApp->installEventFilter(&keys_);
}

QtDevice::~QtDevice() {
  jobs_.Close();
  for (QMessageBox* box : boxes_->OpenBoxes()) delete box;
  delete file_dialogs_->OpenDialog();
  // Dialogs over the main window are deleted with it.
  for (const auto& [handle, window] : display_.windows) {
    if (window && window->isWindow()) delete window;
  }
  StopAccessibility();
}

void QtDevice::AnswerAll() {
  boxes_->AnswerAll();
  file_dialogs_->AnswerAll();
  pop_ups_->DismissAll();
}

int QtDevice::Run(const std::function<int()>& program) {
  int result = 0;
  program_ended_ = false;
  program_running_ = true;  // no other thread yet
  QEventLoop loop;
  std::thread thread([&] {
    program_thread_ = std::this_thread::get_id();
    result = program();
    {
      const std::lock_guard lock(mutex_);
      program_running_ = false;
      program_left_.notify_all();
    }
    jobs_.Post([&] {
      program_ended_ = true;
      loop.quit();
    });
  });
  loop.exec();
  // Whoever still waits for the display is let go: the program ends without it.
  jobs_.Close();
  thread.join();
  return result;
}

bool QtDevice::EndWithoutDisplay(std::chrono::milliseconds limit) {
  jobs_.Abandon();
  std::unique_lock lock(mutex_);
  return program_left_.wait_for(lock, limit, [this] { return !program_running_; });
}

bool QtDevice::WaitForProgram(int timeout_ms) {
  QDeadlineTimer deadline(timeout_ms);
  QTimer wake;  // so that waiting for events ends with the time
  wake.start(timeout_ms);
  while (!program_ended_ && !deadline.hasExpired()) {
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents |
                                    QEventLoop::WaitForMoreEvents);
  }
  return program_ended_;
}

}  // namespace quillet::qt
