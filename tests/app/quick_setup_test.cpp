// SPDX-License-Identifier: GPL-3.0-or-later
// Quick Setup, from the greeting to the stored settings.
#include "app/server_probe.h"
#include "base/server_security.h"
#include "tests/app/sheet_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

constexpr const char16_t* kWelcome =
    u"Welcome to Quillet CE! The Quick Setup Wizard will now prompt you for some basic "
    u"configuration information. If you don't know what to enter, you can always come back to the "
    u"Quick Setup Wizard by selecting \"Quick Setup\" from the \"File\" menu.";
constexpr const char16_t* kThatsAll =
    u"That's all! Next, you'll probably want to add some groups to download. Select \"New Group\" "
    u"from the \"Group->Groups\" menu. You can also look at the extensive list of configuration "
    u"options in Quillet CE by selecting \"Preferences\" from the \"File\" menu.";

class QuickSetupTest : public SheetTest {
 protected:
  QuickSetupTest() { SetServers({}); }
  ~QuickSetupTest() override {
    for (const std::uint32_t form : {kDialogQuickSetup, kDialogQuickSetupConnection}) {
      const port::WindowHandle dialog = fake_.display.DialogOfForm(form);
      if (dialog != 0) PressIn(dialog, kControlCancel);
    }
  }
  void Begin() {
    fake_.display.Expect(kWelcome, port::kIdOk);
    StartAndWait();
  }
  port::WindowHandle First() { return fake_.display.DialogOfForm(kDialogQuickSetup); }
  port::WindowHandle Second() { return fake_.display.DialogOfForm(kDialogQuickSetupConnection); }
  void In(port::WindowHandle dialog, std::uint32_t control, std::u16string_view text) {
    EXPECT_TRUE(fake_.display.Type(dialog, control, text));
    WaitIdle();
  }
  void PressIn(port::WindowHandle dialog, std::uint32_t control) {
    EXPECT_TRUE(fake_.display.Press(dialog, control));
    WaitIdle();
  }
  std::u16string TextIn(port::WindowHandle dialog, std::uint32_t control) {
    return fake_.display.Control(dialog, control)->text;
  }
  void FillFirst() {
    In(First(), kControlSetupServer, u" news.example.org ");
    In(First(), kControlSetupName, u"Ann Example");
    In(First(), kControlSetupAddress, u"ann@example.org");
    PressIn(First(), kControlOk);
  }
};

TEST_F(QuickSetupTest, LeadsFromAnEmptyProfileToStoredSettings) {
  fake_.dialler.entries[u"gprs"] = {};
  Begin();
  EXPECT_EQ(fake_.display.boxes()[0].caption, u"Quillet");
  EXPECT_EQ(fake_.display.FindDialog(First())->caption, u"Quillet CE Quick Setup");
  EXPECT_EQ(TextIn(First(), kControlSetupServer), u"");
  EXPECT_EQ(TextIn(First(), kControlSetupName), u"");
  EXPECT_EQ(TextIn(First(), kControlSetupAddress), u"");
  EXPECT_EQ(TextIn(First(), kControlOk), u"Next >>");
  FillFirst();
  EXPECT_EQ(First(), 0U);
  EXPECT_EQ(TextIn(Second(), kControlOk), u"Done");
  EXPECT_EQ(TextIn(Second(), kControlSetupBack), u"<< Back");
  EXPECT_THAT(fake_.display.Control(Second(), kControlSetupConnection)->choices,
              ElementsAre(u"gprs", u"<none>"));
  EXPECT_EQ(ChosenIn(Second(), kControlSetupConnection), u"<none>");
  EXPECT_TRUE(fake_.display.Choose(Second(), kControlSetupConnection, 0));
  fake_.scheduler.calls.clear();
  fake_.display.Expect(kThatsAll, port::kIdOk);
  PressIn(Second(), kControlOk);
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"news.example.org"));
  EXPECT_THAT(gPrefs->port, ElementsAre(119U));
  EXPECT_EQ(gPrefs->selectedserver, 0U);
  EXPECT_EQ(Text(u"fullname"), u"Ann Example");
  EXPECT_EQ(Text(u"returnmailaddress"), u"ann@example.org");
  EXPECT_EQ(Text(u"conxmethod"), u"gprs");
  EXPECT_EQ(Dword(u"numservers"), 1U);
  EXPECT_EQ(fake_.scheduler.calls.size(), 1U);
}

