// SPDX-License-Identifier: GPL-3.0-or-later
// The one on the toolkit uses keys and mouse, sent to the widgets.
#include "tests/qt/dialog_hands.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QSlider>
#include <QTimeEdit>
#include <utility>

#include "port/fake/fake_platform.h"
#include "qt/form_list.h"
#include "qt/forms.h"
#include "qt/sheet_dialog.h"
#include "tests/qt/display_fixture.h"

namespace quillet::qt {
namespace {

using port::TimeOfDay;
using port::WindowHandle;

class FakeHands final : public DialogHands {
 public:
  port::ThreadQueues& Queues() override { return fake_.queues; }
  port::Dialogs& Dialogs() override { return display(); }
  port::PropertySheets& Sheets() override { return display(); }
  port::Windows& Windows() override { return display(); }
  void Await(WindowHandle dialog) override { EXPECT_TRUE(display().TakesInput(dialog)); }
  bool Press(WindowHandle dialog, std::uint32_t control) override {
    return display().Press(dialog, control);
  }
  bool PressInWindow(WindowHandle dialog, std::uint32_t control) override {
    return display().Press(dialog, control);
  }
  bool Tick(WindowHandle dialog, std::uint32_t control, bool checked) override {
    return display().Tick(dialog, control, checked);
  }
  bool Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text) override {
    return display().Type(dialog, control, text);
  }
  bool Choose(WindowHandle dialog, std::uint32_t control, int index) override {
    return display().Choose(dialog, control, index);
  }
  bool Slide(WindowHandle dialog, std::uint32_t control, int position) override {
    return display().Slide(dialog, control, position);
  }
  bool PickTime(WindowHandle dialog, std::uint32_t control, TimeOfDay time) override {
    return display().PickTime(dialog, control, time);
  }
  bool TickRow(WindowHandle dialog, std::uint32_t control, int row, bool checked) override {
    return display().TickListRow(dialog, control, row, checked);
  }
  bool ActivateRow(WindowHandle dialog, std::uint32_t control, int row) override {
    return display().ActivateListRow(dialog, control, row);
  }
  bool AskRowMenu(WindowHandle dialog, std::uint32_t control, int row) override {
    return display().AskListMenu(dialog, control, row);
  }
  bool ChoosePage(WindowHandle sheet, int page) override {
    return display().ChoosePage(sheet, page);
  }
  void PressReturn(WindowHandle /*dialog*/) override {
    EXPECT_TRUE(display().PressKey(port::kKeyReturn));
  }
  void PressEscape(WindowHandle /*dialog*/) override {
    EXPECT_TRUE(display().PressKey(port::kKeyEscape));
  }
  void CloseDialog(WindowHandle dialog) override { EXPECT_TRUE(display().CloseDialog(dialog)); }
  bool CloseMain() override { return display().CloseMainWindow(); }

