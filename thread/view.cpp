// SPDX-License-Identifier: GPL-3.0-or-later
// Decides whether the tree in memory still is the one to show: of the current group, and of the
// store as it is now. If not, it is built anew under the progress dialog, and its counts replace
// the cached ones, unless articles could not be read. The control of the window is filled or only
// relabelled accordingly.
#include "thread/view.h"

#include <utility>

#include "base/app_messages.h"
#include "base/extensions.h"
#include "base/prefs.h"
#include "base/records.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "base/views.h"
#include "port/platform.h"
#include "store/counts.h"
#include "thread/deletion.h"
#include "thread/group_tree.h"
#include "thread/labels.h"
#include "thread/moves.h"
#include "thread/progress_meter.h"
#include "util/format.h"

namespace quillet {
namespace {

bool gFontForgotten = false;

const ResetAtEnd kReset([] { gFontForgotten = false; });

struct ThreadBuild {
  GroupIndex group{};
  std::uint32_t total_count = 0;
};

std::uint32_t StoredArticles(GroupIndex group) {
  const std::size_t index = IndexOf(group);
  return index < gReadInfo.size() ? gReadInfo[index]->totalCount : 0;
}

// Of a complete tree: counts of one that lacks articles, because the store could not be read or the
// build was ended, say nothing.
void CopyCounts(GroupIndex group, const Node& root) {
  const std::size_t index = IndexOf(group);
  if (index >= gReadInfo.size()) return;
  ReadInfo& info = *gReadInfo[index];
  if (info.totalCount == root.descendantCount && info.readCount == root.readDescendantCount) return;
  info.totalCount = root.descendantCount;
  info.readCount = root.readDescendantCount;
  UpdateGlobalGDBMArticleCountCache(index);
  PostToMainWindow(kUserRefreshCounts);
}

void TakeTree(std::unique_ptr<ThreadTree> tree, GroupIndex group) {
  gReading.tree = std::move(tree);
  gReading.tree_group = group;
  gReading.tree_state.BringUpToDate();
  if (!gReading.article) return;
  gReading.article->node =
      gReading.tree->FindNodeByMessageId(gReading.article->messageId.value_or(""));
}

bool ArticleIsOf(GroupIndex group) {
  if (gReading.article->node != nullptr) return gReading.tree_group == group;
  return gReading.article_group == gPrefs->groups[IndexOf(group)];
}

int BuildAndShow(const ThreadBuild& build) {
  ProgressMeter meter(std::uint64_t{4} * build.total_count);
  if (gReading.article && !ArticleIsOf(build.group)) up::ClearArticleView();
  // The items of the same group stay on the screen until the new ones replace them in one call, so
  // that what the user has expanded stays expanded.
  if (gReading.tree_group != build.group) gPlatform->thread_tree.FillTree({});
  gReading.ForgetTree();
  const std::u16string name = gPrefs->groups[IndexOf(build.group)];
  BuiltTree built = BuildNodeTree(name, [&](std::uint64_t units) { meter.Add(units); });
  if (!built.tree) {
    ClearThreadView();
    return 1;
  }
  if (built.complete) CopyCounts(build.group, built.tree->root());
  TakeTree(std::move(built.tree), build.group);
  gReading.rebuild_pending = built.end != RunEnd::kGoOn;
  FillTreeControl(gReading.tree->root(), [&] { meter.Add(1); });
  ShowThreadCaption();
  return 1;
}

void CreateThreadControl() {
  gPlatform->thread_tree.CreateTree(u"thread tree", gPrefs->threadfont,
                                    static_cast<int>(gPrefs->threadfontsize));
  gFontForgotten = false;
  ForgetShownLabels();
  if (gReading.tree) FillTreeControl(gReading.tree->root(), {});
}

void MakeThreadControlReady() {
  if (!gPlatform->thread_tree.TreeCreated()) CreateThreadControl();
  ShowTreeTraits();
  if (!std::exchange(gFontForgotten, false)) return;
  gPlatform->thread_tree.SetTreeFont(gPrefs->threadfont, static_cast<int>(gPrefs->threadfontsize));
}

void BringTreeUpToDate() {
  if (!IsInList(gReading.group)) return ClearThreadView();
  if (!gReading.tree || gReading.tree_group != gReading.group || gReading.rebuild_pending ||
      gReading.tree_state.OutOfDate()) {
    return BuildThreadList(*gReading.group, StoredArticles(*gReading.group));
  }
  RefreshThreadLabels(gReading.tree->root());
  ShowThreadCaption();
}

}  // namespace

std::optional<GroupIndex> GroupOfShownTree() {
  return gReading.tree ? gReading.tree_group : std::nullopt;
}

bool IsInList(std::optional<GroupIndex> group) {
  return gPrefs && IndexOf(group) < gPrefs->groups.size();
}

void BuildThreadList(GroupIndex group, std::uint32_t total_count) {
  if (!IsInList(group)) return;
  const auto build = NewRecord<ThreadBuild>(u"BuildThreadList");
  if (!build) return;
  *build = {group, total_count};
  RunWithProgress(gPrefs->usethreading != 0 ? u"Threading..." : u"Building article list...",
                  [&build] { return BuildAndShow(*build); });
}

void ShowThreadView() {
  SelectView(port::kThreadTab);
  if (gPrefs) MakeThreadControlReady();
  BringTreeUpToDate();
  if (gReading.article && gReading.article->node != nullptr) SelectNode(*gReading.article->node);
  gPlatform->thread_tree.FocusTree();
}

void ClearThreadView() {
  const bool shows_article = gReading.article && gReading.article->node != nullptr;
  gReading.ForgetTree();
  gReading.tree_state.BringUpToDate();  // there is no tree that could be out of date
  if (shows_article) up::ClearArticleView();
  gPlatform->thread_tree.FillTree({});
  ForgetShownLabels();
  ShowThreadCaption();
}

void ShowTreeTraits() {
  const Extensions extensions = ReadExtensions();
  gPlatform->thread_tree.SetTreeTraits(
      {extensions.rowdetails != 0, extensions.readon != 0 ? u"N" : u""});
}

void ForgetThreadFont() {
  gFontForgotten = true;
}

std::u16string ThreadCaption(GroupIndex group) {
  if (!IsInList(group)) return {};
  const std::u16string& name = gPrefs->groups[IndexOf(group)];
  const auto progress = Progress(*gPrefs, CountingServer(*gPrefs), group);
  if (!progress) return name;
  const std::uint32_t newest = progress->on_server;
  const std::uint32_t last = progress->downloaded;
  return FormatWide(u"%s: %lu on server", name, newest > last ? newest - last : 0);
}

void ShowThreadCaption() {
  const bool shown = gReading.tree && gReading.tree->root().firstChild != nullptr;
  gPlatform->thread_tree.SetCaption(shown && IsInList(gReading.tree_group)
                                        ? ThreadCaption(*gReading.tree_group)
                                        : u"No threads, or no current group selected");
}

// --- Nodes of items ------------------------------------------------------------------------------

Node* NodeOfItem(port::TreeItem item) {
  if (!gReading.tree || item == 0) return nullptr;
  for (Node* node = &gReading.tree->root(); node != nullptr; node = NextNode(*node)) {
    if (node->treeItem == item) return node;
  }
  return nullptr;
}

Node* SelectedNode() {
  return NodeOfItem(gPlatform->thread_tree.SelectedItem());
}

void SelectNode(const Node& node) {
  gPlatform->thread_tree.SelectItem(node.treeItem);
}

}  // namespace quillet
