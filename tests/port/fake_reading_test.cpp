// SPDX-License-Identifier: GPL-3.0-or-later
// The display model: thread tree, article panes, pop-up menus, save dialogs, drop-down lists.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "port/fake/fake_platform.h"
#include "res/resource.h"
#include "tests/support/select_text.h"

namespace quillet::port {
namespace {

class Reading : public testing::Test {
 protected:
  Reading() {
    fake.on_failure = [this](const std::string& message) { failures.push_back(message); };
  }

  void ShowMain(int tab) {
    window = display.CreateMainWindow({u"QuilletMain", u"Quillet CE", kIconMain, {240, 294}});
    display.CreateTabs(TabPlacement::kBottom);
    display.ShowMainWindow();
    display.SelectTab(tab);
  }
  // a(b(c) d) e(f) g
  void ShowTree() {
    ShowMain(kThreadTab);
    display.CreateTree(u"thread tree", u"Tahoma", 3);
    display.FillTree({{1, 0, true, u"a"},
                      {2, 1, false, u"b"},
                      {3, 2, false, u"c"},
                      {4, 1, false, u"d"},
                      {5, 0, false, u"e"},
                      {6, 1, false, u"f"},
                      {7, 0, false, u"g"}});
    display.FocusTree();
  }
  void ShowArticle(std::u16string_view source, bool plain_text = false) {
    ShowMain(kArticleTab);
    display.CreatePanes(u"Tahoma", 10);
    display.ClearViewer();
    display.AddToViewer(source, plain_text);
    display.EndOfSource();
  }
  std::u16string Texts() const {
    std::u16string texts;
    for (const TreeRow& row : display.tree().rows) {
      texts += std::u16string(row.depth, u'-') + row.text + u" ";
    }
    return texts;
  }
  std::u16string Visible() const {
    const ShownTree tree = display.tree();
    std::u16string texts;
    for (const std::size_t index : VisibleRows(tree)) texts += tree.rows[index].text;
    return texts;
  }
  // The selected row's text after the keys.
  std::u16string AfterKeys(const std::vector<std::uint32_t>& keys) {
    for (const std::uint32_t key : keys) EXPECT_TRUE(display.PressKey(key));
    const ShownTree tree = display.tree();
    for (const TreeRow& row : tree.rows) {
      if (row.item == tree.selected) return row.text;
    }
    return u"";
  }
  std::vector<Message> Waiting() {
    std::vector<Message> messages;
    fake.HandleWaiting([&](const Message& message) { messages.push_back(message); });
    return messages;
  }
  void ExpectMessage(const Message& message, MessageKind kind, std::uint32_t id) {
    EXPECT_EQ(message.window, window);
    EXPECT_EQ(message.kind, kind);
    EXPECT_EQ(message.id, id);
  }

