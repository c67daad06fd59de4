// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/imported_article.h"

#include <algorithm>
#include <new>
#include <vector>

#include "base/prefs.h"
#include "nntp/connection.h"
#include "nntp/headers.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/new_group.h"
#include "util/text.h"

namespace quillet {
namespace {

// Split at the commas. Meant: nothing else is cut off, so a blank behind a comma is part of the
// next name. Every version has put imported articles on the chains of these names. Nothing between
// two commas is no name, nor is what does not fit into a command to a server.
std::vector<std::u16string> NamedGroups(std::string_view head) {
  std::vector<std::u16string> names;
  const std::optional<std::string> value = GetHeaderValue("Newsgroups:", head);
  std::string_view rest = UntilNul(value ? *value : std::string_view());
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find(','), rest.size());
    if (end > 0 && end < kLineBufferSize) names.push_back(Widen(rest.substr(0, end)));
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return names;
}

void RaiseCount(std::optional<std::size_t> place) {
  if (place && *place < gReadInfo.size()) ++gReadInfo[*place]->totalCount;
}

void LowerCount(std::optional<std::size_t> place) {
  if (!place || *place >= gReadInfo.size()) return;
  ReadInfo& info = *gReadInfo[*place];
  if (info.totalCount > 0) --info.totalCount;
}

// Takes the article off a chain whose newest one it is; false when it is not, or cannot be.
bool TakeOff(std::u16string_view name, const std::string& message_id) {
  const auto newest = GroupChainFirst(name);
  return newest && newest->messageId == UntilNul(message_id) &&
         RemoveFromGroupChain(name, newest->number);
}

// The store keeps nothing of an article that cannot be put on all its chains: on none nobody would
// see it, and a second import would take it for stored. `chained` of them have it and are counted;
// the next one may have it.
void TakeBack(const AsciiArticle& article, const std::vector<std::u16string>& names,
              std::size_t chained, GroupPlaces& places) {
  for (std::size_t i = std::min(chained + 1, names.size()); i > 0; --i) {
    const std::u16string& name = names[i - 1];
    if (TakeOff(name, *article.messageId) && i <= chained) LowerCount(places.Find(name));
  }
  DeleteArticle(*article.messageId);
}

// Puts it on the chain of every name; how many have it is in `chained` also when that breaks off.
bool PutOnChains(const AsciiArticle& article, const std::vector<std::u16string>& names,
                 GroupPlaces& places, std::size_t& chained) {
  for (; chained < names.size(); ++chained) {
    if (!AddArticleToGroup(names[chained], *article.messageId)) return false;
    RaiseCount(places.Find(names[chained]));
  }
  return true;
}

// When none of them is on the list, the first one is added to it; false when that failed.
bool AddGroupWhenNoneIsListed(const std::vector<std::u16string>& names, GroupPlaces& places) {
  const auto listed = [&](const std::u16string& name) { return places.Find(name).has_value(); };
  return names.empty() || std::ranges::any_of(names, listed) || AddNewsgroupToPrefs(names.front());
}

}  // namespace

std::optional<std::size_t> GroupPlaces::Find(std::u16string_view name) {
  for (; known_ < gPrefs->groups.size(); ++known_) places_.emplace(gPrefs->groups[known_], known_);
  const auto found = places_.find(std::u16string(name));
  if (found == places_.end()) return std::nullopt;
  return found->second;
}

Routed RouteImportedArticle(AsciiArticle& article, GroupPlaces& places) {
  if (!StoreArticle(article)) return Routed::kRefused;
  std::size_t chained = 0;
  std::vector<std::u16string> names;
  try {
    names = NamedGroups(*article.headers);
    if (!PutOnChains(article, names, places, chained)) {
      TakeBack(article, names, chained, places);
      return Routed::kRefused;
    }
  } catch (const std::bad_alloc&) {
    TakeBack(article, names, chained, places);
    throw;
  }
  return AddGroupWhenNoneIsListed(names, places) ? Routed::kStored : Routed::kListNotSaved;
}

}  // namespace quillet
