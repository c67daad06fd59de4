// SPDX-License-Identifier: GPL-3.0-or-later
// Mail on Linux: the text of a message, the programs that are found, and the hand-over to stubs of
// them.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include <string>
#include <thread>
#include <vector>

#include "port/linux/mail_hand_over.h"
#include "port/linux/mail_message.h"
#include "port/linux/mail_programs.h"
#include "port/linux/msmtp_accounts.h"
#include "tests/port/linux_mail_fixture.h"

namespace quillet::port {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

using Names = std::vector<std::string>;

// --- The message ---------------------------------------------------------------------------------

MailParts Parts(const std::string& body, const std::string& subject = "Tea") {
  return {"m-1",
          "me@example.org",
          {{"To", "Ann <ann@example.com>"},
           {"cc", ""},
           {"Subject", subject},
           {"X-Newsreader", "Quillet CE 1.14r3"}},
          body};
}

std::size_t LongestLine(const std::string& text) {
  std::size_t longest = 0;
  std::size_t start = 0;
  for (std::size_t end = text.find('\n'); end != text.npos; end = text.find('\n', start)) {
    longest = std::max(longest, end - start);
    start = end + 1;
  }
  return longest;
}

std::string Header(const std::string& message) {
  return message.substr(0, message.find("\n\n") + 1);
}
std::string Body(const std::string& message) {
  return message.substr(message.find("\n\n") + 2);
}

TEST(MailText, PlainTextStandsAsItIsAndItsCharsetIsSaid) {
  const std::string message = ComposeMail(Parts("One\r\n.\r\nFrom me\rLast"));
  EXPECT_EQ(Body(message), "One\n.\nFrom me\nLast\n");
  EXPECT_THAT(Header(message), HasSubstr("\nContent-Type: text/plain; charset=us-ascii\n"));
  EXPECT_THAT(Header(message), HasSubstr("\nContent-Transfer-Encoding: 7bit\n"));
  EXPECT_THAT(Header(message), HasSubstr("\nMIME-Version: 1.0\n"));
  EXPECT_THAT(message, StartsWith("Date: "));
  EXPECT_THAT(Header(message), HasSubstr("\nFrom: me@example.org\n"));
  EXPECT_THAT(Header(message), HasSubstr("\nTo: Ann <ann@example.com>\n"));
  EXPECT_THAT(Header(message), HasSubstr("\nSubject: Tea\n"));
  EXPECT_THAT(Header(message), HasSubstr("\nX-Newsreader: Quillet CE 1.14r3\n"));
  EXPECT_THAT(Header(message), Not(HasSubstr("Cc:")));
  EXPECT_EQ(message.find('\r'), std::string::npos);
}

TEST(MailText, OtherTextIsEncodedInUtf8AndComesBack) {
  const std::string message = ComposeMail(Parts("J\xC3\xB6rg =20 \xE2\x82\xAC \n",
                                                "Gr\xC3\xBC\xC3\x9F"
                                                "e"));
  EXPECT_THAT(Header(message), HasSubstr("charset=utf-8\n"));
  EXPECT_THAT(Header(message), HasSubstr("Content-Transfer-Encoding: quoted-printable\n"));
  EXPECT_TRUE(std::ranges::all_of(message, [](char c) { return static_cast<signed char>(c) > 0; }));
  const MailSummary read = ReadMail(message);
  EXPECT_EQ(read.body, "J\xC3\xB6rg =20 \xE2\x82\xAC \n");
  EXPECT_EQ(read.subject,
            "Gr\xC3\xBC\xC3\x9F"
            "e");
}

TEST(MailText, EveryScriptIsUtf8InSubjectNamesAndText) {
  const std::string greek = "\xCE\x93\xCE\xB5\xCE\xB9\xCE\xAC";
  const std::string japanese = "\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E";
  const std::string arabic = "\xD8\xB3\xD9\x84\xD8\xA7\xD9\x85";
  const std::string thai = "\xE0\xB8\x81\xE0\xB8\xB3";
  const std::string smile = "\xF0\x9F\x98\x80";
  const std::string accented = "e\xCC\x81";
  for (const std::string& text : {greek, japanese, arabic, thai, smile, accented}) {
    MailParts parts = Parts(text + "\n.\n" + text + " \n", "Re: " + text);
    parts.fields[0].second =
        "\"" + text + ", A\" <ann@example.com>, bob@example.com (" + text + ")";
    parts.fields.emplace_back("From", text + " <me@work.example>");
    const std::string message = ComposeMail(parts);
    EXPECT_TRUE(
        std::ranges::all_of(message, [](char c) { return static_cast<signed char>(c) > 0; }));
    EXPECT_THAT(Header(message), HasSubstr("\nMIME-Version: 1.0\n"));
    EXPECT_THAT(Header(message), HasSubstr("\nContent-Type: text/plain; charset=utf-8\n"));
    EXPECT_THAT(Header(message), HasSubstr("\nContent-Transfer-Encoding: quoted-printable\n"));
    EXPECT_THAT(Header(message), HasSubstr("\nSubject: Re: =?UTF-8?"));
    EXPECT_THAT(Header(message), HasSubstr("\nFrom: =?UTF-8?"));
    EXPECT_THAT(Header(message), HasSubstr("?= <me@work.example>\n"));
    const MailSummary read = ReadMail(message);
    EXPECT_EQ(read.body, text + "\n.\n" + text + " \n");
    EXPECT_EQ(read.subject, "Re: " + text);
    EXPECT_THAT(read.recipients, ElementsAre("ann@example.com", "bob@example.com"));
    EXPECT_THAT(read.shown_to, HasSubstr(text + ", A"));
    EXPECT_EQ(read.from, "me@work.example");
  }
}

TEST(MailText, LongLinesAreEncodedFromOneByteBeyondTheLimitOn) {
  const std::string fits = ComposeMail(Parts(std::string(998, 'a') + "\n"));
  EXPECT_EQ(Body(fits), std::string(998, 'a') + "\n");
  const std::string longer = ComposeMail(Parts(std::string(999, 'a') + "\n"));
  EXPECT_LE(LongestLine(longer), 78U);
  EXPECT_EQ(ReadMail(longer).body, std::string(999, 'a') + "\n");
}

TEST(MailText, ALongSubjectIsFoldedAndEachPieceOfItStandsAlone) {
  std::string subject;
  for (int i = 0; i < 8; ++i) subject += "w\xC3\xB6rter ";
  EXPECT_THAT(ComposeMail(Parts("x", subject + "end")),
              HasSubstr("\nSubject: =?UTF-8?B?d8O2cnRlciB3w7ZydGVyIHfDtnJ0ZXIgd8O2cnRlcg==?=\n"
                        " =?UTF-8?B?IHfDtnJ0ZXIgd8O2cnRlciB3w7ZydGVyIHfDtnJ0ZXI=?= end\n"));
  EXPECT_LE(LongestLine(ComposeMail(Parts("x", std::string(5000, 'a')))), 100U);
}

TEST(MailText, TenMegabytesComeBackWhole) {
  std::string text;
  while (text.size() < 10'000'000) text += "a line with \xC3\xA4 and = and some more words\n";
  EXPECT_EQ(ReadMail(ComposeMail(Parts(text))).body, text);
}

TEST(MailText, TheAuthorIsTheFieldsElseTheSenders) {
  MailParts parts = Parts("x");
  parts.fields.emplace_back("From", "J\xC3\xB6rg <j@work.example>");
  std::string message = ComposeMail(parts);
  EXPECT_EQ(ReadMail(message).from, "j@work.example");
  EXPECT_THAT(message, HasSubstr("@work.example>\n"));  // the Message-ID
  parts.fields.back().second = "";
  message = ComposeMail(parts);
  EXPECT_EQ(ReadMail(message).from, "me@example.org");
}

TEST(MailText, TheMessageIdHasAPlausibleDomainAndIsNeverTheSame) {
  MailParts parts = Parts("x");
  const std::string one = ComposeMail(parts);
  EXPECT_THAT(one, testing::ContainsRegex("\nMessage-Id: <m-1\\.[0-9a-f]{16}@example\\.org>\n"));
  EXPECT_NE(one.substr(one.find("Message-Id")), ComposeMail(parts).substr(one.find("Message-Id")));
  for (const char* sender :
       {"me", "me@localhost", "me@-x.org", "me@x..org", "me@x_y.org", "", "@"}) {
    parts.sender = sender;
    EXPECT_THAT(ComposeMail(parts), HasSubstr("@quillet.invalid>\n")) << sender;
  }
}

TEST(MailText, BlindCopiesAndDamagedNamesAreLeftOut) {
  MailParts parts = Parts("x");
  parts.fields.emplace_back("Bcc", "eve@example.com");
  parts.fields.emplace_back("bCC", "eve@example.com");
  parts.fields.emplace_back("X Bad", "eve@example.com");
  parts.fields.emplace_back("X-Bad:", "eve@example.com");
  const std::string message = ComposeMail(parts);
  EXPECT_THAT(message, Not(HasSubstr("eve@example.com")));
}

TEST(MailText, RecipientsAreTheBareAddressesOfToAndCcEachOnce) {
  MailParts parts = Parts("x");
  parts.fields[0].second = "\"Doe, Ann\" <ann@example.com>, bob@example.com, ann@example.com";
  parts.fields[1].second = "team: c@example.com, bob@example.com;";
  const MailSummary mail = ReadMail(ComposeMail(parts));
  EXPECT_THAT(mail.recipients, ElementsAre("ann@example.com", "bob@example.com", "c@example.com"));
  EXPECT_THAT(mail.to, ElementsAre("ann@example.com", "bob@example.com"));
}

TEST(MailText, SemicolonsMaySeparateAddressesOutsideGroups) {
  MailParts parts = Parts("x");
  parts.fields[0].second =
      "ann@example.com; \"a;b\" <bob@example.com>;team: c@x, d@x; e@x (f;g@x); \"h@x\" <i@x>";
  const MailSummary mail = ReadMail(ComposeMail(parts));
  EXPECT_THAT(mail.recipients,
              ElementsAre("ann@example.com", "bob@example.com", "c@x", "d@x", "e@x", "i@x"));
  EXPECT_EQ(mail.to_count, 6U);
  EXPECT_EQ(CountAddressSigns(parts.fields[0].second), 6U);
}

TEST(MailText, WithoutRecipientsThereAreNone) {
  MailParts parts = Parts("x");
  for (const char* to : {"", " ", ",", ";", "<>"}) {
    parts.fields[0].second = to;
    EXPECT_THAT(ReadMail(ComposeMail(parts)).recipients, IsEmpty()) << to;
  }
}

TEST(MailText, AForeignMessageIsReadWithoutHarm) {
  for (const std::string text : {"", "\n", "To: \xFF\xFE\n\n\x80", "no header at all", "To: a@b"}) {
    ReadMail(text);
  }
}

// --- msmtp's accounts ----------------------------------------------------------------------------

Names AccountsOf(std::string_view text) {
  Names names;
  for (const MsmtpAccount& account : ReadMsmtpAccounts(text)) {
    names.push_back(account.name + "=" + account.from);
  }
  return names;
}

TEST(MsmtpAccounts, AreReadWithDefaultsBasesCommentsAndQuotes) {
  EXPECT_THAT(
      AccountsOf("# comment\n"
                 "defaults\n"
                 "\tfrom  fallback@example.org\n"
                 "account work\n"
                 "host smtp.work.example\n"
                 "  from \"me@work.example\"\n"
                 "  # from no@example.org\n"
                 "account \"home\"\r\n"
                 "account phone : work\n"
                 "host other\n"
                 "account default : work\n"),
      ElementsAre("work=me@work.example", "home=fallback@example.org", "phone=me@work.example"));
}

TEST(MsmtpAccounts, ADefaultWithSettingsOfItsOwnIsAnAccount) {
  EXPECT_THAT(AccountsOf("account default\nhost x\nfrom a@b\n"), ElementsAre("default=a@b"));
  EXPECT_THAT(AccountsOf("account a\naccount default : a\nfrom c@d\n"),
              ElementsAre("a=", "default=c@d"));
}

TEST(MsmtpAccounts, LaterDefaultsAreForLaterAccounts) {
  EXPECT_THAT(AccountsOf("account a\ndefaults\nfrom x@y\naccount b\ndefaults\naccount c\n"),
              ElementsAre("a=", "b=x@y", "c="));
}

TEST(MsmtpAccounts, WhatCannotBeUsedIsPassedOver) {
  EXPECT_THAT(AccountsOf("account\naccount -x\naccount a\\b\naccount a\nfrom *@example.org\n"
                         "account a\nfrom second@x\naccount b\nfrom %U@x\naccount c\nfrom -x@y"),
              ElementsAre("a=", "b=", "c="));
  EXPECT_THAT(AccountsOf(std::string(100'000, 'x')), IsEmpty());
}

// --- The programs --------------------------------------------------------------------------------

class MailPrograms : public testing::Test {
 protected:
  Names Found() {
    Names names;
    for (const MailService& service : store.Services()) {
      names.push_back(ToUtf8(service.name) + "=" + ToUtf8(service.return_address));
    }
    return names;
  }
  std::string Reason() {
    const auto waiting = store.Waiting();
    return waiting.empty() ? "(sent)" : ToUtf8(waiting.front().reason);
  }
  std::string Data(const std::string& name) { return machine.folder / ("data/" + name); }

  MailMachine machine;
  std::uint32_t interrupts = 0;
  LinuxMailStore store{machine.folder / "data", [this] { return interrupts; }};
};

TEST_F(MailPrograms, AreOfferedInTheirOrder) {
  machine.AddStub("msmtp");
  machine.AddStub("sendmail");
  machine.AddStub("xdg-email");
  WriteAll(machine.folder / "home/.msmtprc", "account work\nfrom me@work.example\naccount home\n");
  WriteAll(machine.folder / "home/.config/msmtp/config", "account work\nfrom no@x\naccount more\n");
  WriteAll(machine.folder / "home/.config/mimeapps.list",
           "[Default Applications]\nx-scheme-handler/mailto=mail.desktop\n");
  EXPECT_THAT(Found(), ElementsAre("msmtp work=me@work.example", "msmtp home=", "msmtp more=",
                                   "sendmail=", "Desktop mail program="));
}

TEST_F(MailPrograms, AccountsWithoutTheirProgramAreNone) {
  WriteAll(machine.folder / "home/.msmtprc", "account work\nfrom me@work.example\n");
  machine.AddStub("sendmail");
  EXPECT_EQ(Found().front(), "sendmail=");
}

TEST_F(MailPrograms, TheDesktopsProgramNeedsAHandler) {
  machine.AddStub("sendmail");
  machine.AddStub("xdg-email");
  EXPECT_THAT(Found(), ElementsAre("sendmail="));
  WriteAll(machine.folder / "home/.config/mimeapps.list",
           "[Removed Associations]\nx-scheme-handler/mailto=mail.desktop\n");
  EXPECT_THAT(Found(), ElementsAre("sendmail="));
  WriteAll(machine.folder / "home/.local/share/applications/mimeinfo.cache",
           "[MIME Cache]\nx-scheme-handler/mailto=mail.desktop;\n");
  EXPECT_THAT(Found(), ElementsAre("sendmail=", "Desktop mail program="));
}

// --- Handing over --------------------------------------------------------------------------------

TEST_F(MailPrograms, SendmailGetsTheMessageAsItStandsInTheOutbox) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.to = u"Ann <ann@example.com>, bob@example.com";
  mail.subject = u"Gr\u00FC\u00DFe";
  mail.body = u"J\u00F6rg\r\n.\r\n..\r\n" + std::u16string(2000, u'x') + u"\r\nFrom here\r\n";
  ASSERT_TRUE(PutMail(store, mail));
  const std::string text = ReadAll(Data("outbox/new/m-1"));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Arguments("sendmail"),
            "-i\n-f\nme@example.org\n--\nann@example.com\nbob@example.com\n");
  EXPECT_EQ(machine.Message("sendmail"), text);
  const MailSummary read = ReadMail(text);
  EXPECT_EQ(read.subject,
            "Gr\xC3\xBC\xC3\x9F"
            "e");
  EXPECT_EQ(read.body, "J\xC3\xB6rg\n.\n..\n" + std::string(2000, 'x') + "\nFrom here\n");
}

TEST_F(MailPrograms, WhatWasHandedOverIsKeptAndNeverSentAgain) {
  machine.AddStub("sendmail");
  ASSERT_TRUE(PutMail(store, {}));
  store.HandOver();
  EXPECT_THAT(NamesIn(Data("sent/cur")), ElementsAre("m-1:2,S"));
  EXPECT_THAT(NamesIn(Data("outbox/new")), IsEmpty());
  EXPECT_THAT(NamesIn(Data("outbox/cur")), IsEmpty());
  EXPECT_THAT(NamesIn(Data("outbox/info")), IsEmpty());
  EXPECT_TRUE(store.WasPut(u"m-1"));
  EXPECT_TRUE(PutMail(store, {}));
  store.HandOver();
  EXPECT_EQ(machine.Count("sendmail"), 1U);
  EXPECT_THAT(store.Waiting(), IsEmpty());
}

TEST_F(MailPrograms, AMessageThatAMailReaderHasTouchedIsStillKnown) {
  machine.AddStub("sendmail");
  ASSERT_TRUE(PutMail(store, {}));
  store.HandOver();
  std::filesystem::rename(Data("sent/cur/m-1:2,S"), Data("sent/cur/m-1:2,RS"));
  EXPECT_TRUE(store.WasPut(u"m-1"));
  EXPECT_FALSE(store.WasPut(u"m"));
  EXPECT_FALSE(store.WasPut(u"../sent/cur/m-1:2,RS"));
}

TEST_F(MailPrograms, MsmtpGetsAccountAndRecipients) {
  machine.AddStub("msmtp");
  WriteAll(machine.folder / "home/.msmtprc", "account work\nfrom me@work.example\naccount bare\n");
  TestMail mail;
  mail.service = u"msmtp work";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Arguments("msmtp"), "--timeout=20\n-a\nwork\n--\nann@example.com\n");
  mail.id = u"m-2";
  mail.service = u"msmtp bare";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Arguments("msmtp"),
            "--timeout=20\n-a\nbare\n--from=me@example.org\n--\nann@example.com\n");
}

