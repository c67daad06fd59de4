// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/connect.h"
#include "base/box_owner.h"
#include "base/upward_calls.h"

#include <array>

#include "base/app_messages.h"
#include "base/extensions.h"
#include "base/window_procedures.h"
#include "nntp/error_log.h"
#include "res/resource.h"
#include "store/pending_posts.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

std::vector<PreferencesPage> opened_pages;

class ConnectTest : public NntpTest {
 protected:
  ConnectTest() {
    OpenStore();
    MakeMainWindow();
    gDownloadList.clear();
    opened_pages.clear();
    gUpwardCalls.open_preferences = [](PreferencesPage page) { opened_pages.push_back(page); };
  }

  void MakeMainWindow() {
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"Quillet CE 1.14r3", 103, {}});
    fake.display.CreateTabs(port::TabPlacement::kBottom);
  }

  static void CheckGroups(std::vector<std::uint32_t> marks) { gPrefs->checked = std::move(marks); }

  // Takes the queued posts; groups that say "no articles"; the whole connection.
  void ServesEmptyGroups(const std::vector<std::string>& names) {
    Server("200 welcome\r\n");
    for (std::uint32_t i = CountPendingPosts(); i > 0; --i) {
      Exchange("POST", "340 send it");
      Client("X-Newsreader: Quillet CE 1.14r3\r\n\r\n\r\n.\r\n");
      Server("240 taken\r\n");
    }
    for (const std::string& name : names) Exchange("GROUP " + name, "211 0 1 0 " + name);
    Quits();
  }

  void QueuePosts(int count) {
    fake.registry.PutDword(kExtensionsPath, u"postmessageids", 0);
    for (int i = 0; i < count; ++i) {
      AsciiArticle post;
      post.messageId = FormatNarrow("<post%d@x>", i);
      ASSERT_TRUE(StoreAsciiGDBMPost(post));
    }
  }

  // The ids of the program's own messages that wait for the main window.
  std::vector<std::uint32_t> WaitingUserMessages() {
    std::vector<std::uint32_t> ids;
    fake.HandleWaiting([&](const port::Message& message) {
      if (message.kind == port::MessageKind::kUser) ids.push_back(message.id);
    });
    return ids;
  }

  void ExpectNoNetwork() {
    EXPECT_EQ(fake.sockets.startups(), 0);
    EXPECT_EQ(fake.sockets.calls(port::SocketCall::kOpen), 0);
    EXPECT_TRUE(fake.dialler.calls.empty());
    EXPECT_EQ(fake.display.beeps(), 0);
  }
};

// --- what is downloaded ---

TEST_F(ConnectTest, CheckedGroupsAreVisitedInDisplayOrder) {
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_TRUE(gDownloadList.empty());  // freed at the end
  EXPECT_EQ(fake.sockets.startups(), 1);
  EXPECT_EQ(fake.sockets.cleanups(), 1);
}

TEST_F(ConnectTest, UncheckedGroupsAreLeftOut) {
  CheckGroups({0, 1});
  ServesEmptyGroups({"alt.test"});
  ConnectCommand(true);
}

TEST_F(ConnectTest, AnyMarkButZeroCountsAsChecked) {
  CheckGroups({7, 0});
  ServesEmptyGroups({"comp.lang.misc"});
  ConnectCommand(true);
}

TEST_F(ConnectTest, MarksBeyondTheGroupsAreNoGroups) {
  CheckGroups({0, 1, 1});
  ServesEmptyGroups({"alt.test"});
  ConnectCommand(true);
}

TEST_F(ConnectTest, GroupListIsRefilledAfterwards) {
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  const std::vector<std::uint32_t> messages = WaitingUserMessages();
  ASSERT_FALSE(messages.empty());
  EXPECT_EQ(messages.back(), kUserRefillGroupList);
}

// --- automatic deletion ---

class AutoDeleteTest : public ConnectTest {
 protected:
  AutoDeleteTest() {
    gPrefs->autodeletebefore = 1;
    for (const char* id : {"<a@x>", "<b@x>"}) {
      AsciiArticle article;
      article.messageId = id;
      article.read = id[1] == 'a' ? 1 : 0;
      StoreArticle(article);
      AddArticleToGroup(u"comp.lang.misc", id);
      UpdateCache();
    }
  }
  void UpdateCache() {
    gReadInfo[0]->totalCount = CountGroupArticles(u"comp.lang.misc", false);
    gReadInfo[0]->readCount = CountGroupArticles(u"comp.lang.misc", true);
    UpdateGlobalGDBMArticleCountCache(0);
  }
};

