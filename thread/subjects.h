// Which subjects belong to one thread.
#pragma once

#include <string_view>

namespace quillet {

// The same subject but for blanks in front and any number of "re:" in any case with the blanks
// after them; a blank is the space character only. Case matters in the rest.
bool SubjectsMatch(std::string_view a, std::string_view b);
// The rest of the subject that SubjectsMatch compares: without the blanks and "re:"s in front. A
// part of the text that was given.
std::string_view SubjectWithoutReplyMarks(std::string_view subject);

}  // namespace quillet
