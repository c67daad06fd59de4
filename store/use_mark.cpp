#include "store/use_mark.h"

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr std::uint64_t kLongestMark = 256;

// The mark that was set; the folder may be another one by the time it is taken away.
std::u16string gMarkPath;
std::u16string gCopyPath;  // of the copy that was made
bool gTried = false;
bool gNamesCopy = false;

const ResetAtEnd kReset([] {
  gMarkPath.clear();
  gCopyPath.clear();
  gTried = false;
  gNamesCopy = false;
});

std::u16string PathOf(std::u16string_view name) {
  return gDatabaseFolder + u"\\" + std::u16string(name);
}

void WriteMark(std::string_view text) {
  const std::u16string path = PathOf(kUseMarkName);
  if (gPlatform->files.WriteFile(path, text)) gMarkPath = path;
}

std::string MarkText() {
  return ToUtf8(kWholeCopyName) + "\n";
}

}  // namespace

UseMark FindUseMark() {
  gMarkPath.clear();
  gCopyPath.clear();
  gTried = false;
  gNamesCopy = false;
  const std::u16string path = PathOf(kUseMarkName);
  UseMark mark;
  mark.found = gPlatform->files.FileSize(path).has_value();
  // A mark of an earlier version is empty.
  if (mark.found && gPlatform->files.ReadFile(path, kLongestMark) == MarkText()) {
    mark.copy = WholeCopyPath();
  }
  return mark;
}

std::u16string WholeCopyPath() {
  return PathOf(kWholeCopyName);
}

void SetUseMark() {
  if (gTried) return;
  gTried = true;
  WriteMark({});
}

void NameCopyInMark() {
  gTried = true;
  gCopyPath = WholeCopyPath();
  if (gNamesCopy) return;
  gNamesCopy = true;
  WriteMark(MarkText());
}

void KeepUseMark() {
  gTried = true;
  gNamesCopy = true;
  gMarkPath.clear();
  gCopyPath.clear();
}

void ReleaseUseMark() {
  // The mark first: a copy that no mark names means nothing.
  if (!gMarkPath.empty()) gPlatform->files.Delete(gMarkPath);
  if (!gCopyPath.empty()) gPlatform->files.Delete(gCopyPath);
  gMarkPath.clear();
  gCopyPath.clear();
  gTried = false;
  gNamesCopy = false;
}

void ClearUseMark() {
  ReleaseUseMark();
  gPlatform->files.Delete(PathOf(kUseMarkName));
  gPlatform->files.Delete(WholeCopyPath());
}

}  // namespace quillet
