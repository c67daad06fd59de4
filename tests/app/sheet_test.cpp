// SPDX-License-Identifier: GPL-3.0-or-later
// The sheet itself: its pages, OK and Cancel, the changed flag, what comes back to the front.
#include "tests/app/sheet_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

TEST_F(SheetTest, HasItsPagesInOrder) {
  StartAndWait();
  Open();
  EXPECT_EQ(ShownSheet().caption, u"Quillet CE Preferences");
  std::vector<std::u16string> captions;
  std::vector<std::uint32_t> forms;
  for (const port::WindowHandle page : ShownSheet().pages) {
    captions.push_back(fake_.display.FindDialog(page)->caption);
    forms.push_back(fake_.display.FindDialog(page)->form);
  }
  EXPECT_THAT(captions,
              ElementsAre(u"Server", u"Connection", u"Reply information", u"Signature",
                          u"Download options", u"Storage options", u"Compression", u"Killfile",
                          u"Group view options", u"Thread view options", u"Article view options",
                          u"Scheduling", u"Database Management", u"Advanced", u"Advanced:headers",
                          u"Advanced: Debugging", u"Extensions"));
  EXPECT_THAT(forms, ElementsAre(140U, 142U, 143U, 144U, 145U, 146U, 147U, 148U, 149U, 150U, 151U,
                                 152U, 153U, 154U, 155U, 156U, 157U));
}

TEST_F(SheetTest, CommandOpensThePageShownLast) {
  SetDword(u"prefspage", kSchedulingPlace);
  StartAndWait();
  Open();
  EXPECT_EQ(Place(), kSchedulingPlace);
  Turn(kAdvancedPlace);
  Cancel();
  EXPECT_FALSE(IsOpen());
  Open();
  EXPECT_EQ(Place(), kAdvancedPlace);
}

TEST_F(SheetTest, PageShownLastIsStoredWithTheNextWrite) {
  StartAndWait();
  OpenAt(kExtensionsPlace);
  Cancel();
  End();
  EXPECT_EQ(Dword(u"prefspage"), 16U);
}

TEST_F(SheetTest, SettingsThatNobodyTouchedStayAsTheyAre) {
  SetDword(u"fontsize", 0);
  SetDword(u"beepafter", 7);
  StartAndWait();
  const Prefs before = *gPrefs;
  Open();
  for (int place = 0; place <= kExtensionsPlace; ++place) Turn(place);
  Cancel();
  EXPECT_TRUE(fake_.display.boxes().empty());
  OpenAt(kServerPlace);
  for (int place = 0; place <= kExtensionsPlace; ++place) Turn(place);
  Ok();
  EXPECT_EQ(gPrefs->fontsize, 0U);
  EXPECT_EQ(gPrefs->beepafter, 7U);
  EXPECT_EQ(gPrefs->signature, before.signature);
  EXPECT_EQ(gPrefs->transport, before.transport);
  EXPECT_EQ(gPrefs->prefspage, 16U);
}

TEST_F(SheetTest, OkAppliesWhatStandsInEveryPageThatWasShown) {
  StartAndWait();
  OpenAt(kDownloadPlace);
  Tick(kControlBeepAfter, false);
  Turn(kReplyPlace);
  Type(kControlQuoteText, u"| ");
  EXPECT_EQ(gPrefs->beepafter, 1U);
  Ok();
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(gPrefs->beepafter, 0U);
  EXPECT_EQ(gPrefs->quotestring, u"| ");
  EXPECT_EQ(Dword(u"beepafter"), 0U);
  EXPECT_EQ(Text(u"quotestring"), u"| ");
}

TEST_F(SheetTest, CancelWithoutAChangeAsksNothing) {
  StartAndWait();
  OpenAt(kDownloadPlace);
  Tick(kControlBeepAfter, false);
  Tick(kControlBeepAfter, true);
  Turn(kReplyPlace);
  Cancel();
  EXPECT_FALSE(IsOpen());
  EXPECT_TRUE(fake_.display.boxes().empty());
}

