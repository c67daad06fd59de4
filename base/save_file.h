// SPDX-License-Identifier: GPL-3.0-or-later
// Saving a text as a file of its own. Program thread only.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace quillet {

enum class FileReaders { kEveryone, kUserAlone };

// Asks for a name and writes the 8-bit text into a new file; failures are told to the user, and an
// existing file is never written over.
void SaveAsFile(std::u16string_view title, std::u16string_view default_name, std::string_view text,
                FileReaders readers = FileReaders::kEveryone);

// The same for a file of any kind, whose bytes are made once a name has been chosen; its name is
// taken as it is. The wait cursor shows meanwhile.
void SaveAnyFile(std::u16string_view title, std::u16string_view default_name,
                 const std::function<std::string()>& make_bytes);

}  // namespace quillet
