// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/search.h"

#include <algorithm>
#include <iterator>

#include "base/long_operation.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "base/upward_calls.h"
#include "mime/decoding.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/article_source.h"
#include "thread/moves.h"
#include "thread/progress_meter.h"

namespace quillet {
namespace {

void SetUpFindDialog(port::WindowHandle dialog) {
  const FindChoices& find = gReading.find;
  gPlatform->dialogs.WriteMany(dialog, {{kControlFindText, port::Text{find.text}},
                                        {kControlFindText, port::TextState{0, port::kWholeText}},
                                        {kControlFindText, port::Focus{}},
                                        {kControlMatchCase, port::Checked{find.match_case}},
                                        {kControlWholeWord, port::Checked{find.whole_word}},
                                        {kControlSearchHeaders, port::Checked{find.in_headers}}});
}

FindChoices TakeChoices(port::WindowHandle dialog) {
  auto states = gPlatform->dialogs.ReadAll(dialog);
  return {states[kControlFindText].text, states[kControlMatchCase].checked,
          states[kControlWholeWord].checked, states[kControlSearchHeaders].checked};
}

std::optional<int> FindDlgProc(port::WindowHandle dialog, const port::Message& message) {
  const std::optional<int> result = EndOnOkOrCancel(dialog, message);
  if (result == port::kIdOk) gReading.find = TakeChoices(dialog);
  return result;
}

// What NextArticle leads to from the node on.
std::uint64_t ArticlesAfter(const Node& node) {
  std::uint64_t articles = node.descendantCount;
  for (const Node* at = &node; at != nullptr; at = at->parent) {
    for (const Node* next = at->nextSibling; next != nullptr; next = next->nextSibling) {
      articles += next->descendantCount + (next->kind == NodeKind::kArticle ? 1U : 0U);
    }
  }
  return articles;
}

// An article that has gone from the store meanwhile is passed over.
Node* FirstMatchAfter(const Node& from, const FindChoices& find) {
  const SearchText wanted(find.text, {find.match_case, find.whole_word});
  ProgressMeter meter(ArticlesAfter(from));
  StoredTexts texts;
  Node* article = NextArticle(from);
  for (; article != nullptr && !AbortRequested(); article = NextArticle(*article)) {
    const bool fetched = !article->messageId.empty() && texts.Fetch(article->messageId);
    if (fetched && ArticleMatches(texts, wanted, find.in_headers)) return article;
    meter.Add(1);
  }
  return nullptr;
}

struct Outcome {
  Node* found = nullptr;
  RunEnd end = RunEnd::kGoOn;
};

Outcome Search(Node* from, const FindChoices& find) {
  Outcome outcome;
  // No stored text holds a NUL.
  if (!gReading.tree || find.text.empty() || find.text.find(u'\0') != std::u16string::npos)
    return outcome;
  const Node& start = from != nullptr ? *from : gReading.tree->root();
  outcome.end = RunWithProgress(u"Searching...", [&] {
    outcome.found = FirstMatchAfter(start, find);
    return RequestedEnd();
  });
  return outcome;
}

}  // namespace

bool AskFindChoices() {
  return RunModalDialog(kDialogFind, SetUpFindDialog, FindDlgProc) == port::kIdOk;
}

bool TellUnfindable() {
  if (Decoding()) return false;
  const std::u16string refusal = RefusalOf(gReading.find.text);
  if (!refusal.empty()) ShowMessage(refusal);
  return !refusal.empty();
}

bool ArticleMatches(const StoredTexts& texts, const SearchText& wanted, bool in_headers) {
  const ArticleTexts article{.all = texts.All(),
                             .head = texts.Text(&AsciiArticle::headers),
                             .body = texts.Text(&AsciiArticle::body),
                             .subject = texts.Text(&AsciiArticle::subject),
                             .stuffed = HasDoubledDots(texts.Text(&AsciiArticle::source))};
  return in_headers ? wanted.IsInAny(article) : wanted.IsInBody(article);
}

Node* SearchForward(Node* from, const FindChoices& find) {
  return Search(from, find).found;
}

void SearchAndShow(Node* from) {
  if (gReading.find.text.empty() || TellUnfindable()) return;
  const Outcome outcome = Search(from, gReading.find);
  if (outcome.found != nullptr) {
    up::DisplayArticle(outcome.found, gReading.find.text);
  } else if (outcome.end == RunEnd::kGoOn) {
    ShowMessage(u"Search string not found.");
  }
}

}  // namespace quillet
