// SPDX-License-Identifier: GPL-3.0-or-later
#include "killfile/killfile.h"
#include "base/box_owner.h"
#include "base/reset.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

#include "base/messages.h"
#include "base/prefs_damage.h"
#include "base/prefs_registry.h"
#include "port/fake/fake_platform.h"
#include "tests/mime/without_decoding.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr bool kKill = true;
constexpr bool kRequire = false;
constexpr bool kAuthor = true;
constexpr bool kSubject = false;

class Killfile : public ::testing::Test {
 protected:
  ~Killfile() override { ResetProgram(); }

  bool Killed(std::string_view subject, std::string_view from = "", std::size_t group = 0) {
    AsciiArticle article;
    article.subject = std::string(subject);
    article.from = std::string(from);
    return ArticleIsKilled(prefs, GroupAt(group), article);
  }
  std::vector<std::u16string> BoxTexts() {
    std::vector<std::u16string> texts;
    for (const port::ShownBox& box : fake.display.boxes()) texts.push_back(box.text);
    return texts;
  }
  void ExpectParallel() {
    EXPECT_EQ(prefs.killfilegroups.size(), prefs.killfilecount);
    EXPECT_EQ(prefs.killfiletexts.size(), prefs.killfilecount);
    EXPECT_EQ(prefs.killfilekills.size(), prefs.killfilecount);
    EXPECT_EQ(prefs.killfileauthors.size(), prefs.killfilecount);
  }

  port::FakePlatform fake;
  Prefs prefs;
};

// --- Matching ------------------------------------------------------------------------------------

TEST_F(Killfile, EmptyKillfileKeepsEverything) {
  EXPECT_FALSE(Killed("anything", "anyone"));
}

TEST_F(Killfile, KillEntryKillsWhatContainsItsText) {
  AddKillfileEntry(prefs, 1, "money", kKill, kSubject);
  EXPECT_TRUE(Killed("make MoNeY fast"));
  EXPECT_FALSE(Killed("make mone y fast"));
  EXPECT_FALSE(Killed("", "money"));
}

TEST_F(Killfile, AuthorEntryTestsTheAuthorAlone) {
  AddKillfileEntry(prefs, 1, "spam@", kKill, kAuthor);
  EXPECT_TRUE(Killed("hello", "Spam@host.example"));
  EXPECT_FALSE(Killed("spam@", "somebody"));
}

TEST_F(Killfile, RequireEntryKillsWhatLacksItsText) {
  AddKillfileEntry(prefs, 1, "linux", kRequire, kSubject);
  EXPECT_FALSE(Killed("All about LINUX here"));
  EXPECT_TRUE(Killed("All about nothing"));
}

TEST_F(Killfile, OneMetRequirementIsEnough) {
  AddKillfileEntry(prefs, 1, "linux", kRequire, kSubject);
  AddKillfileEntry(prefs, 1, "torvalds", kRequire, kAuthor);
  EXPECT_FALSE(Killed("linux", "somebody"));
  EXPECT_FALSE(Killed("other", "Torvalds"));
  EXPECT_TRUE(Killed("other", "somebody"));
}

TEST_F(Killfile, MatchingKillOverridesAMetRequirementInEitherOrder) {
  AddKillfileEntry(prefs, 1, "linux", kRequire, kSubject);
  AddKillfileEntry(prefs, 1, "troll", kKill, kAuthor);
  EXPECT_TRUE(Killed("linux", "a troll"));
  AddKillfileEntry(prefs, 2, "troll", kKill, kAuthor);
  AddKillfileEntry(prefs, 2, "linux", kRequire, kSubject);
  EXPECT_TRUE(Killed("linux", "a troll", 1));
}

TEST_F(Killfile, UnmatchedKillChangesNothing) {
  AddKillfileEntry(prefs, 1, "troll", kKill, kAuthor);
  EXPECT_FALSE(Killed("linux", "somebody"));
  AddKillfileEntry(prefs, 1, "linux", kRequire, kSubject);
  EXPECT_FALSE(Killed("linux", "somebody"));
  EXPECT_TRUE(Killed("other", "somebody"));
}

