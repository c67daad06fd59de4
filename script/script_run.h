// SPDX-License-Identifier: GPL-3.0-or-later
// One run of the scripted front: the program on its thread, the display it draws on, what has been
// announced, and how the run stands. The commands (script/commands.h) work on it from the main
// thread; the observer (script/observer.h) reports from the program's threads.
#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/fake/answers.h"
#include "port/fake/fake_display.h"
#include "port/platform.h"
#include "script/reporter.h"

namespace quillet {

constexpr int kStatusFine = 0;
constexpr int kStatusFailed = 1;
constexpr int kStatusUsage = 2;
constexpr int kStatusTimeout = 3;

// Thrown by commands: the run ends with that status.
struct ScriptFailure {
  int status = kStatusFailed;
  std::string reason;  // a word: "refused", "unknown", "timeout"...
  std::u16string text;
};

// Thrown by waits: the run ends for a reason that has been reported, or by a signal.
struct ScriptStopped {};

class ScriptRun {
 public:
  // `wake` is called on any thread when the run shall stop; `end_session` announces the end of the
  // desktop session to the program.
  ScriptRun(Reporter& reporter, port::ThreadQueues& queues, port::FakeDisplay& display,
            std::chrono::milliseconds limit, std::function<void()> wake,
            std::function<void()> end_session);
  ~ScriptRun();
  ScriptRun(const ScriptRun&) = delete;
  ScriptRun& operator=(const ScriptRun&) = delete;

  Reporter& reporter;
  port::ThreadQueues& queues;
  port::FakeDisplay& display;
  // Announced ahead; any thread.
  port::Answers<int> announcements;            // of boxes: ids of their buttons
  port::Answers<std::u16string> menu_answers;  // texts of entries; empty: the menu is dismissed
  port::Answers<std::u16string> save_answers;  // paths; empty: the save dialog is cancelled
  port::Answers<std::u16string> open_answers;  // the same for open dialogs
  // The texts of those that should have been used: beginnings of boxes, then answers.
  std::vector<std::u16string> UnusedAnnouncements() const;

  std::chrono::milliseconds limit;  // of every wait; main thread

  // --- the program; main thread ---

  void Start(std::function<int()> program);
  bool started() const { return program_.joinable(); }
  bool ended() const { return ended_; }
  bool running() const { return started() && !ended_; }

  // --- waiting; main thread. All throw ScriptStopped when the run stops meanwhile ---

  // Waits until `done` holds; throws the failure "timeout" naming `what` after the limit.
  void WaitFor(std::string_view what, const std::function<bool()>& done);
  // Until the program waits for messages, or has ended.
  void WaitIdle();
  // The same for input: the failure "refused" when the program does not run.
  void WaitReadyForInput();
  // Runs `call` on the program's thread between two messages, or here when it does not run.
  void CallOnProgram(const std::function<void()>& call);
  void Sleep(std::chrono::milliseconds time);

  // --- the end; any thread ---

  // Reports the failure and makes the run stop. The first one decides the exit status.
  void Fail(const ScriptFailure& failure, int line);
  // Makes the run stop without a failure.
  void Stop();
  bool stopping() const { return stopping_; }
  int status() const { return status_; }

  // Ends the program politely: dialogs are cancelled, the window is closed. False when it does not
  // end within the limit. Main thread.
  bool CloseProgram();
  // Ends it as the end of the desktop session does.
  bool EndProgram();
  // The desktop session ends.
  void EndSession();
  // It does: the run stops, unless a command of it said so. Any thread.
  void NoteSessionEnd();

 private:
  bool WaitEnded(const std::function<void()>& nudge);
  void CheckStopping() const;

  std::function<void()> wake_;
  std::function<void()> end_session_;
  std::atomic<bool> ending_session_ = false;
  std::thread program_;
  std::thread::id program_id_;
  std::atomic<bool> ended_ = false;
  std::atomic<bool> stopping_ = false;
  std::atomic<int> status_ = kStatusFine;
  std::mutex fail_mutex_;
};

}  // namespace quillet
