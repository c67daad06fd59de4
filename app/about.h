// SPDX-License-Identifier: GPL-3.0-or-later
// The About box: the version, the licence, where help is, and the libraries in use. Program thread
// only.
#pragma once

#include <string>

namespace quillet {

// The program's name with its version, as the main window's title and the About box have it.
std::u16string ProgramName();

// What stands below the name, in lines that end in CR LF.
std::u16string AboutText();

void ShowAbout();

}  // namespace quillet
