// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <algorithm>

#include "app/open_prefs.h"
#include "app/startup.h"
#include "base/app_messages.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/subscriptions.h"
#include "groups/group_list.h"
#include "res/commands.h"
#include "res/dialog_templates.h"
#include "res/resource.h"
#include "store/chains.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "tests/app/program_fixture.h"
#include "util/format.h"
#include "util/version.h"

namespace quillet {
namespace {

using port::CalendarTime;
using port::MessageKind;

constexpr std::u16string_view kExecutable =
    u"\\Program Files\\Communication\\Quillet CE\\quillet.exe";

// --- Start-up ----------------------------------------------------------------------------------

TEST_F(Program, FirstStartCreatesThreeDatabasesAndAsksNothing) {
  StartAndWait();
  EXPECT_TRUE(fake_.files.FileSize(u"\\Quillet CE News\\Quillet articles.gdb"));
  EXPECT_TRUE(fake_.files.FileSize(u"\\Quillet CE News\\Quillet newsgroups.gdb"));
  EXPECT_TRUE(fake_.files.FileSize(u"\\Quillet CE News\\Quillet pending posts.gdb"));
  EXPECT_TRUE(fake_.display.boxes().empty());
  End();
}

TEST_F(Program, WindowHasItsNamesAndTheWorkAreaLess26) {
  fake_.display.SetWorkArea({320, 240});
  StartAndWait();
  const port::ShownMainWindow window = fake_.display.main_window();
  EXPECT_EQ(window.traits.window_class, u"Quillet CE");
  EXPECT_EQ(window.traits.title, u"Quillet CE 1.14r3");
  EXPECT_EQ(window.traits.icon, 103U);
  EXPECT_EQ(window.traits.size, (port::Size{320, 214}));
  EXPECT_TRUE(window.shown);
  EXPECT_EQ(window.tab, 0);
  EXPECT_EQ(window.status, u"0 articles queued for posting");
  End();
}

TEST_F(Program, ASecondStartForwardsAndEndsWithZero) {
  fake_.shell.other_instance = true;
  EXPECT_EQ(RunQuillet(), 0);
  EXPECT_EQ(fake_.shell.forwards, (std::vector<bool>{false}));
  EXPECT_EQ(fake_.display.main_window().handle, 0U);
}

TEST_F(Program, LinkThatTheOtherInstanceHasNotTakenIsSaid) {
  fake_.shell.other_instance = true;
  fake_.shell.link = u"news:a.b";
  EXPECT_EQ(RunQuillet(), 0);
  EXPECT_TRUE(fake_.display.boxes().empty());
  fake_.shell.link_taken = false;
  EXPECT_EQ(RunQuillet(), 0);
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(fake_.display.boxes()[0].text,
            u"Quillet CE is running already, but has not taken the link. Please try again, or "
            u"close Quillet CE first.");
  fake_.shell.link.clear();
  EXPECT_EQ(RunQuillet(), 0);
  EXPECT_EQ(fake_.display.boxes().size(), 1U);
}

TEST_F(Program, OnlyTheExactCommandLineForwardsADownload) {
  fake_.shell.other_instance = true;
  fake_.shell.command_line = u"AppRunAtTime";
  EXPECT_EQ(RunQuillet(), 0);
  fake_.shell.command_line = u"AppRunAtTime ";
  EXPECT_EQ(RunQuillet(), 0);
  EXPECT_EQ(fake_.shell.forwards, (std::vector<bool>{true, false}));
}

TEST_F(Program, ScheduledStartConnectsAndRegistersNothing) {
  fake_.shell.command_line = u"AppRunAtTime";
  StartAndWait();
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(fake_.display.boxes()[0].text,
            u"You do not have any groups in the group list. Please add some groups (using "
            u"Group->Groups->New group) and try again.");
  EXPECT_TRUE(fake_.scheduler.calls.empty());
  End();
}

TEST_F(Program, ARequestOfALaterScheduledStartConnects) {
  StartAndWait();
  fake_.shell.ScheduledStartElsewhere();
  WaitIdle();
  EXPECT_EQ(fake_.display.boxes().size(), 1U);
  End();
}

TEST_F(Program, FailedWindowEndsWithZero) {
  fake_.display.FailNextWindow();
  EXPECT_EQ(RunQuillet(), 0);
}

TEST_F(Program, ADamagedRegistryIsToldOnce) {
  fake_.registry.damaged_file = u"/home/user/.config/quillet/registry.db 2026-11-21";
  StartAndWait();
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(
      fake_.display.boxes()[0].text,
      u"The stored preferences were damaged. They have been kept as "
      u"\"/home/user/.config/quillet/registry.db 2026-11-21\", and Quillet CE starts with its "
      u"default preferences.");
  End();
}

TEST_F(Program, PreferencesThatCannotBeReadEndTheStartWithANumber) {
  SetDword(u"sidetabs", 2);
  const int sets = fake_.registry.sets();
  fake_.registry.obstacle = u"\"/home/user/registry.db\" may not be read";
  EXPECT_EQ(RunQuillet(), 1);
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(
      fake_.display.boxes()[0].text,
      u"Quillet CE cannot read its preferences, because \"/home/user/registry.db\" may not be "
      u"read. Quillet CE will now exit.");
  EXPECT_EQ(fake_.registry.sets(), sets);
  EXPECT_FALSE(fake_.files.FolderExists(u"\\Quillet CE News"));
  EXPECT_EQ(fake_.display.main_window().handle, 0U);
}

TEST_F(Program, SideTabsGoWhereThePreferenceSays) {
  SetDword(u"sidetabs", 2);
  StartAndWait();
  EXPECT_EQ(fake_.display.main_window().placement, port::TabPlacement::kRight);
  End();
}

TEST_F(Program, AnAbsurdTabPlacementIsTheBottom) {
  SetDword(u"sidetabs", 4000000000U);
  StartAndWait();
  EXPECT_EQ(fake_.display.main_window().placement, port::TabPlacement::kBottom);
  End();
}

TEST_F(Program, UnopenableDatabasesOfferDeletionAndNoEndsTheProgram) {
  fake_.files.CreateFolder(u"\\Quillet CE News");
  fake_.files.CreateFolder(u"\\Quillet CE News\\Quillet articles.gdb");  // a folder, no file
  fake_.display.Expect(
      u"Quillet CE was unable to open its GDBM databases; they are probably "
      u"corrupted. Would you like Quillet CE to delete them automatically?",
      port::kIdNo);
  EXPECT_EQ(RunQuillet(), 0);
  EXPECT_EQ(fake_.display.boxes().back().text, u"Quillet CE will now exit.");
  EXPECT_EQ(fake_.display.main_window().handle, 0U);
  EXPECT_TRUE(fake_.files.FolderExists(u"\\Quillet CE News\\Quillet articles.gdb"));
}

TEST_F(Program, DeletionSetsTheFilesAsideAndNoIsTheDefault) {
  fake_.files.CreateFolder(u"\\Quillet CE News");
  fake_.files.CreateFolder(u"\\Quillet CE News\\Quillet articles.gdb");
  fake_.display.Expect(u"Quillet CE was unable to open", port::kIdYes);
  EXPECT_EQ(RunQuillet(), 0);
  const auto& boxes = fake_.display.boxes();
  EXPECT_EQ(boxes.back().text,
            u"Done. You will need to re-launch Quillet CE to create new databases.");
  EXPECT_EQ(boxes[boxes.size() - 2].style.default_button, port::kIdNo);
  EXPECT_FALSE(fake_.files.FolderExists(u"\\Quillet CE News\\Quillet articles.gdb"));
  EXPECT_TRUE(
      fake_.files.FolderExists(u"\\Quillet CE News\\Quillet articles.gdb 2024-01-02 120000"));
}

TEST_F(Program, DeletionThatFailsSaysSoAndEnds) {
  fake_.files.CreateFolder(u"\\Quillet CE News");
  fake_.files.CreateFolder(u"\\Quillet CE News\\Quillet articles.gdb");
  fake_.display.Expect(u"Quillet CE was unable to open", port::kIdYes);
  fake_.files.FailNth(port::FileCall::kRename, 4);  // after a try to create each of the three
  EXPECT_EQ(RunQuillet(), 0);
  EXPECT_EQ(fake_.display.boxes().back().text,
            u"There was an error deleting one or more of the databases. Your CE device may need to "
            u"be rebooted.");
}

// --- The window --------------------------------------------------------------------------------

TEST_F(Program, EscapeGoesBackOneViewAndActsOnce) {
  StartAndWait();
  Tab(2);
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.main_window().tab, 1);
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.main_window().tab, 0);
  Key(port::kKeyEscape);
  EXPECT_EQ(fake_.display.main_window().tab, 0);
  End();
}

