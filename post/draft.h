// SPDX-License-Identifier: GPL-3.0-or-later
// The draft of the article that is being written, in a file of the profile: what a crash, a kill or
// a power cut leaves of it. Device path "\Quillet draft".
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "post/post_info.h"

namespace quillet {

inline constexpr std::u16string_view kDraftPath = u"\\Quillet draft";
// A draft that could not be read is kept under this name.
inline constexpr std::u16string_view kDamagedDraftPath = u"\\Quillet draft (damaged)";

// Far more than a draft may have.
inline constexpr std::uint64_t kLongestDraft = 1U << 30;

struct Draft {
  bool simple = false;  // of the editor with one field at a time
  PostInfo info;        // `text` is what stands in the editor
  int field = 0;        // the field that the simple editor shows
  std::size_t caret = 0;
  // Once the user has pressed OK: what the post and the mail are stored as. A later start looks for
  // them, so that what was finished is not done a second time.
  std::string storing_key;
  std::u16string mail_id;
  bool mailed = false;
};

// The file's contents, and back; nothing for what is no draft, or one that ends early. Pure.
std::string SerializeDraft(const Draft& draft);
std::optional<Draft> ParseDraft(std::string_view data);

// True when it is on the disk. Any thread, one at a time.
bool SaveDraft(const Draft& draft);
// Idempotent.
void DeleteDraft();

// Program thread. Nothing when there is none. One that cannot be read is set aside and told of.
std::optional<Draft> LoadDraft();

}  // namespace quillet
