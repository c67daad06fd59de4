// SPDX-License-Identifier: GPL-3.0-or-later
// Reading and writing through a descriptor until all of it is done, however often a signal or a
// short transfer comes between. Any thread; offsets are bytes from the beginning of the file.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace quillet::port {

// Bytes read, 0 at the end of the file, -1 on error.
ssize_t ReadSome(int fd, char* buffer, std::size_t size);
// False on error; some of it may be written then, and errno tells why.
bool WriteAll(int fd, std::string_view data);

// The same at an offset; the descriptor's own position stays. ReadAllAt is false too when the file
// ends before the buffer is full.
bool ReadAllAt(int fd, std::uint64_t offset, std::span<char> buffer);
bool WriteAllAt(int fd, std::uint64_t offset, std::string_view data);

// From where `from` stands to its end.
bool CopyContents(int from, int to);

}  // namespace quillet::port
