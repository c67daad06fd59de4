// SPDX-License-Identifier: GPL-3.0-or-later
// What the display services share.
#pragma once

#include <QApplication>
#include <QPointer>
#include <QWidget>
#include <map>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/message.h"
#include "qt/job_queue.h"
#include "qt/main_window.h"
#include "qt/window_sizes.h"

namespace quillet::qt {

struct Display {
  JobQueue& jobs;
  port::ThreadQueues& queues;

  // Display thread only. Both are null or absent once the window has gone.
  QPointer<MainWindow> main{};
  // Main window, dialogs, and the pages of sheets.
  std::map<port::WindowHandle, QPointer<QWidget>> windows{};
  std::map<port::WindowHandle, std::vector<port::WindowHandle>> sheet_pages{};
  WindowSizes sizes{};

  // The widget of a handle; null for 0 and for windows that have gone. Display thread.
  QWidget* WidgetOf(port::WindowHandle handle) const {
    const auto found = windows.find(handle);
    return found == windows.end() ? nullptr : found->second.data();
  }
  // The handle of a widget, 0 when it is none of ours. Display thread.
  port::WindowHandle HandleOf(const QWidget* widget) const {
    for (const auto& [handle, window] : windows) {
      if (widget != nullptr && window == widget) return handle;
    }
    return 0;
  }
  // What lies over the main window and takes its input, or that of all windows; null when nothing
  // does. Display thread.
  QWidget* LyingOver() const {
    if (QWidget* modal = QApplication::activeModalWidget()) return modal;
    return main ? main->Blocker() : nullptr;
  }
};

}  // namespace quillet::qt
