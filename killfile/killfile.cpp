// SPDX-License-Identifier: GPL-3.0-or-later
// An entry is one position in the four lists, which grow and shrink together. An entry is added
// first and taken out again when the texts, as they will be stored, exceed what a registry value of
// the device holds. In judging an article any kill entry that matches decides; else one met
// requirement is enough.
#include "killfile/killfile.h"

#include <span>
#include <string>
#include <utility>

#include "base/box_owner.h"
#include "base/guarded.h"
#include "base/messages.h"
#include "base/multi_string.h"
#include "mime/compared_header.h"
#include "mime/shown_text.h"
#include "util/text.h"

namespace quillet {
namespace {

// The largest registry value of the device.
constexpr std::size_t kCapacity = 4096;

constexpr std::u16string_view kFullMessage =
    u"The killfile will exceed Windows CE's capacity to store it. Entry rejected.";

// What the entries of a group call it.
std::size_t NumberOf(GroupIndex group) {
  return IndexOf(group) + 1;
}

bool SameTextAndField(const Prefs& prefs, std::size_t entry, std::string_view text, bool author) {
  return SameHeaderText(prefs.killfiletexts[entry], UntilNul(text)) &&
         (prefs.killfileauthors[entry] != 0) == author;
}

bool IsKill(const Prefs& prefs, std::size_t entry) {
  return prefs.killfilekills[entry] != 0;
}

// The last entry that equals all four fields, one of the very bytes before one that is only shown
// alike; killfilecount when there is none.
std::size_t FindEntry(const Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                      bool author) {
  std::size_t found = prefs.killfilecount;
  for (std::size_t entry = prefs.killfilecount; entry-- > 0;) {
    if (prefs.killfilegroups[entry] != group || IsKill(prefs, entry) != kill ||
        !SameTextAndField(prefs, entry, text, author)) {
      continue;
    }
    if (prefs.killfiletexts[entry] == UntilNul(text)) return entry;
    if (found == prefs.killfilecount) found = entry;
  }
  return found;
}

void EraseEntry(Prefs& prefs, std::size_t entry) {
  const auto at = static_cast<std::ptrdiff_t>(entry);
  prefs.killfilegroups.erase(prefs.killfilegroups.begin() + at);
  prefs.killfiletexts.erase(prefs.killfiletexts.begin() + at);
  prefs.killfilekills.erase(prefs.killfilekills.begin() + at);
  prefs.killfileauthors.erase(prefs.killfileauthors.begin() + at);
  --prefs.killfilecount;
}

// Everything that may fail comes before the first change.
void AppendEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill, bool author) {
  std::string own_text(UntilNul(text));
  const std::size_t size = prefs.killfilecount + std::size_t{1};
  prefs.killfilegroups.reserve(size);
  prefs.killfiletexts.reserve(size);
  prefs.killfilekills.reserve(size);
  prefs.killfileauthors.reserve(size);
  prefs.killfilegroups.push_back(group);
  prefs.killfiletexts.push_back(std::move(own_text));
  prefs.killfilekills.push_back(kill ? 1 : 0);
  prefs.killfileauthors.push_back(author ? 1 : 0);
  ++prefs.killfilecount;
}

// False when the builder ran out of memory, too.
bool FitsCapacity(const Prefs& prefs) {
  const std::string data = CreateMultiString(std::span<const std::string>(prefs.killfiletexts));
  if (data.empty()) return false;
  if (data.size() < kCapacity) return true;
  ShowMessage(kFullMessage);
  return false;
}

// An article as entries see it: its texts are decoded once, whatever the number of entries.
class JudgedArticle {
 public:
  explicit JudgedArticle(const AsciiArticle& article)
      : from_(article.from.value_or("")),
        subject_(JoinedSubject(article.subject.value_or(""), article.headers.value_or(""))),
        author_header_(from_),
        subject_header_(subject_) {}
  JudgedArticle(const JudgedArticle&) = delete;
  JudgedArticle& operator=(const JudgedArticle&) = delete;

  bool Matches(const Prefs& prefs, std::size_t entry) {
    const bool author = prefs.killfileauthors[entry] != 0;
    if ((author ? from_ : subject_).empty()) return false;
    return (author ? author_header_ : subject_header_).Contains(prefs.killfiletexts[entry]);
  }

 private:
  std::string from_, subject_;
  ComparedHeader author_header_, subject_header_;
};

}  // namespace

bool AddKillfileEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                      bool author) {
  if (FindEntry(prefs, group, text, kill, author) != prefs.killfilecount) return true;
  const bool added =
      Guarded(u"AddKillfileEntry", [&] { AppendEntry(prefs, group, text, kill, author); });
  if (!added) return false;
  if (FitsCapacity(prefs)) return true;
  RemoveKillfileEntry(prefs, group, text, kill, author);
  return false;
}

void RemoveKillfileEntry(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                         bool author) {
  const std::size_t entry = FindEntry(prefs, group, text, kill, author);
  if (entry != prefs.killfilecount) EraseEntry(prefs, entry);
}

void RemoveGroupFromKillfile(Prefs& prefs, GroupIndex group) {
  for (std::size_t entry = prefs.killfilecount; entry-- > 0;) {
    std::uint32_t& number = prefs.killfilegroups[entry];
    if (number == NumberOf(group)) {
      EraseEntry(prefs, entry);
    } else if (number > NumberOf(group)) {
      --number;
    }
  }
}

bool ArticleIsKilled(const Prefs& prefs, GroupIndex group, const AsciiArticle& article) {
  JudgedArticle judged(article);
  bool requirement_met = false;
  bool requirement_failed = false;
  for (std::size_t entry = 0; entry < prefs.killfilecount; ++entry) {
    if (prefs.killfilegroups[entry] != NumberOf(group)) continue;
    const bool matches = judged.Matches(prefs, entry);
    if (IsKill(prefs, entry)) {
      if (matches) return true;
    } else if (matches) {
      requirement_met = true;
    } else {
      requirement_failed = true;
    }
  }
  return requirement_failed && !requirement_met;
}

bool ToggleKillfileEntryKind(Prefs& prefs, std::uint32_t group, std::string_view text, bool kill,
                             bool author) {
  const auto concerned = [&](std::size_t entry, bool kind) {
    return (group == 0 || prefs.killfilegroups[entry] == group) && IsKill(prefs, entry) == kind &&
           SameTextAndField(prefs, entry, text, author);
  };
  for (std::size_t entry = 0; entry < prefs.killfilecount; ++entry) {
    if (concerned(entry, !kill)) {
      ShowBox(CurrentBoxOwner(), u"Duplicate Entry",
              u"An entry with that combination already exists", {});
      return false;
    }
  }
  for (std::size_t entry = 0; entry < prefs.killfilecount; ++entry) {
    if (concerned(entry, kill)) prefs.killfilekills[entry] = kill ? 0 : 1;
  }
  return true;
}

}  // namespace quillet
