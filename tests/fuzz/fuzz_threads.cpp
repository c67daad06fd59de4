// SPDX-License-Identifier: GPL-3.0-or-later
// Heads of articles as a thread tree. The first byte chooses the preferences; then come heads, each
// ended by an empty line, with a byte in front for its number, source and flag. Its References are
// looked at whole unless the preferences say otherwise.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "mime/references.h"
#include "nntp/headers.h"
#include "tests/thread/tree_reference.h"
#include "thread/moves.h"

namespace {

using quillet::Node;
using quillet::ThreadOptions;
using quillet::testing::TestArticle;

constexpr std::size_t kMostHeads = 200;

void Require(bool holds) {
  if (!holds) std::abort();
}

TestArticle ArticleOf(std::string_view head, std::uint32_t chain, bool ancestors) {
  const auto byte = static_cast<unsigned char>(head.empty() ? 0 : head[0]);
  quillet::AsciiArticle article;
  article.headers = std::string(head.substr(head.empty() ? 0 : 1));
  quillet::ExtractHeaders(article, ancestors);
  return {*article.messageId,
          *article.parentId,
          *article.subject,
          (byte & 1) != 0 ? "<import>" : "news.example.org",
          *article.from,
          static_cast<std::int32_t>(static_cast<std::uint32_t>(byte >> 2) << 26),
          (byte & 2) != 0,
          chain,
          std::string(quillet::ReferencesField(*article.headers))};
}

std::vector<TestArticle> ArticlesOf(std::string_view heads, bool ancestors) {
  std::vector<TestArticle> articles;
  while (!heads.empty() && articles.size() < kMostHeads) {
    const std::size_t end = heads.find("\n\n");
    articles.push_back(ArticleOf(heads.substr(0, end),
                                 1000 - static_cast<std::uint32_t>(articles.size()), ancestors));
    heads = end == std::string_view::npos ? std::string_view() : heads.substr(end + 2);
  }
  return articles;
}

// Forwards, backwards, and what the index finds.
void CheckMoves(const quillet::ThreadTree& tree, std::size_t count) {
  std::size_t forwards = 0;
  Node* last = nullptr;
  for (Node* at = NextArticle(tree.root()); at != nullptr; at = NextArticle(*at)) {
    ++forwards;
    last = at;
    const Node* found = tree.FindNodeByMessageId(at->messageId);
    Require(at->messageId.empty() ? found == nullptr : found->messageId == at->messageId);
  }
  std::size_t backwards = 0;
  for (Node* at = last; at != nullptr; at = PreviousArticle(*at)) ++backwards;
  Require(forwards == count && backwards == count);
}

// Takes out one article after the other; the tree stays whole.
void TakeApart(quillet::ThreadTree& tree, std::size_t count) {
  while (Node* at = NextArticle(tree.root())) {
    Node* thread = ThreadOf(*at);
    tree.index().Remove(*at);
    ReplaceNodeByChildren(*at);
    if (thread->firstChild == nullptr) UnlinkNode(*thread);
    Require(quillet::testing::TreeFault(tree.root(), --count).empty());
  }
  Require(count == 0 && tree.root().firstChild == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const ThreadOptions options{(data[0] & 1) != 0, (data[0] & 2) != 0};
  const std::string heads(reinterpret_cast<const char*>(data) + 1, size - 1);
  const std::vector<TestArticle> articles = ArticlesOf(heads, (data[0] & 4) == 0);
  const auto tree = quillet::testing::BuildTree(articles, options);
  Require(quillet::testing::TreeFault(tree->root(), articles.size(), options).empty());
  Require(quillet::testing::TreeText(tree->root()) ==
          quillet::testing::ReferenceTree(articles, options));
  CheckMoves(*tree, articles.size());
  TakeApart(*tree, articles.size());
  return 0;
}
