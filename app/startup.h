// SPDX-License-Identifier: GPL-3.0-or-later
// Start-up, main loop and shutdown of the program.
#pragma once

#include "port/clock.h"

namespace quillet {

// The whole program, on the calling thread (which becomes the program thread); returns its exit
// code: 1 when the stored preferences cannot be read, else 0. gPlatform must be set.
int RunQuillet();

// Registers or cancels the daily download with the system.
void ScheduleAutoDownload();
// The next moment of that time of day, seen from `now`; an equal second is not later.
port::CalendarTime NextDownloadTime(const port::CalendarTime& now, int hour, int minute,
                                    int second);
// Saves check marks and preferences, hangs up, closes the databases. Idempotent.
void ShutDown();

}  // namespace quillet
