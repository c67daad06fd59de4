// SPDX-License-Identifier: GPL-3.0-or-later
// Two locks: the display calls Touch and must never wait for a disk, so the signal has one of its
// own. What is changed is written a second later, together with what came in between. The simple
// editor is read at once as well: reading it is what makes it follow its field selector.
#include "post/draft_keeper.h"

#include <chrono>
#include <system_error>
#include <utility>

#include "port/dialogs.h"
#include "port/platform.h"

namespace quillet {
namespace {

constexpr std::chrono::milliseconds kPause(1000);

}  // namespace

DraftKeeper::DraftKeeper(port::WindowHandle window, Draft draft, ReadEditor read,
                         std::function<void()> failed)
    : window_(window),
      simple_(draft.simple),
      read_(std::move(read)),
      failed_(std::move(failed)),
      draft_(std::move(draft)) {
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // The program thread has it written then, as far as it comes to it.
  }
  gPlatform->dialogs.WatchEdits(window_, [this] { Touch(); });
}

DraftKeeper::~DraftKeeper() {
  gPlatform->dialogs.WatchEdits(window_, {});
  {
    const std::lock_guard lock(signal_mutex_);
    ending_ = true;
  }
  signal_.notify_all();
  if (thread_.joinable()) thread_.join();
}

Draft DraftKeeper::Read() {
  const std::lock_guard lock(draft_mutex_);
  read_(window_, draft_);
  return draft_;
}

void DraftKeeper::Change(const std::function<void(Draft& draft)>& change) {
  {
    const std::lock_guard lock(draft_mutex_);
    change(draft_);
  }
  Touch();
}

bool DraftKeeper::Save() {
  const std::lock_guard lock(draft_mutex_);
  read_(window_, draft_);
  return SaveDraft(draft_);
}

void DraftKeeper::Touch() {
  {
    const std::lock_guard lock(signal_mutex_);
    touched_ = true;
  }
  signal_.notify_all();
}

bool DraftKeeper::AwaitTouch() {
  std::unique_lock lock(signal_mutex_);
  signal_.wait(lock, [this] { return touched_ || ending_; });
  touched_ = false;
  return !ending_;
}

bool DraftKeeper::Pause() {
  std::unique_lock lock(signal_mutex_);
  signal_.wait_for(lock, kPause, [this] { return ending_; });
  return !ending_;
}

void DraftKeeper::Write() {
  bool failed = false;
  {
    const std::lock_guard lock(draft_mutex_);
    if (!read_(window_, draft_)) return;
    failed = !SaveDraft(draft_) && !std::exchange(told_, true);
  }
  if (failed) failed_();
}

void DraftKeeper::Run() {
  while (AwaitTouch()) {
    if (simple_) Read();
    if (!Pause()) return;
    // What was changed until now is in this writing.
    {
      const std::lock_guard lock(signal_mutex_);
      touched_ = false;
    }
    Write();
  }
}

}  // namespace quillet
