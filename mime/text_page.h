// SPDX-License-Identifier: GPL-3.0-or-later
// Lines of text that are made piece by piece, with the blanks and line ends between that the pieces
// ask for. A thread's own.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

class TextPage {
 public:
  explicit TextPage(std::size_t size) { out_.reserve(size); }

  // On the line where the last piece ended, unless something was asked for between.
  void Put(std::u16string_view text);
  // A blank before the next piece, when that stands on the same line.
  void Space() { space_ = true; }
  // At least that many line ends before the next piece.
  void EndLine(std::size_t count);
  // One more line end, two at the most.
  void BreakLine();
  // A line end now, as in text that is laid out already.
  void NewLine();
  // Every line begins with that many ">" signs.
  void set_quotes(std::size_t quotes) { quotes_ = quotes; }

  bool AtLineStart() const { return out_.empty() || ends_ > 0 || fresh_; }
  bool has_space() const { return space_; }
  std::size_t size() const { return out_.size(); }
  std::u16string_view From(std::size_t place) const {
    return std::u16string_view(out_).substr(place);
  }

  // All of it, the last line ended; once.
  std::u16string Take();

 private:
  void Flush();

  std::u16string out_;
  bool space_ = false;
  bool fresh_ = false;    // at the start of a line
  std::size_t ends_ = 0;  // asked for
  std::size_t quotes_ = 0;
};

}  // namespace quillet