  std::vector<std::string> failures;
  FakePlatform fake;
  FakeDisplay& display = fake.display;
  WindowHandle window = 0;
};

// --- the tree ---

TEST_F(Reading, TheTreeIsWhatWasHandedOver) {
  ShowTree();
  display.SetCaption(u"comp.test: 4 on server");
  const ShownTree tree = display.tree();
  EXPECT_TRUE(tree.created);
  EXPECT_EQ(tree.name, u"thread tree");
  EXPECT_EQ(tree.font_face, u"Tahoma");
  EXPECT_EQ(tree.font_size_index, 3);
  EXPECT_EQ(tree.caption, u"comp.test: 4 on server");
  EXPECT_EQ(Texts(), u"a -b --c -d e -f g ");
  EXPECT_TRUE(tree.rows[0].bold);
  EXPECT_EQ(tree.fills, 1);
  EXPECT_EQ(tree.selected, 0U);
  EXPECT_EQ(display.FindItem(u"d"), 4U);
  EXPECT_EQ(display.FindItem(u"none"), 0U);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, ATreeBeforeItsCreationTakesNothingButItsCaption) {
  display.SetCaption(u"lost");
  EXPECT_EQ(display.tree().caption, u"");
  ShowMain(kThreadTab);
  display.FillTree({{1, 0, false, u"a"}});
  display.SetLabels({{1, false, u"x"}});
  display.SelectItem(1);
  display.ReplaceSubtree(1, {});
  display.FocusTree();
  display.SetCaption(u"kept");
  EXPECT_FALSE(display.TreeCreated());
  EXPECT_FALSE(display.tree().focused);
  EXPECT_EQ(display.SelectedItem(), 0U);
  display.CreateTree(u"thread tree", u"Tahoma", 3);
  EXPECT_EQ(display.tree().caption, u"kept");
  EXPECT_TRUE(display.tree().rows.empty());
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, NewTabsTakeTreeAndPanesAway) {
  ShowTree();
  display.CreatePanes(u"Tahoma", 10);
  display.CreateTabs(TabPlacement::kLeft);
  EXPECT_FALSE(display.TreeCreated());
  EXPECT_FALSE(display.PanesCreated());
  EXPECT_EQ(display.tree().caption, u"");
}

TEST_F(Reading, RowsThatMakeNoTreeAreRefused) {
  ShowTree();
  display.FillTree({{0, 0, false, u"x"}});
  display.FillTree({{1, 1, false, u"x"}});
  display.FillTree({{1, 0, false, u"x"}, {2, 2, false, u"y"}});
  display.FillTree({{1, 0, false, u"x"}, {1, 0, false, u"y"}});
  EXPECT_EQ(failures,
            (std::vector<std::string>{
                "display: a tree row without an item", "display: a tree row without its parent: x",
                "display: a tree row without its parent: y", "display: a tree item twice: y"}));
  EXPECT_EQ(Texts(), u"a -b --c -d e -f g ");
}

TEST_F(Reading, AFillKeepsWhatIsStillThereExpandedAndSelected) {
  ShowTree();
  display.SelectItem(3);
  EXPECT_TRUE(display.ExpandItem(5, true));
  display.FillTree({{8, 0, false, u"new"},
                    {1, 0, false, u"a"},
                    {2, 1, false, u"b"},
                    {3, 2, false, u"c"},
                    {9, 1, false, u"x"}});
  EXPECT_EQ(display.tree().expanded, (std::set<TreeItem>{1, 2}));
  EXPECT_EQ(display.SelectedItem(), 3U);
  display.FillTree({{1, 0, false, u"a"}, {2, 1, false, u"b"}});
  EXPECT_EQ(display.SelectedItem(), 0U);
  display.FillTree({{1, 0, false, u"a"}, {2, 1, false, u"b"}, {3, 2, false, u"c"}});
  EXPECT_EQ(display.tree().expanded, (std::set<TreeItem>{1, 2}));
  display.FillTree({});
  EXPECT_TRUE(display.tree().expanded.empty());
  EXPECT_EQ(display.tree().fills, 5);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, ASubtreeIsReplacedAtItsPlace) {
  ShowTree();
  display.SelectItem(3);
  display.ReplaceSubtree(2, {{3, 0, true, u"c"}, {8, 1, false, u"h"}, {9, 0, false, u"i"}});
  EXPECT_EQ(Texts(), u"a -c --h -i -d e -f g ");
  EXPECT_EQ(display.SelectedItem(), 3U);
  EXPECT_EQ(display.tree().expanded, std::set<TreeItem>{1});
  display.ReplaceSubtree(1, {});
  EXPECT_EQ(Texts(), u"e -f g ");
  EXPECT_EQ(display.SelectedItem(), 0U);
  display.ReplaceSubtree(99, {{1, 0, false, u"x"}});
  display.ReplaceSubtree(0, {{1, 0, false, u"x"}});
  EXPECT_EQ(Texts(), u"e -f g ");
  EXPECT_EQ(display.tree().fills, 1) << "the whole tree was handed over once";
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, AReplacementThatDoesNotFitIsRefused) {
  ShowTree();
  display.ReplaceSubtree(2, {{2, 1, false, u"b"}});
  display.ReplaceSubtree(2, {{5, 0, false, u"b"}});
  display.ReplaceSubtree(2, {{2, 0, false, u"b"}, {2, 1, false, u"b"}});
  EXPECT_EQ(failures, (std::vector<std::string>{"display: a tree row without its parent: b",
                                                "display: a tree item twice: e",
                                                "display: a tree item twice: b"}));
  EXPECT_EQ(Texts(), u"a -b --c -d e -f g ");
}

TEST_F(Reading, LabelsChangeWhatIsThere) {
  ShowTree();
  display.SetLabels({{3, true, u"C"}, {99, true, u"passed over"}, {1, false, u"1/2 a"}});
  EXPECT_EQ(Texts(), u"1/2 a -b --C -d e -f g ");
  EXPECT_FALSE(display.tree().rows[0].bold);
  EXPECT_TRUE(display.tree().rows[2].bold);
  EXPECT_EQ(display.tree().fills, 1);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, SelectingExpandsWhatIsAbove) {
  ShowTree();
  display.SelectItem(3);
  EXPECT_EQ(display.SelectedItem(), 3U);
  EXPECT_EQ(display.tree().expanded, (std::set<TreeItem>{1, 2}));
  display.SelectItem(0);
  EXPECT_EQ(display.SelectedItem(), 0U);
  EXPECT_TRUE(Waiting().empty()) << "the program's own selection sends nothing";
  EXPECT_TRUE(failures.empty());
  display.SelectItem(99);
  EXPECT_EQ(failures, std::vector<std::string>{"display: no tree item to select: 99"});
}

TEST_F(Reading, CollapsedRowsAreNotVisible) {
  ShowTree();
  EXPECT_EQ(Visible(), u"aeg");
  EXPECT_TRUE(display.ExpandItem(1, true));
  EXPECT_EQ(Visible(), u"abdeg");
  EXPECT_TRUE(display.ExpandItem(2, true));
  EXPECT_EQ(Visible(), u"abcdeg");
  EXPECT_TRUE(display.ExpandItem(1, false));
  EXPECT_EQ(Visible(), u"aeg");
  EXPECT_TRUE(display.ExpandItem(1, true));
  EXPECT_EQ(Visible(), u"abcdeg") << "what is below stays as it was";
}

TEST_F(Reading, OnlyItemsWithSomethingBelowExpand) {
  ShowTree();
  EXPECT_FALSE(display.ExpandItem(7, true));
  EXPECT_FALSE(display.ExpandItem(3, true));
  EXPECT_FALSE(display.ExpandItem(99, true));
  EXPECT_TRUE(display.ExpandItem(2, true));
  EXPECT_EQ(Visible(), u"abcdeg") << "what hides it is expanded on the way";
}

TEST_F(Reading, EverythingIsExpandedOrCollapsedAtOnce) {
  ShowTree();
  EXPECT_EQ(display.tree_rows(), 7U);
  EXPECT_TRUE(display.ExpandAll(true));
  EXPECT_EQ(Visible(), u"abcdefg");
  EXPECT_EQ(display.tree().expanded, (std::set<TreeItem>{1, 2, 5})) << "only what has children";
  display.SelectItem(6);
  EXPECT_TRUE(display.ExpandAll(false));
  EXPECT_EQ(Visible(), u"aeg");
  EXPECT_EQ(display.SelectedItem(), 5U) << "the row above that stays visible";
  display.SelectTab(kGroupTab);
  EXPECT_FALSE(display.ExpandAll(true));
}

TEST_F(Reading, ASelectionThatWouldHideMovesUp) {
  ShowTree();
  display.SelectItem(3);
  EXPECT_TRUE(display.ExpandItem(1, false));
  EXPECT_EQ(display.SelectedItem(), 1U);
  display.SelectItem(5);
  EXPECT_TRUE(display.ExpandItem(1, true));
  EXPECT_TRUE(display.ExpandItem(1, false));
  EXPECT_EQ(display.SelectedItem(), 5U);
}

TEST_F(Reading, TheUserClicksOpensAndAsksForMenus) {
  ShowTree();
  EXPECT_TRUE(display.ClickItem(3));
  EXPECT_EQ(display.SelectedItem(), 3U);
  EXPECT_EQ(Visible(), u"abcdeg");
  EXPECT_TRUE(Waiting().empty());
  EXPECT_TRUE(display.ActivateItem(6));
  EXPECT_TRUE(display.AskItemMenu(2));
  EXPECT_EQ(display.SelectedItem(), 2U) << "selected before the message";
  EXPECT_TRUE(display.AskItemMenu(0)) << "below the rows";
  EXPECT_EQ(display.SelectedItem(), 0U);
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 3U);
  ExpectMessage(messages[0], MessageKind::kItemActivated, 6);
  ExpectMessage(messages[1], MessageKind::kContextMenu, 2);
  ExpectMessage(messages[2], MessageKind::kContextMenu, 0);
  EXPECT_FALSE(display.ClickItem(99));
  EXPECT_FALSE(display.ClickItem(0));
  display.SelectTab(kGroupTab);
  EXPECT_FALSE(display.ClickItem(3)) << "the tree is not shown";
  EXPECT_FALSE(display.AskItemMenu(0));
  EXPECT_FALSE(display.ExpandItem(1, true));
}

TEST_F(Reading, ADialogTakesTheTreesInput) {
  ShowTree();
  display.Show(display.Create(kDialogAbout, window, DialogKind::kModal));
  EXPECT_FALSE(display.ClickItem(1));
  EXPECT_FALSE(display.ActivateItem(1));
  EXPECT_FALSE(display.AskItemMenu(1));
  EXPECT_FALSE(display.ExpandItem(1, true));
}

TEST_F(Reading, ArrowsMoveOverTheVisibleRows) {
  ShowTree();
  EXPECT_EQ(AfterKeys({kKeyDown}), u"a") << "from no selection to the first row";
  EXPECT_EQ(AfterKeys({kKeyUp}), u"a");
  EXPECT_EQ(AfterKeys({kKeyDown}), u"e");
  EXPECT_EQ(AfterKeys({kKeyDown, kKeyDown}), u"g");
  EXPECT_EQ(AfterKeys({kKeyHome}), u"a");
  EXPECT_EQ(AfterKeys({kKeyRight}), u"a") << "expands";
  EXPECT_EQ(AfterKeys({kKeyRight}), u"b");
  EXPECT_EQ(AfterKeys({kKeyDown}), u"d") << "b is collapsed";
  EXPECT_EQ(AfterKeys({kKeyRight}), u"d") << "nothing below";
  EXPECT_EQ(AfterKeys({kKeyUp, kKeyRight, kKeyRight}), u"c");
  EXPECT_EQ(AfterKeys({kKeyLeft}), u"b");
  EXPECT_EQ(AfterKeys({kKeyLeft}), u"b") << "collapses";
  EXPECT_EQ(Visible(), u"abdeg");
  EXPECT_EQ(AfterKeys({kKeyLeft, kKeyLeft, kKeyLeft}), u"a");
  EXPECT_EQ(Visible(), u"aeg");
  EXPECT_EQ(AfterKeys({kKeyEnd}), u"g");
  Waiting();
  EXPECT_EQ(AfterKeys({kKeyUp}), u"e");
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 2U) << "keys come to the program as well";
  ExpectMessage(messages[0], MessageKind::kKeyDown, kKeyUp);
  ExpectMessage(messages[1], MessageKind::kKeyUp, kKeyUp);
}

