// SPDX-License-Identifier: GPL-3.0-or-later
// The end of a program one of whose open files was made shorter from outside, or whose disk failed.
//
// Such a file is read and written through memory; touching what is not there any more is a bus
// error, which would end the program without a word.
#pragma once

#include <string>

namespace quillet::port {

// From now on such an end says on standard error which file it was, and writes the same text, in
// UTF-8, into the note: a native path, whose folder must exist. Exit status 1. Bus errors of
// another kind end the program as before. For the whole process; a later call replaces the note.
void TellOfCutFiles(const std::string& note);

}  // namespace quillet::port
