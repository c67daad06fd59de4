// SPDX-License-Identifier: GPL-3.0-or-later
// What the two editors have in common. Only for post/.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "port/message.h"
#include "post/check.h"
#include "post/draft_keeper.h"

namespace quillet {

struct Editor {
  port::WindowHandle window = 0;
  bool simple = false;
  // Set while a message is handled: what comes meanwhile, from below a question, is passed over.
  bool busy = false;
  PostInfo begun_with;    // without its text
  bool restored = false;  // from a draft: all of it is still to be done
  std::unique_ptr<DraftKeeper> keeper;
};

// Fields of the simple editor by their place in its selector.
inline constexpr int kEmailField = 0;
inline constexpr int kNewsgroupsField = 1;
inline constexpr int kSubjectField = 2;

// What each of the two brings.
struct EditorKind {
  std::u16string_view procedure;  // its name, for reports
  std::uint32_t form = 0;
  std::uint32_t text_control = 0;
  // Fills the window. Before it is shown.
  void (*set_up)(port::WindowHandle window, const Draft& draft) = nullptr;
  ReadEditor (*reader)() = nullptr;
  // A press or choice other than Cancel; true when the editor is to close, its work done.
  bool (*command)(Editor& editor, std::uint32_t control) = nullptr;
  // What OK would store, or nothing when it would not.
  std::optional<CheckedArticle> (*article)(const Draft& draft, TextForm form) = nullptr;
};

// The whole text of a control, its lines ended by CR LF, without NULs; nothing when memory ran out
// (reported, "CaptureDlgItemText") or the window does not exist.
std::optional<std::u16string> CaptureDlgItemText(port::WindowHandle dialog, std::uint32_t control);

// As what OK stores a text, as the switch "postcharsets" stands now.
TextForm FormOf(const PostInfo& info);

// Chooses what the article will be stored as, before anything of it is sent: that of the queued
// post while it still waits, else a new one.
void ChoosePostKey(Editor& editor);
// Stores the article under that key, and says when characters had to be replaced,
// as code page 1252 has it. False when it
// could not be stored (StoreAsciiGDBMPost has said so).
bool StoreWritten(Editor& editor, const CheckedArticle& article);
// Mails the text, once an article: what was mailed before is not mailed again. False when it could
// not be placed in the outbox (reported).
bool MailWritten(Editor& editor, std::u16string_view body, std::u16string_view subject);
// Asks for other recipients.
void Readdress(Editor& editor);

}  // namespace quillet
