// What the program calls: boxes, the main window, the list.
#include "port/fake/fake_display.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "util/text.h"

namespace quillet::port {
namespace {

bool HasButton(BoxButtons buttons, int answer) {
  switch (buttons) {
    case BoxButtons::kOk:
      return answer == kIdOk;
    case BoxButtons::kOkCancel:
      return answer == kIdOk || answer == kIdCancel;
    case BoxButtons::kYesNo:
      return answer == kIdYes || answer == kIdNo;
    case BoxButtons::kYesNoCancel:
      return answer == kIdYes || answer == kIdNo || answer == kIdCancel;
  }
  return false;
}

// What Escape means.
int EscapeAnswer(BoxButtons buttons) {
  for (const int answer : {kIdCancel, kIdNo}) {
    if (HasButton(buttons, answer)) return answer;
  }
  return kIdOk;
}

bool ValidTab(int tab) {
  return tab >= 0 && tab < kTabCount;
}

}  // namespace

DisplayObserver& FakeDisplay::observer() {
  static DisplayObserver nobody;
  return observer_ != nullptr ? *observer_ : nobody;
}

void FakeDisplay::CheckThread(const char* operation) const {
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || window_thread_ == std::this_thread::get_id()) return;
  }
  on_failure("display: " + std::string(operation) + " called off the program thread");
}

// --- boxes ---

void FakeDisplay::Expect(std::u16string text_prefix, int answer) {
  const Lock lock(mutex_);
  expected_.push_back({std::move(text_prefix), answer});
}

void FakeDisplay::Allow(std::u16string text_prefix, int answer) {
  const Lock lock(mutex_);
  allowed_.push_back({std::move(text_prefix), answer});
}

// The answer of an announcement; nothing announced: the usual answer, and for a question a failure.
int FakeDisplay::AnswerOf(const ShownBox& box) {
  const auto matches = [&](const Announcement& one) { return box.text.starts_with(one.prefix); };
  {
    const Lock lock(mutex_);
    if (gone_) return EscapeAnswer(box.style.buttons);
    const auto once = std::find_if(expected_.begin(), expected_.end(), matches);
    if (once != expected_.end()) {
      const int answer = once->answer;
      expected_.erase(once);
      return answer;
    }
    const auto always = std::find_if(allowed_.begin(), allowed_.end(), matches);
    if (always != allowed_.end()) return always->answer;
  }
  if (box.style.buttons != BoxButtons::kOk) {
    on_failure("display: unannounced question: " + ToUtf8(box.text));
  }
  return EscapeAnswer(box.style.buttons);
}

int FakeDisplay::Show(WindowHandle owner, std::u16string_view caption, std::u16string_view text,
                      const BoxStyle& style) {
  ShownBox box{owner, std::u16string(caption), std::u16string(text), style, 0};
  std::uint64_t number = 0;
  std::size_t index = 0;
  bool gone = false;
  {
    const Lock lock(mutex_);
    gone = gone_;
    number = ++last_box_;
    index = boxes_.size();
    boxes_.push_back(box);
    if (!gone) open_boxes_.emplace_back(number, owner);
    Changed();
  }
  const std::optional<int> observed = gone ? std::nullopt : observer().OnBox(box);
  box.answer = observed ? *observed : AnswerOf(box);
  if (!HasButton(style.buttons, box.answer)) {
    on_failure("display: no button " + std::to_string(box.answer) + " in: " + ToUtf8(text));
    box.answer = EscapeAnswer(style.buttons);
  }
  {
    const Lock lock(mutex_);
    std::erase_if(open_boxes_, [&](const auto& open) { return open.first == number; });
    if (index < boxes_.size()) boxes_[index].answer = box.answer;
    Changed();
  }
  if (!gone) observer().OnBoxClosed(box);
  return box.answer;
}

void FakeDisplay::SetWaitCursor(bool on) {
  int depth = 0;
  {
    const Lock lock(mutex_);
    depth = wait_depth_ += on ? 1 : -1;
    if (on) ++wait_shows_;
    Changed();
  }
  if (depth < 0) on_failure("display: the wait cursor was taken away more often than set");
  observer().OnWaitCursor(depth);
}

void FakeDisplay::Beep() {
  {
    const Lock lock(mutex_);
    ++beeps_;
    Changed();
  }
  observer().OnBeep();
}

// --- the main window ---

Size FakeDisplay::WorkArea() {
  const Lock lock(mutex_);
  return work_area_;
}

WindowHandle FakeDisplay::CreateMainWindow(const MainWindowTraits& traits) {
  WindowHandle handle = 0;
  {
    const Lock lock(mutex_);
    if (failing_windows_ > 0) {
      --failing_windows_;
      return 0;
    }
    if (window_.handle != 0 || gone_) return 0;
    handle = queues_.AddWindow();
    window_ = {};
    window_.handle = handle;
    window_.traits = traits;
    window_.inside = traits.size;
    window_thread_ = std::this_thread::get_id();
    Changed();
  }
  observer().OnWindowCreated(traits);
  return handle;
}

void FakeDisplay::ShowMainWindow() {
  CheckThread("ShowMainWindow");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || window_.shown) return;
    window_.shown = true;
    Changed();
  }
  observer().OnWindowShown();
}

