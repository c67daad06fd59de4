// SPDX-License-Identifier: GPL-3.0-or-later
// What else may happen while somebody reads: downloads, changed preferences, the end.
#include <algorithm>

#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "mime/decoding.h"
#include "tests/app/reading_fixture.h"

namespace quillet {
namespace {

// --- The tree is built anew ----------------------------------------------------------------------

class Connected : public ReadingTest {
 protected:
  Connected() {
    SetNumbers(u"checked", {1, 0});
    SetDword(u"numservers", 1);
    SetList(u"servers", {u"news.example.org"});
    SetNumbers(u"port", {119});
    SetNumbers(u"lastdownloaded", {4, 0});
    SetNumbers(u"lastonserver", {5, 9});
    SetDword(u"beepafter", 0);
    fake_.sockets.SetHost("news.example.org", {192, 0, 2, 7});
    fake_.files.SetFreeSpace({1'000'000'000, 1'000'000'000});
  }

  void Exchange(const std::string& line, const std::string& reply) {
    fake_.sockets.Client(line + "\r\n");
    fake_.sockets.Server(reply + "\r\n");
  }
  // Fay's reply to Dan is number 5 there.
  void ServesOneMore() {
    fake_.sockets.Server("200 welcome\r\n");
    Exchange("GROUP a", "211 5 1 5 a");
    Exchange("STAT 5", "223 5 <6@x>");
    Exchange("HEAD",
             "221 5 <6@x>\r\nMessage-ID: <6@x>\r\nSubject: Re: Other\r\nFrom: Fay\r\n"
             "References: <4@x>\r\n.");
    Exchange("BODY", "222 5 <6@x>\r\nText of Fay.\r\n.");
    fake_.sockets.Client("QUIT\r\n");
  }
  void ScheduledDownload() {
    fake_.shell.ScheduledStartElsewhere();
    WaitIdle();
  }
};

TEST_F(Connected, TheCaptionTellsWhatIsLeftOnTheServer) {
  StartAndWait();
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"a: 1 on server");
  End();
}

TEST_F(Connected, ServerMarksOfTheGroupListShowInTheCaptionNextTime) {
  StartReading(u"Ann");
  Tab(0);
  Confirm(u"This may cause Quillet CE to download duplicates");
  Command(kCommandServerUnread);
  Tab(1);
  EXPECT_EQ(Caption(), u"a: 5 on server");
  Tab(0);
  Confirm(u"This may cause Quillet CE to skip articles on the server.");
  Command(kCommandServerRead);
  Tab(1);
  EXPECT_EQ(Caption(), u"a: 0 on server");
  End();
}

TEST_F(Connected, NewArticlesAppearAtOnceToWhoLooksAtTheThreads) {
  StartAndWait();
  OpenGroup(0);
  Click(u"Bob");
  fake_.display.ExpandItem(fake_.display.FindItem(u"3/3 Hello"), true);
  ServesOneMore();
  ScheduledDownload();
  EXPECT_EQ(ShownTab(), 1);
  EXPECT_EQ(Rows(), (Texts{u"3/3 Hello", u"Ann", u"Bob", u"Cid", u"2/2 Other", u"Dan", u"Fay"}));
  EXPECT_EQ(SelectedText(), u"Bob");
  EXPECT_TRUE(fake_.display.tree().expanded.contains(fake_.display.FindItem(u"3/3 Hello")));
  EXPECT_EQ(Caption(), u"a: 0 on server");
  EXPECT_EQ(Counts(0), u"5/5");
  ExpectInStep();
  End();
}

TEST_F(Connected, ScheduledStartsThatWaitAreOne) {
  StartAndWait();
  Command(kCommandAbout);
  for (int i = 0; i < 3; ++i) fake_.shell.ScheduledStartElsewhere();
  WaitIdle();
  EXPECT_TRUE(fake_.sockets.connections().empty());
  ServesOneMore();
  fake_.display.Press(fake_.display.dialogs().back().handle, kControlOk);
  WaitIdle();
  EXPECT_EQ(fake_.sockets.connections().size(), 1U);
  EXPECT_EQ(Counts(0), u"5/5");
  // The next one is another.
  fake_.sockets.Server("200 welcome\r\n");
  Exchange("GROUP a", "211 5 1 5 a");
  fake_.sockets.Client("QUIT\r\n");
  ScheduledDownload();
  EXPECT_EQ(fake_.sockets.connections().size(), 2U);
  End();
}

TEST_F(Connected, WhoReadsAnArticleMeanwhileSeesThemOnTheWayBack) {
  StartReading(u"Dan");
  ServesOneMore();
  ScheduledDownload();
  EXPECT_EQ(ShownTab(), 2);
  EXPECT_TRUE(Shows(u"Text of Dan."));
  EXPECT_EQ(Counts(0), u"4/5");
  Key('M', port::kModifierControl);  // no command here: nothing happens
  Key(port::kKeyEscape);
  EXPECT_EQ(Rows()[4], u"1/2 Other");
  EXPECT_EQ(SelectedText(), u"Dan");
  ExpectInStep();
  End();
}

TEST_F(Connected, WhoLooksAtTheGroupsSeesThemInTheThreads) {
  StartReading(u"Dan");
  Tab(0);
  ServesOneMore();
  Command(kCommandConnect);
  EXPECT_EQ(ShownTab(), 0);
  EXPECT_EQ(Counts(0), u"4/5");
  OpenGroup(0);
  EXPECT_EQ(Rows().back(), u"Fay");
  EXPECT_EQ(SelectedText(), u"Dan");
  End();
}

TEST_F(Connected, AConnectionThatBreaksAfterTheFirstArticleShowsIt) {
  // It is not made again.
  std::string none;
  AppendU32(none, 0);
  fake_.registry.Create(kExtensionsPath)->Set(u"retries", port::RegistryType::kDword, none);
  StartAndWait();
  OpenGroup(0);
  fake_.sockets.Server("200 welcome\r\n");
  Exchange("GROUP a", "211 6 1 6 a");
  Exchange("STAT 5", "223 5 <6@x>");
  Exchange("HEAD", "221 5 <6@x>\r\nMessage-ID: <6@x>\r\nSubject: New\r\nFrom: Fay\r\n.");
  Exchange("BODY", "222 5 <6@x>\r\nText of Fay.\r\n.");
  fake_.sockets.ClientLineStarting("");
  fake_.sockets.Closes();
  ScheduledDownload();
  EXPECT_EQ(Rows().back(), u"Fay");
  ExpectInStep();
  End();
}

TEST_F(Connected, AConnectionThatNeverStandsBuildsNothing) {
  StartAndWait();
  OpenGroup(0);
  const int fills = fake_.display.tree().fills;
  fake_.sockets.FailConnect(10061);
  ScheduledDownload();
  EXPECT_EQ(fake_.display.tree().fills, fills);
  End();
}

TEST_F(ReadingTest, ReopenedDatabasesAreReadAnew) {
  StartAndWait();
  OpenGroup(0);
  OnProgramThread([] {
    Put(u"a", Written(7, "", "Gil", "More"));
    DeleteValue(DatabaseIndex::kArticles, "a");
    ReopenDatabases();
  });
  WaitIdle();
  EXPECT_EQ(Rows().back(), u"Gil");
  End();
}

// --- Changed preferences -------------------------------------------------------------------------

TEST_F(ReadingTest, ChangedThreadingIsSeenAtOnceByWhoLooksAtTheThreads) {
  StartAndWait();
  OpenGroup(0);
  Apply([](Prefs& prefs) { prefs.usethreading = 0; });
  EXPECT_EQ(Rows(), (Texts{u"Hello", u"Ann", u"Re: Hello", u"Bob", u"Re: Hello", u"Cid", u"Other",
                           u"Dan"}));
  Apply([](Prefs& prefs) { prefs.reversethread = 1; });
  EXPECT_EQ(Rows()[0], u"Other");
  End();
}

TEST_F(ReadingTest, ChangedThreadingIsSeenAtTheNextShowing) {
  StartReading(u"Ann");
  const int fills = fake_.display.tree().fills;
  Apply([](Prefs& prefs) { prefs.reversethread = 1; });
  EXPECT_EQ(ShownTab(), 2);
  EXPECT_EQ(fake_.display.tree().fills, fills);
  Key(port::kKeyEscape);
  EXPECT_EQ(Rows(), (Texts{u"Other", u"Dan", u"2/3 Hello", u"Ann", u"Bob", u"Cid"}));
  EXPECT_EQ(SelectedText(), u"Ann");
  End();
}

TEST_F(ReadingTest, OtherPreferencesLeaveTheViewsAlone) {
  StartReading(u"Ann");
  const int fills = fake_.display.tree().fills;
  const int showings = showings_.count;
  Apply([](Prefs& prefs) { prefs.maxstore = 50; });
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.tree().fills, fills);
  EXPECT_EQ(showings_.count, showings);
  End();
}

