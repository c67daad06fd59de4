// SPDX-License-Identifier: GPL-3.0-or-later
// The forerunners of an article, as its "References:" names them. Pure; any thread.
#pragma once

#include <string_view>

namespace quillet {

// The value of the first line of that name among kept header lines, with the lines that go on with
// it; empty when there is none. A line of another field that is not kept may have left its
// continuation below it, which is then taken for part of it: of no harm where only Message-IDs that
// are known are looked for.
std::string_view ReferencesField(std::string_view kept_headers);

// Its Message-IDs, from the last to the first. One is what stands in angle brackets, with whatever
// blanks are in it, or else a word. Nothing is copied.
class ReferencedIds {
 public:
  explicit ReferencedIds(std::string_view field) : rest_(field) {}

  std::string_view Next();  // empty: there are no more

 private:
  std::string_view rest_;
};

}  // namespace quillet
