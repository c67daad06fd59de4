// SPDX-License-Identifier: GPL-3.0-or-later
// The server page: every server's own values, adding and deleting.
#include "base/server_security.h"
#include "base/subscriptions.h"
#include "tests/app/sheet_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ServerPageTest : public SheetTest {
 protected:
  ServerPageTest() {
    SetServers({u"one", u"two"});
    SetGroups({u"comp.test", u"alt.test"});
    SetNumbers(u"lastdownloaded", {0, 0, 3, 4});
    SetNumbers(u"lastonserver", {0, 0, 13, 14});
  }
  void OpenServers() {
    StartAndWait();
    Open();
  }
  // Answers the dialog that asks for a name.
  void Add(std::u16string_view name) {
    fake_.display.WhenShown(kDialogAddServer, [this, name](port::WindowHandle dialog) {
      fake_.display.Type(dialog, kControlServerName, name);
      fake_.display.Press(dialog, kControlOk);
    });
    Press(kControlAddServer);
  }
  void ExpectParallel() {
    EXPECT_EQ(gPrefs->servers.size(), gPrefs->numservers);
    EXPECT_EQ(gPrefs->port.size(), gPrefs->numservers);
    EXPECT_EQ(gPrefs->useauths.size(), gPrefs->numservers);
    EXPECT_EQ(gPrefs->usentlms.size(), gPrefs->numservers);
    EXPECT_EQ(gPrefs->authusers.size(), gPrefs->numservers);
    EXPECT_EQ(gPrefs->authpasses.size(), gPrefs->numservers);
    const std::size_t numbers = std::size_t{gPrefs->numservers} * gPrefs->numgroups;
    EXPECT_EQ(gPrefs->lastdownloaded.size(), numbers);
    EXPECT_EQ(gPrefs->lastonserver.size(), numbers);
  }
};

TEST_F(ServerPageTest, ShowsTheSelectedServer) {
  SetDword(u"selectedserver", 1);
  SetNumbers(u"port", {119, 8119});
  SetNumbers(u"useauths", {0, 1});
  SetNumbers(u"usentlms", {0, 1});
  SetList(u"authusers", {u"", u"ann"});
  SetList(u"authpasses", {u"", u"secret"});
  SetDword(u"allserversareone", 1);
  OpenServers();
  EXPECT_THAT(Shown(kControlServers).choices, ElementsAre(u"one", u"two"));
  EXPECT_EQ(Shown(kControlServers).choice, 1);
  EXPECT_EQ(Shown(kControlServerPort).text, u"8119");
  EXPECT_TRUE(Shown(kControlExtraLogin).checked);
  EXPECT_EQ(Shown(kControlServerUser).text, u"ann");
  EXPECT_EQ(Shown(kControlServerPassword).text, u"secret");
  EXPECT_EQ(Shown(kControlServerPassword).kind, ControlKind::kPassword);
  EXPECT_TRUE(Shown(kControlEncryptedLogin).checked);
  EXPECT_TRUE(Shown(kControlOneServer).checked);
}

TEST_F(ServerPageTest, WhatWasTypedForEachServerIsKept) {
  OpenServers();
  Type(kControlServerPort, u"8119");
  Tick(kControlExtraLogin, true);
  Type(kControlServerUser, u"ann");
  Type(kControlServerPassword, u"secret");
  Choose(kControlServers, 1);
  EXPECT_EQ(Shown(kControlServerPort).text, u"119");
  EXPECT_FALSE(Shown(kControlExtraLogin).checked);
  EXPECT_EQ(Shown(kControlServerUser).text, u"");
  EXPECT_EQ(Shown(kControlServerPassword).text, u"");
  Type(kControlServerUser, u"bob\\dom");
  Tick(kControlEncryptedLogin, true);
  Choose(kControlServers, 0);
  EXPECT_EQ(Shown(kControlServerPort).text, u"8119");
  EXPECT_TRUE(Shown(kControlExtraLogin).checked);
  EXPECT_EQ(Shown(kControlServerUser).text, u"ann");
  EXPECT_EQ(Shown(kControlServerPassword).text, u"secret");
  Choose(kControlServers, 1);
  Tick(kControlOneServer, true);
  Ok();
  EXPECT_THAT(gPrefs->port, ElementsAre(8119U, 119U));
  EXPECT_THAT(gPrefs->useauths, ElementsAre(1U, 0U));
  EXPECT_THAT(gPrefs->usentlms, ElementsAre(0U, 1U));
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u"ann", u"bob\\dom"));
  EXPECT_THAT(gPrefs->authpasses, ElementsAre(u"secret", u""));
  EXPECT_EQ(gPrefs->selectedserver, 1U);
  EXPECT_EQ(gPrefs->allserversareone, 1U);
  EXPECT_EQ(Dword(u"selectedserver"), 1U);
}

