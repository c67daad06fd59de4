// SPDX-License-Identifier: GPL-3.0-or-later
// One record holds what is open; the two editors differ by the functions of their EditorKind. A
// message's handler holds the record itself: a critical error in the middle of it may close the
// program, and the editor with it.
#include "post/editor.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/app_messages.h"
#include "base/box_owner.h"
#include "base/extensions.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/user_guide.h"
#include "base/window_procedures.h"
#include "mime/encode_text.h"
#include "mime/shown_text.h"
#include "port/clock.h"
#include "port/dialogs.h"
#include "port/mail_store.h"
#include "port/platform.h"
#include "post/article_text.h"
#include "post/compose.h"
#include "post/editor_window.h"
#include "post/full_editor.h"
#include "post/mail.h"
#include "post/recipients.h"
#include "post/simple_editor.h"
#include "res/resource.h"
#include "store/pending_posts.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

std::shared_ptr<Editor> gEditor;
void (*gWhenClosed)() = nullptr;
// The queued post of a draft that waits to be continued; empty: none.
std::string gKeyOfDraft;

const ResetAtEnd kReset([] {
  gEditor.reset();
  gWhenClosed = nullptr;
  gKeyOfDraft.clear();
});

const EditorKind& KindOf(const Editor& editor) {
  return editor.simple ? SimpleEditor() : FullEditor();
}

bool IsChanged(const Editor& editor) {
  const auto text = gPlatform->dialogs.Read(editor.window, KindOf(editor).text_control);
  if (editor.restored || text.text_state.changed) return true;
  const PostInfo now = editor.keeper->Read().info;
  const PostInfo& before = editor.begun_with;
  return now.mode != before.mode || now.recipients != before.recipients ||
         now.newsgroups != before.newsgroups || now.subject != before.subject;
}

// Takes the window away; the draft is the caller's.
void CloseWindow() {
  const std::shared_ptr<Editor> editor = std::exchange(gEditor, nullptr);
  RemoveProcedure(editor->window);
  editor->keeper.reset();
  gPlatform->dialogs.Destroy(editor->window);
}

// The user is through with it: nothing is left to be continued.
void FinishEditor() {
  CloseWindow();
  DeleteDraft();
  if (gWhenClosed != nullptr) std::exchange(gWhenClosed, nullptr)();
}

void CancelEditor(Editor& editor) {
  if (IsChanged(editor) && !ConfirmAction(u"Discard this article?", true)) return;
  FinishEditor();
}

bool IsCancel(const port::Message& message) {
  return message.kind == port::MessageKind::kClose ||
         (message.kind == port::MessageKind::kCommand && message.id == kControlCancel);
}

void HandleMessage(const port::Message& message) {
  const std::shared_ptr<Editor> editor = gEditor;
  if (!editor || editor->busy) return;
  const BoxOwner owner(editor->window);
  editor->busy = true;
  if (IsCancel(message)) {
    CancelEditor(*editor);
  } else if (message.kind == port::MessageKind::kCommand) {
    const EditorKind& kind = KindOf(*editor);
    const bool done = Guarded(kind.procedure, [&] { return kind.command(*editor, message.id); });
    if (done && gEditor == editor) FinishEditor();
  } else if (IsGuideKey(message)) {
    OpenUserGuide();
  } else if (message.kind == port::MessageKind::kTextEdited && !editor->keeper->Works()) {
    editor->keeper->Save();
  }
  editor->busy = false;
}

void ShowEditor() {
  gPlatform->dialogs.Show(gEditor->window);
}

bool IsWriting() {
  if (!gEditor) return false;
  ShowEditor();
  const BoxOwner owner(gEditor->window);
  ShowMessage(
      u"You are already writing an article. Please finish it, or cancel it, before you begin "
      u"another one.");
  return true;
}

// What is opened while every language is written stays a text of characters. Of one that was begun
// otherwise each unit may be a byte; together they may be UTF-8, of a quoted article or a post.
void MakeCharacters(Draft& draft) {
  PostInfo& info = draft.info;
  if (info.characters || ReadExtensions().postcharsets == 0) return;
  std::u16string shown = ShownInEditor(info.text);
  const auto utf8 =
      NotStorable(shown).empty() ? DecodeText(ToArticleText(info.text), "UTF-8") : std::nullopt;
  info.text = utf8 ? *utf8 : std::move(shown);
  info.characters = true;
  draft.caret = std::min(draft.caret, info.text.size());
}

