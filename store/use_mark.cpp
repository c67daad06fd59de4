#include "store/use_mark.h"

#include <string>

#include "base/prefs_registry.h"
#include "base/reset.h"
#include "port/files.h"
#include "port/platform.h"
#include "store/database_files.h"

namespace quillet {
namespace {

// The mark that was set; the folder may be another one by the time it is taken away.
std::u16string gMarkPath;
bool gTried = false;

const ResetAtEnd kReset([] {
  gMarkPath.clear();
  gTried = false;
});

std::u16string MarkPath() {
  return gDatabaseFolder + u"\\" + std::u16string(kUseMarkName);
}

}  // namespace

bool UseMarkFound() {
  return gPlatform->files.FileSize(MarkPath()).has_value();
}

void SetUseMark() {
  if (gTried) return;
  gTried = true;
  const std::u16string path = MarkPath();
  if (gPlatform->files.WriteFile(path, "")) gMarkPath = path;
}

void ReleaseUseMark() {
  if (!gMarkPath.empty()) gPlatform->files.Delete(gMarkPath);
  gMarkPath.clear();
  gTried = false;
}

void ClearUseMark() {
  ReleaseUseMark();
  gPlatform->files.Delete(MarkPath());
}

}  // namespace quillet
