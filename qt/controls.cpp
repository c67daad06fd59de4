// SPDX-License-Identifier: GPL-3.0-or-later
// Writing goes by the value's type, one overload of Set each, which looks at the widgets that have
// such a value; reading goes by the widget.
#include "qt/controls.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QSignalBlocker>
#include <QTimeEdit>
#include <algorithm>

#include "qt/edit_lines.h"
#include "qt/fonts.h"
#include "qt/form_list.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

constexpr int kLargestRange = 65535;
constexpr int kTabColumns = 8;

// The line of an edit or of an editable list; null for others.
QLineEdit* LineOf(QWidget& control) {
  if (auto* line = qobject_cast<QLineEdit*>(&control)) return line;
  const auto* list = qobject_cast<QComboBox*>(&control);
  return list != nullptr ? list->lineEdit() : nullptr;
}

// A reader of the screen says the text, not the name of its place.
void SetLabel(QLabel& label, const QString& text) {
  label.setText(text);
  if (!text.isEmpty()) label.setAccessibleName(text);
}

void SetButton(QAbstractButton& button, const QString& text) {
  button.setText(text);
  if (!text.isEmpty()) button.setAccessibleName(QString(text).remove(QLatin1Char('&')));
}

void Set(QWidget& control, const port::Text& value) {
  const QString text = ToQt(value.text);
  if (auto* label = qobject_cast<QLabel*>(&control)) {
    SetLabel(*label, text);
  } else if (auto* lines = qobject_cast<QPlainTextEdit*>(&control)) {
    WriteLines(*lines, value.text);
  } else if (auto* button = qobject_cast<QAbstractButton*>(&control)) {
    SetButton(*button, text);
  } else if (QLineEdit* line = LineOf(control)) {
    line->setText(text);
    line->home(false);  // a long text is seen from its start
  } else if (auto* bar = qobject_cast<QProgressBar*>(&control)) {
    bar->setFormat(text);
    bar->setTextVisible(!text.isEmpty());
  }
}

void Set(QWidget& control, const port::TextState& value) {
  if (auto* lines = qobject_cast<QPlainTextEdit*>(&control)) return WriteState(*lines, value);
  QLineEdit* line = LineOf(control);
  if (line == nullptr) return;
  const auto length = static_cast<std::size_t>(line->text().size());
  const std::size_t caret = std::min(value.caret, length);
  const std::size_t selected = std::min(value.selected, length - caret);
  line->setCursorPosition(static_cast<int>(caret));
  if (selected > 0) line->setSelection(static_cast<int>(caret), static_cast<int>(selected));
  line->setModified(value.changed);
}

void Set(QWidget& control, const port::Checked& value) {
  if (auto* button = qobject_cast<QAbstractButton*>(&control)) button->setChecked(value.checked);
}

void Set(QWidget& control, const port::Choices& value) {
  auto* list = qobject_cast<QComboBox*>(&control);
  if (list == nullptr) return;
  QStringList items;
  for (const std::u16string& item : value.items) items << ToQt(item);
  const QString text = list->currentText();
  list->clear();
  list->addItems(items);
  if (list->isEditable()) list->setEditText(text);
}

void Set(QWidget& control, const port::Choice& value) {
  if (auto* rows = dynamic_cast<FormList*>(&control)) return rows->SelectRow(value.index);
  auto* list = qobject_cast<QComboBox*>(&control);
  if (list == nullptr || value.index < 0 || value.index >= list->count()) return;
  list->setCurrentIndex(value.index);
  if (list->isEditable()) list->setEditText(list->itemText(value.index));
}

void Set(QWidget& control, const port::Range& value) {
  if (auto* bar = qobject_cast<QProgressBar*>(&control)) {
    const int upper = std::clamp(value.upper, 1, kLargestRange);
    const int position = std::clamp(bar->value(), 0, upper);
    bar->setRange(0, upper);  // which empties a bar that was beyond it
    bar->setValue(position);
  } else if (auto* slider = qobject_cast<QAbstractSlider*>(&control)) {
    const QSignalBlocker quiet(slider);
    if (value.lower <= value.upper) slider->setRange(value.lower, value.upper);
  }
}

void Set(QWidget& control, const port::Position& value) {
  if (auto* bar = qobject_cast<QProgressBar*>(&control)) {
    bar->setValue(std::clamp(value.position, bar->minimum(), bar->maximum()));
  } else if (auto* slider = qobject_cast<QAbstractSlider*>(&control)) {
    const QSignalBlocker quiet(slider);
    slider->setValue(value.position);
  }
}

