// SPDX-License-Identifier: GPL-3.0-or-later
// Text in the bytes of a charset that the user has chosen, and back, without a loss. Pure; any
// thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillet {

// Nothing when the charset is unknown, lacks one of the characters, or is none in which plain ASCII
// and the ends of lines stay what they are. Every line begins and ends in the
// charset's first state. In UTF-8 a lone surrogate becomes U+FFFD, so UTF-8 holds everything.
std::optional<std::string> EncodeText(std::u16string_view text, std::string_view charset);

// Nothing when the charset is unknown or the bytes are not all of it.
std::optional<std::u16string> DecodeText(std::string_view bytes, std::string_view charset);

// What the first Content-Type field of a head names, as DecodeBody takes it; empty when it names
// none.
std::string CharsetOfHead(std::string_view head);

}  // namespace quillet
