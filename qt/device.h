// SPDX-License-Identifier: GPL-3.0-or-later
// The display of the device: all its services together, and the life of the display thread.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "port/common/thread_queues.h"
#include "port/platform.h"
#include "qt/article_services.h"
#include "qt/blocked_focus.h"
#include "qt/dialogs.h"
#include "qt/display.h"
#include "qt/file_dialogs.h"
#include "qt/job_queue.h"
#include "qt/key_filter.h"
#include "qt/message_boxes.h"
#include "qt/property_sheets.h"
#include "qt/tree_services.h"
#include "qt/windows.h"

namespace quillet::qt {

// Made and destroyed on the display thread, while the application object exists. The queues must
// outlive it. The file keeps the sizes of windows for the next run; without a name nothing does.
class QtDevice {
 public:
  explicit QtDevice(port::ThreadQueues& queues, const QString& sizes_file = {});
  ~QtDevice();
  QtDevice(const QtDevice&) = delete;
  QtDevice& operator=(const QtDevice&) = delete;

  QtMessageBoxes& boxes() { return *boxes_; }
  port::Windows& windows() { return *windows_; }
  port::ListView& group_list() { return *group_list_; }
  QtDialogs& dialogs() { return dialogs_; }
  QtPropertySheets& sheets() { return sheets_; }
  port::TreeView& thread_tree() { return *thread_tree_; }
  QtPopUpMenus& pop_ups() { return *pop_ups_; }
  port::ArticlePanes& article() { return *article_; }
  QtFileDialogs& file_dialogs() { return *file_dialogs_; }
  port::DisplayServices Services() {
    return {boxes(),       windows(), group_list(), dialogs(),     sheets(),
            thread_tree(), pop_ups(), article(),    file_dialogs()};
  }
  JobQueue& jobs() { return jobs_; }
  Display& display() { return display_; }

  // The session ends: every open box, menu and file dialog is answered as Escape would, and so is
  // every later one. Any thread.
  void AnswerAll();

  // Runs `program` on a thread of its own, which becomes the program thread, and the event loop
  // here until it returns; its result. Display thread.
  int Run(const std::function<int()>& program);

  // The display thread has lost the screen and never comes back: every call of the display returns
  // at once from now on, and this one waits for the program to end. False after that time. Any
  // thread but the program's.
  bool EndWithoutDisplay(std::chrono::milliseconds limit);

  // The thread of the running program. Any thread, while Run runs.
  std::thread::id ProgramThread() const { return program_thread_; }

  // Keeps the display working until the program has ended, for a caller inside the event loop.
  // False after that many milliseconds. Display thread.
  bool WaitForProgram(int timeout_ms);

 private:
  JobQueue jobs_;
  Display display_;
  std::unique_ptr<QtMessageBoxes> boxes_;
  std::unique_ptr<port::Windows> windows_;
  std::unique_ptr<port::ListView> group_list_;
  QtDialogs dialogs_;
  QtPropertySheets sheets_;
  std::unique_ptr<port::TreeView> thread_tree_;
  std::unique_ptr<QtPopUpMenus> pop_ups_;
  std::unique_ptr<port::ArticlePanes> article_;
  std::unique_ptr<QtFileDialogs> file_dialogs_;
  KeyFilter keys_;
  BlockedFocus blocked_focus_;
  bool program_ended_ = false;  // display thread
  std::mutex mutex_;
  std::condition_variable program_left_;
  bool program_running_ = false;  // guarded by mutex_
  std::atomic<std::thread::id> program_thread_;
};

}  // namespace quillet::qt
