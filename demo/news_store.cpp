// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/news_store.h"

#include <algorithm>
#include <utility>

namespace quillet::demo {

const StoredArticle* Group::Find(std::uint32_t number) const {
  if (articles.empty() || number < low() || number > high()) return nullptr;
  return articles[number - first_number].get();
}

void NewsStore::AddGroup(const std::string& name, const std::string& description,
                         std::uint32_t first_number) {
  Group group;
  group.description = description;
  group.first_number = first_number;
  groups_.try_emplace(name, std::move(group));
}

AddResult NewsStore::Add(StoredArticle article, const std::vector<std::string>& groups) {
  if (by_id_.contains(article.message_id)) return AddResult::kDuplicate;
  const bool has_group = std::any_of(groups.begin(), groups.end(), [&](const std::string& name) {
    return groups_.contains(name);
  });
  if (!has_group) return AddResult::kNoSuchGroup;
  const auto shared = std::make_shared<const StoredArticle>(std::move(article));
  by_id_.emplace(shared->message_id, shared);
  std::vector<std::string> filed;
  for (const std::string& name : groups) {
    const auto found = groups_.find(name);
    if (found == groups_.end() || std::count(filed.begin(), filed.end(), name) > 0) continue;
    found->second.articles.push_back(shared);
    filed.push_back(name);
  }
  return AddResult::kAdded;
}

const Group* NewsStore::FindGroup(std::string_view name) const {
  const auto found = groups_.find(name);
  return found == groups_.end() ? nullptr : &found->second;
}

const StoredArticle* NewsStore::FindById(std::string_view message_id) const {
  const auto found = by_id_.find(std::string(message_id));
  return found == by_id_.end() ? nullptr : found->second.get();
}

}  // namespace quillet::demo