TEST_F(Reading, ReturnOpensAndTheMenuKeyAsksForTheMenu) {
  ShowTree();
  display.PressKey(kKeyReturn);
  EXPECT_EQ(Waiting().size(), 2U) << "nothing is selected";
  display.SelectItem(6);
  display.PressKey(kKeyReturn);
  auto messages = Waiting();
  ASSERT_EQ(messages.size(), 3U);
  ExpectMessage(messages[0], MessageKind::kKeyDown, kKeyReturn);
  ExpectMessage(messages[1], MessageKind::kItemActivated, 6);
  ExpectMessage(messages[2], MessageKind::kKeyUp, kKeyReturn);
  EXPECT_TRUE(display.PressKey(kKeyContextMenu));
  messages = Waiting();
  ASSERT_EQ(messages.size(), 1U) << "the menu key is the display's own";
  ExpectMessage(messages[0], MessageKind::kContextMenu, 6);
}

TEST_F(Reading, KeysReachTheTreeOnlyWithTheFocus) {
  ShowTree();
  display.SelectItem(1);
  display.SelectTab(kGroupTab);
  display.SelectTab(kThreadTab);
  EXPECT_FALSE(display.tree().focused) << "another pane was shown";
  EXPECT_EQ(AfterKeys({kKeyDown}), u"a");
  EXPECT_TRUE(display.ClickItem(1));
  EXPECT_EQ(AfterKeys({kKeyDown}), u"e");
  EXPECT_TRUE(display.PressKey(kKeyDown, kModifierControl));
  EXPECT_EQ(display.SelectedItem(), 5U) << "with a modifier it is another key";
}