TEST_F(ServerPageTest, AnotherServerIsAChange) {
  OpenServers();
  Choose(kControlServers, 1);
  fake_.display.Expect(kApplyQuestion, port::kIdNo);
  Cancel();
  EXPECT_EQ(gPrefs->selectedserver, 0U);
}

TEST_F(ServerPageTest, PortsOutsideTheirRangeAreRefused) {
  OpenServers();
  for (const auto* port : {u"0", u"65536", u"-1", u"+1", u"x", u"", u"1000000000000", u"1 1"}) {
    Type(kControlServerPort, port);
    fake_.display.Expect(u"The port must be a number from 1 to 65535.", port::kIdOk);
    Ok();
    EXPECT_TRUE(IsOpen());
  }
  fake_.display.Expect(u"The port must be a number from 1 to 65535.", port::kIdOk);
  Choose(kControlServers, 1);
  EXPECT_EQ(Shown(kControlServers).choice, 0);
  EXPECT_EQ(Shown(kControlServerPort).text, u"1 1");
  for (const auto* port : {u"1", u"65535"}) {
    Type(kControlServerPort, port);
    Turn(kConnectionPlace);
    EXPECT_EQ(Place(), kConnectionPlace);
    Turn(kServerPlace);
    EXPECT_EQ(Shown(kControlServerPort).text, port);
  }
}

TEST_F(ServerPageTest, AddedServerIsShownWithDefaultsAndNothingFetched) {
  OpenServers();
  Add(u"  three ");
  EXPECT_THAT(Shown(kControlServers).choices, ElementsAre(u"one", u"two", u"three"));
  EXPECT_EQ(Shown(kControlServers).choice, 2);
  EXPECT_EQ(Shown(kControlServerPort).text, u"119");
  Ok();
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"one", u"two", u"three"));
  EXPECT_THAT(gPrefs->port, ElementsAre(119U, 119U, 119U));
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(0U, 0U, 3U, 4U, 0U, 0U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(0U, 0U, 13U, 14U, 0U, 0U));
  EXPECT_EQ(gPrefs->selectedserver, 2U);
  ExpectParallel();
}

TEST_F(ServerPageTest, NamesThatNoServerCanHaveAreRefused) {
  const struct {
    std::u16string name;
    std::u16string refusal;
  } cases[] = {
      {u"", u"Please enter the name of the news server."},
      {u" \t ", u"Please enter the name of the news server."},
      {u"two", u"The news server \"two\" is in the list already."},
      {u"TWO", u"The news server \"TWO\" is in the list already."},
      {u"a b", u"The name of a news server cannot have blanks or control characters in it."},
      {u"a\u0001b", u"The name of a news server cannot have blanks or control characters in it."},
      {std::u16string(u"a\0b", 3),
       u"The name of a news server cannot have blanks or control characters in it."},
      {u"\uE000", u"The name of a news server cannot have blanks or control characters in it."},
      {std::u16string(254, u'a'),
       u"The name of a news server cannot be longer than 253 characters."},
      {std::u16string(100000, u'a'),
       u"The name of a news server cannot be longer than 253 characters."},
      {u"\u0416", u"Some characters of this text cannot be used here: \u0416"},
  };
  OpenServers();
  for (const auto& one : cases) {
    fake_.display.Expect(one.refusal, port::kIdOk);
    Add(one.name);
    const port::WindowHandle dialog = fake_.display.DialogOfForm(kDialogAddServer);
    ASSERT_NE(dialog, 0U);
    EXPECT_TRUE(fake_.display.Press(dialog, kControlCancel));
    WaitIdle();
  }
  Cancel();
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"one", u"two"));
}