TEST_F(Killfile, EntriesOfOtherGroupsDoNotCount) {
  AddKillfileEntry(prefs, 2, "money", kKill, kSubject);
  AddKillfileEntry(prefs, 3, "linux", kRequire, kSubject);
  EXPECT_FALSE(Killed("money", "", 0));
  EXPECT_TRUE(Killed("money", "", 1));
  EXPECT_TRUE(Killed("money", "", 2));
}

TEST_F(Killfile, MissingTextNeverMatches) {
  AddKillfileEntry(prefs, 1, "", kKill, kSubject);
  EXPECT_FALSE(ArticleIsKilled(prefs, GroupAt(0), AsciiArticle()));
  EXPECT_FALSE(Killed("", "somebody"));
  AddKillfileEntry(prefs, 2, "", kRequire, kSubject);
  EXPECT_TRUE(ArticleIsKilled(prefs, GroupAt(1), AsciiArticle()));
}

TEST_F(Killfile, EmptyEntryMatchesEveryTextThatIsNotEmpty) {
  AddKillfileEntry(prefs, 1, "", kKill, kSubject);
  EXPECT_TRUE(Killed("x"));
}

TEST_F(Killfile, OnlyAsciiLettersAreFoldedWithoutDecoding) {
  const testing::WithoutDecoding off;
  AddKillfileEntry(prefs, 1, "caf\xE9", kKill, kSubject);
  EXPECT_TRUE(Killed("CAF\xE9"));
  EXPECT_FALSE(Killed("caf\xC9"));
  AddKillfileEntry(prefs, 2, "[a]", kKill, kSubject);
  EXPECT_FALSE(Killed("{A}", "", 1));
}

TEST_F(Killfile, MatchingFollowsTheRulesOnEveryCombination) {
  // Four entries, each kill or require, matching or not: compared with the rule in words.
  for (unsigned kinds = 0; kinds < 16; ++kinds) {
    for (unsigned matches = 0; matches < 16; ++matches) {
      prefs = Prefs();
      bool killed = false;
      bool failed = false;
      bool met = false;
      for (unsigned i = 0; i < 4; ++i) {
        const bool kill = (kinds >> i & 1) != 0;
        const bool match = (matches >> i & 1) != 0;
        AddKillfileEntry(prefs, 1,
                         std::string(match ? "s" : "z") + std::string(i, match ? 's' : 'z'), kill,
                         kSubject);
        killed = killed || (kill && match);
        met = met || (!kill && match);
        failed = failed || (!kill && !match);
      }
      EXPECT_EQ(Killed("ssss"), killed || (failed && !met)) << kinds << " " << matches;
    }
  }
}

// --- Adding and removing -------------------------------------------------------------------------

TEST_F(Killfile, AddingAppendsToAllFourLists) {
  EXPECT_TRUE(AddKillfileEntry(prefs, 3, "a\xE9", kKill, kAuthor));
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, "", kRequire, kSubject));
  EXPECT_EQ(prefs.killfilecount, 2U);
  EXPECT_THAT(prefs.killfilegroups, ElementsAre(3U, 1U));
  EXPECT_THAT(prefs.killfiletexts, ElementsAre("a\xE9", ""));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(1U, 0U));
  EXPECT_THAT(prefs.killfileauthors, ElementsAre(1U, 0U));
}

TEST_F(Killfile, AnEntryThatIsThereAlreadyIsAcceptedWithoutAdding) {
  AddKillfileEntry(prefs, 1, "text", kKill, kSubject);
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, "text", kKill, kSubject));
  EXPECT_EQ(prefs.killfilecount, 1U);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(Killfile, EveryFieldMakesAnEntryOfItsOwn) {
  AddKillfileEntry(prefs, 1, "text", kKill, kSubject);
  EXPECT_TRUE(AddKillfileEntry(prefs, 2, "text", kKill, kSubject));
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, "Text", kKill, kSubject));
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, "text", kRequire, kSubject));
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, "text", kKill, kAuthor));
  EXPECT_EQ(prefs.killfilecount, 5U);
}