TEST_F(ReadingTest, AChangedThreadFontIsSeenInTheSameTree) {
  StartReading(u"Bob");
  Apply([](Prefs& prefs) {
    prefs.threadfont = u"Arial";
    prefs.threadfontsize = 6;
  });
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.tree().font_face, u"Arial");
  EXPECT_EQ(fake_.display.tree().font_size_index, 6);
  EXPECT_EQ(Rows().size(), 6U);
  EXPECT_EQ(SelectedText(), u"Bob");
  Apply([](Prefs& prefs) { prefs.threadfontsize = 2; });
  EXPECT_EQ(fake_.display.tree().font_size_index, 2);
  EXPECT_EQ(Rows().size(), 6U);
  EXPECT_EQ(SelectedText(), u"Bob");
  End();
}

TEST_F(ReadingTest, AThreadFontChangedBeforeTheFirstTreeCreatesNone) {
  StartAndWait();
  Apply([](Prefs& prefs) { prefs.threadfontsize = 6; });
  EXPECT_FALSE(fake_.display.tree().created);
  OpenGroup(0);
  EXPECT_EQ(fake_.display.tree().font_size_index, 6);
  End();
}

TEST_F(ReadingTest, AChangedHeaderFontRemakesThePanesWithTheArticle) {
  StartReading(u"Bob");
  Apply([](Prefs& prefs) { prefs.articleheaderfontsize = 8; });
  EXPECT_EQ(fake_.display.article().header_font_pixels, 24);
  EXPECT_TRUE(Shows(u"Text of Bob."));
  EXPECT_EQ(From(), u"From: Bob");
  Key(port::kKeyEscape);
  Apply([](Prefs& prefs) { prefs.articleheaderfont = u"Arial"; });
  EXPECT_EQ(ShownTab(), 1);
  OpenArticle(u"Cid");
  EXPECT_EQ(fake_.display.article().header_font_face, u"Arial");
  EXPECT_TRUE(Shows(u"Text of Cid."));
  End();
}