TEST_F(Reading, BigTreesCostLittle) {
  constexpr std::uint32_t kRows = 100000;
  ShowMain(kThreadTab);
  display.CreateTree(u"thread tree", u"Tahoma", 3);
  std::vector<TreeRow> rows;
  std::vector<TreeLabel> labels;
  for (std::uint32_t i = 1; i <= kRows; ++i) {
    rows.push_back({i, i % 4 == 1 ? 0U : 1U, true, u"text"});
    labels.push_back({kRows + 1 - i, false, u"new"});
  }
  const auto start = std::chrono::steady_clock::now();
  display.FillTree(std::move(rows));
  display.SetLabels(std::move(labels));
  display.SelectItem(kRows);
  display.ReplaceSubtree(kRows, {});
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_EQ(display.tree().rows.size(), kRows - 1);
  EXPECT_EQ(display.tree().rows.front().text, u"new");
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, OtherThreadsMayNotUseTreeAndPanes) {
  ShowTree();
  std::thread([&] {
    display.FillTree({});
    display.SetLabels({});
    display.TreeCreated();
    display.SetHeader({});
    display.PanesCreated();
    display.ShowPopUp(window, {});
    display.SaveFile(window, {});
    display.OpenFile(window, {});
    display.Fonts();
  }).join();
  ASSERT_GE(failures.size(), 9U);
  EXPECT_EQ(failures[0], "display: FillTree called off the program thread");
  EXPECT_EQ(failures[6], "display: SaveFile called off the program thread");
  EXPECT_EQ(failures[8], "display: OpenFile called off the program thread");
  EXPECT_EQ(failures.back(), "display: Fonts called off the program thread");
}

