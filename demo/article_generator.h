// SPDX-License-Identifier: GPL-3.0-or-later
// News articles made by number: the same seed always gives the same articles, so that a server can
// serve them, a feed can send them and a check can say beforehand what must be stored of each.
// Any thread, one at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "demo/random.h"
#include "demo/tangles.h"

namespace quillet::demo {

// What a reader of the article is to find in it. Stated while the article is made, from its parts,
// never by reading the finished text.
struct ExpectedFields {
  std::string subject;
  std::string from;
  std::string date;
  std::string reply_to;           // the author when the article has none
  std::string parent_id;          // empty for the start of a thread
  std::vector<std::string> kept;  // the head without the lines that are kept as fields of their own
  bool last_line_kept = false;    // the last line of the head is the last one kept
  std::size_t lines_header = 0;   // value of the header "Lines:", 0 without it
};

struct GeneratedArticle {
  std::string message_id;
  std::vector<std::string> groups;
  std::vector<std::string> head;  // lines without their ends, continuation lines on their own
  std::vector<std::string> body;  // lines without their ends, dots not doubled
  ExpectedFields expected;
};

struct GeneratorOptions {
  std::uint64_t seed = 1;
  std::vector<std::string> groups;  // at least one
  bool tangled = false;             // threads as Tangles makes them, not as they should be
};

class ArticleGenerator {
 public:
  explicit ArticleGenerator(GeneratorOptions options);

  GeneratedArticle Next();

 private:
  struct Seen {
    std::string message_id;
    std::string references;
    std::string topic;  // the subject without reply marks
    std::vector<std::string> groups;
  };

  std::vector<std::string> ChooseGroups();
  const Seen* ChooseParent();
  Place ChoosePlace();

  GeneratorOptions options_;
  Random random_;
  std::size_t index_ = 0;
  std::deque<Seen> recent_;
  std::optional<Tangles> tangles_;
};

// The text as sent: every line ends in CR LF, a dot at a line start is doubled. Without the
// terminating ".\r\n".
std::string WireText(const std::vector<std::string>& lines);

}  // namespace quillet::demo