TEST_F(ServerPageTest, DeletedServerTakesItsRowsAlongAfterAQuestion) {
  OpenServers();
  Choose(kControlServers, 1);
  fake_.display.Expect(u"Really delete the news server \"two\"?", port::kIdNo);
  Press(kControlDeleteServer);
  EXPECT_THAT(Shown(kControlServers).choices, ElementsAre(u"one", u"two"));
  fake_.display.Expect(u"Really delete the news server \"two\"?", port::kIdYes);
  Press(kControlDeleteServer);
  EXPECT_THAT(Shown(kControlServers).choices, ElementsAre(u"one"));
  EXPECT_EQ(Shown(kControlServers).choice, 0);
  Ok();
  EXPECT_EQ(gPrefs->selectedserver, 0U);
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(0U, 0U));
  ExpectParallel();
}

TEST_F(ServerPageTest, ServerWithoutProgressGoesWithoutAQuestion) {
  OpenServers();
  Press(kControlDeleteServer);
  EXPECT_THAT(Shown(kControlServers).choices, ElementsAre(u"two"));
  Ok();
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(3U, 4U));
  EXPECT_THAT(gPrefs->lastonserver, ElementsAre(13U, 14U));
  ExpectParallel();
}

TEST_F(ServerPageTest, WithoutServersOnlyAddingIsOffered) {
  OpenServers();
  Press(kControlDeleteServer);
  fake_.display.Expect(u"Really delete the news server \"two\"?", port::kIdYes);
  Press(kControlDeleteServer);
  EXPECT_THAT(Shown(kControlServers).choices, IsEmpty());
  EXPECT_FALSE(Shown(kControlServerPort).enabled);
  EXPECT_FALSE(Shown(kControlDeleteServer).enabled);
  EXPECT_TRUE(Shown(kControlAddServer).enabled);
  EXPECT_EQ(Shown(kControlServerPort).text, u"");
  Add(u"new");
  EXPECT_TRUE(Shown(kControlServerPort).enabled);
  Type(kControlServerUser, u"me");
  Ok();
  EXPECT_THAT(gPrefs->servers, ElementsAre(u"new"));
  EXPECT_THAT(gPrefs->authusers, ElementsAre(u"me"));
  EXPECT_THAT(gPrefs->lastdownloaded, ElementsAre(0U, 0U));
  ExpectParallel();
}

TEST_F(ServerPageTest, LoginThatWouldBeReadAsNoneIsKeptReadable) {
  OpenServers();
  Type(kControlServerUser, u"\uE000ann\r\nx");
  Ok();
  EXPECT_EQ(gPrefs->authusers[0], u"ann  x");
}

// --- Security ------------------------------------------------------------------------------------

constexpr std::u16string_view kSecurity = u"Software\\Brindle\\Quillet\\Extensions\\ServerSecurity";
constexpr std::u16string_view kCertificates =
    u"Software\\Brindle\\Quillet\\Extensions\\TrustedCertificates";

TEST_F(ServerPageTest, SecurityIsShownAndKeptForEachServer) {
  fake_.registry.PutDword(kSecurity, u"ONE", 2);
  OpenServers();
  EXPECT_THAT(Shown(kControlServerSecurity).choices,
              ElementsAre(u"None", u"TLS from the start", u"STARTTLS"));
  EXPECT_EQ(Chosen(kControlServerSecurity), u"STARTTLS");
  Choose(kControlServers, 1);
  EXPECT_EQ(Chosen(kControlServerSecurity), u"None");
  Choose(kControlServerSecurity, u"TLS from the start");
  Choose(kControlServers, 0);
  EXPECT_EQ(Chosen(kControlServerSecurity), u"STARTTLS");
  Ok();
  EXPECT_EQ(fake_.registry.FindDword(kSecurity, u"one"), 2U);
  EXPECT_EQ(fake_.registry.FindDword(kSecurity, u"two"), 1U);
  EXPECT_THAT(gPrefs->port, ElementsAre(119U, 563U));
}

TEST_F(ServerPageTest, UsualPortFollowsTheSecurity) {
  OpenServers();
  const struct {
    const char16_t* port;
    const char16_t* security;
    const char16_t* then;
  } cases[] = {
      {u"119", u"TLS from the start", u"563"},
      {u"563", u"TLS from the start", u"563"},
      {u"563", u"STARTTLS", u"119"},
      {u"119", u"STARTTLS", u"119"},
      {u"563", u"None", u"119"},
      {u"8563", u"TLS from the start", u"8563"},
      {u"8119", u"None", u"8119"},
      {u" 119 ", u"TLS from the start", u"563"},
      {u"x", u"TLS from the start", u"x"},
      {u"", u"None", u""},
  };
  for (const auto& one : cases) {
    Type(kControlServerPort, one.port);
    Choose(kControlServerSecurity, one.security);
    EXPECT_EQ(Shown(kControlServerPort).text, one.then);
  }
  Type(kControlServerPort, u"119");
  Ok();
}

