// SPDX-License-Identifier: GPL-3.0-or-later
// Transfer encodings: letters back to the bytes that they stand for. Pure; any thread. What is no
// letter of the encoding is passed over or stays as it is; nothing fails.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quillet {

// Appends the bytes. Characters outside the alphabet are skipped; padding ends a group of four
// wherever it stands, and none is needed at the end.
void DecodeBase64(std::string_view letters, std::string& out);

// The value of "=XX" at the start of `rest`, -1 where there is none.
int EscapedByte(std::string_view rest);

// A body in quoted-printable: soft line ends go, blanks at the ends of lines too. An equals sign
// that opens nothing stays.
std::string DecodeQuotedPrintable(std::string_view body);

// Where a body that is said to be base64 stops being it, which is its end in good ones: a text may
// stand behind it. Nothing of it is when more than one of ten of its characters are foreign.
struct Base64Extent {
  std::size_t end = 0;
  bool is_base64 = false;
};
Base64Extent FindBase64(std::string_view body);

}  // namespace quillet