TEST_F(SheetTest, CancelAsksAboutAChangeInThePageInFront) {
  StartAndWait();
  OpenAt(kReplyPlace);
  Type(kControlFullName, u"Ann");
  fake_.display.Expect(kApplyQuestion, port::kIdNo);
  Cancel();
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(LastBox(), kApplyQuestion);
  EXPECT_EQ(gPrefs->fullname, u"My Name");
}

TEST_F(SheetTest, CancelAppliesTheChangesOnYes) {
  StartAndWait();
  OpenAt(kReplyPlace);
  Type(kControlFullName, u"Ann");
  Turn(kDownloadPlace);
  fake_.display.Expect(kApplyQuestion, port::kIdYes);
  Cancel();
  EXPECT_EQ(gPrefs->fullname, u"Ann");
  EXPECT_EQ(Text(u"fullname"), u"Ann");
}

// Whoever skips confirmations has not confirmed anything by Cancel.
TEST_F(SheetTest, CancelDropsTheChangesWhenConfirmationsAreSkipped) {
  SetDword(u"skipverifications", 1);
  StartAndWait();
  OpenAt(kReplyPlace);
  Type(kControlFullName, u"Ann");
  Cancel();
  EXPECT_TRUE(fake_.display.boxes().empty());
  EXPECT_EQ(gPrefs->fullname, u"My Name");
}

TEST_F(SheetTest, ResetIsCarriedOutByOkAndKeepsTheKillfile) {
  SetGroups({u"comp.test"});
  SetDword(u"killfilecount", 1);
  SetList(u"killfiletexts", {u"spam"});
  SetNumbers(u"killfilegroups", {1});
  SetDword(u"maxarticles", 7);
  StartAndWait();
  OpenAt(kAdvancedPlace);
  fake_.display.Expect(u"Really reset preferences to defaults?", port::kIdYes);
  fake_.display.Expect(u"Do you also want to reset your killfile?", port::kIdNo);
  Press(kControlResetPrefs);
  EXPECT_EQ(gPrefs->maxarticles, 7U);
  Ok();
  EXPECT_EQ(gPrefs->maxarticles, 50U);
  EXPECT_EQ(gPrefs->numservers, 0U);
  EXPECT_EQ(gPrefs->killfilecount, 1U);
  EXPECT_EQ(gPrefs->numgroups, 1U);
  EXPECT_FALSE(gPrefs->has_transport);
  EXPECT_EQ(Dword(u"maxarticles"), 50U);
}

TEST_F(SheetTest, ResetTakesTheKillfileToo) {
  SetGroups({u"comp.test"});
  SetDword(u"killfilecount", 1);
  SetList(u"killfiletexts", {u"spam"});
  SetNumbers(u"killfilegroups", {1});
  StartAndWait();
  OpenAt(kAdvancedPlace);
  fake_.display.Expect(u"Really reset preferences to defaults?", port::kIdYes);
  fake_.display.Expect(u"Do you also want to reset your killfile?", port::kIdYes);
  Press(kControlResetPrefs);
  Ok();
  EXPECT_EQ(gPrefs->killfilecount, 0U);
}

TEST_F(SheetTest, ResetIsNoChangeThatCancelAsksAbout) {
  SetDword(u"maxarticles", 7);
  StartAndWait();
  OpenAt(kAdvancedPlace);
  fake_.display.Expect(u"Really reset preferences to defaults?", port::kIdYes);
  fake_.display.Expect(u"Do you also want to reset your killfile?", port::kIdYes);
  Press(kControlResetPrefs);
  Cancel();
  EXPECT_FALSE(IsOpen());
  EXPECT_EQ(gPrefs->maxarticles, 7U);
}

TEST_F(SheetTest, ResetThatIsNotWantedAsksNoMore) {
  SetDword(u"maxarticles", 7);
  StartAndWait();
  OpenAt(kAdvancedPlace);
  fake_.display.Expect(u"Really reset preferences to defaults?", port::kIdNo);
  Press(kControlResetPrefs);
  Ok();
  EXPECT_EQ(gPrefs->maxarticles, 7U);
}