// --- the article's panes ---

TEST_F(Reading, ThePanesShowWhatTheyWereGiven) {
  ShowArticle(u"<b>text</b>");
  display.SetHeader({{{u"Subject: a", u"Thread 1/2"}, {u"From: b", u"Article 0/3"}}});
  display.ScrollViewer(ScrollStep::kPageDown);
  display.CopyFromViewer();
  display.FocusViewer();
  ShownArticle article = display.article();
  EXPECT_EQ(article.header_font_face, u"Tahoma");
  EXPECT_EQ(article.header_font_pixels, 10);
  EXPECT_EQ(article.source, u"<b>text</b>");
  EXPECT_FALSE(article.plain_text);
  EXPECT_TRUE(article.ended);
  EXPECT_EQ(article.additions, 1);
  EXPECT_EQ(article.shows, 1);
  EXPECT_EQ(article.header[1], (HeaderLine{u"From: b", u"Article 0/3"}));
  EXPECT_EQ(article.scrolls, std::vector<ScrollStep>{ScrollStep::kPageDown});
  EXPECT_EQ(article.copies, 1);
  EXPECT_TRUE(article.focused);
  display.ClearViewer();
  article = display.article();
  EXPECT_EQ(article.source, u"");
  EXPECT_FALSE(article.ended);
  display.SelectTab(kThreadTab);
  EXPECT_FALSE(display.article().focused);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, PanesBeforeTheirCreationTakeNothing) {
  ShowMain(kArticleTab);
  display.ClearViewer();
  display.SetHeader({});
  display.AddToViewer(u"x", false);
  display.EndOfSource();
  display.ScrollViewer(ScrollStep::kTop);
  display.CopyFromViewer();
  display.FocusViewer();
  EXPECT_FALSE(display.PanesCreated());
  EXPECT_EQ(display.article().source, u"");
  EXPECT_FALSE(display.article().focused);
  EXPECT_TRUE(failures.empty());
  display.SetHeader({{{u"Subject: a", u""}, {}}});
  EXPECT_EQ(failures, std::vector<std::string>{"display: a header before its panes"});
}

TEST_F(Reading, ASourceIsClearedAddedToAndEnded) {
  ShowArticle(u"a");
  display.EndOfSource();
  display.AddToViewer(u"b", false);
  display.ClearViewer();
  display.AddToViewer(u"c", true);
  display.AddToViewer(u"d", false);
  EXPECT_EQ(failures,
            (std::vector<std::string>{"display: the viewer's source ended twice",
                                      "display: text behind the end of the viewer's source",
                                      "display: a source that is plain text in parts"}));
}

TEST_F(Reading, OnlyLinksOfTheShownFragmentCanBeFollowed) {
  ShowArticle(u"see <a href=\"http://a.example/?b&c\">http://a.example/?b&amp;c</a>.");
  EXPECT_TRUE(display.ActivateLink(u"http://a.example/?b&c"));
  EXPECT_FALSE(display.ActivateLink(u"http://a.example/"));
  EXPECT_FALSE(display.ActivateLink(u""));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 1U);
  EXPECT_EQ(messages[0].kind, MessageKind::kLink);
  EXPECT_EQ(messages[0].text, u"http://a.example/?b&c");
  display.SelectTab(kThreadTab);
  EXPECT_FALSE(display.ActivateLink(u"http://a.example/?b&c"));
}

TEST_F(Reading, PlainTextHasNoLinks) {
  ShowArticle(u"<a href=\"http://a.example/\">x</a>", true);
  EXPECT_FALSE(display.ActivateLink(u"http://a.example/"));
}

TEST_F(Reading, ArticleKeysComeDownAndUp) {
  ShowArticle(u"x");
  display.FocusViewer();
  EXPECT_TRUE(display.PressKey(kKeyPageDown));
  EXPECT_TRUE(display.PressKey(kKeyReturn));
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 4U);
  ExpectMessage(messages[0], MessageKind::kKeyDown, kKeyPageDown);
  ExpectMessage(messages[1], MessageKind::kKeyUp, kKeyPageDown);
  EXPECT_TRUE(display.article().scrolls.empty()) << "the viewer itself does not scroll on keys";
}

TEST_F(Reading, TheHeaderIsTappedWhereItIsShown) {
  ShowMain(kArticleTab);
  EXPECT_FALSE(display.TapHeader());
  display.CreatePanes(u"Tahoma", 10);
  EXPECT_TRUE(display.TapHeader());
  ExpectMessage(Waiting().at(0), MessageKind::kHeaderTapped, 0);
  display.SelectTab(kThreadTab);
  EXPECT_FALSE(display.TapHeader());
}

