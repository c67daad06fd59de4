// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/ancestors.h"

#include <algorithm>
#include <utility>

namespace quillet {
namespace {

constexpr std::size_t kMostOfOne = std::size_t{256} << 10;
constexpr std::size_t kMostOfAll = std::size_t{64} << 20;
constexpr std::size_t kMostBeyond = 1024;

bool NamesOnly(std::string_view references, std::string_view id) {
  ReferencedIds ids(references);
  const std::string_view nearest = ids.Next();
  return (nearest.empty() || nearest == id) && ids.Next().empty();
}

}  // namespace

std::string_view Ancestors::Next() {
  const std::string_view id = ids_.Next();
  return id.empty() ? std::exchange(parent_id_, {}) : id;
}

std::string_view KeptReferences::Keep(std::string_view references, std::string_view parent_id) {
  if (NamesOnly(references, parent_id)) return {};
  const std::size_t most = texts_.used() < kMostOfAll ? kMostOfOne : kMostBeyond;
  return texts_.Keep(references.substr(references.size() - std::min(references.size(), most)));
}

}  // namespace quillet
