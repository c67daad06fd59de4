// SPDX-License-Identifier: GPL-3.0-or-later
// The killfile and headers that are shown otherwise than they are stored.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/messages.h"
#include "base/reset.h"
#include "killfile/killfile.h"
#include "mime/encoded_words.h"
#include "mime/shown_text.h"
#include "port/fake/fake_platform.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

constexpr bool kKill = true;
constexpr bool kAuthor = true;
constexpr bool kSubject = false;

class DecodedKillfile : public ::testing::Test {
 protected:
  ~DecodedKillfile() override { ResetProgram(); }

  bool Killed(std::string_view subject, std::string_view from = "", std::string_view headers = "") {
    AsciiArticle article;
    article.subject = std::string(subject);
    article.from = std::string(from);
    article.headers = std::string(headers);
    return ArticleIsKilled(prefs, GroupAt(0), article);
  }
  void Kill(std::string_view text, bool author = kSubject) {
    EXPECT_TRUE(AddKillfileEntry(prefs, 1, text, kKill, author));
  }

  port::FakePlatform fake;
  Prefs prefs;
};

TEST_F(DecodedKillfile, EntriesAreHeldAgainstDecodedHeaders) {
  Kill("caf\xE9");
  EXPECT_TRUE(Killed("=?UTF-8?Q?Le_CAF=C3=89?="));
  EXPECT_TRUE(Killed("Re: le =?iso-8859-1?B?Q2Fm6Q==?= noir"));
  EXPECT_TRUE(Killed("Le caf\xC3\xA9"));
  EXPECT_FALSE(Killed("=?UTF-8?Q?Le_cafe?="));
  EXPECT_FALSE(Killed("Cafe"));
  const testing::WithoutDecoding scope;
  EXPECT_FALSE(Killed("=?UTF-8?Q?Le_CAF=C3=89?="));
  EXPECT_FALSE(Killed("Le caf\xC3\xA9"));
  EXPECT_TRUE(Killed("CAF\xE9"));
}

TEST_F(DecodedKillfile, TheLettersOfAnEncodedWordAreNoText) {
  Kill("Q2Fm");
  EXPECT_FALSE(Killed("=?UTF-8?B?Q2Fmw6k=?="));
  EXPECT_TRUE(Killed("q2fm"));
  const testing::WithoutDecoding scope;
  EXPECT_TRUE(Killed("=?UTF-8?B?Q2Fmw6k=?="));
}

TEST_F(DecodedKillfile, AuthorsAreDecodedToo) {
  Kill("J\xFCrgen", kAuthor);
  EXPECT_TRUE(Killed("", "=?UTF-8?Q?J=C3=BCrgen?= <j@x>"));
  EXPECT_FALSE(Killed("=?UTF-8?Q?J=C3=BCrgen?=", "Juergen <j@x>"));
}

TEST_F(DecodedKillfile, TextsOfEveryLanguageAreKeptAsEncodedWords) {
  const std::string kept = ToKillfileText(u"\u043F\u0440\u0438\u0432\u0435\u0442");
  EXPECT_EQ(kept.substr(0, 2), "=?");
  Kill(kept);
  EXPECT_TRUE(Killed("=?KOI8-R?B?8NLJ18XU?= all"));
  EXPECT_TRUE(Killed("\xD0\x9F\xD0\xA0\xD0\x98\xD0\x92\xD0\x95\xD0\xA2"));
  EXPECT_FALSE(Killed("?????? all"));
}

// In the stored fields stands the first line alone.
TEST_F(DecodedKillfile, AFoldedSubjectIsHeldAgainstEntriesAsOne) {
  Kill("\xE9tude de l");
  const std::string_view rest = "Path: a\r\n =?utf-8?Q?tude_de_la_mer?=";
  EXPECT_TRUE(Killed("=?utf-8?Q?Une_=C3=A9?=", "", rest));
  EXPECT_FALSE(Killed("=?utf-8?Q?Une_=C3=A9?="));
  const testing::WithoutDecoding scope;
  EXPECT_FALSE(Killed("=?utf-8?Q?Une_=C3=A9?=", "", rest));
}