TEST_F(Killfile, TextEndsAtAnEmbeddedNul) {
  AddKillfileEntry(prefs, 1, std::string_view("ab\0cd", 5), kKill, kSubject);
  EXPECT_THAT(prefs.killfiletexts, ElementsAre("ab"));
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, std::string_view("ab\0xy", 5), kKill, kSubject));
  EXPECT_EQ(prefs.killfilecount, 1U);
}

TEST_F(Killfile, ListOfExactly4096BytesIsRejected) {
  // 2 * (2045 + 1 + 1) = 4094 bytes fit, one character more does not.
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, std::string(2045, 'x'), kKill, kSubject));
  EXPECT_THAT(BoxTexts(), IsEmpty());
  prefs = Prefs();
  EXPECT_FALSE(AddKillfileEntry(prefs, 1, std::string(2046, 'x'), kKill, kSubject));
  EXPECT_EQ(prefs.killfilecount, 0U);
  ExpectParallel();
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"The killfile will exceed Windows CE's capacity to store it. Entry "
                          u"rejected."));
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet");
}

TEST_F(Killfile, CeilingCountsAllEntriesAndEmptyOnesAsTwoCharacters) {
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, std::string(2041, 'x'), kKill, kSubject));  // 4086
  EXPECT_TRUE(AddKillfileEntry(prefs, 1, "", kKill, kSubject));                      // 4090
  EXPECT_TRUE(AddKillfileEntry(prefs, 2, "", kKill, kSubject));                      // 4094
  EXPECT_FALSE(AddKillfileEntry(prefs, 3, "", kKill, kSubject));                     // 4098
  EXPECT_THAT(prefs.killfilegroups, ElementsAre(1U, 1U, 2U));
  ExpectParallel();
}

TEST_F(Killfile, RemovingTakesTheLastEqualEntry) {
  prefs.killfilecount = 4;
  prefs.killfilegroups = {1, 1, 1, 2};
  prefs.killfiletexts = {"t", "other", "t", "t"};
  prefs.killfilekills = {1, 1, 7, 1};  // any number that is not 0 is a kill
  prefs.killfileauthors = {0, 0, 0, 0};
  RemoveKillfileEntry(prefs, 1, "t", kKill, kSubject);
  EXPECT_THAT(prefs.killfilegroups, ElementsAre(1U, 1U, 2U));
  EXPECT_THAT(prefs.killfiletexts, ElementsAre("t", "other", "t"));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(1U, 1U, 1U));
  RemoveKillfileEntry(prefs, 1, "t", kRequire, kSubject);
  RemoveKillfileEntry(prefs, 1, "t", kKill, kAuthor);
  RemoveKillfileEntry(prefs, 1, "T", kKill, kSubject);
  RemoveKillfileEntry(prefs, 9, "t", kKill, kSubject);
  EXPECT_EQ(prefs.killfilecount, 3U);
  ExpectParallel();
}

TEST_F(Killfile, RemovedGroupTakesItsEntriesAndMovesLaterGroupsDown) {
  AddKillfileEntry(prefs, 4, "d", kKill, kSubject);
  AddKillfileEntry(prefs, 3, "c", kKill, kAuthor);
  AddKillfileEntry(prefs, 1, "a", kRequire, kSubject);
  AddKillfileEntry(prefs, 3, "c2", kRequire, kSubject);
  AddKillfileEntry(prefs, 2, "b", kKill, kSubject);
  AddKillfileEntry(prefs, 4, "d2", kKill, kSubject);
  RemoveGroupFromKillfile(prefs, GroupAt(2));
  EXPECT_THAT(prefs.killfilegroups, ElementsAre(3U, 1U, 2U, 3U));
  EXPECT_THAT(prefs.killfiletexts, ElementsAre("d", "a", "b", "d2"));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(1U, 0U, 1U, 1U));
  EXPECT_EQ(prefs.killfilecount, 4U);
  ExpectParallel();
}