void FakeDisplay::Raise() {
  {
    const Lock lock(mutex_);
    if (window_.handle == 0) return;
    window_.shown = true;
    ++window_.raised;
    Changed();
  }
  observer().OnWindowRaised();
}

void FakeDisplay::DestroyMainWindow() {
  CheckThread("DestroyMainWindow");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0) return;
    queues_.RemoveWindow(window_.handle);
    window_ = {};
    list_ = {};
    tree_ = {};
    article_ = {};
    Changed();
  }
  observer().OnWindowDestroyed();
}

void FakeDisplay::CreateTabs(TabPlacement placement) {
  CheckThread("CreateTabs");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0) return;
    window_.has_tabs = true;
    window_.placement = placement;
    window_.tab = kGroupTab;
    window_.status.clear();
    list_ = {};
    tree_ = {};
    article_ = {};
    Changed();
  }
  observer().OnTabsCreated(placement);
}

int FakeDisplay::SelectedTab() {
  const Lock lock(mutex_);
  return window_.tab;
}

void FakeDisplay::SelectTab(int tab) {
  CheckThread("SelectTab");
  {
    const Lock lock(mutex_);
    if (!window_.has_tabs || !ValidTab(tab)) return;
    window_.tab = tab;
    DropHiddenFocus();
    Changed();
  }
  observer().OnTabSelected(tab);
}

// What is on another tab's pane does not keep the focus.
void FakeDisplay::DropHiddenFocus() {
  if (window_.tab != kThreadTab) tree_.focused = false;
  if (window_.tab != kArticleTab) article_.focused = false;
}

void FakeDisplay::LayOut(Size inside, Size tabs) {
  CheckThread("LayOut");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0) return;
    window_.inside = inside;
    window_.tabs = tabs;
    Changed();
  }
  observer().OnLaidOut(inside, tabs);
}

void FakeDisplay::SetStatusText(std::u16string_view text) {
  CheckThread("SetStatusText");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0) return;
    window_.status = text;
    Changed();
  }
  observer().OnStatusText(text);
}

void FakeDisplay::InjectKeyUp(std::uint32_t virtual_key) {
  WindowHandle target = 0;
  {
    const Lock lock(mutex_);
    target = FocusLocked();
    injected_.push_back({virtual_key, target});
    queues_.Post({target, MessageKind::kKeyUp, virtual_key, 0, {}});
    Changed();
  }
  observer().OnKeyUpInjected(virtual_key, target);
}

// --- the list ---

void FakeDisplay::Create(std::span<const ListColumn, 2> columns, std::u16string_view font_face,
                         int font_size_index) {
  CheckThread("ListView::Create");
  {
    const Lock lock(mutex_);
    if (window_.handle == 0 || !window_.has_tabs) return;
    list_ = {};
    list_.created = true;
    std::copy(columns.begin(), columns.end(), list_.columns.begin());
    list_.font_face = font_face;
    list_.font_size_index = font_size_index;
    Changed();
  }
  observer().OnListChanged();
}

void FakeDisplay::Fill(std::vector<ListRow> rows, int selected) {
  CheckThread("ListView::Fill");
  {
    const Lock lock(mutex_);
    if (!list_.created) return;
    const bool valid = selected >= 0 && static_cast<std::size_t>(selected) < rows.size();
    list_.rows = std::move(rows);
    list_.selected = valid ? selected : -1;
    Changed();
  }
  observer().OnListChanged();
}

void FakeDisplay::SetCounts(std::vector<std::u16string> counts) {
  CheckThread("ListView::SetCounts");
  {
    const Lock lock(mutex_);
    const std::size_t count = std::min(counts.size(), list_.rows.size());
    for (std::size_t i = 0; i < count; ++i) list_.rows[i].counts = std::move(counts[i]);
    Changed();
  }
  observer().OnListChanged();
}

std::vector<CheckState> FakeDisplay::CheckStates() {
  CheckThread("ListView::CheckStates");
  const Lock lock(mutex_);
  std::vector<CheckState> states;
  for (const ListRow& row : list_.rows) states.push_back(row.check);
  return states;
}

void FakeDisplay::SetCheckStates(std::vector<CheckState> states) {
  CheckThread("ListView::SetCheckStates");
  {
    const Lock lock(mutex_);
    const std::size_t count = std::min(states.size(), list_.rows.size());
    for (std::size_t i = 0; i < count; ++i) list_.rows[i].check = states[i];
    Changed();
  }
  observer().OnListChanged();
}

int FakeDisplay::SelectedRow() {
  CheckThread("ListView::SelectedRow");
  const Lock lock(mutex_);
  return list_.selected;
}

std::array<std::int32_t, 2> FakeDisplay::ColumnWidths() {
  CheckThread("ListView::ColumnWidths");
  const Lock lock(mutex_);
  if (!list_.created) return {0, 0};
  const int width = window_.tabs.width > 0 ? window_.tabs.width : window_.inside.width;
  std::array<std::int32_t, 2> widths{list_.columns[0].width, list_.columns[1].width};
  if (widths[0] <= 0) widths[0] = width * 5 / 6;
  if (widths[1] <= 0) widths[1] = std::max(width - widths[0], 1);
  return widths;
}

}  // namespace quillet::port
