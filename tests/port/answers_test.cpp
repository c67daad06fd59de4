// SPDX-License-Identifier: GPL-3.0-or-later
// Announced answers: which question gets which.
#include "port/fake/answers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace quillet::port {
namespace {

std::vector<std::u16string> Prefixes(const Answers<int>& answers) {
  std::vector<std::u16string> prefixes;
  for (const auto& one : answers.LeftOver()) prefixes.push_back(one.prefix);
  return prefixes;
}

using Texts = std::vector<std::u16string>;

TEST(AnswersTest, TheFirstThatFitsIsUsedUp) {
  Answers<int> answers;
  answers.Add(u"Really", 6, {.times = 2});
  answers.Add(u"Really delete", 7);
  EXPECT_EQ(answers.Take(u"Nothing"), std::nullopt);
  EXPECT_EQ(answers.Take(u"Really delete?"), 6);
  EXPECT_EQ(answers.Take(u"Really delete?"), 6);
  EXPECT_EQ(Prefixes(answers), (Texts{u"Really delete"}));
  EXPECT_EQ(answers.Take(u"Really delete?"), 7);
  EXPECT_EQ(answers.Take(u"Really delete?"), std::nullopt);
  EXPECT_TRUE(answers.LeftOver().empty());
}

TEST(AnswersTest, AnOptionalOneMayBeLeftOver) {
  Answers<int> answers;
  answers.Add(u"Other", 1, {.optional = true});
  answers.Add(u"Often", 2, {kAnyNumberOfTimes, true});
  EXPECT_TRUE(answers.LeftOver().empty());
  EXPECT_EQ(answers.Take(u"Other?"), 1);
  EXPECT_EQ(answers.Take(u"Other?"), std::nullopt);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(answers.Take(u"Often?"), 2);
}

TEST(AnswersTest, OneThatIsUsedNoTimesIsNone) {
  Answers<int> answers;
  answers.Add(u"Other", 1, {.times = 0});
  EXPECT_EQ(answers.Take(u"Other?"), std::nullopt);
  EXPECT_TRUE(answers.LeftOver().empty());
}

TEST(AnswersTest, NextAnswersAreUsedInTheirOrder) {
  Answers<std::u16string> answers;
  answers.AddNext(u"Delete");
  answers.AddNext(u"");
  answers.AddNext(u"Copy");
  EXPECT_EQ(answers.Take(), u"Delete");
  EXPECT_EQ(answers.Take(), u"");
  ASSERT_EQ(answers.LeftOver().size(), 1U);
  EXPECT_EQ(answers.LeftOver()[0].answer, u"Copy");
}

TEST(AnswersTest, WhatIsLeftOverIsTakenOnce) {
  Answers<int> answers;
  answers.Add(u"a", 1);
  answers.Add(u"b", 2, {.optional = true});
  EXPECT_EQ(answers.TakeLeftOver().size(), 1U);
  EXPECT_TRUE(answers.TakeLeftOver().empty());
  EXPECT_EQ(answers.Take(u"b"), std::nullopt);
}

}  // namespace
}  // namespace quillet::port
