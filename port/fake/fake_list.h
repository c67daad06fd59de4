// SPDX-License-Identifier: GPL-3.0-or-later
// The list of groups without pixels.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "port/fake/fake_screen.h"
#include "port/list_view.h"

namespace quillet::port {

struct ShownList {
  bool created = false;
  std::array<ListColumn, 2> columns;     // as given, or as the user left them
  std::array<std::int32_t, 2> widths{};  // pixels, also where the default holds
  std::u16string font_face;
  int font_size_index = 0;
  std::vector<ListRow> rows;
  int selected = -1;
  std::vector<GuideStep> guide;
};

class FakeList : public ListView {
 public:
  explicit FakeList(FakeScreen& screen);
  FakeList(const FakeList&) = delete;
  FakeList& operator=(const FakeList&) = delete;

  // --- what is shown ---

  ShownList list() const;
  // The row with that name; -1 when there is none.
  int FindRow(std::u16string_view name) const;

  // --- what the user does: false when a real display would not allow it now ---

  bool ToggleRow(int row);
  bool SelectRow(int row);
  bool ActivateRow(int row);
  bool DragColumn(int column, int width);
  // The link of a step, counted from 0.
  bool FollowStep(std::size_t step);

  // --- the service ---

  void Create(std::span<const ListColumn, 2> columns, std::u16string_view font_face,
              int font_size_index) override;
  void Fill(std::vector<ListRow> rows, int selected) override;
  void SetCounts(std::vector<std::u16string> counts) override;
  void SetCheckStates(int first, std::vector<CheckState> states) override;
  int SelectedRow() override;
  void SetGuide(std::vector<GuideStep> steps) override;

 protected:
  // Locked. What the list itself does with a key, besides the key's messages.
  void PressListKey(std::uint32_t virtual_key);

 private:
  bool ListTakesInput() const;
  bool RowTakesInput(int row) const;
  bool ToggleBox(int row);
  void FitColumns();

  FakeScreen& screen_;
  ShownList list_;
};

}  // namespace quillet::port
