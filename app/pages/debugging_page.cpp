// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "nntp/transaction_log.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/databases.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlKeepTransactionLog, CheckBox{&Prefs::keeptranslog}},
});

void ShowVersion(PrefsSheet& /*sheet*/, port::WindowHandle page, bool /*first*/) {
  gPlatform->dialogs.Write(
      page, kControlDatabaseVersion,
      port::Text{FormatWide(u"Loaded GDBMce.dll version: '%ls'", DatabaseLibraryVersion())});
}

void HandleSave(PrefsSheet& /*sheet*/, port::WindowHandle /*page*/, const port::Message& message) {
  if (IsPress(message, kControlSaveLog)) SaveTransactionLog();
}

}  // namespace

PrefsPage DebuggingPage() {
  return {.form = kDialogDebuggingPage,
          .caption = u"Advanced: Debugging",
          .fields = kFields,
          .show = ShowVersion,
          .handle = HandleSave};
}

}  // namespace quillet
