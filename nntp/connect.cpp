// SPDX-License-Identifier: GPL-3.0-or-later
// The Connect command around the run: deleting beforehand, what can be known to be in vain before
// anything is dialled, the dialled line, and the same end for every run, after which no line is
// left open. The groups are taken from the preferences once, at the start.
#include "nntp/connect.h"

#include <algorithm>
#include <string_view>

#include "base/app_messages.h"
#include "base/box_owner.h"
#include "base/long_operation.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/reset.h"
#include "base/subscriptions.h"
#include "base/upward_calls.h"
#include "nntp/connection.h"
#include "nntp/download.h"
#include "nntp/figures.h"
#include "port/platform.h"
#include "store/counts.h"
#include "store/databases.h"
#include "store/deletion.h"
#include "store/maintenance.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "store/whole_points.h"
#include "util/format.h"

namespace quillet {

port::DialHandle gDialHandle = 0;

namespace {

const ResetAtEnd kReset([] { gDialHandle = 0; });

bool GroupIsFull(GroupIndex group) {
  return IndexOf(group) < gReadInfo.size() &&
         gReadInfo[IndexOf(group)]->totalCount >= gPrefs->maxarticles;
}

bool JudgeEmptyDownloadList(bool interactive) {
  if (gPendingPostCount == 0) {
    ShowMessage(gPrefs->numgroups == 0
                    ? u"You do not have any groups in the group list. Please add some groups "
                      u"(using Group->Groups->New group) and try again."
                    : u"There are no groups selected for downloading. Please check the groups "
                      u"which you would like to download and try again.");
    return false;
  }
  return !interactive || ConfirmAction(
                             u"There are no groups selected to download. Would you like to connect "
                             u"just to post the queued articles?",
                             true);
}

void AskToConfigure(std::u16string_view text, port::BoxIcon icon, PreferencesPage page) {
  ShowBox(CurrentBoxOwner(), u"Quillet CE not configured", text,
          {port::BoxButtons::kOk, icon, false});
  up::OpenPreferences(page);
}

void ReportDialError(std::uint32_t error, std::u16string_view location) {
  ReportError(FormatWide(u"RAS error %d", error), location);
}

bool DialSelectedMethod() {
  port::Dialler& dialler = gPlatform->dialler;
  port::DialParameters parameters;
  parameters.entry = gPrefs->conxmethod;
  dialler.EntryParameters(parameters);
  const std::uint32_t error = dialler.Dial(parameters, gDialHandle);
  std::uint32_t state = 0;
  if (dialler.ConnectStatus(gDialHandle, state) == 0 && state == port::kDialStateConnected) {
    return true;
  }
  ReportDialError(error, u"WinceConnectIfNotConnected");
  HangUpDialledConnection();
  return false;
}

}  // namespace

void ConnectCommand(bool interactive) {
  gConnection.nobody_waits = !interactive;
  gDownloadList = CheckedGroups(*gPrefs);
  if (gPrefs->autodeletebefore != 0) DeleteCheckedArticles(gPrefs->autodeleteread != 0);
  if (!CheckDownloadPreconditions(interactive) || !StoreHasRoom()) return;
  StartConnection();
  PostToMainWindow(kUserRefillGroupList);
}

bool CheckDownloadPreconditions(bool interactive) {
  if (gDownloadList.empty()) return JudgeEmptyDownloadList(interactive);
  if (gPendingPostCount != 0) return true;
  if (!std::all_of(gDownloadList.begin(), gDownloadList.end(), GroupIsFull)) return true;
  ShowMessage(FormatWide(
      u"Your preferences are set to store %d articles per group, and the groups you have checked "
      u"each have at least this many. Either delete some articles or raise the maximum number of "
      u"articles to download in the preferences.",
      gPrefs->maxarticles));
  return false;
}

void StartConnection() {
  if (gPrefs->numservers == 0) {
    AskToConfigure(u"In order to connect, you need to supply a news server name.",
                   port::BoxIcon::kExclamation, PreferencesPage::kServer);
    return;
  }
  if (WinceConnectIfNotConnected() && StartInet()) {
    RunWithProgress(u"Preparing to download...", OpenConnection, FiguresOfRun());
  }
  EndDownload();
  StopInet();
}

bool WinceConnectIfNotConnected() {
  if (gPrefs->conxmethod == u"<none>") return true;
  if (ConnectedToInternet()) return true;
  if (gPrefs->conxmethod.empty()) {
    AskToConfigure(u"In order to connect, you need to select a connection method.",
                   port::BoxIcon::kNone, PreferencesPage::kConnection);
    return false;
  }
  return DialSelectedMethod();
}

bool ConnectedToInternet() {
  // Meant: room for one. With more connections open the call fails (603), the failure is shown and
  // the selected method is dialled; with more room any two open connections would pass for the way
  // to the news server, and nothing would be dialled.
  constexpr std::uint32_t kRoom = 1;
  std::uint32_t count = 0;
  const std::uint32_t error = gPlatform->dialler.EnumerateConnections(kRoom, count);
  if (error == 0) return count != 0;
  constexpr std::u16string_view kLocation = u"ConnectedToInternet";
  if (error == port::kDialCannotOpenPhonebook) {
    ReportError(u"cannot open phonebook", kLocation);
  } else if (error == port::kDialRejected) {
    ReportError(u"The server has rejected your credentials and dropped the connection", kLocation);
  } else {
    ReportDialError(error, kLocation);
  }
  return false;
}

void EndDownload() {
  StoreIsWhole();
  HangUpDialledConnection();
  if (gPrefs->beepafter != 0) gPlatform->boxes.Beep();
  ReleaseConnection();
  gDownloadList.clear();
  DestroyProgressDialog();
  gPendingPostCount = CountPendingPosts();
  up::TellResultOfRun(TakeResultOfRun());
  PostToMainWindow(kUserRefreshCounts);
}

void HangUpDialledConnection() {
  if (gDialHandle == 0) return;
  gPlatform->dialler.HangUp(gDialHandle);
  gDialHandle = 0;
}

}  // namespace quillet
