// SPDX-License-Identifier: GPL-3.0-or-later
// The continuation lines of a folded subject. Pure; any thread.
//
// Stored is the first line of a subject; its other lines stay where they stood in the head, among
// the kept header lines, below whatever field came before. Nothing there says whose they are: the
// field above may go on with them, and so may an author, a date or a Message-ID that has a place of
// its own as well. A line is taken for the subject's when all of this holds:
// - The field above does not go on with it. One of known grammar (References, Newsgroups, dates,
// MIME
//   fields...) does not, because the line has another. Any other does not when its own line was not
//   full, as a writer folds a line no earlier than it must, or when words follow plain text.
// - The subject's line was full, or ends with an encoded word which the line goes on with.
// - It has no address, no Message-ID and no date, and stands behind the lines of the same group
// which
//   have, or before the first of them if it is no word, which may be the rest of an author's name.
// Where two places fit, the first one is taken. Where none does, the subject is its first line,
// which is what is stored: rather a subject too short than one with somebody's name at its end.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace quillet {

// Whether there is a line that begins with a blank; no subject goes on without one.
bool HasContinuation(std::string_view lines);

// The lines, without line ends, with the blanks that they begin with.
std::vector<std::string_view> SubjectContinuation(std::string_view subject,
                                                  std::string_view kept_headers);

}  // namespace quillet
