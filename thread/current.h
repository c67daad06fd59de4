// What is being read: the current group, its tree, the current article. Program thread only.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "store/records.h"
#include "thread/thread_tree.h"

namespace quillet {

// The current group by its index in the group list, -1 for none.
extern int gCurrentGroup;

// The current thread tree and the index of its group; null and -1 when none is shown. Every node
// pointer ends with the tree.
extern std::unique_ptr<ThreadTree> gThreadTree;
extern int gThreadGroup;

// The article of the article view, or null. Its `node` is null or a node of gThreadTree.
extern std::unique_ptr<AsciiArticle> gCurrentArticle;

// After nodes were marked: the current article is read as its node is.
void BringCurrentArticleInStep();

// The view-wide choices of the Find dialog; kept while the program runs.
struct FindChoices {
  std::u16string text;  // the last search text
  bool match_case = false;
  bool whole_word = false;
  bool in_headers = false;
};
extern FindChoices gFind;

// What the thread view needs of the article view, which stands above it. Set by the article view;
// a member is null while there is none.
struct ArticleViewHooks {
  // DisplayArticle: opens the article of a node with the hits of a search text (empty: none); a
  // null node clears the view and returns to the thread list.
  void (*display)(Node* node, std::u16string_view search_text) = nullptr;
  // ClearCurrentArticle.
  void (*clear)() = nullptr;
};
extern ArticleViewHooks gArticleView;

}  // namespace quillet