TEST_F(QuickSetupTest, CancelOfTheGreetingEndsIt) {
  fake_.display.Expect(kWelcome, port::kIdCancel);
  StartAndWait();
  EXPECT_EQ(First(), 0U);
  EXPECT_EQ(gPrefs->numservers, 0U);
}

TEST_F(QuickSetupTest, EveryFieldIsRequiredInOrder) {
  Begin();
  const struct {
    std::uint32_t control;
    const char16_t* missing;
  } fields[] = {
      {kControlSetupServer, u"You have not specified your news server."},
      {kControlSetupName, u"You have not specified your full name."},
      {kControlSetupAddress, u"You have not specified your email address."},
  };
  for (const auto& field : fields) {
    fake_.display.Expect(field.missing, port::kIdOk);
    PressIn(First(), kControlOk);
    EXPECT_EQ(fake_.display.boxes().back().owner, First());
    EXPECT_TRUE(fake_.display.Control(First(), field.control)->focused);
    In(First(), field.control, u"x");
  }
  PressIn(First(), kControlOk);
  EXPECT_NE(Second(), 0U);
}

TEST_F(QuickSetupTest, BackFindsWhatWasTyped) {
  fake_.dialler.entries[u"gprs"] = {};
  Begin();
  FillFirst();
  EXPECT_TRUE(fake_.display.Choose(Second(), kControlSetupConnection, 0));
  PressIn(Second(), kControlSetupBack);
  EXPECT_EQ(Second(), 0U);
  EXPECT_EQ(TextIn(First(), kControlSetupServer), u"news.example.org");
  EXPECT_EQ(TextIn(First(), kControlSetupName), u"Ann Example");
  PressIn(First(), kControlOk);
  EXPECT_EQ(ChosenIn(Second(), kControlSetupConnection), u"gprs");
}

TEST_F(QuickSetupTest, CancelOfEitherPageChangesNothing) {
  for (const bool second : {false, true}) {
    Begin();
    if (second) {
      FillFirst();
      PressIn(Second(), kControlCancel);
    } else {
      PressIn(First(), kControlCancel);
    }
    EXPECT_EQ(First() + Second(), 0U);
    EXPECT_EQ(gPrefs->numservers, 0U);
    EXPECT_EQ(gPrefs->fullname, u"My Name");
    End();
  }
}

TEST_F(QuickSetupTest, ServerThatNoneCanBeIsRefused) {
  Begin();
  In(First(), kControlSetupServer, u"a b");
  In(First(), kControlSetupName, u"Ann");
  In(First(), kControlSetupAddress, u"ann@example.org");
  fake_.display.Expect(u"The name of a news server cannot have blanks or control characters in it.",
                       port::kIdOk);
  PressIn(First(), kControlOk);
  EXPECT_NE(First(), 0U);
}

TEST_F(QuickSetupTest, CommandShowsWhatIsSetAndSelectsAServerThatIsThere) {
  SetServers({u"one", u"two"});
  SetGroups({u"comp.test"});
  fake_.registry.PutString(kRegistryPath, u"fullname", u"Ann");
  StartAndWait();
  fake_.display.Expect(kWelcome, port::kIdOk);
  Command(kCommandQuickSetup);
  EXPECT_EQ(TextIn(First(), kControlSetupServer), u"one");
  EXPECT_EQ(TextIn(First(), kControlSetupName), u"Ann");
  EXPECT_EQ(TextIn(First(), kControlSetupAddress), u"");
  In(First(), kControlSetupServer, u"TWO");
  In(First(), kControlSetupAddress, u"ann@example.org");
  PressIn(First(), kControlOk);
  PressIn(Second(), kControlOk);
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"one", u"two"));
  EXPECT_EQ(gPrefs->selectedserver, 1U);
}

TEST_F(QuickSetupTest, PhoneBookThatFailsLeavesNoConnection) {
  fake_.dialler.phonebook = false;
  Begin();
  FillFirst();
  EXPECT_THAT(fake_.display.Control(Second(), kControlSetupConnection)->choices,
              ElementsAre(u"<none>"));
}

TEST_F(QuickSetupTest, ComesAfterAScheduledStartToo) {
  fake_.shell.command_line = u"AppRunAtTime";
  fake_.display.Expect(u"You do not have any groups in the group list.", port::kIdOk);
  Begin();
  EXPECT_NE(First(), 0U);
}

