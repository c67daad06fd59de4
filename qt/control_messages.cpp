// SPDX-License-Identifier: GPL-3.0-or-later
// One function a kind of widget connects the signals that the user's own changes send. Where a
// widget sends the same signal for what is written, writing keeps it quiet.
#include "qt/control_messages.h"

#include <QAbstractButton>
#include <QAbstractSlider>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTimeEdit>
#include <QTimer>
#include <chrono>

#include "qt/form_list.h"

namespace quillet::qt {
namespace {

using port::MessageKind;

// Between the first key and the message: drafts are written by it, not the screen.
constexpr std::chrono::seconds kTextPeriod(1);

struct Source {
  std::uint32_t id = 0;
  Tell tell;
  std::shared_ptr<std::function<void()>> edited;

  void Command() const { tell({0, MessageKind::kCommand, id, 0, {}}); }
  // The user has changed the control's value.
  void Edited() const {
    if (*edited) (*edited)();
  }
  void Chosen() const {
    Edited();
    Command();
  }
  void Row(MessageKind kind, int row, bool detail = false) const {
    tell({0, kind, static_cast<std::uint32_t>(row), detail ? 1U : 0U, {}, id});
  }
};

// What changes the text calls; the timer's end tells. A key that comes later starts it anew, so
// that the last one is followed by a message.
std::function<void()> EditedCall(QWidget& control, const Source& source) {
  auto* timer = new QTimer(&control);
  timer->setSingleShot(true);
  timer->setInterval(kTextPeriod);
  QObject::connect(timer, &QTimer::timeout, &control, [source] {
    source.tell({0, MessageKind::kTextEdited, source.id, 0, {}});
  });
  return [timer, source] {
    source.Edited();
    if (!timer->isActive()) timer->start();
  };
}

void Connect(QAbstractButton& button, FormControls& controls, const Source& source) {
  QObject::connect(&button, &QAbstractButton::clicked, &button, [&button, &controls, source] {
    controls.menu_place = {button.mapToGlobal(button.rect().bottomLeft()), false};
    if (button.isCheckable()) source.Edited();
    source.Command();
  });
}

// Not what is typed ahead: the text is what the user typed.
void Connect(QComboBox& list, const Source& source) {
  QObject::connect(&list, &QComboBox::activated, &list, [source] { source.Chosen(); });
  if (!list.isEditable()) return;
  list.setInsertPolicy(QComboBox::NoInsert);
  list.setCompleter(nullptr);
  QObject::connect(list.lineEdit(), &QLineEdit::textEdited, &list, EditedCall(list, source));
}

void Connect(FormList& list, FormControls& controls, const Source& source) {
  list.Tell({[source](int /*row*/) { source.Chosen(); },
             [source](int row) { source.Row(MessageKind::kItemActivated, row); },
             [source](int row, bool checked) {
               source.Edited();
               source.Row(MessageKind::kRowChecked, row, checked);
             },
             [source, &controls](int row, const MenuPlace& where) {
               controls.menu_place = where;
               source.Row(MessageKind::kContextMenu, row);
             }});
}

void ConnectControl(QWidget& control, FormControls& controls, const Source& source) {
  const auto chosen = [source] { source.Chosen(); };
  if (auto* button = qobject_cast<QAbstractButton*>(&control)) {
    Connect(*button, controls, source);
  } else if (auto* list = qobject_cast<QComboBox*>(&control)) {
    Connect(*list, source);
  } else if (auto* rows = dynamic_cast<FormList*>(&control)) {
    Connect(*rows, controls, source);
  } else if (auto* line = qobject_cast<QLineEdit*>(&control)) {
    QObject::connect(line, &QLineEdit::textEdited, line, EditedCall(control, source));
  } else if (auto* lines = qobject_cast<QPlainTextEdit*>(&control)) {
    QObject::connect(lines, &QPlainTextEdit::textChanged, lines, EditedCall(control, source));
  } else if (auto* slider = qobject_cast<QAbstractSlider*>(&control)) {
    QObject::connect(slider, &QAbstractSlider::valueChanged, slider, chosen);
  } else if (auto* picker = qobject_cast<QTimeEdit*>(&control)) {
    QObject::connect(picker, &QTimeEdit::timeChanged, picker, chosen);
  }
}

}  // namespace

void ConnectControls(FormControls& controls, const Tell& tell) {
  for (const auto& [id, control] : controls.All()) {
    ConnectControl(*control, controls, {id, tell, controls.edited});
  }
}

}  // namespace quillet::qt
