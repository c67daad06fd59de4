// SPDX-License-Identifier: GPL-3.0-or-later
// The bound gdbm library: one pointer an entry. Only for store/.
#pragma once

#include <gdbm.h>

#include "port/libraries.h"

// The library is bound by name, and one of the names is a macro of its header.
#undef gdbm_errno

namespace quillet {

struct GdbmLibrary {
  port::LibraryHandle handle = nullptr;

  // The names the program insists on.
  decltype(&::gdbm_open) open = nullptr;
  decltype(&::gdbm_close) close = nullptr;
  decltype(&::gdbm_store) store = nullptr;
  decltype(&::gdbm_fetch) fetch = nullptr;
  decltype(&::gdbm_delete) remove = nullptr;
  decltype(&::gdbm_firstkey) firstkey = nullptr;
  decltype(&::gdbm_nextkey) nextkey = nullptr;
  decltype(&::gdbm_reorganize) reorganize = nullptr;
  decltype(&::gdbm_sync) sync = nullptr;
  decltype(&::gdbm_exists) exists = nullptr;
  decltype(&::gdbm_setopt) setopt = nullptr;
  int* (*errno_location)() = nullptr;
  const char** version = nullptr;

  // What newer libraries have beyond them; null where it is missing.
  decltype(&::gdbm_needs_recovery) needs_recovery = nullptr;
  decltype(&::gdbm_recover) recover = nullptr;
  decltype(&::gdbm_strerror) strerror = nullptr;
};

extern GdbmLibrary gGdbm;

// Loads "gdbmce.dll" into gGdbm; false, with nothing bound, when it or one of the 13 names is
// missing. Once bound it does nothing.
bool BindGdbm();

// The library's last error (GDBM_NO_ERROR before it is bound).
int GdbmError();

}  // namespace quillet
