// SPDX-License-Identifier: GPL-3.0-or-later
// Mail from the program's call to the mail program's input, over the services of Linux and stubs of
// sendmail and msmtp.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/fake/fake_platform.h"
#include "port/linux/linux_registry.h"
#include "post/mail.h"
#include "tests/port/linux_mail_fixture.h"

namespace quillet {
namespace {

using testing::HasSubstr;

class MailOnLinux : public ::testing::Test {
 protected:
  MailOnLinux() {
    gPlatform = &platform;
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
    fake.display.ShowMainWindow();
    ReadPreferences();
  }
  ~MailOnLinux() override {
    fake.display.Verify();
    ResetProgram();
    gPlatform = &fake.platform;
  }

  static MailDraft Draft(const std::u16string& id) {
    return {u"Ann <ann@example.com>",
            u"me@example.org",
            u"",
            u"J\u00F6rg wrote:\r\n> .\r\n.\r\n" + std::u16string(1500, u'y') + u"\r\n",
            u"Re: Gr\u00FC\u00DFe",
            id};
  }
  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }

  port::FakePlatform fake;
  port::MailMachine machine;
  port::LinuxRegistry registry{machine.folder / "registry.db"};
  port::LinuxMailStore store{machine.folder / "data", [] { return 0U; }};
  port::Platform platform{fake.display.Services(), fake.queues,  registry,   fake.sockets,
                          fake.libraries,          fake.files,   fake.clock, fake.shell,
                          fake.scheduler,          fake.dialler, store,      fake.contacts,
                          fake.security,           fake.secrets};
};

TEST_F(MailOnLinux, AMessageReachesSendmailWholeAndOnce) {
  machine.AddStub("sendmail");
  PublishMailServices();
  ASSERT_TRUE(MailMessage(Draft(u"m-1")));
  ASSERT_TRUE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(machine.Count("sendmail"), 1U);
  EXPECT_EQ(machine.Arguments("sendmail"), "-i\n-f\nme@example.org\n--\nann@example.com\n");
  const std::string message = machine.Message("sendmail");
  EXPECT_THAT(message, HasSubstr("From: me@example.org\n"));
  EXPECT_THAT(message, HasSubstr("To: Ann <ann@example.com>\n"));
  EXPECT_THAT(message, HasSubstr("Subject: Re: =?UTF-8?B?R3LDvMOfZQ==?=\n"));
  EXPECT_THAT(message, HasSubstr("X-Newsreader: Quillet CE 1.14r3\n"));
  EXPECT_EQ(port::ReadMail(message).body,
            "J\xC3\xB6rg wrote:\n> .\n.\n" + std::string(1500, 'y') + "\n");
  EXPECT_TRUE(BoxTexts().empty());
}

TEST_F(MailOnLinux, TheAccountsAddressIsTheAuthor) {
  machine.AddStub("msmtp");
  port::WriteAll(machine.folder / "home/.msmtprc", "account work\nfrom me@work.example\n");
  PublishMailServices();
  gPrefs->alwaystransport = 1;
  gPrefs->transport = u"msmtp work";
  ASSERT_TRUE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(machine.Arguments("msmtp"), "--timeout=20\n-a\nwork\n--\nann@example.com\n");
  EXPECT_THAT(machine.Message("msmtp"), HasSubstr("From: me@work.example\n"));
}

TEST_F(MailOnLinux, WhatFailsAtFirstLeavesAtTheNextOccasion) {
  machine.AddStub("sendmail", "echo no route >&2; exit 75");
  PublishMailServices();
  ASSERT_TRUE(MailMessage(Draft(u"m-1")));
  ASSERT_EQ(store.Waiting().size(), 1U);
  EXPECT_EQ(store.Waiting()[0].reason, u"'sendmail' says: no route");
  EXPECT_EQ(store.Waiting()[0].subject, u"Re: Gr\u00FC\u00DFe");
  machine.AddStub("sendmail");
  HandOverMail();
  EXPECT_TRUE(store.Waiting().empty());
  EXPECT_EQ(machine.Count("sendmail"), 2U);
}

TEST_F(MailOnLinux, AnOutboxThatCannotBeMadeIsReported) {
  machine.AddStub("sendmail");
  PublishMailServices();
  port::WriteAll(machine.folder / "data/outbox", "a file");
  EXPECT_FALSE(MailMessage(Draft(u"m-1")));
  EXPECT_EQ(BoxTexts(), std::vector<std::u16string>{
                            u"An unexpected error (183 while trying to open mail) occurred in "
                            u"MailMessage."});
}

}  // namespace
}  // namespace quillet
