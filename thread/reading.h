// SPDX-License-Identifier: GPL-3.0-or-later
// What is being read: the current group, its tree, the current article. Program thread only.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/changes.h"
#include "base/subscriptions.h"
#include "store/records.h"
#include "thread/thread_tree.h"

namespace quillet {

// The view-wide choices of the Find dialog; kept while the program runs.
struct FindChoices {
  std::u16string text;  // the last search text
  bool match_case = false;
  bool whole_word = false;
  bool in_headers = false;
};

struct Reading {
  // The current group. Its place in the group list may have gone with the group.
  std::optional<GroupIndex> group;

  // The current thread tree and its group; neither is there when none is shown. Every node pointer
  // ends with the tree.
  std::unique_ptr<ThreadTree> tree;
  std::optional<GroupIndex> tree_group;
  // Out of date when the tree does not show what the store holds any more, or not in the order that
  // is wanted: it is built anew when it is shown next.
  SeenChanges tree_state{Change::kStore};
  // The build of the tree was ended before its time. What is in it can be used as it is, and it is
  // built anew when it is shown next.
  bool rebuild_pending = false;

  // The article of the article view, or null. Its `node` is null or a node of `tree`.
  std::unique_ptr<AsciiArticle> article;
  // The group it was opened from, by its name: the index of a group changes with the list.
  std::u16string article_group;

  FindChoices find;

  // Forgets the tree. The article stays, without a node.
  void ForgetTree();
  // Forgets the article. What its view shows stays: see up::ClearArticleView.
  void ForgetArticle();
  // Forgets group, tree and article. What the views show stays.
  void Leave();
};
extern Reading gReading;

// After nodes were marked: the current article is read as its node is.
void BringCurrentArticleInStep();

}  // namespace quillet
