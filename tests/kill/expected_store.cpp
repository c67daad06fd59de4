// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/kill/expected_store.h"

#include <algorithm>

namespace quillet {
namespace {

using State = ExpectedStore::State;
using Flag = ExpectedStore::Flag;

std::string Name(std::uint32_t number) {
  return "article " + std::to_string(number);
}

bool OnChain(const FoundStore& found, std::uint8_t group, const std::string& id) {
  const auto chain = found.chains.find(std::string(kKillGroups[group]));
  if (chain == found.chains.end()) return false;
  return std::any_of(chain->second.begin(), chain->second.end(),
                     [&id](const FoundChainRecord& record) { return record.message_id == id; });
}

bool OnLostList(const FoundStore& found, std::uint8_t group, const std::string& id) {
  const auto lost = found.lost.find(id);
  if (lost == found.lost.end()) return false;
  return lost->second.empty() || lost->second.count(std::string(kKillGroups[group])) != 0;
}

Flag FlagOf(bool read) {
  return read ? Flag::kRead : Flag::kUnread;
}

// The number in "<12@kill.example>".
std::uint32_t NumberIn(const std::string& id) {
  return id.size() > 1 ? static_cast<std::uint32_t>(std::strtoul(id.c_str() + 1, nullptr, 10)) : 0;
}

}  // namespace

std::string KillIdOf(std::uint32_t number) {
  return "<" + std::to_string(number) + "@kill.example>";
}

std::string KillBodyOf(std::uint32_t number) {
  return std::string(50 + number * 7919U % 3000, static_cast<char>('a' + number % 26));
}

std::string KillHeadersOf(std::uint32_t group, bool kept) {
  if (!kept) return {};
  return "Path: news.example!not-for-mail\r\nNewsgroups: " + std::string(kKillGroups[group]) +
         "\r\nLines: 3";
}

std::string KillPostIdOf(std::uint32_t number) {
  return "<" + std::to_string(number) + "@post.example>";
}

void ExpectedStore::Apply(const Entry& entry) {
  switch (entry.deed) {
    case Deed::kStore:
      articles_[entry.number] = {entry.detail, entry.done ? State::kStored : State::kUndecided,
                                 Flag::kUnread};
      next_article_ = std::max(next_article_, entry.number + 1);
      break;
    case Deed::kDelete:
      articles_[entry.number].state = entry.done ? State::kDeleted : State::kUndecided;
      break;
    case Deed::kMark:
      articles_[entry.number].flag = entry.done ? FlagOf(entry.detail != 0) : Flag::kUndecided;
      break;
    case Deed::kDeleteRead:
    case Deed::kDeleteAll:
      DeleteIn(entry.detail, entry.deed == Deed::kDeleteRead, entry.done);
      break;
    case Deed::kEmpty:
      for (std::uint8_t group = 0; group < kKillGroupCount; ++group) {
        DeleteIn(group, false, entry.done);
      }
      break;
    case Deed::kPurge:
      for (std::uint8_t group = 0; group < kKillGroupCount; ++group) {
        DeleteIn(group, false, entry.done);
      }
      for (auto& [number, state] : posts_) {
        if (state == State::kStored) state = entry.done ? State::kDeleted : State::kUndecided;
      }
      break;
    case Deed::kPost:
      posts_[entry.number] = entry.done ? State::kStored : State::kUndecided;
      next_post_ = std::max(next_post_, entry.number + 1);
      break;
    case Deed::kUnpost:
      posts_[entry.number] = entry.done ? State::kDeleted : State::kUndecided;
      break;
    case Deed::kOpen:
    case Deed::kWhole:
    case Deed::kCompact:
    case Deed::kConvert:
    case Deed::kCompress:
    case Deed::kUncompress:
      if (entry.done) SetWhole();
      break;
  }
}

void ExpectedStore::DeleteIn(std::uint8_t group, bool only_read, bool done) {
  for (auto& [number, article] : articles_) {
    if (article.group != group || article.state != State::kStored) continue;
    if (only_read && article.flag != Flag::kRead) continue;
    article.state = done ? State::kDeleted : State::kUndecided;
  }
}

void ExpectedStore::SetWhole() {
  for (auto& [number, article] : articles_) {
    if (article.state == State::kDeleted) article.state = State::kAbsent;
  }
}

std::vector<std::string> ExpectedStore::Differences(const FoundStore& found,
                                                    bool nothing_lost) const {
  std::vector<std::string> lines = found.faults;
  CompareArticles(found, nothing_lost, lines);
  ComparePosts(found, lines);
  for (const std::string_view group : kKillGroups) {
    if (found.counts.count(std::string(group)) == 0) {
      lines.push_back(std::string(group) + " has no counts");
    }
  }
  return lines;
}

void ExpectedStore::CompareArticles(const FoundStore& found, bool nothing_lost,
                                    std::vector<std::string>& lines) const {
  for (const auto& [number, article] : articles_) {
    const std::string id = KillIdOf(number);
    const auto stored = found.articles.find(id);
    if (stored == found.articles.end()) {
      if (article.state != State::kStored) continue;
      if (nothing_lost || !OnLostList(found, article.group, id)) {
        lines.push_back(Name(number) + " is missing");
      }
      continue;
    }
    const FoundArticle& is = stored->second;
    if (article.state == State::kAbsent) lines.push_back(Name(number) + " has come back");
    if (!OnChain(found, article.group, id)) lines.push_back(Name(number) + " left its group");
    if (is.body != KillBodyOf(number) || is.number != number ||
        is.headers != KillHeadersOf(article.group, headers_kept_)) {
      lines.push_back(Name(number) + " has another text");
    }
    if (article.flag != Flag::kUndecided && article.flag != FlagOf(is.read)) {
      lines.push_back(Name(number) + (is.read ? " is read" : " is unread"));
    }
  }
  for (const auto& [id, stored] : found.articles) {
    if (articles_.count(NumberIn(id)) == 0) lines.push_back(id + " was never stored");
  }
  for (const auto& [id, groups] : found.lost) {
    const auto expected = articles_.find(NumberIn(id));
    if (nothing_lost || expected == articles_.end() || expected->second.state == State::kAbsent) {
      lines.push_back(id + " is on the list of lost articles");
    }
  }
}

void ExpectedStore::ComparePosts(const FoundStore& found, std::vector<std::string>& lines) const {
  for (const auto& [number, state] : posts_) {
    const auto post = found.posts.find(KillPostIdOf(number));
    if (post == found.posts.end() && state == State::kStored) {
      lines.push_back("post " + std::to_string(number) + " is missing");
    }
    if (post == found.posts.end()) continue;
    if (state == State::kAbsent) lines.push_back("post " + std::to_string(number) + " came back");
    if (post->second.body != KillBodyOf(number)) {
      lines.push_back("post " + std::to_string(number) + " has another text");
    }
  }
}

void ExpectedStore::Settle(const FoundStore& found) {
  for (auto& [number, article] : articles_) {
    const auto stored = found.articles.find(KillIdOf(number));
    article.state = stored == found.articles.end() ? State::kAbsent : State::kStored;
    if (stored != found.articles.end()) article.flag = FlagOf(stored->second.read);
  }
  for (auto& [number, state] : posts_) {
    state = found.posts.count(KillPostIdOf(number)) != 0 ? State::kStored : State::kAbsent;
  }
}

}  // namespace quillet
