// SPDX-License-Identifier: GPL-3.0-or-later
// Long operations: the operation runs on the program thread, while a second thread owns and pumps
// the progress dialog, so that its Cancel always answers.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string_view>

#include "base/run_end.h"
#include "port/message.h"

namespace quillet {

// 0 or 1; set by the dialog's Cancel and by the end of the session, cleared by the runner, read by
// operations between units of work. An operation that fails says so by its RunEnd, never here.
extern std::atomic<std::uint32_t> gAbortRequested;
// The progress dialog, 0 when there is none. Written by the progress thread.
extern std::atomic<port::WindowHandle> gProgressDialog;

inline bool AbortRequested() {
  return gAbortRequested.load(std::memory_order_relaxed) != 0;
}
// What Cancel, the closing of the main window and the end of the session do: the running operation
// aborts at its next test, and does not wait for the network any more. Any thread.
void RequestAbort();
// kCancelled or kSessionEnds when the operation is to abort, kGoOn otherwise.
RunEnd RequestedEnd();
// What a failed wait means for the operation: what was asked for, else that the connection is lost.
RunEnd LostOrAsked();
// The test between units of work: whether the operation is at its end, because `end` says so
// already or because it is to abort, which is then noted in `end`.
bool Ended(RunEnd& end);

// What stands in the line of figures at this moment. Called on the progress thread, four times a
// second while the dialog is up.
using ProgressFigures = std::function<std::u16string()>;

// Runs the operation under a progress dialog with that title and returns its result. Program
// thread; never nested (a nested call runs the operation under the dialog that is up). With
// `figures`, and with the extension progressline, the dialog has a line of them.
int RunWithProgress(std::u16string_view title, const std::function<int()>& operation,
                    const ProgressFigures& figures = {});
// The same for an operation that tells what ended it.
RunEnd RunWithProgress(std::u16string_view title, const std::function<RunEnd()>& operation,
                       const ProgressFigures& figures = {});
// True from the start to the end of RunWithProgress.
bool OperationRunning();

// What an operation shows. Without a dialog these do nothing.
void SetProgressTitle(std::u16string_view text);   // the upper text, control 1020
void SetProgressDetail(std::u16string_view text);  // the lower text, control 1022
// Positions run from 0 to `units` (at least 1). More than 65,535 units are scaled, not cut. Also
// sets the position to 0. With the extension progressline the percentage stands on the bar, and the
// time that is left when the range is all that there is to do. Where the bar does not end with its
// work it says nothing.
enum class RangeCovers { kOnePart, kWholeOperation, kRoughly };
void SetProgressRange(std::uint64_t units, RangeCovers covers = RangeCovers::kOnePart);
void SetProgressPosition(std::uint64_t units_done);
// The line of figures, control 1230, is looked at without waiting for its turn.
void RefreshProgressFigures();

// Takes the progress dialog down, if one is up, and waits until it has gone. Idempotent.
void DestroyProgressDialog();

}  // namespace quillet