TEST_F(Program, F24GoesBackLikeEscape) {
  StartAndWait();
  Tab(1);
  fake_.display.InjectKeyUp(port::kKeyF24);
  WaitIdle();
  EXPECT_EQ(fake_.display.main_window().tab, 0);
  End();
}

TEST_F(Program, ArticleViewLeaves26PixelsForItsToolbar) {
  StartAndWait();
  EXPECT_TRUE(fake_.display.ResizeMainWindow({640, 480}));
  WaitIdle();
  EXPECT_EQ(fake_.display.main_window().tabs, (port::Size{640, 480}));
  Tab(2);
  EXPECT_EQ(fake_.display.main_window().inside, (port::Size{640, 480}));
  EXPECT_EQ(fake_.display.main_window().tabs, (port::Size{640, 454}));
  Tab(0);
  EXPECT_EQ(fake_.display.main_window().tabs, (port::Size{640, 480}));
  End();
}

TEST_F(Program, AcceleratorsFollowTheShownView) {
  SetGroups({u"a"});
  StartAndWait();
  Key('A', port::kModifierControl);
  EXPECT_EQ(fake_.display.list().rows[0].check, port::CheckState::kChecked);
  fake_.display.ToggleRow(0);
  Tab(1);
  Key('A', port::kModifierControl);
  EXPECT_EQ(fake_.display.list().rows[0].check, port::CheckState::kUnchecked);
  End();
}

