// SPDX-License-Identifier: GPL-3.0-or-later
// What the services of the display without pixels share: one lock, the main window and which window
// lies over which, the count of changes that waits watch, the observer, and where failures go.
//
// Any thread. What is marked "locked" is read, changed and called with the lock held only.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "port/common/thread_queues.h"
#include "port/dialogs.h"
#include "port/fake/display_observer.h"
#include "port/fake/failure.h"
#include "port/windows.h"

namespace quillet::port {

struct ShownMainWindow {
  WindowHandle handle = 0;  // 0: there is none
  MainWindowTraits traits;
  bool shown = false;
  bool busy = false;
  int raised = 0;                // times
  std::string activation_token;  // of the last one
  bool has_tabs = false;
  TabPlacement placement = TabPlacement::kBottom;
  int tab = kGroupTab;
  std::optional<WindowPlace> place;  // as wanted, then as the user moves it
  Size inside;
  Size tabs;
  std::u16string status;
};

class FakeScreen {
 public:
  using Lock = std::unique_lock<std::mutex>;

  explicit FakeScreen(ThreadQueues& the_queues) : queues(the_queues) {}
  FakeScreen(const FakeScreen&) = delete;
  FakeScreen& operator=(const FakeScreen&) = delete;

  // --- tests and scripts ---

  FailureHandler on_failure = DefaultFailureHandler();

  // Before the program runs. The observer must outlive the display.
  void SetObserver(DisplayObserver* observer) { observer_ = observer; }
  bool BoxOpen() const;
  // The dialog or main window that has the focus: the last dialog shown unless the main
  // window was brought to the front, else the main window; 0 when nothing is shown.
  WindowHandle Focus() const;
  // The modal dialog on top, else the window with a form that was brought to the front last; 0 when
  // there is none.
  WindowHandle DialogInFront() const;
  // A click on the main window or on one with a form, which has the focus then. False when it takes
  // no input.
  bool BringToFront(WindowHandle window);
  // True when the window exists, is shown, and neither a dialog nor a box takes its input away.
  bool TakesInput(WindowHandle window) const;
  // Waits until the condition holds; it is tested after every change of the display. False after
  // that many milliseconds of real time.
  bool WaitUntil(const std::function<bool()>& condition, int timeout_ms = 10000) const;
  // A message straight into the queues, whatever is shown.
  void Inject(const Message& message) { queues.Post(message); }
  // The display has gone: boxes answer themselves at once, without a failure.
  void Leave();

  // --- the services of the display ---

  ThreadQueues& queues;

  Lock Locked() const { return Lock(mutex_); }
  // Without the lock: its hooks may call the display.
  DisplayObserver& observer();
  // A failure when there is a main window and another thread than its own is calling.
  void CheckThread(const char* operation) const;
  // False, and a failure, when the owner is a window that does not exist.
  bool CheckOwner(const char* operation, WindowHandle owner) const;

  // Locked. After every change.
  void Changed() {
    ++changes_;
    changed_.notify_all();
  }

  // --- what lies over what; locked ---

  ShownMainWindow window;
  std::thread::id window_thread;
  bool gone = false;

  // A modal one takes the input of its owner, or of all that was there before when it has none or a
  // window with a form.
  void AddDialog(WindowHandle dialog, WindowHandle owner, DialogKind kind) {
    dialogs_[dialog] = {owner, 0, kind};
  }
  void ShowDialog(WindowHandle dialog) {
    dialogs_[dialog].shown_at = ++last_shown_;
    main_in_front_ = false;
  }
  // What lay over it lies over its owner from then on.
  void RemoveDialog(WindowHandle dialog);
  // The number by which the box is closed.
  std::uint64_t OpenBox(WindowHandle owner);
  void CloseBox(std::uint64_t number);
  WindowHandle FocusLocked() const;
  bool TakesInputLocked(WindowHandle window) const;
  // Whether the main window's close button answers; the dialog of a long operation that is told as
  // well, else 0, is left in `progress`.
  bool CanBeClosed(WindowHandle& progress) const;
  // Whether the user can use what lies on that tab's pane.
  bool PaneTakesInput(int tab) const;

  // --- the panes of the tabs; locked ---

  // Called, with the lock held, when the panes go: with the main window, or when tabs are made
  // anew.
  void WhenPanesGo(std::function<void()> forget) { forget_panes_.push_back(std::move(forget)); }
  void PanesGone();
  // Called, with the lock held, when the inside of the window may have changed.
  void WhenLaidOut(std::function<void()> fit) { fit_panes_.push_back(std::move(fit)); }
  void LaidOut();
  // What lies on that tab's pane has the focus from now on.
  void FocusPane(int tab) { focused_pane_ = tab; }
  bool PaneFocused(int tab) const { return focused_pane_ == tab; }
  // What is on another tab's pane does not keep the focus.
  void DropHiddenFocus();
  // What lies on that tab's pane is made anew.
  void DropPaneFocus(int tab);

 private:
  struct Dialog {
    WindowHandle owner = 0;
    std::uint64_t shown_at = 0;  // order of showing; 0: not shown yet
    DialogKind kind = DialogKind::kModal;
  };

  bool IsWindowForm(WindowHandle owner) const;
  bool BoxBlocks(WindowHandle window) const;
  WindowHandle LastShown(bool windows) const;
  WindowHandle ProgressDialog() const;

  mutable std::mutex mutex_;
  mutable std::condition_variable changed_;
  DisplayObserver* observer_ = nullptr;
  std::uint64_t changes_ = 0;
  std::map<WindowHandle, Dialog> dialogs_;
  std::uint64_t last_shown_ = 0;
  bool main_in_front_ = false;                        // since the last dialog was shown
  std::map<std::uint64_t, WindowHandle> open_boxes_;  // number, owner
  std::uint64_t last_box_ = 0;
  std::vector<std::function<void()>> forget_panes_;
  std::vector<std::function<void()>> fit_panes_;
  int focused_pane_ = -1;  // a tab, or none
};

}  // namespace quillet::port
