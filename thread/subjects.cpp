// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/subjects.h"

#include <algorithm>

#include "mime/decoding.h"
#include "mime/header_words.h"
#include "mime/shown_text.h"
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

bool IsComparedAsStored(std::string_view subject) {
  return !Decoding() || HasNothingToDecode(subject);
}

std::string ComparedSubject(std::string_view subject) {
  if (IsComparedAsStored(subject)) return std::string(SubjectWithoutReplyMarks(subject));
  return std::string(SubjectWithoutReplyMarks(ToUtf8(ShownHeader(subject))));
}

bool SubjectsMatch(std::string_view a, std::string_view b) {
  if (IsComparedAsStored(a) && IsComparedAsStored(b)) {
    return SubjectWithoutReplyMarks(a) == SubjectWithoutReplyMarks(b);
  }
  return ComparedSubject(a) == ComparedSubject(b);
}

}  // namespace quillet