TEST_F(Program, ServerReadIsBoundToCtrlAltMInTheGroupViewOnly) {
  StartAndWait();
  fake_.display.Expect(u"This may cause Quillet CE to skip articles on the server.", port::kIdNo);
  Key('M', port::kModifierControl | port::kModifierAlt);
  Key('M', port::kModifierControl | port::kModifierShift);
  EXPECT_EQ(fake_.display.boxes().size(), 1U);
  End();
}

TEST_F(Program, ACommandInTheThreadViewNeverReachesTheGroupView) {
  SetGroups({u"a"});
  StartAndWait();
  Tab(1);
  Command(kCommandDeleteAll);
  EXPECT_TRUE(fake_.display.boxes().empty());
  End();
}

TEST_F(Program, DoubleClickOpensTheGroup) {
  SetGroups({u"a", u"b"});
  StartAndWait();
  EXPECT_TRUE(fake_.display.ActivateRow(1));
  WaitIdle();
  EXPECT_EQ(fake_.display.main_window().tab, 1);
  EXPECT_EQ(gReading.group, GroupAt(1));
  End();
}

TEST_F(Program, LinksGoToTheDesktopAndEmptyOnesAreIgnored) {
  StartAndWait();
  const port::WindowHandle window = fake_.display.main_window().handle;
  fake_.display.Inject({window, MessageKind::kLink, 0, 0, u""});
  fake_.display.Inject({window, MessageKind::kLink, 0, 0, u"http://example.org/"});
  WaitIdle();
  EXPECT_EQ(fake_.shell.links, (std::vector<std::u16string>{u"http://example.org/"}));
  End();
}

TEST_F(Program, F1OpensTheGuideFromEveryView) {
  StartAndWait();
  for (const int view : {0, 1, 2}) {
    fake_.display.UserSelectTab(view);
    WaitIdle();
    EXPECT_TRUE(fake_.display.PressKey(port::kKeyF1, 0));
    WaitIdle();
    EXPECT_EQ(fake_.shell.guides, view + 1);
    EXPECT_EQ(fake_.display.main_window().tab, view);
  }
  fake_.shell.guide_result = false;
  fake_.display.SendCommand(40082);
  WaitIdle();
  EXPECT_EQ(fake_.shell.guides, 4);
  ASSERT_FALSE(fake_.display.boxes().empty());
  EXPECT_EQ(fake_.display.boxes().back().text,
            u"The user guide could not be opened. The command \"man quillet\" shows it in a "
            u"terminal.");
  End();
}