TEST_F(ReadingTest, WhatTheArticleLooksLikeIsShownAnew) {
  StartReading(u"Bob");
  EXPECT_FALSE(Shows(u"Message-ID:"));
  Apply([](Prefs& prefs) { prefs.showheaders = 1; });
  EXPECT_TRUE(Shows(u"Message-ID:"));
  const std::vector<std::function<void(Prefs&)>> changes = {
      [](Prefs& prefs) { prefs.font = u"Courier"; }, [](Prefs& prefs) { prefs.fontsize = 5; },
      [](Prefs& prefs) { prefs.colorquoted = 0; }, [](Prefs& prefs) { prefs.removecrs = 1; }};
  for (const auto& change : changes) {
    const int showings = showings_.count;
    Apply(change);
    EXPECT_EQ(showings_.count, showings + 1);
  }
  Tab(1);
  const int showings = showings_.count;
  Apply([](Prefs& prefs) { prefs.showheaders = 0; });
  EXPECT_EQ(showings_.count, showings);
  EXPECT_EQ(ShownTab(), 1);
  End();
}

// Turns a box on the last page and leaves by OK.
class SwitchedExtension : public ReadingTest {
 protected:
  void SwitchDecoding(bool on, std::uint32_t end = kControlOk) {
    Switch(kControlDecodeMime, on, end);
  }
  void Switch(std::uint32_t box, bool on, std::uint32_t end = kControlOk) {
    Command(kCommandPreferences);
    const std::vector<port::ShownDialog> dialogs = fake_.display.dialogs();
    const auto sheet = std::ranges::find_if(
        dialogs, [](const port::ShownDialog& dialog) { return !dialog.pages.empty(); });
    ASSERT_NE(sheet, dialogs.end());
    // The second time it is in front already.
    fake_.display.ChoosePage(sheet->handle, static_cast<int>(sheet->pages.size()) - 1);
    WaitIdle();
    const port::WindowHandle page = fake_.display.FindDialog(sheet->handle)->pages.back();
    EXPECT_TRUE(fake_.display.Tick(page, box, on));
    WaitIdle();
    EXPECT_TRUE(fake_.display.Press(sheet->handle, end));
    WaitIdle();
  }
};