TEST_F(AutoDeleteTest, ReadArticlesGoBeforeTheDownload) {
  gPrefs->autodeleteread = 1;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(Chain(u"comp.lang.misc"), std::vector<std::string>{"<b@x>"});
}

TEST_F(AutoDeleteTest, AllArticlesGoBeforeTheDownload) {
  CheckGroups({1, 0});
  ServesEmptyGroups({"comp.lang.misc"});
  ConnectCommand(true);
  EXPECT_TRUE(Chain(u"comp.lang.misc").empty());
}

TEST_F(AutoDeleteTest, DeletionMakesRoomBeforeTheChecks) {
  gPrefs->maxarticles = 2;  // both stored: full until they are deleted
  CheckGroups({1, 0});
  ServesEmptyGroups({"comp.lang.misc"});
  ConnectCommand(true);
}

TEST_F(AutoDeleteTest, NothingGoesUnlessAsked) {
  gPrefs->autodeletebefore = 0;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(Chain(u"comp.lang.misc").size(), 2U);
}

// --- checks before connecting ---

TEST_F(ConnectTest, NoGroupsAtAllIsSaid) {
  gPrefs->numgroups = 0;
  gPrefs->groups.clear();
  CheckGroups({});
  ConnectCommand(true);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"You do not have any groups in the group list. Please add some groups "
                            u"(using Group->Groups->New group) and try again."});
  ExpectNoNetwork();
  EXPECT_TRUE(WaitingUserMessages().empty());
}

TEST_F(ConnectTest, NoGroupCheckedIsSaid) {
  CheckGroups({0, 0});
  ConnectCommand(false);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"There are no groups selected for downloading. Please check the "
                            u"groups which you would like to download and try again."});
  ExpectNoNetwork();
}

constexpr char16_t kJustToPost[] =
    u"There are no groups selected to download. Would you like to connect just to post the queued "
    u"articles?";

TEST_F(ConnectTest, QueuedPostsAloneAreAskedAbout) {
  QueuePosts(2);
  CheckGroups({0, 0});
  fake.display.Expect(kJustToPost, port::kIdYes);
  ServesEmptyGroups({});
  ConnectCommand(true);
  EXPECT_EQ(gPendingPostCount, 0U);
}

TEST_F(ConnectTest, QueuedPostsAloneMayBeDeclined) {
  QueuePosts(2);
  CheckGroups({0, 0});
  fake.display.Expect(kJustToPost, port::kIdNo);
  ConnectCommand(true);
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet confirmation");
  EXPECT_EQ(fake.display.boxes()[0].style.icon, port::BoxIcon::kExclamation);
  ExpectNoNetwork();
}

TEST_F(ConnectTest, SkippedVerificationsConnectJustToPost) {
  gPrefs->skipverifications = 1;
  QueuePosts(1);
  CheckGroups({0, 0});
  ServesEmptyGroups({});
  ConnectCommand(true);
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(ConnectTest, ScheduledRunPostsWithoutAQuestion) {
  QueuePosts(2);
  CheckGroups({0, 0});
  ServesEmptyGroups({});
  ConnectCommand(false);
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(ConnectTest, FullGroupsAreSaid) {
  gReadInfo[0]->totalCount = 50;
  gReadInfo[1]->totalCount = 51;
  ConnectCommand(true);
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"Your preferences are set to store 50 articles per group, and the groups you have "
                u"checked each have at least this many. Either delete some articles or raise the "
                u"maximum number of articles to download in the preferences."});
  ExpectNoNetwork();
}

TEST_F(ConnectTest, OneGroupWithRoomIsEnough) {
  gReadInfo[0]->totalCount = 50;
  gReadInfo[1]->totalCount = 49;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
}

TEST_F(ConnectTest, UncheckedGroupsWithRoomDoNotCount) {
  gReadInfo[0]->totalCount = 50;
  CheckGroups({1, 0});
  ConnectCommand(true);
  EXPECT_EQ(fake.display.boxes().size(), 1U);
  ExpectNoNetwork();
}

TEST_F(ConnectTest, FullGroupsConnectAllTheSameWithQueuedPosts) {
  QueuePosts(1);
  gReadInfo[0]->totalCount = 50;
  gReadInfo[1]->totalCount = 50;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
}

TEST_F(ConnectTest, FullVolumeIsSaid) {
  fake.files.SetFreeSpace({1, 100});
  ConnectCommand(true);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"There is not enough free space on the selected store to download "
                            u"news. Either free some space or change the allowed percentage in the "
                            u"preferences."});
  ExpectNoNetwork();
}

