// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/post_id.h"

#include "base/extensions.h"
#include "tests/nntp/nntp_fixture.h"

namespace quillet {
namespace {

constexpr char16_t kMark[] = u"postmessageidmark";

class PostIdTest : public NntpTest {
 protected:
  std::optional<std::uint32_t> StoredMark() {
    return fake.registry.FindDword(u"Software\\Brindle\\Quillet\\Extensions", kMark);
  }
};

TEST_F(PostIdTest, LineIsMadeOfKeyMarkAndHost) {
  EXPECT_EQ(MessageIdLine({0x12AB, "example.org"}, "2024123115905123"),
            "Message-ID: <2024123115905123.000012ab@example.org>");
}

TEST_F(PostIdTest, ForeignKeysAreMadeSafe) {
  EXPECT_EQ(MessageIdLine({1, "a.b"}, "<x y>\r\nFrom: z@\xE4"),
            "Message-ID: <=3cx=20y=3e=0d=0a=46rom=3a=20z=40=e4.00000001@a.b>");
  EXPECT_EQ(MessageIdLine({1, "a.b"}, ""), "Message-ID: <=.00000001@a.b>");
}

TEST_F(PostIdTest, LongestLineHoldsAMessageIdOfAtMost250) {
  const std::string host =
      HostOfAddress("a@" + std::string(62, 'b') + "." + std::string(62, 'c') + ".d");
  EXPECT_EQ(host.size(), 127U);
  const std::string line = MessageIdLine({1, host}, std::string(5000, '@'));
  EXPECT_LE(line.size(), std::string("Message-ID: ").size() + 250);
}

TEST_F(PostIdTest, HostIsTheDomainOfTheAddress) {
  EXPECT_EQ(HostOfAddress("ann@example.org"), "example.org");
  EXPECT_EQ(HostOfAddress("a@b@News-1.Example.ORG"), "News-1.Example.ORG");
  EXPECT_EQ(HostOfAddress("a@x.y"), "x.y");
  EXPECT_EQ(HostOfAddress("a@" + std::string(63, 'x') + ".y"), std::string(63, 'x') + ".y");
}

TEST_F(PostIdTest, WhatCanBeNoDomainIsReplaced) {
  for (const std::string address :
       {"", "ann", "ann@", "ann@example", "ann@example.", "ann@.org", "ann@a..b", "ann@a b.org",
        "ann@example.org ", "ann@example.org>", "ann@-a.org", "ann@a-.org", "ann@a_b.org",
        "ann@a.b\r\nX: y", "ann@\xC3\xA4.org", "example.org"}) {
    EXPECT_EQ(HostOfAddress(address), "quillet.invalid") << address;
  }
  EXPECT_EQ(HostOfAddress("a@" + std::string(64, 'x') + ".y"), "quillet.invalid");
  EXPECT_EQ(HostOfAddress("a@" + std::string(60, 'x') + "." + std::string(60, 'y') + ".zzzzzzz"),
            "quillet.invalid");
}

TEST_F(PostIdTest, MarkIsMadeOnceAndKept) {
  gPrefs->returnmailaddress = u"ann@example.org";
  const PostIdParts first = TakePostIdParts();
  EXPECT_EQ(first.host, "example.org");
  EXPECT_EQ(StoredMark(), first.mark);
  gPrefs->returnmailaddress = u"bob@example.com";
  gPrefs->fullname = u"Bob";
  fake.clock.Advance(1000);
  EXPECT_EQ(TakePostIdParts().mark, first.mark);
  EXPECT_EQ(TakePostIdParts().host, "example.com");
}

TEST_F(PostIdTest, ProfilesWithTheSameSettingsHaveTheirOwnMark) {
  const std::uint32_t first = TakePostIdParts().mark;
  fake.registry.Erase(kExtensionsPath, kMark);
  fake.clock.Advance(1);
  EXPECT_NE(TakePostIdParts().mark, first);
}

TEST_F(PostIdTest, MarkThatCannotBeStoredComesFromTheSettings) {
  fake.registry.SetReadOnly(true);
  const std::uint32_t mark = TakePostIdParts().mark;
  fake.clock.Advance(12345);
  EXPECT_EQ(TakePostIdParts().mark, mark);
  fake.registry.SetReadOnly(false);
  fake.registry.FailCreate(1);
  EXPECT_EQ(TakePostIdParts().mark, mark);
  fake.registry.FailSet(1);
  EXPECT_EQ(TakePostIdParts().mark, mark);
  EXPECT_EQ(StoredMark(), std::nullopt);
  gPrefs->returnmailaddress = u"other@example.org";
  fake.registry.SetReadOnly(true);
  EXPECT_NE(TakePostIdParts().mark, mark);
}

TEST_F(PostIdTest, MarkOfZeroIsAMark) {
  fake.registry.PutDword(kExtensionsPath, kMark, 0);
  EXPECT_EQ(TakePostIdParts().mark, 0U);
  EXPECT_EQ(StoredMark(), 0U);
}

TEST_F(PostIdTest, MarkOfAnotherTypeIsReplaced) {
  fake.registry.PutString(kExtensionsPath, kMark, u"1234");
  EXPECT_EQ(StoredMark(), std::nullopt);
  const std::uint32_t mark = TakePostIdParts().mark;
  EXPECT_EQ(StoredMark(), mark);
}

TEST_F(PostIdTest, OwnMessageIdIsSeenInAnyCaseAtALineStartOnly) {
  EXPECT_TRUE(HasMessageId("Message-ID: <a@b>\r\n"));
  EXPECT_TRUE(HasMessageId("From: a\r\nmessage-id: <a@b>"));
  EXPECT_TRUE(HasMessageId("From: a\nMESSAGE-ID:"));
  EXPECT_FALSE(HasMessageId("Subject: Message-ID: <a@b>\r\n"));
  EXPECT_FALSE(HasMessageId("From: a\r\n Message-ID: <a@b>\r\n"));
  EXPECT_FALSE(HasMessageId("Message-IDs: <a@b>\r\n"));
  EXPECT_FALSE(HasMessageId("From: a\r\n"));
  EXPECT_FALSE(HasMessageId("\n\r\n"));
  EXPECT_FALSE(HasMessageId(""));
}

}  // namespace
}  // namespace quillet
