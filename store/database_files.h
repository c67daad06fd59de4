// The three open files themselves, for the rewriting of whole databases. Only for store/.
#pragma once

#include "store/databases.h"
#include "store/gdbm_file.h"

namespace quillet {

GdbmFile& DatabaseFile(DatabaseIndex index);

}  // namespace quillet
