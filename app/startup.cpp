// SPDX-License-Identifier: GPL-3.0-or-later
// The program from its command line to its exit code: preferences, window, store and views in this
// order, then the main loop; a step that fails undoes those before it and ends the program. Also
// the daily download as the system knows it, and what is saved and closed at the end.
#include "app/startup.h"

#include <cstdlib>

#include "app/main_window.h"
#include "app/open_prefs.h"
#include "app/place.h"
#include "app/quick_setup.h"
#include "article/view.h"
#include "base/app_messages.h"
#include "base/extensions.h"
#include "base/messages.h"
#include "base/prefs.h"
#include "base/prefs_registry.h"
#include "base/reset.h"
#include "base/stored_passwords.h"
#include "base/upward_calls.h"
#include "base/window_procedures.h"
#include "groups/group_list.h"
#include "nntp/connect.h"
#include "nntp/ntlm.h"
#include "port/clock.h"
#include "port/files.h"
#include "port/message_queue.h"
#include "port/platform.h"
#include "port/scheduler.h"
#include "port/shell.h"
#include "port/windows.h"
#include "post/editor.h"
#include "post/mail.h"
#include "store/compression.h"
#include "store/databases.h"
#include "thread/deletion.h"
#include "thread/view.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr std::u16string_view kExecutablePath =
    u"\\Program Files\\Communication\\Quillet CE\\quillet.exe";

constexpr int kExitNoPreferences = 1;

bool gStoreOpened = false;

const ResetAtEnd kReset([] { gStoreOpened = false; });

// The user may have the damaged files taken away; the program ends in any case, and the next start
// makes new ones. They are set aside, not deleted: what is damaged today may be read tomorrow.
void OfferDeletion() {
  if (!AskYesNo(u"Quillet CE was unable to open its GDBM databases; they are probably corrupted. "
                u"Would you like Quillet CE to delete them automatically?",
                port::kIdNo)) {
    ShowMessage(u"Quillet CE will now exit.");
  } else if (!SetDatabasesAside()) {
    ShowMessage(
        u"There was an error deleting one or more of the databases. Your CE device may need to be "
        u"rebooted.");
  } else {
    ShowMessage(u"Done. You will need to re-launch Quillet CE to create new databases.");
  }
}

bool OpenStore() {
  LoadSecurityInterface();
  if (!LoadDatabaseLibrary()) {
    ShowMessage(
        u"Quillet CE was unable to initialize its gdbmce.dll, which is required for this version. "
        u"Please re-install Quillet CE and try again.");
    return false;
  }
  if (!OpenGDBMDatabases()) {
    if (OpeningTrouble() == OpenTrouble::kDamaged) OfferDeletion();
    return false;
  }
  LoadCompressionLibrary();
  gStoreOpened = true;
  return true;
}

// What stands above the folders that call it.
void ConnectUpwardCalls() {
  gUpwardCalls.shown_tree = {GroupOfShownTree, DeleteReadOfShownTree, ClearThreadView};
  gUpwardCalls.article_view = {DisplayArticle, ClearArticleView};
  gUpwardCalls.group_list = {ShowGroupCounts, TellResultOfRun};
  gUpwardCalls.open_preferences = OpenPreferences;
  gUpwardCalls.is_being_edited = IsBeingEdited;
}

int MainLoop() {
  port::Message message;
  while (gPlatform->messages.Get(message)) {
    if (!TranslateAccelerator(message)) Dispatch(message);
  }
  return static_cast<int>(message.id);
}

// The window is there, the loop is not: what is left when the start cannot go on.
int EndBeforeTheLoop() {
  CloseDatabases();
  UnloadCompressionLibrary();
  gPlatform->shell.SetInstanceWindow(0, {});
  DestroyMainWindow();
  return 0;
}

// Starting with defaults would hide the settings from the user, and the first write would fail or
// go elsewhere.
bool TellOfUnreadableRegistry() {
  const std::u16string obstacle = gPlatform->registry.Obstacle();
  if (obstacle.empty()) return false;
  ShowMessage(
      FormatWide(u"Quillet CE cannot read its preferences, because %ls. Quillet CE will now "
                 u"exit.",
                 obstacle));
  return true;
}

void TellOfDamagedRegistry() {
  const std::u16string file = gPlatform->registry.DamagedFile();
  if (file.empty()) return;
  ShowMessage(
      FormatWide(u"The stored preferences were damaged. They have been kept as \"%ls\", and "
                 u"Quillet CE starts with its default preferences.",
                 file));
}

// The text was written by the run before.
void TellOfCutFile() {
  constexpr std::uint64_t kLongestNote = 8192;
  const auto note = gPlatform->files.ReadFile(port::kCutFileNote, kLongestNote);
  if (!note) return;
  gPlatform->files.Delete(port::kCutFileNote);
  ShowMessage(FromUtf8(note->substr(0, note->find('\n'))));
}

void TellOfPasswordTrouble() {
  const std::u16string trouble = TakePasswordTrouble();
  if (!trouble.empty()) ShowMessage(trouble);
}

