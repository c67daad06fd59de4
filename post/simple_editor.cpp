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
#include "post/recipients.h"
#include "res/resource.h"

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
      window, {{kControlPostBody, port::Text{ShownInEditor(draft.info.text)}},
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

std::string LineOf(std::u16string_view text) {
  return ToArticleText(OneLine(text));
}

std::string HeadersOf(const Draft& draft, const std::string& newsgroups) {
  std::u16string from = FromLine();
  from.resize(from.size() - 2);
  std::string headers = LineOf(from) + "\r\n";
  headers += "Subject: " + LineOf(draft.info.subject) + "\r\n";
  headers += "Newsgroups: " + newsgroups + "\r\n";
  if (!draft.info.references.empty()) {
    headers += "References: " + LineOf(draft.info.references) + "\r\n";
  }
  headers += ToArticleText(gPrefs->extraheaders);
  if (headers.back() != '\n') headers += "\r\n";
  return headers;
}

std::optional<CheckedArticle> Article(const Draft& draft) {
  std::string newsgroups = LineOf(draft.info.newsgroups);
  std::erase(newsgroups, ' ');
  if (newsgroups.empty()) return std::nullopt;
  std::u16string body = draft.info.text;
  std::erase(body, u'\0');
  return CheckedArticle{HeadersOf(draft, newsgroups), ToArticleText(body),
                        LineOf(draft.info.subject)};
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
  const auto article =
      Guarded(u"EmailAndPostSimpleMessage", [&] { return std::make_optional(Article(draft)); });
  if (!article) return false;
  const bool mails = !draft.info.recipients.empty();
  if (*article) ChoosePostKey(editor);
  const bool mailed = !mails || MailWritten(editor, body, draft.info.subject);
  if (!*article) return mailed;
  if (StoreWritten(editor, **article)) {
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
