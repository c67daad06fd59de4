// SPDX-License-Identifier: GPL-3.0-or-later
// Keys and clicks change the rows here, as a real list does, and tell the program only what a real
// list tells.
#include "port/fake/fake_list.h"

#include <algorithm>
#include <array>
#include <utility>

namespace quillet::port {

FakeList::FakeList(FakeScreen& screen) : screen_(screen) {
  screen_.WhenPanesGo([this] { list_ = {}; });
  screen_.WhenLaidOut([this] { FitColumns(); });
}

// --- the service ---

void FakeList::Create(std::span<const ListColumn, 2> columns, std::u16string_view font_face,
                      int font_size_index) {
  screen_.CheckThread("ListView::Create");
  {
    const auto lock = screen_.Locked();
    if (screen_.window.handle == 0 || !screen_.window.has_tabs) return;
    list_ = {};
    list_.created = true;
    std::copy(columns.begin(), columns.end(), list_.columns.begin());
    list_.font_face = font_face;
    list_.font_size_index = font_size_index;
    FitColumns();
    screen_.Changed();
  }
  screen_.observer().OnListChanged();
}

void FakeList::Fill(std::vector<ListRow> rows, int selected) {
  screen_.CheckThread("ListView::Fill");
  {
    const auto lock = screen_.Locked();
    if (!list_.created) return;
    const bool valid = selected >= 0 && static_cast<std::size_t>(selected) < rows.size();
    list_.rows = std::move(rows);
    list_.selected = valid ? selected : -1;
    screen_.Changed();
  }
  screen_.observer().OnListChanged();
}

void FakeList::SetCounts(std::vector<std::u16string> counts) {
  screen_.CheckThread("ListView::SetCounts");
  {
    const auto lock = screen_.Locked();
    const std::size_t count = std::min(counts.size(), list_.rows.size());
    for (std::size_t i = 0; i < count; ++i) list_.rows[i].counts = std::move(counts[i]);
    screen_.Changed();
  }
  screen_.observer().OnListChanged();
}

void FakeList::SetCheckStates(int first, std::vector<CheckState> states) {
  screen_.CheckThread("ListView::SetCheckStates");
  {
    const auto lock = screen_.Locked();
    bool changed = false;
    for (std::size_t i = 0, row = static_cast<std::size_t>(first);
         i < states.size() && row < list_.rows.size(); ++i, ++row) {
      changed |= std::exchange(list_.rows[row].check, states[i]) != states[i];
    }
    if (!changed) return;
    screen_.Changed();
  }
  screen_.observer().OnListChanged();
}

int FakeList::SelectedRow() {
  screen_.CheckThread("ListView::SelectedRow");
  const auto lock = screen_.Locked();
  return list_.selected;
}

void FakeList::SetGuide(std::vector<GuideStep> steps) {
  screen_.CheckThread("ListView::SetGuide");
  const auto lock = screen_.Locked();
  if (!list_.created || list_.guide == steps) return;
  list_.guide = std::move(steps);
  screen_.Changed();
}

// A column without a width of its own takes its share of the window.
void FakeList::FitColumns() {
  if (!list_.created) return;
  const int width =
      screen_.window.tabs.width > 0 ? screen_.window.tabs.width : screen_.window.inside.width;
  std::array<std::int32_t, 2> widths{list_.columns[0].width, list_.columns[1].width};
  if (widths[0] <= 0) widths[0] = width * 5 / 6;
  if (widths[1] <= 0) widths[1] = std::max(width - widths[0], 1);
  for (std::uint32_t column = 0; column < widths.size(); ++column) {
    if (list_.widths[column] == widths[column]) continue;
    list_.widths[column] = widths[column];
    screen_.queues.Post({screen_.window.handle,
                         MessageKind::kColumnSized,
                         column,
                         static_cast<std::uint32_t>(widths[column]),
                         {}});
  }
}

// --- what is shown ---

ShownList FakeList::list() const {
  const auto lock = screen_.Locked();
  return list_;
}

int FakeList::FindRow(std::u16string_view name) const {
  const auto lock = screen_.Locked();
  for (std::size_t i = 0; i < list_.rows.size(); ++i) {
    if (list_.rows[i].name == name) return static_cast<int>(i);
  }
  return -1;
}

// --- what the user does ---

bool FakeList::ListTakesInput() const {
  return list_.created && screen_.PaneTakesInput(kGroupTab);
}

bool FakeList::RowTakesInput(int row) const {
  return ListTakesInput() && row >= 0 && static_cast<std::size_t>(row) < list_.rows.size();
}

// False when the row has no box.
bool FakeList::ToggleBox(int row) {
  ListRow& toggled = list_.rows[static_cast<std::size_t>(row)];
  if (toggled.check == CheckState::kNone) return false;
  const bool checked = toggled.check != CheckState::kChecked;
  toggled.check = checked ? CheckState::kChecked : CheckState::kUnchecked;
  screen_.queues.Post({screen_.window.handle, MessageKind::kRowChecked,
                       static_cast<std::uint32_t>(row), checked ? 1U : 0U, toggled.name});
  return true;
}

bool FakeList::ToggleRow(int row) {
  const auto lock = screen_.Locked();
  if (!RowTakesInput(row) || !ToggleBox(row)) return false;
  screen_.Changed();
  return true;
}

bool FakeList::SelectRow(int row) {
  const auto lock = screen_.Locked();
  if (!RowTakesInput(row)) return false;
  list_.selected = row;
  screen_.Changed();
  return true;
}

bool FakeList::ActivateRow(int row) {
  const auto lock = screen_.Locked();
  if (!RowTakesInput(row)) return false;
  list_.selected = row;
  screen_.queues.Post(
      {screen_.window.handle, MessageKind::kItemActivated, static_cast<std::uint32_t>(row), 0, {}});
  screen_.Changed();
  return true;
}

bool FakeList::DragColumn(int column, int width) {
  const auto lock = screen_.Locked();
  if (!ListTakesInput() || column < 0 || column > 1 || width <= 0) return false;
  list_.columns[static_cast<std::size_t>(column)].width = width;
  FitColumns();
  screen_.Changed();
  return true;
}

bool FakeList::FollowStep(std::size_t step) {
  const auto lock = screen_.Locked();
  if (!ListTakesInput() || step >= list_.guide.size()) return false;
  screen_.queues.Post(
      {screen_.window.handle, MessageKind::kCommand, list_.guide[step].command, 0, {}});
  screen_.Changed();
  return true;
}

void FakeList::PressListKey(std::uint32_t virtual_key) {
  if (!ListTakesInput() || list_.rows.empty()) return;
  const int last = static_cast<int>(list_.rows.size()) - 1;
  const int row = list_.selected;
  if (virtual_key == kKeyDown) list_.selected = std::min(row + 1, last);
  if (virtual_key == kKeyUp) list_.selected = std::max(row - 1, 0);
  if (row >= 0 && virtual_key == kKeySpace) ToggleBox(row);
  if (row >= 0 && virtual_key == kKeyReturn) {
    screen_.queues.Post({screen_.window.handle,
                         MessageKind::kItemActivated,
                         static_cast<std::uint32_t>(row),
                         0,
                         {}});
  }
  screen_.Changed();
}

}  // namespace quillet::port
