// SPDX-License-Identifier: GPL-3.0-or-later
// An article as one text. Program thread only.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "article/render.h"

namespace quillet {

struct AsciiArticle;

// Decoded, with the attachments listed below; or byte for byte as it is stored.
enum class MessageForm { kDecoded, kRaw };

struct MessageText {
  std::u16string text;
  std::vector<AttachmentLink> links;  // the attachments' lines in it, from left to right
  bool operator==(const MessageText&) const = default;
};

// The article as one text with CR LF line ends; nothing after a reported lack of memory. Null: an
// empty text. What the program itself adds, the line about a damaged article and those of the
// attachments, is neither joined nor turned by ROT13.
std::optional<MessageText> CreateMessageBody(const AsciiArticle* article, bool with_headers,
                                             MessageForm form = MessageForm::kDecoded);

// 8-bit lines with a CR LF at the end of each, also where only one of the two stood.
std::string WithFullLineEnds(std::string_view lines);

}  // namespace quillet
