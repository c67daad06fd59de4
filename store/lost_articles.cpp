// SPDX-License-Identifier: GPL-3.0-or-later
// The list in memory and its file: a line an article, "ID GROUP GROUP...". Bytes that would end a
// word or a line are written as "%" and two hexadecimal digits. The file is replaced whole, so a
// long list is written after every so many articles that came, not after each.
#include "store/lost_articles.h"

#include <algorithm>
#include <optional>
#include <unordered_map>

#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/chains.h"
#include "store/database_files.h"
#include "store/device_path.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::uint64_t kLongestFile = 16 << 20;
constexpr int kForgottenAtOnce = 50;
constexpr std::string_view kHexDigits = "0123456789abcdef";

struct LostList {
  std::u16string path;  // of the file; empty: not read yet
  std::vector<LostArticle> articles;
  int forgotten = 0;  // since the file was written
};

LostList gList;

const ResetAtEnd kReset([] { gList = {}; });

std::u16string ListPath() {
  return PathIn(gDatabaseFolder, kLostArticlesName);
}

LostList& List() {
  std::u16string path = ListPath();
  if (gList.path != path) {
    const auto text = gPlatform->files.ReadFile(path, kLongestFile);
    gList = {std::move(path), ParseLostArticles(text.value_or("")), 0};
  }
  return gList;
}

bool Write(const std::vector<LostArticle>& articles) {
  const std::u16string path = ListPath();
  if (!articles.empty()) {
    return gPlatform->files.WriteFile(path, SerializeLostArticles(articles));
  }
  return gPlatform->files.Delete(path) || !gPlatform->files.FileSize(path);
}

bool NeedsEscape(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte <= 0x20 || byte == 0x7F || c == '%';
}

void AppendWord(std::string& text, std::string_view word) {
  for (const char c : word) {
    if (!NeedsEscape(c)) {
      text.push_back(c);
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    text.push_back('%');
    text.push_back(kHexDigits[byte >> 4]);
    text.push_back(kHexDigits[byte & 15]);
  }
}

// Nothing for a word that AppendWord does not write.
std::optional<std::string> TakeWord(std::string_view word) {
  std::string text;
  while (!word.empty()) {
    if (word[0] != '%') {
      if (NeedsEscape(word[0])) return std::nullopt;
      text.push_back(word[0]);
      word.remove_prefix(1);
      continue;
    }
    if (word.size() < 3) return std::nullopt;
    const std::size_t high = kHexDigits.find(word[1]);
    const std::size_t low = kHexDigits.find(word[2]);
    if (high == kHexDigits.npos || low == kHexDigits.npos) return std::nullopt;
    text.push_back(static_cast<char>(high << 4 | low));
    // No Message-ID and no group has a NUL in it.
    if (text.back() == '\0') return std::nullopt;
    word.remove_prefix(3);
  }
  if (text.empty()) return std::nullopt;
  return text;
}

// Takes what stands before the separator out of `text`.
std::string_view Cut(std::string_view& text, char separator) {
  const std::size_t end = std::min(text.find(separator), text.size());
  const std::string_view piece = text.substr(0, end);
  text.remove_prefix(std::min(end + 1, text.size()));
  return piece;
}

std::optional<LostArticle> TakeLine(std::string_view line) {
  auto id = TakeWord(Cut(line, ' '));
  if (!id) return std::nullopt;
  LostArticle article{*std::move(id), {}};
  while (!line.empty()) {
    auto group = TakeWord(Cut(line, ' '));
    if (!group) return std::nullopt;
    article.groups.push_back(*std::move(group));
  }
  return article;
}

void AddGroups(LostArticle& article, const std::vector<std::string>& groups) {
  for (const std::string& group : groups) {
    if (std::find(article.groups.begin(), article.groups.end(), group) == article.groups.end()) {
      article.groups.push_back(group);
    }
  }
}

// Every id once, with the groups of all its entries.
void Merge(std::vector<LostArticle>& articles, const std::vector<LostArticle>& more) {
  std::unordered_map<std::string, std::size_t> places;
  for (std::size_t i = 0; i < articles.size(); ++i) places.emplace(articles[i].message_id, i);
  for (const LostArticle& article : more) {
    if (article.message_id.empty()) continue;
    const auto [place, is_new] = places.emplace(article.message_id, articles.size());
    if (!is_new) {
      AddGroups(articles[place->second], article.groups);
    } else if (articles.size() < kMostLostArticles) {
      articles.push_back(article);
    } else {
      places.erase(place);
    }
  }
}

// The value of the "Newsgroups:" line with what continues it.
std::string NewsgroupsLine(std::string_view head) {
  constexpr std::string_view kName = "Newsgroups:";
  std::string value;
  bool found = false;
  while (!head.empty()) {
    std::string_view line = Cut(head, '\n');
    if (found) {
      if (line.empty() || (line[0] != ' ' && line[0] != '\t')) break;
    } else {
      if (!StartsWithNoCase(line, kName)) continue;
      line.remove_prefix(kName.size());
      found = true;
    }
    value.append(line);
  }
  return value;
}

}  // namespace

std::vector<LostArticle> LostArticles() {
  return List().articles;
}

bool AddLostArticles(const std::vector<LostArticle>& articles) {
  std::vector<LostArticle> merged = List().articles;
  Merge(merged, articles);
  if (!Write(merged)) return false;
  gList.articles = std::move(merged);
  gList.forgotten = 0;
  return true;
}

bool ForgetLostArticle(const std::string& message_id) {
  std::vector<LostArticle>& articles = List().articles;
  const auto found =
      std::find_if(articles.begin(), articles.end(),
                   [&](const LostArticle& article) { return article.message_id == message_id; });
  if (found == articles.end()) return false;
  articles.erase(found);
  if (++gList.forgotten >= kForgottenAtOnce || articles.empty()) WriteLostArticles();
  return true;
}

bool WriteLostArticles() {
  if (gList.forgotten == 0 || gList.path != ListPath()) return true;
  if (!Write(gList.articles)) return false;
  gList.forgotten = 0;
  return true;
}

void ReleaseLostArticles() {
  gList = {};
}

std::vector<std::string> GroupsOfHead(std::string_view head) {
  std::vector<std::string> groups;
  if (!gPrefs) return groups;
  const std::string line = NewsgroupsLine(head);
  for (const std::u16string& group : gPrefs->groups) {
    std::string subscribed = NarrowGroupName(group);
    for (std::string_view rest = line; !rest.empty();) {
      std::string_view name = Cut(rest, ',');
      const auto is_blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
      while (!name.empty() && is_blank(name.front())) name.remove_prefix(1);
      while (!name.empty() && is_blank(name.back())) name.remove_suffix(1);
      if (name != subscribed) continue;
      groups.push_back(std::move(subscribed));
      break;
    }
  }
  return groups;
}

std::string SerializeLostArticles(const std::vector<LostArticle>& articles) {
  std::string text;
  for (const LostArticle& article : articles) {
    AppendWord(text, article.message_id);
    for (const std::string& group : article.groups) {
      text.push_back(' ');
      AppendWord(text, group);
    }
    text.push_back('\n');
  }
  return text;
}

std::vector<LostArticle> ParseLostArticles(std::string_view text) {
  std::vector<LostArticle> articles;
  while (!text.empty()) {
    if (auto article = TakeLine(Cut(text, '\n'))) articles.push_back(*std::move(article));
  }
  std::vector<LostArticle> merged;
  Merge(merged, articles);
  return merged;
}

}  // namespace quillet