TEST_F(Program, AboutBoxClosesWithItsOk) {
  StartAndWait();
  fake_.display.SendCommand(kCommandAbout);
  const port::WindowHandle dialog = fake_.display.WaitForDialog(kDialogAbout);
  ASSERT_NE(dialog, 0U);
  EXPECT_EQ(fake_.display.FindDialog(dialog)->caption, u"About Quillet CE");
  EXPECT_EQ(fake_.display.Control(dialog, kControlAboutProgram)->text, u"Quillet CE 1.14r3");
  // The libraries that are bound by name have versions of their own.
  const std::u16string text = fake_.display.Control(dialog, kControlAboutText)->text;
  EXPECT_TRUE(text.starts_with(
      u"Version 1.14r3\r\n\r\n"
      u"Licence: GPL-3.0-or-later. This is free software: you may use it, change it and pass it on "
      u"under the terms of the GNU General Public License, version 3 or later. There is no "
      u"warranty.\r\n\r\n"
      u"Help: F1 opens the user guide, as \"man quillet\" does in a terminal.\r\n\r\n"
      u"Libraries in use:\r\ngdbm 1."))
      << ToUtf8(text);
  EXPECT_NE(text.find(u"\r\nbzip2 1.0."), std::u16string::npos);
  EXPECT_TRUE(text.ends_with(u"\r\nQt 6.4.2\r\nSQLite 3.40.1\r\n"));
  EXPECT_TRUE(fake_.display.Press(dialog, kControlOk));
  WaitIdle();
  EXPECT_TRUE(fake_.display.dialogs().empty());
  End();
}

TEST_F(Program, AboutBoxTellsWhichLibraryIsMissing) {
  fake_.libraries.hide_library(u"bzip2ce.dll");
  fake_.libraries.loaded_libraries.clear();
  fake_.display.Expect(u"Unable to load BZIP2 library. Compression will not be available.",
                       port::kIdOk);
  StartAndWait();
  fake_.display.SendCommand(kCommandAbout);
  const port::WindowHandle dialog = fake_.display.WaitForDialog(kDialogAbout);
  EXPECT_TRUE(fake_.display.Control(dialog, kControlAboutText)
                  ->text.ends_with(u"\r\nbzip2 is not loaded\r\n"));
  EXPECT_TRUE(fake_.display.Press(dialog, kControlOk));
  WaitIdle();
  End();
}

TEST(Forms, LeaveTheVersionToTheProgram) {
  const std::u16string version = FormatWide(u"%s", kVersionText);
  for (const DialogTemplate& form : ProductTemplates()) {
    for (const ControlTemplate& control : form.controls) {
      EXPECT_EQ(control.text.find(version), std::u16string_view::npos) << form.id;
    }
  }
}

TEST_F(Program, RefreshMessageShowsNewCounts) {
  StartAndWait();
  fake_.queues.PostCall(id_, [] { gPendingPostCount = 3; });
  fake_.display.Inject(
      {fake_.display.main_window().handle, MessageKind::kUser, kUserRefreshCounts, 0, {}});
  WaitIdle();
  EXPECT_EQ(fake_.display.main_window().status, u"3 articles queued for posting");
  End();
}

// The added group is seen only where the list is filled anew.
TEST_F(Program, AQueuedPostIsCountedInEveryViewAndRefillsTheListThatIsShown) {
  SetGroups({u"a"});
  StartAndWait();
  const auto queue_post = [this](const std::string& id) {
    OnProgramThread([&id] {
      AddGroup(*gPrefs, u"new");
      AsciiArticle post;
      post.messageId = id;
      StoreAsciiGDBMPost(post);
    });
    WaitIdle();
  };
  Tab(1);
  queue_post("<1@x>");
  EXPECT_EQ(fake_.display.main_window().status, u"1 article queued for posting");
  EXPECT_EQ(fake_.display.list().rows.size(), 1U);
  Tab(0);
  queue_post("<2@x>");
  EXPECT_EQ(fake_.display.main_window().status, u"2 articles queued for posting");
  EXPECT_EQ(fake_.display.list().rows.size(), 3U);
  End();
}

TEST_F(Program, ATickJustBeforeConnectCountsForIt) {
  SetGroups({u"a", u"b"});
  StartAndWait();
  fake_.display.ToggleRow(1);
  fake_.display.SendCommand(kCommandConnect);
  WaitIdle();
  ASSERT_FALSE(fake_.display.boxes().empty());
  EXPECT_EQ(fake_.display.boxes()[0].text,  // and not that no group is checked
            u"Unable to find host news.example.org.\r\n");
  End();
}

TEST_F(Program, ATickMadeWhileTheViewIsEnteredStays) {
  SetGroups({u"a", u"b"});
  StartAndWait();
  Tab(1);
  // The program is busy while the user goes back to the groups and ticks one.
  OnProgramThread([this] {
    EXPECT_TRUE(fake_.display.UserSelectTab(0));
    EXPECT_TRUE(fake_.display.ToggleRow(1));
  });
  WaitIdle();
  EXPECT_EQ(fake_.display.list().rows[0].check, port::CheckState::kUnchecked);
  EXPECT_EQ(fake_.display.list().rows[1].check, port::CheckState::kChecked);
  End();
  EXPECT_EQ(Bytes(u"checked"), std::string("\0\0\0\0\1\0\0\0", 8));
}

