// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/flowed.h"

#include <algorithm>
#include <cstddef>

#include "mime/harmless.h"

namespace quillet {
namespace {

struct Line {
  std::size_t depth = 0;
  std::u16string_view text;
  bool signature = false;
  bool flows = false;  // goes on with the next line
};

Line Read(std::u16string_view raw) {
  Line line;
  line.depth = std::min(raw.find_first_not_of(u'>'), raw.size());
  raw.remove_prefix(line.depth);
  if (raw.starts_with(u' ')) raw.remove_prefix(1);  // put there so that no line looks like another
  line.text = raw;
  line.signature = raw == u"-- ";
  line.flows = !line.signature && raw.ends_with(u' ');
  return line;
}

std::u16string_view TakeLine(std::u16string_view& text) {
  const std::size_t end = LineEnd(text);
  const std::u16string_view line = text.substr(0, end);
  const std::size_t next = text.substr(end).starts_with(u"\r\n") ? end + 2 : end + 1;
  text.remove_prefix(std::min(next, text.size()));
  return line;
}

class Joiner {
 public:
  Joiner(std::u16string_view text, bool del_space) : text_(text), del_space_(del_space) {
    out_.reserve(text.size() + 2);
  }

  std::u16string Run() {
    while (!text_.empty()) Take(Read(TakeLine(text_)));
    End();
    return std::move(out_);
  }

 private:
  void Take(const Line& line) {
    if (!open_ || line.depth != depth_ || line.signature) Begin(line);
    std::u16string_view text = line.text;
    if (line.flows && del_space_) text.remove_suffix(1);
    out_ += text;
    if (!line.flows) End();
  }

  void Begin(const Line& line) {
    End();
    open_ = true;
    depth_ = line.depth;
    out_.append(depth_, u'>');
    if (depth_ > 0 && !line.text.empty()) out_ += u' ';
  }

  void End() {
    if (open_) out_ += u"\r\n";
    open_ = false;
  }

  std::u16string_view text_;
  bool del_space_;
  std::u16string out_;
  bool open_ = false;  // a paragraph that goes on
  std::size_t depth_ = 0;
};

}  // namespace

std::u16string JoinFlowed(std::u16string_view text, bool del_space) {
  return Joiner(text, del_space).Run();
}

}  // namespace quillet
