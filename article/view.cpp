#include "article/view.h"

#include <algorithm>
#include <new>

#include "article/message_body.h"
#include "article/panes.h"
#include "article/render.h"
#include "base/app_messages.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/wait_cursor.h"
#include "mime/shown_text.h"
#include "port/article_panes.h"
#include "port/platform.h"
#include "store/counts.h"
#include "thread/labels.h"
#include "thread/view.h"

namespace quillet {
namespace {

bool gPlainText = false;
// The group that the current article was opened from, by its name: the index of a group changes
// with the list.
std::u16string gOpenedFromGroup;

int GroupOfTree() {
  return gThreadGroup >= 0 ? gThreadGroup : gCurrentGroup;
}

void KeepGroupName() {
  const std::size_t index = static_cast<std::size_t>(GroupOfTree());
  gOpenedFromGroup = index < gPrefs->groups.size() ? gPrefs->groups[index] : u"";
}

// The viewer shows nothing new until the end of its source is told: where another article follows,
// no empty page flashes up in between.
void DropCurrentArticle() {
  gCurrentArticle.reset();
  gOpenedFromGroup.clear();
  gPlatform->article.ClearViewer();
}

void MarkShownArticleRead() {
  const AsciiArticle& article = *gCurrentArticle;
  if (article.body.value_or("").empty() || article.messageId.value_or("").empty()) return;
  // Two nodes may stand for one article: each is marked when it is opened.
  const bool read = article.read != 0 && (article.node == nullptr || article.node->read != 0);
  if (read) return;
  SetArticleRead(*gCurrentArticle, gCurrentArticle->node, true, GroupOfCurrentArticle());
  ShowChangedReadFlag();
}

void OpenArticle(Node& node) {
  if (node.messageId.empty()) return;
  gCurrentArticle = FetchArticle(node.messageId);
  if (!gCurrentArticle) return;
  gCurrentArticle->node = &node;
  KeepGroupName();
  MarkShownArticleRead();
}

// The viewer's source for the current article; nothing when memory ran out.
std::optional<std::u16string> CurrentArticleAsHtml(const std::vector<MatchRange>& matches) {
  std::optional<std::u16string> text =
      CreateMessageBody(gCurrentArticle.get(), gPrefs->showheaders != 0);
  if (!text) return std::nullopt;
  return ConvertTextToHTML(*text, matches);
}

void FillViewer(std::u16string_view source, bool plain_text) {
  gPlatform->article.ClearViewer();
  gPlatform->article.AddToViewer(source, plain_text);
  gPlatform->article.EndOfSource();
}

void ShowCurrentArticleText(const std::vector<MatchRange>& matches) {
  if (!gCurrentArticle) return FillViewer(u"Quillet error: there is no current article", true);
  const auto html = CurrentArticleAsHtml(matches);
  if (!html) {
    ReportError(u"out of memory", u"DisplayCurrentArticle");
    return;
  }
  FillViewer(*html, gPlainText);
}

}  // namespace

void TogglePlainTextFlag() {
  gPlainText = !gPlainText;
}

std::size_t GroupOfCurrentArticle() {
  if (gCurrentArticle && gCurrentArticle->node != nullptr) {
    return static_cast<std::size_t>(GroupOfTree());
  }
  const auto& groups = gPrefs->groups;
  return static_cast<std::size_t>(std::find(groups.begin(), groups.end(), gOpenedFromGroup) -
                                  groups.begin());
}

void ShowChangedReadFlag() {
  PostToMainWindow(kUserRefreshCounts);
  if (gCurrentArticle && gCurrentArticle->node != nullptr) {
    RefreshThreadLabels(*gCurrentArticle->node);
  }
}

std::optional<std::vector<MatchRange>> MatchesInCurrentArticle(std::u16string_view search_text) {
  const auto text = CreateMessageBody(gCurrentArticle.get(), gPrefs->showheaders != 0);
  if (!text || !gCurrentArticle) return std::nullopt;
  try {
    gCurrentArticle->displayText.reset();
    if (!search_text.empty()) gCurrentArticle->displayText = ToStored(search_text);
    return FindMatches(*text, search_text, {gFind.match_case, gFind.whole_word});
  } catch (const std::bad_alloc&) {
    ReportError(u"out of memory", u"DisplayCurrentArticle");
    return std::nullopt;
  }
}

void PrepareArticleView() {
  gArticleView = {DisplayArticle, ClearCurrentArticle};
}

void DisplayArticle(Node* node, std::u16string_view search_text) {
  if (node == nullptr) {
    ClearCurrentArticle();
    return ShowThreadView();
  }
  DropCurrentArticle();
  OpenArticle(*node);
  std::vector<MatchRange> matches;
  if (gCurrentArticle && !search_text.empty()) {
    matches = MatchesInCurrentArticle(search_text).value_or(std::vector<MatchRange>());
  }
  DisplayCurrentArticle(matches);
  if (!gCurrentArticle && !node->messageId.empty()) {
    ShowMessage(u"Our apologies, but this article can no longer be read from the database.");
  }
}

void DisplayCurrentArticle(const std::vector<MatchRange>& matches) {
  const WaitCursor wait;
  ShowArticleTab();
  ShowCurrentArticleText(matches);
  RefreshHeaderBar();
}

void ClearCurrentArticle() {
  DropCurrentArticle();
  gPlatform->article.EndOfSource();
  RefreshHeaderBar();
}

}  // namespace quillet