TEST_F(MailPrograms, MsmtpIsToldOfTheFileItWouldNotRead) {
  machine.AddStub("msmtp");
  WriteAll(machine.folder / "home/.msmtprc", "account work\nfrom me@work.example\n");
  const std::string second = machine.folder / "home/.config/msmtp/config";
  WriteAll(second, "account more\nfrom more@x.example\n");
  TestMail mail;
  mail.service = u"msmtp more";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Arguments("msmtp"),
            "--file=" + second + "\n--timeout=20\n-a\nmore\n--\nann@example.com\n");
}

TEST_F(MailPrograms, TheDesktopsProgramGetsTextsInsteadOfAMessage) {
  machine.AddStub("xdg-email");
  WriteAll(machine.folder / "home/.config/mimeapps.list",
           "[Default Applications]\nx-scheme-handler/mailto=mail.desktop\n");
  TestMail mail;
  mail.service = u"Desktop mail program";
  mail.subject = u"--attach /etc/passwd";
  mail.body = u"$(id) J\u00F6rg\r\n";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(
      machine.Arguments("xdg-email"),
      "--utf8\n--subject\n--attach /etc/passwd\n--body\n$(id) J\xC3\xB6rg\n\nann@example.com\n");
  EXPECT_EQ(machine.Message("xdg-email"), "");
}

