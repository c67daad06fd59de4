// The files of the store: the three open ones themselves, for the rewriting of whole databases, and
// the names of all that lies in the folder. DatabaseFile is only for store/.
#pragma once

#include <array>
#include <string_view>

#include "store/databases.h"
#include "store/gdbm_file.h"

namespace quillet {

GdbmFile& DatabaseFile(DatabaseIndex index);

inline constexpr std::u16string_view kUseMarkName = u"Quillet databases in use";
// The newsgroups file as it was when the store was last whole.
inline constexpr std::u16string_view kWholeCopyName = u"Quillet newsgroups.gdb.copy";
inline constexpr std::u16string_view kLostArticlesName = u"Quillet lost articles";

// What lies beside the three databases and goes with them into another folder when it is there.
// The copies of the newsgroups file and the mark are none of it: they are only there while the
// databases are open or were not closed.
inline constexpr std::array kFilesBesideDatabases = {kLostArticlesName};

}  // namespace quillet
