// SPDX-License-Identifier: GPL-3.0-or-later
// The figures of a connection, by a clock and a server of the test's own.
#include "nntp/run_figures.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "util/text.h"

namespace quillet {
namespace {

class RunFiguresTest : public ::testing::Test {
 protected:
  static GroupOutlook Fresh(std::uint32_t room) { return {0, room, false}; }
  static GroupOutlook Visited(std::uint32_t backlog, std::uint32_t room = 1000) {
    return {backlog, room, true};
  }

  std::u16string Line() { return figures_.Line(now_); }

  // The walk through a group begins at `next`, for so many articles at most.
  void Enter(std::size_t place, std::uint32_t first, std::uint32_t last, std::uint32_t existing,
             std::uint32_t next, std::uint32_t count) {
    figures_.Group(place);
    walk_ = {first, last, existing, next, count, 0};
    figures_.Plan(now_, walk_);
  }
  // Every number is there.
  void EnterDense(std::size_t place, std::uint32_t count) {
    Enter(place, 1, count, count, 1, count);
  }
  // One article after a pause; `gap` numbers before it are missing.
  void Take(std::uint64_t pause, std::uint32_t gap = 0, bool counts = true) {
    now_ += pause;
    walk_.next += gap + 1;
    ++walk_.handled;
    if (counts) --walk_.remaining;
    figures_.Walk(now_, walk_);
  }
  void TakeMany(int count, std::uint64_t pause) {
    for (int i = 0; i < count; ++i) Take(pause);
  }
  // The seconds that the line says are left; -1 when it says nothing.
  int SecondsLeft() {
    const std::string line = ToUtf8(Line());
    const std::size_t end = line.find(" left");
    if (end == std::string::npos) return -1;
    const std::string time = line.substr(line.rfind(' ', end - 1) + 1);
    const std::size_t colon = time.find(':');
    return std::stoi(time) * 60 + std::stoi(time.substr(colon + 1));
  }

