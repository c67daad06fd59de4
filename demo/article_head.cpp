// SPDX-License-Identifier: GPL-3.0-or-later
// Each header line carries what a reader is to do with it: which field it fills, and whether it is
// dropped from the kept head. Odd spellings, folded lines and lookalike names are put in at fixed
// odds, then the lines are shuffled; a field is filled by the first line that a search would find.
#include "demo/article_head.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>
#include <utility>

#include "demo/date_text.h"
#include "util/format.h"

namespace quillet::demo {
namespace {

using namespace std::string_view_literals;

constexpr std::array kFirstNames = {"Ada"sv,  "Bruno"sv,   "Carla"sv,   "Dmitri"sv,
                                    "Elif"sv, "Finn"sv,    "Greta"sv,   "Hana"sv,
                                    "Ivo"sv,  "J\xF6rn"sv, "K\xE9vin"sv};
constexpr std::array kLastNames = {"Ahorn"sv,  "Birke"sv,   "Cedar"sv, "Distel"sv, "Erle"sv,
                                   "Fichte"sv, "Ginster"sv, "Hasel"sv, "Ilex"sv,   "J\xE4ger"sv};
constexpr std::array kTopics = {"watering cans"sv,
                                "the second hand of old clocks"sv,
                                "a loop that never ends"sv,
                                "tomatoes on the sill"sv,
                                "caf\xE9 tables"sv,
                                "parsing dates"sv,
                                "wind from the east"sv,
                                "=?ISO-8859-1?Q?Gr=FC=DFe_aus_K=F6ln?="sv,
                                "\x93quoted\x94 titles \x96 again"sv,
                                "=?UTF-8?B?4oKsIHVuZCDCow==?="sv};
constexpr std::array kOpenings = {"Question about"sv, "More on"sv, "Who knows"sv, "My notes on"sv,
                                  "Trouble with"sv};
constexpr std::array kAgents = {"Kestrel/2.1"sv, "slow-reader 0.9 (Linux)"sv, "Papyrus 4"sv};

constexpr std::int64_t kFirstDate = 1704704400;  // 8 January 2024, 9:00
// Above what a reader with a head buffer of ten kilobytes can take.
constexpr std::size_t kHugeHeadLines = 170;

HeaderLine Plain(std::string name, std::string value) {
  HeaderLine line;
  line.name = std::move(name);
  line.value = std::move(value);
  return line;
}

// A header that a reader keeps as a field; it is dropped from the head only in its usual spelling.
HeaderLine Field(std::string_view name, std::string value, Fills fills, Random& random,
                 bool droppable) {
  HeaderLine line = Plain(std::string(name), std::move(value));
  line.fills = fills;
  line.dropped = droppable;
  if (random.OneIn(60)) {
    std::transform(line.name.begin(), line.name.end(), line.name.begin(), [](unsigned char c) {
      return static_cast<char>(c >= 'A' && c <= 'Z' ? c + ('a' - 'A') : c);
    });
    line.dropped = false;
  }
  return line;
}

std::string DateOf(std::size_t index, bool with_weekday) {
  return MailDate(kFirstDate + static_cast<std::int64_t>(index) * 61, with_weekday);
}

HeaderLine SubjectLine(const HeadPlan& plan, Random& random) {
  HeaderLine line = Field("Subject", plan.subject, Fills::kSubject, random, true);
  if (random.OneIn(40)) {
    line.continuation.emplace_back(" and the rest of a folded title,");
    line.continuation.emplace_back("\ton three lines");
  }
  return line;
}

// At most three Message-IDs a line, the others on continuation lines.
HeaderLine ReferencesLine(const std::string& references, Random& random) {
  std::vector<std::string> lines;
  std::size_t in_line = 0;
  for (std::size_t at = 0; at < references.size();) {
    const std::size_t end = std::min(references.find(' ', at), references.size());
    const std::string id = references.substr(at, end - at);
    if (in_line % 3 == 0) {
      lines.push_back(id);
    } else {
      lines.back() += " " + id;
    }
    ++in_line;
    at = end + 1;
  }
  HeaderLine line = Field("References", lines.front(), Fills::kReferences, random, false);
  for (std::size_t i = 1; i < lines.size(); ++i) line.continuation.push_back(" " + lines[i]);
  return line;
}

// Headers whose names end like another one's, so that a search for the other one may find them.
void AddLookalikes(std::vector<HeaderLine>& head, const HeadPlan& plan, Random& random) {
  if (random.OneIn(120)) {
    head.push_back(Plain("X-Old-Subject", "what it was called before"));
    head.back().fills = Fills::kSubject;
  }
  if (random.OneIn(80)) {
    head.push_back(Plain("Injection-Date", DateOf(plan.index + 1, true)));
    head.back().fills = Fills::kDate;
  }
  if (!plan.references.empty() && random.OneIn(50)) {
    head.push_back(Plain("In-Reply-To", plan.references.substr(plan.references.rfind(' ') + 1)));
    head.back().fills = Fills::kReplyTo;
  }
}

void AddOptional(std::vector<HeaderLine>& head, const HeadPlan& plan, Random& random) {
  if (random.OneIn(3)) {
    head.push_back(Field("Reply-To", RandomAuthor(random), Fills::kReplyTo, random, true));
  }
  if (random.OneIn(3)) head.push_back(Plain("Lines", std::to_string(plan.body_lines)));
  if (random.OneIn(2)) head.push_back(Plain("User-Agent", std::string(random.Pick(kAgents))));
  if (random.OneIn(3)) head.push_back(Plain("Organization", "The Society of Invented People"));
  if (random.OneIn(4)) {
    head.push_back(Plain("Content-Type", "text/plain; charset=windows-1252"));
    head.push_back(Plain("Content-Transfer-Encoding", "8bit"));
  }
  if (random.OneIn(30)) {
    head.push_back(Plain("X-Comment", "a header of several lines,"));
    head.back().continuation.emplace_back("\tfolded with a tab,");
    head.back().continuation.emplace_back("   and with blanks: yes");
  }
  if (random.OneIn(2500)) {
    head.push_back(Plain("X-Filler", "a head too large to be taken"));
    for (std::size_t i = 0; i < kHugeHeadLines; ++i) {
      head.back().continuation.push_back(FormatNarrow(" %u %s", i, std::string(64, 'x')));
    }
  }
}

void Shuffle(std::vector<HeaderLine>& head, Random& random) {
  for (std::size_t i = head.size(); i > 1; --i) std::swap(head[i - 1], head[random.Below(i)]);
}

}  // namespace

std::string RandomAuthor(Random& random) {
  const std::string first(random.Pick(kFirstNames));
  const std::string last(random.Pick(kLastNames));
  const std::size_t number = random.Below(1000);
  return FormatNarrow("%s %s <user%u@mail%u.example.net>", first, last, number, number % 7);
}

std::string RandomSubject(Random& random) {
  const std::string opening(random.Pick(kOpenings));
  return opening + " " + std::string(random.Pick(kTopics));
}

std::vector<HeaderLine> MakeHead(const HeadPlan& plan, Random& random) {
  std::vector<HeaderLine> head;
  head.push_back(Plain("Path", "news.example.org!not-for-mail"));
  head.push_back(Field("From", RandomAuthor(random), Fills::kFrom, random, true));
  head.push_back(Plain("Newsgroups", plan.newsgroups));
  head.push_back(SubjectLine(plan, random));
  head.push_back(Field("Date", DateOf(plan.index, !random.OneIn(5)), Fills::kDate, random, true));
  head.push_back(Field("Message-ID", plan.message_id, Fills::kMessageId, random, true));
  if (!plan.references.empty()) head.push_back(ReferencesLine(plan.references, random));
  AddOptional(head, plan, random);
  AddLookalikes(head, plan, random);
  Shuffle(head, random);
  return head;
}

std::string FirstValue(const std::vector<HeaderLine>& head, Fills field) {
  const auto found = std::find_if(head.begin(), head.end(),
                                  [&](const HeaderLine& line) { return line.fills == field; });
  return found == head.end() ? std::string() : found->value;
}

}  // namespace quillet::demo
