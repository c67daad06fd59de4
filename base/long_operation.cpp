// SPDX-License-Identifier: GPL-3.0-or-later
// Two threads share two atomic words: the progress thread writes the dialog's handle, Cancel and
// the end of the session write the abort flag. Waiting is done on a condition variable with a short
// limit, so that a wake-up that was missed costs a tenth of a second and no more. After a Cancel
// the dialog vanishes by a timer even when the operation does not abort in time.
#include "base/long_operation.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/messages.h"
#include "base/progress_text.h"
#include "base/reset.h"
#include "base/window_procedures.h"
#include "port/clock.h"
#include "port/dialogs.h"
#include "port/message_queue.h"
#include "port/platform.h"
#include "port/sockets.h"
#include "port/windows.h"
#include "res/resource.h"

namespace quillet {

std::atomic<std::uint32_t> gAbortRequested = 0;
std::atomic<port::WindowHandle> gProgressDialog = 0;

namespace {

constexpr std::uint32_t kAbortTimer = 1;
constexpr std::uint32_t kAbortTimerMs = 10000;
constexpr std::uint32_t kFiguresTimer = 2;
constexpr std::uint32_t kFiguresTimerMs = 250;
constexpr std::uint64_t kLargestRange = 65535;
// A waiter looks at least this often, and is woken earlier by the writer.
constexpr std::chrono::milliseconds kLongestLook(100);

// What the waiters sleep on; the words they wait for are the atomics above.
std::mutex gProgressMutex;
std::condition_variable gProgressChanged;
// Guarded by gProgressMutex.
bool gProgressFailed = false;   // the dialog could not be created
bool gOperationOver = false;    // the dialog goes anyway: the timer comes too late
bool gDialogGoneEarly = false;  // the timer has taken it away

bool gRunning = false;             // program thread only
std::uint64_t gProgressUnits = 1;  // program thread only
std::optional<BarText> gBarText;   // program thread only; nothing: the bar has no text
bool gBarSpeaks = false;           // program thread only: of its range the bar says something
ProgressFigures gFigures;          // of the run; empty: its dialog has no such line. Changed
                                   // only while there is no progress thread

const ResetAtEnd kReset([] {
  gAbortRequested = 0;
  gProgressDialog = 0;
  gProgressFailed = false;
  gOperationOver = false;
  gDialogGoneEarly = false;
  gRunning = false;
  gProgressUnits = 1;
  gBarText.reset();
  gBarSpeaks = false;
  gFigures = {};
});

void PublishDialog(port::WindowHandle dialog) {
  const std::lock_guard lock(gProgressMutex);
  gProgressDialog = dialog;
  gProgressFailed = dialog == 0;
  gProgressChanged.notify_all();
}

template <class Predicate>
void WaitForProgressThread(Predicate predicate) {
  std::unique_lock lock(gProgressMutex);
  while (!predicate()) gProgressChanged.wait_for(lock, kLongestLook);
}

// The dialog vanishes, whether or not the operation has aborted yet.
void DestroyDialogOnItsThread(port::WindowHandle dialog, std::optional<BoxOwner>& owner) {
  gPlatform->messages.KillTimer(dialog, kAbortTimer);
  gPlatform->messages.KillTimer(dialog, kFiguresTimer);
  gPlatform->dialogs.Destroy(dialog);
  owner.reset();  // before the operation's thread is told that the dialog has gone
  PublishDialog(0);
  gPlatform->messages.PostQuit(0);
}

// Ten seconds after Cancel. From then on the main window must not look as if it answered.
void AbortTimerFired(port::WindowHandle dialog, std::optional<BoxOwner>& owner) {
  {
    const std::lock_guard lock(gProgressMutex);
    if (gOperationOver) return;
    gDialogGoneEarly = true;
  }
  gPlatform->windows.SetBusy(true);
  DestroyDialogOnItsThread(dialog, owner);
}

// Whether the dialog has gone early.
bool NoteOperationOver() {
  const std::lock_guard lock(gProgressMutex);
  gOperationOver = true;
  return gDialogGoneEarly;
}

void ProgressDlgProc(port::WindowHandle dialog, std::optional<BoxOwner>& owner,
                     const port::Message& message) {
  switch (message.kind) {
    case port::MessageKind::kCommand:
      if (message.id != kControlCancel || gAbortRequested != 0) return;
      gPlatform->dialogs.Write(dialog, kControlCancel, port::Visible{false});
      RequestAbort();
      gPlatform->dialogs.Write(dialog, kControlProgressDetail,
                               port::Text{u"Aborting; please wait."});
      gPlatform->messages.SetTimer(dialog, kAbortTimer, kAbortTimerMs);
      return;
    case port::MessageKind::kTimer:
      return AbortTimerFired(dialog, owner);
    case port::MessageKind::kClose:
      DestroyDialogOnItsThread(dialog, owner);
      return;
    default:
      return;  // the silent key-up at the end of a run comes here and is ignored
  }
}

// The line of figures on the progress thread.
class FiguresLine {
 public:
  // Without figures the line leaves no hole.
  void Begin(port::WindowHandle dialog) const {
    if (gFigures) {
      gPlatform->messages.SetTimer(dialog, kFiguresTimer, kFiguresTimerMs);
    } else {
      gPlatform->dialogs.Write(dialog, kControlProgressFigures, port::Visible{false});
    }
  }
  void Refresh(port::WindowHandle dialog) {
    if (!gFigures) return;
    std::u16string text = gFigures();
    if (text == shown_) return;
    shown_ = text;
    gPlatform->dialogs.Write(dialog, kControlProgressFigures, port::Text{std::move(text)});
  }

