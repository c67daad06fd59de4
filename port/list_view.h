// SPDX-License-Identifier: GPL-3.0-or-later
// The group list: a report list with check boxes and two columns in the group view's pane. It shows
// the boxes and is never asked for them: a box that the user changes is told by kRowChecked, before
// whatever the user does after that. Widths are told in the same way, by kColumnSized: each
// column's when the list has been created, and whenever the column gets another one, whether the
// user moves the divider or the display fits the columns to the window.
// Program thread only. Before Create and after the main window has gone every read is empty and
// every write does nothing.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "port/message.h"

namespace quillet::port {

// The state image of a row's box: a row may have none at all.
enum class CheckState { kNone = 0, kUnchecked = 1, kChecked = 2 };

struct ListRow {
  std::u16string name;
  std::u16string counts;  // second column
  CheckState check = CheckState::kUnchecked;
};

// What is to be done next, as a link: following it is the command, as from a menu. The display says
// of a done one that it is.
struct GuideStep {
  std::u16string text;
  std::uint32_t command = 0;
  bool done = false;
  bool operator==(const GuideStep&) const = default;
};

struct ListColumn {
  std::u16string title;
  int width = 0;  // pixels; 0: the default of the display (five sixths, the rest)
  bool centred = false;
};

class ListView {
 public:
  virtual ~ListView() = default;

  virtual void Create(std::span<const ListColumn, 2> columns, std::u16string_view font_face,
                      int font_size_index) = 0;
  // Replaces all rows in one call; `selected` is shown selected and focused (-1: none).
  virtual void Fill(std::vector<ListRow> rows, int selected) = 0;
  // Replaces the second column's texts of the first counts.size() rows.
  virtual void SetCounts(std::vector<std::u16string> counts) = 0;
  // Replaces the boxes of the rows from `first` on, as far as there are rows. Tells nothing.
  virtual void SetCheckStates(int first, std::vector<CheckState> states) = 0;
  virtual int SelectedRow() = 0;  // -1: none
  // Shows these steps, in their order, in the space below the rows; none: nothing. They never take
  // room from a row, and are hidden as long as the rows leave none for them.
  virtual void SetGuide(std::vector<GuideStep> steps) = 0;
};

}  // namespace quillet::port