bool OpenWith(Draft draft, bool restored) {
  MakeCharacters(draft);
  const EditorKind& kind = draft.simple ? SimpleEditor() : FullEditor();
  const port::WindowHandle window =
      gPlatform->dialogs.Create(kind.form, gMainWindow, port::DialogKind::kWindow);
  if (window == 0) return false;
  kind.set_up(window, draft);
  gPlatform->dialogs.Write(window, kind.text_control,
                           port::FontChoice{gPrefs->font, static_cast<int>(gPrefs->fontsize)});
  auto editor = std::make_shared<Editor>();
  editor->window = window;
  editor->simple = draft.simple;
  editor->begun_with = draft.info;
  editor->begun_with.text.clear();
  editor->restored = restored;
  editor->keeper = std::make_unique<DraftKeeper>(window, std::move(draft), kind.reader(),
                                                 [] { PostToMainWindow(kUserDraftNotSaved); });
  gEditor = std::move(editor);
  SetProcedure(window, HandleMessage);
  gPlatform->dialogs.Show(window);
  return true;
}

template <class Compose>
void Start(std::u16string_view starter, const Compose& compose) {
  if (IsWriting()) return;
  Guarded(starter, [&] {
    if (auto info = compose()) OpenEditor(std::move(info));
  });
}

TextForm CodePageFormOf(const PostInfo& info) {
  return info.characters ? TextForm::kCodePage : TextForm::kQuotedBytes;
}

bool IsToBeMailed(const Draft& draft) {
  return draft.simple ? !draft.info.recipients.empty() : draft.info.mode != RouteMode::kPost;
}

bool IsInQueue(const Draft& draft) {
  const auto post = FetchPendingPost(draft.storing_key);
  if (!post) return false;
  const EditorKind& kind = draft.simple ? SimpleEditor() : FullEditor();
  // Whichever way it was stored: the switch may have been changed since.
  const std::array<TextForm, 2> forms = {TextForm::kUtf8, CodePageFormOf(draft.info)};
  return std::ranges::any_of(forms, [&](TextForm form) {
    const auto article = kind.article(draft, form);
    return article && post->headers == article->headers && post->body == article->body &&
           post->subject == article->subject;
  });
}

// True when the user had pressed OK, and all that it stands for was done.
bool WasFinished(const Draft& draft) {
  const bool mails = IsToBeMailed(draft);
  if (mails && !draft.mailed) return false;
  return draft.storing_key.empty() ? mails : IsInQueue(draft);
}

std::u16string NewMailId() {
  const port::CalendarTime now = gPlatform->clock.UtcTime();
  const std::u16string time = FormatWide(u"%d-%d-%d-%d-%d-%d", now.year, now.month, now.day,
                                         (now.hour * 60 + now.minute) * 60 + now.second,
                                         now.millisecond, gPlatform->clock.Ticks());
  std::u16string id = time;
  for (int i = 1; gPlatform->mail.WasPut(id); ++i) id = FormatWide(u"%ls-%d", time, i);
  return id;
}

// A key for a post that is not in the queue yet: the time, or the next one that is free.
std::string NewPostKey() {
  port::CalendarTime now = gPlatform->clock.UtcTime();
  for (;; ++now.millisecond) {
    std::string key = FormatNarrow("%d%d%d%d%d%d%d", now.year, now.month, now.day, now.hour,
                                   now.minute, now.second, now.millisecond);
    if (!FetchPendingPost(key)) return key;
  }
}

// After the store: the user still knows the text.
void TellOfReplaced(const Draft& draft) {
  const TextForm form = FormOf(draft.info);
  if (form == TextForm::kUtf8) return;
  const std::u16string& text = draft.info.text;
  const std::u16string shown = form == TextForm::kQuotedBytes ? ShownInEditor(text) : text;
  const std::u16string refusal = RefusalOf(shown + draft.info.subject + draft.info.newsgroups);
  if (!refusal.empty()) {
    ShowMessage(refusal + u". In the article that waits to be posted each of them is a \"?\".");
  }
}

}  // namespace

std::optional<std::u16string> CaptureDlgItemText(port::WindowHandle dialog, std::uint32_t control) {
  return Guarded(u"CaptureDlgItemText", [&]() -> std::optional<std::u16string> {
    const auto states = gPlatform->dialogs.ReadAll(dialog);
    const auto found = states.find(control);
    if (found == states.end()) return std::nullopt;
    std::u16string text = found->second.text;
    std::erase(text, u'\0');
    return text;
  });
}

TextForm FormOf(const PostInfo& info) {
  return ReadExtensions().postcharsets != 0 ? TextForm::kUtf8 : CodePageFormOf(info);
}

