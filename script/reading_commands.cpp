// SPDX-License-Identifier: GPL-3.0-or-later
// The thread tree and the article view: what a user does with them and what a script asks of them.
#include "script/reading_commands.h"

#include <array>
#include <optional>

#include "port/file_dialogs.h"
#include "script/commands.h"
#include "script/input_commands.h"
#include "script/shown_nodes.h"
#include "script/words.h"
#include "store/records.h"
#include "thread/reading.h"
#include "util/text.h"

namespace quillet {
namespace {

// --- nodes ---------------------------------------------------------------------------------------

constexpr std::u16string_view kIdPrefix = u"id:";

// A Message-ID in angle brackets or after "id:", else a path.
port::TreeItem ItemOf(ScriptContext& context, const std::u16string& word) {
  const bool prefixed = StartsWith(word, kIdPrefix);
  port::TreeItem item = 0;
  if (prefixed || StartsWith(word, u"<")) {
    const std::string id = Narrow(prefixed ? word.substr(kIdPrefix.size()) : word);
    context.run.CallOnProgram([&] { item = ItemOfMessageId(id); });
  } else {
    item = ItemAtPath(context.run.display.tree(), word);
  }
  if (item == 0) throw MissingFailure(u"no such node in the tree: " + word);
  return item;
}

void OpenGroup(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  port::FakeDisplay& display = context.run.display;
  if (display.main_window().tab != port::kGroupTab) {
    Require(context, display.UserSelectTab(port::kGroupTab));
    RequireMainWindow(context);
  }
  Require(context, display.ActivateRow(RowOf(context, words[0])));
  context.run.WaitIdle();
}

void SelectNode(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  Require(context, context.run.display.ClickItem(ItemOf(context, words[0])));
}

void OpenNode(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  Require(context, context.run.display.ActivateItem(ItemOf(context, words[0])));
}

void SetExpanded(ScriptContext& context, Words words, bool expanded) {
  RequireMainWindow(context);
  port::FakeDisplay& display = context.run.display;
  for (const std::u16string& word : words) {
    const bool done = word == u"all" ? display.ExpandAll(expanded)
                                     : display.ExpandItem(ItemOf(context, word), expanded);
    Require(context, done);
  }
}

void ExpandNodes(ScriptContext& context, Words words) {
  SetExpanded(context, words, true);
}
void CollapseNodes(ScriptContext& context, Words words) {
  SetExpanded(context, words, false);
}

void AskMenuOfNode(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  port::FakeDisplay& display = context.run.display;
  const bool asked = words.empty() ? display.PressKey(port::kKeyContextMenu)
                                   : display.AskItemMenu(ItemOf(context, words[0]));
  Require(context, asked);
}

// --- the article view ----------------------------------------------------------------------------

void TapHeader(ScriptContext& context, Words /*words*/) {
  RequireMainWindow(context);
  Require(context, context.run.display.TapHeader());
}

void FollowLink(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  if (context.run.display.ActivateLink(words[0])) return;
  throw MissingFailure(u"the article view shows no such link: " + words[0]);
}

void PressTool(ScriptContext& context, Words words) {
  RequireMainWindow(context);
  for (const port::ToolbarButton& button : context.run.display.article().toolbar) {
    if (button.command == 0 || button.tooltip != words[0]) continue;
    return Require(context, context.run.display.PressToolbar(button.command));
  }
  throw MissingFailure(u"no such button in the toolbar: " + words[0]);
}

// --- answers announced ahead ---------------------------------------------------------------------

void ExpectMenu(ScriptContext& context, Words words) {
  context.run.menu_answers.AddNext(words[0]);
}
void ExpectSave(ScriptContext& context, Words words) {
  context.run.save_answers.AddNext(words[0]);
}
void ExpectOpen(ScriptContext& context, Words words) {
  if (words[0].size() > port::kLongestOpenPath) {
    throw UsageFailure(u"no open dialog returns a path of more than 259 characters");
  }
  context.run.open_answers.AddNext(words[0]);
}

// --- questions -----------------------------------------------------------------------------------

void AskTree(ScriptContext& context, Words /*words*/) {
  NodesByItem nodes;
  port::ShownTree tree;
  context.run.CallOnProgram([&] {
    nodes = NodesOfShownTree();
    tree = context.run.display.tree();
  });
  context.run.reporter.Report("tree", DescribeTree(tree, nodes));
}

void AskCaption(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("caption", JsonObject().Add("text", context.run.display.caption()));
}

void AskViewer(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("viewer", DescribeViewer(context.run.display.article()));
}

void AskHeader(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("header", DescribeHeader(context.run.display.article()));
}

void AskToolbar(ScriptContext& context, Words /*words*/) {
  context.run.WaitIdle();
  context.run.reporter.Report("toolbar", DescribeToolbar(context.run.display.article()));
}

// -1 for no group.
int PlaceOf(std::optional<GroupIndex> group) {
  return group ? static_cast<int>(IndexOf(*group)) : -1;
}

void AskCurrent(ScriptContext& context, Words /*words*/) {
  JsonObject answer;
  context.run.CallOnProgram([&] {
    const AsciiArticle* article = gReading.article.get();
    const Node* node = article != nullptr ? article->node : nullptr;
    answer.Add("group", PlaceOf(gReading.group)).Add("tree_group", PlaceOf(gReading.tree_group));
    answer.Add("exists", article != nullptr);
    if (article == nullptr) return;
    answer.Add("id", Widen(article->messageId.value_or("")));
    answer.Add("node", node ? PathOfItem(context.run.display.tree(), node->treeItem) : "");
    answer.Add("read", article->read).Add("rot13", article->showFlag != 0);
    answer.Add("search_text", Widen(article->displayText.value_or("")));
  });
  context.run.reporter.Report("current", answer);
}

constexpr std::array<ScriptCommand, 18> kReading = {{
    {u"open-group", 1, 1, false, OpenGroup},
    {u"select-node", 1, 1, false, SelectNode},
    {u"open-node", 1, 1, false, OpenNode},
    {u"expand", 1, kAnyNumber, false, ExpandNodes},
    {u"collapse", 1, kAnyNumber, false, CollapseNodes},
    {u"context-menu", 0, 1, false, AskMenuOfNode},
    {u"tap-header", 0, 0, false, TapHeader},
    {u"follow", 1, 1, false, FollowLink},
    {u"tool", 1, 1, false, PressTool},
    {u"expect-menu", 1, 1, true, ExpectMenu},
    {u"expect-save", 1, 1, true, ExpectSave},
    {u"expect-open", 1, 1, true, ExpectOpen},
    {u"tree", 0, 0, false, AskTree},
    {u"caption", 0, 0, false, AskCaption},
    {u"viewer", 0, 0, false, AskViewer},
    {u"header", 0, 0, false, AskHeader},
    {u"toolbar", 0, 0, false, AskToolbar},
    {u"current", 0, 0, false, AskCurrent},
}};

}  // namespace

std::span<const ScriptCommand> ReadingCommands() {
  return kReading;
}

}  // namespace quillet
