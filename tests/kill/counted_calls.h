// SPDX-License-Identifier: GPL-3.0-or-later
// Calls of the database library and the file service that count down, and of which the last one is
// the process's last.
#pragma once

#include <csignal>

#include "store/gdbm_library.h"

namespace quillet {

inline int gCallsLeft = 0;  // the process dies before the call that makes it 0
inline GdbmLibrary gWhole;  // the library's own calls

inline void CountCall() {
  if (--gCallsLeft == 0) raise(SIGKILL);
}
inline int StoreCounted(GDBM_FILE file, datum key, datum value, int flag) {
  CountCall();
  return gWhole.store(file, key, value, flag);
}
inline int RemoveCounted(GDBM_FILE file, datum key) {
  CountCall();
  return gWhole.remove(file, key);
}
inline int SyncCounted(GDBM_FILE file) {
  CountCall();
  return gWhole.sync(file);
}

}  // namespace quillet
