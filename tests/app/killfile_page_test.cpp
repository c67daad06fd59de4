// SPDX-License-Identifier: GPL-3.0-or-later
// The killfile of all groups on its page: what each button does to which entries.
#include <tuple>

#include "tests/app/sheet_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
// group, text, kill, author
using Entry = std::tuple<std::uint32_t, std::string, std::uint32_t, std::uint32_t>;

class KillfilePageTest : public SheetTest {
 protected:
  KillfilePageTest() { SetGroups({u"comp.test", u"alt.test", u"de.test"}); }

  void SetEntries(const std::vector<Entry>& entries) {
    std::vector<std::u16string> texts;
    std::vector<std::uint32_t> groups, kills, authors;
    for (const auto& [group, text, kill, author] : entries) {
      groups.push_back(group);
      texts.push_back(Widen(text));
      kills.push_back(kill);
      authors.push_back(author);
    }
    SetDword(u"killfilecount", static_cast<std::uint32_t>(entries.size()));
    SetList(u"killfiletexts", texts);
    SetNumbers(u"killfilegroups", groups);
    SetNumbers(u"killfilekills", kills);
    SetNumbers(u"killfileauthors", authors);
  }
  void OpenKillfile(int row) {
    StartAndWait();
    OpenAt(kKillfilePlace);
    Select(row);
  }
  void Select(int row) { Choose(kControlKillfileEntries, row); }
  int Selected() { return Shown(kControlKillfileEntries).choice; }
  std::vector<std::u16string> Row(std::size_t row) {
    return Shown(kControlKillfileEntries).rows.at(row).texts;
  }
  std::size_t Rows() { return Shown(kControlKillfileEntries).rows.size(); }
  // As they are after OK.
  std::vector<Entry> Entries() {
    Ok();
    std::vector<Entry> entries;
    for (std::size_t i = 0; i < gPrefs->killfilecount; ++i) {
      entries.emplace_back(gPrefs->killfilegroups[i], gPrefs->killfiletexts[i],
                           gPrefs->killfilekills[i], gPrefs->killfileauthors[i]);
    }
    return entries;
  }
};

TEST_F(KillfilePageTest, ShowsARowAnEntryInTheirOrder) {
  SetEntries({{2, "spam", 1, 0}, {1, "ann\xE9", 0, 1}});
  OpenKillfile(0);
  ASSERT_EQ(Rows(), 2U);
  EXPECT_THAT(Row(0), ElementsAre(u"spam", u"subj.", u"kill"));
  EXPECT_THAT(Row(1), ElementsAre(u"ann\u00E9", u"auth.", u"req."));
  EXPECT_EQ(Shown(kControlKillfileEntries).rows[0].tool_tip, u"spam\nalt.test");
  EXPECT_TRUE(Shown(kControlKillSubject).checked);
  EXPECT_TRUE(Shown(kControlKill).checked);
  Select(1);
  EXPECT_TRUE(Shown(kControlKillAuthor).checked);
  EXPECT_FALSE(Shown(kControlKillSubject).checked);
  EXPECT_TRUE(Shown(kControlRequire).checked);
}

TEST_F(KillfilePageTest, WithoutEntriesNothingCanBePressed) {
  StartAndWait();
  OpenAt(kKillfilePlace);
  for (const std::uint32_t control :
       {kControlKillSubject, kControlKillAuthor, kControlKill, kControlRequire, kControlDeleteEntry,
        kControlDeleteFromAll, kControlPropagateToAll}) {
    EXPECT_FALSE(Shown(control).enabled);
  }
}

TEST_F(KillfilePageTest, KindChangesForTheGroupOfTheRowAlone) {
  SetEntries({{1, "spam", 1, 0}, {2, "spam", 1, 0}});
  OpenKillfile(1);
  Tick(kControlRequire, true);
  EXPECT_THAT(Row(0), ElementsAre(u"spam", u"subj.", u"kill"));
  EXPECT_THAT(Row(1), ElementsAre(u"spam", u"subj.", u"req."));
  EXPECT_EQ(Selected(), 1);
  EXPECT_THAT(Entries(), ElementsAre(Entry{1, "spam", 1, 0}, Entry{2, "spam", 0, 0}));
}

TEST_F(KillfilePageTest, KindThatIsThereAlreadyIsRefused) {
  SetEntries({{1, "spam", 1, 0}, {1, "spam", 0, 0}});
  OpenKillfile(0);
  fake_.display.Expect(u"An entry with that combination already exists", port::kIdOk);
  Tick(kControlRequire, true);
  EXPECT_EQ(fake_.display.boxes().back().caption, u"Duplicate Entry");
  EXPECT_TRUE(Shown(kControlKill).checked);
  EXPECT_THAT(Entries(), ElementsAre(Entry{1, "spam", 1, 0}, Entry{1, "spam", 0, 0}));
}

