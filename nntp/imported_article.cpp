#include "nntp/imported_article.h"

#include <algorithm>
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

// Takes the article off a chain whose newest one it is.
void TakeOff(std::u16string_view name, const std::string& message_id,
             std::optional<std::size_t> place) {
  const auto newest = GroupChainFirst(name);
  if (!newest || newest->messageId != UntilNul(message_id)) return;
  if (RemoveFromGroupChain(name, newest->number)) LowerCount(place);
}

// The store keeps nothing of an article that cannot be put on all its chains: on none nobody would
// see it, and a second import would take it for stored.
void TakeBack(const AsciiArticle& article, const std::vector<std::u16string>& names,
              std::size_t chained, GroupPlaces& places) {
  for (std::size_t i = chained; i > 0; --i) {
    TakeOff(names[i - 1], *article.messageId, places.Find(names[i - 1]));
  }
  DeleteArticle(*article.messageId);
}

}  // namespace

std::optional<std::size_t> GroupPlaces::Find(std::u16string_view name) {
  for (; known_ < gPrefs->groups.size(); ++known_) places_.emplace(gPrefs->groups[known_], known_);
  const auto found = places_.find(std::u16string(name));
  if (found == places_.end()) return std::nullopt;
  return found->second;
}

bool RouteImportedArticle(AsciiArticle& article, GroupPlaces& places) {
  if (!StoreArticle(article)) return false;
  const std::vector<std::u16string> names = NamedGroups(*article.headers);
  bool placed = false;
  const std::u16string* unknown = nullptr;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!AddArticleToGroup(names[i], *article.messageId)) {
      TakeBack(article, names, i, places);
      return false;
    }
    const std::optional<std::size_t> place = places.Find(names[i]);
    RaiseCount(place);
    placed = placed || place.has_value();
    if (!place && unknown == nullptr) unknown = &names[i];
  }
  if (!placed && unknown != nullptr) AddNewsgroupToPrefs(*unknown);
  return true;
}

}  // namespace quillet
