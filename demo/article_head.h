// SPDX-License-Identifier: GPL-3.0-or-later
// The head of a generated article: its header lines, and what a reader is to find in them.
#pragma once

#include <string>
#include <vector>

#include "demo/random.h"

namespace quillet::demo {

// Which stored field a header fills.
enum class Fills { kNothing, kSubject, kFrom, kDate, kReplyTo, kReferences, kMessageId };

struct HeaderLine {
  std::string name;   // with its spelling
  std::string value;  // the first line
  std::vector<std::string> continuation;
  Fills fills = Fills::kNothing;
  bool dropped = false;  // a reader keeps the value elsewhere and drops the line
};

struct HeadPlan {
  std::string message_id;
  std::string newsgroups;
  std::string subject;
  std::string references;  // Message-IDs parted by blanks; empty for the start of a thread
  std::size_t index = 0;
  std::size_t body_lines = 0;
};

// The headers in the order in which they are sent.
std::vector<HeaderLine> MakeHead(const HeadPlan& plan, Random& random);

// The value of the first header that fills the field; empty when none does.
std::string FirstValue(const std::vector<HeaderLine>& head, Fills field);

std::string RandomAuthor(Random& random);
std::string RandomSubject(Random& random);

}  // namespace quillet::demo
