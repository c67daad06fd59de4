// SPDX-License-Identifier: GPL-3.0-or-later
// What a script asks, and its settings.
#include "script/question_commands.h"

#include <algorithm>
#include <array>
#include <memory>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "nntp/connection.h"
#include "port/platform.h"
#include "res/resource.h"
#include "script/commands.h"
#include "script/describe.h"
#include "script/dialog_commands.h"
#include "script/registry_text.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// --- what is shown -------------------------------------------------------------------------------

void AskGroups(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("groups", DescribeGroups(context.run.display.list()));
}

void AskGuide(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("guide", DescribeGuide(context.run.display.list()));
}

void AskStatus(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("status",
                              JsonObject().Add("text", context.run.display.main_window().status));
}

void AskTabs(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("tabs", DescribeTabs(context.run.display.main_window()));
}

void AskWindow(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("window", DescribeWindow(context.run.display.main_window()));
}

void AskMenu(ScriptContext& context, Words words) {
  if (words.empty()) {
    context.run.WaitIdle();
    context.run.reporter.Report("menu", DescribeMenu(context.run.display.main_window().tab));
    return;
  }
  for (int view = 0; view < port::kTabCount; ++view) {
    if (ToUtf8(words[0]) != ViewName(view)) continue;
    context.run.reporter.Report("menu", DescribeMenu(view));
    return;
  }
  throw UsageFailure(u"no such view: " + words[0]);
}

void AskDialog(ScriptContext& context, Words words) {
  context.run.WaitIdle();
  const port::FakeDisplay& display = context.run.display;
  const auto dialog = display.FindDialog(words.empty() ? OpenDialog(display)
                                                       : display.DialogOfForm(NumberOf(words[0])));
  if (!dialog) throw RefusedFailure(u"no dialog is open");
  context.run.reporter.Report("dialog", DescribeDialog(display, *dialog));
}

void AskProgress(ScriptContext& context, Words /*words*/) {
  JsonList texts;
  for (const auto& text : context.run.display.progress_texts()) {
    texts.Add(JsonObject().Add("control", text.control).Add("text", text.text));
  }
  context.run.display.ForgetProgressTexts();
  const port::WindowHandle dialog = context.observer.ProgressDialog();
  const auto shown = [&](std::uint32_t control) {
    return context.run.display.Control(dialog, control).value_or(port::ShownControl()).text;
  };
  context.run.reporter.Report("progress",
                              JsonObject()
                                  .AddRaw("texts", texts.Finish())
                                  .Add("changes", context.observer.TakeProgressChanges())
                                  .Add("figures", shown(kControlProgressFigures))
                                  .Add("bar", shown(kControlProgressBar)));
}

// --- the registry --------------------------------------------------------------------------------

// A value by its path below the program's own key, or, with a backslash in front, below the root.
struct ValuePath {
  std::u16string key;
  std::u16string name;
};

ValuePath PathOf(std::u16string_view word) {
  const bool from_root = word.starts_with(u'\\');
  const std::size_t last = word.rfind(u'\\');
  const std::u16string_view name = last == word.npos ? word : word.substr(last + 1);
  std::u16string key(kRegistryPath);
  if (from_root) {
    key = word.substr(1, std::max<std::size_t>(last, 1) - 1);
  } else if (last != word.npos) {
    key += u'\\' + std::u16string(word.substr(0, last));
  }
  return {std::move(key), std::u16string(name)};
}

std::optional<port::RegistryValue> ReadValue(std::u16string_view word) {
  const ValuePath path = PathOf(word);
  const auto key = gPlatform->registry.Open(path.key);
  return key ? key->Get(path.name) : std::nullopt;
}

void AskRegistry(ScriptContext& context, Words words) {
  JsonObject answer;
  context.run.CallOnProgram([&] {
    const auto value = ReadValue(words[0]);
    answer = DescribeRegistryValue(words[0], value ? &*value : nullptr);
  });
  context.run.reporter.Report("registry", answer);
}

