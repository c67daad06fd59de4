// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/folded_subject.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "util/blanks.h"
#include "util/text.h"

namespace quillet {
namespace {

using Lines = std::vector<std::string_view>;

// A line that would have been longer than this with its next word was full. Writers fold at 72
// to 78.
constexpr std::size_t kFullLine = 70;
constexpr std::string_view kSubjectName = "Subject: ";

// What the lines of a field look like.
enum class Grammar {
  kFree,        // any text
  kIds,         // Message-IDs
  kGroups,      // names without blanks, with commas between
  kParameters,  // something=something
  kNeverFolds,
};

struct KnownField {
  std::string_view name;
  Grammar grammar;
};

constexpr std::array kKnownFields = std::to_array<KnownField>({
    {"References:", Grammar::kIds},
    {"In-Reply-To:", Grammar::kIds},
    {"Supersedes:", Grammar::kIds},
    {"Message-ID:", Grammar::kIds},
    {"Newsgroups:", Grammar::kGroups},
    {"Followup-To:", Grammar::kGroups},
    {"Path:", Grammar::kGroups},
    {"Distribution:", Grammar::kGroups},
    {"Content-Type:", Grammar::kParameters},
    {"Content-Disposition:", Grammar::kParameters},
    {"Injection-Info:", Grammar::kParameters},
    {"Autocrypt:", Grammar::kParameters},
    {"DKIM-Signature:", Grammar::kParameters},
    {"Content-Transfer-Encoding:", Grammar::kNeverFolds},
    {"Content-Language:", Grammar::kNeverFolds},
    {"MIME-Version:", Grammar::kNeverFolds},
    {"Lines:", Grammar::kNeverFolds},
    {"Bytes:", Grammar::kNeverFolds},
    {"Date:", Grammar::kNeverFolds},
    {"Expires:", Grammar::kNeverFolds},
    {"Injection-Date:", Grammar::kNeverFolds},
    {"NNTP-Posting-Date:", Grammar::kNeverFolds},
    {"NNTP-Posting-Host:", Grammar::kNeverFolds},
    {"Xref:", Grammar::kNeverFolds},
    {"Control:", Grammar::kNeverFolds},
});

// What a line that goes on begins with; no other character folds a field.
bool IsFoldBlank(char c) {
  return c == ' ' || c == '\t';
}

Lines SplitLines(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
    lines.push_back(text.substr(0, end));
    const std::size_t next = text.substr(end).starts_with("\r\n") ? end + 2 : end + 1;
    text.remove_prefix(std::min(next, text.size()));
  }
  return lines;
}

std::string_view FirstWord(std::string_view line) {
  line = Trimmed(line);
  return line.substr(0, std::min(line.find_first_of(" \t"), line.size()));
}

// Whether a writer had to end a line of that length before the next one.
bool WasFull(std::size_t length, std::string_view next) {
  return length + 1 + FirstWord(next).size() > kFullLine;
}

bool BeginsWithWord(std::string_view line) {
  return Trimmed(line).starts_with("=?");
}
bool EndsWithWord(std::string_view line) {
  return Trimmed(line).ends_with("?=");
}

// "a@b" in one piece, as an address or a Message-ID has it.
bool HasAddress(std::string_view line) {
  for (std::size_t at = line.find('@'); at != std::string_view::npos; at = line.find('@', at + 1)) {
    const bool before = at > 0 && !IsFoldBlank(line[at - 1]);
    const bool after = at + 1 < line.size() && !IsFoldBlank(line[at + 1]);
    if (before && after) return true;
  }
  return false;
}

// "10:20:30": nothing but a date is folded there.
bool HasTime(std::string_view line) {
  for (std::size_t at = line.find(':'); at != std::string_view::npos; at = line.find(':', at + 1)) {
    const std::string_view rest = line.substr(at);
    if (rest.size() >= 6 && rest[3] == ':' && at >= 2) return true;
  }
  return false;
}

bool EndsInList(std::string_view line) {
  line = Trimmed(line);
  return line.ends_with(',') || line.ends_with('!') || line.ends_with(':');
}

bool Follows(std::string_view above, std::string_view line, Grammar grammar) {
  const std::string_view text = Trimmed(line);
  switch (grammar) {
    case Grammar::kIds:
      return text.starts_with('<') && text.ends_with('>') && HasAddress(text);
    case Grammar::kGroups:
      // Folded beside a comma, or where the way goes on.
      return text.find_first_of(" \t=?") == std::string_view::npos &&
             (EndsInList(above) || text.starts_with(',') || text.starts_with('!'));
    case Grammar::kParameters:
      // A semicolon says that a parameter comes, however it is written.
      if (Trimmed(above).ends_with(';') && !BeginsWithWord(text)) return true;
      return FirstWord(text).find('=') != std::string_view::npos && !BeginsWithWord(text);
    case Grammar::kFree:
    case Grammar::kNeverFolds:
      break;
  }
  return false;
}

Grammar GrammarOf(std::string_view field) {
  for (const KnownField& known : kKnownFields) {
    if (StartsWithNoCase(field, known.name)) return known.grammar;
  }
  return Grammar::kFree;
}

// Nobody writes words behind plain text where the line ends, but for the subject and names.
bool FreeTextGoesOn(std::string_view above, std::string_view line) {
  if (Trimmed(above).ends_with(':')) return true;
  if (BeginsWithWord(line)) return EndsWithWord(above);
  return WasFull(above.size(), line);
}

// How many of the group's first lines the field above them has.
std::size_t OwnLines(std::string_view field, const Lines& group) {
  if (field.empty()) return 0;
  const Grammar grammar = GrammarOf(field);
  std::string_view above = field;
  std::size_t own = 0;
  for (; own < group.size(); above = group[own++]) {
    const bool goes_on = grammar == Grammar::kFree ? FreeTextGoesOn(above, group[own])
                                                   : Follows(above, group[own], grammar);
    if (!goes_on) break;
  }
  return own;
}

bool GoesOn(std::string_view subject, std::string_view line) {
  if (Trimmed(line).empty()) return false;
  return WasFull(kSubjectName.size() + subject.size(), line) ||
         (EndsWithWord(subject) && BeginsWithWord(line));
}

// A comment in parentheses is the name behind an address.
bool IsAnothers(std::string_view line) {
  const std::string_view text = Trimmed(line);
  return HasAddress(text) || HasTime(text) || (text.starts_with('(') && text.ends_with(')'));
}

// The subject's among the lines of one group that are not the field's: behind the last line of an
// address, Message-ID or date, else before the first. Words before an address may as well be the
// rest of the author's name. Where the field above cannot have the lines either, nothing is left
// but the subject, however short its first line is.
Lines SubjectsOf(std::string_view subject, const Lines& group, bool no_field_above) {
  const auto last = std::find_if(group.rbegin(), group.rend(), IsAnothers);
  Lines behind(last.base(), group.end());
  const bool says_something = !group.empty() && !Trimmed(group.front()).empty();
  if (no_field_above && last == group.rend() && says_something) return group;
  if (!behind.empty() && GoesOn(subject, behind.front())) return behind;
  if (last == group.rend()) return {};
  Lines before(group.begin(), std::find_if(group.begin(), group.end(), IsAnothers));
  if (before.empty() || BeginsWithWord(before.front())) return {};
  if (!GoesOn(subject, before.front())) return {};
  return before;
}

}  // namespace

