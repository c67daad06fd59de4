// SPDX-License-Identifier: GPL-3.0-or-later
// A wait of a command ends by its condition; the time limit and the end of the run end the command
// by an exception. Questions to the program are calls on its own thread, made here once it has
// ended. At the end the program is closed as a user would, again and again, until it goes.
#include "script/script_run.h"

#include <memory>
#include <utility>

#include "res/resource.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr int kLookMs = 20;

}  // namespace

// --- The program ---------------------------------------------------------------------------------

ScriptRun::ScriptRun(Reporter& the_reporter, port::ThreadQueues& the_queues,
                     port::FakeDisplay& the_display, std::chrono::milliseconds the_limit,
                     std::function<void()> wake, std::function<void()> end_session)
    : reporter(the_reporter),
      queues(the_queues),
      display(the_display),
      limit(the_limit),
      wake_(std::move(wake)),
      end_session_(std::move(end_session)) {}

ScriptRun::~ScriptRun() {
  if (program_.joinable()) program_.join();
}

void ScriptRun::Start(std::function<int()> program) {
  program_ = std::thread([this, program = std::move(program)] {
    const int code = program();
    ended_ = true;
    reporter.Report("exit", JsonObject().Add("code", code));
  });
  program_id_ = program_.get_id();
}

std::vector<std::u16string> ScriptRun::UnusedAnnouncements() const {
  std::vector<std::u16string> unused;
  for (const auto& box : announcements.LeftOver()) unused.push_back(box.prefix);
  for (const auto* answers : {&menu_answers, &save_answers, &open_answers}) {
    for (const auto& one : answers->LeftOver()) unused.push_back(one.answer);
  }
  return unused;
}

// --- Waiting -------------------------------------------------------------------------------------

void ScriptRun::CheckStopping() const {
  if (stopping_) throw ScriptStopped{};
}

void ScriptRun::WaitFor(std::string_view what, const std::function<bool()>& done) {
  const bool held = reporter.WaitUntil(limit, [&] { return stopping_ || done(); });
  CheckStopping();
  if (held) return;
  throw ScriptFailure{
      kStatusTimeout, "timeout",
      FromUtf8("waited " + std::to_string(limit.count()) + " ms for " + std::string(what))};
}

void ScriptRun::WaitIdle() {
  if (!started()) return;
  // The queues wake the waiter at the very moment; the loop only looks for the other reasons.
  WaitFor("the program to wait for messages",
          [&] { return ended_ || queues.WaitIdle(program_id_, kLookMs); });
}

void ScriptRun::WaitReadyForInput() {
  if (!started()) throw ScriptFailure{kStatusFailed, "refused", u"the program has not started"};
  WaitIdle();
  if (ended_) throw ScriptFailure{kStatusFailed, "refused", u"the program has ended"};
}

void ScriptRun::CallOnProgram(const std::function<void()>& call) {
  if (!running()) return call();
  const auto done = std::make_shared<std::atomic<bool>>(false);
  queues.PostCall(program_id_, [this, call, done] {
    call();
    *done = true;
    reporter.Wake();
  });
  WaitFor("the program to answer a question", [&] { return *done || ended_; });
  if (!*done) call();  // it ended before it came to this call
}

void ScriptRun::Sleep(std::chrono::milliseconds time) {
  reporter.WaitUntil(time, [&] { return stopping(); });
  CheckStopping();
}

// --- The end -------------------------------------------------------------------------------------

void ScriptRun::Fail(const ScriptFailure& failure, int line) {
  {
    const std::lock_guard lock(fail_mutex_);
    if (status_ == kStatusFine) status_ = failure.status;
  }
  reporter.Report(
      "failure",
      JsonObject().Add("reason", failure.reason).Add("text", failure.text).Add("line", line));
  Stop();
}

void ScriptRun::Stop() {
  stopping_ = true;
  reporter.Wake();
  wake_();
}

bool ScriptRun::WaitEnded(const std::function<void()>& nudge) {
  if (!started()) return true;
  const bool ended = reporter.WaitUntil(limit, [&] {
    if (!ended_) nudge();
    return ended_.load();
  });
  if (ended) program_.join();
  return ended;
}

bool ScriptRun::CloseProgram() {
  return WaitEnded([this] {
    if (!queues.WaitIdle(program_id_, kLookMs)) return;
    const auto dialog = display.FindDialog(display.DialogInFront());
    const bool modal = dialog && dialog->kind != port::DialogKind::kWindow;
    // The program itself closes its windows with forms, and asks where something would be lost.
    if (dialog && (modal || display.main_window().handle == 0)) {
      display.CloseDialog(dialog->handle);
    } else {
      display.CloseMainWindow();
    }
  });
}

bool ScriptRun::EndProgram() {
  if (running()) EndSession();
  return WaitEnded([this] {
    const port::WindowHandle progress = display.DialogOfForm(kDialogProgress);
    if (progress != 0) display.Press(progress, kControlCancel);
  });
}

void ScriptRun::EndSession() {
  ending_session_ = true;
  end_session_();
}

void ScriptRun::NoteSessionEnd() {
  reporter.Report("session-end");
  if (!ending_session_) Stop();
}

}  // namespace quillet