int DaysInMonth(int month, int year) {
  if (month == 4 || month == 6 || month == 9 || month == 11) return 30;
  if (month != 2) return 31;
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return leap ? 29 : 28;
}

void AdvanceOneDay(port::CalendarTime& time) {
  time.day_of_week = (time.day_of_week + 1) % 7;
  if (++time.day <= DaysInMonth(time.month, time.year)) return;
  time.day = 1;
  if (++time.month <= 12) return;
  time.month = 1;
  ++time.year;
}

// The instance that owns the profile hangs, or was started by an earlier version.
void TellOfLostLink() {
  if (gPlatform->shell.Link().empty() || gPlatform->shell.LinkTaken()) return;
  ShowMessage(
      u"Quillet CE is running already, but has not taken the link. Please try again, or close "
      u"Quillet CE first.");
}

// As one that a later start hands over: when the loop comes to it.
void OpenGivenLink() {
  const std::u16string link = gPlatform->shell.Link();
  if (link.empty()) return;
  gPlatform->messages.Post({gMainWindow, port::MessageKind::kUser, kUserNewsLink, 0, link});
}

// The program from its first step to its exit code.
int RunOnce() {
  const bool scheduled = gPlatform->shell.CommandLine() == port::kScheduledCommandLine;
  if (gPlatform->shell.ForwardToOtherInstance(scheduled)) {
    TellOfLostLink();
    return 0;
  }
  ConnectUpwardCalls();
  if (TellOfUnreadableRegistry()) return kExitNoPreferences;
  ReadPreferences();
  if (!gPrefs) return 0;
  ApplyExtensions(ReadExtensions());
  // Seeded once a run, at this place in the start, so that whatever draws from the runtime's
  // generator finds it ready; nothing does so far.
  std::srand(static_cast<unsigned>(gPlatform->clock.Ticks()));
  if (!CreateQuilletWindow()) return 0;
  TellOfDamagedRegistry();
  TellOfCutFile();
  // Nobody may be there to press OK, and the server will say that it wants a password.
  if (!scheduled) TellOfPasswordTrouble();
  // A critical error while the store was opened has closed the window.
  if (!OpenStore() || gMainWindow == 0) return EndBeforeTheLoop();
  gPlatform->windows.ShowMainWindow();
  CreateViews();
  // Before a connection: what was finished is in the queue, and what was not is held back there.
  SettleDraft();
  PublishMailServices();
  if (scheduled) {
    Dispatch({gMainWindow, port::MessageKind::kUser, kUserScheduledTurn, 0, {}});
  } else {
    ScheduleAutoDownload();
    HandOverMail();  // a scheduled start has its connection for that
  }
  // Behind the window, which is there by then. Whoever asks for something else at the start gets
  // that, and at the first start there is no place.
  const bool asks = !gPlatform->shell.CommandLine().empty() || !gPlatform->shell.Link().empty();
  if (!asks && gPrefs->numservers != 0) {
    PostToMainWindow(kUserRestorePlace);
  }
  // A question would keep the next scheduled connections waiting for somebody to answer it.
  scheduled ? OfferDraftWhenSomebodyIsThere() : OfferDraftSoon();
  if (gPrefs->numservers == 0 && gMainWindow != 0) RunQuickSetup();
  OpenGivenLink();
  // A session that ended while there was no window to tell.
  if (SessionEnding()) BeginSessionEnd();
  return MainLoop();
}

}  // namespace

port::CalendarTime NextDownloadTime(const port::CalendarTime& now, int hour, int minute,
                                    int second) {
  const auto seconds = [](int h, int m, int s) { return (h * 60 + m) * 60 + s; };
  port::CalendarTime target = now;
  target.hour = hour;
  target.minute = minute;
  target.second = second;
  target.millisecond = 0;
  // An equal second is not later: the target is then still today.
  if (seconds(now.hour, now.minute, now.second) > seconds(hour, minute, second)) {
    AdvanceOneDay(target);
  }
  return target;
}

void ScheduleAutoDownload() {
  if (gPrefs->useautodownload == 0) {
    gPlatform->scheduler.RunAppAtTime(kExecutablePath, nullptr);
    return;
  }
  const port::CalendarTime target =
      NextDownloadTime(gPlatform->clock.LocalTime(), static_cast<int>(gPrefs->downloadhr),
                       static_cast<int>(gPrefs->downloadmn), static_cast<int>(gPrefs->downloadsc));
  if (!gPlatform->scheduler.RunAppAtTime(kExecutablePath, &target)) {
    ShowMessage(
        u"The scheduled download could not be registered with the system. Quillet CE will not "
        u"start by itself at that time.");
  }
}

void ShutDown() {
  if (!gStoreOpened) return;
  gStoreOpened = false;
  HangUpDialledConnection();
  KeepPlace();
  if (gPrefs) WritePreferences();
  CloseDatabases();
  UnloadCompressionLibrary();
}

int RunQuillet() {
  const int code = RunOnce();
  // Only now: the window may have been closed by a critical error while somebody worked on the
  // tree.
  ResetProgram();
  return code;
}

}  // namespace quillet
