// SPDX-License-Identifier: GPL-3.0-or-later
// Small things of the native file system that several services need. Paths are native (8-bit).
// Any thread.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace quillet::port {

// Creates the folder and all missing ones above it, each with mode 0700. True when it is there.
bool MakeFolders(const std::string& folder);

// A regular file of at most `limit` bytes; nothing when it is none, larger or cannot be read. Never
// waits at a pipe.
std::optional<std::string> ReadBoundedFile(const std::string& path, std::uint64_t limit);

// A file as SQLite's URI, with what has a meaning in one escaped. `immutable`: it is read as if
// nobody could write to it.
std::string SqliteUri(const std::string& path, bool immutable);

// Brings a file or folder to the disk; true also where the file system does not offer that.
// Async-signal-safe.
bool Sync(int fd);

// Replaces a small text file; it is complete or unchanged.
bool ReplaceTextFile(const std::string& path, std::string_view text);

}  // namespace quillet::port
