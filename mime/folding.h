// SPDX-License-Identifier: GPL-3.0-or-later
// Letters without regard to case: the full case folding of Unicode, as it stands in no language's
// own rules (so I becomes i in Turkish text, too). Accents stay as they were typed: nothing is
// composed or decomposed. Pure; any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "util/ascii.h"

namespace quillet {

// A-Z become a-z, other units stay.
std::u16string FoldAscii(std::u16string_view shown);
// Every character as Unicode folds it; one may become up to three. Halves of surrogate pairs that
// stand alone stay.
std::u16string FoldFully(std::u16string_view shown);

// Text folded by FoldFully that knows where each character comes from.
class FoldedText {
 public:
  explicit FoldedText(std::u16string_view shown);

  const std::u16string& text() const { return text_; }

  // A place in the folded text and the same place in the shown one.
  struct Place {
    bool whole = false;  // false: inside what one character has become
    std::size_t shown = 0;
  };
  // Answers for places that never fall, all of them in the time of one walk along the text.
  class Walk {
   public:
    explicit Walk(const FoldedText& folded) : folded_(&folded) {}
    Place At(std::size_t place);

   private:
    const FoldedText* folded_;
    std::size_t next_ = 0;  // the first expansion beyond the last place
  };

 private:
  // A character that has become longer.
  struct Expansion {
    std::size_t folded = 0, shown = 0;  // where it begins
    std::uint8_t folded_length = 0, shown_length = 0;
  };

  std::u16string text_;
  std::vector<Expansion> expansions_;
};

}  // namespace quillet
