#include "app/open_prefs.h"

#include <array>
#include <string>
#include <utility>

#include "app/base/messages.h"
#include "app/base/prefs_registry.h"
#include "app/main_window.h"
#include "app/startup.h"
#include "groups/group_list.h"
#include "port/platform.h"
#include "store/databases.h"

namespace quillet {
namespace {

std::u16string PathIn(std::u16string_view folder, DatabaseIndex index) {
  return std::u16string(folder) + u"\\" + std::u16string(DatabaseFileName(index));
}

bool HoldsDatabases(std::u16string_view folder) {
  return gPlatform->files.FileSize(PathIn(folder, DatabaseIndex::kArticles)) &&
         gPlatform->files.FileSize(PathIn(folder, DatabaseIndex::kNewsgroups));
}

// A failed copy leaves that file and the ones after it where they are.
void CopyDatabases(std::u16string_view from, std::u16string_view to) {
  for (const DatabaseIndex index :
       {DatabaseIndex::kArticles, DatabaseIndex::kNewsgroups, DatabaseIndex::kPendingPosts}) {
    const std::u16string old_path = PathIn(from, index);
    if (!gPlatform->files.Copy(old_path, PathIn(to, index))) return;
    gPlatform->files.Delete(old_path);
  }
}

void MoveDatabases(const std::u16string& from, const std::u16string& to) {
  gPlatform->files.CreateFolder(to);
  CloseDatabases();
  gPlatform->files.CreateFolder(gDatabaseFolder);
  const bool replace =
      !HoldsDatabases(to) ||
      // The two blanks after the full stop are meant.
      ConfirmAction(u"Databases already exist in new location.  Replace with old databases?", true);
  if (replace) CopyDatabases(from, to);
  if (!ReopenDatabases()) ReportCriticalError(u"unable to re-open databases", u"ApplyPrefsChanges");
}

void RefreshViews(const Prefs& old) {
  if (gPlatform->windows.SelectedTab() != port::kGroupTab) return;
  if (old.groupfont == gPrefs->groupfont && old.groupfontsize == gPrefs->groupfontsize) return;
  SaveGroupChecks();
  CreateGroupList();
  ForgetGroupList();
  FillGroupList();
}

}  // namespace

void OpenPrefs(int /*start_page*/) {
  ShowMessage(
      u"The preferences cannot be edited in the window yet. Please use the program "
      u"quillet-setup to set the news server and the newsgroups.");
}

void ApplyPrefsChanges(std::unique_ptr<Prefs> edited) {
  if (!edited) return;
  const std::unique_ptr<Prefs> old = std::exchange(gPrefs, std::move(edited));
  RefreshViews(*old);
  if (old->sidetabs != gPrefs->sidetabs) RebuildViews();
  ScheduleAutoDownload();
  // Before the write: a card that has gone falls back to main memory, and that is what is stored.
  if (old->databasestore != gPrefs->databasestore) PrepareDatabaseFolder(*gPrefs);
  WritePreferences();
  if (old->databasefolder != gPrefs->databasefolder) {
    MoveDatabases(old->databasefolder, gPrefs->databasefolder);
  }
}

}  // namespace quillet