TEST_F(SwitchedExtension, DecodingShowsTheArticleAnewAtOnceAndTheThreadsAtTheirNextShowing) {
  StartReading(u"Bob");
  for (const bool on : {false, true}) {
    const int showings = showings_.count, fills = fake_.display.tree().fills;
    SwitchDecoding(on);
    EXPECT_EQ(OnProgram([] { return Decoding(); }), on);
    EXPECT_EQ(ShownTab(), 2);
    EXPECT_EQ(showings_.count, showings + 1);
    EXPECT_EQ(fake_.display.tree().fills, fills);
    Key(port::kKeyEscape);
    EXPECT_EQ(fake_.display.tree().fills, fills + 1);
    EXPECT_EQ(SelectedText(), u"Bob");
    Tab(2);
  }
  End();
}

TEST_F(SwitchedExtension, DecodingShowsTheThreadsAnewAtOnceToWhoLooksAtThem) {
  StartAndWait();
  OpenGroup(0);
  const int fills = fake_.display.tree().fills;
  SwitchDecoding(false);
  EXPECT_EQ(fake_.display.tree().fills, fills + 1);
  End();
}

TEST_F(SwitchedExtension, DecodingThatDidNotChangeOrWasCancelledLeavesTheViewsAlone) {
  StartReading(u"Bob");
  const int showings = showings_.count, fills = fake_.display.tree().fills;
  SwitchDecoding(true);
  fake_.display.Expect(
      u"Do you want to apply these changes? If you press No, the changes will be discarded.",
      port::kIdNo);
  SwitchDecoding(false, kControlCancel);
  EXPECT_TRUE(OnProgram([] { return Decoding(); }));
  Key(port::kKeyEscape);
  EXPECT_EQ(showings_.count, showings);
  EXPECT_EQ(fake_.display.tree().fills, fills);
  End();
}

TEST_F(SwitchedExtension, AncestorsThreadAnewAtOnceForWhoLooksAtTheThreads) {
  StartAndWait();
  OnProgram([] {
    AsciiArticle late = Written(6, "<gone@x>", "Fay", "Quite another thing");
    late.headers = "References: <4@x> <gone@x>";
    Put(u"a", late);
    return true;
  });
  OpenGroup(0);
  const Texts below = {u"3/3 Hello", u"Ann", u"Bob", u"Cid", u"2/2 Other", u"Dan", u"Fay"};
  const Texts alone = {u"3/3 Hello",           u"Ann", u"Bob", u"Cid", u"Other", u"Dan",
                       u"Quite another thing", u"Fay"};
  EXPECT_EQ(Rows(), below);
  Switch(kControlAncestors, false);
  EXPECT_EQ(Rows(), alone);
  Switch(kControlAncestors, true);
  EXPECT_EQ(Rows(), below);
  End();
}

TEST_F(SwitchedExtension, AncestorsThreadAnewForAReaderOnTheWayBack) {
  StartReading(u"Bob");
  const int showings = showings_.count, fills = fake_.display.tree().fills;
  Switch(kControlAncestors, false);
  EXPECT_EQ(showings_.count, showings);
  EXPECT_EQ(fake_.display.tree().fills, fills);
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.tree().fills, fills + 1);
  End();
}