TEST_F(ServerPageTest, CancelLeavesTheSecurityAsItWas) {
  fake_.registry.PutDword(kSecurity, u"one", 1);
  fake_.registry.PutString(kCertificates, u"one:563", u"AB:CD");
  OpenServers();
  Choose(kControlServerSecurity, u"None");
  fake_.display.Expect(kApplyQuestion, port::kIdNo);
  Cancel();
  EXPECT_EQ(fake_.registry.FindDword(kSecurity, u"one"), 1U);
  EXPECT_EQ(TrustedCertificate(u"one", 563), "AB:CD");
}

TEST_F(ServerPageTest, SecurityOfADeletedServerGoesWithOk) {
  fake_.registry.PutDword(kSecurity, u"one", 1);
  fake_.registry.PutDword(kSecurity, u"two", 2);
  fake_.registry.PutString(kCertificates, u"one:563", u"AB:CD");
  OpenServers();
  Press(kControlDeleteServer);
  EXPECT_EQ(Chosen(kControlServerSecurity), u"STARTTLS");
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kTls);
  Add(u"one");
  EXPECT_EQ(Chosen(kControlServerSecurity), u"None");
  Ok();
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kNone);
  EXPECT_EQ(ReadServerSecurity(u"two"), ServerSecurity::kStartTls);
  EXPECT_EQ(TrustedCertificate(u"one", 563), "");
}

TEST_F(ServerPageTest, NewServerGetsTheSecurityThatIsChosen) {
  OpenServers();
  Add(u"three");
  EXPECT_EQ(Chosen(kControlServerSecurity), u"None");
  Choose(kControlServerSecurity, u"STARTTLS");
  Ok();
  EXPECT_EQ(ReadServerSecurity(u"three"), ServerSecurity::kStartTls);
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kNone);
}

TEST_F(ServerPageTest, ChoosingTheSecurityAnewForgetsTheTrustedCertificates) {
  fake_.registry.PutDword(kSecurity, u"one", 1);
  fake_.registry.PutString(kCertificates, u"one:563", u"AB:CD");
  fake_.registry.PutString(kCertificates, u"two:563", u"EF:01");
  OpenServers();
  Choose(kControlServerSecurity, u"STARTTLS");
  Choose(kControlServerSecurity, u"TLS from the start");
  EXPECT_EQ(TrustedCertificate(u"one", 563), "AB:CD");
  Ok();
  EXPECT_EQ(TrustedCertificate(u"one", 563), "");
  EXPECT_EQ(TrustedCertificate(u"two", 563), "EF:01");
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kTls);
}

TEST_F(ServerPageTest, SecurityWaitsForAServer) {
  SetServers({});
  fake_.display.Allow(u"", port::kIdCancel);  // Quick Setup
  OpenServers();
  EXPECT_FALSE(Shown(kControlServerSecurity).enabled);
  EXPECT_EQ(Shown(kControlServerSecurity).choice, -1);
}

TEST_F(ServerPageTest, ResetForgetsTheSecurityOfAllServers) {
  fake_.registry.PutDword(kSecurity, u"one", 1);
  OpenServers();
  Turn(kAdvancedPlace);
  fake_.display.Expect(u"Really reset preferences to defaults?", port::kIdYes);
  fake_.display.Expect(u"Do you also want to reset your killfile?", port::kIdNo);
  Press(kControlResetPrefs);
  Ok();
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kNone);
}

TEST_F(ServerPageTest, SecurityThatCannotBeStoredIsTold) {
  OpenServers();
  Choose(kControlServerSecurity, u"STARTTLS");
  fake_.registry.FailCommit(1);
  fake_.display.Expect(u"The security of the news servers could not be saved.", port::kIdOk);
  Ok();
  EXPECT_EQ(ReadServerSecurity(u"one"), ServerSecurity::kStartTls);
}

}  // namespace
}  // namespace quillet
