// SPDX-License-Identifier: GPL-3.0-or-later
#include "util/mail_date.h"

#include <gtest/gtest.h>

#include <string>

namespace quillet {
namespace {

constexpr std::int64_t kNov21 = 1795255200;  // Saturday 21 November 2026, 10:00:00 UTC

TEST(MailDate, ADateAsItIsWrittenToday) {
  EXPECT_EQ(ParseMailDate("Sat, 21 Nov 2026 10:00:00 +0000"), kNov21);
  EXPECT_EQ(ParseMailDate("Sat, 21 Nov 2026 10:00:00 GMT"), kNov21);
  EXPECT_EQ(ParseMailDate("21 Nov 2026 10:00:00 +0000"), kNov21);
  EXPECT_EQ(ParseMailDate("Sat, 21 Nov 2026 10:00 +0000"), kNov21) << "without seconds";
  EXPECT_EQ(ParseMailDate("Thu, 1 Jan 1970 00:00:00 +0000"), 0);
  EXPECT_EQ(ParseMailDate("Thu, 1 Jan 1970 00:00:01 +0000"), 1);
  EXPECT_EQ(ParseMailDate("31 Dec 1969 23:59:59 +0000"), -1);
}

TEST(MailDate, ZonesAreCountedBack) {
  EXPECT_EQ(ParseMailDate("21 Nov 2026 12:00:00 +0200"), kNov21);
  EXPECT_EQ(ParseMailDate("21 Nov 2026 06:30:00 -0330"), kNov21);
  EXPECT_EQ(ParseMailDate("22 Nov 2026 00:00:00 +1400"), kNov21);
  EXPECT_EQ(ParseMailDate("21 Nov 2026 10:00:00 -0000"), kNov21);
}

TEST(MailDate, ZonesOfOldHaveNames) {
  const std::pair<const char*, int> zones[] = {{"UT", 0},   {"GMT", 0},  {"EST", -5}, {"EDT", -4},
                                               {"CST", -6}, {"CDT", -5}, {"MST", -7}, {"MDT", -6},
                                               {"PST", -8}, {"PDT", -7}, {"est", -5}, {"Z", 0},
                                               {"A", 0},    {"y", 0},    {"MET", 0},  {"", 0}};
  for (const auto& [name, hours] : zones) {
    EXPECT_EQ(ParseMailDate("21 Nov 2026 10:00:00 " + std::string(name)), kNov21 - hours * 3600)
        << name;
  }
}

TEST(MailDate, YearsOfTwoAndThreeDigits) {
  EXPECT_EQ(ParseMailDate("1 Jan 00 00:00 GMT"), 946684800);
  EXPECT_EQ(ParseMailDate("1 Jan 49 00:00 GMT"), 2493072000);
  EXPECT_EQ(ParseMailDate("1 Jan 50 00:00 GMT"), -631152000);
  EXPECT_EQ(ParseMailDate("1 Jan 99 00:00 GMT"), 915148800);
  EXPECT_EQ(ParseMailDate("1 Jan 100 00:00 GMT"), 946684800);
  EXPECT_EQ(ParseMailDate("21-Nov-94 10:00:00 GMT"), 785412000);
}

TEST(MailDate, BlanksCommentsAndLettersOfAnyCase) {
  EXPECT_EQ(ParseMailDate(" \t\r\n SAT ,\r\n 21  nov\t2026 10 : 00 : 00\r\n +0000  "), kNov21);
  EXPECT_EQ(ParseMailDate("Sat, 21 Nov 2026 10:00:00 +0000 (UTC)"), kNov21);
  EXPECT_EQ(ParseMailDate("(a(b\\))c)Sat(),21(x)Nov 2026 10:00:00(\\()GMT"), kNov21);
  EXPECT_EQ(ParseMailDate("Sat 21 Nov 2026 10:00:00 +0000"), kNov21);
  EXPECT_EQ(ParseMailDate("Saturday, 21 November 2026 10:00:00 +0000"), kNov21);
  EXPECT_EQ(ParseMailDate("21 Nov 2026 10:00:00 GMT (open \\"), kNov21);
}

TEST(MailDate, DaysThatTheirMonthHas) {
  EXPECT_TRUE(ParseMailDate("29 Feb 2024 00:00 GMT"));
  EXPECT_TRUE(ParseMailDate("29 Feb 2000 00:00 GMT"));
  EXPECT_FALSE(ParseMailDate("29 Feb 2023 00:00 GMT"));
  EXPECT_FALSE(ParseMailDate("29 Feb 1900 00:00 GMT"));
  EXPECT_FALSE(ParseMailDate("31 Apr 2026 00:00 GMT"));
  EXPECT_FALSE(ParseMailDate("0 Apr 2026 00:00 GMT"));
  EXPECT_TRUE(ParseMailDate("31 Dec 9999 23:59:60 GMT")) << "a second that was put in";
}

TEST(MailDate, WhatIsNoDateIsNone) {
  for (const char* text : {"",
                           " ",
                           "(",
                           ")",
                           "Sat",
                           "Sat,",
                           "21",
                           "21 Nov",
                           "21 Nov 2026",
                           "21 Nov 2026 10",
                           "21 Nov 2026 10:",
                           "21 Nov 2026 24:00",
                           "21 Nov 2026 10:60",
                           "21 Nov 2026 10:00:61",
                           "21 Xyz 2026 10:00",
                           "21 No 2026 10:00",
                           "Nov 21 10:00:00 2026",
                           "21 11 2026 10:00",
                           "21 Nov 5 10:00",
                           "21 Nov 1899 10:00",
                           "21 Nov 10000 10:00",
                           "21 Nov 9999999999 10:00",
                           "99999999999999999999 Nov 2026 10:00",
                           "21 Nov 2026 10:00 +1",
                           "21 Nov 2026 10:00 +00000",
                           "21 Nov 2026 10:00 +0060",
                           "21 Nov 2026 10:00 + x",
                           "21 Nov 2026 10:00 GMT more",
                           "2026-11-21T10:00:00Z",
                           "yesterday"}) {
    EXPECT_FALSE(ParseMailDate(text)) << text;
  }
  EXPECT_FALSE(ParseMailDate(std::string_view("21 Nov 2026 10:00\0 GMT", 22)));
  EXPECT_FALSE(ParseMailDate(std::string(1 << 20, '(')));
  EXPECT_FALSE(ParseMailDate(std::string(1 << 20, '1')));
}

TEST(MailDate, DaysAreCountedThroughFourHundredYears) {
  EXPECT_EQ(DaysSince1970(1970, 1, 1), 0);
  EXPECT_EQ(DaysSince1970(1969, 12, 31), -1);
  EXPECT_EQ(DaysSince1970(2000, 2, 29), 11016);
  EXPECT_EQ(DaysSince1970(2000, 3, 1), 11017);
  EXPECT_EQ(DaysSince1970(2370, 1, 1) - DaysSince1970(1970, 1, 1), 146097);
}

}  // namespace
}  // namespace quillet
