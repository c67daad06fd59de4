// SPDX-License-Identifier: GPL-3.0-or-later
// Rewriting whole databases: compaction and conversion. Program thread only.
#pragma once

namespace quillet {

enum class RewriteMode { kCompact = 0, kCompress = 1, kUncompress = 2 };
// The operation under CompactDatabases and CompressAllArticles.
int RewriteDatabases(RewriteMode mode);

}  // namespace quillet
