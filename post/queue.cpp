// SPDX-License-Identifier: GPL-3.0-or-later
// The dialog runs again and again, so that its list is always what the queue holds. An edit ends
// it: the editor is a window beside the program, and the list comes back when it closes.
#include "post/queue.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "base/app_messages.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/modal_dialog.h"
#include "mime/shown_text.h"
#include "port/dialogs.h"
#include "port/platform.h"
#include "port/pop_up_menus.h"
#include "post/compose.h"
#include "post/editor.h"
#include "res/resource.h"
#include "store/pending_posts.h"
#include "store/refusals.h"
#include "util/text.h"

namespace quillet {
namespace {

// How the dialog ends, beside OK and Cancel.
constexpr int kEdit = 101;
constexpr int kReopen = 102;

struct QueuedPost {
  std::string key;
  std::u16string subject;
  bool refused = false;
  std::u16string refusal;  // what the server said
};

std::vector<QueuedPost> ReadQueue() {
  std::vector<QueuedPost> posts;
  for (auto key = NextPendingPostKey(std::nullopt); key; key = NextPendingPostKey(key)) {
    const auto post = FetchPendingPost(*key);
    if (!post) continue;
    posts.push_back({*key, ShownHeader(UntilNul(post->subject.value_or(""))), post->read != 0,
                     post->read != 0 ? RefusalOfPost(*key) : std::u16string()});
  }
  return posts;
}

std::u16string StatusOf(const QueuedPost& post) {
  if (!post.refused) return {};
  if (post.refusal.empty()) return u"The server has refused this article.";
  return u"The server has refused this article: " + post.refusal;
}

class PendingPostsDialog {
 public:
  int Run() {
    return RunModalDialog(
        kDialogPendingPosts, [this](port::WindowHandle dialog) { SetUp(dialog); },
        [this](port::WindowHandle dialog, const port::Message& message) {
          return Handle(dialog, message);
        });
  }
  // Of the post to be edited.
  const std::string& key() const { return key_; }

 private:
  void SetUp(port::WindowHandle dialog) {
    port::Rows rows;
    for (const QueuedPost& post : posts_) {
      rows.rows.push_back({{post.subject}, false, post.refused, StatusOf(post)});
    }
    gPlatform->dialogs.WriteMany(
        dialog, {{kControlPendingPosts, std::move(rows)}, {kControlPendingPosts, port::Focus{}}});
    if (!posts_.empty()) {
      gPlatform->dialogs.Write(dialog, kControlPendingPosts, port::Choice{0});
      ShowStatus(dialog, 0);
    }
  }

  void ShowStatus(port::WindowHandle dialog, std::size_t row) const {
    gPlatform->dialogs.Write(dialog, kControlPendingStatus, port::Text{StatusOf(posts_[row])});
  }

  std::optional<std::size_t> SelectedRow(port::WindowHandle dialog) const {
    const int row = gPlatform->dialogs.Read(dialog, kControlPendingPosts).choice;
    const bool there = row >= 0 && static_cast<std::size_t>(row) < posts_.size();
    return there ? std::optional(static_cast<std::size_t>(row)) : std::nullopt;
  }

  std::optional<int> Edit(std::size_t row) {
    key_ = posts_[row].key;
    return kEdit;
  }

  std::optional<int> Delete(std::size_t row) {
    if (ConfirmAction(u"Really delete post from database?", true)) {
      DeletePendingPost(posts_[row].key);
      if (CountPendingPosts() == 0) return port::kIdOk;
    }
    return kReopen;
  }

  std::optional<int> Choose(std::uint32_t command, std::size_t row) {
    if (command == kCommandEditPost) return Edit(row);
    if (command == kCommandDeletePost) return Delete(row);
    return std::nullopt;
  }

  std::optional<int> ShowMenu(port::WindowHandle dialog, std::size_t row) {
    return Choose(gPlatform->pop_ups.ShowPopUp(
                      dialog, {{kCommandEditPost, u"Edit"}, {kCommandDeletePost, u"Delete"}}),
                  row);
  }

  std::optional<int> Handle(port::WindowHandle dialog, const port::Message& message) {
    if (const auto end = EndOnOkOrCancel(dialog, message)) return end;
    const auto row = SelectedRow(dialog);
    if (!row) return std::nullopt;
    switch (message.kind) {
      case port::MessageKind::kCommand:
        ShowStatus(dialog, *row);
        return std::nullopt;
      case port::MessageKind::kItemActivated:
        return Edit(*row);
      case port::MessageKind::kContextMenu:
        return ShowMenu(dialog, *row);
      case port::MessageKind::kKeyUp:
        return message.id == port::kKeyDelete ? Delete(*row) : std::nullopt;
      default:
        return std::nullopt;
    }
  }

  const std::vector<QueuedPost> posts_ = ReadQueue();
  std::string key_;
};

}  // namespace

void ShowPendingPosts() {
  for (;;) {
    PendingPostsDialog dialog;
    const int result = dialog.Run();
    if (result == kEdit) return EditPendingPost(dialog.key());
    if (result != kReopen) return;
  }
}

void EditPendingPost(std::string_view key) {
  auto info = Guarded(u"EditPendingPost", [&] {
    const auto post = FetchPendingPost(key);
    return post ? ComposeQueuedPost(*post) : nullptr;
  });
  if (!info) return;
  // A damaged record may name another key than the one it lies under.
  info->key = key;
  if (OpenEditor(std::move(info))) {
    WhenEditorCloses([] { PostToMainWindow(kUserShowPostQueue); });
  }
}

}  // namespace quillet
