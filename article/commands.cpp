// SPDX-License-Identifier: GPL-3.0-or-later
// The commands and keys of the article view: a table of ids and functions, and one of keys that
// scroll. All but one command do nothing without a current article.
#include "article/commands.h"

#include <array>

#include "article/headers_dialog.h"
#include "article/message_body.h"
#include "article/save.h"
#include "article/view.h"
#include "base/app_messages.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/save_file.h"
#include "killfile/entry_dialog.h"
#include "mime/shown_text.h"
#include "port/article_panes.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/counts.h"
#include "thread/deletion.h"
#include "thread/moves.h"
#include "thread/search.h"

namespace quillet {
namespace {

// --- Moving: beyond the ends of the tree back to it; out of the tree the article stays -----------

template <class Move>
void MoveTo(Move next_of) {
  Node* const node = gReading.article->node;
  if (node != nullptr) DisplayArticle(next_of(*node), u"");
}

void ShowPreviousThread() {
  MoveTo(PreviousThread);
}
void ShowPreviousArticle() {
  MoveTo(PreviousArticle);
}
void ShowNextArticle() {
  MoveTo(NextArticle);
}
void ShowNextThread() {
  MoveTo(NextThread);
}

// --- Marking and deleting ------------------------------------------------------------------------

void MarkUnread() {
  const std::string id = gReading.article->messageId.value_or("");
  // By its id: an article that has gone from the store in the meantime is not stored again.
  SetArticleReadById(id, gReading.article->node, false, GroupOfCurrentArticle());
  if (gReading.article) gReading.article->read = IsArticleRead(id) ? 1 : 0;
  ShowChangedReadFlag();
}

void Delete(std::u16string_view question, Node* (*remove)(Node&)) {
  Node* const node = gReading.article->node;
  if (node == nullptr || !ConfirmAction(question, true)) return;
  Node* const next = remove(*node);
  if (next == nullptr) PostToMainWindow(kUserRefreshCounts);
  DisplayArticle(next, u"");
}

void DeleteShownArticle() {
  Delete(u"Really delete this article?", DeleteArticleNode);
}
void DeleteShownThread() {
  Delete(u"Really delete this thread?", DeleteThreadNode);
}

// An article that is not in the tree any more still belongs to its own group.
void AddToKillfile() {
  const std::size_t index = GroupOfCurrentArticle();
  const bool listed = index < gPrefs->groups.size();
  const std::optional<GroupIndex> group = listed ? GroupAt(index) : gReading.group;
  const AsciiArticle& article = *gReading.article;
  OpenKillfileEntryDialog(
      group, article.from.value_or(""),
      JoinedSubject(article.subject.value_or(""), article.headers.value_or("")));
}

// --- Finding -------------------------------------------------------------------------------------

void Find() {
  if (!AskFindChoices() || !gReading.article) return;
  TellUnfindable();
  const auto matches = MatchesInCurrentArticle(gReading.find.text);
  if (matches) DisplayCurrentArticle(*matches);
}

void FindAgain() {
  SearchAndShow(gReading.article ? gReading.article->node : nullptr);
}

// --- Showing it otherwise ------------------------------------------------------------------------

void ToggleRot13() {
  gReading.article->showFlag = gReading.article->showFlag == 0 ? 1 : 0;
  DisplayCurrentArticle({});
}

// In memory; it is written with the other preferences.
void ToggleRemoveCrs() {
  gPrefs->removecrs = gPrefs->removecrs == 0 ? 1 : 0;
  DisplayCurrentArticle({});
}

void TogglePlainText() {
  TogglePlainTextFlag();
  DisplayCurrentArticle({});
}

void SwitchRawText() {
  ToggleRawText();
  DisplayCurrentArticle({});
}

// What is stored: an article that is saved can be read by any program, and sent on.
void SaveAs() {
  const auto message = CreateMessageBody(gReading.article.get(), true, MessageForm::kRaw);
  if (!message) return;
  Guarded(u"SaveAsFile", [&message] {
    SaveAsFile(u"Save article as", DefaultFileName(gReading.article->subject.value_or("")),
               ToStored(message->text));
  });
}

void Copy() {
  gPlatform->article.CopyFromViewer();
}

struct Command {
  std::uint32_t id;
  void (*run)();
  bool needs_article = true;
};

constexpr std::array<Command, 17> kArticleCommands = {{
    {kCommandPreviousThread, ShowPreviousThread},
    {kCommandPreviousArticle, ShowPreviousArticle},
    {kCommandNextArticle, ShowNextArticle},
    {kCommandNextThread, ShowNextThread},
    {kCommandMarkUnread, MarkUnread},
    {kCommandDeleteShownArticle, DeleteShownArticle},
    {kCommandDeleteThread, DeleteShownThread},
    {kCommandAddToKillfile, AddToKillfile},
    {kCommandFind, Find},
    {kCommandFindAgain, FindAgain, false},
    {kCommandRot13, ToggleRot13},
    {kCommandShowHeaders, ShowMessageHeaders},
    {kCommandToggleRemoveCrs, ToggleRemoveCrs},
    {kCommandRawText, SwitchRawText},
    {kCommandSaveAs, SaveAs},
    {kCommandCopy, Copy},
    {kCommandTogglePlainText, TogglePlainText},
}};

struct ScrollKey {
  std::uint32_t key;
  port::ScrollStep step;
};

constexpr std::array<ScrollKey, 6> kScrollKeys = {{
    {port::kKeyPageUp, port::ScrollStep::kPageUp},
    {port::kKeyUp, port::ScrollStep::kPageUp},
    {port::kKeyPageDown, port::ScrollStep::kPageDown},
    {port::kKeyDown, port::ScrollStep::kPageDown},
    {port::kKeyHome, port::ScrollStep::kTop},
    {port::kKeyEnd, port::ScrollStep::kBottom},
}};

}  // namespace

void ArticleCommand(std::uint32_t command) {
  for (const Command& entry : kArticleCommands) {
    if (entry.id != command) continue;
    if (gReading.article || !entry.needs_article) entry.run();
    return;
  }
}

void HandleArticleKey(std::uint32_t virtual_key) {
  if (virtual_key == port::kKeyAction) return ArticleCommand(kCommandNextArticle);
  for (const ScrollKey& entry : kScrollKeys) {
    if (entry.key != virtual_key) continue;
    gPlatform->article.SetNotice({});
    gPlatform->article.ScrollViewer(entry.step);
  }
}

}  // namespace quillet
