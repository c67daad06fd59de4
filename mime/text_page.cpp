// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/text_page.h"

#include <algorithm>
#include <utility>

namespace quillet {

void TextPage::Put(std::u16string_view text) {
  if (text.empty()) return;
  Flush();
  const bool line_start = out_.empty() || fresh_;
  if (line_start && quotes_ > 0) out_.append(quotes_, u'>') += u' ';
  if (!line_start && space_) out_ += u' ';
  space_ = fresh_ = false;
  out_ += text;
}

void TextPage::EndLine(std::size_t count) {
  ends_ = std::max(ends_, count);
  space_ = false;
}

void TextPage::BreakLine() {
  ends_ = std::min<std::size_t>(ends_ + 1, 2);
  space_ = false;
}

void TextPage::NewLine() {
  Flush();
  out_ += u"\r\n";
  fresh_ = true;
}

std::u16string TextPage::Take() {
  if (!out_.empty() && !out_.ends_with(u"\r\n")) out_ += u"\r\n";
  return std::move(out_);
}

void TextPage::Flush() {
  if (!out_.empty() && ends_ > 0) {
    for (std::size_t i = fresh_ ? 1 : 0; i < ends_; ++i) out_ += u"\r\n";
    fresh_ = true;
  }
  ends_ = 0;
}

}  // namespace quillet