  RunFigures figures_;
  std::uint64_t now_ = 5000;
  WalkNumbers walk_;
};

TEST_F(RunFiguresTest, NothingIsSaidBeforeThereIsAnything) {
  EXPECT_EQ(Line(), u"");
  figures_.Start({Fresh(50)});
  EXPECT_EQ(Line(), u"");
}

TEST_F(RunFiguresTest, PostsAndLostArticlesAreCounted) {
  figures_.Start({});
  figures_.Post(2, 3);
  EXPECT_EQ(Line(), u"posting 2 of 3");
  figures_.LostArticle(1, 4);
  EXPECT_EQ(Line(), u"lost article 1 of 4");
}

TEST_F(RunFiguresTest, FiguresComeAsTheyAreKnown) {
  figures_.Start({Fresh(1000), Fresh(1000)});
  figures_.Group(1);
  EXPECT_EQ(Line(), u"group 2 of 2");
  EnterDense(1, 350);
  EXPECT_EQ(Line(), u"group 2 of 2, article 0 of 350");
  TakeMany(10, 50);
  EXPECT_EQ(Line(), u"group 2 of 2, article 10 of 350") << "half a second tells nothing";
  TakeMany(20, 50);
  EXPECT_EQ(Line(), u"group 2 of 2, article 30 of 350, 20 articles a second");
  TakeMany(50, 50);
  EXPECT_EQ(Line(), u"group 2 of 2, article 80 of 350, 20 articles a second, 0:14 left");
}

TEST_F(RunFiguresTest, WholeLineReadsAsItShould) {
  figures_.Start({Fresh(1000), Fresh(350), Visited(0), Visited(0), Visited(0)});
  EnterDense(1, 350);
  TakeMany(120, 56);
  EXPECT_EQ(Line(), u"group 2 of 5, article 120 of 350, 18 articles a second, 0:13 left");
}

TEST_F(RunFiguresTest, GroupWithoutAnythingNewHasNoArticles) {
  figures_.Start({Fresh(50)});
  Enter(0, 1, 100, 100, 101, 0);
  EXPECT_EQ(Line(), u"group 1 of 1");
}

TEST_F(RunFiguresTest, TimeLeftRunsDownWhileTheServerIsWaitedFor) {
  figures_.Start({Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(10, 2000);
  EXPECT_EQ(SecondsLeft(), 180);
  now_ += 1500;
  EXPECT_NEAR(SecondsLeft(), 178, 1);
}

TEST_F(RunFiguresTest, ServerThatIsSilentForMinutesLeavesThePlaceOnly) {
  figures_.Start({Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(40, 100);
  now_ += 30000;
  EXPECT_GT(SecondsLeft(), 40) << "it takes longer now";
  now_ += 100000;
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 100");
}

// --- what a group can still give -----------------------------------------------------------------

TEST_F(RunFiguresTest, LimitOfThePreferencesIsTheEnd) {
  figures_.Start({Fresh(50)});
  Enter(0, 1, 1000, 1000, 1, 50);
  TakeMany(20, 500);
  EXPECT_EQ(Line(), u"group 1 of 1, article 20 of 50, 2 articles a second, 0:15 left");
}

TEST_F(RunFiguresTest, DuplicatesAreDoneWithButDoNotCountAgainstTheLimit) {
  figures_.Start({Fresh(50)});
  Enter(0, 1, 1000, 1000, 1, 50);
  for (int i = 0; i < 20; ++i) Take(250, 0, i % 2 == 0);
  EXPECT_EQ(Line(), u"group 1 of 1, article 20 of 60, 4 articles a second, 0:20 left")
      << "each of the 40 comes with a duplicate";
}

TEST_F(RunFiguresTest, GroupOfDuplicatesEndsWithItsNumbers) {
  figures_.Start({Fresh(1000)});
  EnterDense(0, 40);
  for (int i = 0; i < 39; ++i) Take(250, 0, false);
  EXPECT_EQ(Line(), u"group 1 of 1, article 39 of 40, 4 articles a second, 0:01 left");
  Take(250, 0, false);
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 40, 4 articles a second, 0:00 left");
}

TEST_F(RunFiguresTest, NumbersWithoutArticlesAreNotCountedWhenTheServerSaysHowManyThereAre) {
  figures_.Start({Fresh(1000)});
  Enter(0, 1, 900, 300, 1, 900);
  EXPECT_EQ(Line(), u"group 1 of 1, article 0 of 300");
  for (int i = 0; i < 100; ++i) Take(100, 2);
  EXPECT_EQ(Line(), u"group 1 of 1, article 100 of 300, 10 articles a second, 0:20 left");
}

TEST_F(RunFiguresTest, HolesAreExpectedToGoOnAsTheyCame) {
  figures_.Start({Visited(900)});
  Enter(0, 1, 1000, 1000, 101, 900);
  for (int i = 0; i < 100; ++i) Take(100, 2);
  EXPECT_EQ(SecondsLeft(), 20) << "600 numbers, of which each third is there";
  EXPECT_EQ(Line().substr(0, 37), u"group 1 of 1, article 100 of 700, 10 ")
      << "what can still come";
}

TEST_F(RunFiguresTest, FirstHoleTellsNothingOfTheRest) {
  figures_.Start({Fresh(1000)});
  Enter(0, 1, 1000, 1000, 1, 1000);
  Take(100, 899);
  for (int i = 0; i < 50; ++i) Take(100);
  EXPECT_EQ(SecondsLeft(), 5);
}

TEST_F(RunFiguresTest, ServerThatHasMoreThanItSaidIsBelievedNoLonger) {
  figures_.Start({Fresh(1000)});
  Enter(0, 1, 100, 20, 1, 100);
  TakeMany(20, 200);
  EXPECT_EQ(Line(), u"group 1 of 1, article 20 of 100, 5 articles a second, 0:16 left");
}

TEST_F(RunFiguresTest, NumbersUpToTheLastOfThirtyTwoBitsDoNotOverflow) {
  figures_.Start({Fresh(1000)});
  Enter(0, 0xFFFFFFF0, 0xFFFFFFFF, 16, 0xFFFFFFF0, 16);
  TakeMany(15, 1000);
  EXPECT_EQ(Line(), u"group 1 of 1, article 15 of 16, 1 article a second, 0:01 left");
}

TEST_F(RunFiguresTest, RepliesThatContradictThemselvesAreNoHarm) {
  figures_.Start({Fresh(50)});
  Enter(0, 900, 100, 5000, 900, 0);
  EXPECT_EQ(Line(), u"group 1 of 1");
  Enter(0, 0, 0, 0, 0, 0xFFFFFFFF);
  EXPECT_EQ(Line().substr(0, 12), u"group 1 of 1");
  Enter(7, 1, 10, 10, 1, 10);  // a place beyond the list
  TakeMany(9, 1000);
  EXPECT_EQ(SecondsLeft(), 1);
}

// --- groups to come ------------------------------------------------------------------------------

TEST_F(RunFiguresTest, FreshGroupsAreExpectedToBeLikeThoseVisited) {
  figures_.Start({Fresh(1000), Fresh(1000), Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(50, 100);
  EXPECT_EQ(SecondsLeft(), 25) << "50 here and 100 in each of the two";
  TakeMany(50, 100);
  EnterDense(1, 300);
  TakeMany(100, 100);
  EXPECT_EQ(SecondsLeft(), 40) << "200 here, and 200 in the last on average";
}

TEST_F(RunFiguresTest, FreshGroupNeverTakesMoreThanItHasRoomFor) {
  figures_.Start({Fresh(1000), Fresh(50)});
  EnterDense(0, 100);
  TakeMany(50, 100);
  EXPECT_EQ(SecondsLeft(), 10);
}

TEST_F(RunFiguresTest, FreshGroupsBehindVisitedOnesAreExpectedToBeFull) {
  figures_.Start({Visited(0), Fresh(50)});
  EnterDense(0, 100);
  TakeMany(50, 100);
  EXPECT_EQ(SecondsLeft(), 10);
}

TEST_F(RunFiguresTest, BacklogOfTheLastVisitIsExpectedAndWhatIsNewOnAverage) {
  figures_.Start({Visited(60), Visited(300), Visited(0), Visited(500, 100)});
  Enter(0, 1, 1000, 1000, 901, 100);
  TakeMany(50, 100);
  // 50 here; 300 and 40 new; 40 new; as many as there is room for.
  EXPECT_EQ(SecondsLeft(), 53);
}

TEST_F(RunFiguresTest, GroupWithoutRoomTellsOfTheOthersAllTheSame) {
  figures_.Start({Visited(0, 0), Visited(0, 50), Visited(0)});
  Enter(0, 1, 1000, 1000, 801, 0);
  Enter(1, 1, 1000, 1000, 901, 50);
  TakeMany(40, 100);
  EXPECT_EQ(SecondsLeft(), 16) << "10 here, and the average of 200 and 100";
}

TEST_F(RunFiguresTest, GroupThatTheServerRefusesTellsNothingOfTheOthers) {
  figures_.Start({Fresh(1000), Fresh(1000), Fresh(1000)});
  figures_.Group(0);
  EXPECT_EQ(Line(), u"group 1 of 3");
  EnterDense(1, 100);
  TakeMany(50, 100);
  EXPECT_EQ(SecondsLeft(), 15);
}

// --- losses --------------------------------------------------------------------------------------

TEST_F(RunFiguresTest, WhatWasDoneBeforeALossCountsOn) {
  figures_.Start({Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(40, 100);
  figures_.Hold();
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 100");
  now_ += 20000;
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 100");
  Enter(0, 1, 100, 100, 41, 60);
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 100") << "the wait is no part of the pace";
  TakeMany(40, 100);
  EXPECT_EQ(Line(), u"group 1 of 1, article 80 of 100, 10 articles a second, 0:02 left");
}

TEST_F(RunFiguresTest, NumbersWithoutArticlesAreNotCountedAfterALossEither) {
  figures_.Start({Fresh(1000)});
  Enter(0, 1, 900, 300, 1, 900);
  for (int i = 0; i < 100; ++i) Take(100, 2);
  figures_.Hold();
  figures_.Group(0);
  EXPECT_EQ(Line(), u"group 1 of 1, article 100 of 300");
  Enter(0, 1, 900, 300, 301, 800);
  EXPECT_EQ(Line(), u"group 1 of 1, article 100 of 300");
  for (int i = 0; i < 100; ++i) Take(100, 2);
  EXPECT_EQ(Line(), u"group 1 of 1, article 200 of 300, 10 articles a second, 0:10 left");
}

TEST_F(RunFiguresTest, GroupNumberedAnewMeanwhileHasItsNewNumbers) {
  figures_.Start({Fresh(1000)});
  Enter(0, 1, 900, 300, 1, 900);
  for (int i = 0; i < 100; ++i) Take(100, 2);
  figures_.Hold();
  Enter(0, 5001, 5200, 200, 5001, 800);
  EXPECT_EQ(Line(), u"group 1 of 1, article 100 of 300");
  TakeMany(100, 100);
  EXPECT_EQ(Line(), u"group 1 of 1, article 200 of 300, 10 articles a second, 0:10 left");
}

TEST_F(RunFiguresTest, GroupLostTwiceIsLearntFromOnce) {
  figures_.Start({Fresh(1000), Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(50, 100);
  for (int i = 0; i < 5; ++i) {
    figures_.Hold();
    Enter(0, 1, 100, 100, 51, 50);
  }
  TakeMany(40, 100);
  EXPECT_EQ(SecondsLeft(), 11) << "10 here and 100 in the other one";
}

TEST_F(RunFiguresTest, LossBeforeTheAnswerToGroupForgetsNothing) {
  figures_.Start({Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(40, 100);
  figures_.Hold();
  figures_.Post(1, 1);
  EXPECT_EQ(Line(), u"posting 1 of 1");
  figures_.Group(0);
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 100");
  figures_.Group(0);
  EXPECT_EQ(Line(), u"group 1 of 1, article 40 of 100");
}

TEST_F(RunFiguresTest, NextGroupBeginsAtItsOwnFirstArticle) {
  figures_.Start({Fresh(1000), Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(100, 100);
  figures_.Group(1);
  EXPECT_EQ(Line().substr(0, 12), u"group 2 of 2");
  EXPECT_EQ(Line().find(u"article 100"), std::u16string::npos);
}

TEST_F(RunFiguresTest, NewRunKnowsNothingOfTheLast) {
  figures_.Start({Fresh(1000)});
  EnterDense(0, 100);
  TakeMany(50, 100);
  figures_.Start({Fresh(50)});
  EXPECT_EQ(Line(), u"");
  figures_.Group(0);
  EXPECT_EQ(Line(), u"group 1 of 1");
}

// --- a server of constant speed ------------------------------------------------------------------

// The time left is right within 30 % from ten seconds on, in whichever shape the articles come.
TEST_F(RunFiguresTest, TimeLeftIsRightAfterTenSeconds) {
  const std::vector<std::uint32_t> sizes = {150, 150, 120, 180, 150};
  for (const std::uint64_t pause : {40U, 100U, 333U, 1000U}) {
    figures_.Start(std::vector<GroupOutlook>(sizes.size(), Fresh(1000)));
    const std::uint64_t began = now_;
    const std::uint64_t ends = now_ + 750 * pause + sizes.size() * 50;
    for (std::size_t group = 0; group < sizes.size(); ++group) {
      now_ += 50;
      EnterDense(group, sizes[group]);
      for (std::uint32_t i = 0; i < sizes[group]; ++i) {
        Take(pause);
        const auto left = static_cast<double>(ends - now_) / 1000;
        if (now_ < began + 10000 || left < 2) continue;
        EXPECT_NEAR(SecondsLeft(), left, std::max(left * 0.3, 0.6)) << pause << " " << left;
      }
    }
    now_ += 60000;
  }
}

}  // namespace
}  // namespace quillet
