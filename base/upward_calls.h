// SPDX-License-Identifier: GPL-3.0-or-later
// Calls into what stands above the caller's folder, where a posted message would come too late: the
// caller goes on when the work is done. One record, filled by app/ when the program starts; a
// member is null while nobody has filled it. Program thread only.
#pragma once

#include <optional>
#include <string_view>

#include "base/run_end.h"
#include "base/subscriptions.h"

namespace quillet {

struct Node;

// Pages of the preferences by their place, counted from 1; kLastShown is where the user was last.
enum class PreferencesPage { kLastShown = 0, kServer = 1, kConnection = 2 };

struct ShownTreeCalls {
  // The group whose tree is shown.
  std::optional<GroupIndex> (*group)() = nullptr;
  // Deletes every read article of the shown tree, as its own delete command does, with progress and
  // abort, and fills the tree control anew; tells what ended it. Nothing, and nothing is done, when
  // the tree does not show what the store holds.
  std::optional<RunEnd> (*delete_read)() = nullptr;
  // Empties the thread view and, when its article belonged to that tree, the article view.
  void (*clear)() = nullptr;
};

struct ArticleViewCalls {
  // Opens the article of a node with the hits of a search text (empty: none); a null node clears
  // the view and returns to the thread list.
  void (*display)(Node* node, std::u16string_view search_text) = nullptr;
  // Empties the article view and forgets its article.
  void (*clear)() = nullptr;
};

struct GroupListCalls {
  // The counts of all groups, as they are now.
  void (*show_counts)() = nullptr;
  // What a connection has brought, for the line below the list; empty: nothing is to be said. It is
  // shown with the next look at the counts.
  void (*tell_result)(std::u16string_view text) = nullptr;
};

struct UpwardCalls {
  ShownTreeCalls shown_tree;
  ArticleViewCalls article_view;
  GroupListCalls group_list;
  void (*open_preferences)(PreferencesPage page) = nullptr;
  // Whether an editor is open with that queued post.
  bool (*is_being_edited)(std::string_view post_key) = nullptr;
};
extern UpwardCalls gUpwardCalls;

// The calls as they are made: each does nothing while its member is null.
namespace up {

std::optional<GroupIndex> GroupOfShownTree();   // then nothing
std::optional<RunEnd> DeleteReadOfShownTree();  // likewise
void ClearThreadView();
bool DisplayArticle(Node* node, std::u16string_view search_text);  // then false
void ClearArticleView();
void ShowGroupCounts();
void TellResultOfRun(std::u16string_view text);
void OpenPreferences(PreferencesPage page);
bool IsBeingEdited(std::string_view post_key);  // then false

}  // namespace up
}  // namespace quillet
