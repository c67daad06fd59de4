// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree as its rules say it, one article linked after the other into sorted lists: slow
// and obvious, to compare the builder with. Also trees as text, and what holds in every tree.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "thread/builder.h"

namespace quillet::testing {

struct TestArticle {
  std::string id;
  std::string parent;
  std::string subject;
  std::string source;
  std::string from;
  std::int32_t number = 0;
  bool read = false;
  std::uint32_t chain = 0;
  // The value of its References with all lines; empty: it has none, and the parent counts.
  std::string references = {};
};

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

// Where an abort came: after how many articles at the top level were looked at for late parents,
// and after how many subject nodes equal subjects are not gathered any more.
struct ReferenceLimits {
  std::size_t late = kNoLimit;
  std::size_t merge = kNoLimit;
};

// One line a node in pre-order: depth, kind, texts, numbers, counts.
std::string ReferenceTree(const std::vector<TestArticle>& newest_first,
                          const ThreadOptions& options, const ReferenceLimits& limits = {});
std::string TreeText(const Node& root);

// Empty, or what is wrong with the tree: links, counts, flags, kinds by level, items; `articles`:
// how many must be in it.
std::string TreeFault(const Node& root, std::size_t articles);
// And the order of replies and, without threading, of all.
std::string TreeFault(const Node& root, std::size_t articles, const ThreadOptions& options);

ThreadEntry EntryOf(const TestArticle& article);
// The tree of these articles; every step of progress and every poll as given.
std::unique_ptr<ThreadTree> BuildTree(const std::vector<TestArticle>& newest_first,
                                      const ThreadOptions& options,
                                      const BuildProgress& progress = {},
                                      const BuildAborted& aborted = {});

}  // namespace quillet::testing
