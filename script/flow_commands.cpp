// SPDX-License-Identifier: GPL-3.0-or-later
// Starting, waiting, announcing, ending.
#include "script/flow_commands.h"

#include <array>

#include "res/resource.h"
#include "script/commands.h"
#include "script/dialog_commands.h"
#include "script/words.h"
#include "util/text.h"

namespace quillet {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr std::uint32_t kLongestSeconds = 86400;

milliseconds SecondsOf(std::u16string_view word) {
  const std::uint32_t number = NumberOf(word);
  if (number == 0 || number > kLongestSeconds) throw UsageFailure(u"not a time limit");
  return seconds(number);
}

void StartProgram(ScriptContext& context, Words /*words*/) {
  if (context.run.started()) throw RefusedFailure(u"the program was started before");
  context.run.Start(context.program);
}

void Wait(ScriptContext& context, Words words) {
  const milliseconds usual = context.run.limit;
  if (!words.empty()) context.run.limit = SecondsOf(words[0]);
  context.run.WaitIdle();
  context.run.limit = usual;
}

void WaitDialog(ScriptContext& context, Words words) {
  const std::uint32_t form = words.empty() ? 0 : NumberOf(words[0]);
  port::FakeDisplay& display = context.run.display;
  context.run.WaitFor(form == 0 ? "a dialog" : "dialog " + std::to_string(form), [&] {
    const auto dialog =
        display.FindDialog(form == 0 ? OpenDialog(display) : display.DialogOfForm(form));
    return dialog && dialog->shown && dialog->form != kDialogProgress;
  });
}

void WaitProgress(ScriptContext& context, Words words) {
  const std::u16string text = words.empty() ? std::u16string() : words[0];
  context.run.WaitFor("a progress dialog" + (text.empty() ? "" : " with " + ToUtf8(text)),
                      [&] { return context.observer.ProgressShows(text); });
}

void WaitForEvent(ScriptContext& context, Words words) {
  const std::string event = ToUtf8(words[0]);
  const int count = words.size() > 1 ? static_cast<int>(NumberOf(words[1]) & 0x7FFFFFFF) : 1;
  context.run.WaitFor("event " + event, [&] { return context.run.reporter.Count(event) >= count; });
}

void Sleep(ScriptContext& context, Words words) {
  context.run.Sleep(milliseconds(NumberOf(words[0])));
}

void SetTimeout(ScriptContext& context, Words words) {
  context.run.limit = SecondsOf(words[0]);
}

struct AnswerWord {
  std::u16string_view word;
  int answer;
};

constexpr std::array<AnswerWord, 4> kAnswers = {{{u"ok", port::kIdOk},
                                                 {u"cancel", port::kIdCancel},
                                                 {u"yes", port::kIdYes},
                                                 {u"no", port::kIdNo}}};

int AnswerOf(std::u16string_view word) {
  for (const AnswerWord& answer : kAnswers) {
    if (answer.word == word) return answer.answer;
  }
  throw UsageFailure(u"not an answer: " + std::u16string(word));
}

void Expect(ScriptContext& context, Words words) {
  const int answer = AnswerOf(words[1]);
  port::Uses uses;
  for (std::size_t i = 2; i < words.size(); ++i) {
    if (words[i] == u"optional") {
      uses.optional = true;
    } else if (words[i] == u"times" && i + 1 < words.size()) {
      uses.times = NumberOf(words[++i]);
    } else {
      throw UsageFailure(u"neither optional nor times N: " + words[i]);
    }
  }
  context.run.announcements.Add(words[0], answer, uses);
}

void PressCancelNow(ScriptContext& context) {
  port::FakeDisplay& display = context.run.display;
  const port::WindowHandle dialog = display.DialogOfForm(kDialogProgress);
  if (dialog == 0) throw RefusedFailure(u"no progress dialog is up");
  if (!display.Press(dialog, kControlCancel)) {
    throw RefusedFailure(u"Cancel cannot be pressed any more");
  }
}

void CancelProgress(ScriptContext& context, Words words) {
  if (words.empty()) return PressCancelNow(context);
  if (words.size() == 1 && words[0] == u"never") return context.observer.CancelAfter(std::nullopt);
  if (words.size() == 1 && words[0] == u"0") return context.observer.CancelAfter(0);
  if (words.size() != 2 || words[0] != u"after") {
    throw UsageFailure(u"cancel-progress takes nothing, 0, after N or never");
  }
  context.observer.CancelAfter(NumberOf(words[1]));
}

void GiveLink(ScriptContext& context, Words words) {
  context.give_link(words[0]);
}

void Close(ScriptContext& context, Words /*words*/) {
  context.run.WaitReadyForInput();
  if (!context.run.display.CloseMainWindow()) {
    throw RefusedFailure(u"the window cannot be closed now");
  }
}

void CloseNow(ScriptContext& context, Words /*words*/) {
  const port::WindowHandle window = context.run.display.main_window().handle;
  if (window == 0) throw RefusedFailure(u"there is no window");
  // Also while a dialog or box lies over it, which no user could.
  if (context.run.display.CloseMainWindow()) return;
  context.run.display.Inject({window, port::MessageKind::kClose, 0, 0, {}});
}

void EndSession(ScriptContext& context, Words /*words*/) {
  context.run.EndSession();
}

void End(ScriptContext& context, Words /*words*/) {
  context.input_ended = true;
}

constexpr std::array<ScriptCommand, 14> kFlow = {{
    {u"start", 0, 0, true, StartProgram},
    {u"wait", 0, 1, false, Wait},
    {u"wait-dialog", 0, 1, false, WaitDialog},
    {u"wait-progress", 0, 1, false, WaitProgress},
    {u"wait-for", 1, 2, true, WaitForEvent},
    {u"sleep", 1, 1, true, Sleep},
    {u"timeout", 1, 1, true, SetTimeout},
    {u"expect", 2, 5, true, Expect},
    {u"cancel-progress", 0, 2, true, CancelProgress},
    {u"give-link", 1, 1, true, GiveLink},
    {u"close", 0, 0, false, Close},
    {u"close-now", 0, 0, false, CloseNow},
    {u"end-session", 0, 0, false, EndSession},
    {u"end", 0, 0, true, End},
}};

}  // namespace

std::span<const ScriptCommand> FlowCommands() {
  return kFlow;
}

}  // namespace quillet
