// SPDX-License-Identifier: GPL-3.0-or-later
// The connections that can be dialled, as a drop-down list offers them. Program thread only.
#pragma once

#include <cstdint>
#include <string>

#include "port/message.h"

namespace quillet {

// Fills the list with the phone book's entries and "<none>" behind them; `chosen` is the chosen
// one, and offered also when the phone book has it not. Without a name it is "<none>", and that is
// all that is left when the phone book fails.
enum class PhoneBookFailures { kReported, kSilent };
void OfferConnectionMethods(port::WindowHandle dialog, std::uint32_t control,
                            const std::u16string& chosen, PhoneBookFailures failures);

// What is chosen there.
std::u16string ChosenConnectionMethod(port::WindowHandle dialog, std::uint32_t control);

}  // namespace quillet
