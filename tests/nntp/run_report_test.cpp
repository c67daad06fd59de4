// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/run_report.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

RunResult Of(std::uint64_t articles, std::size_t groups, std::size_t posts, std::uint64_t seconds) {
  RunResult result;
  result.articles = articles;
  result.groups = groups;
  result.posts = posts;
  result.seconds = seconds;
  return result;
}

TEST(RunReportTest, SaysArticlesGroupsPostsAndTime) {
  EXPECT_EQ(RunReport(Of(412, 5, 3, 31)), u"412 new articles in 5 groups, 3 posted, 0:31.");
}

TEST(RunReportTest, OneIsSingular) {
  EXPECT_EQ(RunReport(Of(1, 1, 1, 1)), u"1 new article in 1 group, 1 posted, 0:01.");
  EXPECT_EQ(RunReport(Of(2, 1, 0, 2)), u"2 new articles in 1 group, 0:02.");
}

TEST(RunReportTest, NothingNewIsSaidAndNoPostsAreNot) {
  EXPECT_EQ(RunReport(Of(0, 0, 0, 0)), u"No new articles, 0:00.");
  EXPECT_EQ(RunReport(Of(0, 0, 2, 5)), u"No new articles, 2 posted, 0:05.");
}

TEST(RunReportTest, LongRunsHaveHours) {
  EXPECT_EQ(RunReport(Of(100000, 12, 0, 3725)), u"100000 new articles in 12 groups, 1:02:05.");
}

TEST(RunReportTest, WhatEndedItBeforeItsTimeStandsLast) {
  RunResult result = Of(12, 1, 0, 31);
  const auto ended = [&](RunEnd end) {
    result.end = end;
    return RunReport(result);
  };
  EXPECT_EQ(ended(RunEnd::kCancelled), u"12 new articles in 1 group, 0:31, cancelled.");
  EXPECT_EQ(ended(RunEnd::kSessionEnds), u"12 new articles in 1 group, 0:31, cancelled.");
  EXPECT_EQ(ended(RunEnd::kLost), u"12 new articles in 1 group, 0:31, connection lost.");
  EXPECT_EQ(ended(RunEnd::kUnreachable), u"12 new articles in 1 group, 0:31, no connection.");
  EXPECT_EQ(ended(RunEnd::kRefused), u"12 new articles in 1 group, 0:31, refused by the server.");
  EXPECT_EQ(ended(RunEnd::kStoreFailed), u"12 new articles in 1 group, 0:31, store failed.");
  EXPECT_EQ(ended(RunEnd::kNoMemory), u"12 new articles in 1 group, 0:31, out of memory.");
  result.store_full = true;
  EXPECT_EQ(ended(RunEnd::kGoOn), u"12 new articles in 1 group, 0:31, store full.");
  EXPECT_EQ(ended(RunEnd::kLost), u"12 new articles in 1 group, 0:31, connection lost.");
}

}  // namespace
}  // namespace quillet
