// Puts edited preferences in force: compares the old record with the new one, group by group of
// settings that one view shows, and draws anew only what differs; then writes them, and at last
// moves the databases when their folder has changed.
#include "app/open_prefs.h"

#include <array>
#include <string>
#include <tuple>
#include <utility>

#include "app/main_window.h"
#include "app/startup.h"
#include "article/panes.h"
#include "article/view.h"
#include "base/messages.h"
#include "base/prefs_registry.h"
#include "groups/group_list.h"
#include "port/files.h"
#include "port/platform.h"
#include "port/windows.h"
#include "store/databases.h"
#include "thread/view.h"

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

// What is being read lies in a store that is not open any more.
void LeaveOldStore() {
  ClearArticleView();
  ClearThreadView();
  if (gPlatform->windows.SelectedTab() == port::kArticleTab) ShowThreadView();
}

void MoveDatabases(const std::u16string& from, const std::u16string& to) {
  gPlatform->files.CreateFolder(to);
  CloseDatabases();
  gPlatform->files.CreateFolder(gDatabaseFolder);
  const bool replace =
      !HoldsDatabases(to) ||
      // The two blanks after the full stop are meant: boxes are told by their exact texts, in the
      // answers that scripts announce too.
      ConfirmAction(u"Databases already exist in new location.  Replace with old databases?", true);
  if (replace) CopyDatabases(from, to);
  if (!ReopenDatabases()) {
    ReportCriticalError(u"unable to re-open databases", u"ApplyPrefsChanges");
  } else if (!replace) {
    LeaveOldStore();
  }
}

// What the views show by the preferences, as one comparable value each.
auto GroupLook(const Prefs& prefs) {
  return std::tie(prefs.groupfont, prefs.groupfontsize);
}
auto ThreadLook(const Prefs& prefs) {
  return std::tie(prefs.threadfont, prefs.threadfontsize);
}
auto ThreadOrder(const Prefs& prefs) {
  return std::tie(prefs.usethreading, prefs.reversethread);
}
auto CaptionSource(const Prefs& prefs) {
  return std::tie(prefs.selectedserver, prefs.allserversareone);
}
auto HeaderLook(const Prefs& prefs) {
  return std::tie(prefs.articleheaderfont, prefs.articleheaderfontsize);
}
auto ArticleLook(const Prefs& prefs) {
  return std::tie(prefs.font, prefs.fontsize, prefs.colorquoted, prefs.showheaders,
                  prefs.removecrs);
}

void RefreshGroupView(const Prefs& old) {
  if (GroupLook(old) != GroupLook(*gPrefs)) CreateGroupList();
}

// True when the thread view has to be shown anew.
bool ThreadViewChanged(const Prefs& old) {
  if (ThreadOrder(old) != ThreadOrder(*gPrefs)) gReading.tree_state.Invalidate();
  const bool look = ThreadLook(old) != ThreadLook(*gPrefs);
  if (look) ForgetThreadControl();
  return look || gReading.tree_state.OutOfDate() || CaptionSource(old) != CaptionSource(*gPrefs);
}

// The same for the article view.
bool ArticleViewChanged(const Prefs& old) {
  const bool header = HeaderLook(old) != HeaderLook(*gPrefs);
  if (header) ForgetArticlePanes();
  return header || ArticleLook(old) != ArticleLook(*gPrefs);
}

void RefreshViews(const Prefs& old) {
  const int tab = gPlatform->windows.SelectedTab();
  RefreshGroupView(old);
  const bool threads = ThreadViewChanged(old);
  const bool article = ArticleViewChanged(old);
  if (threads && tab == port::kThreadTab) ShowThreadView();
  if (article && tab == port::kArticleTab) DisplayCurrentArticle({});
}

}  // namespace

void OpenPreferences(PreferencesPage /*start_page*/) {
  ShowMessage(
      u"The preferences cannot be edited in the window yet. Please use the program "
      u"quillet-setup to set the news server and the newsgroups.");
}

void ApplyPrefsChanges(std::unique_ptr<Prefs> edited) {
  if (!edited) return;
  const std::unique_ptr<Prefs> old = std::exchange(gPrefs, std::move(edited));
  if (old->sidetabs != gPrefs->sidetabs) {
    RebuildViews();
  } else {
    RefreshViews(*old);
  }
  ScheduleAutoDownload();
  // Before the write: a card that has gone falls back to main memory, and that is what is stored.
  if (old->databasestore != gPrefs->databasestore) PrepareDatabaseFolder(*gPrefs);
  WritePreferences();
  if (old->databasefolder != gPrefs->databasefolder) {
    MoveDatabases(old->databasefolder, gPrefs->databasefolder);
  }
}

}  // namespace quillet
