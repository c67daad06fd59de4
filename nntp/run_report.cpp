// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/run_report.h"

#include "base/progress_text.h"
#include "util/format.h"

namespace quillet {
namespace {

std::u16string_view EndText(const RunResult& result) {
  switch (result.end) {
    case RunEnd::kGoOn:
      return result.store_full ? u", store full" : u"";
    case RunEnd::kCancelled:
    case RunEnd::kSessionEnds:
      return u", cancelled";
    case RunEnd::kUnreachable:
      return u", no connection";
    case RunEnd::kLost:
      return u", connection lost";
    case RunEnd::kRefused:
      return u", refused by the server";
    case RunEnd::kStoreFailed:
      return u", store failed";
    case RunEnd::kNoMemory:
      return u", out of memory";
  }
  return u"";
}

std::u16string ArticlesText(const RunResult& result) {
  if (result.articles == 0) return u"No new articles";
  return FormatWide(u"%lu new article%ls in %lu group%ls", result.articles,
                    result.articles == 1 ? u"" : u"s", result.groups,
                    result.groups == 1 ? u"" : u"s");
}

}  // namespace

std::u16string RunReport(const RunResult& result) {
  std::u16string text = ArticlesText(result);
  if (result.posts > 0) text += FormatWide(u", %lu posted", result.posts);
  text += u", " + DurationText(result.seconds);
  text += EndText(result);
  return text + u".";
}

}  // namespace quillet
