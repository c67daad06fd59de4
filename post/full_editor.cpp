// SPDX-License-Identifier: GPL-3.0-or-later
// The editor that has the whole article as one text: header lines, the separator, the body.
#include "post/full_editor.h"

#include <array>

#include "base/box_owner.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "port/pop_up_menus.h"
#include "post/article_text.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr std::u16string_view kHeaderErrorCaption = u"Quillet: header error";

struct Route {
  std::uint32_t command;
  RouteMode mode;
  std::u16string_view text;
};
constexpr std::array<Route, 4> kRoutes = {{
    {kCommandRoutePost, RouteMode::kPost, u"Reply via &post"},
    {kCommandRouteEmail, RouteMode::kEmail, u"Reply via &email"},
    {kCommandRouteBoth, RouteMode::kBoth, u"Reply via &both"},
    {kCommandRouteForward, RouteMode::kForward, u"&Forward via email"},
}};

void SetUp(port::WindowHandle window, const Draft& draft) {
  gPlatform->dialogs.WriteMany(
      window,
      {{kControlRoute, port::Visible{draft.info.reply == ReplyFlag::kReply}},
       {kControlArticleText,
        port::Text{draft.info.characters ? draft.info.text : ShownInEditor(draft.info.text)}},
       {kControlArticleText, port::TextState{draft.caret, 0, false}},
       {kControlArticleText, port::Focus{}}});
}

bool Read(port::WindowHandle window, Draft& draft) {
  const auto states = gPlatform->dialogs.ReadAll(window);
  const auto text = states.find(kControlArticleText);
  if (text == states.end()) return false;
  draft.info.text = text->second.text;
  draft.caret = text->second.text_state.caret;
  return true;
}

ReadEditor Reader() {
  return Read;
}

std::vector<port::PopUpEntry> RouteMenu(RouteMode mode) {
  std::vector<port::PopUpEntry> entries;
  for (const Route& route : kRoutes) {
    if (route.mode == RouteMode::kForward) entries.push_back({});
    entries.push_back({route.command, std::u16string(route.text), route.mode == mode});
  }
  if (mode != RouteMode::kPost) {
    entries.push_back({});
    entries.push_back({kCommandReaddressEmail, u"&Readdress email"});
  }
  return entries;
}

void ChooseRoute(Editor& editor) {
  const RouteMode mode = editor.keeper->Read().info.mode;
  const std::uint32_t chosen = gPlatform->pop_ups.ShowPopUp(editor.window, RouteMenu(mode));
  if (chosen == kCommandReaddressEmail) return Readdress(editor);
  for (const Route& route : kRoutes) {
    if (route.command != chosen) continue;
    editor.keeper->Change([&](Draft& draft) { draft.info.mode = route.mode; });
    const bool needs_address = route.mode != RouteMode::kPost;
    if (needs_address && editor.keeper->Read().info.recipients.empty()) Readdress(editor);
  }
}

void ShowPlace(const Editor& editor, std::size_t at) {
  port::Dialogs& dialogs = gPlatform->dialogs;
  const bool changed = dialogs.Read(editor.window, kControlArticleText).text_state.changed;
  dialogs.WriteMany(editor.window, {{kControlArticleText, port::TextState{at, 0, changed}},
                                    {kControlArticleText, port::Focus{}}});
}

// What the article becomes in the queue; nothing when memory ran out (reported).
std::optional<std::variant<CheckedArticle, ArticleFault>> Check(const Draft& draft,
                                                                std::u16string_view text) {
  return Guarded(u"VerifyAndPostArticle", [&] {
    return std::optional(CheckArticle(text, draft.info.references, FormOf(draft.info)));
  });
}

// True when it is in the queue.
bool VerifyAndPostArticle(Editor& editor, const std::u16string& text) {
  const Draft draft = editor.keeper->Read();
  const auto checked = Check(draft, text);
  if (!checked) return false;
  if (const auto* fault = std::get_if<ArticleFault>(&*checked)) {
    ShowMessage(fault->message);
    ShowPlace(editor, fault->at);
    return false;
  }
  // Before the mail: both belong to one article from here on.
  ChoosePostKey(editor);
  // The post is stored whatever becomes of its mail.
  if (draft.info.mode == RouteMode::kBoth) MailWritten(editor, text, draft.info.subject);
  if (StoreWritten(editor, std::get<CheckedArticle>(*checked))) return true;
  ShowMessage(
      u"An error occurred while trying to store the post. Perhaps your storage card is full.");
  return false;
}

// True when it was mailed.
bool CheckHeaderAndMail(Editor& editor, const std::u16string& text) {
  const auto found = FindMailParts(text);
  if (const auto* fault = std::get_if<ArticleFault>(&found)) {
    ShowBox(CurrentBoxOwner(), kHeaderErrorCaption, fault->message, {});
    ShowPlace(editor, fault->at);
    return false;
  }
  const auto& parts = std::get<MailParts>(found);
  return MailWritten(editor, parts.body, parts.subject);
}

// The post waits already, its mail could not be placed. What the user posts from here on is another
// article: the queue may have let this one go by then.
void LeaveMailToBeDone(const Editor& editor) {
  editor.keeper->Change([](Draft& draft) {
    draft.info.mode = RouteMode::kEmail;
    draft.storing_key.clear();
  });
}

// In the mode that does both the second step runs whatever became of the first: a text that cannot
// be posted is mailed all the same, and the editor closes.
bool FinishWriting(Editor& editor) {
  const auto text = CaptureDlgItemText(editor.window, kControlArticleText);
  if (!text) return false;
  const RouteMode mode = editor.keeper->Read().info.mode;
  bool done = false;
  if (mode == RouteMode::kPost || mode == RouteMode::kBoth) {
    done = VerifyAndPostArticle(editor, *text);
  }
  if (mode == RouteMode::kPost || editor.keeper->Read().mailed) return done;
  if (CheckHeaderAndMail(editor, *text)) return true;
  if (done) LeaveMailToBeDone(editor);
  return false;
}

bool Command(Editor& editor, std::uint32_t control) {
  if (control == kControlOk) return FinishWriting(editor);
  if (control == kControlRoute) ChooseRoute(editor);
  return false;
}

std::optional<CheckedArticle> Article(const Draft& draft, TextForm form) {
  auto checked = CheckArticle(draft.info.text, draft.info.references, form);
  auto* article = std::get_if<CheckedArticle>(&checked);
  return article != nullptr ? std::optional(std::move(*article)) : std::nullopt;
}

}  // namespace

const EditorKind& FullEditor() {
  static constexpr EditorKind kKind{
      u"PostDialogProc", kDialogPostMessage, kControlArticleText, SetUp, Reader, Command, Article};
  return kKind;
}

}  // namespace quillet
