// SPDX-License-Identifier: GPL-3.0-or-later
// What must be in a store after a writer was killed: follows the writer's log and compares with
// what an independent reader found.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tests/kill/deeds.h"
#include "tests/kill/store_reader.h"

namespace quillet {

inline constexpr std::string_view kKillGroups[] = {"comp.lang.misc", "alt.test", "a.b"};
inline constexpr int kKillGroupCount = 3;

std::string KillIdOf(std::uint32_t number);
std::string KillBodyOf(std::uint32_t number);
// The kept head lines; empty when heads are not kept.
std::string KillHeadersOf(std::uint32_t group, bool kept);
std::string KillPostIdOf(std::uint32_t number);

class ExpectedStore {
 public:
  enum class State : std::uint8_t {
    kAbsent,
    kStored,
    kUndecided,  // a store or a deletion was under way
    kDeleted,    // since the store was whole the last time
  };
  enum class Flag : std::uint8_t { kUnread, kRead, kUndecided };
  struct Article {
    std::uint8_t group = 0;
    State state = State::kAbsent;
    Flag flag = Flag::kUnread;
  };

  explicit ExpectedStore(bool headers_kept) : headers_kept_(headers_kept) {}

  void Apply(const Entry& entry);
  // One line for each thing that may not be. Articles that are on the list of lost ones are not
  // missing, unless `nothing_lost`.
  std::vector<std::string> Differences(const FoundStore& found, bool nothing_lost) const;
  // From now on what was found is what is expected.
  void Settle(const FoundStore& found);

  const std::map<std::uint32_t, Article>& articles() const { return articles_; }
  const std::map<std::uint32_t, State>& posts() const { return posts_; }
  std::uint32_t next_article() const { return next_article_; }
  std::uint32_t next_post() const { return next_post_; }
  bool headers_kept() const { return headers_kept_; }

 private:
  void DeleteIn(std::uint8_t group, bool only_read, bool done);
  void SetWhole();
  void CompareArticles(const FoundStore& found, bool nothing_lost,
                       std::vector<std::string>& lines) const;
  void ComparePosts(const FoundStore& found, std::vector<std::string>& lines) const;

  bool headers_kept_;
  std::map<std::uint32_t, Article> articles_;
  std::map<std::uint32_t, State> posts_;
  std::uint32_t next_article_ = 1;
  std::uint32_t next_post_ = 1;
};

}  // namespace quillet
