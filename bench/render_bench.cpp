// SPDX-License-Identifier: GPL-3.0-or-later
// An article as HTML against a plain copy of its text, and a long article against one of a tenth of
// its length, both with and without hits, taken in turns.
//
// usage: render_bench [ROUNDS]; ends with 1 when a ratio is above its target.

#include <malloc.h>

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "article/render.h"
#include "base/prefs.h"
#include "bench/measure.h"
#include "mime/find_text.h"

namespace quillet {
namespace {

constexpr double kCopyTarget = 20, kLengthTarget = 12;
constexpr unsigned kLines = 14000, kLinks = 2000, kQuoted = 5000;

// A line of about 71 characters; one in seven has a link, five in fourteen are quoted.
std::u16string MakeLine(unsigned number) {
  std::u16string line = number % 14 < 5 ? u"> " : u"";
  if (number % 7 == 0) line += u"see http://www.example.org/path?a=1&b=2, ";
  if (number % 3 == 0) line += u"a needle ";
  while (line.size() < 71) line += u"plain words and some more; ";
  return line.substr(0, 71) + u"\r\n";
}

std::u16string MakeArticle(unsigned lines) {
  std::u16string text;
  for (unsigned i = 0; i < lines; ++i) text += MakeLine(i);
  return text;
}

std::vector<MatchRange> FindAll(const std::u16string& text) {
  return FindMatches(text, u"needle", {});
}

double TimeCopy(const std::u16string& text) {
  std::u16string copy;
  const double time = ProcessorMilliseconds([&] { copy = text; });
  Require(copy.back() == u'\n', "copying");
  return time;
}

double TimeHTML(const std::u16string& text, const std::vector<MatchRange>& matches) {
  std::optional<std::u16string> html;
  const double time = ProcessorMilliseconds([&] { html = ConvertTextToHTML(text, matches); });
  Require(html && html->size() > text.size(), "converting");
  return time;
}

bool Measure(const char* name, bool with_hits, unsigned rounds) {
  const std::u16string text = MakeArticle(kLines), tenfold = MakeArticle(10 * kLines);
  std::vector<MatchRange> hits, tenfold_hits;
  if (with_hits) {
    hits = FindAll(text);
    tenfold_hits = FindAll(tenfold);
  }
  std::vector<double> copy, html, long_html;
  for (unsigned i = 0; i < rounds; ++i) {
    copy.push_back(TimeCopy(text));
    html.push_back(TimeHTML(text, hits));
    long_html.push_back(TimeHTML(tenfold, tenfold_hits));
  }
  const double to_copy = Median(html) / Median(copy), to_length = Median(long_html) / Median(html);
  std::printf(
      "%s: %zu characters, %zu hits: copy %.3f ms, HTML %.3f ms: ratio %.1f (target %.0f)\n", name,
      text.size(), hits.size(), Median(copy), Median(html), to_copy, kCopyTarget);
  std::printf("%s: %zu characters, %zu hits: HTML %.3f ms: ratio to a tenth %.1f (target %.0f)\n",
              name, tenfold.size(), tenfold_hits.size(), Median(long_html), to_length,
              kLengthTarget);
  return to_copy <= kCopyTarget && to_length <= kLengthTarget;
}

int Run(unsigned rounds) {
  static_assert(kLines / 7 == kLinks && kLines / 14 * 5 == kQuoted);
  gPrefs = std::make_unique<Prefs>();
  gPrefs->font = u"Arial";
  gPrefs->fontsize = 2;
  gPrefs->colorquoted = 1;
  const bool plain = Measure("without hits", false, rounds);
  const bool hits = Measure("with hits", true, rounds);
  return plain && hits ? 0 : 1;
}

}  // namespace
}  // namespace quillet

int main(int argc, char** argv) {
  // Freed memory is used again whatever its size: it is not the fresh pages of the system that are
  // measured, which only the long article would have to pay for.
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, -1);
  return quillet::Run(quillet::Argument(argc, argv, 1, 15));
}
