// SPDX-License-Identifier: GPL-3.0-or-later
// A display without pixels: everything the program shows is kept as values, and what a user would
// do comes as calls. Unit tests use it as the display of the device, and so does the scripted
// front.
//
// It is one fake a service over one screen, and nothing of its own but what is about several of
// them. It inherits the fakes instead of holding them so that a test says what happens on the
// display (`display.Press(...)`, `display.Expect(...)`) without naming the service.
//
// Any thread. What the program calls is stated in the port headers; calls from a thread that they
// do not allow are failures.
#pragma once

#include <cstdint>

#include "port/common/thread_queues.h"
#include "port/fake/fake_boxes.h"
#include "port/fake/fake_dialogs.h"
#include "port/fake/fake_file_dialogs.h"
#include "port/fake/fake_list.h"
#include "port/fake/fake_panes.h"
#include "port/fake/fake_pop_ups.h"
#include "port/fake/fake_property_sheets.h"
#include "port/fake/fake_screen.h"
#include "port/fake/fake_tree.h"
#include "port/fake/fake_windows.h"
#include "port/platform.h"

namespace quillet::port {

class FakeDisplay final : private FakeScreen,
                          public FakeBoxes,
                          public FakeWindows,
                          public FakeList,
                          public FakeDialogs,
                          public FakePropertySheets,
                          public FakeTree,
                          public FakePopUps,
                          public FakePanes,
                          public FakeFileDialogs {
 public:
  explicit FakeDisplay(ThreadQueues& queues);

  DisplayServices Services() {
    return {*this, *this, *this, *this, *this, *this, *this, *this, *this};
  }

  using FakeScreen::BoxOpen;
  using FakeScreen::BringToFront;
  using FakeScreen::DialogInFront;
  using FakeScreen::Focus;
  using FakeScreen::Inject;
  using FakeScreen::Leave;
  using FakeScreen::on_failure;
  using FakeScreen::SetObserver;
  using FakeScreen::TakesInput;
  using FakeScreen::WaitUntil;

  // Two services have operations of these names; the arguments tell them apart.
  using FakeBoxes::Show;
  using FakeDialogs::Create;
  using FakeDialogs::Show;
  using FakeList::Create;
  using FakePropertySheets::Create;

  // Failures for what was announced and did not happen (once).
  void Verify();

  // A key that is pressed and released goes to the window that has the focus. In a dialog Escape is
  // Cancel and Return the default button; in the group list Up, Down, the blank and Return do what
  // lists do, and in the tree, when it has the focus, the arrows, Home, End, Return and the menu
  // key what trees do. These are the keys that are tested against the toolkit's display; other keys
  // and keys with modifiers are only told. False when no window takes input now.
  bool PressKey(std::uint32_t virtual_key, std::uint32_t modifiers = 0);
};

}  // namespace quillet::port
