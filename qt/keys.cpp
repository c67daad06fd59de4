#include "qt/keys.h"

#include <array>

#include "port/message.h"

namespace quillet::qt {
namespace {

struct KeyPair {
  int key;
  std::uint32_t virtual_key;
};

constexpr auto kKeys = std::to_array<KeyPair>({
    {Qt::Key_Escape, port::kKeyEscape},
    {Qt::Key_Return, port::kKeyReturn},
    {Qt::Key_Enter, port::kKeyReturn},
    {Qt::Key_Select, port::kKeyAction},  // as F23 does
    {Qt::Key_Backspace, 0x08},
    {Qt::Key_Tab, 0x09},
    {Qt::Key_Backtab, 0x09},
    {Qt::Key_Space, port::kKeySpace},
    {Qt::Key_PageUp, port::kKeyPageUp},
    {Qt::Key_PageDown, port::kKeyPageDown},
    {Qt::Key_End, port::kKeyEnd},
    {Qt::Key_Home, port::kKeyHome},
    {Qt::Key_Left, port::kKeyLeft},
    {Qt::Key_Up, port::kKeyUp},
    {Qt::Key_Right, port::kKeyRight},
    {Qt::Key_Down, port::kKeyDown},
    {Qt::Key_Insert, 0x2D},
    {Qt::Key_Delete, port::kKeyDelete},
});

constexpr std::uint32_t kVirtualF1 = 0x70;

}  // namespace

std::optional<std::uint32_t> VirtualKey(int key) {
  if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z)) {
    return static_cast<std::uint32_t>(key);  // both sides use the upper-case ASCII code
  }
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24) {
    return kVirtualF1 + static_cast<std::uint32_t>(key - Qt::Key_F1);
  }
  for (const KeyPair& pair : kKeys) {
    if (pair.key == key) return pair.virtual_key;
  }
  return std::nullopt;
}

std::uint32_t Modifiers(Qt::KeyboardModifiers modifiers) {
  std::uint32_t bits = 0;
  if (modifiers.testFlag(Qt::ControlModifier)) bits |= port::kModifierControl;
  if (modifiers.testFlag(Qt::AltModifier)) bits |= port::kModifierAlt;
  if (modifiers.testFlag(Qt::ShiftModifier)) bits |= port::kModifierShift;
  return bits;
}

}  // namespace quillet::qt
