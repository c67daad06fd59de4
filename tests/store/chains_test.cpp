// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/chains.h"

#include <gmock/gmock.h>

#include "store/chain_members.h"
#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kHeadKey = Raw("alt.test\0");

// docs/store-format.md shows the same bytes.
const std::string kSampleHead =
    Bytes("01 00 00 00 00 00 00 00 02 00 00 00 61 6c 74 2e 74 65 73 74 00 00 00 00 00 00");
const std::string kSampleChain = Bytes(
    "01 00 00 00 00 00 00 00 01 00 00 00 61 6c 74 2e 74 65 73 74 00 3c 32 40 78 3e 00"
    "00 00 00 00");

class ChainsTest : public StoreTest {
 protected:
  ChainsTest() { OpenStore(); }

  static void Push(std::string_view id) { ASSERT_TRUE(AddArticleToGroup(u"alt.test", id)); }
  static std::string Number(std::uint32_t number) { return {static_cast<char>(number), 0, 0, 0}; }
  static std::vector<std::string> Ids() { return Chain(u"alt.test"); }
  // Walks backwards through `previous`, from the oldest.
  static std::vector<std::string> IdsBackwards() {
    std::vector<std::string> ids;
    std::uint32_t number = 0;
    for (auto record = GroupChainFirst(u"alt.test"); record; record = GroupChainNext()) {
      number = record->number;
    }
    while (number != 0) {
      const GDBMGroup record = StoredChain(number);
      ids.push_back(record.messageId);
      number = record.previous;
    }
    return ids;
  }
};

TEST_F(ChainsTest, TheFirstArticleOfAGroupMakesItsHead) {
  Push("<1@x>");
  const GDBMGroup head = Stored(kHeadKey);
  EXPECT_EQ(head.previous, 0U);
  EXPECT_EQ(head.next, 1U);
  EXPECT_EQ(head.groupName, u"alt.test");
  EXPECT_EQ(head.messageId, "");
  const GDBMGroup record = StoredChain(1);
  EXPECT_EQ(record.previous, 0U);
  EXPECT_EQ(record.next, 0U);
  EXPECT_EQ(record.messageId, "<1@x>");
  EXPECT_EQ(FetchValue(kNewsgroups, "\xFF"), Bytes("02 00 00 00"));
}

TEST_F(ChainsTest, RecordsAreStoredToTheByte) {
  Push("<1@x>");
  Push("<2@x>");
  EXPECT_EQ(FetchValue(kNewsgroups, kHeadKey), kSampleHead);
  EXPECT_EQ(FetchValue(kNewsgroups, Bytes("02 00 00 00")), kSampleChain);
  EXPECT_EQ(FetchValue(kNewsgroups, Bytes("01 00 00 00")),
            Bytes("01 00 00 00 02 00 00 00 00 00 00 00 61 6c 74 2e 74 65 73 74 00"
                  "3c 31 40 78 3e 00 00 00 00 00"));
  EXPECT_EQ(FetchValue(kNewsgroups, "\xFF"), Bytes("03 00 00 00"));
}

TEST_F(ChainsTest, TheChainIsWalkedNewestFirstWithItsNumbers) {
  Push("<1@x>");
  ASSERT_TRUE(AddArticleToGroup(u"de.test", "<1@x>"));
  Push("<3@x>");
  auto record = GroupChainFirst(u"alt.test");
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->number, 3U);
  EXPECT_EQ(record->messageId, "<3@x>");
  record = GroupChainNext();
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->number, 1U);
  EXPECT_EQ(GroupChainNext(), nullptr);
  EXPECT_EQ(GroupChainNext(), nullptr);
  EXPECT_EQ(GroupChainFirst(u"no.such.group"), nullptr);
  EXPECT_THAT(Chain(u"de.test"), ElementsAre("<1@x>"));
}

TEST_F(ChainsTest, RemovingTheNewestMakesTheSecondTheNewest) {
  Push("<1@x>");
  Push("<2@x>");
  Push("<3@x>");
  RemoveFromGroupChain(u"alt.test", 3);
  EXPECT_EQ(Stored(kHeadKey).next, 2U);
  EXPECT_EQ(StoredChain(2).previous, 0U);
  EXPECT_FALSE(ValueExists(kNewsgroups, Number(3)));
  EXPECT_THAT(Ids(), ElementsAre("<2@x>", "<1@x>"));
}

TEST_F(ChainsTest, RemovingInTheMiddleJoinsTheNeighbours) {
  Push("<1@x>");
  Push("<2@x>");
  Push("<3@x>");
  RemoveFromGroupChain(u"alt.test", 2);
  EXPECT_EQ(StoredChain(3).next, 1U);
  EXPECT_EQ(StoredChain(1).previous, 3U);
  EXPECT_THAT(Ids(), ElementsAre("<3@x>", "<1@x>"));
}

