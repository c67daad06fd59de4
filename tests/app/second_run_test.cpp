// SPDX-License-Identifier: GPL-3.0-or-later
// The program runs a second time in the same process, as if nothing had been.
#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/upward_calls.h"
#include "base/views.h"
#include "nntp/connect.h"
#include "nntp/connection.h"
#include "nntp/download.h"
#include "tests/app/reading_fixture.h"

namespace quillet {
namespace {

class SecondRun : public ReadingTest {
 protected:
  // What the first run leaves in the registry for the next one is no part of this.
  SecondRun() { fake_.registry.PutDword(kExtensionsPath, u"restoreplace", 0); }

  struct FindShown {
    std::u16string text;
    std::vector<bool> ticks = {};
  };
  // What the Find dialog shows first; it is left with this text and every tick.
  FindShown AskToFind(const std::u16string& text) {
    FindShown shown;
    fake_.display.WhenShown(kDialogFind, [&](port::WindowHandle dialog) {
      shown = {fake_.display.Control(dialog, kControlFindText)->text};
      fake_.display.Type(dialog, kControlFindText, text);
      for (const std::uint32_t tick :
           {kControlMatchCase, kControlWholeWord, kControlSearchHeaders}) {
        shown.ticks.push_back(fake_.display.Control(dialog, tick)->checked);
        fake_.display.Tick(dialog, tick, true);
      }
      fake_.display.Press(dialog, kControlOk);
    });
    Command(kCommandFind);
    return shown;
  }
};

TEST_F(SecondRun, NothingIsLeftOfTheFirst) {
  StartReading(u"Ann");
  AskToFind(u"Text");
  Command(kCommandTogglePlainText);
  OnProgramThread([] {
    gPendingPostCount = 3;
    gDownloadList = {GroupAt(1)};
    gTransactionLog = std::make_unique<TextLog>();
    gDialHandle = 0;
    gAbortRequested = 1;
  });
  End();
  EXPECT_EQ(gPrefs, nullptr);
  EXPECT_EQ(gDatabaseFolder, u"");
  EXPECT_EQ(gMainWindow, 0U);
  EXPECT_EQ(CurrentBoxOwner(), 0U);
  EXPECT_FALSE(AbortRequested());
  EXPECT_EQ(InsideSize(), port::Size{});
  EXPECT_EQ(gUpwardCalls.shown_tree.group, nullptr);
  EXPECT_EQ(gUpwardCalls.article_view.display, nullptr);
  EXPECT_EQ(gUpwardCalls.open_preferences, nullptr);
  EXPECT_TRUE(gReadInfo.empty());
  EXPECT_FALSE(DatabasesOpen());
  EXPECT_EQ(gPendingPostCount, 0U);
  EXPECT_TRUE(gDownloadList.empty());
  EXPECT_EQ(gTransactionLog, nullptr);
  EXPECT_EQ(gReading.group, std::nullopt);
  EXPECT_EQ(gReading.tree, nullptr);
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_EQ(gReading.article_group, u"");
  EXPECT_EQ(gReading.find.text, u"");
}

TEST_F(SecondRun, ShowsWhatTheFirstOneDidAtItsBeginning) {
  StartReading(u"Ann");
  EXPECT_EQ(AskToFind(u"Text").text, u"");
  EXPECT_EQ(AskToFind(u"Text").ticks, (std::vector<bool>{true, true, true}));
  Command(kCommandTogglePlainText);
  EXPECT_TRUE(fake_.display.article().plain_text);
  End();
  StartReading(u"Ann");
  EXPECT_FALSE(fake_.display.article().plain_text);
  const FindShown find = AskToFind(u"other");
  EXPECT_EQ(find.text, u"");
  EXPECT_EQ(find.ticks, (std::vector<bool>{false, false, false}));
  ExpectInStep();
  End();
}

TEST_F(SecondRun, AsksAgainAfterASessionThatEnded) {
  StartReading(u"Ann");
  BeginSessionEnd();
  Join();
  EXPECT_FALSE(SessionEnding());
  StartAndWait();
  OpenGroup(0);
  Confirm(u"Really delete all articles?");
  Command(kCommandDeleteAll);
  EXPECT_EQ(Caption(), kNoThreads);
  End();
}

}  // namespace
}  // namespace quillet