// --- How the server is reached -------------------------------------------------------------------

constexpr std::u16string_view kSecurity = u"Software\\Brindle\\Quillet\\Extensions\\ServerSecurity";

class SetupReachTest : public QuickSetupTest {
 protected:
  // A host that answers on port 563 only, or on no port.
  void SetHost(const std::string& name, bool answers = true) {
    fake_.sockets.SetHost(name, {192, 0, 2, 7});
    if (answers) return;
    fake_.sockets.on_call = [this](port::SocketCall call, int) {
      if (call == port::SocketCall::kConnect) fake_.sockets.FailConnect(port::kErrorRefused);
    };
  }
  void FillIn(std::u16string_view server) {
    In(First(), kControlSetupServer, server);
    In(First(), kControlSetupName, u"Ann");
    In(First(), kControlSetupAddress, u"ann@example.org");
  }
  void Next() { PressIn(First(), kControlOk); }
  void Done() {
    if (gPrefs->numgroups == 0) fake_.display.Expect(kThatsAll, port::kIdOk);
    PressIn(Second(), kControlOk);
  }
  void ExpectShown(std::u16string_view port, std::u16string_view security) {
    ASSERT_NE(First(), 0U);
    EXPECT_EQ(TextIn(First(), kControlSetupPort), port);
    EXPECT_EQ(ChosenIn(First(), kControlSetupSecurity), security);
  }
  std::size_t Probes() { return fake_.sockets.connections().size(); }
};

TEST_F(SetupReachTest, UsualPortAndNoSecurityAreOffered) {
  Begin();
  ExpectShown(u"119", u"None");
  EXPECT_THAT(fake_.display.Control(First(), kControlSetupSecurity)->choices,
              ElementsAre(u"None", u"TLS from the start", u"STARTTLS"));
  EXPECT_EQ(TextIn(First(), kControlSetupNote), u"");
}

TEST_F(SetupReachTest, ServerThatAnswersWhereTlsIsAtHomeGetsItAndTheUserSeesIt) {
  SetHost("news.example.org");
  Begin();
  FillIn(u"news.example.org");
  const int shows = fake_.display.wait_cursor_shows();
  Next();
  EXPECT_EQ(Second(), 0U);
  ExpectShown(u"563", u"TLS from the start");
  EXPECT_EQ(TextIn(First(), kControlSetupNote),
            u"The server answers on port 563: TLS is filled in.");
  EXPECT_EQ(Probes(), 1U);
  EXPECT_EQ(fake_.sockets.connections()[0].port, 563);
  EXPECT_EQ(fake_.sockets.open_sockets(), 0);
  EXPECT_EQ(fake_.sockets.startups(), fake_.sockets.cleanups());
  EXPECT_EQ(fake_.sockets.sent(), "");
  EXPECT_EQ(fake_.display.wait_cursor_depth(), 0);
  EXPECT_EQ(fake_.display.wait_cursor_shows(), shows + 1);
  Next();
  ASSERT_NE(Second(), 0U);
  Done();
  EXPECT_THAT(gPrefs->port, ElementsAre(563U));
  EXPECT_EQ(fake_.registry.FindDword(kSecurity, u"news.example.org"), 1U);
  EXPECT_EQ(Probes(), 1U);
}

TEST_F(SetupReachTest, ServerThatDoesNotAnswerThereStaysAsItIsWithoutAWord) {
  SetHost("news.example.org", false);
  Begin();
  FillIn(u"news.example.org");
  Next();
  ASSERT_NE(Second(), 0U);
  EXPECT_EQ(Probes(), 1U);
  PressIn(Second(), kControlSetupBack);
  ExpectShown(u"119", u"None");
  EXPECT_EQ(TextIn(First(), kControlSetupNote), u"");
  Next();
  EXPECT_EQ(Probes(), 1U);
  Done();
  EXPECT_EQ(ReadServerSecurity(u"news.example.org"), ServerSecurity::kNone);
  EXPECT_FALSE(fake_.registry.KeyExists(kSecurity));
}

TEST_F(SetupReachTest, UnknownHostAndAServiceThatDoesNotStartAreNoObstacle) {
  Begin();
  FillIn(u"nowhere.example.org");
  Next();
  ASSERT_NE(Second(), 0U);
  PressIn(Second(), kControlSetupBack);
  fake_.sockets.SetVersion(std::nullopt);
  In(First(), kControlSetupServer, u"other.example.org");
  Next();
  EXPECT_NE(Second(), 0U);
  EXPECT_EQ(fake_.sockets.startups(), fake_.sockets.cleanups());
}

