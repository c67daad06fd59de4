// SPDX-License-Identifier: GPL-3.0-or-later
// The articles of a news server in memory: groups with numbered articles, and every article by its
// Message-ID. Articles are kept as they go over the wire. One thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace quillet::demo {

struct StoredArticle {
  std::string message_id;
  // Lines end in CR LF, dots at line starts are doubled; without the empty line between the two and
  // without the terminating dot.
  std::string head;
  std::string body;
};

struct Group {
  std::string description;
  // Article number n stands at n - first_number. Articles are never removed.
  std::vector<std::shared_ptr<const StoredArticle>> articles;
  std::uint32_t first_number = 1;

  std::uint32_t low() const { return first_number; }
  // low - 1 in an empty group.
  std::uint32_t high() const {
    return first_number + static_cast<std::uint32_t>(articles.size()) - 1;
  }
  // Null when the number is not there.
  const StoredArticle* Find(std::uint32_t number) const;
};

enum class AddResult { kAdded, kDuplicate, kNoSuchGroup };

class NewsStore {
 public:
  // Does nothing when the group exists.
  void AddGroup(const std::string& name, const std::string& description,
                std::uint32_t first_number = 1);
  // Files the article in those of the groups that exist.
  AddResult Add(StoredArticle article, const std::vector<std::string>& groups);

  const Group* FindGroup(std::string_view name) const;
  const StoredArticle* FindById(std::string_view message_id) const;
  const std::map<std::string, Group, std::less<>>& groups() const { return groups_; }
  std::size_t size() const { return by_id_.size(); }

 private:
  std::map<std::string, Group, std::less<>> groups_;
  std::unordered_map<std::string, std::shared_ptr<const StoredArticle>> by_id_;
};

}  // namespace quillet::demo
