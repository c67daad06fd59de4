// Saving a text as a file of its own. Program thread only.
#pragma once

#include <string>
#include <string_view>

namespace quillet {

// Asks for a name and writes the 8-bit text into a new file; failures are told to the user.
void SaveAsFile(std::u16string_view title, std::u16string_view default_name, std::string_view text);
// The first 16 characters shown of a stored subject with "_" for what is not an ASCII letter or
// digit, and ".txt".
std::u16string DefaultFileName(std::string_view subject);

}  // namespace quillet