TEST_F(Reading, ToolbarButtonsSendTheirCommands) {
  EXPECT_FALSE(display.CreateToolbar({{kCommandFind, 4, u"Find"}}));
  ShowMain(kArticleTab);
  display.FailNextToolbar();
  EXPECT_FALSE(display.CreateToolbar({{kCommandFind, 4, u"Find"}}));
  EXPECT_TRUE(display.CreateToolbar(
      {{kCommandNextThread, 3, u"Next Thread"}, {0, 0, u""}, {kCommandFind, 4, u"Find"}}));
  EXPECT_EQ(display.article().toolbar.size(), 3U);
  EXPECT_TRUE(display.PressToolbar(kCommandFind));
  ExpectMessage(Waiting().at(0), MessageKind::kCommand, kCommandFind);
  EXPECT_FALSE(display.PressToolbar(0)) << "a separator";
  EXPECT_FALSE(display.PressToolbar(kCommandDeleteThread));
  display.SelectTab(kThreadTab);
  EXPECT_FALSE(display.PressToolbar(kCommandFind));
  EXPECT_TRUE(failures.empty());
  display.CreateToolbar({{kCommandFind, 7, u"Find"}});
  display.CreateToolbar({{kCommandFind, 4, u""}});
  display.CreateToolbar({{kCommandFind, 4, u"Find"}, {kCommandFind, 4, u"Find"}});
  EXPECT_EQ(failures, (std::vector<std::string>{"display: a toolbar button without its image",
                                                "display: a toolbar button without a tooltip",
                                                "display: a toolbar with one command twice"}));
}

TEST_F(Reading, PanesMadeAnewKeepTheToolbar) {
  ShowArticle(u"x");
  display.CreateToolbar({{kCommandFind, 4, u"Find"}});
  display.CreatePanes(u"Tahoma", 12);
  EXPECT_EQ(display.article().source, u"");
  EXPECT_EQ(display.article().toolbar.size(), 1U);
  EXPECT_EQ(display.article().header_font_pixels, 12);
}

// --- pop-up menus and save dialogs ---

TEST_F(Reading, AnnouncedEntriesAreChosen) {
  ShowMain(kThreadTab);
  display.ExpectPopUp(u"Mark Read");
  display.ExpectPopUp(u"");
  EXPECT_EQ(display.ShowPopUp(window, {{7, u"Delete", true}, {0, u""}, {8, u"Mark Read"}}), 8U);
  EXPECT_EQ(display.ShowPopUp(window, {{7, u"Delete"}}), 0U) << "dismissed";
  EXPECT_EQ(display.ShowPopUp(window, {}), 0U);
  EXPECT_TRUE(failures.empty());
  ASSERT_EQ(display.pop_ups().size(), 2U);
  EXPECT_EQ(display.pop_ups()[0][2].text, u"Mark Read");
}

TEST_F(Reading, MenusThatNobodyAnnouncedFail) {
  ShowMain(kThreadTab);
  EXPECT_EQ(display.ShowPopUp(window, {{7, u"Delete"}}), 0U);
  display.ExpectPopUp(u"Copy");
  EXPECT_EQ(display.ShowPopUp(window, {{7, u"Delete"}}), 0U);
  EXPECT_EQ(failures, (std::vector<std::string>{"display: unannounced pop-up menu",
                                                "display: no entry of the pop-up menu: Copy"}));
}

TEST_F(Reading, MenusThatCannotBeChosenFromFail) {
  ShowMain(kThreadTab);
  for (int i = 0; i < 3; ++i) display.ExpectPopUp(u"");
  display.ShowPopUp(window, {{0, u"a"}});
  display.ShowPopUp(window, {{1, u""}});
  display.ShowPopUp(window, {{1, u"a"}, {1, u"b"}});
  EXPECT_EQ(display.ShowPopUp(99, {{1, u"a"}}), 0U);
  EXPECT_EQ(failures,
            (std::vector<std::string>{"display: a menu entry that cannot be told from no choice",
                                      "display: a menu entry without a text",
                                      "display: a menu with one command twice",
                                      "display: ShowPopUp for a window that does not exist"}));
}

TEST_F(Reading, AnnouncedPathsAreReturned) {
  ShowMain(kArticleTab);
  display.ExpectSaveFile(u"\\a.txt");
  display.ExpectSaveFile(std::nullopt);
  const SaveFileTraits traits{u"Save article as", u"a.txt", u"Text (*.txt)", u"*.txt", u"txt"};
  EXPECT_EQ(display.SaveFile(window, traits), u"\\a.txt");
  EXPECT_EQ(display.SaveFile(window, traits), std::nullopt);
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(display.SaveFile(window, traits), std::nullopt);
  EXPECT_EQ(failures, std::vector<std::string>{"display: unannounced save dialog"});
  ASSERT_EQ(display.save_dialogs().size(), 3U);
  EXPECT_EQ(display.save_dialogs()[0].default_name, u"a.txt");
  display.ExpectSaveFile(u"");
  EXPECT_EQ(failures.size(), 2U);
}

