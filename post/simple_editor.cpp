// SPDX-License-Identifier: GPL-3.0-or-later
// The editor that has the body as its text and the header fields one at a time: a selector, and a
// value box that shows the chosen field. The values are kept in the draft. Whoever reads the window
// - the keeper's thread too, while the program thread is busy - brings the value box in step with
// the selector, so that what the user types goes into the field that he has chosen.
#include "post/simple_editor.h"

#include <array>

#include "base/box_owner.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "post/article_text.h"
#include "post/compose.h"
#include "post/encode_article.h"
#include "post/recipients.h"
#include "res/resource.h"
#include "util/ascii.h"

namespace quillet {
namespace {

constexpr std::u16string_view kQuestionCaption = u"Quillet CE";

struct Field {
  std::u16string_view label;
  std::u16string PostInfo::*value;
};
constexpr std::array<Field, 3> kFields = {{
    {u"Email to:", &PostInfo::recipients},
    {u"Newsgroups:", &PostInfo::newsgroups},
    {u"Subject:", &PostInfo::subject},
}};

std::u16string& ValueOf(Draft& draft, int field) {
  return draft.info.*kFields[static_cast<std::size_t>(field)].value;
}

// What the value box offers for each field.
using Offers = std::array<std::vector<std::u16string>, kFields.size()>;

Offers OffersOfPrefs() {
  return {gPrefs->prevemail, gPrefs->groups, {}};
}

// Shows the field; the selector is the caller's.
void ShowField(port::WindowHandle window, Draft& draft, const Offers& offers, int field) {
  draft.field = field;
  gPlatform->dialogs.WriteMany(
      window, {{kControlPostValue, port::Choices{offers[static_cast<std::size_t>(field)]}},
               {kControlPostValue, port::Text{ValueOf(draft, field)}}});
}

void SetUp(port::WindowHandle window, const Draft& draft) {
  Draft shown = draft;
  std::vector<std::u16string> labels;
  labels.reserve(kFields.size());
  for (const Field& field : kFields) labels.emplace_back(field.label);
  gPlatform->dialogs.WriteMany(window, {{kControlPostField, port::Choices{std::move(labels)}},
                                        {kControlPostField, port::Choice{draft.field}}});
  ShowField(window, shown, OffersOfPrefs(), draft.field);
  gPlatform->dialogs.WriteMany(
      window,
      {{kControlPostBody,
        port::Text{draft.info.characters ? draft.info.text : ShownInEditor(draft.info.text)}},
       {kControlPostBody, port::TextState{draft.caret, 0, false}},
       {draft.info.subject.empty() ? kControlPostValue : kControlPostBody, port::Focus{}}});
}

bool Read(port::WindowHandle window, Draft& draft, const Offers& offers) {
  const auto states = gPlatform->dialogs.ReadAll(window);
  const auto body = states.find(kControlPostBody);
  const auto value = states.find(kControlPostValue);
  const auto field = states.find(kControlPostField);
  if (body == states.end() || value == states.end() || field == states.end()) return false;
  draft.info.text = body->second.text;
  draft.caret = body->second.text_state.caret;
  ValueOf(draft, draft.field) = value->second.text;
  const int chosen = field->second.choice;
  if (chosen != draft.field && chosen >= 0 && chosen <= kSubjectField) {
    ShowField(window, draft, offers, chosen);
  }
  return true;
}

// With the offers as they are now: the preferences are the program thread's.
ReadEditor Reader() {
  return [offers = OffersOfPrefs()](port::WindowHandle window, Draft& draft) {
    return Read(window, draft, offers);
  };
}

// Switches to a field, which gets the focus.
void ChooseField(const Editor& editor, int field) {
  gPlatform->dialogs.WriteMany(editor.window, {{kControlPostField, port::Choice{field}},
                                               {kControlPostValue, port::Focus{}}});
  editor.keeper->Read();
}

void PickRecipients(Editor& editor) {
  const auto recipients = PickAddresses();
  if (!recipients) return;
  ChooseField(editor, kEmailField);
  gPlatform->dialogs.Write(editor.window, kControlPostValue, port::Text{*recipients});
  editor.keeper->Touch();
}

// True when the user wants to go back to the text. Never skipped.
bool GoesBack(std::u16string_view question) {
  return ShowBox(CurrentBoxOwner(), kQuestionCaption, question,
                 {port::BoxButtons::kYesNo, port::BoxIcon::kNone, false}) == port::kIdYes;
}

bool UserGoesBack(const Editor& editor, const Draft& draft) {
  if (draft.info.text.empty() &&
      GoesBack(u"The article has no body. Do you want to cancel this post?")) {
    return true;
  }
  if (draft.info.subject.empty()) {
    ChooseField(editor, kSubjectField);
    if (GoesBack(u"The article has no subject. Do you want to cancel this post?")) return true;
  }
  const bool to_groups = draft.info.newsgroups.find_first_not_of(u' ') != std::u16string::npos;
  if (draft.info.recipients.empty() && !to_groups) {
    ChooseField(editor, kNewsgroupsField);
    return GoesBack(u"The article has no valid recipients. Do you want to cancel this post?");
  }
  return false;
}

std::u16string HeadersOf(const Draft& draft, std::u16string_view newsgroups, TextForm form) {
  constexpr std::u16string_view kCrLf = u"\r\n";
  std::u16string from = FromLine();
  from.resize(from.size() - kCrLf.size());
  std::u16string headers = OneLine(from).append(kCrLf);
  headers.append(u"Subject: ").append(OneLine(draft.info.subject)).append(kCrLf);
  headers.append(u"Newsgroups: ").append(newsgroups).append(kCrLf);
  std::u16string references = OneLine(draft.info.references);
  if (form == TextForm::kUtf8) references = AsciiReferences(references);
  if (!references.empty()) headers.append(u"References: ").append(references).append(kCrLf);
  headers += gPrefs->extraheaders;
  if (headers.back() != u'\n') headers += kCrLf;
  return headers;
}

// Nothing when it goes to no group.
using Checked = std::optional<std::variant<CheckedArticle, ArticleFault>>;

// What is stored.
Checked Check(const Draft& draft, TextForm form) {
  std::u16string newsgroups = OneLine(draft.info.newsgroups);
  std::erase(newsgroups, u' ');
  if (newsgroups.empty()) return std::nullopt;
  std::u16string body = draft.info.text;
  std::erase(body, u'\0');
  const std::u16string headers = HeadersOf(draft, newsgroups, form);
  const bool ascii = IsAscii(headers) && IsAscii(body);
  if (form == TextForm::kUtf8 && !ascii) return EncodeArticle(headers, u"", body);
  return CheckedArticle{ToArticleText(headers, form), ToArticleText(body, form),
                        ToArticleText(OneLine(draft.info.subject), form)};
}

std::optional<CheckedArticle> Article(const Draft& draft, TextForm form) {
  auto checked = Check(draft, form);
  auto* article = checked ? std::get_if<CheckedArticle>(&*checked) : nullptr;
  return article != nullptr ? std::optional(std::move(*article)) : std::nullopt;
}

// True when the article cannot be stored as it is, and the user has been told.
bool TellsOfFault(const Editor& editor, const Draft& draft, const Checked& checked) {
  const auto* fault = checked ? std::get_if<ArticleFault>(&*checked) : nullptr;
  if (fault == nullptr) return false;
  if (!IsAscii(draft.info.newsgroups)) ChooseField(editor, kNewsgroupsField);
  ShowMessage(fault->message);
  return true;
}

// The post waits already, its mail could not be placed. What the user posts from here on is another
// article: the queue may have let this one go by then.
void LeaveMailToBeDone(const Editor& editor) {
  ChooseField(editor, kEmailField);
  editor.keeper->Change([](Draft& draft) {
    draft.info.newsgroups.clear();
    draft.storing_key.clear();
  });
}

// True when all that was asked for is done, which may be nothing.
bool EmailAndPostSimpleMessage(Editor& editor, const std::u16string& body) {
  Draft draft = editor.keeper->Read();
  draft.info.text = body;
  if (UserGoesBack(editor, draft)) return false;
  const auto checked = Guarded(u"EmailAndPostSimpleMessage", [&] {
    return std::make_optional(Check(draft, FormOf(draft.info)));
  });
  if (!checked || TellsOfFault(editor, draft, *checked)) return false;
  const bool mails = !draft.info.recipients.empty();
  if (*checked) ChoosePostKey(editor);
  const bool mailed = !mails || MailWritten(editor, body, draft.info.subject);
  if (!*checked) return mailed;
  if (StoreWritten(editor, std::get<CheckedArticle>(**checked))) {
    if (!mailed) LeaveMailToBeDone(editor);
    return mailed;
  }
  ShowMessage(mails ? u"Unable to store post. The email version of this article has been queued."
                    : u"Unable to store post.");
  return false;
}

bool Command(Editor& editor, std::uint32_t control) {
  if (control == kControlPickRecipients) PickRecipients(editor);
  if (control == kControlPostField) editor.keeper->Read();
  if (control != kControlOk) return false;
  const auto body = CaptureDlgItemText(editor.window, kControlPostBody);
  return body && EmailAndPostSimpleMessage(editor, *body);
}

}  // namespace

const EditorKind& SimpleEditor() {
  static constexpr EditorKind kKind{u"SimplePostDialogProc",
                                    kDialogSimplePost,
                                    kControlPostBody,
                                    SetUp,
                                    Reader,
                                    Command,
                                    Article};
  return kKind;
}

}  // namespace quillet
