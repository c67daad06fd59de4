// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_display.h"

namespace quillet::port {

// The fakes get the screen by its own type: the display itself would be taken for one to copy.
FakeDisplay::FakeDisplay(ThreadQueues& the_queues)
    : FakeScreen(the_queues),
      FakeBoxes(static_cast<FakeScreen&>(*this)),
      FakeWindows(static_cast<FakeScreen&>(*this)),
      FakeList(static_cast<FakeScreen&>(*this)),
      FakeDialogs(static_cast<FakeScreen&>(*this)),
      FakePropertySheets(static_cast<FakeDialogs&>(*this)),
      FakeTree(static_cast<FakeScreen&>(*this)),
      FakePopUps(static_cast<FakeScreen&>(*this)),
      FakePanes(static_cast<FakeScreen&>(*this)),
      FakeFileDialogs(static_cast<FakeScreen&>(*this)) {}

void FakeDisplay::Verify() {
  FakeBoxes::Verify();
  FakePopUps::Verify();
  FakeFileDialogs::Verify();
  FakeDialogs::Verify();
}

bool FakeDisplay::PressKey(std::uint32_t virtual_key, std::uint32_t modifiers) {
  const auto lock = Locked();
  const WindowHandle focus = FocusLocked();
  if (!TakesInputLocked(focus)) return false;
  const bool told = virtual_key != kKeyContextMenu;
  if (focus == window.handle) {
    if (told) queues.Post({focus, MessageKind::kKeyDown, virtual_key, modifiers, {}});
    if (modifiers == 0) PressListKey(virtual_key);
    if (modifiers == 0) PressTreeKey(virtual_key);
  } else {
    PressDialogKey(focus, virtual_key, modifiers);
  }
  if (told) queues.Post({focus, MessageKind::kKeyUp, virtual_key, modifiers, {}});
  return true;
}

}  // namespace quillet::port
