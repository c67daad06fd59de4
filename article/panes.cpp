// SPDX-License-Identifier: GPL-3.0-or-later
#include "article/panes.h"

#include <array>
#include <vector>

#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/views.h"
#include "mime/shown_text.h"
#include "port/article_panes.h"
#include "port/platform.h"
#include "res/resource.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "util/format.h"

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

std::array<port::HeaderLine, 2> HeaderLines(const AsciiArticle& article) {
  std::array<port::HeaderLine, 2> lines;
  lines[0].left = u"Subject: " + ShownHeader(JoinedSubject(article.subject.value_or(""),
                                                           article.headers.value_or("")));
  lines[1].left = u"From: " + ShownHeader(article.from.value_or(""));
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
