#include "groups/newsgroups.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "base/app_messages.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "killfile/killfile.h"
#include "store/counts.h"
#include "store/databases.h"
#include "thread/view.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

// The lists that change with the number of groups, built beside the record and then swapped in: a
// failed allocation leaves the record as it was.
struct GroupLists {
  std::vector<std::u16string> groups;
  std::vector<std::uint32_t> checked;
  std::vector<std::uint32_t> lastdownloaded;
  std::vector<std::uint32_t> lastonserver;
};

void SwapIn(Prefs& prefs, GroupLists& lists) {
  prefs.groups.swap(lists.groups);
  prefs.checked.swap(lists.checked);
  prefs.lastdownloaded.swap(lists.lastdownloaded);
  prefs.lastonserver.swap(lists.lastonserver);
  prefs.numgroups = static_cast<std::uint32_t>(prefs.groups.size());
}

template <class T>
std::vector<T> WithEntry(const std::vector<T>& list, T entry) {
  std::vector<T> longer;
  longer.reserve(list.size() + 1);
  longer = list;
  longer.push_back(std::move(entry));
  return longer;
}

template <class T>
std::vector<T> WithoutEntry(const std::vector<T>& list, std::size_t index) {
  std::vector<T> shorter;
  shorter.reserve(list.size() - 1);
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (i != index) shorter.push_back(list[i]);
  }
  return shorter;
}

// The old numbers stay one block at the start. It is meant not to be spaced anew for the longer
// rows: with several servers the numbers of the second and later ones move.
std::vector<std::uint32_t> GrownBlock(const std::vector<std::uint32_t>& numbers, std::size_t size) {
  std::vector<std::uint32_t> grown(size);
  std::copy_n(numbers.begin(), std::min(numbers.size(), size), grown.begin());
  return grown;
}

std::vector<std::uint32_t> WithoutColumn(const std::vector<std::uint32_t>& numbers,
                                         std::size_t columns, std::size_t column) {
  std::vector<std::uint32_t> kept;
  kept.reserve(numbers.size());
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    if (i % columns != column) kept.push_back(numbers[i]);
  }
  return kept;
}

GroupLists ListsWithGroup(const Prefs& prefs, std::u16string_view name) {
  const std::size_t size = (std::size_t{prefs.numgroups} + 1) * prefs.numservers;
  return {WithEntry(prefs.groups, std::u16string(name)), WithEntry(prefs.checked, 1U),
          GrownBlock(prefs.lastdownloaded, size), GrownBlock(prefs.lastonserver, size)};
}

GroupLists ListsWithoutGroup(const Prefs& prefs, std::size_t index) {
  return {WithoutEntry(prefs.groups, index), WithoutEntry(prefs.checked, index),
          WithoutColumn(prefs.lastdownloaded, prefs.numgroups, index),
          WithoutColumn(prefs.lastonserver, prefs.numgroups, index)};
}

// The in-memory counts stand for the groups only once they were counted.
bool CountsAreInStep(const Prefs& prefs) {
  return gReadInfo.size() == prefs.numgroups;
}

// Null after a report.
std::unique_ptr<ReadInfo> CountNewGroup(std::u16string_view name) {
  std::unique_ptr<ReadInfo> info = NewReadInfoPtr();
  if (!info) return info;
  info->groupName = name;
  if (DatabasesOpen()) PopulateReadArticlesInfo(*info, name);
  return info;
}

// False after a report; then nothing has changed.
bool AppendGroup(Prefs& prefs, std::u16string_view name) {
  try {
    GroupLists lists = ListsWithGroup(prefs, name);
    if (CountsAreInStep(prefs)) {
      gReadInfo.reserve(gReadInfo.size() + 1);
      std::unique_ptr<ReadInfo> info = CountNewGroup(name);
      if (!info) return false;
      gReadInfo.push_back(std::move(info));
    }
    SwapIn(prefs, lists);
    return true;
  } catch (const std::bad_alloc&) {
    ReportCriticalError(u"out of memory", u"AddNewsgroupToPrefs");
    return false;
  }
}

bool DropGroup(Prefs& prefs, std::size_t index) {
  try {
    GroupLists lists = ListsWithoutGroup(prefs, index);
    RemoveGroupFromKillfile(prefs, index);
    if (CountsAreInStep(prefs))
      gReadInfo.erase(gReadInfo.begin() + static_cast<std::ptrdiff_t>(index));
    SwapIn(prefs, lists);
    return true;
  } catch (const std::bad_alloc&) {
    // Meant to name the adding function.
    ReportError(u"out of memory", u"AddNewsgroupToPrefs");
    return false;
  }
}

// --- Judging names -------------------------------------------------------------------------------

constexpr char16_t kNoBreakSpace = 0x00A0;
constexpr char16_t kEmptyTextMark = 0xE000;  // would be stored as an empty name

bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == kNoBreakSpace || (unit >= u'\t' && unit <= u'\r');
}

bool IsControl(char16_t unit) {
  return unit < 0x20 || (unit >= 0x7F && unit < kNoBreakSpace) || unit == kEmptyTextMark;
}

void Trim(std::u16string& text) {
  const auto first = std::ranges::find_if_not(text, IsBlank);
  text.erase(text.begin(), first);
  while (!text.empty() && IsBlank(text.back())) text.pop_back();
}

// The store knows groups by their 8-bit names.
bool IsSubscribed(std::u16string_view name) {
  return std::ranges::any_of(gPrefs->groups, [wanted = Narrow(name)](const std::u16string& group) {
    return Narrow(group) == wanted;
  });
}

}  // namespace

void AddNewsgroupToPrefs(std::u16string_view name) {
  if (AppendGroup(*gPrefs, name)) WritePreferences();
}

void RemoveNewsgroupFromPrefs(std::size_t index) {
  if (index >= gPrefs->numgroups || !DropGroup(*gPrefs, index)) return;
  // The groups behind it have moved up: no tree knows its group any more.
  gCurrentGroup = -1;
  ClearThreadView();
  PostToMainWindow(kUserRefillGroupList);
  WritePreferences();
}

std::u16string JudgeNewGroupName(std::u16string& name) {
  Trim(name);
  if (name.empty()) return u"Please enter the name of the newsgroup that you want to add.";
  if (std::ranges::any_of(name, IsBlank)) {
    return FormatWide(
        u"\"%ls\" is not the name of a newsgroup, because it contains a blank. Please enter the "
        u"name without blanks, for example \"misc.test\".",
        name);
  }
  if (name.find(u',') != std::u16string::npos) {
    return FormatWide(
        u"\"%ls\" contains a comma. Please enter the name of one newsgroup only; you can add more "
        u"of them one after another.",
        name);
  }
  if (std::ranges::any_of(name, IsControl)) {
    return u"The name contains a character that cannot be part of a newsgroup's name. Please type "
           u"the name anew.";
  }
  if (IsSubscribed(name)) {
    return FormatWide(u"The newsgroup \"%ls\" is already in your list.", name);
  }
  return {};
}

}  // namespace quillet
