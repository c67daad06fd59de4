#include "qt/dialogs.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <algorithm>
#include <utility>

#include "qt/forms.h"
#include "qt/text.h"

namespace quillet::qt {
namespace {

using Milliseconds = std::chrono::milliseconds;

// Time between two showings of what an operation writes: quick for the eye, cheap for the program.
constexpr Milliseconds kFlushPeriod(25);
constexpr int kLargestRange = 65535;

void WriteText(QWidget& widget, const QString& text) {
  if (auto* label = qobject_cast<QLabel*>(&widget)) {
    label->setText(text);
    // A reader of the screen says the text, not the name of its place.
    if (!text.isEmpty()) label->setAccessibleName(text);
  } else if (auto* edit = qobject_cast<QLineEdit*>(&widget)) {
    edit->setText(text);
    edit->home(false);  // a long text is seen from its start
  } else if (auto* lines = qobject_cast<QPlainTextEdit*>(&widget)) {
    lines->setPlainText(text);
  } else if (auto* button = qobject_cast<QAbstractButton*>(&widget)) {
    button->setText(text);
  }
}

QString ReadText(const QWidget& widget) {
  if (const auto* label = qobject_cast<const QLabel*>(&widget)) return label->text();
  if (const auto* edit = qobject_cast<const QLineEdit*>(&widget)) return edit->text();
  if (const auto* lines = qobject_cast<const QPlainTextEdit*>(&widget)) return lines->toPlainText();
  if (const auto* button = qobject_cast<const QAbstractButton*>(&widget)) return button->text();
  return {};
}

}  // namespace

QtDialogs::QtDialogs(Display& display) : display_(display) {
  flush_timer_.setSingleShot(true);
  flush_timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&flush_timer_, &QTimer::timeout, &flush_timer_, [this] { Flush(); });
}

port::WindowHandle QtDialogs::Create(std::uint32_t form, port::WindowHandle owner) {
  const port::WindowHandle handle = display_.queues.AddWindow();
  bool created = false;
  display_.jobs.Call([&] {
    QDialog* dialog = NewFormDialog(
        form, display_.WidgetOf(owner), [&queues = display_.queues, handle](std::uint32_t control) {
          queues.Post({handle, port::MessageKind::kCommand, control, 0, {}});
        });
    if (dialog == nullptr) return;
    display_.windows[handle] = dialog;
    created = true;
  });
  if (created) return handle;
  display_.queues.RemoveWindow(handle);
  return 0;
}

void QtDialogs::Show(port::WindowHandle dialog) {
  display_.jobs.Call([&] {
    Flush();
    if (QWidget* widget = display_.WidgetOf(dialog)) widget->show();
  });
}

void QtDialogs::Destroy(port::WindowHandle dialog) {
  display_.jobs.Call([&] {
    Flush();
    const auto found = display_.windows.find(dialog);
    if (found == display_.windows.end()) return;
    // The widget may have gone with its owner already, then only the handle is left.
    if (found->second && found->second == display_.main) return;
    delete found->second;
    display_.windows.erase(found);
    display_.queues.RemoveWindow(dialog);
  });
}

void QtDialogs::SetText(port::WindowHandle dialog, std::uint32_t control,
                        std::u16string_view text) {
  Write({dialog, control, Property::kText}, std::u16string(text));
}

std::u16string QtDialogs::GetText(port::WindowHandle dialog, std::uint32_t control) {
  std::u16string text;
  display_.jobs.Call([&] {
    Flush();
    if (const QWidget* widget = Control(dialog, control)) text = FromQt(ReadText(*widget));
  });
  return text;
}

void QtDialogs::SetChecked(port::WindowHandle dialog, std::uint32_t control, bool checked) {
  Write({dialog, control, Property::kChecked}, checked ? 1 : 0);
}

bool QtDialogs::IsChecked(port::WindowHandle dialog, std::uint32_t control) {
  bool checked = false;
  display_.jobs.Call([&] {
    Flush();
    const auto* button = qobject_cast<QAbstractButton*>(Control(dialog, control));
    checked = button != nullptr && button->isChecked();
  });
  return checked;
}

void QtDialogs::ShowControl(port::WindowHandle dialog, std::uint32_t control, bool visible) {
  Write({dialog, control, Property::kVisible}, visible ? 1 : 0);
}