void ChoosePostKey(Editor& editor) {
  const Draft draft = editor.keeper->Read();
  if (!draft.storing_key.empty()) return;
  const std::string& queued = draft.info.key;
  // One that was posted or deleted meanwhile is not replaced: a server would take the new text for
  // the old one.
  const bool waits = !queued.empty() && FetchPendingPost(queued) != nullptr;
  editor.keeper->Change(
      [key = waits ? queued : NewPostKey()](Draft& kept) { kept.storing_key = key; });
  editor.keeper->Save();
}

bool StoreWritten(Editor& editor, const CheckedArticle& article) {
  ChoosePostKey(editor);
  const Draft draft = editor.keeper->Read();
  const auto post = NewAsciiArticle();
  if (!post) return false;
  post->messageId = draft.storing_key;
  post->headers = article.headers;
  post->body = article.body;
  post->subject = article.subject;
  if (!StoreAsciiGDBMPost(*post)) return false;
  TellOfReplaced(draft);
  return true;
}

bool MailWritten(Editor& editor, std::u16string_view body, std::u16string_view subject) {
  Draft draft = editor.keeper->Read();
  if (draft.mailed) return true;
  if (draft.mail_id.empty()) {
    draft.mail_id = NewMailId();
    editor.keeper->Change([&](Draft& kept) { kept.mail_id = draft.mail_id; });
    editor.keeper->Save();
  }
  if (!MailMessage({draft.info.recipients, gPrefs->returnmailaddress, draft.info.copy_to,
                    std::u16string(body), std::u16string(subject), draft.mail_id})) {
    return false;
  }
  editor.keeper->Change([](Draft& kept) { kept.mailed = true; });
  editor.keeper->Save();
  return true;
}

void Readdress(Editor& editor) {
  const auto recipients = ReaddressEmail(editor.keeper->Read().info.recipients);
  if (!recipients) return;
  editor.keeper->Change([&](Draft& draft) { draft.info.recipients = *recipients; });
}

void StartNewArticle(std::u16string_view newsgroups) {
  Start(u"StartNewArticle", [&] { return ComposeNewArticle(newsgroups); });
}

void StartReply(const AsciiArticle& article, std::u16string_view group) {
  Start(u"StartReply", [&] { return ComposeReply(article, group); });
}

void StartForward(const AsciiArticle& article, std::u16string_view group) {
  Start(u"StartForward", [&] { return ComposeForward(article, group); });
}

bool OpenEditor(std::unique_ptr<PostInfo> info) {
  if (IsWriting()) return false;
  Draft draft;
  draft.simple = gPrefs->simplepost != 0;
  draft.field = kSubjectField;
  draft.info = std::move(*info);
  return OpenWith(std::move(draft), false);
}

bool IsBeingEdited(std::string_view post_key) {
  if (post_key.empty()) return false;
  return post_key == (gEditor ? gEditor->begun_with.key : gKeyOfDraft);
}

void WhenEditorCloses(void (*call)()) {
  gWhenClosed = call;
}

bool EditorLetsQuit() {
  if (!gEditor || !IsChanged(*gEditor)) return true;
  ShowEditor();
  const BoxOwner owner(gEditor->window);
  return ConfirmAction(
      u"The article that you are writing is not finished. Do you want to quit Quillet CE all the "
      u"same? The article is kept, and you can continue writing it when you start Quillet CE "
      u"again.",
      true);
}

void CloseEditorForQuit() {
  if (!gEditor) return;
  gWhenClosed = nullptr;
  const bool keep = IsChanged(*gEditor);
  if (keep) gEditor->keeper->Save();
  CloseWindow();
  if (!keep) DeleteDraft();
}

void SettleDraft() {
  std::optional<Draft> draft = LoadDraft();
  if (!draft) return;
  if (!draft->mail_id.empty() && !draft->mailed && gPlatform->mail.WasPut(draft->mail_id)) {
    draft->mailed = true;
    SaveDraft(*draft);
  }
  if (WasFinished(*draft)) return DeleteDraft();
  gKeyOfDraft = draft->info.key;
}

void OfferDraft() {
  std::optional<Draft> draft = gEditor ? std::nullopt : LoadDraft();
  if (!draft) return;
  gKeyOfDraft.clear();
  if (!AskYesNo(u"An article that you were writing was not finished. Do you want to continue "
                u"writing it?")) {
    DeleteDraft();
    return;
  }
  OpenWith(std::move(*draft), true);
}

void TellOfUnsavedDraft() {
  if (!gEditor) return;
  const BoxOwner owner(gEditor->window);
  ShowMessage(
      u"The article that you are writing could not be kept safe, because its draft could not be "
      u"written to the disk. If Quillet CE or the device should end now, it would be lost.");
}

}  // namespace quillet
