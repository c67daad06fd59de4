// SPDX-License-Identifier: GPL-3.0-or-later
// The store comes first: a node leaves the tree only when its article is not in the store any more.
// The children of a node that was deleted move into its place. Deleting many leaves the counts of
// the nodes above alone and sums them up once at the end.
#include "thread/deletion.h"

#include "base/app_messages.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/upward_calls.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/deletion.h"
#include "store/whole_points.h"
#include "thread/labels.h"
#include "thread/moves.h"
#include "thread/totals.h"
#include "thread/view.h"

namespace quillet {
namespace {

// Threads of up to so many articles go without a progress dialog.
constexpr std::uint32_t kDeletedAtOnce = 100;

// A few articles are deleted without a run, and the request of an earlier one may still stand.
bool Stopped(RunEnd& end) {
  return OperationRunning() ? Ended(end) : end != RunEnd::kGoOn;
}

bool NamesArticleOf(const GDBMGroup& record, const Node& node) {
  const std::size_t group = IndexOf(gReading.tree_group);
  return record.messageId == node.messageId && group < gReadInfo.size() &&
         record.groupName == gReadInfo[group]->groupName;
}

// False when the store refuses, which is told. An article that the store has dropped behind the
// tree's back counts as deleted.
bool DeleteFromStore(const Node& node) {
  const auto record = ReadChainRecord(node.chainNumber);
  if (record && NamesArticleOf(*record, node)) {
    const std::size_t group = IndexOf(gReading.tree_group);
    if (DeleteGroupArticle(group, *record, node.read != 0)) return true;
    if (!ArticleExists(node.messageId)) gReading.tree_state.Invalidate();
  } else if (DatabasesOpen() && !gDatabaseErrorFlag) {
    gReading.tree_state.Invalidate();
    return true;
  }
  ReportError(u"unable to delete article", u"DeleteArticleNode");
  return false;
}

bool IsCurrent(const Node& node) {
  return gReading.article && gReading.article->node == &node;
}

// Deletes all or the read articles below the node, with progress.
RunEnd DeleteBelow(Node& top, bool only_read) {
  bool current_gone = false;
  RunEnd end = RunEnd::kGoOn;
  std::uint64_t done = 0;
  for (Node* node = NextNode(top, &top); node != nullptr && !Stopped(end);) {
    Node& candidate = *node;
    node = NextNode(*node, &top);
    if (candidate.kind != NodeKind::kArticle || (only_read && candidate.read == 0)) continue;
    if (!DeleteFromStore(candidate)) {
      end = RunEnd::kStoreFailed;
      break;
    }
    current_gone = current_gone || IsCurrent(candidate);
    gReading.tree->index().Remove(candidate);
    // For an article deep in a long chain of replies, lowering the counts of those above it would
    // cost a walk to the root each time.
    ReplaceNodeByChildrenUncounted(candidate);
    SetProgressPosition(++done);
  }
  SumUp(top);
  if (current_gone) up::ClearArticleView();
  Stopped(end);  // an abort at the very last article counts too, though nothing is left to do
  return end;
}

void ShowChangedThread(Node& thread) {
  if (thread.descendantCount > 0) return BuildTreeView(thread, true);
  UnlinkNode(thread);
  TakeOutOfTreeControl(thread);
  ShowThreadCaption();
}

}  // namespace

Node* DeleteArticleNode(Node& node) {
  if (node.kind == NodeKind::kSubject) return DeleteThreadNode(node);
  Node* thread = ThreadOf(node);
  if (!gReading.tree || thread == nullptr) return nullptr;
  Node* next = NextArticle(node);
  if (!DeleteFromStore(node)) return &node;
  gReading.tree->index().Remove(node);
  ReplaceNodeByChildren(node);
  ShowChangedThread(*thread);
  if (IsCurrent(node)) up::ClearArticleView();
  PostToMainWindow(kUserRefreshCounts);
  return next;
}

Node* DeleteThreadNode(Node& node) {
  Node* thread = ThreadOf(node);
  if (!gReading.tree || thread == nullptr) return nullptr;
  Node* next = NextThread(*thread);
  const std::uint32_t articles = thread->descendantCount;
  if (articles <= kDeletedAtOnce) {
    DeleteBelow(*thread, false);
  } else {
    RunWithProgress(u"Deleting thread...", [thread, articles] {
      SetProgressRange(articles, RangeCovers::kWholeOperation);
      const RunEnd end = DeleteBelow(*thread, false);
      StoreIsWhole();
      return end;
    });
  }
  if (thread->descendantCount > 0) next = FirstArticleFrom(thread);
  ShowChangedThread(*thread);
  PostToMainWindow(kUserRefreshCounts);
  return next;
}

std::optional<RunEnd> DeleteReadOfShownTree() {
  if (!gReading.tree || gReading.rebuild_pending || gReading.tree_state.OutOfDate()) {
    return std::nullopt;
  }
  Node& root = gReading.tree->root();
  const RunEnd end = DeleteBelow(root, true);
  for (Node* thread = root.firstChild; thread != nullptr;) {
    Node& candidate = *thread;
    thread = thread->nextSibling;
    if (candidate.descendantCount == 0) UnlinkNode(candidate);
  }
  BuildTreeView(root, false);
  ShowThreadCaption();
  return end;
}

}  // namespace quillet