template <class Widget>
void QtDialogs::WithControl(port::WindowHandle dialog, std::uint32_t control,
                            const std::function<void(Widget& widget)>& action) {
  display_.jobs.Call([&] {
    Flush();
    if (auto* widget = qobject_cast<Widget*>(Control(dialog, control))) action(*widget);
  });
}

void QtDialogs::SetChoices(port::WindowHandle dialog, std::uint32_t control,
                           const std::vector<std::u16string>& items) {
  QStringList texts;
  for (const std::u16string& item : items) texts << ToQt(item);
  WithControl<QComboBox>(dialog, control, [&](QComboBox& list) {
    list.clear();
    list.addItems(texts);
  });
}

void QtDialogs::SetChoice(port::WindowHandle dialog, std::uint32_t control, int index) {
  WithControl<QComboBox>(dialog, control, [&](QComboBox& list) {
    if (index >= 0 && index < list.count()) list.setCurrentIndex(index);
  });
}

int QtDialogs::Choice(port::WindowHandle dialog, std::uint32_t control) {
  int index = -1;
  WithControl<QComboBox>(dialog, control,
                         [&](const QComboBox& list) { index = list.currentIndex(); });
  return index;
}

// A hidden dialog remembers which of its controls gets the focus.
void QtDialogs::SelectText(port::WindowHandle dialog, std::uint32_t control) {
  WithControl<QWidget>(dialog, control, [](QWidget& widget) {
    if (auto* edit = qobject_cast<QLineEdit*>(&widget)) {
      edit->setFocus();
      edit->selectAll();
    } else if (auto* lines = qobject_cast<QPlainTextEdit*>(&widget)) {
      lines->setFocus();
      lines->selectAll();
    }
  });
}

void QtDialogs::SetProgressRange(port::WindowHandle dialog, std::uint32_t control, int upper) {
  Write({dialog, control, Property::kRange}, std::clamp(upper, 1, kLargestRange));
}

void QtDialogs::SetProgressPosition(port::WindowHandle dialog, std::uint32_t control,
                                    int position) {
  Write({dialog, control, Property::kPosition}, position);
}

void QtDialogs::Write(const Key& key, Value value) {
  {
    const std::lock_guard lock(mutex_);
    pending_[key] = std::move(value);
    if (std::exchange(flush_scheduled_, true)) return;
  }
  display_.jobs.Post([this] { ScheduleFlush(); });
}

// What comes after a pause is shown at once, what comes in a stream once a period.
void QtDialogs::ScheduleFlush() {
  const auto since = std::chrono::steady_clock::now() - last_flush_;
  if (since >= kFlushPeriod) {
    Flush();
    return;
  }
  const auto wait = std::chrono::ceil<Milliseconds>(kFlushPeriod - since);
  flush_timer_.start(wait);
}

void QtDialogs::Flush() {
  std::map<Key, Value> writes;
  {
    const std::lock_guard lock(mutex_);
    writes.swap(pending_);
    flush_scheduled_ = false;
  }
  if (writes.empty()) return;
  last_flush_ = std::chrono::steady_clock::now();
  for (const auto& [key, value] : writes) Apply(key, value);
}

void QtDialogs::Apply(const Key& key, const Value& value) {
  const auto& [dialog, control, property] = key;
  QWidget* widget = Control(dialog, control);
  if (widget == nullptr) return;
  auto* bar = qobject_cast<QProgressBar*>(widget);
  auto* button = qobject_cast<QAbstractButton*>(widget);
  switch (property) {
    case Property::kText:
      WriteText(*widget, ToQt(std::get<std::u16string>(value)));
      break;
    case Property::kChecked:
      if (button != nullptr) button->setChecked(std::get<int>(value) != 0);
      break;
    case Property::kVisible:
      widget->setVisible(std::get<int>(value) != 0);
      break;
    case Property::kRange:
      if (bar != nullptr) bar->setRange(0, std::get<int>(value));
      break;
    case Property::kPosition:
      if (bar != nullptr) bar->setValue(std::clamp(std::get<int>(value), 0, bar->maximum()));
      break;
  }
}

QWidget* QtDialogs::Control(port::WindowHandle dialog, std::uint32_t control) const {
  const QWidget* widget = display_.WidgetOf(dialog);
  if (widget == nullptr || widget == display_.main) return nullptr;
  return ControlOf(*widget, control);
}

}  // namespace quillet::qt
