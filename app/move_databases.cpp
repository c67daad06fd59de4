// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/move_databases.h"

#include <utility>

#include "article/view.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "port/files.h"
#include "port/platform.h"
#include "port/windows.h"
#include "store/databases.h"
#include "store/relocation.h"
#include "thread/view.h"
#include "util/format.h"

namespace quillet {
namespace {

// What is being read lies in a store that is not open any more.
void LeaveOldStore() {
  ClearArticleView();
  ClearThreadView();
  if (gPlatform->windows.SelectedTab() == port::kArticleTab) ShowThreadView();
}

void UseStore(std::u16string databasestore) {
  gPrefs->databasefolder = DatabaseFolderFor(databasestore);
  gPrefs->databasestore = std::move(databasestore);
  gDatabaseFolder = gPrefs->databasefolder;
}

// Opens what lies in the store and makes it the one that is found at the next start.
bool OpenInStore(const std::u16string& databasestore) {
  UseStore(databasestore);
  return ReopenDatabases() && WritePreferences();
}

bool TakeAlong(const std::u16string& databasestore) {
  Relocation relocation(gPrefs->databasefolder, DatabaseFolderFor(databasestore));
  if (!relocation.Copy()) return false;
  if (!OpenInStore(databasestore)) {
    CloseDatabases();
    return false;
  }
  relocation.Finish();
  return true;
}

void TellNotMoved() {
  ShowMessage(u"The databases could not be moved. They stay where they are.");
}

void StayInStore(const std::u16string& databasestore) {
  CloseDatabases();
  UseStore(databasestore);
  // A critical error on the way has closed the window and ends the program.
  if (gMainWindow == 0) return;
  const bool open = ReopenDatabases();
  TellNotMoved();
  if (!open) ReportCriticalError(u"unable to re-open databases", u"ApplyPrefsChanges");
}

// Meant: as at a start without the card, main memory takes its place. Nothing is moved.
void FallBackToMainMemory(const std::u16string& old_store) {
  if (old_store.empty()) return TellNotMoved();
  CloseDatabases();
  if (!OpenInStore(u"")) return StayInStore(old_store);
  LeaveOldStore();
  ShowMessage(
      FormatWide(u"There is no folder for the databases in the new location, and none could be "
                 u"made. Quillet CE uses the databases in main memory now. Those on \"%ls\" stay "
                 u"there.",
                 old_store));
}

}  // namespace

void MoveDatabases(const std::u16string& databasestore) {
  const std::u16string old_store = gPrefs->databasestore;
  const std::u16string folder = DatabaseFolderFor(databasestore);
  port::Files& files = gPlatform->files;
  if (!files.FolderExists(folder) && !files.CreateFolder(folder)) {
    return FallBackToMainMemory(old_store);
  }
  // The two blanks after the full stop are meant: boxes are told by their exact texts, in the
  // answers that scripts announce too. Meant: after a No everything is as it was, so that nobody
  // reads other articles than before without having asked for them.
  if (HoldsDatabases(folder) &&
      !ConfirmAction(u"Databases already exist in new location.  Replace with old databases?",
                     true)) {
    return;
  }
  CloseDatabases();
  if (!TakeAlong(databasestore)) StayInStore(old_store);
}

}  // namespace quillet