 private:
  port::FakeDisplay& display() { return fake_.display; }
  port::FakePlatform fake_;
};

void KeyClicks(QWidget& widget, std::u16string_view text) {
  for (const char16_t unit : text) {
    if (unit == u'\r') continue;
    if (unit == u'\n') {
      QTest::keyClick(&widget, Qt::Key_Return);
    } else {
      QTest::keyClicks(&widget, QString(QChar(unit)));
    }
  }
}

class QtHands final : public DialogHands {
 public:
  QtHands() {
    gDisplayThread->Call([this] { device_ = std::make_unique<QtDevice>(queues_); });
  }
  ~QtHands() override {
    gDisplayThread->Call([this] { device_.reset(); });
  }
  port::ThreadQueues& Queues() override { return queues_; }
  port::Dialogs& Dialogs() override { return device_->dialogs(); }
  port::PropertySheets& Sheets() override { return device_->sheets(); }
  port::Windows& Windows() override { return device_->windows(); }
  void Await(WindowHandle dialog) override {
    OnDisplay([&] { EXPECT_TRUE(QTest::qWaitForWindowActive(&WidgetOf(dialog))); });
  }
  bool Press(WindowHandle dialog, std::uint32_t control) override {
    return Use<QAbstractButton>(dialog, control, [](QAbstractButton& button) {
      QTest::mouseClick(&button, Qt::LeftButton);
    });
  }
  bool PressInWindow(WindowHandle dialog, std::uint32_t control) override {
    bool pressed = false;
    OnDisplay([&] {
      auto* button = qobject_cast<QAbstractButton*>(ControlOf(WidgetOf(dialog), control));
      const auto seen = QObject::connect(button, &QAbstractButton::clicked, button,
                                         [&pressed] { pressed = true; });
      QTest::mouseClick(WidgetOf(dialog).windowHandle(), Qt::LeftButton, Qt::NoModifier,
                        button->mapTo(&WidgetOf(dialog), button->rect().center()));
      QObject::disconnect(seen);
    });
    return pressed;
  }
  bool Tick(WindowHandle dialog, std::uint32_t control, bool checked) override {
    return Use<QAbstractButton>(dialog, control, [&](QAbstractButton& box) {
      if (box.isChecked() != checked) QTest::keyClick(&box, Qt::Key_Space);
    });
  }
  bool Type(WindowHandle dialog, std::uint32_t control, std::u16string_view text) override {
    return Use<QWidget>(dialog, control, [&](QWidget& widget) {
      const auto* list = qobject_cast<QComboBox*>(&widget);
      QWidget& edit = list != nullptr ? *list->lineEdit() : widget;
      edit.setFocus();
      QTest::keyClick(&edit, Qt::Key_A, Qt::ControlModifier);
      KeyClicks(edit, text);
    });
  }
  bool Choose(WindowHandle dialog, std::uint32_t control, int index) override {
    return Use<QWidget>(dialog, control, [&](QWidget& widget) {
      if (dynamic_cast<FormList*>(&widget) != nullptr) return ClickRow(widget, index);
      auto& list = *qobject_cast<QComboBox*>(&widget);
      list.setFocus();
      for (int steps = list.count(); steps >= 0; --steps) QTest::keyClick(&list, Qt::Key_Up);
      for (int step = list.currentIndex(); step < index; ++step) {
        QTest::keyClick(&list, Qt::Key_Down);
      }
    });
  }
  bool Slide(WindowHandle dialog, std::uint32_t control, int position) override {
    return Use<QSlider>(dialog, control, [&](QSlider& slider) {
      while (slider.value() < position) QTest::keyClick(&slider, Qt::Key_Right);
      while (slider.value() > position) QTest::keyClick(&slider, Qt::Key_Left);
    });
  }
  bool PickTime(WindowHandle dialog, std::uint32_t control, TimeOfDay time) override {
    return Use<QTimeEdit>(dialog, control, [&](QTimeEdit& picker) {
      picker.setFocus();
      const std::array<std::pair<QDateTimeEdit::Section, int>, 3> parts{
          {{QDateTimeEdit::HourSection, time.hour},
           {QDateTimeEdit::MinuteSection, time.minute},
           {QDateTimeEdit::SecondSection, time.second}}};
      for (const auto& [section, number] : parts) {
        picker.setSelectedSection(section);
        QTest::keyClicks(&picker, QStringLiteral("%1").arg(number, 2, 10, QLatin1Char('0')));
      }
    });
  }
  bool TickRow(WindowHandle dialog, std::uint32_t control, int row, bool checked) override {
    return Use<QWidget>(dialog, control, [&](QWidget& widget) {
      auto& list = static_cast<FormList&>(widget);
      ClickRow(widget, row);
      const bool is_checked = list.Checks()[static_cast<std::size_t>(row)];
      if (is_checked != checked) QTest::keyClick(&list, Qt::Key_Space);
    });
  }
  bool ActivateRow(WindowHandle dialog, std::uint32_t control, int row) override {
    return Use<QWidget>(dialog, control, [&](QWidget& widget) {
      auto& list = static_cast<FormList&>(widget);
      QTest::mouseDClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, TextOf(list, row));
    });
  }
  bool AskRowMenu(WindowHandle dialog, std::uint32_t control, int row) override {
    return Use<QWidget>(dialog, control, [&](QWidget& widget) {
      auto& list = static_cast<FormList&>(widget);
      const QPoint place = TextOf(list, row);
      QContextMenuEvent event(QContextMenuEvent::Mouse, place, list.viewport()->mapToGlobal(place));
      QApplication::sendEvent(list.viewport(), &event);
    });
  }
  bool ChoosePage(WindowHandle sheet, int page) override {
    OnDisplay([&] {
      auto& names = *WidgetOf(sheet).findChild<QListWidget*>();
      QTest::mouseClick(names.viewport(), Qt::LeftButton, Qt::NoModifier,
                        names.visualItemRect(names.item(page)).center());
    });
    return true;
  }
  void PressReturn(WindowHandle dialog) override {
    OnDisplay([&] { QTest::keyClick(WidgetOf(dialog).windowHandle(), Qt::Key_Return); });
  }
  void PressEscape(WindowHandle dialog) override {
    OnDisplay([&] { QTest::keyClick(WidgetOf(dialog).windowHandle(), Qt::Key_Escape); });
  }
  void CloseDialog(WindowHandle dialog) override {
    OnDisplay([&] { WidgetOf(dialog).close(); });
  }
  bool CloseMain() override {
    bool takes_input = false;
    OnDisplay([&] {
      takes_input = QApplication::activeModalWidget() == nullptr;
      if (takes_input) device_->display().main->close();
    });
    return takes_input;
  }

 private:
  void OnDisplay(const std::function<void()>& action) { device_->jobs().Call(action); }
  QWidget& WidgetOf(WindowHandle dialog) { return *device_->display().WidgetOf(dialog); }
  static QPoint TextOf(const FormList& list, int row) {
    const QRect place = list.visualItemRect(list.topLevelItem(row));
    return {place.left() + 40, place.center().y()};
  }
  static void ClickRow(QWidget& widget, int row) {
    auto& list = static_cast<FormList&>(widget);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, TextOf(list, row));
  }
  // False when the user cannot get at it; the input is sent all the same.
  template <class Widget>
  bool Use(WindowHandle dialog, std::uint32_t control, const std::function<void(Widget&)>& action) {
    device_->dialogs().Read(dialog, control);  // what was written is shown now
    bool usable = false;
    OnDisplay([&] {
      auto* widget = qobject_cast<Widget*>(ControlOf(WidgetOf(dialog), control));
      if (widget == nullptr) return;
      usable = widget->isVisible() && widget->isEnabled();
      if (usable || !widget->isEnabled()) action(*widget);
    });
    return usable;
  }

  port::LinuxClock clock_;
  port::ThreadQueues queues_{clock_};
  std::unique_ptr<QtDevice> device_;
};

}  // namespace

std::unique_ptr<DialogHands> NewFakeHands() {
  return std::make_unique<FakeHands>();
}
std::unique_ptr<DialogHands> NewQtHands() {
  return std::make_unique<QtHands>();
}

}  // namespace quillet::qt