 private:
  std::u16string shown_;
};

bool IsForFigures(const port::Message& message) {
  return message.kind == port::MessageKind::kTimer && message.id == kFiguresTimer;
}

void ProgressThread(const std::u16string& title) {
  const port::WindowHandle dialog =
      gPlatform->dialogs.Create(kDialogProgress, gMainWindow, port::DialogKind::kProgress);
  if (dialog == 0) {
    PublishDialog(0);
    return;
  }
  // The title stands before the operation can set a text of its own.
  gPlatform->dialogs.Write(dialog, kControlProgressTitle, port::Text{title});
  FiguresLine figures;
  figures.Begin(dialog);
  gPlatform->dialogs.Show(dialog);
  std::optional<BoxOwner> owner(dialog);
  SetProcedure(dialog, [&](const port::Message& message) {
    if (IsForFigures(message)) return figures.Refresh(dialog);
    ProgressDlgProc(dialog, owner, message);
  });
  PublishDialog(dialog);
  port::Message message;
  while (gPlatform->messages.Get(message)) Dispatch(message);
  RemoveProcedure(dialog);
}

void WriteBarText(port::WindowHandle dialog, std::uint64_t units_done) {
  const std::uint64_t now = gBarText->wants_time() ? gPlatform->clock.Ticks() : 0;
  std::optional<std::u16string> text = gBarText->At(now, units_done);
  if (!text) return;
  gPlatform->dialogs.Write(dialog, kControlProgressBar, port::Text{*std::move(text)});
}

// What the extension adds to the stated texts.
void PrepareFigures(const ProgressFigures& figures) {
  const bool wanted = ReadExtensions().progressline != 0;
  gFigures = wanted ? figures : ProgressFigures();
  gBarText.reset();
  if (wanted) gBarText.emplace();
}

std::thread StartProgressThread(std::u16string_view title) {
  gProgressFailed = gOperationOver = gDialogGoneEarly = false;  // no other thread yet
  try {
    return std::thread(ProgressThread, std::u16string(title));
  } catch (const std::system_error&) {
    return {};  // the operation then runs without a dialog
  }
}

}  // namespace

void RequestAbort() {
  // In this order: who wakes from a wait finds the flag.
  gAbortRequested = 1;
  if (gPlatform != nullptr) gPlatform->sockets.Interrupt(port::InterruptReason::kCancel);
}

RunEnd RequestedEnd() {
  if (!AbortRequested()) return RunEnd::kGoOn;
  return SessionEnding() ? RunEnd::kSessionEnds : RunEnd::kCancelled;
}

RunEnd LostOrAsked() {
  const RunEnd asked = RequestedEnd();
  return asked != RunEnd::kGoOn ? asked : RunEnd::kLost;
}

bool Ended(RunEnd& end) {
  if (end == RunEnd::kGoOn) end = RequestedEnd();
  return end != RunEnd::kGoOn;
}

int RunWithProgress(std::u16string_view title, const std::function<int()>& operation,
                    const ProgressFigures& figures) {
  if (gRunning) return operation();
  gRunning = true;
  gAbortRequested = 0;
  PrepareFigures(figures);
  std::thread thread = StartProgressThread(title);
  if (thread.joinable()) {
    WaitForProgressThread([] { return gProgressDialog != 0 || gProgressFailed; });
  }
  const bool no_dialog = gProgressDialog == 0;
  if (no_dialog) gPlatform->windows.SetBusy(true);
  const int result = operation();
  // Meant: the dialog has the focus and ignores this key, as in every version. Without the dialog
  // the main window would get it, which takes it for Escape and leaves the view.
  const bool alone = NoteOperationOver() || no_dialog;
  if (!alone) gPlatform->windows.InjectKeyUp(port::kKeyF24);
  DestroyProgressDialog();
  if (thread.joinable()) thread.join();
  gFigures = {};
  if (alone) gPlatform->windows.SetBusy(false);
  gRunning = false;
  return result;
}

RunEnd RunWithProgress(std::u16string_view title, const std::function<RunEnd()>& operation,
                       const ProgressFigures& figures) {
  RunEnd end = RunEnd::kGoOn;
  RunWithProgress(
      title,
      [&] {
        end = operation();
        return 0;
      },
      figures);
  return end;
}

bool OperationRunning() {
  return gRunning;
}

void SetProgressTitle(std::u16string_view text) {
  const port::WindowHandle dialog = gProgressDialog;
  if (dialog != 0) {
    gPlatform->dialogs.Write(dialog, kControlProgressTitle, port::Text{std::u16string(text)});
  }
}

void SetProgressDetail(std::u16string_view text) {
  const port::WindowHandle dialog = gProgressDialog;
  if (dialog != 0) {
    gPlatform->dialogs.Write(dialog, kControlProgressDetail, port::Text{std::u16string(text)});
  }
}

void SetProgressRange(std::uint64_t units, RangeCovers covers) {
  gProgressUnits = std::max<std::uint64_t>(units, 1);
  const port::WindowHandle dialog = gProgressDialog;
  if (dialog == 0) return;
  const auto upper = static_cast<int>(std::min(gProgressUnits, kLargestRange));
  gPlatform->dialogs.WriteMany(dialog, {{kControlProgressBar, port::Range{upper}},
                                        {kControlProgressBar, port::Position{0}}});
  if (!gBarText) return;
  gBarSpeaks = covers != RangeCovers::kRoughly;
  const bool whole = covers == RangeCovers::kWholeOperation;
  gBarText->Begin(gPlatform->clock.Ticks(), gProgressUnits, whole);
  if (gBarSpeaks) return WriteBarText(dialog, 0);
  gPlatform->dialogs.Write(dialog, kControlProgressBar, port::Text{});
}

void SetProgressPosition(std::uint64_t units_done) {
  const port::WindowHandle dialog = gProgressDialog;
  if (dialog == 0) return;
  const std::uint64_t done = std::min(units_done, gProgressUnits);
  const std::uint64_t position =
      gProgressUnits <= kLargestRange
          ? done
          : static_cast<std::uint64_t>(static_cast<double>(done) * kLargestRange /
                                       static_cast<double>(gProgressUnits));
  gPlatform->dialogs.Write(dialog, kControlProgressBar, port::Position{static_cast<int>(position)});
  if (gBarText && gBarSpeaks) WriteBarText(dialog, done);
}

void RefreshProgressFigures() {
  const port::WindowHandle dialog = gProgressDialog;
  if (dialog == 0) return;
  gPlatform->messages.Post({dialog, port::MessageKind::kTimer, kFiguresTimer, 0, {}});
}

void DestroyProgressDialog() {
  const port::WindowHandle dialog = gProgressDialog;
  if (dialog == 0) return;
  gPlatform->messages.Post({dialog, port::MessageKind::kClose, 0, 0, {}});
  WaitForProgressThread([] { return gProgressDialog == 0; });
}

}  // namespace quillet
