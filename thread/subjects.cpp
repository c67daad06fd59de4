#include "thread/subjects.h"

#include <algorithm>

#include "util/text.h"

namespace quillet {
namespace {

std::string_view WithoutBlanks(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(' '), text.size()));
}

}  // namespace

std::string_view SubjectWithoutReplyMarks(std::string_view subject) {
  subject = WithoutBlanks(subject);
  while (StartsWithNoCase(subject, "re:")) subject = WithoutBlanks(subject.substr(3));
  return subject;
}

bool SubjectsMatch(std::string_view a, std::string_view b) {
  return SubjectWithoutReplyMarks(a) == SubjectWithoutReplyMarks(b);
}

}  // namespace quillet
