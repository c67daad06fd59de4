// SPDX-License-Identifier: GPL-3.0-or-later
// Dialogs: a form by resource id, its controls by control id, a dialog procedure in the program.
//
// A dialog belongs to the thread that created it; to its queue come, with the dialog as window:
//   kCommand (id: control)      a button or box was pressed; the user chose in a drop-down list or
//                               selected a row; a slider or a time was moved
//   kTextEdited (id: control)   the user changed the text of an edit or an editable list; no more
//                               than one a second for a control, and one after the last key
//   kItemActivated, kContextMenu, kRowChecked (id: row, control: the list); in a list that has
//                               `tapOpens` in its form, a tap on the selected row that was tapped
//                               before is kItemActivated too, and a double click no second one
//   kKeyUp, kTimer and kClose
// What the program writes sends none of them. Closing a dialog by its frame or with Escape is
// kCommand 2.
//
// Any thread may read and write controls. Writes to what does not exist, or what a control of that
// kind does not have, do nothing; reads yield the empty state. Writes take effect in their order.
// They may be shown with a short delay, and of a stream of texts or positions only the last one;
// but a read always sees every earlier write.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "port/message.h"

namespace quillet::port {

enum class DialogKind {
  kModal,     // while it is shown its owner (0 or a kWindow: every window) takes no input but keeps
              // painting
  kProgress,  // the same, but its owner, the main window, can still be closed: its close button is
              // kCommand 2 of the dialog and then the window's kClose
  kWindow,    // a window of its own beside all others: it can be resized, has the size it had when
              // the last one of that form went, and fills a phone's screen. Its owner does not
              // matter.
};

// --- what can be written into a control ----------------------------------------------------------

// Static text, button, box, edit, editable list, progress bar. On a progress bar it is drawn over
// the bar, which has none at first; no letter may follow a % sign there. In an edit it stands
// unchanged (TextState), the caret at its beginning. The lines of a multi-line edit may end with CR
// LF, LF or CR and are read with CR LF.
struct Text {
  std::u16string text;
};

constexpr std::size_t kWholeText = static_cast<std::size_t>(-1);

// Edits: `selected` units from `caret` on are selected; a view of lines scrolls there. A CR LF is
// two units, and a place inside one is before it. What lies behind the end counts as the end.
// `changed`: the user has changed the text since it was written.
struct TextState {
  std::size_t caret = 0;
  std::size_t selected = 0;
  bool changed = false;
  bool operator==(const TextState&) const = default;
};

// Check boxes and radio buttons; checking one of a group of radio buttons unchecks the others.
struct Checked {
  bool checked = false;
};

// The items of a drop-down list in place of earlier ones; the first becomes the chosen one. In an
// editable list none becomes it and the text stays.
struct Choices {
  std::vector<std::u16string> items;
};

// The chosen item of a drop-down list, whose text an editable list gets; the selected row of a
// list, which scrolls there (-1: none). An index that is not there changes nothing.
struct Choice {
  int index = -1;
};

// Of a slider or a progress bar. A progress bar runs from 0 to `upper`, 1 to 65,535.
struct Range {
  int upper = 100;
  int lower = 0;
};

// Cut to the range.
struct Position {
  int position = 0;
};

// The rows of a list in place of earlier ones; none is selected. A text for each column of the
// form; only a list with boxes heeds `checked`.
struct Row {
  std::vector<std::u16string> texts;
  bool checked = false;
  bool marked = false;           // something is wrong with it: a sign in front of its text
  std::u16string tool_tip = {};  // empty: its texts
};
struct Rows {
  std::vector<Row> rows;
};

// Time picker. Each part is cut to its range.
struct TimeOfDay {
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool operator==(const TimeOfDay&) const = default;
};

// Of a multi-line edit, as an article is shown in it: a face, empty for the default, and a size
// index from 1 to 8, of which 2 is the display's usual size.
struct FontChoice {
  std::u16string face;
  int size_index = 2;
  bool operator==(const FontChoice&) const = default;
};

// Every control. A hidden or disabled one takes no input.
struct Visible {
  bool visible = true;
};
struct Enabled {
  bool enabled = true;
};

// The control gets the focus, as soon as the dialog is shown.
struct Focus {};

using ControlValue = std::variant<Text, TextState, Checked, Choices, Choice, Range, Position, Rows,
                                  TimeOfDay, FontChoice, Visible, Enabled, Focus>;

struct ControlWrite {
  std::uint32_t control = 0;
  ControlValue value;
};

// --- what can be read ----------------------------------------------------------------------------

// Each kind of control fills what it has.
struct ControlState {
  std::u16string text;  // of a drop-down list: its chosen item
  TextState text_state;
  bool checked = false;
  int choice =
      -1;  // the chosen item (of an editable list: the first with its text), the selected row
  int position = 0;
  std::vector<bool> row_checks;
  TimeOfDay time;
  bool visible = false;  // not hidden by a write, whether or not the dialog is shown
  bool enabled = false;
  bool focused = false;  // it has its dialog's focus
};

class Dialogs {
 public:
  virtual ~Dialogs() = default;

  // Creates the dialog of resource `form` (res/resource.h), hidden; 0 on failure.
  virtual WindowHandle Create(std::uint32_t form, WindowHandle owner, DialogKind kind) = 0;
  // A kWindow that is shown already comes to the front.
  virtual void Show(WindowHandle dialog) = 0;
  // A box over it stays open and lies over the dialog's owner from then on. Any thread. Idempotent.
  virtual void Destroy(WindowHandle dialog) = 0;

  virtual void WriteMany(WindowHandle dialog, std::vector<ControlWrite> writes) = 0;
  virtual ControlState Read(WindowHandle dialog, std::uint32_t control) = 0;
  // `edited` is called at once, on the display's thread (or whichever plays the user), whenever the
  // user has changed a text, box, choice or row of the dialog; it must not block nor call the
  // device. It replaces an earlier one, and an empty one ends it: when this returns, none that was
  // there before is running. Goes with the dialog; nothing for a page or what does not exist. Any
  // thread.
  virtual void WatchEdits(WindowHandle dialog, std::function<void()> edited) = 0;

  // By control id; empty for a dialog that does not exist.
  virtual std::map<std::uint32_t, ControlState> ReadAll(WindowHandle dialog) = 0;

  void Write(WindowHandle dialog, std::uint32_t control, ControlValue value) {
    std::vector<ControlWrite> writes;
    writes.push_back({control, std::move(value)});
    WriteMany(dialog, std::move(writes));
  }
};

}  // namespace quillet::port