TEST_F(MailPrograms, WhatIsTooLongForTheDesktopsProgramStays) {
  machine.AddStub("xdg-email");
  WriteAll(machine.folder / "home/.config/mimeapps.list",
           "[Default Applications]\nx-scheme-handler/mailto=mail.desktop\n");
  TestMail mail;
  mail.service = u"Desktop mail program";
  mail.body = std::u16string(50'000, u'\u00F6');
  ASSERT_TRUE(PutMail(store, mail));
  store.HandOver();
  EXPECT_EQ(Reason(), "it is too long for the desktop's mail program");
  EXPECT_EQ(machine.Count("xdg-email"), 0U);
}

TEST_F(MailPrograms, ARecipientNeverBecomesAnOption) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.id = u"m-1";
  mail.to = u"ann@example.com, -oQ/tmp@example.com";
  ASSERT_TRUE(PutMail(store, mail));
  mail.id = u"m-2";
  mail.to = u"-X/tmp/log";
  ASSERT_TRUE(PutMail(store, mail));
  const auto left = store.HandOver();
  ASSERT_EQ(left.size(), 2U);
  EXPECT_EQ(left[0].reason, u"the address '-oQ/tmp@example.com' cannot be used");
  EXPECT_EQ(left[1].reason, u"the address '-X/tmp/log' cannot be used");
  EXPECT_EQ(machine.Count("sendmail"), 0U);
  mail.id = u"m-3";
  mail.to = u"\"-X/tmp/log\"@example.com";
  mail.from = u"-X/tmp/log@example.com";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_EQ(store.HandOver().size(), 2U);
  EXPECT_EQ(machine.Arguments("sendmail"), "-i\n--\n\"-X/tmp/log\"@example.com\n");
}