TEST_F(Program, WidthsThatTheDisplayGaveAreStoredAtTheEnd) {
  StartAndWait();
  const int width = fake_.display.main_window().tabs.width;
  End();
  std::string expected;
  AppendU32(expected, static_cast<std::uint32_t>(width * 5 / 6));
  AppendU32(expected, static_cast<std::uint32_t>(width - width * 5 / 6));
  EXPECT_EQ(Bytes(u"columnWidths"), expected);
}

TEST_F(Program, MarksThatAreNoOnesAreStoredAsOnesAtTheEnd) {
  SetGroups({u"a", u"b"});
  SetNumbers(u"checked", {7, 0});
  StartAndWait();
  End();
  EXPECT_EQ(Bytes(u"checked"), std::string("\1\0\0\0\0\0\0\0", 8));
}

// --- The end -----------------------------------------------------------------------------------

TEST_F(Program, ClosingWritesBoxesAndPreferences) {
  SetGroups({u"a", u"b"});
  StartAndWait();
  fake_.display.ToggleRow(1);
  End();
  std::string expected;
  AppendU32(expected, 0);
  AppendU32(expected, 1);
  EXPECT_EQ(Bytes(u"checked"), expected);
  EXPECT_EQ(Dword(u"version"), 2U);
  EXPECT_FALSE(DatabasesOpen());
  EXPECT_EQ(gMainWindow, 0U);
}

TEST_F(Program, CloseCommandEndsTheProgram) {
  StartAndWait();
  fake_.display.SendCommand(kCommandClose);
  Join();
}

TEST_F(Program, ClosingWithAutodeleteDeletesEveryGroupWhateverItsBox) {
  SetGroups({u"a", u"b"});
  SetDword(u"autodelete", 8);
  StartAndWait();
  fake_.queues.PostCall(id_, [] {
    for (std::size_t i = 0; i < 2; ++i) {
      AsciiArticle article;
      article.messageId = "<1@" + Narrow(gPrefs->groups[i]) + ">";
      StoreArticle(article);
      AddArticleToGroup(gPrefs->groups[i], *article.messageId);
      gReadInfo[i]->totalCount = 1;
      UpdateGlobalGDBMArticleCountCache(i);
    }
    AsciiArticle post;
    post.messageId = "<post@x>";
    StoreAsciiGDBMPost(post);
  });
  WaitIdle();
  End();
  OpenStoreAgain();
  EXPECT_FALSE(ArticleExists("<1@a>"));
  EXPECT_FALSE(ArticleExists("<1@b>"));
  EXPECT_EQ(CountPendingPosts(), 1U);
  CloseDatabases();
}

TEST_F(Program, TheEndOfTheSessionSavesButDeletesNothing) {
  SetGroups({u"a"});
  SetDword(u"autodelete", 8);
  StartAndWait();
  fake_.display.ToggleRow(0);
  fake_.queues.PostCall(id_, [] {
    AsciiArticle article;
    article.messageId = "<1@a>";
    StoreArticle(article);
    AddArticleToGroup(u"a", "<1@a>");
  });
  WaitIdle();
  fake_.display.EndSession();
  Join();
  EXPECT_EQ(Bytes(u"checked"), std::string("\1\0\0\0", 4));
  OpenStoreAgain();
  EXPECT_TRUE(ArticleExists("<1@a>"));
  CloseDatabases();
}

// --- Scheduling --------------------------------------------------------------------------------

CalendarTime At(int year, int month, int day, int week, int hour, int minute, int second) {
  return {year, month, week, day, hour, minute, second, 0};
}

TEST(NextDownloadTime, AnEqualSecondIsToday) {
  CalendarTime now = At(2026, 11, 21, 6, 6, 0, 0);
  now.millisecond = 999;
  EXPECT_EQ(NextDownloadTime(now, 6, 0, 0), At(2026, 11, 21, 6, 6, 0, 0));
}

TEST(NextDownloadTime, OneSecondLaterIsTomorrow) {
  EXPECT_EQ(NextDownloadTime(At(2026, 11, 21, 6, 6, 0, 1), 6, 0, 0), At(2026, 11, 22, 0, 6, 0, 0));
}

