// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog service on the toolkit.
#pragma once

#include <QTimer>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "port/common/edit_watches.h"
#include "port/dialogs.h"
#include "qt/control_messages.h"
#include "qt/display.h"

namespace quillet::qt {

class QtDialogs final : public port::Dialogs {
 public:
  explicit QtDialogs(Display& display);

  port::WindowHandle Create(std::uint32_t form, port::WindowHandle owner,
                            port::DialogKind kind) override;
  void Show(port::WindowHandle dialog) override;
  void Destroy(port::WindowHandle dialog) override;
  void WriteMany(port::WindowHandle dialog, std::vector<port::ControlWrite> writes) override;
  port::ControlState Read(port::WindowHandle dialog, std::uint32_t control) override;
  void WatchEdits(port::WindowHandle dialog, std::function<void()> edited) override;
  std::map<std::uint32_t, port::ControlState> ReadAll(port::WindowHandle dialog) override;

 private:
  struct Pending {
    port::WindowHandle dialog = 0;
    port::ControlWrite write;
  };
  using Place = std::pair<port::WindowHandle, std::uint32_t>;

  void AddPending(port::WindowHandle dialog, port::ControlWrite write);
  bool PageIsWritten();  // display thread
  void ScheduleFlush();
  void Flush();  // display thread
  FormControls* Form(port::WindowHandle dialog) const;
  void DestroyNow(port::WindowHandle dialog);

  Display& display_;
  port::EditWatches watches_;

  // Writes not shown yet, in their order, and the last one to each control.
  std::mutex mutex_;
  std::vector<Pending> pending_;
  std::map<Place, std::size_t> last_;
  bool flush_scheduled_ = false;

  // Display thread.
  std::chrono::steady_clock::time_point last_flush_{};
  QTimer flush_timer_;
};

// Hands what the user does in a form to the window's thread. Display thread.
Tell TellWindow(port::ThreadQueues& queues, port::WindowHandle window);

}  // namespace quillet::qt