TEST_F(ConnectTest, NoServerOpensThePreferences) {
  gPrefs->numservers = 0;
  ConnectCommand(true);
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  const port::ShownBox box = fake.display.boxes()[0];
  EXPECT_EQ(box.caption, u"Quillet CE not configured");
  EXPECT_EQ(box.text, u"In order to connect, you need to supply a news server name.");
  EXPECT_EQ(box.style.icon, port::BoxIcon::kExclamation);
  EXPECT_EQ(box.style.buttons, port::BoxButtons::kOk);
  EXPECT_EQ(opened_pages, std::vector{PreferencesPage::kServer});
  ExpectNoNetwork();
}

// Each check comes before those that would say something else.
TEST_F(ConnectTest, GroupsAreCheckedBeforeTheVolumeAndTheServer) {
  gPrefs->numservers = 0;
  gPrefs->conxmethod.clear();
  fake.files.SetFreeSpace({1, 100});
  CheckGroups({0, 0});
  ConnectCommand(true);
  CheckGroups({1, 1});
  ConnectCommand(true);
  fake.files.SetFreeSpace({100, 100});
  ConnectCommand(true);
  std::vector<std::u16string> beginnings;
  for (const std::u16string& text : BoxTexts()) beginnings.push_back(text.substr(0, 24));
  EXPECT_EQ(beginnings,
            (std::vector<std::u16string>{u"There are no groups sele", u"There is not enough free",
                                         u"In order to connect, you"}));
  EXPECT_EQ(opened_pages, std::vector{PreferencesPage::kServer});  // not that of the method
  ExpectNoNetwork();
}

TEST_F(ConnectTest, FullGroupsAreSaidBeforeAFullVolume) {
  gReadInfo[0]->totalCount = 50;
  gReadInfo[1]->totalCount = 50;
  fake.files.SetFreeSpace({1, 100});
  ConnectCommand(true);
  ASSERT_EQ(BoxTexts().size(), 1U);
  EXPECT_EQ(BoxTexts()[0].substr(0, 30), u"Your preferences are set to st");
}

TEST_F(ConnectTest, LimitOfNoArticlesMakesEveryGroupFull) {
  gPrefs->maxarticles = 0;
  ConnectCommand(true);
  ASSERT_EQ(BoxTexts().size(), 1U);
  EXPECT_EQ(BoxTexts()[0].substr(0, 54), u"Your preferences are set to store 0 articles per group");
  ExpectNoNetwork();
}

// --- dialling ---

class DialTest : public ConnectTest {
 protected:
  DialTest() {
    gPrefs->conxmethod = u"gprs";
    fake.dialler.entries[u"gprs"] = {u"gprs", u"user", u"password"};
  }
  using Calls = std::vector<std::string>;
};

TEST_F(DialTest, NoMethodNeverTouchesTheDialler) {
  gPrefs->conxmethod = u"<none>";
  fake.dialler.phonebook = false;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_TRUE(fake.dialler.calls.empty());
}

TEST_F(DialTest, MethodIsDialledAndHungUpAtTheEnd) {
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(fake.dialler.calls, (Calls{"EnumerateConnections 1", "EntryParameters gprs",
                                       "Dial gprs user password", "ConnectStatus 1", "HangUp 1"}));
  EXPECT_EQ(gDialHandle, 0U);
  EXPECT_TRUE(fake.dialler.dialled.empty());
}

TEST_F(DialTest, NoneIsComparedExactly) {
  gPrefs->conxmethod = u"<None>";
  fake.dialler.dial_result = 623;
  ConnectCommand(true);
  EXPECT_FALSE(fake.dialler.calls.empty());
}

TEST_F(DialTest, OpenConnectionIsUsedAndNeverHungUp) {
  fake.dialler.open_connections = 1;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(fake.dialler.calls, Calls{"EnumerateConnections 1"});
}

TEST_F(DialTest, TwoOpenConnectionsAreAnErrorAndDialled) {
  fake.dialler.open_connections = 2;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"An unexpected error (RAS error 603) occurred in ConnectedToInternet."});
  EXPECT_EQ(fake.dialler.calls.size(), 5U);
}

TEST_F(DialTest, ErrorsOfTheEnumerationAreReported) {
  const std::vector<std::pair<std::uint32_t, std::u16string>> cases = {
      {621, u"cannot open phonebook"},
      {628, u"The server has rejected your credentials and dropped the connection"},
      {5, u"RAS error 5"}};
  for (const auto& [error, reason] : cases) {
    fake.display.ForgetBoxes();
    fake.dialler.enumerate_result = error;
    EXPECT_FALSE(ConnectedToInternet());
    EXPECT_EQ(BoxTexts(),
              std::vector<std::u16string>{FormatWide(
                  u"An unexpected error (%ls) occurred in ConnectedToInternet.", reason)});
  }
}

