// SPDX-License-Identifier: GPL-3.0-or-later
// The attachments of the current article. Program thread only.
#pragma once

#include <string_view>

#include "mime/body.h"

namespace quillet {

struct AsciiArticle;

// The article's body for mime/; it refers to the article's texts.
BodySource BodySourceOf(const AsciiArticle& article);

// Whether the target of a link means an attachment ("attachment:3").
bool IsAttachmentTarget(std::u16string_view target);
// Asks for a name and writes that attachment of the current article into a new file. What fails is
// told to the user, also when the article has no such attachment.
void SaveAttachment(std::u16string_view target);

}  // namespace quillet
