// SPDX-License-Identifier: GPL-3.0-or-later
// How a database file is opened, whatever state it was left in. Only for store/.
#pragma once

#include <cstdint>
#include <string>

#include "store/databases.h"
#include "store/gdbm_file.h"

namespace quillet {

struct OpenedFile {
  GdbmFile file;
  bool sound = false;  // it was closed properly, or is new
  OpenTrouble trouble = OpenTrouble::kNone;
  bool created = false;  // it is new and empty
  bool recovered = false;
  // There was no room to recover it: it was corrected where it lies, and what a killed writer left
  // in it besides may still be there.
  bool corrected = false;
};

// The first look, which changes nothing: opens the file as it is. Trouble is only what nothing but
// the user can end: another process, missing rights. A missing or damaged file is closed without.
OpenedFile LookAtDatabaseFile(const std::u16string& path);
// Removes what killed writers have left beside the file, which nobody else has open: the library's
// half-made copy of a recovery, files that were to replace another, a database that was being made
// or rewritten.
void RemoveUnfinishedFiles(const std::u16string& path);

// Opens the file for good, and creates it when there is none or an empty one.
//
// A file that was not closed properly (`unclean`, or by its own look) is recovered silently;
// without room for that it is corrected where it lies and used when all of it can be read. One that
// cannot be opened or recovered is set aside under a dated name beside itself, the user is told,
// and an empty one takes its place. For lack of room or rights nothing is set aside.
OpenedFile SettleDatabaseFile(const std::u16string& path, OpenedFile looked_at, bool unclean);

// The file as it is, but for its header; closed, with the header as it was, when not all of it can
// be read then. Without room there is no other way to what is in it.
OpenedFile CorrectInPlace(const std::u16string& path, std::uint64_t size);

// Where the library keeps the file as it was while it puts the recovered one in its place.
std::u16string BackupPath(const std::u16string& path);

// A free name beside the path that says when it was taken: "Quillet articles.gdb 2026-11-21
// 120315".
std::u16string DatedName(const std::u16string& path);

}  // namespace quillet