TEST_F(DialTest, MissingMethodOpensThePreferences) {
  gPrefs->conxmethod = u"";
  ConnectCommand(true);
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet CE not configured");
  EXPECT_EQ(fake.display.boxes()[0].text,
            u"In order to connect, you need to select a connection method.");
  EXPECT_EQ(opened_pages, std::vector{PreferencesPage::kConnection});
  EXPECT_EQ(fake.dialler.calls, Calls{"EnumerateConnections 1"});
  EXPECT_EQ(fake.sockets.startups(), 0);
  EXPECT_EQ(fake.sockets.cleanups(), 1);
}

TEST_F(DialTest, LineStaysUpWhileALostConnectionIsMadeAgain) {
  fake.registry.PutDword(kExtensionsPath, u"retries", 1);
  fake.sockets.FailReceive(1, 10054);
  fake.clock.on_move = [this] { EXPECT_EQ(fake.dialler.calls.back(), "ConnectStatus 1"); };
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(fake.sockets.connections().size(), 2U);
  EXPECT_EQ(fake.dialler.calls, (Calls{"EnumerateConnections 1", "EntryParameters gprs",
                                       "Dial gprs user password", "ConnectStatus 1", "HangUp 1"}));
  EXPECT_EQ(fake.sockets.startups(), 1);
  EXPECT_EQ(fake.sockets.cleanups(), 1);
}

TEST_F(DialTest, MissingMethodIsNoMatterWhenOnline) {
  gPrefs->conxmethod = u"";
  fake.dialler.open_connections = 1;
  EXPECT_TRUE(WinceConnectIfNotConnected());
  EXPECT_TRUE(fake.display.boxes().empty());
}

TEST_F(DialTest, FailedDialIsReportedAndItsHandleHungUp) {
  fake.dialler.dial_result = 678;
  fake.dialler.state = port::kDialStateDisconnected;
  ConnectCommand(true);
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"An unexpected error (RAS error 678) occurred in WinceConnectIfNotConnected."});
  EXPECT_EQ(fake.dialler.calls.back(), "HangUp 1");
  EXPECT_EQ(gDialHandle, 0U);
  EXPECT_EQ(fake.sockets.startups(), 0);
  EXPECT_EQ(fake.sockets.cleanups(), 1);
}

TEST_F(DialTest, FailedDialBeepsLikeAnyEnd) {
  for (const std::uint32_t beep : {0U, 1U}) {
    gPrefs->beepafter = beep;
    fake.dialler.dial_result = 691;
    ConnectCommand(true);
    EXPECT_EQ(fake.display.beeps(), static_cast<int>(beep));
    EXPECT_EQ(fake.sockets.calls(port::SocketCall::kOpen), 0);
  }
}

TEST_F(DialTest, FailedDialWithoutAHandleHangsNothingUp) {
  fake.dialler.dial_result = 678;
  fake.dialler.handle_on_failure = false;
  fake.dialler.status_result = 6;
  EXPECT_FALSE(WinceConnectIfNotConnected());
  EXPECT_NE(fake.dialler.calls.back().substr(0, 6), "HangUp");
}

TEST_F(DialTest, ConnectionThatIsNotUpIsAFailedDial) {
  fake.dialler.state = port::kDialStateDisconnected;
  EXPECT_FALSE(WinceConnectIfNotConnected());
  EXPECT_EQ(BoxTexts(),
            std::vector<std::u16string>{
                u"An unexpected error (RAS error 0) occurred in WinceConnectIfNotConnected."});
}

TEST_F(DialTest, UnknownStatusIsAFailedDial) {
  fake.dialler.status_result = 6;
  EXPECT_FALSE(WinceConnectIfNotConnected());
  EXPECT_EQ(gDialHandle, 0U);
}

// --- the run and its end ---

// --- the error log of a scheduled run ---

class ErrorWindowTest : public ConnectTest {
 protected:
  // A connection whose one group is refused so.
  void RunRefused(const std::string& reply, bool interactive = false) {
    CheckGroups({1, 0});
    Server("200 welcome\r\n");
    Exchange("GROUP comp.lang.misc", reply);
    Quits();
    ConnectCommand(interactive);
  }
  static std::u16string Refusal(std::u16string_view reply) {
    return FormatWide(u"comp.lang.misc: server reports error ('%ls\r\n')", reply);
  }
  // The open windows with a log.
  std::vector<port::ShownDialog> Windows() {
    std::vector<port::ShownDialog> windows;
    for (const port::ShownDialog& dialog : fake.display.dialogs()) {
      if (dialog.form == kDialogErrorLog && dialog.shown) windows.push_back(dialog);
    }
    return windows;
  }
  std::u16string TextOf(const port::ShownDialog& window) {
    return fake.display.Read(window.handle, kControlErrorLog).text;
  }
  void HandleWaiting() {
    fake.HandleWaiting([](const port::Message& message) { Dispatch(message); });
  }
};