TEST_F(SetupReachTest, WhatTheUserHasChosenIsNotTriedAndStays) {
  SetHost("news.example.org");
  Begin();
  FillIn(u"news.example.org");
  EXPECT_TRUE(fake_.display.Choose(First(), kControlSetupSecurity, 2));
  WaitIdle();
  Next();
  ASSERT_NE(Second(), 0U);
  EXPECT_EQ(Probes(), 0U);
  PressIn(Second(), kControlSetupBack);
  ExpectShown(u"119", u"STARTTLS");
  In(First(), kControlSetupPort, u" 8119 ");
  Next();
  Done();
  EXPECT_THAT(gPrefs->port, ElementsAre(8119U));
  EXPECT_EQ(ReadServerSecurity(u"news.example.org"), ServerSecurity::kStartTls);
}

TEST_F(SetupReachTest, WhatWasFilledInCanBeTakenBack) {
  SetHost("news.example.org");
  Begin();
  FillIn(u"news.example.org");
  Next();
  EXPECT_TRUE(fake_.display.Choose(First(), kControlSetupSecurity, 0));
  WaitIdle();
  ExpectShown(u"119", u"None");
  Next();
  Done();
  EXPECT_THAT(gPrefs->port, ElementsAre(119U));
  EXPECT_EQ(ReadServerSecurity(u"news.example.org"), ServerSecurity::kNone);
  EXPECT_EQ(Probes(), 1U);
}

TEST_F(SetupReachTest, WhatWasFoundIsNotForAnotherServer) {
  SetHost("news.example.org");
  Begin();
  FillIn(u"news.example.org");
  Next();
  ExpectShown(u"563", u"TLS from the start");
  In(First(), kControlSetupServer, u"nowhere.example.org");
  Next();
  Done();
  EXPECT_THAT(gPrefs->port, ElementsAre(119U));
  EXPECT_EQ(ReadServerSecurity(u"nowhere.example.org"), ServerSecurity::kNone);
}

TEST_F(SetupReachTest, WrongPortIsRefusedAndThePageStays) {
  Begin();
  FillIn(u"news.example.org");
  for (const char16_t* port : {u"", u"0", u"65536", u"x"}) {
    In(First(), kControlSetupPort, port);
    fake_.display.Expect(u"The port must be a number from 1 to 65535.", port::kIdOk);
    Next();
    EXPECT_NE(First(), 0U);
    EXPECT_TRUE(fake_.display.Control(First(), kControlSetupPort)->focused);
  }
}

TEST_F(SetupReachTest, ServerInTheListKeepsItsPortAndSecurity) {
  SetServers({u"one", u"two"});
  SetGroups({u"comp.test"});
  SetNumbers(u"port", {8119, 8563});
  fake_.registry.PutDword(kSecurity, u"one", 2);
  fake_.registry.PutDword(kSecurity, u"two", 1);
  SetHost("one");
  StartAndWait();
  fake_.display.Expect(kWelcome, port::kIdOk);
  Command(kCommandQuickSetup);
  ExpectShown(u"8119", u"STARTTLS");
  FillIn(u"two");
  Next();
  Done();
  EXPECT_EQ(gPrefs->selectedserver, 1U);
  EXPECT_THAT(gPrefs->port, ElementsAre(8119U, 8563U));
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kStartTls);
  EXPECT_EQ(ReadServerSecurity(u"two"), ServerSecurity::kTls);
  EXPECT_EQ(Probes(), 0U);
}

TEST_F(SetupReachTest, ProbeEndsWhenItsTimeIsOver) {
  SetServers({u"one"});
  StartAndWait();
  fake_.sockets.SetHost("slow.example.org", {192, 0, 2, 7});
  fake_.sockets.on_call = [this](port::SocketCall call, int) {
    while (call == port::SocketCall::kConnect && fake_.sockets.interrupts().empty()) {
      std::this_thread::yield();
    }
  };
  bool answers = true;
  OnProgramThread([&] { answers = AnswersOnPort(u"slow.example.org", 563, 1); });
  EXPECT_FALSE(answers);
  EXPECT_EQ(fake_.sockets.open_sockets(), 0);
}

}  // namespace
}  // namespace quillet
