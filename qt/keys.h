// Keys of the toolkit as the program knows them.
#pragma once

#include <QtGlobal>
#include <cstdint>
#include <optional>

#include <Qt>

namespace quillet::qt {

// The virtual key (port/message.h) of a Qt::Key; nothing for a key the program has no number for.
std::optional<std::uint32_t> VirtualKey(int key);
// Control, Alt and Shift as kModifier... bits; others are dropped.
std::uint32_t Modifiers(Qt::KeyboardModifiers modifiers);

}  // namespace quillet::qt
