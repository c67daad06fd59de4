// SPDX-License-Identifier: GPL-3.0-or-later
// The mark's text is the names of the copies, each on a line. A mark of an earlier version is
// empty.
#include "store/use_mark.h"

#include <vector>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "store/device_path.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::uint64_t kLongestMark = 256;

struct OwnMark {
  // The folder may be another one by the time they are taken away.
  std::u16string path;  // empty: it was not set, or must stay
  std::vector<std::u16string> copies;
  bool tried = false;
  std::array<bool, kDatabaseCount> named = {};
};

OwnMark gMark;

const ResetAtEnd kReset([] { gMark = {}; });

std::u16string MarkPath() {
  return PathIn(gDatabaseFolder, kUseMarkName);
}

bool& Named(DatabaseIndex index) {
  return gMark.named[static_cast<std::size_t>(index)];
}

std::string LineOf(DatabaseIndex index) {
  return ToUtf8(std::u16string(DatabaseFileName(index)) + std::u16string(kCopySuffix)) + "\n";
}

void WriteMark() {
  std::string text;
  for (const DatabaseIndex index : kCopiedDatabases) {
    if (Named(index)) text += LineOf(index);
  }
  const std::u16string path = MarkPath();
  if (gPlatform->files.WriteFile(path, text)) gMark.path = path;
}

}  // namespace

UseMark FindUseMark() {
  gMark = {};
  const std::u16string path = MarkPath();
  UseMark mark;
  mark.found = gPlatform->files.FileSize(path).has_value();
  if (!mark.found) return mark;
  // Nothing is written over it before the files are whole: it names the copies.
  KeepUseMark();
  // Of one that cannot be read it is assumed: what a copy has too much does no harm.
  const auto text = gPlatform->files.ReadFile(path, kLongestMark);
  for (const DatabaseIndex index : kCopiedDatabases) {
    const bool named = !text || text->find(LineOf(index)) != text->npos;
    mark.has_copy[static_cast<std::size_t>(index)] = named;
  }
  return mark;
}

std::u16string CopyPath(DatabaseIndex index) {
  return DatabasePath(index) + std::u16string(kCopySuffix);
}

void SetUseMark() {
  if (gMark.tried) return;
  gMark.tried = true;
  WriteMark();
}

void NameCopyInMark(DatabaseIndex index) {
  gMark.tried = true;
  if (Named(index)) return;
  Named(index) = true;
  gMark.copies.push_back(CopyPath(index));
  WriteMark();
}

void KeepUseMark() {
  gMark = {};
  gMark.tried = true;
  gMark.named.fill(true);
}

void ReleaseUseMark() {
  // The mark first: a copy that no mark names means nothing.
  if (!gMark.path.empty()) gPlatform->files.Delete(gMark.path);
  for (const std::u16string& copy : gMark.copies) gPlatform->files.Delete(copy);
  gMark = {};
}

void ClearUseMark() {
  ReleaseUseMark();
  gPlatform->files.Delete(MarkPath());
  for (const DatabaseIndex index : kCopiedDatabases) gPlatform->files.Delete(CopyPath(index));
}

}  // namespace quillet