TEST_F(MailPrograms, InjectedLinesStayInTheirField) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.to = u"ann@example.com\r\nBcc: eve@example.com";
  mail.subject = u"Tea\nBcc: eve@example.com\n\nBody";
  mail.from = std::u16string(u"me@example.org\0\r\nX-Evil: 1", 26);
  ASSERT_TRUE(PutMail(store, mail));
  store.HandOver();
  const std::string message = machine.Message("sendmail");
  EXPECT_THAT(message, Not(HasSubstr("\nBcc:")));
  EXPECT_THAT(message, Not(HasSubstr("\nX-Evil:")));
  EXPECT_THAT(message, HasSubstr("\n\nHello\n"));
}

TEST_F(MailPrograms, WithoutARecipientItStaysAndSaysWhy) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.to = u"";
  ASSERT_TRUE(PutMail(store, mail));
  const auto left = store.HandOver();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0].reason, u"it has no recipient");
  EXPECT_FALSE(left[0].held);
  EXPECT_EQ(machine.Count("sendmail"), 0U);
}

TEST_F(MailPrograms, RecipientsOfWhichSomeCannotBeReadGetNothing) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.to = u"Ann Doe ann@example.com";
  ASSERT_TRUE(PutMail(store, mail));
  store.HandOver();
  EXPECT_EQ(Reason(), "its recipients 'Ann Doe ann@example.com' cannot be read");
  mail.id = u"m-2";
  mail.to = u"<@bad,@route:ann@example.com>, bob@example.com";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_EQ(store.HandOver().size(), 2U);
  EXPECT_EQ(machine.Count("sendmail"), 0U);
}

