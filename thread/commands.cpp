// SPDX-License-Identifier: GPL-3.0-or-later
// The commands of the thread view, from its menu, its keys and its context menu: tables of ids,
// what each command needs (a group, a tree of it) and what it does. A tree that is out of date is
// replaced before a command looks at its nodes.
#include "thread/commands.h"

#include <array>
#include <vector>

#include "base/app_messages.h"
#include "base/box_owner.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "killfile/entry_dialog.h"
#include "port/platform.h"
#include "port/pop_up_menus.h"
#include "res/resource.h"
#include "store/counts.h"
#include "store/deletion.h"
#include "thread/deletion.h"
#include "thread/marking.h"
#include "thread/moves.h"
#include "thread/search.h"
#include "thread/view.h"

namespace quillet {
namespace {

bool TreeShown() {
  return gReading.tree && gReading.tree_group == gReading.group && IsInList(gReading.group);
}

// Nothing is done with nodes that may not stand for what the store holds.
void ReplaceOutdatedTree() {
  if (gReading.tree_state.OutOfDate() && TreeShown()) ShowThreadView();
}

bool Open(Node* node) {
  Node* article = FirstArticleFrom(node);
  return article != nullptr && up::DisplayArticle(article, u"");
}

// --- Deleting ------------------------------------------------------------------------------------

void DeleteInCurrentGroup(bool only_read, std::u16string_view question) {
  if (!ConfirmAction(question, true)) return;
  DeleteArticlesOf(only_read, *gReading.group);
  if (gReading.tree_state.OutOfDate()) ShowThreadView();
  PostToMainWindow(kUserRefreshCounts);
}
void DeleteRead() {
  DeleteInCurrentGroup(true, u"Really delete all read articles?");
}
void DeleteAll() {
  DeleteInCurrentGroup(false, u"Really delete all articles?");
}

// The first article from the node on that the store still holds becomes the current one.
void MakeCurrent(Node* node) {
  up::ClearArticleView();
  for (; node != nullptr && !gReading.article; node = NextArticle(*node)) {
    if (node->messageId.empty()) continue;
    gReading.article = FetchArticle(node->messageId);
    if (!gReading.article) continue;
    gReading.article->node = node;
    gReading.article_group = gPrefs->groups[IndexOf(gReading.tree_group)];
  }
  ShowThreadView();
}

void DeleteSelected(Node* (*remove)(Node&), std::u16string_view question) {
  Node* node = SelectedNode();
  if (node != nullptr && ConfirmAction(question, true)) MakeCurrent(remove(*node));
}
void DeleteSelectedArticle() {
  DeleteSelected(DeleteArticleNode, u"Really delete selected article?");
}
void DeleteSelectedThread() {
  DeleteSelected(DeleteThreadNode, u"Really delete selected thread?");
}

// --- Marking -------------------------------------------------------------------------------------

void MarkAllRead() {
  MarkNode(gReading.tree->root(), true);
}
void MarkAllUnread() {
  MarkNode(gReading.tree->root(), false);
}
void MarkSelected(bool read) {
  if (Node* node = SelectedNode()) MarkNode(*node, read);
}
void MarkSelectedRead() {
  MarkSelected(true);
}
void MarkSelectedUnread() {
  MarkSelected(false);
}

void SetDownloadPosition(ServerIndex server, bool read) {
  if (const auto progress = Progress(*gPrefs, server, *gReading.group)) {
    progress->downloaded = read ? progress->on_server : 0;
  }
}

void MarkServer(bool read, std::u16string_view caption, std::u16string_view question) {
  const int answer =
      ShowBox(CurrentBoxOwner(), caption, question, {port::BoxButtons::kYesNoCancel});
  if (answer == port::kIdYes) {
    for (std::size_t server = 0; server < gPrefs->numservers; ++server) {
      SetDownloadPosition(ServerAt(server), read);
    }
  } else if (answer == port::kIdNo) {
    SetDownloadPosition(CountingServer(*gPrefs), read);
  }
  ShowThreadCaption();
}
void MarkServerRead() {
  MarkServer(true, u"Mark Server Read", u"Catch up to all news servers for this group?");
}
void MarkServerUnread() {
  MarkServer(false, u"Mark Server Unread", u"Reset all news server counts for this group?");
}

// --- The rest ------------------------------------------------------------------------------------

void AddGroupToKillfile() {
  OpenKillfileEntryDialog(gReading.group, "", "");
}

// A node has the author and the subject of its article.
void AddSelectedToKillfile() {
  const Node* node = SelectedNode();
  if (node != nullptr) OpenKillfileEntryDialog(gReading.group, node->from, node->subject);
}

void Find() {
  if (AskFindChoices()) SearchAndShow(gReading.article ? gReading.article->node : nullptr);
}

void Rethread() {
  const std::size_t index = IndexOf(gReading.group);
  BuildThreadList(*gReading.group, index < gReadInfo.size() ? gReadInfo[index]->totalCount : 0);
}

enum class Needs { kNothing, kGroup, kTree };

struct ThreadCommand {
  std::uint32_t id;
  Needs needs;
  void (*run)();
};

// Of the context menu alone: what the menu's commands do to the whole tree, these do to the node.
constexpr std::uint32_t kMarkNodeRead = 1;
constexpr std::uint32_t kMarkNodeUnread = 2;
constexpr std::uint32_t kAddNodeToKillfile = 3;

constexpr auto kContextCommands = std::to_array<ThreadCommand>({
    {kCommandDeleteSelectedArticle, Needs::kTree, DeleteSelectedArticle},
    {kCommandDeleteThread, Needs::kTree, DeleteSelectedThread},
    {kMarkNodeRead, Needs::kTree, MarkSelectedRead},
    {kMarkNodeUnread, Needs::kTree, MarkSelectedUnread},
    {kAddNodeToKillfile, Needs::kTree, AddSelectedToKillfile},
});

constexpr auto kCommands = std::to_array<ThreadCommand>({
    {kCommandDeleteRead, Needs::kGroup, DeleteRead},
    {kCommandDeleteAll, Needs::kGroup, DeleteAll},
    {kCommandMarkRead, Needs::kTree, MarkAllRead},
    {kCommandMarkUnread, Needs::kTree, MarkAllUnread},
    {kCommandServerRead, Needs::kGroup, MarkServerRead},
    {kCommandServerUnread, Needs::kGroup, MarkServerUnread},
    {kCommandDeleteSelectedArticle, Needs::kTree, DeleteSelectedArticle},
    {kCommandDeleteThread, Needs::kTree, DeleteSelectedThread},
    {kCommandFind, Needs::kTree, Find},
    {kCommandAddToKillfile, Needs::kNothing, AddGroupToKillfile},
    {kCommandRethread, Needs::kGroup, Rethread},
});

bool Has(Needs needs) {
  if (needs == Needs::kTree) return TreeShown();
  return needs == Needs::kNothing || IsInList(gReading.group);
}

template <std::size_t kCount>
void Run(const std::array<ThreadCommand, kCount>& commands, std::uint32_t id) {
  for (const ThreadCommand& command : commands) {
    if (command.id != id) continue;
    if (command.needs != Needs::kNothing) ReplaceOutdatedTree();
    if (Has(command.needs)) command.run();
  }
}

std::vector<port::PopUpEntry> ContextMenu(const Node& node) {
  if (node.kind == NodeKind::kArticle) {
    return {{kCommandDeleteSelectedArticle, u"Delete Article"},
            {kCommandDeleteThread, u"Delete Thread"},
            {kMarkNodeRead, u"Mark Read"},
            {kMarkNodeUnread, u"Mark Unread"},
            {kAddNodeToKillfile, u"Add To Killfile"}};
  }
  return {{kCommandDeleteSelectedArticle, u"Delete Article"},
          {kCommandDeleteThread, u"Delete Thread"},
          {kMarkNodeRead, u"Mark Thread Read"},
          {kMarkNodeUnread, u"Mark Thread Unread"}};
}

}  // namespace

bool OpenSelectedNode() {
  ReplaceOutdatedTree();
  return Open(SelectedNode());
}

void HandleThreadItemActivated(port::TreeItem item) {
  ReplaceOutdatedTree();
  Open(NodeOfItem(item));
}

void HandleThreadContextMenu(port::TreeItem item) {
  ReplaceOutdatedTree();
  const Node* node = NodeOfItem(item);
  if (node == nullptr) return;
  SelectNode(*node);
  Run(kContextCommands, gPlatform->pop_ups.ShowPopUp(gMainWindow, ContextMenu(*node)));
}

void HandleThreadCommand(std::uint32_t command) {
  Run(kCommands, command);
}

}  // namespace quillet
