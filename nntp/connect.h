// SPDX-License-Identifier: GPL-3.0-or-later
// The Connect command: checks, dialling, the connection under the progress dialog, clean-up.
// Program thread only.
#pragma once

#include "port/dialler.h"

namespace quillet {

// The connection this program dialled; 0 when none.
extern port::DialHandle gDialHandle;

// `interactive`: the menu's command; otherwise the scheduled run.
void ConnectCommand(bool interactive);
bool CheckDownloadPreconditions(bool interactive);
void StartConnection();
bool WinceConnectIfNotConnected();
bool ConnectedToInternet();
void EndDownload();
// Hangs up what this program dialled. Idempotent.
void HangUpDialledConnection();

}  // namespace quillet
