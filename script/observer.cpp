// SPDX-License-Identifier: GPL-3.0-or-later
// Each hook reports one event, on the thread on which it happened. Boxes, menus and file dialogs
// take what was announced; one that was not fails the run, unless OK is its only answer, and is
// dismissed so that the program can go on to its end. What the progress dialog has shown is
// gathered under a mutex, for the commands that wait for it and for Cancel after a number of
// changes.
#include "script/observer.h"

#include <algorithm>
#include <utility>

#include "port/common/box_buttons.h"
#include "res/resource.h"
#include "script/describe.h"
#include "script/shown_nodes.h"
#include "util/text.h"

namespace quillet {
namespace {

bool IsStatusText(std::uint32_t control) {
  return control == kControlProgressTitle || control == kControlProgressDetail;
}

}  // namespace

ScriptObserver::ScriptObserver(ScriptRun& run)
    : run_(run), cancel_(run.queues, [&run](port::WindowHandle dialog, std::uint32_t changes) {
        const bool pressed = run.display.Press(dialog, kControlCancel);
        run.reporter.Report("progress-cancelled", JsonObject().Add("change", changes));
        return pressed;
      }) {}

// --- boxes ---------------------------------------------------------------------------------------

std::optional<int> ScriptObserver::OnBox(const port::ShownBox& box) {
  const std::optional<int> announced = run_.announcements.Take(box.text);
  const bool fits = announced && port::HasButton(box.style.buttons, *announced);
  const int answer = fits ? *announced : port::EscapeAnswer(box.style.buttons);
  run_.reporter.Report("box", DescribeBox(box, OwnerKind(run_.display, box.owner), answer)
                                  .Add("announced", announced.has_value()));
  if (announced && !fits) {
    run_.Fail({kStatusFailed, "no-such-button", box.text}, 0);
  } else if (!announced && box.style.buttons != port::BoxButtons::kOk) {
    run_.Fail({kStatusFailed, "unannounced-question", box.text}, 0);
  }
  return answer;
}

void ScriptObserver::OnWaitCursor(int depth) {
  if (report_wait_cursor_) run_.reporter.Report("wait-cursor", JsonObject().Add("depth", depth));
}

void ScriptObserver::OnBeep() {
  run_.reporter.Report("beep");
}

// --- the main window -----------------------------------------------------------------------------

void ScriptObserver::OnWindowCreated(const port::MainWindowTraits& traits) {
  run_.reporter.Report("window-created", JsonObject()
                                             .Add("class", traits.window_class)
                                             .Add("title", traits.title)
                                             .Add("width", traits.size.width)
                                             .Add("height", traits.size.height));
}
void ScriptObserver::OnWindowShown() {
  run_.reporter.Report("window-shown");
}
void ScriptObserver::OnWindowRaised() {
  run_.reporter.Report("window-raised");
}
void ScriptObserver::OnWindowDestroyed() {
  run_.reporter.Report("window-destroyed");
}

void ScriptObserver::OnTabsCreated(port::TabPlacement placement) {
  run_.reporter.Report("tabs-created", JsonObject().Add("placement", PlacementName(placement)));
}

void ScriptObserver::OnTabSelected(int tab) {
  run_.reporter.Report("tab", JsonObject().Add("selected", ViewName(tab)));
}

void ScriptObserver::OnStatusText(std::u16string_view text) {
  run_.reporter.Report("status-text", JsonObject().Add("text", text));
}

void ScriptObserver::OnListChanged() {
  run_.reporter.Report("groups-changed", JsonObject().Add("rows", run_.display.list().rows.size()));
}

// --- the thread tree and the article view --------------------------------------------------------

void ScriptObserver::OnTreeChanged() {
  run_.reporter.Report(
      "tree-changed",
      JsonObject().Add("rows", run_.display.tree_rows()).Add("caption", run_.display.caption()));
}

void ScriptObserver::OnArticleChanged() {
  const port::ShownArticle article = run_.display.article();
  run_.reporter.Report("article-changed", JsonObject()
                                              .Add("length", article.source.size())
                                              .Add("ended", article.ended)
                                              .Append(DescribeHeader(article)));
}

void ScriptObserver::OnViewerScrolled(port::ScrollStep step) {
  run_.reporter.Report("viewer-scrolled", JsonObject().Add("step", ScrollStepName(step)));
}

void ScriptObserver::OnViewerCopied() {
  run_.reporter.Report("viewer-copied");
}

namespace {

JsonObject Described(const port::PopUpEntry& entry) {
  JsonObject described;
  if (entry.command == 0) return described.Add("separator", true);
  described.Add("command", entry.command).Add("text", entry.text);
  if (entry.checked) described.Add("checked", true);
  return described;
}

}  // namespace

std::optional<std::uint32_t> ScriptObserver::OnPopUp(const std::vector<port::PopUpEntry>& entries) {
  const std::optional<std::u16string> wanted = run_.menu_answers.Take();
  const std::u16string text = wanted.value_or(u"");
  const auto entry = std::ranges::find(entries, text, &port::PopUpEntry::text);
  const std::uint32_t command = entry == entries.end() ? 0 : entry->command;
  JsonList texts;
  for (const port::PopUpEntry& one : entries) {
    texts.Add(Described(one));
  }
  run_.reporter.Report("pop-up", JsonObject()
                                     .AddRaw("entries", texts.Finish())
                                     .Add("chosen", command)
                                     .Add("announced", wanted.has_value()));
  if (!wanted) run_.Fail({kStatusFailed, "unannounced-menu", u""}, 0);
  if (!text.empty() && command == 0) run_.Fail({kStatusFailed, "no-such-entry", text}, 0);
  return command;
}

namespace {

// What a file dialog returns: nothing when it was cancelled.
std::optional<std::u16string> PathOfAnswer(const std::optional<std::u16string>& announced) {
  if (!announced || announced->empty()) return std::nullopt;
  return announced;
}

}  // namespace

std::optional<std::optional<std::u16string>> ScriptObserver::OnSaveFile(
    const port::SaveFileTraits& traits) {
  const std::optional<std::u16string> announced = run_.save_answers.Take();
  run_.reporter.Report("save-dialog", JsonObject()
                                          .Add("title", traits.title)
                                          .Add("default_name", traits.default_name)
                                          .Add("filter_text", traits.filter_text)
                                          .Add("filter_pattern", traits.filter_pattern)
                                          .Add("default_extension", traits.default_extension)
                                          .Add("answer", announced.value_or(u""))
                                          .Add("announced", announced.has_value()));
  if (!announced) run_.Fail({kStatusFailed, "unannounced-save-dialog", traits.title}, 0);
  return std::make_optional(PathOfAnswer(announced));
}

std::optional<std::optional<std::u16string>> ScriptObserver::OnOpenFile(
    const port::OpenFileTraits& traits) {
  const std::optional<std::u16string> announced = run_.open_answers.Take();
  run_.reporter.Report("open-dialog", JsonObject()
                                          .Add("title", traits.title)
                                          .Add("filter_text", traits.filter_text)
                                          .Add("filter_pattern", traits.filter_pattern)
                                          .Add("default_extension", traits.default_extension)
                                          .Add("answer", announced.value_or(u""))
                                          .Add("announced", announced.has_value()));
  if (!announced) run_.Fail({kStatusFailed, "unannounced-open-dialog", traits.title}, 0);
  return std::make_optional(PathOfAnswer(announced));
}

// --- dialogs -------------------------------------------------------------------------------------

bool ScriptObserver::IsProgress(port::WindowHandle dialog) {
  const std::lock_guard lock(mutex_);
  return progress_.dialog == dialog && dialog != 0;
}

void ScriptObserver::OnDialogCreated(port::WindowHandle dialog, std::uint32_t form) {
  const std::lock_guard lock(mutex_);
  forms_[dialog] = form;
  if (form != kDialogProgress) return;
  progress_ = {};
  progress_.dialog = dialog;
  cancel_.DialogCreated(dialog);
}

void ScriptObserver::OnDialogShown(port::WindowHandle dialog) {
  const auto shown = run_.display.FindDialog(dialog);
  if (!shown) return;
  run_.reporter.Report("dialog", DescribeDialog(run_.display, *shown));
  if (shown->form != kDialogProgress) return;
  {
    const std::lock_guard lock(mutex_);
    progress_.shown = true;
  }
  run_.reporter.Wake();
  cancel_.DialogShown(dialog);
  cancel_.AwaitHandled(dialog);
}

void ScriptObserver::OnDialogDestroyed(port::WindowHandle dialog) {
  std::uint32_t form = 0;
  {
    const std::lock_guard lock(mutex_);
    form = forms_[dialog];
    forms_.erase(dialog);
    if (progress_.dialog == dialog) progress_ = {};
  }
  cancel_.DialogDestroyed(dialog);
  run_.reporter.Report("dialog-closed", JsonObject().Add("handle", dialog).Add("form", form));
}

void ScriptObserver::OnControlText(port::WindowHandle dialog, std::uint32_t control,
                                   std::u16string_view text) {
  if (!IsProgress(dialog)) return;
  if (!IsStatusText(control)) return OnFigures(control, text);
  {
    const std::lock_guard lock(mutex_);
    progress_.texts.emplace_back(text);
  }
  run_.reporter.Report("progress-text", JsonObject().Add("control", control).Add("text", text));
  NoteChange(dialog);
}

// They come by the clock: no moment to press Cancel at.
void ScriptObserver::OnFigures(std::uint32_t control, std::u16string_view text) {
  if (control == kControlProgressFigures) {
    {
      const std::lock_guard lock(mutex_);
      progress_.texts.emplace_back(text);
    }
    run_.reporter.Report("progress-figures", JsonObject().Add("text", text));
  } else if (control == kControlProgressBar && report_positions_) {
    run_.reporter.Report("progress-bar-text", JsonObject().Add("text", text));
  }
}

port::WindowHandle ScriptObserver::ProgressDialog() {
  const std::lock_guard lock(mutex_);
  return progress_.dialog;
}

void ScriptObserver::OnControlChanged(port::WindowHandle dialog, std::uint32_t control) {
  if (control != kControlProgressBar || !IsProgress(dialog)) return;
  const auto shown = run_.display.FindDialog(dialog);
  if (!shown) return;
  const auto bar = std::ranges::find(shown->controls, control, &port::ShownControl::id);
  if (bar == shown->controls.end()) return;
  bool range = false;
  bool position = false;
  {
    const std::lock_guard lock(mutex_);
    range = std::exchange(progress_.upper, bar->upper) != bar->upper;
    position = std::exchange(progress_.position, bar->position) != bar->position;
  }
  if (report_positions_ && range) {
    run_.reporter.Report("progress-range", JsonObject().Add("upper", bar->upper));
  }
  if (report_positions_ && position) {
    run_.reporter.Report("progress-position", JsonObject().Add("position", bar->position));
  }
  if (position) NoteChange(dialog);
}

// --- progress ------------------------------------------------------------------------------------

bool ScriptObserver::ProgressShows(std::u16string_view text_prefix) {
  const std::lock_guard lock(mutex_);
  if (!progress_.shown) return false;
  return text_prefix.empty() || std::ranges::any_of(progress_.texts, [&](const auto& text) {
           return StartsWith(text, text_prefix);
         });
}

std::uint64_t ScriptObserver::TakeProgressChanges() {
  const std::lock_guard lock(mutex_);
  return std::exchange(changes_, 0);
}

void ScriptObserver::NoteChange(port::WindowHandle dialog) {
  {
    const std::lock_guard lock(mutex_);
    ++changes_;
  }
  cancel_.NoteChange(dialog);
  cancel_.AwaitHandled(dialog);
}

}  // namespace quillet
