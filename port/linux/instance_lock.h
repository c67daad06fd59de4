// SPDX-License-Identifier: GPL-3.0-or-later
// The lock that the running instance of a profile holds on "instance.lock" in its configuration
// folder; it goes with the process. Any thread.
#pragma once

#include "port/linux/file_descriptor.h"
#include "port/linux/profile.h"

namespace quillet::port {

// Made when it is missing; not valid when it can neither be made nor opened.
FileDescriptor OpenLockFile(const Profile& profile);

enum class Lock { kHeld, kTaken, kImpossible };

// Never waits. It is held until the descriptor is closed.
Lock TryLock(int file);

}  // namespace quillet::port
