// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/progress_text.h"

#include <gtest/gtest.h>

namespace quillet {
namespace {

using Text = std::optional<std::u16string>;

TEST(DurationTextTest, MinutesAndSecondsAndHoursWhenThereAreAny) {
  EXPECT_EQ(DurationText(0), u"0:00");
  EXPECT_EQ(DurationText(9), u"0:09");
  EXPECT_EQ(DurationText(40), u"0:40");
  EXPECT_EQ(DurationText(60), u"1:00");
  EXPECT_EQ(DurationText(725), u"12:05");
  EXPECT_EQ(DurationText(3599), u"59:59");
  EXPECT_EQ(DurationText(3600), u"1:00:00");
  EXPECT_EQ(DurationText(3725), u"1:02:05");
  EXPECT_EQ(DurationText(360000), u"100:00:00");
}

TEST(TimeLeftTextTest, SaysWhatIsLeftUpToAHundredHours) {
  EXPECT_EQ(TimeLeftText(40), Text(u"0:40 left"));
  EXPECT_EQ(TimeLeftText(359999), Text(u"99:59:59 left"));
  EXPECT_EQ(TimeLeftText(360000), std::nullopt);
  EXPECT_EQ(TimeLeftText(static_cast<std::uint64_t>(-1)), std::nullopt);
}

TEST(ArticlePaceTextTest, ASecondOrAMinute) {
  EXPECT_EQ(ArticlePaceText(18), Text(u"18 articles a second"));
  EXPECT_EQ(ArticlePaceText(17.6), Text(u"18 articles a second"));
  EXPECT_EQ(ArticlePaceText(1.4), Text(u"1 article a second"));
  EXPECT_EQ(ArticlePaceText(0.95), Text(u"1 article a second"));
  EXPECT_EQ(ArticlePaceText(0.9), Text(u"54 articles a minute"));
  EXPECT_EQ(ArticlePaceText(0.0166), Text(u"1 article a minute"));
  EXPECT_EQ(ArticlePaceText(0.008), std::nullopt);
  EXPECT_EQ(ArticlePaceText(0), std::nullopt);
}

TEST(ArticlePaceTextTest, TwoFiguresOfLargeNumbersCount) {
  EXPECT_EQ(ArticlePaceText(99.4), Text(u"99 articles a second"));
  EXPECT_EQ(ArticlePaceText(123), Text(u"120 articles a second"));
  EXPECT_EQ(ArticlePaceText(126), Text(u"130 articles a second"));
  EXPECT_EQ(ArticlePaceText(1849), Text(u"1800 articles a second"));
  EXPECT_EQ(ArticlePaceText(99999), Text(u"100000 articles a second"));
}

TEST(BarTextTest, PercentageIsSaidWhenItChanges) {
  BarText bar;
  bar.Begin(0, 350, false);
  EXPECT_FALSE(bar.wants_time());
  EXPECT_EQ(bar.At(0, 0), Text(u"0%"));
  EXPECT_EQ(bar.At(0, 3), std::nullopt);
  EXPECT_EQ(bar.At(0, 4), Text(u"1%"));
  EXPECT_EQ(bar.At(0, 120), Text(u"34%"));
  EXPECT_EQ(bar.At(0, 350), Text(u"100%"));
  EXPECT_EQ(bar.At(0, 999), std::nullopt) << "never more";
}

TEST(BarTextTest, RangeOfNothingIsOneOfOne) {
  BarText bar;
  bar.Begin(0, 0, true);
  EXPECT_EQ(bar.At(0, 0), Text(u"0%"));
  EXPECT_EQ(bar.At(0, 1), Text(u"100%"));
}

TEST(BarTextTest, HugeRangesDoNotOverflow) {
  BarText bar;
  bar.Begin(0, static_cast<std::uint64_t>(-1), false);
  EXPECT_EQ(bar.At(0, static_cast<std::uint64_t>(-1) / 2), Text(u"50%"));
}

TEST(BarTextTest, NewRangeSaysItsFirstPercentageAgain) {
  BarText bar;
  bar.Begin(0, 10, false);
  EXPECT_EQ(bar.At(0, 0), Text(u"0%"));
  bar.Begin(0, 20, false);
  EXPECT_EQ(bar.At(0, 0), Text(u"0%"));
}

TEST(BarTextTest, TimeLeftIsSaidAfterThreeSecondsFourTimesASecond) {
  BarText bar;
  bar.Begin(1000, 1000000, true);
  EXPECT_TRUE(bar.wants_time());
  int changes = 0;
  Text last;
  for (std::uint64_t done = 10; done <= 400000; done += 10) {
    const std::uint64_t now = 1000 + done / 10;  // 10,000 a second: 100 seconds in all
    const Text text = bar.At(now, done);
    if (text) {
      ++changes;
      last = text;
    }
    if (now == 3900) {
      EXPECT_EQ(last, Text(u"2%"));
    } else if (now == 6000) {
      EXPECT_EQ(last, Text(u"5%, 1:35 left"));
    }
  }
  EXPECT_EQ(last, Text(u"40%, 1:00 left"));
  EXPECT_LT(changes, 120);
}

}  // namespace
}  // namespace quillet
