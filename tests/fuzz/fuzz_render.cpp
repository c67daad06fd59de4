// SPDX-License-Identifier: GPL-3.0-or-later
// Any text with any hits and attachments as HTML: what comes out is read back by a strict reader of
// exactly the tags that are written, and must say the same text.
//
// Input: a byte of choices, a byte of how many hits, two bytes a hit (gap, length), then the text;
// with the third choice set every byte of it stands for one of the parts below, with the fourth a
// byte of how many attachments and three bytes an attachment (signed gap, length, part) stand
// before it.
#include <array>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "article/render.h"
#include "base/prefs.h"
#include "mime/find_text.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace {

void Require(bool holds) {
  if (!holds) std::abort();
}

constexpr std::array<std::string_view, 20> kParts = {
    "http://", "&", "<", ">",         "\"",   "\r", "\n", "\r\n",    ":",    " ",
    ".",       ",", "a", "nbsp;<br>", "&gt;", "b",  "\t", "</FONT>", "amp;", "<a href=\"x\">"};

struct Input {
  unsigned choices = 0;
  std::vector<quillet::MatchRange> matches;
  std::vector<quillet::AttachmentLink> links;
  std::u16string text;
};

Input ReadInput(std::string_view bytes) {
  Input input;
  const auto next = [&] {
    if (bytes.empty()) return 0;
    const int byte = static_cast<unsigned char>(bytes.front());
    bytes.remove_prefix(1);
    return byte;
  };
  input.choices = static_cast<unsigned>(next());
  int at = 0;
  for (int left = next(); left > 0; --left) {
    const int start = at + next(), end = start + 1 + next();
    input.matches.push_back({start, end});
    at = end;
  }
  std::size_t link_at = 0;
  for (int left = (input.choices & 8) != 0 ? next() : 0; left > 0; --left) {
    // A gap below nothing lays it over the one before, or before the text's beginning.
    const int gap = next() - 16;
    const std::size_t start = link_at + static_cast<std::size_t>(gap);
    const std::size_t end = start + static_cast<std::size_t>(next());
    input.links.push_back({start, end, static_cast<std::size_t>(next())});
    link_at = end;
  }
  if ((input.choices & 4) == 0) {
    input.text = quillet::Widen(bytes);
  } else {
    for (const char c : bytes) {
      input.text += quillet::Widen(kParts[static_cast<unsigned char>(c) % kParts.size()]);
    }
  }
  return input;
}

// Walks over the fragment and the text that it must say.
class Reader {
 public:
  Reader(std::u16string_view html, std::u16string_view text,
         std::vector<quillet::AttachmentLink> links, bool color_quoted)
      : html_(html), text_(text), links_(std::move(links)), color_quoted_(color_quoted) {}

  void Run() {
    while (!html_.empty()) {
      if (html_.front() == u'<') {
        Require(Tag());
      } else {
        Character();
      }
    }
    Require(at_ == text_.size() && address_.empty() && !in_attachment_ && !in_quote_);
    Require(next_link_ == links_.size());
  }
  std::size_t highlights() const { return highlights_; }
  std::size_t closings() const { return closings_; }

 private:
  bool Skip(std::u16string_view wanted) {
    if (!html_.starts_with(wanted)) return false;
    html_.remove_prefix(wanted.size());
    return true;
  }
  bool AtLineStart() const {
    return at_ == 0 || text_[at_ - 1] == u'\r' || text_[at_ - 1] == u'\n';
  }
  bool AtLineEnd() const {
    return at_ == text_.size() || text_[at_] == u'\r' || text_[at_] == u'\n';
  }

  bool Tag() {
    if (Skip(u"<a href=\"attachment:")) return OpenAttachment();
    if (Skip(u"<a href=\"")) return OpenLink();
    if (Skip(u"</a>")) return CloseLink();
    if (Skip(u"<b><span style=\"background: #FFFF00\">")) return ++highlights_ > 0;
    if (Skip(u"</span></b>")) return ++closings_ > 0;
    if (Skip(u"<FONT COLOR=\"#C02020\">")) {
      Require(color_quoted_ && !in_quote_ && AtLineStart());
      Require(text_[at_] == u'>' || text_[at_] == u':');
      return in_quote_ = true;
    }
    if (!Skip(u"</FONT>")) return false;
    Require(in_quote_ && AtLineEnd());
    in_quote_ = false;
    return true;
  }
  bool OpenAttachment() {
    Require(address_.empty() && !in_attachment_ && next_link_ < links_.size());
    const quillet::AttachmentLink& link = links_[next_link_];
    Require(link.start == at_);
    Require(Skip(quillet::Widen(std::to_string(link.part)) + u"\">"));
    return in_attachment_ = true;
  }
  bool OpenLink() {
    Require(address_.empty() && !in_attachment_);
    const std::size_t end = html_.find(u'"');
    Require(end != html_.npos && html_.substr(end).starts_with(u"\">"));
    address_ = html_.substr(0, end);
    Require(address_.starts_with(u"http://"));
    Require(address_.find_first_of(u" <>\r\n") == address_.npos);
    Require(text_.substr(at_).starts_with(address_));
    link_start_ = at_;
    html_.remove_prefix(end + 2);
    return true;
  }
  bool CloseLink() {
    if (in_attachment_) {
      Require(links_[next_link_++].end == at_);
      in_attachment_ = false;
      return true;
    }
    Require(!address_.empty() && at_ == link_start_ + address_.size());
    address_ = {};
    return true;
  }
  // A lone CR and an escaped character both begin with an ampersand; the text says which it is.
  void Character() {
    Require(at_ < text_.size());
    const char16_t wanted = text_[at_++];
    switch (wanted) {
      case u'&':
        return Require(Skip(u"&amp;"));
      case u'<':
        return Require(Skip(u"&lt;"));
      case u'>':
        return Require(Skip(u"&gt;"));
      case u'\r':
        return Require(!in_quote_ && Skip(u"&"));
      case u'\n':
        return Require(!in_quote_ && Skip(u"nbsp;<br>"));
      default:
        return Require(Skip(std::u16string_view(&wanted, 1)));
    }
  }