void Set(QWidget& control, const port::Rows& value) {
  if (auto* list = dynamic_cast<FormList*>(&control)) list->Fill(value.rows);
}

void Set(QWidget& control, const port::TimeOfDay& value) {
  auto* picker = qobject_cast<QTimeEdit*>(&control);
  if (picker == nullptr) return;
  const QSignalBlocker quiet(picker);
  picker->setTime({std::clamp(value.hour, 0, 23), std::clamp(value.minute, 0, 59),
                   std::clamp(value.second, 0, 59)});
}

// The same columns for tabs in every font.
void Set(QWidget& control, const port::FontChoice& value) {
  auto* lines = qobject_cast<QPlainTextEdit*>(&control);
  if (lines == nullptr) return;
  const QSignalBlocker quiet(lines);
  const QFont font = ArticleFontFor(value.face, value.size_index, QApplication::font());
  lines->setFont(font);
  lines->setTabStopDistance(kTabColumns * QFontMetricsF(font).horizontalAdvance(QLatin1Char(' ')));
}

void Set(QWidget& control, const port::Visible& value) {
  control.setVisible(value.visible);
}

void Set(QWidget& control, const port::Enabled& value) {
  control.setEnabled(value.enabled);
}

// A hidden dialog remembers which of its controls gets the focus.
void Set(QWidget& control, const port::Focus& /*value*/) {
  if (control.focusPolicy() != Qt::NoFocus) control.setFocus();
}

void Read(const QLineEdit& line, port::ControlState& state) {
  state.text = FromQt(line.text());
  const bool selected = line.hasSelectedText();
  const int caret = selected ? line.selectionStart() : line.cursorPosition();
  state.text_state = {static_cast<std::size_t>(caret),
                      selected ? static_cast<std::size_t>(line.selectionLength()) : 0,
                      line.isModified()};
}

void Read(const QComboBox& list, port::ControlState& state) {
  state.choice = list.currentIndex();
  state.text = FromQt(list.currentText());
  if (!list.isEditable()) return;
  Read(*list.lineEdit(), state);
  state.choice = list.findText(list.currentText(), Qt::MatchExactly | Qt::MatchCaseSensitive);
}

void ReadValue(const QWidget& control, port::ControlState& state) {
  if (const auto* label = qobject_cast<const QLabel*>(&control)) {
    state.text = FromQt(label->text());
  } else if (const auto* button = qobject_cast<const QAbstractButton*>(&control)) {
    // Line breaks were put in to make it narrower.
    state.text = FromQt(button->text().replace(QLatin1Char('\n'), QLatin1Char(' ')));
    state.checked = button->isChecked();
  } else if (const auto* line = qobject_cast<const QLineEdit*>(&control)) {
    Read(*line, state);
  } else if (const auto* lines = qobject_cast<const QPlainTextEdit*>(&control)) {
    state.text = ReadLines(*lines);
    state.text_state = ReadState(*lines);
  } else if (const auto* list = qobject_cast<const QComboBox*>(&control)) {
    Read(*list, state);
  } else if (const auto* rows = dynamic_cast<const FormList*>(&control)) {
    state.choice = rows->SelectedRow();
    state.row_checks = rows->Checks();
  } else if (const auto* bar = qobject_cast<const QProgressBar*>(&control)) {
    state.position = bar->value();
    if (bar->isTextVisible()) state.text = FromQt(bar->format());
  } else if (const auto* slider = qobject_cast<const QAbstractSlider*>(&control)) {
    state.position = slider->value();
  } else if (const auto* picker = qobject_cast<const QTimeEdit*>(&control)) {
    const QTime time = picker->time();
    state.time = {time.hour(), time.minute(), time.second()};
  }
}

}  // namespace

void WriteControl(QWidget& control, const port::ControlValue& value) {
  std::visit([&](const auto& one) { Set(control, one); }, value);
}

port::ControlState ReadControl(const QWidget& control) {
  port::ControlState state;
  state.visible = !control.isHidden();
  state.enabled = control.isEnabled();
  const QWidget* focus = control.window()->focusWidget();
  state.focused = focus != nullptr && (focus == &control || control.isAncestorOf(focus));
  ReadValue(control, state);
  return state;
}

}  // namespace quillet::qt
