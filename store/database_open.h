// How a database file is opened, whatever state it was left in. Only for store/.
#pragma once

#include <string>

#include "store/gdbm_file.h"

namespace quillet {

// Opens the file at that device path, and creates it when there is none or an empty one.
//
// A file that was not closed properly (`unclean`, or by its own look) is recovered silently. One
// that cannot be opened or recovered is set aside under a dated name beside itself, the user is
// told, and an empty one takes its place. Closed when another process has it open, when the folder
// cannot be written or the volume has no room for the recovery; the file is then left as it was.
GdbmFile OpenDatabaseFile(const std::u16string& path, bool unclean);

}  // namespace quillet
