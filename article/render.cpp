// SPDX-License-Identifier: GPL-3.0-or-later
// A pipeline in one pass: AddLinksToHTML cuts the text at its attachments and addresses,
// PieceWriter cuts the pieces at their hits, HtmlWriter escapes what arrives and colours each line
// when it ends. Hits and links are thus found in the text, never in mark-up that was written
// before.
#include "article/render.h"

#include <cstddef>
#include <cstdint>
#include <new>
#include <span>
#include <utility>

#include "base/prefs.h"
#include "util/first_place.h"
#include "util/format.h"

namespace quillet {
namespace {

using std::u16string;
using std::u16string_view;

constexpr u16string_view kLinkPrefix = u"http://";
constexpr u16string_view kOpenHighlight = u"<b><span style=\"background: #FFFF00\">";
constexpr u16string_view kCloseHighlight = u"</span></b>";
constexpr u16string_view kOpenQuote = u"<FONT COLOR=\"#C02020\">";
constexpr u16string_view kCloseQuote = u"</FONT>";
// A CR LF becomes "&nbsp;<br>". On purpose a lone CR comes out as "&" and a lone LF as the rest.
constexpr u16string_view kForCR = u"&";
constexpr u16string_view kForLF = u"nbsp;<br>";
constexpr u16string_view kEpilogue = u"&nbsp;<br></FONT>";

template <char16_t kWanted>
struct IsAt {
  const char16_t* text;
  std::uint16_t operator()(std::size_t place) const {
    return static_cast<std::uint16_t>(text[place] == kWanted);
  }
};

// The first place from `at` on with one of these characters, else the length.
template <char16_t... kWanted>
std::size_t FindFirst(u16string_view text, std::size_t at) {
  return FirstPlace(at, text.size(), IsAt<kWanted>{text.data()}...);
}

// The fragment while it grows: text is escaped, its quoted lines are coloured.
class HtmlWriter {
 public:
  HtmlWriter(u16string html, bool color_quoted)
      : html_(std::move(html)), line_start_(html_.size()), color_quoted_(color_quoted) {}

  void Reserve(std::size_t more) { html_.reserve(html_.size() + more); }
  void Tag(u16string_view tag) { html_.append(tag); }
  void EscapeHTML(u16string_view text) {
    for (std::size_t done = 0; done < text.size();) {
      const std::size_t at = FindFirst<u'&', u'<', u'>', u'\r', u'\n'>(text, done);
      html_.append(text.substr(done, at - done));
      if (at < text.size()) Special(text[at]);
      done = at + 1;
    }
  }
  u16string Finish() {
    ColorQuotedLine();
    html_.append(kEpilogue);
    return std::move(html_);
  }

 private:
  void Special(char16_t c) {
    switch (c) {
      case u'&':
        html_.append(u"&amp;");
        break;
      case u'<':
        html_.append(u"&lt;");
        break;
      case u'>':
        html_.append(u"&gt;");
        break;
      default:
        ColorQuotedLine();
        html_.append(c == u'\r' ? kForCR : kForLF);
        line_start_ = html_.size();
    }
  }
  // A line is quoted by how its HTML begins: on purpose one that begins with a tag never is.
  void ColorQuotedLine() {
    if (!color_quoted_ || line_start_ == html_.size()) return;
    const u16string_view line = u16string_view(html_).substr(line_start_);
    if (!IsQuoteChar(line.front()) && !line.starts_with(u"&gt;")) return;
    html_.insert(line_start_, kOpenQuote);
    html_.append(kCloseQuote);
  }

  u16string html_;
  std::size_t line_start_;
  bool color_quoted_;
};

// Writes the text piece by piece, with the hits in it.
class PieceWriter {
 public:
  PieceWriter(u16string_view text, std::span<const MatchRange> matches, HtmlWriter& html)
      : text_(text), matches_(matches), html_(html) {}

  // The piece from the end of the last one to `end`. A hit that goes on beyond it is opened here
  // and closed in a later piece.
  void HighlightMatches(std::size_t end) {
    const auto begin = static_cast<std::int64_t>(at_);
    const auto limit = static_cast<std::int64_t>(end);
    // A hit that ended exactly where this piece begins is not passed over: it is closed a second
    // time, on purpose.
    while (next_ < matches_.size() && matches_[next_].end < begin) ++next_;
    for (std::size_t i = next_; i < matches_.size() && matches_[i].start < limit; ++i) {
      if (matches_[i].start >= begin) Mark(matches_[i].start, kOpenHighlight);
      if (matches_[i].end <= limit) Mark(matches_[i].end, kCloseHighlight);
    }
    WriteTo(end);
  }

 private:
  void WriteTo(std::size_t end) {
    if (end <= at_) return;
    html_.EscapeHTML(text_.substr(at_, end - at_));
    at_ = end;
  }
  void Mark(std::int32_t at, u16string_view tags) {
    if (at > 0) WriteTo(static_cast<std::size_t>(at));
    html_.Tag(tags);
  }