TEST_F(Killfile, OutOfMemoryLeavesTheListsAsTheyWere) {
  AddKillfileEntry(prefs, 1, "first", kKill, kSubject);
  const std::string text(100, 'x');
  int n = 1;
  for (; n < 20; ++n) {
    fake.display.ForgetBoxes();
    testing::FailNthNew(n);
    const bool added = AddKillfileEntry(prefs, 1, text, kKill, kSubject);
    testing::FailNthNew(0);
    if (added) break;
    EXPECT_EQ(BoxTexts().size(), 1U);
    EXPECT_THAT(prefs.killfiletexts, ElementsAre("first"));
    ExpectParallel();
  }
  EXPECT_GT(n, 5);
  EXPECT_EQ(prefs.killfilecount, 2U);
}

// --- Changing the kind ---------------------------------------------------------------------------

TEST_F(Killfile, TogglingFlipsTheKindInOneGroup) {
  AddKillfileEntry(prefs, 1, "t", kKill, kSubject);
  AddKillfileEntry(prefs, 2, "t", kKill, kSubject);
  AddKillfileEntry(prefs, 1, "t", kKill, kAuthor);
  EXPECT_TRUE(ToggleKillfileEntryKind(prefs, 1, "t", kKill, kSubject));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(0U, 1U, 1U));
  EXPECT_TRUE(ToggleKillfileEntryKind(prefs, 1, "t", kRequire, kSubject));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(1U, 1U, 1U));
}

TEST_F(Killfile, TogglingInEveryGroup) {
  AddKillfileEntry(prefs, 1, "t", kKill, kSubject);
  AddKillfileEntry(prefs, 2, "t", kKill, kSubject);
  AddKillfileEntry(prefs, 2, "u", kKill, kSubject);
  EXPECT_TRUE(ToggleKillfileEntryKind(prefs, 0, "t", kKill, kSubject));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(0U, 0U, 1U));
}

TEST_F(Killfile, TogglingIntoAnEntryThatIsThereIsRefusedWithABox) {
  AddKillfileEntry(prefs, 1, "t", kKill, kSubject);
  AddKillfileEntry(prefs, 2, "t", kRequire, kSubject);
  const BoxOwner dialog(77);
  EXPECT_FALSE(ToggleKillfileEntryKind(prefs, 0, "t", kKill, kSubject));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(1U, 0U));
  ASSERT_EQ(fake.display.boxes().size(), 1U);
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Duplicate Entry");
  EXPECT_EQ(fake.display.boxes()[0].text, u"An entry with that combination already exists");
  EXPECT_EQ(fake.display.boxes()[0].owner, 77U);
  // In its own group alone there is no such entry.
  EXPECT_TRUE(ToggleKillfileEntryKind(prefs, 1, "t", kKill, kSubject));
  EXPECT_THAT(prefs.killfilekills, ElementsAre(0U, 0U));
}

// --- Storage -------------------------------------------------------------------------------------

TEST_F(Killfile, SurvivesAWriteAndARead) {
  ReadPreferences();
  ASSERT_TRUE(gPrefs);
  AddKillfileEntry(*gPrefs, 2, "caf\xE9 \x80", kKill, kAuthor);
  AddKillfileEntry(*gPrefs, 1, "", kRequire, kSubject);
  ASSERT_TRUE(WritePreferences());
  EXPECT_EQ(fake.registry.FindDword(kRegistryPath, u"killfilecount"), 2U);
  EXPECT_EQ(fake.registry.FindDword(kRegistryPath, u"killfilesize"), 2U * (7 + 2 + 1));
  ReadPreferences();
  EXPECT_THAT(gPrefs->killfilegroups, ElementsAre(2U, 1U));
  EXPECT_THAT(gPrefs->killfiletexts, ElementsAre("caf\xE9 \x80", ""));
  EXPECT_THAT(gPrefs->killfilekills, ElementsAre(1U, 0U));
  EXPECT_THAT(gPrefs->killfileauthors, ElementsAre(1U, 0U));
}

}  // namespace
}  // namespace quillet
