#include "port/fake/fake_display.h"

namespace quillet::port {

FakeDisplay::FakeDisplay(ThreadQueues& the_queues)
    : FakeScreen(the_queues),
      FakeBoxes(screen()),
      FakeWindows(screen()),
      FakeList(screen()),
      FakeDialogs(screen()),
      FakePropertySheets(static_cast<FakeDialogs&>(*this)),
      FakeTree(screen()),
      FakePopUps(screen()),
      FakePanes(screen()),
      FakeFileDialogs(screen()) {}

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
  if (PressDialogKey(focus, virtual_key)) return true;
  if (focus == window.handle && modifiers == 0) {
    PressListKey(virtual_key);
    PressTreeKey(virtual_key);
  }
  if (virtual_key == kKeyContextMenu) return true;
  queues.Post({focus, MessageKind::kKeyDown, virtual_key, modifiers, {}});
  queues.Post({focus, MessageKind::kKeyUp, virtual_key, modifiers, {}});
  return true;
}

}  // namespace quillet::port