  u16string_view text_;
  std::span<const MatchRange> matches_;
  HtmlWriter& html_;
  std::size_t at_ = 0;    // what has been written
  std::size_t next_ = 0;  // the first hit that may still matter
};

// The next "http://" from `from` on. Colons are rarer than the letter h.
std::size_t FindLink(u16string_view text, std::size_t from) {
  constexpr std::size_t kColon = kLinkPrefix.find(u':');
  for (std::size_t colon = FindFirst<u':'>(text, from); colon < text.size();
       colon = FindFirst<u':'>(text, colon + 1)) {
    if (colon < from + kColon) continue;
    if (text.substr(colon - kColon).starts_with(kLinkPrefix)) return colon - kColon;
  }
  return u16string_view::npos;
}

bool EndsAddress(char16_t c) {
  return c == u' ' || c == u'<' || c == u'"' || c == u'>' || c == u'\r' || c == u'\n';
}

bool IsTrimmed(char16_t c) {
  return c == u'.' || c == u',' || c == u'>' || c == u'<' || c == u' ' || c == u'"';
}

// One past the last character of the address that begins at `at`.
std::size_t AddressEnd(u16string_view text, std::size_t at) {
  std::size_t end = at;
  while (end < text.size() && !EndsAddress(text[end])) ++end;
  while (end > at && IsTrimmed(text[end - 1])) --end;
  return end;
}

// Addresses and attachments become links; the text between them and the text of each link are
// pieces of their own.
class LinkWriter {
 public:
  LinkWriter(u16string_view text, std::span<const MatchRange> matches, HtmlWriter& html)
      : text_(text), pieces_(text, matches, html), html_(html) {}

  // The addresses between the two places, and the text before each.
  void Addresses(std::size_t from, std::size_t to) {
    const u16string_view text = text_.substr(0, to);
    for (std::size_t at = FindLink(text, from); at != text.npos;) {
      const std::size_t end = AddressEnd(text, at);
      // The address goes in as it stands: nothing in it can end the attribute.
      Link(at, end, text.substr(at, end - at));
      at = FindLink(text, end);
    }
  }
  void Link(std::size_t start, std::size_t end, u16string_view target) {
    pieces_.HighlightMatches(start);
    html_.Tag(u"<a href=\"");
    html_.Tag(target);
    html_.Tag(u"\">");
    pieces_.HighlightMatches(end);
    html_.Tag(u"</a>");
  }
  void Rest() { pieces_.HighlightMatches(text_.size()); }

 private:
  u16string_view text_;
  PieceWriter pieces_;
  HtmlWriter& html_;
};

void AddLinksToHTML(u16string_view text, std::span<const MatchRange> matches,
                    std::span<const AttachmentLink> links, HtmlWriter& html) {
  LinkWriter writer(text, matches, html);
  std::size_t at = 0;
  for (const AttachmentLink& link : links) {
    if (link.start < at || link.end <= link.start || link.end > text.size()) continue;
    writer.Addresses(at, link.start);
    writer.Link(link.start, link.end, AttachmentTarget(link.part));
    at = link.end;
  }
  writer.Addresses(at, text.size());
  writer.Rest();
}

u16string FontPrologue(const Prefs& prefs) {
  if (prefs.font.empty() || prefs.font == u"<default>") {
    return FormatWide(u"<FONT SIZE=\"%d\">", prefs.fontsize);
  }
  // The name is the user's own and goes in as it stands.
  return FormatWide(u"<FONT FACE=\"%ls\" SIZE=\"%d\">", prefs.font, prefs.fontsize);
}

}  // namespace

u16string AttachmentTarget(std::size_t part) {
  return u16string(kAttachmentScheme) + FormatWide(u"%lu", part);
}

std::optional<u16string> ConvertTextToHTML(u16string_view text,
                                           const std::vector<MatchRange>& matches,
                                           std::span<const AttachmentLink> links) {
  try {
    HtmlWriter html(FontPrologue(*gPrefs), gPrefs->colorquoted != 0);
    // Enough for most articles; others make it grow.
    html.Reserve(text.size() + text.size() / 2 +
                 matches.size() * (kOpenHighlight.size() + kCloseHighlight.size()));
    AddLinksToHTML(text, matches, links, html);
    return html.Finish();
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

void Rot13String(u16string& text) {
  const auto turn = [](char16_t c, char16_t first) {
    return static_cast<char16_t>(first + (c - first + 13) % 26);
  };
  for (char16_t& c : text) {
    if (c >= u'a' && c <= u'z') {
      c = turn(c, u'a');
    } else if (c >= u'A' && c <= u'Z') {
      c = turn(c, u'A');
    }
  }
}

void RemoveCRs(u16string& text) {
  if (text.size() < 6) return;
  bool quoted = IsQuoteChar(text.front());
  for (std::size_t i = 2; i < text.size() - 3; ++i) {
    if (u16string_view(text).substr(i).starts_with(u"-- ")) return;
    if (text[i] != u'\r') continue;
    const char16_t next = text[i + 2];
    const bool keeps = quoted || text[i + 1] != u'\n' || text[i - 2] == u'\r' || next == u'\r' ||
                       IsQuoteChar(next) || next == u' ' || next == u'\t';
    if (!keeps) text[i] = text[i + 1] = u' ';
    // The character after a CR is its LF, so that on purpose only the first line is ever found
    // quoted.
    quoted = IsQuoteChar(text[i + 1]);
  }
}

}  // namespace quillet
