// SPDX-License-Identifier: GPL-3.0-or-later
// An imported article on its way into the store and onto the chains of its groups. Program thread
// only.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "store/records.h"

namespace quillet {

// The places of the groups in the group list by their names, upper and lower case differing. It
// follows a list that only grows.
class GroupPlaces {
 public:
  // Of several with that name the first.
  std::optional<std::size_t> Find(std::u16string_view name);

 private:
  std::size_t known_ = 0;  // groups of the list that are in the map
  std::unordered_map<std::u16string, std::size_t> places_;
};

enum class Routed {
  kStored,
  kListNotSaved,  // stored, but the group list could not be saved, which was told
  kRefused,       // not in the store
};

// Stores the article, which has all its fields, and puts it on the chain of every group that its
// "Newsgroups:" line names, whether or not the group is on the list. When none of them is, the
// first of them is added to the list. What cannot be put on all of these chains is refused.
Routed RouteImportedArticle(AsciiArticle& article, GroupPlaces& places);

}  // namespace quillet