TEST_F(MailPrograms, ARecipientThatStandsThereTwiceGetsItOnce) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.to = u"ann@example.com, Ann <ann@example.com>; bob@example.com";
  ASSERT_TRUE(PutMail(store, mail));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Arguments("sendmail"),
            "-i\n-f\nme@example.org\n--\nann@example.com\nbob@example.com\n");
}

TEST_F(MailPrograms, AnAccountThatIsGoneKeepsItsMail) {
  machine.AddStub("sendmail");
  TestMail mail;
  mail.service = u"msmtp gone";
  ASSERT_TRUE(PutMail(store, mail));
  store.HandOver();
  EXPECT_EQ(Reason(), "there is no mail program for the transport 'msmtp gone'");
}

TEST_F(MailPrograms, AServiceOfTheUsersOwnLeavesByTheFirstProgram) {
  machine.AddStub("sendmail");
  for (const char16_t* service : {u"Internet Mail", u"mine"}) {
    TestMail mail;
    mail.id = service[0] == u'I' ? u"m-1" : u"m-2";
    mail.service = service;
    ASSERT_TRUE(PutMail(store, mail));
  }
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 2U);
}

TEST_F(MailPrograms, WhatAProgramSaysWhenItFailsIsTheReason) {
  machine.AddStub("sendmail",
                  "echo out >&1; printf 'no such user:\\033[1m ann\\r\\n\\nnext\\n' >&2; "
                  "echo 3 >&2; echo 4 >&2; exit 67");
  ASSERT_TRUE(PutMail(store, {}));
  const auto left = store.HandOver();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left[0].reason, u"'sendmail' says: out no such user: [1m ann next");
  EXPECT_FALSE(left[0].held);
  EXPECT_THAT(NamesIn(Data("outbox/new")), ElementsAre("m-1"));
  machine.AddStub("sendmail");
  EXPECT_THAT(store.HandOver(), IsEmpty());
}