TEST_F(DecodedKillfile, EntriesOfBytesGoOnMatchingThem) {
  Kill("\xC3\xA4h");
  Kill("=?gb2312?");
  EXPECT_TRUE(Killed("\xC3\xA4h"));
  EXPECT_TRUE(Killed("x \xC3\xA4H y"));
  EXPECT_TRUE(Killed("=?GB2312?B?xOO6w6M=?="));
  prefs = Prefs();
  Kill("\xA4");  // half a character of what is shown now
  EXPECT_TRUE(Killed("\xC3\xA4h"));
}

TEST_F(DecodedKillfile, FoldingIsFull) {
  Kill("stra\xDF\x65");
  EXPECT_TRUE(Killed("Die STRASSE"));
  EXPECT_TRUE(Killed("=?utf-8?Q?Die_Stra=C3=9Fe?="));
  EXPECT_FALSE(Killed("Die Strase"));
}

TEST_F(DecodedKillfile, TwoSpellingsOfOneTextAreOneEntry) {
  Kill("Caf\xE9");
  Kill("=?UTF-8?B?Q2Fmw6k=?=");
  Kill("=?iso-8859-1?Q?Caf=E9?=");
  EXPECT_EQ(prefs.killfiletexts, std::vector<std::string>{"Caf\xE9"});
  Kill("caf\xE9");
  EXPECT_EQ(prefs.killfilecount, 2U);
  RemoveKillfileEntry(prefs, 1, "=?UTF-8?B?Q2Fmw6k=?=", kKill, kSubject);
  EXPECT_EQ(prefs.killfiletexts, std::vector<std::string>{"caf\xE9"});
}

TEST_F(DecodedKillfile, WithoutDecodingTheyAreTwo) {
  const testing::WithoutDecoding scope;
  Kill("Caf\xE9");
  Kill("=?UTF-8?B?Q2Fmw6k=?=");
  EXPECT_EQ(prefs.killfilecount, 2U);
  RemoveKillfileEntry(prefs, 1, "=?iso-8859-1?Q?Caf=E9?=", kKill, kSubject);
  EXPECT_EQ(prefs.killfilecount, 2U);
}

// Both were there before they were shown alike.
TEST_F(DecodedKillfile, OfTwoSpellingsTheOneThatIsMeantGoes) {
  {
    const testing::WithoutDecoding scope;
    Kill("=?UTF-8?B?Q2Fmw6k=?=");
    Kill("Caf\xE9");
  }
  RemoveKillfileEntry(prefs, 1, "=?UTF-8?B?Q2Fmw6k=?=", kKill, kSubject);
  EXPECT_EQ(prefs.killfiletexts, std::vector<std::string>{"Caf\xE9"});
}

TEST_F(DecodedKillfile, TogglingSeesAnotherSpellingOfTheOtherKind) {
  Kill("Caf\xE9");
  EXPECT_TRUE(AddKillfileEntry(prefs, 2, "=?UTF-8?B?Q2Fmw6k=?=", !kKill, kSubject));
  EXPECT_FALSE(ToggleKillfileEntryKind(prefs, 0, "Caf\xE9", kKill, kSubject));
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Duplicate Entry");
}

TEST_F(DecodedKillfile, TheCeilingCountsWhatIsStored) {
  const std::string kept = ToKillfileText(std::u16string(700, u'\u0416'));
  ASSERT_GT(kept.size(), 2046U);
  EXPECT_FALSE(AddKillfileEntry(prefs, 1, kept, kKill, kSubject));
  EXPECT_EQ(prefs.killfilecount, 0U);
  EXPECT_EQ(fake.display.boxes().size(), 1U);
}

}  // namespace
}  // namespace quillet
