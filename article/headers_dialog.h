// SPDX-License-Identifier: GPL-3.0-or-later
// The "Message headers" dialog. Program thread only.
#pragma once

#include <string>

namespace quillet {

struct AsciiArticle;

// The text of the "Message headers" dialog: the headers as they are stored.
std::u16string MessageHeadersText(const AsciiArticle& article);
void ShowMessageHeaders();

}  // namespace quillet
