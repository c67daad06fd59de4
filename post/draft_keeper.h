// SPDX-License-Identifier: GPL-3.0-or-later
// Keeps the draft of an open editor on the disk while the user types: a thread of its own, so that
// it is written within two seconds after a key also while a connection or a deletion keeps the
// program thread busy.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

#include "port/message.h"
#include "post/draft.h"

namespace quillet {

// Takes over into the draft what stands in the window; false when the window does not exist any
// more. Also called on the keeper's thread, never twice at a time.
using ReadEditor = std::function<bool(port::WindowHandle window, Draft& draft)>;

class DraftKeeper {
 public:
  // Program thread. `draft` is what the window begins with; nothing is written before the user
  // changes something. `failed` is called once, on the keeper's thread, when a draft could not be
  // written.
  DraftKeeper(port::WindowHandle window, Draft draft, ReadEditor read,
              std::function<void()> failed);
  // Ends the thread; the file stays as it is. The window must still exist or have gone for good.
  ~DraftKeeper();
  DraftKeeper(const DraftKeeper&) = delete;
  DraftKeeper& operator=(const DraftKeeper&) = delete;

  // False when there is no thread: it is then written when Save is called, and not by itself.
  bool Works() const { return thread_.joinable(); }
  // The draft as the window stands now. Program thread.
  Draft Read();
  // Changes what is not in the window, and has it written soon.
  void Change(const std::function<void(Draft& draft)>& change);
  // Writes now; true when it is on the disk.
  bool Save();
  // The user has changed something. Any thread; never waits.
  void Touch();

 private:
  void Run();
  void Write();
  // Sleeps until the user has changed something, or for the pause between two writings; false when
  // the end has come.
  bool AwaitTouch();
  bool Pause();

  const port::WindowHandle window_;
  const bool simple_;
  const ReadEditor read_;
  const std::function<void()> failed_;

  std::mutex draft_mutex_;  // held while the window is read and the file written
  Draft draft_;
  bool told_ = false;

  std::mutex signal_mutex_;  // never held while anything is waited for
  std::condition_variable signal_;
  bool touched_ = false;
  bool ending_ = false;

  std::thread thread_;  // last: it uses the others
};

}  // namespace quillet
