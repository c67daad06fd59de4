// SPDX-License-Identifier: GPL-3.0-or-later
// One pass over the parts of the date, each a word or a number; what lies between two parts is
// skipped before each. The count of days is that of the proleptic Gregorian calendar by eras of 400
// years that begin in March, so that the day that is not in every year comes last.
#include "util/mail_date.h"

#include <array>
#include <cstddef>

namespace quillet {
namespace {

constexpr int kMostDigits = 9;  // more are no number of a date, and would not fit

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}
bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool IsWord(std::string_view text, std::string_view lower) {
  if (text.size() != lower.size()) return false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (Lower(text[i]) != lower[i]) return false;
  }
  return true;
}

struct Number {
  int value = 0;
  int digits = 0;
};

class Parts {
 public:
  explicit Parts(std::string_view text) : text_(text) {}

  bool AtEnd() {
    SkipBetween();
    return at_ >= text_.size();
  }
  bool Take(char c) {
    SkipBetween();
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  // Empty when there is no letter.
  std::string_view Word() {
    SkipBetween();
    const std::size_t first = at_;
    while (at_ < text_.size() && IsLetter(text_[at_])) ++at_;
    return text_.substr(first, at_ - first);
  }
  std::optional<Number> Digits() {
    SkipBetween();
    Number number;
    for (; at_ < text_.size() && IsDigit(text_[at_]); ++at_) {
      if (++number.digits > kMostDigits) return std::nullopt;
      number.value = number.value * 10 + (text_[at_] - '0');
    }
    if (number.digits == 0) return std::nullopt;
    return number;
  }

 private:
  // Blanks, line ends and comments, which may hold each other. One that does not end takes the
  // rest.
  void SkipBetween() {
    int depth = 0;
    for (; at_ < text_.size(); ++at_) {
      const char c = text_[at_];
      if (c == '(') {
        ++depth;
      } else if (depth > 0) {
        if (c == '\\') ++at_;
        if (c == ')') --depth;
      } else if (c != ' ' && c != '\t' && c != '\r' && c != '\n') {
        return;
      }
    }
    at_ = text_.size();  // a backslash may have stood last
  }

  std::string_view text_;
  std::size_t at_ = 0;
};

constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                      "jul", "aug", "sep", "oct", "nov", "dec"};

// "November" is as good as "Nov".
unsigned MonthOf(std::string_view word) {
  if (word.size() < 3) return 0;
  for (unsigned i = 0; i < kMonths.size(); ++i) {
    if (IsWord(word.substr(0, 3), kMonths[i])) return i + 1;
  }
  return 0;
}

bool IsLeap(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

int DaysIn(unsigned month, int year) {
  if (month == 2) return IsLeap(year) ? 29 : 28;
  return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// Two digits from 50 on and all of three count from 1900, two below 50 from 2000.
int FullYear(const Number& number) {
  if (number.digits == 3) return number.value + 1900;
  if (number.digits > 2) return number.value;
  return number.value + (number.value < 50 ? 2000 : 1900);
}

struct Zone {
  std::string_view name;
  int hours = 0;
};

constexpr std::array<Zone, 8> kZones = {{{"est", -5},
                                         {"edt", -4},
                                         {"cst", -6},
                                         {"cdt", -5},
                                         {"mst", -7},
                                         {"mdt", -6},
                                         {"pst", -8},
                                         {"pdt", -7}}};

// Seconds ahead of UTC. A letter alone was used in both senses, so it says nothing, as a name that
// nobody knows.
int NamedZone(std::string_view name) {
  for (const Zone& zone : kZones) {
    if (IsWord(name, zone.name)) return zone.hours * 3600;
  }
  return 0;
}

std::optional<int> TakeZone(Parts& parts) {
  const bool behind = parts.Take('-');
  if (behind || parts.Take('+')) {
    const auto number = parts.Digits();
    if (!number || number->digits != 4 || number->value % 100 >= 60) return std::nullopt;
    const int ahead = number->value / 100 * 3600 + number->value % 100 * 60;
    return behind ? -ahead : ahead;
  }
  return NamedZone(parts.Word());
}

// Seconds of the day.
std::optional<int> TakeTime(Parts& parts) {
  const auto hour = parts.Digits();
  if (!hour || hour->value > 23 || !parts.Take(':')) return std::nullopt;
  const auto minute = parts.Digits();
  if (!minute || minute->value > 59) return std::nullopt;
  int seconds = hour->value * 3600 + minute->value * 60;
  if (!parts.Take(':')) return seconds;
  const auto second = parts.Digits();
  if (!second || second->value > 60) return std::nullopt;  // 60: a second was put in
  return seconds + second->value;
}

// Days since 1970.
std::optional<std::int64_t> TakeDay(Parts& parts) {
  const auto day = parts.Digits();
  if (!day) return std::nullopt;
  parts.Take('-');  // "21-Nov-94"
  const unsigned month = MonthOf(parts.Word());
  parts.Take('-');
  const auto number = parts.Digits();
  if (month == 0 || !number || number->digits < 2) return std::nullopt;
  const int year = FullYear(*number);
  if (year < 1900 || year > 9999) return std::nullopt;
  if (day->value < 1 || day->value > DaysIn(month, year)) return std::nullopt;
  return DaysSince1970(year, month, static_cast<unsigned>(day->value));
}

}  // namespace

std::int64_t DaysSince1970(std::int64_t year, unsigned month, unsigned day) {
  const std::int64_t y = month <= 2 ? year - 1 : year;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto year_of_era = static_cast<unsigned>(y - era * 400);
  const unsigned day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
  const unsigned day_of_era = year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year;
  constexpr std::int64_t kDaysOfEra = 146097;
  constexpr std::int64_t kDaysTo1970 = 719468;  // from 1 March of the year 0
  return era * kDaysOfEra + static_cast<std::int64_t>(day_of_era) - kDaysTo1970;
}

std::optional<std::int64_t> ParseMailDate(std::string_view text) {
  Parts parts(text);
  if (!parts.Word().empty()) parts.Take(',');  // the name of the day, which is not compared
  const auto days = TakeDay(parts);
  if (!days) return std::nullopt;
  const auto seconds = TakeTime(parts);
  if (!seconds) return std::nullopt;
  const auto ahead = TakeZone(parts);
  if (!ahead || !parts.AtEnd()) return std::nullopt;
  return *days * 86400 + *seconds - *ahead;
}

}  // namespace quillet
