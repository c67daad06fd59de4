#include "script/script_run.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "res/resource.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr int kLookMs = 20;

}  // namespace

// --- Announcements -------------------------------------------------------------------------------

void Announcements::Add(std::u16string prefix, int answer, bool optional, std::uint32_t times) {
  const std::lock_guard lock(mutex_);
  announcements_.push_back({std::move(prefix), answer, optional, times});
}

std::optional<int> Announcements::Take(std::u16string_view text) {
  const std::lock_guard lock(mutex_);
  const auto found = std::ranges::find_if(announcements_, [&](const Announcement& announcement) {
    return announcement.times > 0 && StartsWith(text, announcement.prefix);
  });
  if (found == announcements_.end()) return std::nullopt;
  --found->times;
  return found->answer;
}

std::vector<std::u16string> Announcements::LeftOver() {
  const std::lock_guard lock(mutex_);
  std::vector<std::u16string> prefixes;
  for (const Announcement& announcement : announcements_) {
    if (announcement.times > 0 && !announcement.optional) prefixes.push_back(announcement.prefix);
  }
  return prefixes;
}

void AnswerQueue::Add(std::u16string answer) {
  const std::lock_guard lock(mutex_);
  answers_.push_back(std::move(answer));
}

std::optional<std::u16string> AnswerQueue::Take() {
  const std::lock_guard lock(mutex_);
  if (answers_.empty()) return std::nullopt;
  std::u16string answer = std::move(answers_.front());
  answers_.pop_front();
  return answer;
}

std::vector<std::u16string> AnswerQueue::LeftOver() {
  const std::lock_guard lock(mutex_);
  return {answers_.begin(), answers_.end()};
}

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
    const port::WindowHandle focus = display.Focus();
    if (focus != 0 && focus != display.main_window().handle) {
      display.CloseDialog(focus);
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
