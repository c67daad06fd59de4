// SPDX-License-Identifier: GPL-3.0-or-later
// Which links the desktop's opener gets. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet::port {

// The target as it is handed to the opener (UTF-8), "www." with "http://" in front; empty when it
// is refused: what has control characters or begins as an option, schemes other than http, https,
// ftp, news, nntp and mailto, and a mailto that names a file to attach.
std::string LinkForOpener(std::u16string_view target);

}  // namespace quillet::port
