// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/changes.h"

#include <array>
#include <cstddef>

namespace quillet {
namespace {

constexpr std::size_t kKinds = 4;

// Changes noted of each kind, by its bit. Only ever counted up, also from one run of the program to
// the next: what they are means nothing, only that they differ from what was seen.
std::array<std::uint64_t, kKinds> gNoted{};

bool IsOneOf(std::size_t bit, Change kinds) {
  return (static_cast<unsigned>(kinds) >> bit & 1U) != 0;
}

std::uint64_t NotedOf(Change kinds) {
  std::uint64_t changes = 0;
  for (std::size_t bit = 0; bit < kKinds; ++bit) {
    if (IsOneOf(bit, kinds)) changes += gNoted[bit];
  }
  return changes;
}

}  // namespace

void NoteChange(Change what) {
  for (std::size_t bit = 0; bit < kKinds; ++bit) {
    if (IsOneOf(bit, what)) ++gNoted[bit];
  }
}

SeenChanges::SeenChanges(Change about) : about_(about), seen_(NotedOf(about)) {}

bool SeenChanges::OutOfDate() const {
  return invalid_ || seen_ != NotedOf(about_);
}

void SeenChanges::BringUpToDate() {
  seen_ = NotedOf(about_);
  invalid_ = false;
}

}  // namespace quillet