TEST_F(ChainsTest, RemovingTheOldestAndTheLastLeavesAnEmptyHead) {
  Push("<1@x>");
  Push("<2@x>");
  RemoveFromGroupChain(u"alt.test", 1);
  EXPECT_EQ(StoredChain(2).next, 0U);
  RemoveFromGroupChain(u"alt.test", 2);
  EXPECT_EQ(Stored(kHeadKey).next, 0U);
  EXPECT_THAT(Ids(), IsEmpty());
  Push("<3@x>");
  EXPECT_EQ(Stored(kHeadKey).next, 3U);  // numbers are never used again
}

TEST_F(ChainsTest, RemovingAnAbsentNumberChangesNothing) {
  Push("<1@x>");
  RemoveFromGroupChain(u"alt.test", 9);
  RemoveFromGroupChain(u"alt.test", 0);
  EXPECT_THAT(Ids(), ElementsAre("<1@x>"));
}

TEST_F(ChainsTest, ARecordOfAnotherFormatIsDeletedWithoutItsNeighbours) {
  Push("<1@x>");
  Push("<2@x>");
  Push("<3@x>");
  const auto newer = FetchValue(kNewsgroups, Number(3));
  const auto older = FetchValue(kNewsgroups, Number(1));
  std::string odd = *FetchValue(kNewsgroups, Number(2));
  odd[0] = 2;
  ASSERT_TRUE(StoreValue(kNewsgroups, Number(2), odd, StoreMode::kReplace));
  RemoveFromGroupChain(u"alt.test", 2);
  EXPECT_FALSE(ValueExists(kNewsgroups, Number(2)));
  EXPECT_EQ(FetchValue(kNewsgroups, Number(3)), newer);
  EXPECT_EQ(FetchValue(kNewsgroups, Number(1)), older);
}

TEST_F(ChainsTest, AMissingRecordEndsTheWalk) {
  Push("<1@x>");
  Push("<2@x>");
  Push("<3@x>");
  ASSERT_TRUE(DeleteValue(kNewsgroups, Number(2)));
  EXPECT_THAT(Ids(), ElementsAre("<3@x>"));
}

TEST_F(ChainsTest, BrokenRecordsEndTheWalk) {
  Push("<1@x>");
  Push("<2@x>");
  const std::string good = *FetchValue(kNewsgroups, Number(2));
  for (std::size_t length = 0; length < good.size(); ++length) {
    ASSERT_TRUE(StoreValue(kNewsgroups, Number(2), good.substr(0, length), StoreMode::kReplace));
    EXPECT_THAT(Ids(), IsEmpty()) << length;
  }
}

TEST_F(ChainsTest, AChainThatLeadsInACircleEnds) {
  for (int i = 1; i <= 5; ++i) Push(FormatNarrow("<%d@x>", i));
  GDBMGroup oldest = StoredChain(1);
  oldest.next = 4;
  ASSERT_TRUE(StoreGroupRecord(Number(1), oldest, StoreMode::kReplace));
  EXPECT_GE(CountGroupArticles(u"alt.test", false), 5U);
  EXPECT_LE(CountGroupArticles(u"alt.test", false), 20U);
  RemoveFromGroupChain(u"alt.test", 3);

  GDBMGroup alone = StoredChain(5);
  alone.next = 5;
  ASSERT_TRUE(StoreGroupRecord(Number(5), alone, StoreMode::kReplace));
  EXPECT_LE(CountGroupArticles(u"alt.test", false), 4U);
  RemoveFromGroupChain(u"alt.test", 2);
}

TEST_F(ChainsTest, ADamagedHeadIsReplaced) {
  ASSERT_TRUE(StoreValue(kNewsgroups, kHeadKey, "xx", StoreMode::kReplace));
  EXPECT_THAT(Ids(), IsEmpty());
  Push("<1@x>");
  EXPECT_THAT(Ids(), ElementsAre("<1@x>"));
}

TEST_F(ChainsTest, NumbersBeginAtOneAndCountUp) {
  EXPECT_EQ(NextChainNumber(), 1U);
  EXPECT_EQ(FetchValue(kNewsgroups, "\xFF"), Bytes("02 00 00 00"));
  EXPECT_EQ(NextChainNumber(), 2U);
  EXPECT_EQ(NextChainNumber(), 3U);
}

TEST_F(ChainsTest, ALostCounterHandsOutNoNumberTwice) {
  Push("<1@x>");
  Push("<2@x>");
  // A group name of three letters has a key of four bytes; it is not taken for a number.
  ASSERT_TRUE(AddArticleToGroup(u"zzz", "<3@x>"));
  for (const std::string& damage : {Bytes(""), Bytes("05 00"), Bytes("00 00 00 00")}) {
    DeleteValue(kNewsgroups, "\xFF");
    if (!damage.empty()) StoreValue(kNewsgroups, "\xFF", damage, StoreMode::kReplace);
    EXPECT_EQ(NextChainNumber(), 4U);
  }
}