TEST_F(MailPrograms, ASilentFailureIsGivenByItsStatus) {
  machine.AddStub("sendmail", "exit 75");
  ASSERT_TRUE(PutMail(store, {}));
  store.HandOver();
  EXPECT_EQ(Reason(), "'sendmail' failed with status 75");
}

TEST_F(MailPrograms, AProgramThatDoesNotStartIsNamed) {
  WriteScript(machine.folder / "bin/sendmail", "#!/nowhere/interpreter\n");
  ASSERT_TRUE(PutMail(store, {}));
  store.HandOver();
  EXPECT_EQ(Reason(), "'sendmail' could not be started: No such file or directory");
  EXPECT_THAT(NamesIn(Data("outbox/new")), ElementsAre("m-1"));
}

TEST_F(MailPrograms, MegabytesOfOutputAreReadAndForgotten) {
  machine.AddStub("sendmail", "head -c 20000000 /dev/zero | tr '\\0' x >&2; exit 1");
  ASSERT_TRUE(PutMail(store, {}));
  store.HandOver();
  EXPECT_THAT(Reason(), StartsWith("'sendmail' says: xxxxxxxx"));
  EXPECT_LT(Reason().size(), 700U);
}

TEST_F(MailPrograms, AServantThatKeepsTheOutputOpenIsNotWaitedFor) {
  machine.AddStub("sendmail", "sleep 20 & exit 0");
  ASSERT_TRUE(PutMail(store, {}));
  const StopWatch watch;
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 1U);
  EXPECT_LT(watch.Milliseconds(), 15000);
}

TEST_F(MailPrograms, AnInterruptEndsTheProgramAndTheRest) {
  // It has read nothing: certainly not sent.
  WriteScript(machine.folder / "bin/sendmail", "#!/bin/sh\nPATH=/usr/bin:/bin\necho $$ > " +
                                                   (machine.folder / "pid") + "\nexec sleep 100\n");
  ASSERT_TRUE(PutMail(store, {}));
  TestMail second;
  second.id = u"m-2";
  ASSERT_TRUE(PutMail(store, second));
  LinuxMailStore impatient(machine.folder / "data",
                           [&] { return ReadAll(machine.folder / "pid").empty() ? 0U : 1U; });
  const auto left = impatient.HandOver();
  ASSERT_EQ(left.size(), 2U);
  EXPECT_EQ(left[0].reason, u"'sendmail' was ended when the sending was cancelled");
  EXPECT_FALSE(left[0].held);
  EXPECT_EQ(left[1].reason, u"");
  EXPECT_NE(kill(std::stoi(ReadAll(machine.folder / "pid")), 0), 0);
}

TEST_F(MailPrograms, WhatAnotherProcessHandsOverIsLeftAlone) {
  machine.AddStub("sendmail");
  ASSERT_TRUE(PutMail(store, {}));
  const int fd = open(Data("outbox/new/m-1").c_str(), O_RDONLY);
  ASSERT_EQ(flock(fd, LOCK_EX), 0);
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 0U);
  EXPECT_EQ(Reason(), "it is being handed over");
  EXPECT_TRUE(store.Waiting().at(0).held);
  close(fd);
  ASSERT_EQ(store.Waiting().size(), 1U);
  EXPECT_EQ(store.Waiting()[0].reason, u"");
  EXPECT_THAT(store.HandOver(), IsEmpty());
}

