// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/keys.h"

#include <QKeyEvent>
#include <array>
#include <string_view>

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

// Scan codes of both window systems: those of the kernel and 8. Each row as the place is engraved
// on most keyboards.
struct Row {
  quint32 first;
  std::string_view keys;
};
constexpr Row kDigits = {10, "1234567890"};
constexpr Row kLetters[] = {{24, "QWERTYUIOP"}, {38, "ASDFGHJKL"}, {52, "ZXCVBNM"}};

// Letters of other scripts come behind the Latin ones of Western Europe, and before the keys that
// are no characters.
constexpr int kFirstOtherLetter = 0x100;
constexpr int kFirstOtherKey = 0x01000000;

bool IsIn(const Row& row, quint32 scan_code) {
  return scan_code >= row.first && scan_code < row.first + row.keys.size();
}

bool IsDigit(int key) {
  return key >= Qt::Key_0 && key <= Qt::Key_9;
}

std::optional<std::uint32_t> KeyAt(const Row& row, quint32 scan_code) {
  if (!IsIn(row, scan_code)) return std::nullopt;
  return static_cast<std::uint32_t>(row.keys[scan_code - row.first]);
}

std::optional<std::uint32_t> KeyByPlace(const QKeyEvent& event) {
  const int key = event.key();
  if (key >= kFirstOtherKey) return std::nullopt;
  if (const auto digit = KeyAt(kDigits, event.nativeScanCode())) return digit;
  if (key < kFirstOtherLetter) return std::nullopt;
  for (const Row& row : kLetters) {
    if (const auto letter = KeyAt(row, event.nativeScanCode())) return letter;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::uint32_t> VirtualKey(const QKeyEvent& event) {
  const int key = event.key();
  if (IsDigit(key) || (key >= Qt::Key_A && key <= Qt::Key_Z)) {
    return static_cast<std::uint32_t>(key);  // both sides use the upper-case ASCII code
  }
  if (key >= Qt::Key_F1 && key <= Qt::Key_F24) {
    return port::kKeyF1 + static_cast<std::uint32_t>(key - Qt::Key_F1);
  }
  for (const KeyPair& pair : kKeys) {
    if (pair.key == key) return pair.virtual_key;
  }
  return KeyByPlace(event);
}

std::uint32_t Modifiers(const QKeyEvent& event) {
  const Qt::KeyboardModifiers modifiers = event.modifiers();
  std::uint32_t bits = 0;
  if (modifiers.testFlag(Qt::ControlModifier)) bits |= port::kModifierControl;
  if (modifiers.testFlag(Qt::AltModifier)) bits |= port::kModifierAlt;
  // Where a digit's key has a sign without Shift, it is the digit with it.
  const bool for_digit = IsDigit(event.key()) && IsIn(kDigits, event.nativeScanCode());
  if (modifiers.testFlag(Qt::ShiftModifier) && !for_digit) bits |= port::kModifierShift;
  return bits;
}

}  // namespace quillet::qt