// The values of the key, then those of the keys below it, their names being paths from here on.
void CollectValues(const std::u16string& path, const std::u16string& prefix,
                   std::vector<port::NamedRegistryValue>& values) {
  const auto key = gPlatform->registry.Open(path);
  if (!key) return;
  for (port::NamedRegistryValue& value : key->Values()) {
    value.name.insert(0, prefix);
    values.push_back(std::move(value));
  }
  for (const std::u16string& below : key->Subkeys()) {
    const std::u16string step = below + u'\\';
    CollectValues(FormatWide(u"%ls\\%ls", path, below), prefix + step, values);
  }
}

void DumpRegistry(ScriptContext& context, Words /*words*/) {
  std::vector<port::NamedRegistryValue> values;
  context.run.CallOnProgram([&] { CollectValues(std::u16string(kRegistryPath), u"", values); });
  for (const port::NamedRegistryValue& value : values) {
    context.run.reporter.Report("registry", DescribeRegistryValue(value.name, &value.value));
  }
  context.run.reporter.Report("registry-end", JsonObject().Add("count", values.size()));
}

void SetRegistry(ScriptContext& context, Words words) {
  const auto value = MakeRegistryValue(words.subspan(1));
  if (!value) throw UsageFailure(u"not a registry value");
  const ValuePath path = PathOf(words[0]);
  bool written = false;
  context.run.CallOnProgram([&] {
    const auto key = gPlatform->registry.Create(path.key);
    written = key && key->Set(path.name, value->type, value->data);
  });
  if (!written) throw RefusedFailure(u"the registry could not be written");
}

// --- logs ----------------------------------------------------------------------------------------

void AskTransactionLog(ScriptContext& context, Words /*words*/) {
  JsonObject answer;
  context.run.CallOnProgram([&] {
    answer.Add("exists", gTransactionLog != nullptr);
    answer.Add("text", gTransactionLog ? gTransactionLog->text : std::u16string());
  });
  context.run.reporter.Report("transaction-log", answer);
}

void AskErrorLog(ScriptContext& context, Words /*words*/) {
  JsonList boxes;
  JsonObject answer;
  context.run.CallOnProgram([&] { answer.Add("text", gConnection.error_log.text); });
  for (const port::ShownBox& box : context.run.display.boxes()) {
    if (box.caption == u"Error log") boxes.Add(box.text);
  }
  context.run.reporter.Report("error-log", answer.AddRaw("boxes", boxes.Finish()));
}

// --- settings ------------------------------------------------------------------------------------

void KeepTransactionLog(ScriptContext& context, Words words) {
  const bool on = SwitchOf(words[0]);
  bool there = false;
  context.run.CallOnProgram([&] {
    there = gPrefs != nullptr;
    if (there) gPrefs->keeptranslog = on ? 1 : 0;
  });
  if (!there) throw RefusedFailure(u"there are no preferences");
}

void ReportPositions(ScriptContext& context, Words words) {
  context.observer.ReportPositions(SwitchOf(words[0]));
}

void ReportWaitCursor(ScriptContext& context, Words words) {
  context.observer.ReportWaitCursor(SwitchOf(words[0]));
}

constexpr std::array<ScriptCommand, 16> kQuestions = {{
    {u"groups", 0, 0, false, AskGroups},
    {u"guide", 0, 0, false, AskGuide},
    {u"status", 0, 0, false, AskStatus},
    {u"tabs", 0, 0, false, AskTabs},
    {u"window", 0, 0, false, AskWindow},
    {u"menu", 0, 1, false, AskMenu},
    {u"dialog", 0, 1, false, AskDialog},
    {u"progress", 0, 0, true, AskProgress},
    {u"registry", 1, 1, true, AskRegistry},
    {u"registry-dump", 0, 0, true, DumpRegistry},
    {u"registry-set", 2, kAnyNumber, true, SetRegistry},
    {u"transaction-log", 0, 0, false, AskTransactionLog},
    {u"error-log", 0, 0, false, AskErrorLog},
    {u"keep-transaction-log", 1, 1, false, KeepTransactionLog},
    {u"progress-positions", 1, 1, true, ReportPositions},
    {u"wait-cursor", 1, 1, true, ReportWaitCursor},
}};

}  // namespace

std::span<const ScriptCommand> QuestionCommands() {
  return kQuestions;
}

}  // namespace quillet
