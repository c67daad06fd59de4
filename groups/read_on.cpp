// SPDX-License-Identifier: GPL-3.0-or-later
// What was left unread is kept by group and Message-ID, so that going on always advances: an
// article without a body never becomes read. A group in which nothing else was found is not looked
// through again while its count of unread articles is the same.
#include "groups/read_on.h"

#include <map>
#include <set>
#include <string>
#include <string_view>

#include "article/view.h"
#include "base/changes.h"
#include "base/extensions.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "groups/group_list.h"
#include "port/article_panes.h"
#include "port/platform.h"
#include "port/windows.h"
#include "store/counts.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "thread/view.h"

namespace quillet {
namespace {

struct LeftUnread {
  std::set<std::string, std::less<>> ids;
  std::uint32_t exhausted_at = 0;  // nothing else was found among so many unread ones
};

struct Passed {
  std::map<std::u16string, LeftUnread> groups;  // by name: the index changes with the list
  SeenChanges store{Change::kStore};
};
Passed gPassed;

const ResetAtEnd kReset([] { gPassed = {}; });

bool ReadsOn() {
  return gPrefs && ReadExtensions().readon != 0;
}

LeftUnread& LeftIn(GroupIndex group) {
  return gPassed.groups[gPrefs->groups[IndexOf(group)]];
}

std::uint32_t UnreadIn(GroupIndex group) {
  const std::size_t index = IndexOf(group);
  if (index >= gReadInfo.size()) return 0;
  const ReadInfo& info = *gReadInfo[index];
  return info.totalCount > info.readCount ? info.totalCount - info.readCount : 0;
}

bool TreeIsOfGroup() {
  return gReading.tree && gReading.tree_group == gReading.group && IsInList(gReading.group);
}

// An article that is unread still when the user goes on is left so.
void NoteLeftUnread() {
  const AsciiArticle* article = gReading.article.get();
  if (article == nullptr || article->node == nullptr || article->node->read != 0) return;
  if (IsInList(gReading.tree_group)) {
    LeftIn(*gReading.tree_group).ids.emplace(article->node->messageId);
  }
}

// --- in the tree ---------------------------------------------------------------------------------

bool IsWanted(const Node& node, const LeftUnread& left) {
  return node.kind == NodeKind::kArticle && node.read == 0 && !node.messageId.empty() &&
         !left.ids.contains(node.messageId);
}

// From behind `from`, then from the top; `from` itself comes last, if it is wanted.
Node* NextWanted(Node& root, Node* from, const LeftUnread& left) {
  for (Node* node = NextNode(from != nullptr ? *from : root); node != nullptr;
       node = NextNode(*node)) {
    if (IsWanted(*node, left)) return node;
  }
  if (from == nullptr) return nullptr;
  for (Node* node = NextNode(root); node != nullptr; node = NextNode(*node)) {
    if (IsWanted(*node, left)) return node;
    if (node == from) return nullptr;
  }
  return nullptr;
}

Node* PlaceInTree() {
  if (gPlatform->windows.SelectedTab() == port::kThreadTab) return SelectedNode();
  return gReading.article ? gReading.article->node : nullptr;
}

void Rebuild() {
  const std::size_t index = IndexOf(gReading.group);
  BuildThreadList(*gReading.group, index < gReadInfo.size() ? gReadInfo[index]->totalCount : 0);
}

// What the store does not have any more is said to be so, and passed from then on.
void Open(Node& node) {
  const std::string id(node.messageId);
  DisplayArticle(&node, u"");
  if (!gReading.article && IsInList(gReading.tree_group))
    LeftIn(*gReading.tree_group).ids.insert(id);
}

bool OpenNextInTree() {
  if (!TreeIsOfGroup()) return false;
  // Nodes that may not stand for what the store holds are not looked at.
  if (gReading.tree_state.OutOfDate()) Rebuild();
  if (!TreeIsOfGroup()) return false;
  Node* next = NextWanted(gReading.tree->root(), PlaceInTree(), LeftIn(*gReading.group));
  if (next == nullptr && gReading.rebuild_pending) {  // what was built is not all
    Rebuild();
    if (!TreeIsOfGroup()) return false;
    next = NextWanted(gReading.tree->root(), PlaceInTree(), LeftIn(*gReading.group));
  }
  if (next != nullptr) {
    Open(*next);
    return true;
  }
  if (!gReading.rebuild_pending) LeftIn(*gReading.group).exhausted_at = UnreadIn(*gReading.group);
  return false;
}

// --- in the other groups -------------------------------------------------------------------------

bool MayHaveMore(GroupIndex group) {
  const std::uint32_t unread = UnreadIn(group);
  return IsChecked(*gPrefs, group) && unread != 0 && unread != LeftIn(group).exhausted_at;
}

// The next ticked group after the current one, which itself is not looked at again.
std::optional<GroupIndex> NextGroup() {
  const std::size_t groups = gPrefs->numgroups;
  const bool listed = IsInList(gReading.group);
  const std::size_t first = listed ? IndexOf(gReading.group) + 1 : 0;
  for (std::size_t i = 0; i + (listed ? 1 : 0) < groups; ++i) {
    const GroupIndex group = GroupAt((first + i) % groups);
    if (MayHaveMore(group)) return group;
  }
  return std::nullopt;
}

// Each group in turn until an article is opened. One whose count was wrong has the right one after
// it was built; a build that the user cancels ends the search.
bool OpenNextInGroups() {
  for (std::size_t i = 0; i < gPrefs->numgroups; ++i) {
    const std::optional<GroupIndex> group = NextGroup();
    if (!group) return false;
    ShowGroup(*group);
    if (OpenNextInTree()) return true;
    if (gReading.rebuild_pending || !TreeIsOfGroup()) return true;
  }
  return false;
}

// --- what the user does --------------------------------------------------------------------------

bool NothingIsUnread() {
  for (std::size_t i = 0; i < gPrefs->numgroups; ++i) {
    const bool looked_at = IsChecked(*gPrefs, GroupAt(i)) || gReading.group == GroupAt(i);
    if (looked_at && UnreadIn(GroupAt(i)) != 0) return false;
  }
  return true;
}

// Where the user looks, and in nobody's way.
void TellThatAllIsRead() {
  const std::u16string_view text =
      NothingIsUnread() ? u"All articles are read." : u"All other articles are read.";
  if (gPlatform->windows.SelectedTab() == port::kArticleTab) {
    gPlatform->article.SetNotice(text);
  } else {
    gPlatform->thread_tree.SetCaption(text);
  }
}

void PageOn() {
  if (!gPlatform->article.ScrollViewer(port::ScrollStep::kPageDown)) NextUnread();
}

void PageBack() {
  gPlatform->article.SetNotice({});
  gPlatform->article.ScrollViewer(port::ScrollStep::kPageUp);
}

}  // namespace

void NextUnread() {
  if (!ReadsOn() || gPlatform->windows.SelectedTab() == port::kGroupTab) return;
  if (gPassed.store.OutOfDate()) gPassed = {};
  NoteLeftUnread();
  if (!OpenNextInTree() && !OpenNextInGroups()) TellThatAllIsRead();
}

void HandleReadingKey(std::uint32_t virtual_key, std::uint32_t modifiers) {
  if (!ReadsOn()) return;
  const bool in_article = gPlatform->windows.SelectedTab() == port::kArticleTab;
  if (virtual_key == 'N' && modifiers == 0) return NextUnread();
  if (virtual_key != port::kKeySpace || !in_article) return;
  if (modifiers == 0) PageOn();
  if (modifiers == port::kModifierShift) PageBack();
}

}  // namespace quillet
