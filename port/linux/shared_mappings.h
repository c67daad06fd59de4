// Mappings of files and what a child process makes of them. Any thread.
#pragma once

namespace quillet::port {

// Children forked from now on do not get the shared mappings that this process has now. A mapping
// keeps its file open, and a lock on that file held: a child that goes on without another program
// in its place would hold the locks of the databases for as long as it lives.
void KeepSharedMappingsFromChildren();

}  // namespace quillet::port
