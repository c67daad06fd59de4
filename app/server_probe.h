// SPDX-License-Identifier: GPL-3.0-or-later
// Whether something answers at a place in the network. Program thread only.
#pragma once

#include <cstdint>
#include <string_view>

namespace quillet {

// Connects and hangs up at once; nothing is sent. False as well when the host is unknown, and after
// `milliseconds` at the latest. Nothing of it is told to the user.
bool AnswersOnPort(std::u16string_view host, std::uint16_t port, std::uint32_t milliseconds);

}  // namespace quillet
