// SPDX-License-Identifier: GPL-3.0-or-later
// The order of the start and of the end, what a start that fails leaves behind, and what a
// scheduled one does not ask.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "app/open_prefs.h"
#include "base/extensions.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "nntp/connect.h"
#include "nntp/ntlm.h"
#include "res/resource.h"
#include "store/compression.h"
#include "store/databases.h"
#include "store/pending_posts.h"
#include "tests/app/program_fixture.h"

namespace quillet {
namespace {

// Notes each step that shows, with what is there by then.
class StartSteps final : public port::DisplayObserver {
 public:
  explicit StartSteps(port::FakePlatform& fake) : fake_(fake) {}

  void OnWindowCreated(const port::MainWindowTraits& /*traits*/) override { Note("window"); }
  void OnWindowShown() override { Note("shown"); }
  void OnTabsCreated(port::TabPlacement /*placement*/) override { Note("tabs"); }
  void OnListChanged() override { Note("list"); }
  std::optional<int> OnBox(const port::ShownBox& /*box*/) override {
    Note("box");
    return std::nullopt;
  }
  void OnDialogShown(port::WindowHandle dialog) override {
    if (fake_.display.DialogOfForm(kDialogProgress) == dialog) Note("connect");
  }

  std::vector<std::string> steps;

 private:
  void Note(std::string step) {
    if (gPrefs) step += " prefs";
    if (fake_.shell.instance_window != 0) step += " instance";
    if (DatabasesOpen()) step += " databases";
    if (gCompressionAvailable) step += " compression";
    if (!fake_.scheduler.calls.empty()) step += " scheduled";
    if (steps.empty() || steps.back() != step) steps.push_back(std::move(step));
  }

  port::FakePlatform& fake_;
};

class StartOrder : public Program {
 protected:
  StartOrder() {
    fake_.display.SetObserver(&seen_);
    SetGroups({u"a"});
    SetNumbers(u"checked", {1});
  }
  ~StartOrder() override {
    if (thread_.joinable()) End();
    fake_.display.SetObserver(nullptr);
  }

  StartSteps seen_{fake_};
};

const std::vector<std::string> kStepsToTheViews = {
    "window prefs",
    "shown prefs instance databases compression",
    "tabs prefs instance databases compression",
    "list prefs instance databases compression",
};

TEST_F(StartOrder, PreferencesThenWindowThenStoreThenViewsThenSchedule) {
  StartAndWait();
  EXPECT_EQ(seen_.steps, kStepsToTheViews);
  EXPECT_EQ(fake_.scheduler.calls.size(), 1U);
  EXPECT_EQ(fake_.shell.forwards.size(), 1U);
  End();
}

TEST_F(StartOrder, AScheduledStartConnectsWhenTheViewsAreThere) {
  fake_.shell.command_line = u"AppRunAtTime";
  StartAndWait();
  std::vector<std::string> expected = kStepsToTheViews;
  expected.push_back("connect prefs instance databases compression");
  ASSERT_GE(seen_.steps.size(), expected.size());
  seen_.steps.resize(expected.size());
  EXPECT_EQ(seen_.steps, expected);
  EXPECT_TRUE(fake_.scheduler.calls.empty());
  End();
}

TEST_F(StartOrder, DamageIsToldOverTheWindowBeforeTheStoreIsOpened) {
  fake_.registry.damaged_file = u"registry.db.damaged";
  StartAndWait();
  ASSERT_GE(seen_.steps.size(), 2U);
  EXPECT_EQ(seen_.steps[1], "box prefs instance");
  End();
}

TEST_F(StartOrder, SecurityPackagesAreAskedForOnce) {
  fake_.security.packages = {{u"NTLM", 3}};
  StartAndWait();
  EXPECT_EQ(fake_.security.calls, std::vector<std::string>{"EnumeratePackages"});
  EXPECT_EQ(gSecurityInterface.best_package, 0);
  End();
}

// The passwords that it keeps cannot be had.
class SilentPasswordStore : public StartOrder {
 protected:
  SilentPasswordStore() {
    fake_.secrets.result = port::SecretsResult::kNoService;
    fake_.registry.PutDword(kExtensionsPath, u"passwordstore", 1);
    SetDword(u"passwordset", 1);
  }
  int BoxesAboutIt() {
    int boxes = 0;
    for (const port::ShownBox& box : fake_.display.boxes()) {
      if (StartsWith(box.text, u"The desktop's password store does not answer.")) ++boxes;
    }
    return boxes;
  }
};

TEST_F(SilentPasswordStore, IsToldOverTheWindow) {
  StartAndWait();
  ASSERT_GE(seen_.steps.size(), 2U);
  EXPECT_EQ(seen_.steps[1], "box prefs instance");
  End();
  EXPECT_EQ(BoxesAboutIt(), 1);
}

TEST_F(SilentPasswordStore, DoesNotHoldUpAScheduledStart) {
  fake_.shell.command_line = u"AppRunAtTime";
  StartAndWait();
  End();
  EXPECT_EQ(BoxesAboutIt(), 0);
}

// --- Starts that fail ----------------------------------------------------------------------------

// Wants nothing to be changed, whatever is asked.
class SaysNo final : public port::DisplayObserver {
 public:
  std::optional<int> OnBox(const port::ShownBox& box) override {
    if (box.style.buttons != port::BoxButtons::kYesNo) return std::nullopt;
    return port::kIdNo;
  }
  void OnWindowShown() override { ++seen; }
  void OnTabsCreated(port::TabPlacement /*placement*/) override { ++seen; }

