// SPDX-License-Identifier: GPL-3.0-or-later
// Where an article came from, as its record tells: a server's name, or that it came out of a file.
// Pure; any thread.
#pragma once

#include <string_view>

namespace quillet {

inline constexpr std::string_view kImportedSource = "<import>";

// A server sends a dot at the start of a line twice, and what it sent is stored. A file is as its
// writer made it.
constexpr bool HasDoubledDots(std::string_view source) {
  return source != kImportedSource;
}

}  // namespace quillet
