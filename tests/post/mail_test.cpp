// SPDX-License-Identifier: GPL-3.0-or-later
// Mail on the device in memory: recent recipients, the transport, what is placed, published and
// handed over.
#include "post/mail.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "res/resource.h"

namespace quillet {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::u16string>;

constexpr std::u16string_view kInfo = u"PMail\\ServiceInfo";

class MailTest : public ::testing::Test {
 protected:
  MailTest() {
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
    fake.display.ShowMainWindow();
    ReadPreferences();
  }
  ~MailTest() override {
    fake.display.Verify();
    ResetProgram();
  }

  // A service of the user's own.
  void AddTransport(const std::u16string& name, const std::u16string& address = u"") {
    const std::u16string path = std::u16string(kInfo) + u"\\" + name;
    fake.registry.PutString(path, u"svcKey", u"SMTP");
    if (!address.empty()) fake.registry.PutString(path, u"svcRtn", address);
  }
  std::optional<std::u16string> Service(const std::u16string& name, std::u16string_view value) {
    return fake.registry.FindString(std::u16string(kInfo) + u"\\" + name, value);
  }
  bool HasService(const std::u16string& name) {
    return fake.registry.KeyExists(std::u16string(kInfo) + u"\\" + name);
  }
  static MailDraft Draft(const std::u16string& id, const std::u16string& to = u"ann@example.com") {
    return {to, u"me@example.org", u"", u"Hello\r\n", u"Tea", id};
  }
  Texts BoxTexts() {
    Texts texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }
  // What an earlier run has stored.
  Texts StoredRecipients() {
    gPrefs.reset();
    ReadPreferences();
    return gPrefs->prevemail;
  }
  void InChoice(std::function<void(port::WindowHandle)> act) {
    fake.display.WhenShown(130, std::move(act));
  }
  port::ShownControl Control(port::WindowHandle dialog, std::uint32_t id) {
    return fake.display.Control(dialog, id).value_or(port::ShownControl());
  }

  port::FakePlatform fake;
};

constexpr std::u16string_view kNoTransport =
    u"Quillet CE cannot find any user-defined email transports in the Inbox application. Your mail "
    u"will be queued, but may not be sent properly.";

// --- Placing -------------------------------------------------------------------------------------

TEST_F(MailTest, MessageIsPlacedFieldByFieldInItsOrder) {
  AddTransport(u"work", u"Me At Work <me@work.example>");
  MailDraft draft = Draft(u"m-1");
  draft.copy_to = u"bob@example.com";
  EXPECT_TRUE(MailMessage(draft));
  EXPECT_THAT(fake.mail.calls,
              ElementsAre("Open", "Begin m-1", "SetSender", "SetBody", "SetField To", "SetField cc",
                          "SetField Subject", "SetField X-Newsreader", "SetField From", "Put",
                          "Close", "HandOver"));
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  const port::FakeMail& mail = fake.mail.mails[0];
  EXPECT_EQ(mail.service, u"work");
  EXPECT_EQ(mail.sender, u"me@example.org");
  EXPECT_EQ(mail.body, u"Hello\r\n");
  EXPECT_EQ(mail.Field(u"To"), u"ann@example.com");
  EXPECT_EQ(mail.Field(u"cc"), u"bob@example.com");
  EXPECT_EQ(mail.Field(u"Subject"), u"Tea");
  EXPECT_EQ(mail.Field(u"X-Newsreader"), u"Quillet CE 1.14r3");
  EXPECT_EQ(mail.Field(u"From"), u"Me At Work <me@work.example>");
  EXPECT_TRUE(mail.handed_over);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(MailTest, WithoutAReturnAddressThereIsNoFromField) {
  AddTransport(u"work");
  EXPECT_TRUE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(fake.mail.mails[0].fields.back().first, u"X-Newsreader");
}

TEST_F(MailTest, WithoutATransportTheUserIsWarnedAndTheMessagePlacedAllTheSame) {
  EXPECT_TRUE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(BoxTexts(), Texts{std::u16string(kNoTransport)});
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].service, u"Internet Mail");
}

TEST_F(MailTest, AStoreThatDoesNotOpenIsReportedByItsNumber) {
  AddTransport(u"work");
  fake.mail.error = 5;
  fake.mail.FailNth(1);
  EXPECT_FALSE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(BoxTexts(), Texts{u"An unexpected error (5 while trying to open mail) occurred in "
                              u"MailMessage."});
  EXPECT_THAT(fake.mail.calls, ElementsAre("Open"));
}