TEST_F(Reading, AnnouncedPathsOfFilesToOpenAreReturned) {
  ShowMain(kArticleTab);
  display.ExpectOpenFile(u"/old.mbox");
  display.ExpectOpenFile(std::nullopt);
  display.ExpectSaveFile(u"\\a.txt");
  const OpenFileTraits traits{u"Import file", u"All files (*.*)", u"*.*", u"*"};
  EXPECT_EQ(display.OpenFile(window, traits), u"/old.mbox");
  EXPECT_EQ(display.OpenFile(window, traits), std::nullopt);
  EXPECT_TRUE(failures.empty());
  EXPECT_EQ(display.OpenFile(window, traits), std::nullopt) << "a save dialog was announced";
  EXPECT_EQ(failures, std::vector<std::string>{"display: unannounced open dialog"});
  EXPECT_EQ(display.SaveFile(window, {}), u"\\a.txt");
  ASSERT_EQ(display.open_dialogs().size(), 3U);
  EXPECT_EQ(display.open_dialogs()[0].title, u"Import file");
}

TEST_F(Reading, PathsThatNoOpenDialogReturnsFail) {
  display.ExpectOpenFile(u"");
  display.ExpectOpenFile(std::u16string(260, u'x'));
  EXPECT_EQ(failures, (std::vector<std::string>{
                          "display: no open dialog returns an empty path",
                          "display: no open dialog returns a path of more than 259 characters"}));
  display.ExpectOpenFile(std::u16string(259, u'x'));
  EXPECT_EQ(failures.size(), 2U);
}

TEST_F(Reading, AnswersLeftOverFail) {
  display.ExpectPopUp(u"x");
  display.Verify();
  display.ExpectSaveFile(std::nullopt);
  display.Verify();
  display.Verify();
  EXPECT_EQ(failures.size(), 2U);
  display.ExpectOpenFile(std::nullopt);
  display.Verify();
  display.Verify();
  EXPECT_EQ(failures.size(), 3U);
}

TEST_F(Reading, ADisplayThatHasGoneAnswersNothing) {
  ShowMain(kThreadTab);
  display.Leave();
  EXPECT_EQ(display.ShowPopUp(window, {{7, u"Delete"}}), 0U);
  EXPECT_EQ(display.SaveFile(window, {}), std::nullopt);
  EXPECT_EQ(display.OpenFile(window, {}), std::nullopt);
  EXPECT_TRUE(display.Fonts().empty());
  EXPECT_TRUE(failures.empty());
}

// --- drop-down lists and selected texts ---

TEST_F(Reading, ADropDownListIsFilledAndChosenFrom) {
  ShowMain(kGroupTab);
  const WindowHandle dialog = display.Create(kDialogKillfileEntry, window, DialogKind::kModal);
  EXPECT_EQ(display.Read(dialog, kControlAuthorRule).choice, -1);
  display.Write(dialog, kControlAuthorRule, Choices{{u"kill", u"require", u"ignore"}});
  EXPECT_EQ(display.Read(dialog, kControlAuthorRule).choice, 0);
  display.Write(dialog, kControlAuthorRule, Choice{2});
  EXPECT_EQ(display.Read(dialog, kControlAuthorRule).choice, 2);
  EXPECT_FALSE(display.Choose(dialog, kControlAuthorRule, 1)) << "it is not shown";
  display.Show(dialog);
  EXPECT_TRUE(Waiting().empty()) << "the program's own choices send nothing";
  EXPECT_TRUE(display.Choose(dialog, kControlAuthorRule, 1));
  EXPECT_TRUE(display.Choose(dialog, kControlAuthorRule, 1));
  EXPECT_EQ(display.Read(dialog, kControlAuthorRule).choice, 1);
  const auto messages = Waiting();
  ASSERT_EQ(messages.size(), 1U) << "the same choice again is none";
  EXPECT_EQ(messages[0].window, dialog);
  EXPECT_EQ(messages[0].id, kControlAuthorRule);
  EXPECT_FALSE(display.Choose(dialog, kControlAuthorRule, 3));
  EXPECT_FALSE(display.Choose(dialog, kControlAuthorRule, -1));
  EXPECT_FALSE(display.Choose(dialog, kControlAuthorText, 0));
  display.Write(dialog, kControlAuthorRule, Choices{{}});
  EXPECT_EQ(display.Read(dialog, kControlAuthorRule).choice, -1);
  EXPECT_TRUE(failures.empty());
}