TEST_F(MailPrograms, WhatWasUnderWayAtAPowerCutIsHeldUntilTheUserActs) {
  machine.AddStub("sendmail");
  ASSERT_TRUE(PutMail(store, {}));
  std::filesystem::rename(Data("outbox/new/m-1"), Data("outbox/cur/m-1:2,"));
  auto left = store.HandOver();
  ASSERT_EQ(left.size(), 1U);
  EXPECT_TRUE(left[0].held);
  EXPECT_EQ(ToUtf8(left[0].reason),
            "its sending was cut short, and it is not known whether it was sent. To send it again, "
            "move the file " +
                Data("outbox/cur/m-1:2,") + " to " + Data("outbox/new") +
                "; to give it up, delete the file");
  EXPECT_EQ(machine.Count("sendmail"), 0U);
  EXPECT_TRUE(store.WasPut(u"m-1"));
  std::filesystem::rename(Data("outbox/cur/m-1:2,"), Data("outbox/new/m-1:2,"));
  EXPECT_TRUE(store.WasPut(u"m-1"));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 1U);
  EXPECT_THAT(NamesIn(Data("sent/cur")), ElementsAre("m-1:2,S"));
}

// --- One hand-over, with a short limit -----------------------------------------------------------

class HandingOver : public MailPrograms {
 protected:
  HandOverResult Run(const std::string& script, int limit_ms = 500) {
    EXPECT_TRUE(PutMail(store, {}));
    WriteScript(machine.folder / "bin/sendmail", "#!/bin/sh\nPATH=/usr/bin:/bin\n" + script + "\n");
    order.program = machine.folder / "bin/sendmail";
    order.arguments = {"sendmail"};
    order.limit_ms = limit_ms;
    order.waiting = Data("outbox/new/m-1");
    order.under_way = Data("outbox/cur/m-1:2,");
    order.sent = Data("sent/cur/m-1:2,S");
    return HandOverMessage(order, [] { return false; });
  }

  HandOverOrder order;
};

TEST_F(HandingOver, AProgramThatHangsBeforeItReadsIsEndedAndTheMailWaits) {
  const HandOverResult result = Run("exec sleep 100");
  EXPECT_EQ(result.end, HandOverEnd::kFailed);
  EXPECT_EQ(result.reason, "'sendmail' did not end within 0 seconds");
  EXPECT_THAT(NamesIn(Data("outbox/new")), ElementsAre("m-1"));
}

TEST_F(HandingOver, AProgramThatHangsAfterItHasReadAllLeavesItOpenWhetherItSent) {
  const HandOverResult result = Run("cat > /dev/null; exec sleep 100");
  EXPECT_EQ(result.end, HandOverEnd::kUnknown);
  EXPECT_EQ(result.reason,
            "'sendmail' did not end within 0 seconds, and it is not known whether it has sent the "
            "mail");
  EXPECT_THAT(NamesIn(Data("outbox/cur")), ElementsAre("m-1:2,"));
  EXPECT_THAT(NamesIn(Data("outbox/new")), IsEmpty());
}

TEST_F(HandingOver, AProgramThatDoesNotHeedTheFirstSignalIsKilledWithItsChildren) {
  const StopWatch watch;
  const HandOverResult result = Run("trap '' TERM; sleep 100 & echo $! > " +
                                    (machine.folder / "child") + "; wait; wait; sleep 100");
  EXPECT_EQ(result.end, HandOverEnd::kFailed);
  EXPECT_LT(watch.Milliseconds(), 60000);
  const int child = std::stoi(ReadAll(machine.folder / "child"));
  EXPECT_TRUE(Eventually([&] {
    return kill(child, 0) != 0 ||
           ReadAll("/proc/" + std::to_string(child) + "/stat").find(") Z") != std::string::npos;
  }));
}

TEST_F(HandingOver, AProgramThatASignalEndsHasFailedUnlessItHadReadAll) {
  EXPECT_EQ(Run("kill -9 $$", 20000).end, HandOverEnd::kFailed);
  EXPECT_EQ(Run("cat > /dev/null; kill -9 $$", 20000).end, HandOverEnd::kUnknown);
}

TEST_F(HandingOver, AProgramThatShowsTheMailIsLeftAlone) {
  order.reads_message = false;
  order.shows_message = true;
  const std::string pid = machine.folder / "pid";
  EXPECT_EQ(Run("echo $$ > " + pid + "; exec sleep 100").end, HandOverEnd::kSent);
  const int program = std::stoi(ReadAll(pid));
  EXPECT_EQ(kill(program, 0), 0);
  kill(program, SIGKILL);
}

