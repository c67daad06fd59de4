// SPDX-License-Identifier: GPL-3.0-or-later
// Puts edited preferences in force: compares the old record with the new one, group by group of
// settings that one view shows, and draws anew only what differs; then writes them, and at last has
// the databases moved when their folder has changed.
#include "app/open_prefs.h"

#include <array>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "app/main_window.h"
#include "app/move_databases.h"
#include "app/pages/sheet.h"
#include "app/startup.h"
#include "article/panes.h"
#include "article/view.h"
#include "base/extensions.h"
#include "base/messages.h"
#include "base/prefs_registry.h"
#include "base/server_security.h"
#include "groups/group_list.h"
#include "mime/decoding.h"
#include "port/platform.h"
#include "port/windows.h"
#include "thread/view.h"

namespace quillet {
namespace {

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
bool ThreadViewChanged(const Prefs& old, bool decoding_changed) {
  // Decoded subjects are sorted and gathered otherwise, too.
  const bool order = ThreadOrder(old) != ThreadOrder(*gPrefs);
  if (order || decoding_changed) gReading.tree_state.Invalidate();
  const bool look = ThreadLook(old) != ThreadLook(*gPrefs);
  if (look) ForgetThreadFont();
  return look || gReading.tree_state.OutOfDate() || CaptionSource(old) != CaptionSource(*gPrefs);
}

// The same for the article view.
bool ArticleViewChanged(const Prefs& old, bool decoding_changed) {
  const bool header = HeaderLook(old) != HeaderLook(*gPrefs);
  if (header) ForgetArticlePanes();
  return header || decoding_changed || ArticleLook(old) != ArticleLook(*gPrefs);
}

void RefreshViews(const Prefs& old, bool decoding_changed) {
  const int tab = gPlatform->windows.SelectedTab();
  RefreshGroupView(old);
  const bool threads = ThreadViewChanged(old, decoding_changed);
  const bool article = ArticleViewChanged(old, decoding_changed);
  if (threads && tab == port::kThreadTab) ShowThreadView();
  if (article && tab == port::kArticleTab) DisplayCurrentArticle({});
  RefreshStartGuide();
}

void StoreExtensions(const EditedPrefs& edited) {
  ApplyExtensions(edited.extensions);
  if (edited.extensions.ancestors != edited.stored_extensions.ancestors) {
    gReading.tree_state.Invalidate();
  }
  if (!WriteExtensions(edited.stored_extensions, edited.extensions)) {
    ShowMessage(u"The changes on the page \"Extensions\" could not be saved.");
  }
  ShowTreeTraits();
  RefreshHeaderBar();
}

// Before the servers themselves: whatever ends the program in between, no server that is to be
// secured stands there without.
void StoreSecurities(const EditedPrefs& edited) {
  bool stored = WriteServerSecurities(edited.securities);
  for (const std::u16string& server : edited.chosen_anew) {
    stored = ForgetTrustedCertificates(server) && stored;
  }
  if (!stored) ShowMessage(u"The security of the news servers could not be saved.");
}

}  // namespace

void OpenPreferences(PreferencesPage start_page) {
  const bool at_last_page = start_page == PreferencesPage::kLastShown;
  const int page =
      at_last_page ? static_cast<int>(gPrefs->prefspage) : static_cast<int>(start_page) - 1;
  std::optional<EditedPrefs> edited = RunPrefsSheet(*gPrefs, page);
  // A critical error on the way, of a database, has closed the window and ends the program.
  if (!edited || gMainWindow == 0) return;
  gPrefs->prefspage = edited->prefspage;
  if (!edited->copy) return;
  const bool decoded = Decoding();
  StoreExtensions(*edited);
  StoreSecurities(*edited);
  ApplyPrefsChanges(std::move(edited->copy), Decoding() != decoded);
}

void ApplyPrefsChanges(std::unique_ptr<Prefs> edited, bool decoding_changed) {
  if (!edited) return;
  const std::unique_ptr<Prefs> old = std::exchange(gPrefs, std::move(edited));
  if (old->sidetabs != gPrefs->sidetabs) {
    RebuildViews();
  } else {
    RefreshViews(*old, decoding_changed);
  }
  ScheduleAutoDownload();
  // The old place is what is stored until the databases lie in the new one, so that whatever ends
  // the program meanwhile, the next start finds them.
  const std::u16string wanted_store = std::exchange(gPrefs->databasestore, old->databasestore);
  gPrefs->databasefolder = old->databasefolder;
  WritePreferences();
  if (wanted_store != gPrefs->databasestore) MoveDatabases(wanted_store);
}

}  // namespace quillet
