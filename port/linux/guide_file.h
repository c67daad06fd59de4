// SPDX-License-Identifier: GPL-3.0-or-later
// Where the users' guide lies that was built or installed with the running program. Any thread.
#pragma once

#include <string>

namespace quillet::port {

// Native path of the guide's first page, a file of HTML; empty when there is none. The program is
// found by the system, not by how it was called, so that the tree can be moved as a whole.
std::string GuideFile();

// The same for the program `executable` (an absolute path).
std::string GuideBeside(const std::string& executable);

}  // namespace quillet::port