TEST_F(HandingOver, TheProgramInheritsNothingButItsInputAndOutput) {
  const int leak = open("/dev/zero", O_RDONLY);  // not closed on exec
  const HandOverResult result = Run("ls /proc/self/fd | tr '\\n' ' ' >&2; exit 1", 20000);
  close(leak);
  // What ls has open itself is the last one.
  EXPECT_EQ(result.reason, "'sendmail' says: 0 1 2 3");
}

TEST_F(HandingOver, AMessageThatIsNotThereIsBusyOrFailed) {
  order.waiting = Data("nothing");
  order.under_way = Data("x");
  order.sent = Data("y");
  EXPECT_EQ(HandOverMessage(order, [] { return false; }).end, HandOverEnd::kFailed);
}

// --- The outbox ----------------------------------------------------------------------------------

TEST_F(MailPrograms, AnOutboxThatCannotBeMadeGivesItsNumber) {
  WriteAll(machine.folder / "data/outbox", "a file");
  EXPECT_FALSE(store.Open());
  EXPECT_EQ(store.LastError(), 183U);
}

TEST_F(MailPrograms, AnOutboxThatCannotBeWrittenGivesItsNumber) {
  ASSERT_TRUE(store.Open());
  std::filesystem::permissions(Data("outbox/tmp"), std::filesystem::perms::owner_read);
  std::filesystem::permissions(Data("outbox/cur"), std::filesystem::perms::owner_read);
  std::filesystem::permissions(machine.folder.path(), std::filesystem::perms::all);
  std::filesystem::permissions(Data("."), std::filesystem::perms::all);
  std::filesystem::permissions(Data("outbox"), std::filesystem::perms::all);
  const PlainUser user;
  EXPECT_FALSE(PutMail(store, {}));
  EXPECT_EQ(store.LastError(), 5U);
}

TEST_F(MailPrograms, FilesAreForTheUserAlone) {
  ASSERT_TRUE(PutMail(store, {}));
  EXPECT_EQ(ModeOf(Data("outbox/new/m-1")), 0600U);
  EXPECT_EQ(ModeOf(Data("outbox/new")), 0700U);
  EXPECT_EQ(ModeOf(Data("outbox/info/m-1")), 0600U);
}

TEST_F(MailPrograms, WhatAKillLeftBehindIsSweptAway) {
  ASSERT_TRUE(PutMail(store, {}));
  WriteAll(Data("outbox/tmp/m-9"), "half");
  WriteAll(Data("outbox/info/m-9"), "service=x\n");
  ASSERT_TRUE(store.Open());
  EXPECT_THAT(NamesIn(Data("outbox/tmp")), IsEmpty());
  EXPECT_THAT(NamesIn(Data("outbox/info")), ElementsAre("m-1"));
}

TEST_F(MailPrograms, IdsThatAreNoNamesAreRefused) {
  for (const char16_t* id : {u"", u"../x", u"a/b", u"a:b", u".", u"a b"}) {
    TestMail mail;
    mail.id = id;
    EXPECT_FALSE(PutMail(store, mail)) << ToUtf8(id);
    EXPECT_EQ(store.LastError(), 123U);
  }
}

TEST_F(MailPrograms, FoldersThatWereClearedAwayAreMadeAnew) {
  machine.AddStub("sendmail");
  ASSERT_TRUE(PutMail(store, {}));
  std::filesystem::remove_all(Data("sent"));
  std::filesystem::remove_all(Data("outbox/cur"));
  std::filesystem::remove_all(Data("outbox/info"));
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 1U);
  EXPECT_THAT(NamesIn(Data("sent/cur")), ElementsAre("m-1:2,S"));
}

TEST_F(MailPrograms, StrangeFilesInTheOutboxDoNoHarm) {
  machine.AddStub("sendmail");
  ASSERT_TRUE(PutMail(store, {}));
  std::filesystem::create_directories(Data("outbox/new/folder"));
  std::filesystem::create_symlink("/etc/passwd", Data("outbox/new/link"));
  ASSERT_EQ(mkfifo(Data("outbox/new/pipe").c_str(), 0600), 0);
  ASSERT_EQ(mkfifo(Data("outbox/info/m-1.x").c_str(), 0600), 0);
  WriteAll(Data("outbox/new/by-hand"), "To: bob@example.com\n\nhi\n");
  std::filesystem::remove(Data("outbox/info/m-1"));
  ASSERT_EQ(mkfifo(Data("outbox/info/m-1").c_str(), 0600), 0);
  EXPECT_THAT(store.HandOver(), IsEmpty());
  EXPECT_EQ(machine.Count("sendmail"), 2U);
}

}  // namespace
}  // namespace quillet::port
