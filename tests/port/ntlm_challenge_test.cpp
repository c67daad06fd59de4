// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/ntlm_challenge.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet::port {
namespace {

using namespace std::string_literals;

std::string Word(std::size_t number, int bytes) {
  std::string word;
  for (int i = 0; i < bytes; ++i) word += static_cast<char>(number >> 8 * i & 0xFF);
  return word;
}

std::string Piece(std::size_t id, const std::string& data) {
  return Word(id, 2) + Word(data.size(), 2) + data;
}

const std::string kEnd = "\0\0\0\0"s;
const std::string kNews = "N\0E\0W\0S\0"s;

// A challenge with this name and these data about the target, at 56 and behind it.
std::string Challenge(const std::string& name, const std::string& info,
                      std::size_t flags = 0xA2898205) {
  return "NTLMSSP\0"s + Word(2, 4) + Word(name.size(), 2) + Word(name.size(), 2) + Word(56, 4) +
         Word(flags, 4) + "12345678" + std::string(8, '\0') + Word(info.size(), 2) +
         Word(info.size(), 2) + Word(56 + name.size(), 4) + std::string(8, 'v') + name + info;
}

bool IsSoundWith(const std::string& info) {
  return IsSoundNtlmChallenge(Challenge(kNews, info));
}

TEST(NtlmChallengeTest, WellFormedOnes) {
  EXPECT_TRUE(IsSoundWith(kEnd));
  EXPECT_TRUE(IsSoundWith(Piece(2, kNews) + Piece(1, kNews) + Piece(3, kNews) + Piece(4, kNews) +
                          Piece(5, kNews) + Piece(6, "\2\0\0\0"s) + Piece(7, "12345678") +
                          Piece(9, kNews) + Piece(10, std::string(16, 'b')) + kEnd));
  EXPECT_TRUE(IsSoundWith(Piece(2, "") + kEnd));
  EXPECT_TRUE(IsSoundWith(Piece(11, "odd") + kEnd));
  EXPECT_TRUE(IsSoundWith(kEnd + "behind the end"));
  // As early servers send it.
  EXPECT_TRUE(IsSoundNtlmChallenge(Challenge(kNews, "", 0xA2098205)));
  EXPECT_TRUE(IsSoundNtlmChallenge(Challenge("", kEnd, 0xA2888205)));
}

TEST(NtlmChallengeTest, OtherMessagesAndOnesWithoutUnicode) {
  const std::string sound = Challenge(kNews, kEnd);
  ASSERT_TRUE(IsSoundNtlmChallenge(sound));
  for (const std::size_t at : {0U, 7U, 8U, 11U}) {
    std::string other = sound;
    other[at] = static_cast<char>(other[at] ^ 1);
    EXPECT_FALSE(IsSoundNtlmChallenge(other)) << at;
  }
  EXPECT_FALSE(IsSoundNtlmChallenge(Challenge(kNews, kEnd, 0xA2898206)));
  EXPECT_FALSE(IsSoundNtlmChallenge(""));
}

TEST(NtlmChallengeTest, CutAnywhereItIsNotSound) {
  const std::string sound = Challenge(kNews, Piece(2, kNews) + kEnd);
  ASSERT_TRUE(IsSoundNtlmChallenge(sound));
  for (std::size_t length = 0; length < sound.size(); ++length) {
    EXPECT_FALSE(IsSoundNtlmChallenge(sound.substr(0, length))) << length;
  }
}

TEST(NtlmChallengeTest, FieldsThatDoNotLieBehindTheFixedPart) {
  const std::string sound = Challenge(kNews, Piece(2, kNews) + kEnd);
  for (const std::size_t field : {12U, 40U}) {
    for (const std::size_t offset : {0U, 47U, 73U, 0x7FFFFFFFU, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
      std::string hostile = sound;
      hostile.replace(field + 4, 4, Word(offset, 4));
      EXPECT_FALSE(IsSoundNtlmChallenge(hostile)) << field << " " << offset;
    }
    std::string hostile = sound;
    hostile.replace(field, 2, Word(0xFFFE, 2));
    EXPECT_FALSE(IsSoundNtlmChallenge(hostile)) << field;
  }
}

// The mechanism writes through a null pointer then.
TEST(NtlmChallengeTest, TargetThatIsSaidToHaveANameButHasNone) {
  EXPECT_FALSE(IsSoundNtlmChallenge(Challenge("", kEnd, 0xA2898205)));
  EXPECT_FALSE(IsSoundNtlmChallenge(Challenge("", kEnd, 0xA28A8205)));
}

TEST(NtlmChallengeTest, TextsThatAreNone) {
  for (const std::string& text :
       {"N"s, "N\0E"s, "N\0\0\0"s, "\x00\xD8"s, "\x00\xDC"s, "\x00\xDC\x00\xD8"s, "\x00\xD8N\0"s}) {
    EXPECT_FALSE(IsSoundNtlmChallenge(Challenge(text, kEnd)));
    for (const std::size_t id : {1U, 2U, 3U, 4U, 5U, 9U}) {
      EXPECT_FALSE(IsSoundWith(Piece(id, text) + kEnd)) << id;
    }
  }
  EXPECT_TRUE(IsSoundNtlmChallenge(Challenge("\x00\xD8\x00\xDC"s, kEnd)));
}

TEST(NtlmChallengeTest, PiecesOfAnotherLengthThanTheirs) {
  EXPECT_FALSE(IsSoundWith(Piece(6, "123") + kEnd));
  EXPECT_FALSE(IsSoundWith(Piece(6, "") + kEnd));
  EXPECT_FALSE(IsSoundWith(Piece(7, "1234567") + kEnd));
  EXPECT_FALSE(IsSoundWith(Piece(7, "123456789") + kEnd));
  EXPECT_FALSE(IsSoundWith(Piece(10, "123456789012345") + kEnd));
  EXPECT_FALSE(IsSoundWith("\0\0\1\0x"s));
}

TEST(NtlmChallengeTest, PiecesWithoutAnEndOrBeyondIt) {
  EXPECT_FALSE(IsSoundWith(""));
  EXPECT_FALSE(IsSoundWith("\0\0\0"s));
  EXPECT_FALSE(IsSoundWith(Piece(2, kNews)));
  EXPECT_FALSE(IsSoundWith(Word(2, 2) + Word(0xFFFF, 2) + kNews + kEnd));
  EXPECT_FALSE(IsSoundWith(Word(11, 2) + Word(5, 2) + kEnd));
}

TEST(NtlmChallengeTest, DataAboutTheTargetThatAreNotAnnounced) {
  EXPECT_FALSE(IsSoundNtlmChallenge(Challenge(kNews, kEnd, 0xA2098205)));
}

}  // namespace
}  // namespace quillet::port
