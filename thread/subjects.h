// SPDX-License-Identifier: GPL-3.0-or-later
// Which subjects belong to one thread. Any thread; pure but for the switch of mime/decoding.h.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// The same subject, as it is shown, but for blanks in front and any number of "re:" in any case
// with the blanks after them; a blank is the space character only. Case matters in the rest.
bool SubjectsMatch(std::string_view a, std::string_view b);

// Without the blanks and "re:"s in front: a part of the text that was given.
std::string_view SubjectWithoutReplyMarks(std::string_view subject);

// Whether the subject is compared byte by byte: then SubjectWithoutReplyMarks of it is what
// SubjectsMatch compares.
bool IsComparedAsStored(std::string_view subject);
// What SubjectsMatch compares of any subject, in UTF-8.
std::string ComparedSubject(std::string_view subject);

}  // namespace quillet
