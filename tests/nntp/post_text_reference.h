// SPDX-License-Identifier: GPL-3.0-or-later
// The text of a post once more, character by character and without regard to time: what the quick
// way is compared with.
#pragma once

#include <string>

namespace quillet {

std::string PlainlyWrapped(const std::string& body);
std::string PlainlyBuilt(const std::string& header, const std::string& body);

}  // namespace quillet
