// SPDX-License-Identifier: GPL-3.0-or-later
// Keys of the toolkit as the program knows them.
//
// A key that the layout gives neither a digit nor a Latin letter is known by its place on the
// keyboard: a digit key of a French layout, a letter key of a Cyrillic one. So accelerators work on
// both.
#pragma once

#include <QtGlobal>
#include <cstdint>
#include <optional>

#include <Qt>

class QKeyEvent;

namespace quillet::qt {

// The virtual key (port/message.h) of a press or release; nothing for a key the program has no
// number for.
std::optional<std::uint32_t> VirtualKey(const QKeyEvent& event);
// Control, Alt and Shift as kModifier... bits; others are dropped, and so is the Shift that a
// layout needs to get at a digit.
std::uint32_t Modifiers(const QKeyEvent& event);

}  // namespace quillet::qt
