// SPDX-License-Identifier: GPL-3.0-or-later
// The mark in the database folder that tells a killed writer from a proper end: a small file that
// exists from the first write after opening until the databases are closed. It names the copies of
// the two smaller files as they were when the store was whole. Only for store/.
//
// A writer killed at a bad moment can leave a file that looks sound and yet hands out space that is
// in use, which destroys other records later, or lacks records that nobody deleted. Only a recovery
// and a look at all records together repair that, and only this mark tells that they are needed.
#pragma once

#include <array>
#include <string>

#include "store/databases.h"

namespace quillet {

struct UseMark {
  bool found = false;                              // the last writer did not get to its end
  std::array<bool, kDatabaseCount> has_copy = {};  // it left a copy of that file
};
// To be asked once an opening, before anything else here.
UseMark FindUseMark();

// Device path of a file's copy.
std::u16string CopyPath(DatabaseIndex index);

// Sets the mark, tried once; afterwards it costs nothing.
void SetUseMark();
// The copy is there: the mark says so from now on. Sets the mark when there is none.
void NameCopyInMark(DatabaseIndex index);
// The mark that was found or set stays, and the copies: something is left to do for the next start.
void KeepUseMark();
// The files were closed properly: takes away the mark that SetUseMark set and its copies, no
// others.
void ReleaseUseMark();
// The files were made whole, or taken away: takes away whatever mark and copies there are.
void ClearUseMark();

}  // namespace quillet