  int seen = 0;
};

class FailedStart : public Program {
 protected:
  FailedStart() {
    fake_.display.SetObserver(&user_);
    // What the end of a run would write otherwise.
    SetGroups({u"a", u"b"});
    SetNumbers(u"checked", {7, 0});
    SetDword(u"sidetabs", 9);
    sets_ = fake_.registry.sets();
    before_ = Stored();
  }
  std::vector<std::string> Stored() {
    std::vector<std::string> stored;
    for (const port::NamedRegistryValue& value : fake_.registry.Open(kRegistryPath)->Values()) {
      stored.push_back(ToUtf8(value.name) + "=" + value.value.data);
    }
    return stored;
  }
  void ExpectUntouched() {
    EXPECT_EQ(fake_.registry.sets(), sets_);
    EXPECT_EQ(Stored(), before_);
    EXPECT_EQ(fake_.registry.Keys().size(), 3U);  // the path of the key alone
    EXPECT_TRUE(fake_.scheduler.calls.empty());
    EXPECT_FALSE(DatabasesOpen());
    EXPECT_EQ(gMainWindow, 0U);
  }

  ~FailedStart() override { fake_.display.SetObserver(nullptr); }

  SaysNo user_;
  int sets_ = 0;
  std::vector<std::string> before_;
};

TEST_F(FailedStart, WithAnotherInstanceLeavesTheRegistryAlone) {
  fake_.shell.other_instance = true;
  EXPECT_EQ(RunQuillet(), 0);
  ExpectUntouched();
}

TEST_F(FailedStart, WithoutAWindowLeavesTheRegistryAlone) {
  fake_.display.FailNextWindow();
  EXPECT_EQ(RunQuillet(), 0);
  ExpectUntouched();
}

// The report has closed the window while the store was being opened.
TEST_F(FailedStart, ByACriticalErrorShowsNothingAndSavesNothing) {
  fake_.files.BeforeNth(port::FileCall::kFileSize, 1, [] {
    EXPECT_NE(gMainWindow, 0U);
    ReportCriticalError(u"out of memory", u"CountArticles");
  });
  EXPECT_EQ(RunQuillet(), 0);
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(fake_.display.boxes()[0].text,
            u"A critical error (out of memory) occurred in CountArticles.");
  EXPECT_EQ(user_.seen, 0);
  ExpectUntouched();
}

TEST_F(FailedStart, WithoutDatabasesLeavesTheRegistryAlone) {
  fake_.files.CreateFolder(u"\\Quillet CE News");
  fake_.files.CreateFolder(u"\\Quillet CE News\\Quillet newsgroups.gdb");  // a folder, no file
  EXPECT_EQ(RunQuillet(), 0);
  ExpectUntouched();
  EXPECT_EQ(fake_.shell.instance_window, 0U);
}

TEST_F(Program, ADownloadThatCannotBeScheduledIsTold) {
  SetDword(u"useautodownload", 1);
  fake_.scheduler.result = false;
  StartAndWait();
  ASSERT_EQ(fake_.display.boxes().size(), 1U);
  EXPECT_EQ(fake_.display.boxes()[0].text,
            u"The scheduled download could not be registered with the system. Quillet CE will not "
            u"start by itself at that time.");
  End();
}

TEST_F(Program, ACancelledScheduleThatFailsIsNoMatter) {
  fake_.scheduler.result = false;
  StartAndWait();
  EXPECT_TRUE(fake_.display.boxes().empty());
  End();
}

// There is no window yet that could be told.
TEST_F(Program, ASessionThatEndsDuringTheStartEndsTheProgram) {
  fake_.files.BeforeNth(port::FileCall::kFolderExists, 1, [] {
    EXPECT_EQ(gMainWindow, 0U);
    BeginSessionEnd();
  });
  Start();
  Join();
  EXPECT_EQ(Dword(u"version"), 2U);
}

TEST_F(Program, NoPreferencesToPutInForceChangeNothing) {
  StartAndWait();
  OnProgramThread([] {
    ApplyPrefsChanges(nullptr);
    EXPECT_NE(gPrefs, nullptr);
  });
  End();
}

// --- The end -------------------------------------------------------------------------------------

TEST_F(Program, ALineThatIsStillOpenIsHungUpBeforeAnythingIsSaved) {
  StartAndWait();
  fake_.dialler.entries[u"gprs"] = {};
  bool databases_open = false;
  int sets_before = -1;
  fake_.dialler.on_hang_up = [&] {
    databases_open = DatabasesOpen();
    sets_before = fake_.registry.sets();
  };
  OnProgramThread([this] {
    port::DialParameters parameters;
    parameters.entry = u"gprs";
    EXPECT_EQ(fake_.dialler.Dial(parameters, gDialHandle), 0U);
  });
  const int sets = fake_.registry.sets();
  End();
  EXPECT_EQ(fake_.dialler.calls.back(), "HangUp 1");
  EXPECT_TRUE(fake_.dialler.dialled.empty());
  EXPECT_TRUE(databases_open);
  EXPECT_EQ(sets_before, sets);
  EXPECT_GT(fake_.registry.sets(), sets);
  EXPECT_EQ(gDialHandle, 0U);
}

TEST_F(Program, WithoutAnOpenLineNothingIsHungUp) {
  StartAndWait();
  End();
  EXPECT_TRUE(fake_.dialler.calls.empty());
}

TEST_F(Program, TheEndOfTheSessionHangsUpToo) {
  StartAndWait();
  fake_.dialler.entries[u"gprs"] = {};
  OnProgramThread([this] {
    port::DialParameters parameters;
    parameters.entry = u"gprs";
    EXPECT_EQ(fake_.dialler.Dial(parameters, gDialHandle), 0U);
  });
  fake_.display.EndSession();
  Join();
  EXPECT_EQ(fake_.dialler.calls.back(), "HangUp 1");
}

// --- Scheduled runs ------------------------------------------------------------------------------

class Scheduled : public Program {
 protected:
  // Nothing to fetch, and something to post.
  void StartWithAPost() {
    SetGroups({u"a"});
    SetNumbers(u"checked", {0});
    StartAndWait();
    OnProgramThread([] {
      AsciiArticle post;
      post.messageId = "<post@x>";
      StoreAsciiGDBMPost(post);
    });
    fake_.display.ForgetBoxes();
  }
  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const port::ShownBox& box : fake_.display.boxes()) texts.push_back(box.text);
    return texts;
  }
};

// Nobody may be there to answer.
TEST_F(Scheduled, DoesNotAskWhetherToPostAlone) {
  StartWithAPost();
  fake_.shell.ScheduledStartElsewhere();
  WaitIdle();
  EXPECT_THAT(BoxTexts(), ::testing::IsEmpty());
  // It has tried: there is no such host.
  EXPECT_NE(fake_.display.DialogOfForm(kDialogErrorLog), 0U);
  End();
}

TEST_F(Scheduled, ByHandTheSameRunAsks) {
  StartWithAPost();
  fake_.display.Expect(u"There are no groups selected to download.", port::kIdNo);
  Command(kCommandConnect);
  EXPECT_EQ(BoxTexts().size(), 1U);
  End();
}

}  // namespace
}  // namespace quillet
