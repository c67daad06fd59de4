// SPDX-License-Identifier: GPL-3.0-or-later
// Names of character sets, as articles use them. Pure; any thread.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

enum class CharsetKind {
  kUnknown,
  kUnlabelled,  // says nothing about bytes above 127
  kLatin1,      // ISO 8859-1, which is written as code page 1252
  kWindows1252,
  kUtf8,
  kUtf16,      // in the byte order of its mark, else big-endian
  kIso2022Jp,  // with the rows that Windows adds
  kHz,
  kIconv,  // as iconv has it
};

struct Charset {
  CharsetKind kind = CharsetKind::kUnknown;
  std::string iconv_name;  // of kIconv
};

// Case and punctuation of the name do not matter.
Charset FindCharset(std::string_view name);

}  // namespace quillet