TEST_F(SheetTest, PageWithARefusedNumberComesBackAsItWas) {
  StartAndWait();
  OpenAt(kStoragePlace);
  Type(kControlMaxArticleSize, u"1000000000000");
  Type(kControlMaxArticles, u"9");
  fake_.display.Expect(u"The maximum article size must be a number from 1 to 4194303.",
                       port::kIdOk);
  EXPECT_TRUE(fake_.display.ChoosePage(Sheet(), kReplyPlace));
  WaitIdle();
  EXPECT_EQ(Place(), kStoragePlace);
  EXPECT_EQ(Shown(kControlMaxArticleSize).text, u"1000000000000");
  EXPECT_TRUE(Shown(kControlMaxArticleSize).text_selected());
  Type(kControlMaxArticleSize, u"12");
  Turn(kReplyPlace);
  EXPECT_EQ(Place(), kReplyPlace);
  Ok();
  EXPECT_EQ(gPrefs->maxarticlesize, 12U);
  EXPECT_EQ(gPrefs->maxarticles, 9U);
}

TEST_F(SheetTest, OkStaysWithARefusedNumber) {
  StartAndWait();
  OpenAt(kStoragePlace);
  Type(kControlMaxArticles, u"-5");
  fake_.display.Expect(u"The maximum article count must be a number from 1 to 4294967295.",
                       port::kIdOk);
  Ok();
  EXPECT_TRUE(IsOpen());
  // Other pages can be turned to as soon as it is right.
  Type(kControlMaxArticles, u"5");
  Turn(kServerPlace);
  EXPECT_EQ(Place(), kServerPlace);
  Ok();
  EXPECT_EQ(gPrefs->maxarticles, 5U);
}

TEST_F(SheetTest, CancelSaysNothingOfARefusedNumber) {
  StartAndWait();
  OpenAt(kStoragePlace);
  Type(kControlMaxArticles, u"many");
  Cancel();
  EXPECT_FALSE(IsOpen());
  EXPECT_TRUE(fake_.display.boxes().empty());
}

TEST_F(SheetTest, EndOfTheSessionDropsTheSheet) {
  StartAndWait();
  OpenAt(kReplyPlace);
  Type(kControlFullName, u"Ann");
  fake_.display.EndSession();
  Join();
  EXPECT_EQ(Text(u"fullname"), u"My Name");
}

TEST_F(SheetTest, SheetThatCannotBeMadeChangesNothing) {
  StartAndWait();
  fake_.display.FailNextDialog();
  Open();
  EXPECT_FALSE(IsOpen());
  Open();
  EXPECT_TRUE(IsOpen());
}

TEST_F(SheetTest, ConnectingWithoutAServerOpensTheServerPage) {
  SetServers({});
  SetGroups({u"comp.test"});
  SetNumbers(u"checked", {1});
  SetDword(u"prefspage", kAdvancedPlace);
  fake_.display.Expect(u"Welcome to Quillet CE!", port::kIdCancel);
  StartAndWait();
  fake_.display.Expect(u"In order to connect, you need to supply a news server name.", port::kIdOk);
  Command(kCommandConnect);
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Place(), kServerPlace);
}

TEST_F(SheetTest, ConnectingWithoutAMethodOpensTheConnectionPage) {
  SetGroups({u"comp.test"});
  SetNumbers(u"checked", {1});
  fake_.registry.PutString(kRegistryPath, u"conxmethod", u"");
  StartAndWait();
  fake_.display.Expect(u"In order to connect, you need to select a connection method.",
                       port::kIdOk);
  Command(kCommandConnect);
  EXPECT_TRUE(IsOpen());
  EXPECT_EQ(Place(), kConnectionPlace);
  EXPECT_EQ(Chosen(kControlConnectionMethod), u"<none>");
  Ok();
  EXPECT_EQ(gPrefs->conxmethod, u"<none>");
}

}  // namespace
}  // namespace quillet
