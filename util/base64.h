// Base64 with the standard alphabet and "=" padding. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

std::string Base64Encode(std::string_view bytes);

// Skips blanks and tabs at the start and stops at the first character outside the alphabet, which
// the padding is, or at the end. Bits that make no whole byte are dropped. Never fails.
std::string Base64Decode(std::string_view text);

}  // namespace quillet
