// SPDX-License-Identifier: GPL-3.0-or-later
// The files of the database folder: their names, and the three open databases themselves, for the
// rewriting of whole databases. DatabaseFile is only for store/.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "store/databases.h"
#include "store/gdbm_file.h"

namespace quillet {

inline constexpr std::array kAllDatabases = {DatabaseIndex::kArticles, DatabaseIndex::kNewsgroups,
                                             DatabaseIndex::kPendingPosts};
// Those of which a copy is kept while they are in use. The articles are too many for that, and can
// be asked for again.
inline constexpr std::array kCopiedDatabases = {DatabaseIndex::kNewsgroups,
                                                DatabaseIndex::kPendingPosts};

// What lies in the database folder. All of it moves when the folder changes; what is no database is
// not always there.
struct FolderFile {
  std::u16string_view name;
  bool always_there = false;
};
inline constexpr std::u16string_view kUseMarkName = u"Quillet databases in use";
inline constexpr std::u16string_view kLostArticlesName = u"Quillet lost articles";
inline constexpr std::u16string_view kDeletedCrossPostsName = u"Quillet deleted cross-posts";
// What is behind a database's name in that of its copy, as it was when the store was last whole.
inline constexpr std::u16string_view kCopySuffix = u".copy";
inline constexpr auto kFolderFiles = std::to_array<FolderFile>({
    {u"Quillet articles.gdb", true},
    {u"Quillet newsgroups.gdb", true},
    {u"Quillet pending posts.gdb", true},
    {kUseMarkName},
    {u"Quillet newsgroups.gdb.copy"},
    {u"Quillet pending posts.gdb.copy"},
    {kLostArticlesName},
    {kDeletedCrossPostsName},
});

// The name under which a database is written anew before it takes the old one's place.
inline std::u16string RewrittenName(std::u16string_view name) {
  return u"#" + std::u16string(name) + u"#";
}

GdbmFile& DatabaseFile(DatabaseIndex index);

}  // namespace quillet
