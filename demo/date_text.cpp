// SPDX-License-Identifier: GPL-3.0-or-later
#include "demo/date_text.h"

#include <array>
#include <chrono>
#include <string_view>

namespace quillet::demo {
namespace {

using namespace std::string_view_literals;

constexpr std::array kWeekdays = {"Sun"sv, "Mon"sv, "Tue"sv, "Wed"sv, "Thu"sv, "Fri"sv, "Sat"sv};
constexpr std::array kMonths = {"Jan"sv, "Feb"sv, "Mar"sv, "Apr"sv, "May"sv, "Jun"sv,
                                "Jul"sv, "Aug"sv, "Sep"sv, "Oct"sv, "Nov"sv, "Dec"sv};

struct Moment {
  explicit Moment(std::int64_t seconds)
      : when(std::chrono::seconds{seconds}),
        days(std::chrono::floor<std::chrono::days>(when)),
        date(days),
        time(when - days) {}

  std::chrono::sys_seconds when;
  std::chrono::sys_days days;
  std::chrono::year_month_day date;
  std::chrono::hh_mm_ss<std::chrono::seconds> time;
};

std::string TwoDigits(long long number) {
  return (number < 10 ? "0" : "") + std::to_string(number);
}

std::string ClockTime(const Moment& moment, std::string_view between) {
  return TwoDigits(moment.time.hours().count()) + std::string(between) +
         TwoDigits(moment.time.minutes().count()) + std::string(between) +
         TwoDigits(moment.time.seconds().count());
}

}  // namespace

std::string CompactDate(std::int64_t seconds) {
  const Moment moment(seconds);
  return std::to_string(int{moment.date.year()}) + TwoDigits(unsigned{moment.date.month()}) +
         TwoDigits(unsigned{moment.date.day()}) + ClockTime(moment, "");
}

std::string MailDate(std::int64_t seconds, bool with_weekday) {
  const Moment moment(seconds);
  std::string text;
  if (with_weekday) {
    text = std::string(kWeekdays[std::chrono::weekday{moment.days}.c_encoding()]) + ", ";
  }
  return text + TwoDigits(unsigned{moment.date.day()}) + " " +
         std::string(kMonths[unsigned{moment.date.month()} - 1]) + " " +
         std::to_string(int{moment.date.year()}) + " " + ClockTime(moment, ":") + " +0000";
}

}  // namespace quillet::demo