TEST_F(ErrorWindowTest, LaterRunsAddToTheWindowThatIsOpen) {
  RunRefused("411 first");
  RunRefused("411 second");  // nobody has pressed anything
  EXPECT_TRUE(fake.display.boxes().empty());
  ASSERT_EQ(Windows().size(), 1U);
  EXPECT_EQ(TextOf(Windows()[0]), Refusal(u"411 first") + Refusal(u"411 second"));
  fake.display.Press(Windows()[0].handle, kControlOk);
  HandleWaiting();
  EXPECT_TRUE(Windows().empty());
  RunRefused("411 third");
  ASSERT_EQ(Windows().size(), 1U);
  EXPECT_EQ(TextOf(Windows()[0]), Refusal(u"411 third"));
  CloseErrorLog();
  EXPECT_TRUE(Windows().empty());
}

TEST_F(ErrorWindowTest, RunOfTheUserShowsItsBoxAllTheSame) {
  RunRefused("411 first");
  RunRefused("411 second", true);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{Refusal(u"411 second")});
  ASSERT_EQ(Windows().size(), 1U);
  EXPECT_EQ(TextOf(Windows()[0]), Refusal(u"411 first"));
  CloseErrorLog();
}

TEST_F(ErrorWindowTest, ConnectionClosedTwiceShowsNothingTwice) {
  CheckGroups({1, 0});
  Server("200 we");
  fake.sockets.Closes();
  ConnectCommand(false);
  ASSERT_EQ(Windows().size(), 1U);
  EXPECT_EQ(TextOf(Windows()[0]), u"socket destroyed\r\n");
  CloseErrorLog();
}

TEST_F(ErrorWindowTest, RunWithoutErrorsOpensNone) {
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(false);
  EXPECT_TRUE(Windows().empty());
}

TEST_F(ErrorWindowTest, WindowThatCannotBeMadeIsABox) {
  fake.sockets.on_call = [this](port::SocketCall call, int) {
    if (call == port::SocketCall::kSend) fake.display.FailNextDialog();
  };
  RunRefused("411 first");
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{Refusal(u"411 first")});
}

TEST_F(ConnectTest, ProgressDialogHasItsTitle) {
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(Titles()[0], u"Preparing to download...");
  EXPECT_EQ(gProgressDialog, 0U);
  EXPECT_EQ(CurrentBoxOwner(), gMainWindow);
}

TEST_F(ConnectTest, BeepsWhenAsked) {
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(fake.display.beeps(), 0);
  gPrefs->beepafter = 1;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(fake.display.beeps(), 1);
}

TEST_F(ConnectTest, QueuedPostsAreRecounted) {
  QueuePosts(2);
  gPendingPostCount = 77;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
  EXPECT_EQ(gPendingPostCount, 0U);
}

TEST_F(ConnectTest, AbortedRunLeavesNothingOpen) {
  Server("200 welcome\r\n");
  fake.sockets.Release();
  fake.sockets.on_call = [](port::SocketCall call, int) {
    if (call == port::SocketCall::kConnect) RequestAbort();
  };
  ConnectCommand(true);
  EXPECT_EQ(fake.sockets.open_sockets(), 0);
  EXPECT_FALSE(gConnection.server_name.has_value());
  EXPECT_EQ(fake.sockets.sent(), "");
}

TEST_F(ConnectTest, EarlierAbortDoesNotStopTheNextRun) {
  gAbortRequested = 1;
  ServesEmptyGroups({"comp.lang.misc", "alt.test"});
  ConnectCommand(true);
}

TEST_F(ConnectTest, ServiceThatDoesNotStartConnectsNowhere) {
  fake.sockets.SetVersion(std::nullopt);
  ConnectCommand(true);
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"A critical error (incompatible WinSock DLL) occurred in StartInet."});
  EXPECT_EQ(fake.sockets.calls(port::SocketCall::kOpen), 0);
  EXPECT_EQ(fake.sockets.cleanups(), 1);
}

TEST_F(ConnectTest, EndMayComeTwice) {
  gDialHandle = 0;
  EndDownload();
  EndDownload();
  EXPECT_TRUE(fake.dialler.calls.empty());
}

}  // namespace
}  // namespace quillet
