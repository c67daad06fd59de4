// SPDX-License-Identifier: GPL-3.0-or-later
// From stored bytes to shown text and back. Pure; any thread.
//
// Stored text (std::string) is what an article holds, byte for byte as it came from a server or a
// user. Shown text (std::u16string) is UTF-16: what views, dialogs, searches and the killfile see
// of it. No other folder makes the one of the other. Every stored text is taken for code page 1252,
// one unit a byte. Nothing is ever thrown away: ToStored gives the bytes of what was shown of them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillet {

// The value of one header, without its name.
std::u16string ShownHeader(std::string_view stored);
// Header lines with their names and line ends, as an article keeps them.
std::u16string ShownHeaderLines(std::string_view stored);
// A header value or header lines as they are stored, in code page 1252; see RawBody.
std::u16string RawHeader(std::string_view stored);

// The 8-bit text for a file, a killfile entry or a stored field: one byte a unit, "?" for a unit
// that the code page lacks.
std::string ToStored(std::u16string_view shown);
// The characters that ToStored would lose, each once, in the order of the text.
std::vector<std::u16string> NotStorable(std::u16string_view shown);

// What killfile and search compare where case does not matter: the full case folding of Unicode,
// while decoding is off A-Z become a-z and other units stay. Accents stay as they are. A character
// may become up to three.
std::u16string Fold(std::u16string_view shown);

// The subject with the continuation lines that stand among the kept header lines, as one stored
// text; the same text when it has none there.
std::string JoinedSubject(std::string_view subject, std::string_view kept_headers);

// Whether the header, as it is shown, holds the text of a killfile entry, as that is shown, where
// case does not matter (see FindMatches); an empty one always. An entry that is not plain ASCII
// also matches where its bytes stand.
bool HeaderContains(std::string_view stored, std::string_view wanted);

}  // namespace quillet
