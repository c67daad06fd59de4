// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/article/render_reference.h"

#include <algorithm>

namespace quillet::reference {
namespace {

bool At(const std::u16string& text, std::size_t at, const std::u16string& wanted) {
  return text.compare(at, wanted.size(), wanted) == 0;
}

std::u16string Between(const std::u16string& text, std::int64_t from, std::int64_t to) {
  const auto size = static_cast<std::int64_t>(text.size());
  from = std::clamp<std::int64_t>(from, 0, size);
  to = std::clamp<std::int64_t>(to, from, size);
  return text.substr(static_cast<std::size_t>(from), static_cast<std::size_t>(to - from));
}

}  // namespace

std::u16string ReplaceAllString(const std::u16string& text, const std::u16string& from,
                                const std::u16string& to, Matches& matches) {
  const int difference = static_cast<int>(to.size()) - static_cast<int>(from.size());
  std::u16string out;
  for (std::size_t at = 0; at < text.size();) {
    if (!At(text, at, from)) {
      out += text[at++];
      continue;
    }
    const int p = static_cast<int>(out.size());
    for (MatchRange& match : matches) {
      if (match.start > p) match.start += difference;
      if (match.end > p) match.end += difference;
    }
    out += to;
    at += from.size();
  }
  return out;
}

std::u16string HighlightMatches(const std::u16string& piece, Matches& matches) {
  const auto n = static_cast<int>(piece.size());
  std::u16string out;
  int emitted = 0;
  const auto emit_to = [&](int position) {
    out += Between(piece, emitted, position);
    emitted = std::max(emitted, position);
  };
  auto match = matches.begin();
  while (match != matches.end() && match->end < 0) ++match;
  while (match != matches.end() && match->start < n) {
    if (match->start >= 0) {
      emit_to(match->start);
      out += u"<b>";
      out += u"<span style=\"background: #FFFF00\">";
    }
    if (match->end <= n) {
      emit_to(match->end);
      out += u"</span>";
      out += u"</b>";
    }
    ++match;
  }
  emit_to(n);
  for (MatchRange& each : matches) {
    each.start -= n;
    each.end -= n;
  }
  return out;
}

std::u16string EscapeHTML(std::u16string piece, Matches& matches) {
  piece = ReplaceAllString(piece, u"&", u"&amp;", matches);
  piece = ReplaceAllString(piece, u"<", u"&lt;", matches);
  piece = ReplaceAllString(piece, u">", u"&gt;", matches);
  return HighlightMatches(piece, matches);
}

std::u16string AddLinksToHTML(const std::u16string& text, Matches& matches) {
  const std::u16string stops = u" <\">\r\n", trimmed = u".,>< \"";
  std::u16string out;
  std::size_t done = 0;
  while (true) {
    const std::size_t at = text.find(u"http://", done);
    if (at == std::u16string::npos) break;
    out += EscapeHTML(text.substr(done, at - done), matches);
    std::size_t end = at;
    while (end < text.size() && stops.find(text[end]) == std::u16string::npos) ++end;
    while (end > at && trimmed.find(text[end - 1]) != std::u16string::npos) --end;
    const std::u16string address = text.substr(at, end - at);
    out += u"<a href=\"" + address + u"\">" + EscapeHTML(address, matches) + u"</a>";
    done = end;
  }
  out += EscapeHTML(text.substr(done), matches);
  return out;
}

std::u16string ColorQuotedLines(const std::u16string& text) {
  std::u16string out;
  bool line_start = true, open = false;
  const auto close = [&] {
    if (open) out += u"</FONT>";
    open = false;
  };
  for (std::size_t at = 0; at < text.size();) {
    if (line_start && (text[at] == u'>' || text[at] == u':' || At(text, at, u"&gt;")) && !open) {
      out += u"<FONT COLOR=\"#C02020\">";
      open = true;
    }
    line_start = text[at] == u'\r' || text[at] == u'\n';
    if (line_start) close();
    if (At(text, at, u"&nbsp;<br>")) {
      close();
      out += u"&nbsp;<br>";
      at += 10;
      line_start = true;
    } else {
      out += text[at++];
    }
  }
  close();
  return out;
}

std::u16string ConvertTextToHTML(const std::u16string& text, const std::vector<MatchRange>& matches,
                                 bool color_quoted, const std::u16string& prologue) {
  Matches list(matches.begin(), matches.end()), none;
  std::u16string html = AddLinksToHTML(text, list);
  if (color_quoted) html = ColorQuotedLines(html);
  html = ReplaceAllString(html, u"\r", u"&", none);
  html = ReplaceAllString(html, u"\n", u"nbsp;<br>", none);
  return prologue + html + u"&nbsp;<br></FONT>";
}

}  // namespace quillet::reference
