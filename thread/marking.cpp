#include "thread/marking.h"

#include "base/app_messages.h"
#include "base/long_operation.h"
#include "store/counts.h"
#include "thread/current.h"
#include "thread/labels.h"
#include "thread/moves.h"
#include "thread/totals.h"

namespace quillet {
namespace {

std::size_t ShownGroup() {
  return static_cast<std::size_t>(gThreadGroup);
}

// The articles directly below the node are not counted: this is meant.
std::uint64_t ProgressRange(const Node& top) {
  std::uint64_t units = 0;
  for (const Node* child = top.firstChild; child != nullptr; child = child->nextSibling) {
    units += child->descendantCount;
  }
  return units;
}

int MarkArticlesBelow(Node& top, bool read) {
  SetProgressRange(ProgressRange(top));
  std::uint64_t done = 0;
  for (Node* node = &top; node != nullptr && !AbortRequested(); node = NextNode(*node, &top)) {
    if (node->messageId.empty()) continue;
    if (!SetNodeReadAlone(*node, read, ShownGroup())) break;
    SetProgressPosition(++done);
  }
  SumUp(top);
  return AbortRequested() ? 0 : 1;
}

void MarkThread(Node& top, bool read) {
  RunWithProgress(read ? u"Marking articles read..." : u"Marking articles unread...",
                  [&top, read] { return MarkArticlesBelow(top, read); });
}

}  // namespace

void MarkNode(Node& node, bool read) {
  if (node.kind == NodeKind::kArticle) {
    SetArticleReadById(node.messageId, &node, read, ShownGroup());
  } else {
    MarkThread(node, read);
  }
  BringCurrentArticleInStep();
  RefreshThreadLabels(node);
  PostToMainWindow(kUserRefreshCounts);
}

}  // namespace quillet