  std::u16string_view html_, text_, address_;
  std::vector<quillet::AttachmentLink> links_;
  std::size_t at_ = 0, link_start_ = 0, next_link_ = 0, highlights_ = 0, closings_ = 0;
  bool in_quote_ = false;
  bool in_attachment_ = false;
  bool color_quoted_;
};

// Those of the attachments that lie in the text, none over one before it.
std::vector<quillet::AttachmentLink> UsableLinks(const Input& input) {
  std::vector<quillet::AttachmentLink> usable;
  std::size_t at = 0;
  for (const quillet::AttachmentLink& link : input.links) {
    if (link.start < at || link.start >= link.end || link.end > input.text.size()) continue;
    usable.push_back(link);
    at = link.end;
  }
  return usable;
}

void CheckHTML(const Input& input) {
  const auto html = quillet::ConvertTextToHTML(input.text, input.matches, input.links);
  Require(html.has_value());
  std::u16string_view inside = *html;
  const std::u16string_view before =
      quillet::gPrefs->font.empty() ? u"<FONT SIZE=\"8\">" : u"<FONT FACE=\"Arial\" SIZE=\"8\">";
  const std::u16string_view after = u"&nbsp;<br></FONT>";
  Require(inside.starts_with(before) && inside.ends_with(after));
  inside.remove_prefix(before.size());
  inside.remove_suffix(after.size());
  Reader reader(inside, input.text, UsableLinks(input), quillet::gPrefs->colorquoted != 0);
  reader.Run();
  std::size_t opened = 0, closed = 0;
  for (const quillet::MatchRange& match : input.matches) {
    opened += static_cast<std::size_t>(match.start) < input.text.size();
    closed += static_cast<std::size_t>(match.end) <= input.text.size();
  }
  Require(reader.highlights() == opened && reader.closings() >= closed);
}

void CheckTransforms(const std::u16string& text) {
  std::u16string turned = text;
  quillet::Rot13String(turned);
  quillet::Rot13String(turned);
  Require(turned == text);
  std::u16string joined = text;
  quillet::RemoveCRs(joined);
  Require(joined.size() == text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool line_end = text[i] == u'\r' || (i > 0 && text[i] == u'\n' && text[i - 1] == u'\r');
    Require(joined[i] == text[i] || (line_end && joined[i] == u' '));
  }
}

// Whatever is found can be highlighted.
void CheckFinding(const std::u16string& text) {
  const std::u16string wanted = text.substr(text.size() / 2, text.size() % 5);
  const quillet::MatchOptions options{(text.size() & 8) != 0, (text.size() & 16) != 0};
  int last = 0;
  for (const quillet::MatchRange& match : quillet::FindMatches(text, wanted, options)) {
    Require(match.start >= last && match.end > match.start);
    Require(match.end <= static_cast<int>(text.size()));
    const std::u16string found = text.substr(static_cast<std::size_t>(match.start),
                                             static_cast<std::size_t>(match.end - match.start));
    // Folding may change the number of characters.
    Require(options.match_case ? found == wanted : quillet::Fold(found) == quillet::Fold(wanted));
    last = match.end;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string bytes(reinterpret_cast<const char*>(data), size);
  const Input input = ReadInput(bytes);
  quillet::gPrefs = std::make_unique<quillet::Prefs>();
  quillet::gPrefs->colorquoted = input.choices & 1;
  quillet::gPrefs->font = (input.choices & 2) != 0 ? u"Arial" : u"";
  quillet::gPrefs->fontsize = 8;
  CheckHTML(input);
  CheckTransforms(input.text);
  CheckFinding(quillet::Widen(bytes));
  return 0;
}