TEST(NextDownloadTime, MonthsHaveTheirLengths) {
  EXPECT_EQ(NextDownloadTime(At(2026, 2, 28, 6, 7, 0, 0), 6, 0, 0), At(2026, 3, 1, 0, 6, 0, 0));
  EXPECT_EQ(NextDownloadTime(At(2028, 2, 28, 1, 7, 0, 0), 6, 0, 0), At(2028, 2, 29, 2, 6, 0, 0));
  EXPECT_EQ(NextDownloadTime(At(2100, 2, 28, 0, 7, 0, 0), 6, 0, 0), At(2100, 3, 1, 1, 6, 0, 0));
  EXPECT_EQ(NextDownloadTime(At(2000, 2, 28, 1, 7, 0, 0), 6, 0, 0), At(2000, 2, 29, 2, 6, 0, 0));
  EXPECT_EQ(NextDownloadTime(At(2026, 4, 30, 4, 7, 0, 0), 6, 0, 0), At(2026, 5, 1, 5, 6, 0, 0));
  EXPECT_EQ(NextDownloadTime(At(2026, 1, 31, 6, 7, 0, 0), 6, 0, 0), At(2026, 2, 1, 0, 6, 0, 0));
  EXPECT_EQ(NextDownloadTime(At(2026, 12, 31, 4, 7, 0, 0), 6, 0, 0), At(2027, 1, 1, 5, 6, 0, 0));
}

TEST_F(Program, StartRegistersTheScheduledDownload) {
  SetDword(u"useautodownload", 1);
  SetDword(u"downloadhr", 7);
  SetDword(u"downloadmn", 30);
  StartAndWait();
  ASSERT_EQ(fake_.scheduler.calls.size(), 1U);
  EXPECT_EQ(fake_.scheduler.calls[0].executable, kExecutable);
  ASSERT_TRUE(fake_.scheduler.calls[0].at);
  EXPECT_EQ(fake_.scheduler.calls[0].at->hour, 7);
  EXPECT_EQ(fake_.scheduler.calls[0].at->minute, 30);
  End();
}

TEST_F(Program, AnHourThatNoDayHasIsTheStandardHour) {
  SetDword(u"useautodownload", 1);
  SetDword(u"downloadhr", 2147483647);
  StartAndWait();
  ASSERT_EQ(fake_.scheduler.calls.size(), 1U);
  ASSERT_TRUE(fake_.scheduler.calls[0].at);
  EXPECT_EQ(fake_.scheduler.calls[0].at->hour, 6);
  EXPECT_TRUE(fake_.display.boxes().empty());
  End();
}

TEST_F(Program, StartWithoutScheduleCancelsTheRegistration) {
  StartAndWait();
  ASSERT_EQ(fake_.scheduler.calls.size(), 1U);
  EXPECT_EQ(fake_.scheduler.calls[0].executable, kExecutable);
  EXPECT_FALSE(fake_.scheduler.calls[0].at);
  End();
}

// --- Putting changed preferences into force ----------------------------------------------------

using Applying = Program;

TEST_F(Applying, ChangedTabPlacementRebuildsTheViewsAndKeepsTheBoxes) {
  SetGroups({u"a"});
  StartAndWait();
  fake_.display.ToggleRow(0);
  WaitIdle();
  Apply([](Prefs& prefs) { prefs.sidetabs = 1; });
  EXPECT_EQ(fake_.display.main_window().placement, port::TabPlacement::kLeft);
  EXPECT_EQ(fake_.display.list().rows[0].check, port::CheckState::kChecked);
  EXPECT_EQ(gReading.group, std::nullopt);
  EXPECT_EQ(Dword(u"sidetabs"), 1U);
  End();
}

TEST_F(Applying, ChangedGroupFontRebuildsTheList) {
  StartAndWait();
  Apply([](Prefs& prefs) { prefs.groupfontsize = 7; });
  EXPECT_EQ(fake_.display.list().font_size_index, 7);
  End();
}

TEST_F(Applying, TheScheduleIsRegisteredAgain) {
  StartAndWait();
  Apply([](Prefs& prefs) { prefs.useautodownload = 1; });
  ASSERT_EQ(fake_.scheduler.calls.size(), 2U);
  EXPECT_TRUE(fake_.scheduler.calls[1].at);
  End();
}

}  // namespace
}  // namespace quillet