TEST_F(Connected, AnotherServerShowsInTheCaption) {
  SetDword(u"numservers", 2);
  SetList(u"servers", {u"one", u"two"});
  SetNumbers(u"port", {119, 119});
  SetNumbers(u"lastdownloaded", {4, 0, 10, 0});
  SetNumbers(u"lastonserver", {6, 9, 17, 0});
  StartAndWait();
  OpenGroup(0);
  EXPECT_EQ(Caption(), u"a: 2 on server");
  Apply([](Prefs& prefs) { prefs.selectedserver = 1; });
  EXPECT_EQ(Caption(), u"a: 7 on server");
  Apply([](Prefs& prefs) { prefs.allserversareone = 1; });
  EXPECT_EQ(Caption(), u"a: 2 on server");
  End();
}

TEST_F(ReadingTest, ChangedTabPlacementStartsAtTheGroupsWithNothingOpen) {
  StartReading(u"Bob");
  Apply([](Prefs& prefs) { prefs.sidetabs = 2; });
  EXPECT_EQ(ShownTab(), 0);
  EXPECT_FALSE(ArticleIsCurrent());
  EXPECT_FALSE(TreeIsThere());
  EXPECT_EQ(CurrentGroup(), std::nullopt);
  EXPECT_FALSE(fake_.display.tree().created);
  Tab(2);
  EXPECT_EQ(fake_.display.article().source, kNoArticle);
  Tab(0);
  OpenGroup(0);
  EXPECT_EQ(Rows().size(), 6U);
  OpenArticle(u"Cid");
  EXPECT_TRUE(Shows(u"Text of Cid."));
  EXPECT_FALSE(fake_.display.article().toolbar.empty());
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, ChangedTabPlacementTakesTheOtherChangesAlong) {
  StartAndWait();
  OpenGroup(0);
  Apply([](Prefs& prefs) {
    prefs.sidetabs = 1;
    prefs.reversethread = 1;
    prefs.threadfontsize = 7;
    prefs.groupfontsize = 6;
  });
  EXPECT_EQ(fake_.display.list().font_size_index, 6);
  OpenGroup(0);
  EXPECT_EQ(Rows()[0], u"Other");
  EXPECT_EQ(fake_.display.tree().font_size_index, 7);
  End();
}

TEST_F(ReadingTest, AStoreThatStaysIsReadOn) {
  fake_.files.AddCard(u"Card");
  const std::u16string folder = u"\\Card\\Quillet CE News";
  fake_.files.CreateFolder(folder);
  StartReading(u"Bob");
  for (const char16_t* name : {u"\\Quillet articles.gdb", u"\\Quillet newsgroups.gdb"}) {
    fake_.files.Copy(u"\\Quillet CE News\\Quillet pending posts.gdb", folder + name);
  }
  fake_.display.Expect(u"Databases already exist in new location.", port::kIdNo);
  Apply([](Prefs& prefs) { prefs.databasestore = u"Card"; });
  WaitIdle();
  EXPECT_TRUE(ArticleIsCurrent());
  EXPECT_EQ(ShownTab(), 2);
  EXPECT_FALSE(Rows().empty());
  EXPECT_EQ(Counts(0), u"3/4");
  ExpectInStep();
  End();
}

TEST_F(ReadingTest, AStoreThatMovedIsReadOn) {
  fake_.files.AddCard(u"Card");
  StartReading(u"Bob");
  Apply([](Prefs& prefs) { prefs.databasestore = u"Card"; });
  WaitIdle();
  EXPECT_EQ(ShownTab(), 2);
  Key(port::kKeyRight, port::kModifierControl);
  EXPECT_TRUE(Shows(u"Text of Cid."));
  Key(port::kKeyEscape);
  EXPECT_EQ(Rows()[0], u"1/3 Hello");
  ExpectInStep();
  End();
}

// --- The end -------------------------------------------------------------------------------------

