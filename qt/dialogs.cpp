// SPDX-License-Identifier: GPL-3.0-or-later
// Writes wait in a list until they are shown, at once after a pause and else once a period, or
// until somebody reads. A text or a position that follows one to the same control takes its place:
// a stream of them costs the program next to nothing.
#include "qt/dialogs.h"

#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <algorithm>
#include <utility>

#include "qt/article_edit.h"
#include "qt/controls.h"
#include "qt/fit_screen.h"
#include "qt/forms.h"

namespace quillet::qt {
namespace {

using Milliseconds = std::chrono::milliseconds;

// Time between two showings of what an operation writes: quick for the eye, cheap for the program.
constexpr Milliseconds kFlushPeriod(25);

bool TakesPlaceOf(const port::ControlValue& later, const port::ControlValue& earlier) {
  const bool stream =
      std::holds_alternative<port::Text>(later) || std::holds_alternative<port::Position>(later);
  return stream && later.index() == earlier.index();
}

// The size it had last or that its form wants, or the screen of a phone.
void ShowWindow(QWidget& window, QSize size) {
  if (FillsScreen(&window)) {
    window.resize(WorkAreaOf(&window).size());
    return window.showMaximized();
  }
  if (!size.isValid()) size = FirstSizeOf(window, RoomForDialog(nullptr));
  if (size.isValid()) window.resize(size.boundedTo(WorkAreaOf(&window).size()));
  window.show();
}

std::uint32_t FormOf(const QWidget& dialog) {
  return dialog.property("dialogId").toUInt();
}

bool IsWindow(const QWidget& dialog) {
  return dialog.windowType() == Qt::Window;
}

// They wait for an answer, whether or not what they lie over is still there.
void HandBoxesOn(const QWidget& dialog, QWidget* owner) {
  for (QMessageBox* box :
       dialog.findChildren<QMessageBox*>(QString(), Qt::FindDirectChildrenOnly)) {
    const Qt::WindowFlags flags = box->windowFlags();
    const bool visible = box->isVisible();
    box->setParent(owner, flags);
    box->setWindowModality(ModalityOver(owner));
    box->setWindowFlags(flags);  // the modality has reset them
    if (visible) box->show();
  }
}

// The dialog of a long operation is gone with the focus that it had taken, and not every desktop
// gives it to the window below. An editor that the user writes in meanwhile keeps it.
bool HandsFocusBack(const MainWindow* main, const QWidget* dialog) {
  if (main == nullptr || dialog == nullptr || main->Blocker() != dialog) return false;
  const QWidget* active = QApplication::activeWindow();
  return active == dialog || active == main;
}

}  // namespace

Tell TellWindow(port::ThreadQueues& queues, port::WindowHandle window) {
  return [&queues, window](port::Message message) {
    message.window = window;
    queues.Post(message);
  };
}

QtDialogs::QtDialogs(Display& display) : display_(display) {
  flush_timer_.setSingleShot(true);
  flush_timer_.setTimerType(Qt::PreciseTimer);
  QObject::connect(&flush_timer_, &QTimer::timeout, &flush_timer_, [this] { Flush(); });
}

port::WindowHandle QtDialogs::Create(std::uint32_t form, port::WindowHandle owner,
                                     port::DialogKind kind) {
  const port::WindowHandle handle = display_.queues.AddWindow();
  bool created = false;
  display_.jobs.Call([&] {
    QDialog* dialog =
        NewFormDialog(form, display_.WidgetOf(owner), kind, TellWindow(display_.queues, handle));
    if (dialog == nullptr) return;
    display_.windows[handle] = dialog;
    watches_.Add(handle);
    *ControlsOf(dialog)->edited = [this, handle] { watches_.Tell(handle); };
    created = true;
  });
  if (created) return handle;
  display_.queues.RemoveWindow(handle);
  return 0;
}

void QtDialogs::Show(port::WindowHandle dialog) {
  display_.jobs.Call([&] {
    Flush();
    QWidget* widget = display_.WidgetOf(dialog);
    if (widget == nullptr || widget == display_.main || !widget->isWindow()) return;
    if (!IsWindow(*widget)) return widget->show();
    if (!widget->isVisible()) return ShowWindow(*widget, display_.sizes.Of(FormOf(*widget)));
    widget->setWindowState(widget->windowState() & ~Qt::WindowMinimized);
    widget->raise();
    widget->activateWindow();
  });
}

void QtDialogs::Destroy(port::WindowHandle dialog) {
  display_.jobs.Call([&] {
    Flush();
    DestroyNow(dialog);
  });
}

void QtDialogs::DestroyNow(port::WindowHandle dialog) {
  const auto found = display_.windows.find(dialog);
  if (found == display_.windows.end()) return;
  // The widget may have gone with its owner already, then only the handle is left.
  QWidget* widget = found->second;
  if (widget != nullptr && (widget == display_.main || !widget->isWindow())) return;
  if (widget != nullptr && IsWindow(*widget) && widget->isVisible() && !widget->isMaximized()) {
    display_.sizes.Remember(FormOf(*widget), widget->size());
  }
  watches_.Remove(dialog);
  if (widget != nullptr) HandBoxesOn(*widget, widget->parentWidget());
  const bool to_main = HandsFocusBack(display_.main, widget);
  delete widget;
  if (to_main) display_.main->activateWindow();
  display_.windows.erase(found);
  display_.queues.RemoveWindow(dialog);
  const auto pages = display_.sheet_pages.extract(dialog);
  if (pages.empty()) return;
  for (const port::WindowHandle page : pages.mapped()) {
    display_.windows.erase(page);
    display_.queues.RemoveWindow(page);
  }
}

void QtDialogs::WriteMany(port::WindowHandle dialog, std::vector<port::ControlWrite> writes) {
  {
    const std::lock_guard lock(mutex_);
    for (port::ControlWrite& write : writes) AddPending(dialog, std::move(write));
    if (std::exchange(flush_scheduled_, true)) return;
  }
  display_.jobs.Post([this] { ScheduleFlush(); });
}

void QtDialogs::AddPending(port::WindowHandle dialog, port::ControlWrite write) {
  const auto [last, first_one] = last_.try_emplace({dialog, write.control}, pending_.size());
  if (!first_one && TakesPlaceOf(write.value, pending_[last->second].write.value)) {
    pending_[last->second].write = std::move(write);
    return;
  }
  last->second = pending_.size();
  pending_.push_back({dialog, std::move(write)});
}

void QtDialogs::WatchEdits(port::WindowHandle dialog, std::function<void()> edited) {
  watches_.Watch(dialog, std::move(edited));
}

port::ControlState QtDialogs::Read(port::WindowHandle dialog, std::uint32_t control) {
  port::ControlState state;
  display_.jobs.Call([&] {
    Flush();
    const FormControls* form = Form(dialog);
    const QWidget* widget = form != nullptr ? form->Find(control) : nullptr;
    if (widget != nullptr) state = ReadControl(*widget);
  });
  return state;
}

std::map<std::uint32_t, port::ControlState> QtDialogs::ReadAll(port::WindowHandle dialog) {
  std::map<std::uint32_t, port::ControlState> states;
  display_.jobs.Call([&] {
    Flush();
    const FormControls* form = Form(dialog);
    if (form == nullptr) return;
    for (const auto& [id, widget] : form->All()) states[id] = ReadControl(*widget);
  });
  return states;
}

// No stream is written into a page: it is filled when it comes to the front.
bool QtDialogs::PageIsWritten() {
  const std::lock_guard lock(mutex_);
  return std::ranges::any_of(pending_, [this](const Pending& one) {
    const QWidget* widget = display_.WidgetOf(one.dialog);
    return widget != nullptr && !widget->isWindow();
  });
}

// What comes after a pause, or into a page, is shown at once, what comes in a stream once a period.
void QtDialogs::ScheduleFlush() {
  const auto since = std::chrono::steady_clock::now() - last_flush_;
  if (since >= kFlushPeriod || PageIsWritten()) {
    Flush();
    return;
  }
  const auto wait = std::chrono::ceil<Milliseconds>(kFlushPeriod - since);
  flush_timer_.start(wait);
}

void QtDialogs::Flush() {
  std::vector<Pending> writes;
  {
    const std::lock_guard lock(mutex_);
    writes.swap(pending_);
    last_.clear();
    flush_scheduled_ = false;
  }
  if (writes.empty()) return;
  last_flush_ = std::chrono::steady_clock::now();
  for (const Pending& one : writes) {
    const FormControls* form = Form(one.dialog);
    QWidget* widget = form != nullptr ? form->Find(one.write.control) : nullptr;
    if (widget != nullptr) WriteControl(*widget, one.write.value);
  }
}

FormControls* QtDialogs::Form(port::WindowHandle dialog) const {
  return ControlsOf(display_.WidgetOf(dialog));
}

}  // namespace quillet::qt
