// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/article_files.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>
#include <utility>

#include "demo/article_generator.h"
#include "demo/article_text.h"

namespace quillet::demo {
namespace {

std::optional<std::string> ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  std::string text(std::istreambuf_iterator<char>(file), {});
  return file.bad() ? std::nullopt : std::optional<std::string>(std::move(text));
}

bool LoadGroups(const std::filesystem::path& path, NewsStore& store) {
  const std::optional<std::string> text = ReadFile(path);
  if (!text) return false;
  for (const std::string& line : SplitLines(*text)) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    if (blank > 0) {
      store.AddGroup(line.substr(0, blank), line.substr(std::min(blank + 1, line.size())));
    }
  }
  return true;
}

bool LoadArticle(const std::filesystem::path& path, NewsStore& store, std::string& problem) {
  const std::optional<std::string> text = ReadFile(path);
  problem = "cannot be read";
  if (!text) return false;
  std::optional<ParsedArticle> parsed = ParseArticleLines(SplitLines(*text), problem);
  if (!parsed) return false;
  const AddResult result = store.Add(std::move(parsed->article), parsed->groups);
  problem = result == AddResult::kDuplicate ? "Message-ID used before" : "names no group here";
  return result == AddResult::kAdded;
}

}  // namespace

bool LoadArticles(const std::string& folder, NewsStore& store, std::string& problem) {
  if (!LoadGroups(std::filesystem::path(folder) / "groups", store)) {
    problem = folder + "/groups cannot be read";
    return false;
  }
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    if (it->path().extension() == ".article") files.push_back(it->path());
  }
  std::sort(files.begin(), files.end());
  for (const std::filesystem::path& file : files) {
    if (LoadArticle(file, store, problem)) continue;
    problem.insert(0, file.filename().string() + ": ");
    return false;
  }
  return true;
}

const std::vector<std::string>& GeneratedGroups() {
  static const std::vector<std::string> groups = {"bench.alpha", "bench.beta", "bench.gamma"};
  return groups;
}

void FillWithGenerated(std::uint64_t count, std::uint64_t seed,
                       const std::vector<std::string>& groups, NewsStore& store) {
  for (const std::string& group : groups) store.AddGroup(group, "Generated articles");
  ArticleGenerator generator({.seed = seed, .groups = groups});
  for (std::uint64_t i = 0; i < count; ++i) {
    const GeneratedArticle made = generator.Next();
    store.Add({made.message_id, WireText(made.head), WireText(made.body)}, made.groups);
  }
}

}  // namespace quillet::demo
