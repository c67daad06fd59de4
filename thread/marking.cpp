// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/marking.h"

#include "base/app_messages.h"
#include "base/long_operation.h"
#include "store/counts.h"
#include "store/whole_points.h"
#include "thread/labels.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "thread/totals.h"

namespace quillet {
namespace {

std::size_t ShownGroup() {
  return IndexOf(gReading.tree_group);
}

// Meant: the articles directly below the node are not counted. The sum is exact for the root, whose
// children are subject nodes; in a single thread the bar is full before the end, for users and
// scripts alike, as in every version.
std::uint64_t ProgressRange(const Node& top) {
  std::uint64_t units = 0;
  for (const Node* child = top.firstChild; child != nullptr; child = child->nextSibling) {
    units += child->descendantCount;
  }
  return units;
}

RunEnd MarkArticlesBelow(Node& top, bool read) {
  SetProgressRange(ProgressRange(top), RangeCovers::kRoughly);
  std::uint64_t done = 0;
  RunEnd end = RunEnd::kGoOn;
  for (Node* node = &top; node != nullptr && !Ended(end); node = NextNode(*node, &top)) {
    if (node->messageId.empty()) continue;
    if (!SetNodeReadAlone(*node, read, ShownGroup())) {
      end = RunEnd::kStoreFailed;
      break;
    }
    SetProgressPosition(++done);
  }
  SumUp(top);
  StoreIsWhole();
  return end;
}

RunEnd MarkThread(Node& top, bool read) {
  return RunWithProgress(read ? u"Marking articles read..." : u"Marking articles unread...",
                         [&top, read] { return MarkArticlesBelow(top, read); });
}

}  // namespace

RunEnd MarkNode(Node& node, bool read) {
  RunEnd end = RunEnd::kGoOn;
  if (node.kind == NodeKind::kArticle) {
    SetArticleReadById(node.messageId, &node, read, ShownGroup());
  } else {
    end = MarkThread(node, read);
  }
  BringCurrentArticleInStep();
  RefreshThreadLabels(node);
  PostToMainWindow(kUserRefreshCounts);
  return end;
}

}  // namespace quillet
