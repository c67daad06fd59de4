// SPDX-License-Identifier: GPL-3.0-or-later
// Mappings of files and what a child process makes of them. Any thread.
#pragma once

namespace quillet::port {

// Children forked from now on do not get the mappings that this process shares and writes to now;
// those that it only reads, such as the C library's own tables, they need. A mapping keeps its file
// open, and a lock on that file held: a child that goes on without another program in its place
// would hold the locks of the databases for as long as it lives.
void KeepSharedMappingsFromChildren();

}  // namespace quillet::port
