// Saving a text as a file of its own. Program thread only.
#pragma once

#include <string_view>

namespace quillet {

enum class FileReaders { kEveryone, kUserAlone };

// Asks for a name and writes the 8-bit text into a new file; failures are told to the user, and an
// existing file is never written over.
void SaveAsFile(std::u16string_view title, std::u16string_view default_name, std::string_view text,
                FileReaders readers = FileReaders::kEveryone);

}  // namespace quillet