bool HasContinuation(std::string_view lines) {
  if (!lines.empty() && IsFoldBlank(lines.front())) return true;
  for (const char end : {'\n', '\r'}) {
    for (std::size_t at = lines.find(end); at < lines.size(); at = lines.find(end, at + 1)) {
      if (at + 1 < lines.size() && IsFoldBlank(lines[at + 1])) return true;
    }
  }
  return false;
}

std::vector<std::string_view> SubjectContinuation(std::string_view subject,
                                                  std::string_view kept_headers) {
  // Every article of a group that is opened comes here.
  if (!HasContinuation(kept_headers)) return {};
  std::string_view field;
  const Lines lines = SplitLines(kept_headers);
  for (std::size_t at = 0; at < lines.size();) {
    if (lines[at].empty() || !IsFoldBlank(lines[at].front())) {
      field = lines[at++];
      continue;
    }
    Lines group;
    while (at < lines.size() && !lines[at].empty() && IsFoldBlank(lines[at].front())) {
      group.push_back(lines[at++]);
    }
    group.erase(group.begin(), group.begin() + static_cast<std::ptrdiff_t>(OwnLines(field, group)));
    Lines found = SubjectsOf(subject, group, GrammarOf(field) != Grammar::kFree || field.empty());
    if (!found.empty()) return found;
  }
  return {};
}

}  // namespace quillet