class Ending : public ReadingTest {
 protected:
  ~Ending() override {
    EXPECT_EQ(gReading.tree, nullptr);
    EXPECT_EQ(gReading.article, nullptr);
    EXPECT_EQ(gReading.tree_group, std::nullopt);
  }
};

TEST_F(Ending, ClosingWithAnOpenArticleLeavesNothing) {
  StartReading(u"Bob");
  End();
}

TEST_F(Ending, ClosingWithAShownTreeDeletesReadArticles) {
  SetDword(u"autodelete", 10);  // read articles, when the program ends
  StartReading(u"Bob");
  End();
  OpenStoreAgain();
  EXPECT_FALSE(ArticleExists("<2@x>"));
  EXPECT_TRUE(ArticleExists("<1@x>"));
  EXPECT_TRUE(ArticleExists("<5@x>"));
  EXPECT_EQ(CountGroupArticles(u"a", false), 3U);
  CloseDatabases();
}

TEST_F(Ending, ClosingWithAShownTreeDeletesAllArticles) {
  SetDword(u"autodelete", 8);
  StartReading(u"Bob");
  End();
  OpenStoreAgain();
  EXPECT_EQ(CountGroupArticles(u"a", false), 0U);
  EXPECT_EQ(CountGroupArticles(u"b", false), 0U);
  CloseDatabases();
}

TEST_F(Ending, TheSessionEndsInEachViewAndDialog) {
  StartReading(u"Bob");
  fake_.display.EndSession();
  Join();
}

TEST_F(Ending, TheSessionEndsInTheKillfileDialog) {
  StartReading(u"Bob");
  fake_.display.SendCommand(kCommandAddToKillfile);
  ASSERT_NE(fake_.display.WaitForDialog(125), 0U);
  fake_.display.EndSession();
  Join();
  EXPECT_EQ(Dword(u"killfilecount"), 0U);
}

TEST_F(Ending, TheSessionEndsWhileTheThreadsAreShown) {
  StartAndWait();
  OpenGroup(0);
  fake_.display.EndSession();
  Join();
}

// The error closes the window at once, while whoever met it still holds on to the tree.
TEST_F(Ending, ACriticalErrorLeavesTheTreeToWhoWorksOnIt) {
  SetDword(u"autodelete", 8);
  StartReading(u"Bob");
  std::string ids;
  fake_.queues.PostCall(id_, [&ids] {
    ReportCriticalError(u"out of memory", u"NewNode");
    EXPECT_EQ(gMainWindow, 0U);
    for (const Node* node = gReading.tree->root().firstChild; node != nullptr;
         node = node->firstChild) {
      ids += node->messageId;
    }
    EXPECT_EQ(gReading.article->messageId, "<2@x>");
  });
  Join();
  EXPECT_EQ(ids, "<1@x><2@x><3@x>");
}

TEST_F(Ending, ACriticalErrorDeletesOnTheWayOutAsQuittingDoes) {
  SetDword(u"autodelete", 10);  // read articles
  StartReading(u"Bob");
  fake_.queues.PostCall(id_, [] { ReportCriticalError(u"out of memory", u"NewNode"); });
  Join();
  OpenStoreAgain();
  EXPECT_FALSE(ArticleExists("<2@x>"));
  EXPECT_EQ(CountGroupArticles(u"a", false), 3U);
  EXPECT_EQ(CountGroupArticles(u"b", false), 1U);
  CloseDatabases();
}

// The operation still works on what would be deleted.
TEST_F(Ending, ACriticalErrorInAnOperationDeletesNothing) {
  SetDword(u"autodelete", 8);
  StartReading(u"Bob");
  fake_.queues.PostCall(id_, [] {
    RunWithProgress(u"Working...", [] {
      ReportCriticalError(u"out of memory", u"NewNode");
      return 0;
    });
  });
  Join();
  OpenStoreAgain();
  EXPECT_EQ(CountGroupArticles(u"a", false), 4U);
  EXPECT_EQ(CountGroupArticles(u"b", false), 1U);
  CloseDatabases();
}

}  // namespace
}  // namespace quillet