TEST_F(KillfilePageTest, TypeChangesByRemovingAndAdding) {
  SetEntries({{1, "spam", 1, 0}, {1, "x", 1, 0}});
  OpenKillfile(0);
  Tick(kControlKillAuthor, true);
  EXPECT_EQ(Selected(), 1);
  EXPECT_THAT(Row(1), ElementsAre(u"spam", u"auth.", u"kill"));
  EXPECT_THAT(Entries(), ElementsAre(Entry{1, "x", 1, 0}, Entry{1, "spam", 1, 1}));
}

TEST_F(KillfilePageTest, DeleteTakesTheRow) {
  SetEntries({{1, "a", 1, 0}, {2, "a", 1, 0}, {3, "b", 1, 0}});
  OpenKillfile(1);
  Press(kControlDeleteEntry);
  EXPECT_EQ(Selected(), 1);
  EXPECT_THAT(Row(1), ElementsAre(u"b", u"subj.", u"kill"));
  EXPECT_THAT(Entries(), ElementsAre(Entry{1, "a", 1, 0}, Entry{3, "b", 1, 0}));
}

TEST_F(KillfilePageTest, LastRowThatGoesLeavesTheOneBefore) {
  SetEntries({{1, "a", 1, 0}, {2, "b", 1, 0}});
  OpenKillfile(1);
  Press(kControlDeleteEntry);
  EXPECT_EQ(Selected(), 0);
  Press(kControlDeleteEntry);
  EXPECT_EQ(Rows(), 0U);
  EXPECT_FALSE(Shown(kControlDeleteEntry).enabled);
  EXPECT_THAT(Entries(), IsEmpty());
}

TEST_F(KillfilePageTest, DeleteFromAllTakesTheEntryOfEveryGroup) {
  SetEntries({{1, "a", 1, 0}, {2, "a", 1, 0}, {2, "a", 1, 1}, {3, "a", 1, 0}, {3, "a", 0, 0}});
  OpenKillfile(1);
  Press(kControlDeleteFromAll);
  EXPECT_THAT(Entries(), ElementsAre(Entry{2, "a", 1, 1}, Entry{3, "a", 0, 0}));
}

TEST_F(KillfilePageTest, PropagateAddsToEveryGroupThatLacksIt) {
  SetEntries({{2, "a", 0, 1}, {1, "b", 1, 0}});
  OpenKillfile(0);
  Press(kControlPropagateToAll);
  EXPECT_EQ(Selected(), 0);
  EXPECT_THAT(Entries(), ElementsAre(Entry{2, "a", 0, 1}, Entry{1, "b", 1, 0}, Entry{1, "a", 0, 1},
                                     Entry{3, "a", 0, 1}));
}

TEST_F(KillfilePageTest, PropagationEndsWhenTheKillfileIsFull) {
  const std::string text(1000, 't');  // 2,002 bytes: two fit
  SetEntries({{1, text, 1, 0}});
  OpenKillfile(0);
  fake_.display.Expect(
      u"The killfile will exceed Windows CE's capacity to store it. Entry rejected.", port::kIdOk);
  Press(kControlPropagateToAll);
  EXPECT_THAT(Entries(), ElementsAre(Entry{1, text, 1, 0}, Entry{2, text, 1, 0}));
}

TEST_F(KillfilePageTest, TypeThatCannotBeAddedComesBack) {
  // Already above what may be added to: the changed entry is refused, and so is the old one.
  SetEntries({{1, std::string(1100, 'a'), 1, 0}, {1, std::string(940, 'b'), 1, 0}});
  OpenKillfile(1);
  Tick(kControlKillAuthor, true);
  EXPECT_THAT(Entries(), ElementsAre(Entry{1, std::string(1100, 'a'), 1, 0},
                                     Entry{1, std::string(940, 'b'), 1, 1}));
}

TEST_F(KillfilePageTest, ChangesAreDroppedByCancel) {
  SetEntries({{1, "a", 1, 0}});
  OpenKillfile(0);
  Press(kControlDeleteEntry);
  fake_.display.Expect(kApplyQuestion, port::kIdNo);
  Cancel();
  EXPECT_EQ(gPrefs->killfilecount, 1U);
}

}  // namespace
}  // namespace quillet