TEST_F(MailTest, AMessageThatCannotBePutIsReportedByItsNumber) {
  AddTransport(u"work");
  fake.mail.FailNth(2);
  EXPECT_FALSE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(BoxTexts(), Texts{u"An unexpected error (112 while trying to send mail) occurred in "
                              u"MailMessage."});
  EXPECT_THAT(fake.mail.mails, IsEmpty());
  EXPECT_EQ(fake.mail.calls.back(), "Close");
}

TEST_F(MailTest, ASecondAttemptAsksNothingAndPlacesNothing) {
  EXPECT_TRUE(MailMessage(Draft(u"m-1")));
  fake.display.ForgetBoxes();
  EXPECT_TRUE(MailMessage(Draft(u"m-1", u"other@example.com")));
  EXPECT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_EQ(gPrefs->prevemail, Texts{u"ann@example.com"});
}

TEST_F(MailTest, WhatCannotBeHandedOverWaits) {
  AddTransport(u"work");
  fake.mail.refuse = [](const port::FakeMail&) { return u"the line is down"; };
  EXPECT_TRUE(MailMessage(Draft(u"m-1")));
  EXPECT_FALSE(fake.mail.mails[0].handed_over);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- Recent recipients ---------------------------------------------------------------------------

TEST_F(MailTest, TheSixthRecipientDropsTheOldest) {
  AddTransport(u"work");
  for (const char16_t* to : {u"a@x", u"b@x", u"c@x", u"d@x", u"e@x", u"f@x"}) {
    ASSERT_TRUE(MailMessage(Draft(std::u16string(u"m-") + to[0], to)));
  }
  EXPECT_EQ(gPrefs->prevemail, (Texts{u"b@x", u"c@x", u"d@x", u"e@x", u"f@x"}));
  EXPECT_EQ(gPrefs->prevnames, gPrefs->prevemail);
  EXPECT_EQ(gPrefs->numrecips, 5U);
}

TEST_F(MailTest, ARepeatedRecipientMovesToTheEndAndCaseTellsThemApart) {
  AddTransport(u"work");
  ASSERT_TRUE(MailMessage(Draft(u"m-1", u"a@x")));
  ASSERT_TRUE(MailMessage(Draft(u"m-2", u"b@x")));
  ASSERT_TRUE(MailMessage(Draft(u"m-3", u"a@x")));
  EXPECT_EQ(gPrefs->prevemail, (Texts{u"b@x", u"a@x"}));
  ASSERT_TRUE(MailMessage(Draft(u"m-4", u"A@x")));
  EXPECT_EQ(gPrefs->prevemail, (Texts{u"b@x", u"a@x", u"A@x"}));
}

TEST_F(MailTest, RecipientsAreStoredBeforeTheEndOfTheRun) {
  AddTransport(u"work");
  ASSERT_TRUE(MailMessage(Draft(u"m-1", u"a@x, b@x")));
  EXPECT_EQ(StoredRecipients(), Texts{u"a@x, b@x"});
}

TEST_F(MailTest, EmptyRecipientsAreNotRememberedAndTheMessageIsPlaced) {
  AddTransport(u"work");
  EXPECT_TRUE(MailMessage(Draft(u"m-1", u"")));
  EXPECT_THAT(gPrefs->prevemail, IsEmpty());
  ASSERT_EQ(fake.mail.mails.size(), 1U);
  EXPECT_EQ(fake.mail.mails[0].Field(u"To"), u"");
}

// --- The transport -------------------------------------------------------------------------------

TEST_F(MailTest, OnlyServicesOfTheMailKindAreTransports) {
  fake.registry.PutString(u"PMail\\ServiceInfo\\fax", u"svcKey", u"FAX");
  fake.registry.PutString(u"PMail\\ServiceInfo\\lower", u"svcKey", u"smtp");
  fake.registry.PutDword(u"PMail\\ServiceInfo\\odd", u"svcKey", 1);
  AddTransport(u"work");
  EXPECT_EQ(ChooseTransport(), u"work");
}

TEST_F(MailTest, OneTransportIsTakenWhateverThePreferencesSay) {
  AddTransport(u"work");
  gPrefs->transport = u"home";
  gPrefs->alwaystransport = 1;
  EXPECT_EQ(ChooseTransport(), u"work");
  EXPECT_EQ(gPrefs->transport, u"home");
}

TEST_F(MailTest, OfSeveralTheUserChooses) {
  AddTransport(u"work");
  AddTransport(u"Home");
  gPrefs->transport = u"work";
  InChoice([&](port::WindowHandle dialog) {
    EXPECT_EQ(Control(dialog, 1069).choices, (Texts{u"Home", u"work"}));
    EXPECT_EQ(fake.display.Read(dialog, 1069).choice, 0);
    EXPECT_FALSE(fake.display.Read(dialog, 1070).checked);
    EXPECT_TRUE(fake.display.Choose(dialog, 1069, 1));
    EXPECT_TRUE(fake.display.Tick(dialog, 1070, true));
    EXPECT_TRUE(fake.display.Press(dialog, 1));
  });
  EXPECT_EQ(ChooseTransport(), u"work");
  EXPECT_EQ(gPrefs->transport, u"work");
  EXPECT_EQ(gPrefs->alwaystransport, 1U);
  EXPECT_EQ(ChooseTransport(), u"work");  // asks no more
}

TEST_F(MailTest, CancelChoosesAsOkDoes) {
  AddTransport(u"work");
  AddTransport(u"home");
  gPrefs->alwaystransport = 1;
  gPrefs->transport = u"gone";
  InChoice([&](port::WindowHandle dialog) {
    EXPECT_TRUE(fake.display.Read(dialog, 1070).checked);
    EXPECT_TRUE(fake.display.Tick(dialog, 1070, false));
    EXPECT_TRUE(fake.display.Press(dialog, 2));
  });
  EXPECT_EQ(ChooseTransport(), u"home");
  EXPECT_EQ(gPrefs->transport, u"home");
  EXPECT_EQ(gPrefs->alwaystransport, 0U);
}

TEST_F(MailTest, TheChoiceIsStoredWithTheRecipients) {
  AddTransport(u"work");
  AddTransport(u"home");
  InChoice([&](port::WindowHandle dialog) {
    EXPECT_TRUE(fake.display.Tick(dialog, 1070, true));
    EXPECT_TRUE(fake.display.Press(dialog, 1));
  });
  ASSERT_TRUE(MailMessage(Draft(u"m-1")));
  gPrefs.reset();
  ReadPreferences();
  EXPECT_EQ(gPrefs->transport, u"home");
  EXPECT_EQ(gPrefs->alwaystransport, 1U);
}

TEST_F(MailTest, WithoutAChoiceTheMessageIsPlacedUnderInternetMail) {
  AddTransport(u"work");
  AddTransport(u"home");
  fake.display.FailNextDialog();
  EXPECT_TRUE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(fake.mail.mails[0].service, u"Internet Mail");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- Publishing ----------------------------------------------------------------------------------

TEST_F(MailTest, ServicesOfTheMachineArePublished) {
  fake.mail.services = {{u"msmtp work", u"me@work.example"}, {u"sendmail", u""}};
  PublishMailServices();
  EXPECT_EQ(Service(u"msmtp work", u"svcKey"), u"SMTP");
  EXPECT_EQ(Service(u"msmtp work", u"svcRtn"), u"me@work.example");
  EXPECT_EQ(fake.registry.FindDword(u"PMail\\ServiceInfo\\msmtp work", u"published"), 1U);
  EXPECT_EQ(Service(u"sendmail", u"svcKey"), u"SMTP");
  EXPECT_EQ(Service(u"sendmail", u"svcRtn"), std::nullopt);
}

TEST_F(MailTest, WhatTheMachineHasNoMoreGoesAndTheUsersOwnStays) {
  AddTransport(u"mine", u"me@example.org");
  AddTransport(u"sendmail", u"own@example.org");
  fake.mail.services = {{u"msmtp old", u"a@x"}, {u"sendmail", u"machine@x"}};
  PublishMailServices();
  fake.mail.services = {};
  PublishMailServices();
  EXPECT_FALSE(HasService(u"msmtp old"));
  EXPECT_EQ(Service(u"mine", u"svcRtn"), u"me@example.org");
  EXPECT_EQ(Service(u"sendmail", u"svcRtn"), u"own@example.org");
  EXPECT_EQ(fake.registry.Find(u"PMail\\ServiceInfo\\sendmail", u"published"), std::nullopt);
}

TEST_F(MailTest, ANewReturnAddressIsPublishedAndAnOldOneGoes) {
  fake.mail.services = {{u"work", u"old@x"}};
  PublishMailServices();
  fake.mail.services = {{u"work", u"new@x"}};
  PublishMailServices();
  EXPECT_EQ(Service(u"work", u"svcRtn"), u"new@x");
  fake.mail.services = {{u"work", u""}};
  PublishMailServices();
  EXPECT_EQ(Service(u"work", u"svcRtn"), std::nullopt);
  EXPECT_EQ(Service(u"work", u"svcKey"), u"SMTP");
}

TEST_F(MailTest, PublishingTheSameAgainWritesNothing) {
  fake.mail.services = {{u"work", u"a@x"}, {u"sendmail", u""}};
  PublishMailServices();
  const int sets = fake.registry.sets();
  PublishMailServices();
  EXPECT_EQ(fake.registry.sets(), sets);
}

TEST_F(MailTest, AServiceThatWasPublishedByHalfIsNoTransportAndIsMended) {
  fake.mail.services = {{u"work", u"a@x"}};
  for (int n = 1; n <= 3; ++n) {
    fake.registry.FailSet(n);
    PublishMailServices();
    EXPECT_EQ(Service(u"work", u"svcKey"), std::nullopt) << n;
    fake.registry.FailSet(0);
    PublishMailServices();
    EXPECT_EQ(Service(u"work", u"svcKey"), u"SMTP") << n;
    fake.mail.services = {};
    PublishMailServices();
    EXPECT_FALSE(HasService(u"work")) << n;
    fake.mail.services = {{u"work", u"a@x"}};
  }
}

TEST_F(MailTest, WithoutServicesNoKeyIsMade) {
  PublishMailServices();
  EXPECT_FALSE(fake.registry.KeyExists(kInfo));
}

// --- Handing over --------------------------------------------------------------------------------

TEST_F(MailTest, WithoutWaitingMailNothingIsShown) {
  HandOverMail();
  EXPECT_THAT(fake.display.progress_texts(), IsEmpty());
  EXPECT_THAT(fake.mail.calls, IsEmpty());
}

TEST_F(MailTest, WaitingMailIsHandedOverUnderItsTitle) {
  fake.mail.mails = {{u"m-1", u"work", u"", {}, u""}};
  HandOverMail();
  ASSERT_FALSE(fake.display.progress_texts().empty());
  EXPECT_EQ(fake.display.progress_texts()[0].text, u"Sending e-mail...");
  EXPECT_TRUE(fake.mail.mails[0].handed_over);
}

TEST_F(MailTest, MailThatIsHeldIsNotTried) {
  fake.mail.mails = {{u"m-1", u"work", u"", {}, u"", false, u"not known", true}};
  HandOverMail();
  EXPECT_THAT(fake.mail.calls, IsEmpty());
  EXPECT_THAT(fake.display.progress_texts(), IsEmpty());
}

TEST_F(MailTest, ARunningOperationKeepsItsDialog) {
  fake.mail.mails = {{u"m-1", u"work", u"", {}, u""}};
  RunWithProgress(u"Downloading", [] {
    HandOverMail();
    return 0;
  });
  for (const auto& text : fake.display.progress_texts()) EXPECT_NE(text.text, u"Sending e-mail...");
  EXPECT_TRUE(fake.mail.mails[0].handed_over);
}

TEST_F(MailTest, CancelReachesTheHandOver) {
  fake.mail.mails = {{u"m-1", u"work", u"", {}, u""}};
  bool asked = false;
  fake.mail.refuse = [&](const port::FakeMail&) -> std::u16string {
    fake.display.Press(gProgressDialog, 2);
    for (int i = 0; i < 1000 && !AbortRequested(); ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    asked = AbortRequested();
    return u"cancelled";
  };
  HandOverMail();
  EXPECT_TRUE(asked);
  EXPECT_FALSE(fake.mail.mails[0].handed_over);
}

TEST_F(MailTest, NothingIsHandedOverWhenTheSessionEnds) {
  fake.mail.mails = {{u"m-1", u"work", u"", {}, u""}};
  BeginSessionEnd();
  HandOverMail();
  EXPECT_THAT(fake.mail.calls, IsEmpty());
}

}  // namespace
}  // namespace quillet
