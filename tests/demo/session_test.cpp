// SPDX-License-Identifier: GPL-3.0-or-later
// The demo news server's conversation, as it goes over the wire.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "demo/nntp_session.h"

namespace quillet::demo {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class SessionTest : public testing::Test {
 protected:
  SessionTest() {
    settings_.now = [] { return std::int64_t{1704706200}; };  // 8 January 2024, 9:30
    store_.AddGroup("misc.test", "For tests", 7);
    store_.AddGroup("misc.empty", "Nothing here");
    Add("<a@example.org>", "Subject: A\r\n", "first\r\n..\r\n", {"misc.test"});
    Add("<b@example.org>", "Subject: B\r\n", "", {"misc.test"});
  }

  void Add(const std::string& id, const std::string& head, const std::string& body,
           const std::vector<std::string>& groups) {
    ASSERT_EQ(store_.Add({id, head, body}, groups), AddResult::kAdded);
  }
  std::string Say(const std::string& line) { return session_.Receive(line + "\r\n"); }

  NewsStore store_;
  ServerSettings settings_;
  NntpSession session_{store_, settings_};
};

TEST_F(SessionTest, GreetsWith200WhilePostingIsAllowedAnd201Otherwise) {
  EXPECT_THAT(session_.Greeting(), StartsWith("200 "));
  settings_.posting_allowed = false;
  EXPECT_THAT(session_.Greeting(), StartsWith("201 "));
  EXPECT_THAT(Say("MODE READER"), StartsWith("201 "));
  EXPECT_EQ(Say("POST"), "440 Posting not permitted\r\n");
}

TEST_F(SessionTest, GroupTellsCountFirstLastAndName) {
  EXPECT_EQ(Say("GROUP misc.test"), "211 2 7 8 misc.test\r\n");
}

TEST_F(SessionTest, EmptyGroupHasNoCurrentArticle) {
  EXPECT_EQ(Say("GROUP misc.empty"), "211 0 1 0 misc.empty\r\n");
  EXPECT_EQ(Say("STAT"), "420 No current article\r\n");
  EXPECT_EQ(Say("NEXT"), "420 No current article\r\n");
  EXPECT_EQ(Say("STAT 1"), "423 No article with that number\r\n");
}

TEST_F(SessionTest, UnknownGroupIs411AndKeepsTheOneSelected) {
  Say("GROUP misc.test");
  EXPECT_EQ(Say("GROUP misc.none"), "411 No such newsgroup\r\n");
  EXPECT_EQ(Say("STAT"), "223 7 <a@example.org>\r\n");
}

TEST_F(SessionTest, WithoutAGroupNumbersAndStepsAre412) {
  for (const char* line :
       {"STAT 7", "STAT", "HEAD", "BODY 7", "ARTICLE", "NEXT", "LAST", "LISTGROUP"}) {
    EXPECT_EQ(Say(line), "412 No newsgroup selected\r\n") << line;
  }
}

TEST_F(SessionTest, NextAndLastWalkTheGroupAndStopAtItsEnds) {
  Say("GROUP misc.test");
  EXPECT_EQ(Say("LAST"), "422 No previous article\r\n");
  EXPECT_EQ(Say("NEXT"), "223 8 <b@example.org>\r\n");
  EXPECT_EQ(Say("NEXT"), "421 No next article\r\n");
  EXPECT_EQ(Say("LAST"), "223 7 <a@example.org>\r\n");
}

TEST_F(SessionTest, HeadBodyAndArticleComeWithTheirTerminator) {
  Say("GROUP misc.test");
  EXPECT_EQ(Say("HEAD"), "221 7 <a@example.org>\r\nSubject: A\r\n.\r\n");
  EXPECT_EQ(Say("BODY 7"), "222 7 <a@example.org>\r\nfirst\r\n..\r\n.\r\n");
  EXPECT_EQ(Say("BODY 8"), "222 8 <b@example.org>\r\n.\r\n");
  EXPECT_EQ(Say("ARTICLE 7"), "220 7 <a@example.org>\r\nSubject: A\r\n\r\nfirst\r\n..\r\n.\r\n");
}

TEST_F(SessionTest, AMessageIdIsFoundWithoutAGroupAndMovesNothing) {
  EXPECT_EQ(Say("STAT <b@example.org>"), "223 0 <b@example.org>\r\n");
  EXPECT_EQ(Say("HEAD <none@example.org>"), "430 No article with that Message-ID\r\n");
  Say("GROUP misc.test");
  Say("STAT <b@example.org>");
  EXPECT_EQ(Say("STAT"), "223 7 <a@example.org>\r\n");
}

TEST_F(SessionTest, AMissingNumberIs423AndMovesNothing) {
  Say("GROUP misc.test");
  EXPECT_EQ(Say("STAT 6"), "423 No article with that number\r\n");
  EXPECT_EQ(Say("STAT 9"), "423 No article with that number\r\n");
  EXPECT_EQ(Say("STAT 99999999999999999999"), "423 No article with that number\r\n");
  EXPECT_EQ(Say("STAT"), "223 7 <a@example.org>\r\n");
}

TEST_F(SessionTest, ListGroupListsNumbersOfTheRange) {
  EXPECT_EQ(Say("LISTGROUP misc.test"), "211 2 7 8 misc.test list follows\r\n7\r\n8\r\n.\r\n");
  EXPECT_EQ(Say("LISTGROUP misc.test 8-"), "211 2 7 8 misc.test list follows\r\n8\r\n.\r\n");
  EXPECT_EQ(Say("LISTGROUP misc.test 1-7"), "211 2 7 8 misc.test list follows\r\n7\r\n.\r\n");
  EXPECT_EQ(Say("LISTGROUP misc.none"), "411 No such newsgroup\r\n");
  EXPECT_EQ(Say("LISTGROUP misc.test x"), "501 Syntax error\r\n");
}

TEST_F(SessionTest, ListActiveKnowsPatterns) {
  EXPECT_EQ(Say("LIST"), "215 List follows\r\nmisc.empty 0 1 y\r\nmisc.test 8 7 y\r\n.\r\n");
  EXPECT_EQ(Say("LIST ACTIVE *.t*t"), "215 List follows\r\nmisc.test 8 7 y\r\n.\r\n");
  EXPECT_EQ(Say("LIST NEWSGROUPS misc.empty"),
            "215 List follows\r\nmisc.empty\tNothing here\r\n.\r\n");
  EXPECT_EQ(Say("LIST ACTIVE *a*b*c*d*e"), "501 Syntax error\r\n");
  EXPECT_EQ(Say("LIST DISTRIBUTIONS"), "501 Syntax error\r\n");
}

TEST_F(SessionTest, UnknownCommandsAre500AndWrongArguments501) {
  EXPECT_EQ(Say("TELEPORT"), "500 Unknown command\r\n");
  EXPECT_EQ(Say(""), "500 What?\r\n");
  for (const char* line : {"GROUP", "GROUP a b", "QUIT now", "MODE STREAM", "HEAD x", "NEXT 1",
                           "NEWGROUPS 99 1", "DATE 1"}) {
    EXPECT_EQ(Say(line), "501 Syntax error\r\n") << line;
  }
}

TEST_F(SessionTest, CommandsAreKnownInAnyCase) {
  EXPECT_EQ(Say("group misc.test"), "211 2 7 8 misc.test\r\n");
  EXPECT_EQ(Say("sTaT"), "223 7 <a@example.org>\r\n");
}

TEST_F(SessionTest, DateHelpCapabilitiesAndNewGroups) {
  EXPECT_EQ(Say("DATE"), "111 20240108093000\r\n");
  EXPECT_THAT(Say("HELP"), StartsWith("100 "));
  EXPECT_EQ(Say("CAPABILITIES"),
            "101 Capability list:\r\nVERSION 2\r\nIMPLEMENTATION Quillet demo news server\r\n"
            "READER\r\nPOST\r\nLIST ACTIVE NEWSGROUPS\r\n.\r\n");
  EXPECT_EQ(Say("NEWGROUPS 20240101 000000 GMT"), "231 List of new newsgroups follows\r\n.\r\n");
}

TEST_F(SessionTest, QuitEndsAndWhatFollowsIsIgnored) {
  EXPECT_EQ(session_.Receive("QUIT\r\nDATE\r\n"), "205 Goodbye\r\n");
  EXPECT_TRUE(session_.finished());
}

TEST_F(SessionTest, LinesMayComeInPortionsAndTogether) {
  EXPECT_EQ(session_.Receive("GRO"), "");
  EXPECT_EQ(session_.Receive("UP misc.test\r"), "");
  EXPECT_EQ(session_.Receive("\nSTAT\r\nNEXT\r\nST"),
            "211 2 7 8 misc.test\r\n223 7 <a@example.org>\r\n223 8 <b@example.org>\r\n");
  EXPECT_EQ(session_.Receive("AT\n"), "223 8 <b@example.org>\r\n");
}

TEST_F(SessionTest, AnEndlessLineIsThrownAwayAndAnsweredOnce) {
  EXPECT_EQ(Say("STAT" + std::string(506, ' ')), "412 No newsgroup selected\r\n");
  EXPECT_EQ(Say("STAT" + std::string(508, ' ')), "501 Line too long\r\n");
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(session_.Receive(std::string(4096, 'x')), "");
  EXPECT_EQ(Say("x"), "501 Line too long\r\n");
  EXPECT_EQ(Say("DATE"), "111 20240108093000\r\n");
}

TEST_F(SessionTest, BytesOutsideAsciiAndNulDoNoHarm) {
  EXPECT_EQ(Say(std::string("GRO\0UP misc.test", 16)), "500 Unknown command\r\n");
  EXPECT_EQ(Say("GROUP \xFC\xFF"), "411 No such newsgroup\r\n");
}

constexpr const char* kPost =
    "From: someone@example.org\r\nNewsgroups: misc.empty, misc.test\r\nSubject: Hello\r\n"
    "\r\n..dot\r\ntext\r\n.\r\n";

TEST_F(SessionTest, APostIsReadableAfterwardsInAllItsGroups) {
  EXPECT_THAT(Say("POST"), StartsWith("340 "));
  EXPECT_EQ(session_.Receive(kPost), "240 Article received\r\n");
  EXPECT_EQ(Say("GROUP misc.test"), "211 3 7 9 misc.test\r\n");
  EXPECT_EQ(Say("GROUP misc.empty"), "211 1 1 1 misc.empty\r\n");
  EXPECT_EQ(Say("HEAD 1"),
            "221 1 <post.20240108093000.2@demo.example.net>\r\n"
            "Path: demo.example.net!not-for-mail\r\n"
            "Message-ID: <post.20240108093000.2@demo.example.net>\r\n"
            "Date: Mon, 08 Jan 2024 09:30:00 +0000\r\n"
            "From: someone@example.org\r\nNewsgroups: misc.empty, misc.test\r\n"
            "Subject: Hello\r\n.\r\n");
  EXPECT_THAT(Say("BODY 1"), HasSubstr("\r\n..dot\r\ntext\r\n.\r\n"));
}

TEST_F(SessionTest, APostKeepsItsOwnIdAndDateAndIsTakenOnce) {
  const std::string post =
      "Path: x\r\nMessage-ID: <own@example.org>\r\nDate: today\r\n" + std::string(kPost);
  Say("POST");
  EXPECT_EQ(session_.Receive(post), "240 Article received\r\n");
  EXPECT_THAT(Say("HEAD <own@example.org>"), HasSubstr("\r\nPath: x\r\nMessage-ID: "));
  Say("POST");
  EXPECT_EQ(session_.Receive(post), "441 Posting failed: duplicate Message-ID\r\n");
}

TEST_F(SessionTest, PostsThatAreNoArticlesAre441) {
  const auto post = [&](const std::string& text) {
    Say("POST");
    return session_.Receive(text + ".\r\n");
  };
  EXPECT_EQ(post(""), "441 Posting failed: missing From header\r\n");
  EXPECT_EQ(post("no header\r\n"), "441 Posting failed: malformed header\r\n");
  EXPECT_EQ(post("From: a\r\nSubject: b\r\n\r\ntext\r\n"),
            "441 Posting failed: missing Newsgroups header\r\n");
  EXPECT_EQ(post("From: a\r\nSubject: b\r\nNewsgroups: other.group\r\n\r\ntext\r\n"),
            "441 Posting failed: no such newsgroup\r\n");
  EXPECT_EQ(post("Message-ID: nothing\r\nFrom: a\r\nSubject: b\r\nNewsgroups: misc.test\r\n\r\n"),
            "441 Posting failed: missing or malformed Message-ID header\r\n");
  EXPECT_EQ(Say("GROUP misc.test"), "211 2 7 8 misc.test\r\n");
}

TEST_F(SessionTest, APostThatNeverEndsIsBounded) {
  Say("POST");
  const std::string line = std::string(998, 'x') + "\r\n";
  for (int i = 0; i < 3000; ++i) ASSERT_EQ(session_.Receive(line), "");
  EXPECT_EQ(Say("."), "441 Posting failed: too large\r\n");
  Say("POST");
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(session_.Receive(std::string(4096, 'x')), "");
  EXPECT_EQ(session_.Receive("\r\n.\r\n"), "441 Posting failed: too large\r\n");
  EXPECT_EQ(Say("DATE"), "111 20240108093000\r\n");
}

class LoginTest : public SessionTest {
 protected:
  LoginTest() {
    settings_.user = "reader";
    settings_.password = "secret";
  }
};

TEST_F(LoginTest, NothingIsServedBeforeTheLogin) {
  EXPECT_EQ(Say("GROUP misc.test"), "480 Authentication required\r\n");
  EXPECT_EQ(Say("POST"), "480 Authentication required\r\n");
  EXPECT_THAT(Say("CAPABILITIES"), HasSubstr("AUTHINFO USER\r\n"));
  EXPECT_THAT(Say("QUIT"), StartsWith("205 "));
}

TEST_F(LoginTest, TheRightPasswordOpensTheServer) {
  EXPECT_EQ(Say("AUTHINFO USER reader"), "381 Password required\r\n");
  EXPECT_EQ(Say("authinfo pass secret"), "281 Authentication accepted\r\n");
  EXPECT_EQ(Say("GROUP misc.test"), "211 2 7 8 misc.test\r\n");
  EXPECT_EQ(Say("AUTHINFO USER reader"), "502 Authentication not possible\r\n");
}

TEST_F(LoginTest, WrongPasswordsAndWrongOrderAreRefused) {
  EXPECT_EQ(Say("AUTHINFO PASS secret"), "482 User name first\r\n");
  Say("AUTHINFO USER reader");
  EXPECT_EQ(Say("AUTHINFO PASS Secret"), "481 Authentication failed\r\n");
  EXPECT_EQ(Say("AUTHINFO PASS secret"), "482 User name first\r\n");
  Say("AUTHINFO USER writer");
  EXPECT_EQ(Say("AUTHINFO PASS secret"), "481 Authentication failed\r\n");
  EXPECT_EQ(Say("AUTHINFO GENERIC NTLM"), "501 Syntax error\r\n");
  EXPECT_EQ(Say("STAT"), "480 Authentication required\r\n");
}

}  // namespace
}  // namespace quillet::demo