TEST_F(ChainsTest, ACounterThatHasGoneRoundAddsNothing) {
  ASSERT_TRUE(StoreValue(kNewsgroups, Bytes("ff ff ff ff"), kSampleChain, StoreMode::kReplace));
  EXPECT_FALSE(AddArticleToGroup(u"alt.test", "<1@x>"));
  EXPECT_THAT(Ids(), IsEmpty());
}

TEST_F(ChainsTest, GroupNamesAreStoredInCodePage1252) {
  EXPECT_EQ(GroupKey(u"de.m\u00FCll.\u20AC"), Raw("de.m\xFCll.\x80\0"));
  ASSERT_TRUE(AddArticleToGroup(u"de.m\u00FCll", "<1@x>"));
  EXPECT_EQ(GroupChainFirst(u"de.m\u00FCll")->groupName, u"de.m\u00FCll");
}

TEST_F(ChainsTest, NothingIsAddedWithoutOpenFiles) {
  CloseDatabases();
  EXPECT_FALSE(AddArticleToGroup(u"alt.test", "<1@x>"));
  EXPECT_EQ(GroupChainFirst(u"alt.test"), nullptr);
  RemoveFromGroupChain(u"alt.test", 1);
  EXPECT_EQ(CountGroupArticles(u"alt.test", true), 0U);
}

TEST_F(ChainsTest, AFailedWriteIsFalse) {
  gDatabaseErrorFlag = true;
  EXPECT_FALSE(AddArticleToGroup(u"alt.test", "<1@x>"));
}

// --- the members of a chain ---

TEST_F(ChainsTest, MembersAreThoseOfTheGroupAlone) {
  Push("<1@x>");
  ASSERT_TRUE(AddArticleToGroup(u"de.test", "<2@x>"));
  ChainMembers members(u"alt.test");
  EXPECT_TRUE(members.Contains("<1@x>"));
  EXPECT_FALSE(members.Contains("<2@x>"));
  EXPECT_FALSE(members.Contains("<1@X>"));
  EXPECT_FALSE(members.Contains(""));
  EXPECT_FALSE(ChainMembers(u"none").Contains("<1@x>"));
}

TEST_F(ChainsTest, MembersAreReadAtTheFirstQuestionAndToldOfWhatCameLater) {
  ChainMembers members(u"alt.test");
  Push("<1@x>");
  members.NoteAdded("<1@x>");
  EXPECT_TRUE(members.Contains("<1@x>"));
  Push("<2@x>");
  EXPECT_FALSE(members.Contains("<2@x>"));
  members.NoteAdded("<2@x>");
  EXPECT_TRUE(members.Contains("<2@x>"));
}

TEST_F(ChainsTest, WhatFollowsANulIsNoPartOfAMember) {
  Push("<1@x>");
  ChainMembers members(u"alt.test");
  EXPECT_TRUE(members.Contains(Raw("<1@x>\0rest")));
  members.NoteAdded(Raw("<2@x>\0rest"));
  EXPECT_TRUE(members.Contains("<2@x>"));
}

// --- what a killed writer can leave ---

TEST_F(ChainsTest, ANewestRecordTheOldOneDoesNotKnowIsFoundOnRemoval) {
  Push("<1@x>");
  Push("<2@x>");
  Push("<3@x>");
  GDBMGroup second = StoredChain(2);
  second.previous = 0;  // killed between the head and the older record
  ASSERT_TRUE(StoreGroupRecord(Number(2), second, StoreMode::kReplace));
  RemoveFromGroupChain(u"alt.test", 2);
  EXPECT_THAT(Ids(), ElementsAre("<3@x>", "<1@x>"));
  EXPECT_THAT(IdsBackwards(), ElementsAre("<1@x>", "<3@x>"));
}

TEST_F(ChainsTest, AHalfDoneRemovalKeepsTheRestOfTheChain) {
  for (int i = 1; i <= 4; ++i) Push(FormatNarrow("<%d@x>", i));
  GDBMGroup second = StoredChain(2);
  second.previous = 4;  // 3 was being removed: its older neighbour is done
  ASSERT_TRUE(StoreGroupRecord(Number(2), second, StoreMode::kReplace));
  EXPECT_THAT(Ids(), ElementsAre("<4@x>", "<3@x>", "<2@x>", "<1@x>"));
  RemoveFromGroupChain(u"alt.test", 2);
  EXPECT_THAT(Ids(), ElementsAre("<4@x>", "<3@x>", "<1@x>"));
  RemoveFromGroupChain(u"alt.test", 3);
  EXPECT_THAT(Ids(), ElementsAre("<4@x>", "<1@x>"));
  EXPECT_THAT(IdsBackwards(), ElementsAre("<1@x>", "<4@x>"));
}

}  // namespace
}  // namespace quillet
