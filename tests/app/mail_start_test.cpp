// SPDX-License-Identifier: GPL-3.0-or-later
// Mail at the start of the program: the services of the machine, and what waits in the outbox.
#include <gtest/gtest.h>

#include <string>

#include "port/scheduler.h"
#include "tests/app/program_fixture.h"

namespace quillet {
namespace {

class MailAtTheStart : public Program {
 protected:
  MailAtTheStart() {
    fake_.mail.services = {{u"sendmail", u""}};
    fake_.mail.mails = {{u"m-1", u"sendmail", u"", {{u"To", u"ann@example.com"}}, u"Hello"}};
  }
  ~MailAtTheStart() override {
    if (thread_.joinable()) End();
  }
};

TEST_F(MailAtTheStart, ServicesArePublishedAndWaitingMailLeavesWhenTheWindowIsShown) {
  bool published = false;
  bool shown = false;
  fake_.mail.refuse = [&](const port::FakeMail&) -> std::u16string {
    published = fake_.registry.FindString(u"PMail\\ServiceInfo\\sendmail", u"svcKey") == u"SMTP";
    shown = fake_.display.main_window().shown && fake_.display.main_window().has_tabs;
    return u"";
  };
  StartAndWait();
  EXPECT_TRUE(fake_.mail.mails[0].handed_over);
  EXPECT_TRUE(published);
  EXPECT_TRUE(shown);
}

TEST_F(MailAtTheStart, WhatCannotLeaveIsNotSpokenOf) {
  fake_.mail.refuse = [](const port::FakeMail&) { return u"no line"; };
  StartAndWait();
  EXPECT_TRUE(fake_.display.boxes().empty());
  EXPECT_FALSE(fake_.mail.mails[0].handed_over);
}

TEST_F(MailAtTheStart, AScheduledStartLeavesItToItsConnection) {
  fake_.shell.command_line = port::kScheduledCommandLine;
  StartAndWait();
  EXPECT_FALSE(fake_.mail.mails[0].handed_over);
  EXPECT_EQ(fake_.registry.FindString(u"PMail\\ServiceInfo\\sendmail", u"svcKey"), u"SMTP");
}

}  // namespace
}  // namespace quillet
