// SPDX-License-Identifier: GPL-3.0-or-later
// The current article on the screen: fetched by its node, marked read, made into the viewer's
// source and shown together with its header bar. The group of an article is remembered by name as
// well, for an article outlives the tree that it was opened from.
#include "article/view.h"

#include <algorithm>

#include "article/message_body.h"
#include "article/panes.h"
#include "article/render.h"
#include "base/app_messages.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/wait_cursor.h"
#include "mime/decoding.h"
#include "mime/encoded_words.h"
#include "mime/shown_text.h"
#include "port/article_panes.h"
#include "port/platform.h"
#include "store/counts.h"
#include "thread/labels.h"
#include "thread/view.h"

namespace quillet {
namespace {

bool gPlainText = false;
// Of the current article.
bool gRawText = false;

const ResetAtEnd kReset([] {
  gPlainText = false;
  gRawText = false;
});

std::optional<GroupIndex> GroupOfTree() {
  return gReading.tree_group ? gReading.tree_group : gReading.group;
}

void KeepGroupName() {
  const std::size_t index = IndexOf(GroupOfTree());
  gReading.article_group = index < gPrefs->groups.size() ? gPrefs->groups[index] : u"";
}

void MarkShownArticleRead() {
  const AsciiArticle& article = *gReading.article;
  if (article.body.value_or("").empty() || article.messageId.value_or("").empty()) return;
  // Two nodes may stand for one article: each is marked when it is opened.
  const bool read = article.read != 0 && (article.node == nullptr || article.node->read != 0);
  if (read) return;
  SetArticleRead(*gReading.article, gReading.article->node, true, GroupOfCurrentArticle());
  ShowChangedReadFlag();
}

void OpenArticle(Node& node) {
  gRawText = false;
  if (node.messageId.empty()) return;
  gReading.article = FetchArticle(node.messageId);
  if (!gReading.article) return;
  gReading.article->node = &node;
  KeepGroupName();
  MarkShownArticleRead();
}

std::optional<MessageText> CurrentMessage() {
  return CreateMessageBody(gReading.article.get(), gPrefs->showheaders != 0,
                           FormOfCurrentArticle());
}

// The viewer's source for the current article; nothing when memory ran out.
std::optional<std::u16string> CurrentArticleAsHtml(const std::vector<MatchRange>& matches) {
  const std::optional<MessageText> message = CurrentMessage();
  if (!message) return std::nullopt;
  return ConvertTextToHTML(message->text, matches, message->links);
}

void FillViewer(std::u16string_view source, bool plain_text) {
  gPlatform->article.ClearViewer();
  gPlatform->article.AddToViewer(source, plain_text);
  gPlatform->article.EndOfSource();
}

void ShowCurrentArticleText(const std::vector<MatchRange>& matches) {
  if (!gReading.article) return FillViewer(u"Quillet error: there is no current article", true);
  const auto html = CurrentArticleAsHtml(matches);
  if (!html) {
    ReportError(u"out of memory", u"DisplayCurrentArticle");
    return;
  }
  FillViewer(*html, gPlainText);
}

// The article's own copy is 8-bit. What does not fit is in encoded words, or not kept while nothing
// is decoded: no text that is shown then has such characters.
void KeepSearchText(std::u16string_view search_text) {
  std::optional<std::string>& kept = gReading.article->displayText;
  kept.reset();
  if (search_text.empty()) return;
  if (NotStorable(search_text).empty()) {
    kept = ToStored(search_text);
  } else if (Decoding()) {
    kept = ToKillfileText(search_text);
  }
}

}  // namespace

void ToggleRawText() {
  // Without decoding there is one form only, and no other waits for the day when it is on again.
  gRawText = Decoding() && !gRawText;
}

MessageForm FormOfCurrentArticle() {
  return gRawText ? MessageForm::kRaw : MessageForm::kDecoded;
}

void TogglePlainTextFlag() {
  gPlainText = !gPlainText;
}

std::size_t GroupOfCurrentArticle() {
  if (gReading.article && gReading.article->node != nullptr) {
    return IndexOf(GroupOfTree());
  }
  const auto& groups = gPrefs->groups;
  return static_cast<std::size_t>(std::find(groups.begin(), groups.end(), gReading.article_group) -
                                  groups.begin());
}

void ShowChangedReadFlag() {
  PostToMainWindow(kUserRefreshCounts);
  if (gReading.article && gReading.article->node != nullptr) {
    RefreshThreadLabels(*gReading.article->node);
  }
}

std::optional<std::vector<MatchRange>> MatchesInCurrentArticle(std::u16string_view search_text) {
  const auto message = CurrentMessage();
  if (!message || !gReading.article) return std::nullopt;
  return Guarded(u"DisplayCurrentArticle", [&]() -> std::optional<std::vector<MatchRange>> {
    KeepSearchText(search_text);
    return FindMatches(message->text, search_text,
                       {gReading.find.match_case, gReading.find.whole_word});
  });
}

void DisplayArticle(Node* node, std::u16string_view search_text) {
  if (node == nullptr) {
    ClearArticleView();
    return ShowThreadView();
  }
  gReading.ForgetArticle();
  // The viewer shows nothing new until the end of its source is told: no empty page flashes up
  // before the article that follows.
  gPlatform->article.ClearViewer();
  OpenArticle(*node);
  std::vector<MatchRange> matches;
  if (gReading.article && !search_text.empty()) {
    matches = MatchesInCurrentArticle(search_text).value_or(std::vector<MatchRange>());
  }
  DisplayCurrentArticle(matches);
  if (!gReading.article && !node->messageId.empty()) {
    ShowMessage(u"Our apologies, but this article can no longer be read from the database.");
  }
}

void DisplayCurrentArticle(const std::vector<MatchRange>& matches) {
  const WaitCursor wait;
  ShowArticleTab();
  ShowCurrentArticleText(matches);
  RefreshHeaderBar();
}

void ClearArticleView() {
  gReading.ForgetArticle();
  gPlatform->article.ClearViewer();
  gPlatform->article.EndOfSource();
  RefreshHeaderBar();
}

}  // namespace quillet
