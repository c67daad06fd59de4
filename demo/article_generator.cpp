// SPDX-License-Identifier: GPL-3.0-or-later
// Every choice is drawn from one seeded generator in a fixed order, so that the same seed gives the
// same bytes; a choice added in the middle changes every later article. Replies choose their parent
// among the last few hundred articles, recent ones more often. What must be stored of an article is
// stated while it is made, never read back from its text.
#include "demo/article_generator.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "demo/article_head.h"
#include "util/format.h"

namespace quillet::demo {
namespace {

using namespace std::string_view_literals;

constexpr std::array kWords = {"the"sv,
                               "clock"sv,
                               "on"sv,
                               "wall"sv,
                               "was"sv,
                               "late"sv,
                               "again"sv,
                               "and"sv,
                               "nobody"sv,
                               "minded"sv,
                               "caf\xE9"sv,
                               "na\xEFve"sv,
                               "gr\xFC\xDF"sv,
                               "\x80"
                               "5"sv,
                               "\x93quoted\x94"sv,
                               "balcony"sv,
                               "rain"sv,
                               "from"sv,
                               "west"sv,
                               "with"sv,
                               "some"sv,
                               "wind"sv,
                               "function"sv,
                               "returns"sv,
                               "zero"sv,
                               "seeds"sv,
                               "before"sv,
                               "April"sv,
                               "http://www.example.com/a?b=c&d=e"sv};
constexpr std::size_t kRememberedArticles = 400;
constexpr std::size_t kLongestReferences = 900;

std::string Sentence(Random& random, std::size_t length) {
  std::string text;
  while (text.size() < length) {
    if (!text.empty()) text += ' ';
    text += random.Pick(kWords);
  }
  return text;
}

std::string StartedSentence(std::string_view start, Random& random, std::size_t length) {
  std::string text(start);
  return text.append(Sentence(random, length));
}

std::string BodyLine(Random& random) {
  switch (random.Below(24)) {
    case 0:
      return {};
    case 1:
      return ".";
    case 2:
      return StartedSentence("..", random, 20);
    case 3:
      return StartedSentence(".", random, 30);
    case 4:
      return StartedSentence("> ", random, 50);
    case 5:
      return Sentence(random, 50) + "   ";
    default:
      return Sentence(random, 30 + random.Below(40));
  }
}

// Bytes of a body: mostly short, some of several kilobytes, a few far too large for a small device.
std::size_t BodySize(Random& random) {
  const std::size_t kind = random.Below(2000);
  if (kind < 1200) return random.Between(200, 1300);
  if (kind < 1800) return random.Between(1300, 3900);
  if (kind < 1984) return random.Between(3900, 8000);
  if (kind < 1999) return random.Between(8000, 20000);
  return random.Between(70000, 90000);
}

std::vector<std::string> MakeBody(Random& random) {
  std::vector<std::string> lines;
  if (random.OneIn(250)) return lines;
  if (random.OneIn(40)) lines.push_back(Sentence(random, 800));
  const std::size_t wanted = BodySize(random);
  for (std::size_t size = 0; size < wanted; size += lines.back().size() + 2) {
    lines.push_back(BodyLine(random));
  }
  if (random.OneIn(3)) {
    lines.emplace_back("-- ");
    lines.emplace_back("written by nobody, for everybody");
  }
  return lines;
}

std::string Join(const std::vector<std::string>& parts, char between) {
  std::string text;
  for (const std::string& part : parts) {
    if (!text.empty()) text += between;
    text += part;
  }
  return text;
}

// Long lists lose Message-IDs behind the first, as posting programs do it.
std::string ReferencesFor(const std::string& references, const std::string& parent_id) {
  std::string all = references.empty() ? parent_id : references + " " + parent_id;
  while (all.size() > kLongestReferences) {
    const std::size_t second = all.find(' ') + 1;
    all.erase(second, all.find(' ', second) + 1 - second);
  }
  return all;
}

void FillHead(GeneratedArticle& article, const std::vector<HeaderLine>& head) {
  for (const HeaderLine& line : head) {
    article.head.push_back(line.name + ": " + line.value);
    if (!line.dropped) article.expected.kept.push_back(article.head.back());
    for (const std::string& more : line.continuation) {
      article.head.push_back(more);
      article.expected.kept.push_back(more);
    }
    article.expected.last_line_kept = !line.dropped || !line.continuation.empty();
    if (line.name == "Lines") article.expected.lines_header = article.body.size();
  }
}

void FillFields(ExpectedFields& expected, const std::vector<HeaderLine>& head) {
  expected.subject = FirstValue(head, Fills::kSubject);
  expected.from = FirstValue(head, Fills::kFrom);
  expected.date = FirstValue(head, Fills::kDate);
  expected.reply_to = FirstValue(head, Fills::kReplyTo);
  if (expected.reply_to.empty()) expected.reply_to = expected.from;
  const std::string references = FirstValue(head, Fills::kReferences);
  expected.parent_id = references.substr(references.rfind(' ') + 1);
}

}  // namespace

ArticleGenerator::ArticleGenerator(GeneratorOptions options)
    : options_(std::move(options)), random_(options_.seed) {
  if (options_.tangled) tangles_.emplace(options_.seed, options_.groups);
}

std::vector<std::string> ArticleGenerator::ChooseGroups() {
  const std::size_t count = options_.groups.size();
  const std::size_t first = random_.Below(count);
  std::vector<std::string> chosen{options_.groups[first]};
  if (count > 1 && random_.OneIn(10)) chosen.push_back(options_.groups[(first + 1) % count]);
  if (count > 2 && chosen.size() == 2 && random_.OneIn(5)) {
    chosen.push_back(options_.groups[(first + 2) % count]);
  }
  return chosen;
}

const ArticleGenerator::Seen* ArticleGenerator::ChooseParent() {
  if (recent_.empty() || random_.OneIn(4)) return nullptr;
  const std::size_t back = std::min(random_.Below(recent_.size()), random_.Below(recent_.size()));
  return &recent_[recent_.size() - 1 - back];
}

Place ArticleGenerator::ChoosePlace() {
  Place place;
  place.message_id = FormatNarrow("<%u.%u.%x@news.example.org>", options_.seed, index_,
                                  random_.Next() & 0xFFFFFFFFU);
  const Seen* parent = ChooseParent();
  place.groups = parent ? parent->groups : ChooseGroups();
  place.topic = parent ? parent->topic : RandomSubject(random_);
  place.subject = parent ? "Re: " + place.topic : place.topic;
  if (parent) place.references = ReferencesFor(parent->references, parent->message_id);
  if (tangles_) tangles_->Tangle(place, index_);
  return place;
}

GeneratedArticle ArticleGenerator::Next() {
  GeneratedArticle article;
  const Place place = ChoosePlace();
  article.message_id = place.message_id;
  article.groups = place.groups;
  article.body = MakeBody(random_);
  HeadPlan plan;
  plan.index = index_++;
  plan.message_id = place.message_id;
  plan.newsgroups = Join(place.groups, ',');
  plan.subject = place.subject;
  plan.references = place.references;
  plan.body_lines = article.body.size();
  const std::vector<HeaderLine> head = MakeHead(plan, random_);
  FillHead(article, head);
  FillFields(article.expected, head);
  recent_.push_back({place.message_id, place.references, place.topic, place.groups});
  if (recent_.size() > kRememberedArticles) recent_.pop_front();
  return article;
}

std::string WireText(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    if (line.starts_with('.')) text += '.';
    text += line;
    text += "\r\n";
  }
  return text;
}

}  // namespace quillet::demo
