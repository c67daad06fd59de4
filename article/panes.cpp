// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/panes.h"

#include <array>
#include <vector>

#include "base/extensions.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/views.h"
#include "mime/shown_text.h"
#include "port/article_panes.h"
#include "port/clock.h"
#include "port/platform.h"
#include "res/resource.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "util/format.h"
#include "util/mail_date.h"

namespace quillet {
namespace {

bool gPanesForgotten = false;

const ResetAtEnd kReset([] { gPanesForgotten = false; });

// By the stored size 1 to 8, in pixels.
constexpr std::array<int, 8> kHeaderFontPixels = {8, 9, 10, 12, 14, 16, 18, 24};
constexpr std::uint32_t kDefaultHeaderFontSize = 3;

int HeaderFontPixels(std::uint32_t stored_size) {
  const bool known = stored_size >= 1 && stored_size <= kHeaderFontPixels.size();
  return kHeaderFontPixels[(known ? stored_size : kDefaultHeaderFontSize) - 1];
}

std::vector<port::ToolbarButton> ToolbarButtons() {
  return {
      {kCommandPreviousThread, 0, u"Previous Thread"},
      {kCommandPreviousArticle, 1, u"Previous Article"},
      {kCommandNextArticle, 2, u"Next Article"},
      {kCommandNextThread, 3, u"Next Thread"},
      {},
      {kCommandFind, 4, u"Find"},
      {},
      {kCommandDeleteShownArticle, 5, u"Delete Article"},
      {kCommandDeleteThread, 6, u"Delete Thread"},
  };
}

void CreateArticlePanes() {
  gPlatform->article.CreatePanes(gPrefs->articleheaderfont,
                                 HeaderFontPixels(gPrefs->articleheaderfontsize));
  gPanesForgotten = false;
  if (!gPlatform->article.CreateToolbar(ToolbarButtons())) {
    ReportError(u"No g_hArticleTB", u"DebugLoc");
  }
}

std::u16string PositionText(std::u16string_view format, const Position& position) {
  return FormatWide(format, position.number, position.count);
}

constexpr std::array<std::u16string_view, 7> kDays = {u"Sun", u"Mon", u"Tue", u"Wed",
                                                      u"Thu", u"Fri", u"Sat"};
constexpr std::array<std::u16string_view, 12> kMonths = {
    u"Jan", u"Feb", u"Mar", u"Apr", u"May", u"Jun", u"Jul", u"Aug", u"Sep", u"Oct", u"Nov", u"Dec"};

// "Sat 21 Nov 2026 10:05" of local time; what is no date as it stands.
std::u16string ShownDate(const std::string& stored) {
  if (ReadExtensions().rowdetails == 0) return {};
  const auto moment = ParseMailDate(stored);
  const auto local = moment ? gPlatform->clock.LocalTimeOf(*moment) : std::nullopt;
  if (!local) return ShownHeader(stored);
  const auto two_digits = [](int number) {
    return (number < 10 ? u"0" : u"") + FormatWide(u"%d", number);
  };
  return FormatWide(u"%ls %d %ls %d ", kDays[static_cast<std::size_t>(local->day_of_week)],
                    local->day, kMonths[static_cast<std::size_t>(local->month - 1)], local->year) +
         two_digits(local->hour) + u":" + two_digits(local->minute);
}

std::array<port::HeaderLine, 2> HeaderLines(const AsciiArticle& article) {
  std::array<port::HeaderLine, 2> lines;
  lines[0].left = u"Subject: " + ShownHeader(JoinedSubject(article.subject.value_or(""),
                                                           article.headers.value_or("")));
  lines[1].left = u"From: " + ShownHeader(article.from.value_or(""));
  lines[1].aside = ShownDate(article.date.value_or(""));
  // An article that is not in the shown tree has no place in it.
  if (article.node == nullptr) return lines;
  lines[0].right = PositionText(u"Thread %d/%d", ThreadPosition(*article.node));
  lines[1].right = PositionText(u"Article %d/%d", ArticlePosition(*article.node));
  return lines;
}

}  // namespace

void ForgetArticlePanes() {
  gPanesForgotten = true;
}

void ShowArticleTab() {
  if (gPanesForgotten || !gPlatform->article.PanesCreated()) CreateArticlePanes();
  SelectView(port::kArticleTab);
  gPlatform->article.FocusViewer();
}

void RefreshHeaderBar() {
  gPlatform->article.SetHeader(gReading.article ? HeaderLines(*gReading.article)
                                                : std::array<port::HeaderLine, 2>());
}

}  // namespace quillet