TEST_F(Reading, ChoicesThatAreNotThereFail) {
  ShowMain(kGroupTab);
  const WindowHandle dialog = display.Create(kDialogKillfileEntry, window, DialogKind::kModal);
  display.Write(dialog, kControlAuthorRule, Choices{{u"kill"}});
  display.Write(dialog, kControlAuthorRule, Choice{1});
  display.Write(dialog, kControlAuthorRule, Choice{-1});
  display.Write(dialog, kControlAuthorText, Choices{{u"kill"}});
  SelectText(display, dialog, kControlAuthorRule);
  EXPECT_EQ(failures, (std::vector<std::string>{"display: no choice 1", "display: no choice -1",
                                                "display: Choices of control 1011",
                                                "display: TextState of control 1010"}));
  EXPECT_EQ(display.Read(dialog, kControlAuthorRule).choice, 0);
  display.Write(dialog, 4711, Choices{{u"x"}});
  display.Write(99, kControlAuthorRule, Choice{5});
  SelectText(display, 99, kControlAuthorText);
  EXPECT_EQ(failures.size(), 4U) << "what does not exist takes every write";
}

TEST_F(Reading, ValuesThatAControlDoesNotHaveFail) {
  ShowMain(kGroupTab);
  const WindowHandle dialog = display.Create(kDialogNewGroup, window, DialogKind::kModal);
  display.Write(dialog, kControlGroupName, Position{3});
  display.Write(dialog, kControlGroupName, Checked{true});
  display.Write(dialog, kControlOk, Rows{{{{u"x"}}}});
  EXPECT_EQ(failures, (std::vector<std::string>{"display: Position of control 1001",
                                                "display: Checked of control 1001",
                                                "display: Rows of control 1"}));
  EXPECT_FALSE(display.Read(dialog, kControlGroupName).checked);
  EXPECT_EQ(display.Read(dialog, kControlGroupName).position, 0);
}

TEST_F(Reading, OneTextIsSelectedUntilItIsTypedOver) {
  ShowMain(kGroupTab);
  const WindowHandle dialog = display.Create(kDialogKillfileEntry, window, DialogKind::kModal);
  display.Show(dialog);
  SelectText(display, dialog, kControlAuthorText);
  SelectText(display, dialog, kControlSubjectText);
  EXPECT_FALSE(display.Control(dialog, kControlAuthorText)->text_selected());
  EXPECT_TRUE(display.Control(dialog, kControlSubjectText)->text_selected());
  EXPECT_TRUE(display.Type(dialog, kControlSubjectText, u"x"));
  EXPECT_FALSE(display.Control(dialog, kControlSubjectText)->text_selected());
}

TEST_F(Reading, TheObserverSeesAndAnswers) {
  struct Watcher : DisplayObserver {
    void OnTreeChanged() override { seen.emplace_back("tree"); }
    void OnArticleChanged() override { seen.emplace_back("article"); }
    void OnViewerScrolled(ScrollStep) override { seen.emplace_back("scroll"); }
    void OnViewerCopied() override { seen.emplace_back("copy"); }
    std::optional<std::uint32_t> OnPopUp(const std::vector<PopUpEntry>& entries) override {
      return entries.back().command;
    }
    std::optional<std::optional<std::u16string>> OnSaveFile(const SaveFileTraits&) override {
      return std::optional<std::u16string>(u"\\x");
    }
    std::optional<std::optional<std::u16string>> OnOpenFile(const OpenFileTraits&) override {
      return std::optional<std::u16string>(u"/y");
    }
    std::vector<std::string> seen;
  } watcher;
  display.SetObserver(&watcher);
  ShowTree();
  EXPECT_EQ(watcher.seen, (std::vector<std::string>{"tree", "tree"}));
  watcher.seen.clear();
  display.SetLabels({});
  display.SelectItem(1);
  display.SetCaption(u"x");
  display.CreatePanes(u"", 8);
  display.ClearViewer();
  display.AddToViewer(u"x", false);
  display.EndOfSource();
  display.SetHeader({});
  display.ScrollViewer(ScrollStep::kTop);
  display.CopyFromViewer();
  EXPECT_EQ(watcher.seen, (std::vector<std::string>{"tree", "tree", "tree", "article", "article",
                                                    "article", "article", "scroll", "copy"}));
  EXPECT_EQ(display.ShowPopUp(window, {{7, u"a"}, {8, u"b"}}), 8U);
  EXPECT_EQ(display.SaveFile(window, {}), u"\\x");
  EXPECT_EQ(display.OpenFile(window, {}), u"/y");
  EXPECT_TRUE(failures.empty());
}

}  // namespace
}  // namespace quillet::port
