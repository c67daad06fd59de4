// The file dialogs of the desktop. Program thread only; the call waits for the user.
#pragma once

#include <optional>
#include <string>

#include "port/message.h"

namespace quillet::port {

struct SaveFileTraits {
  std::u16string title;
  std::u16string default_name;
  std::u16string filter_text;        // "Text (*.txt)"
  std::u16string filter_pattern;     // "*.txt"
  std::u16string default_extension;  // without the dot; added to a name that has none
};

class FileDialogs {
 public:
  virtual ~FileDialogs() = default;

  // The path chosen, for Files::CreateNewFile; nothing when the user cancelled, the display has
  // gone or the session ends. The dialog does not ask whether an existing file shall be replaced.
  virtual std::optional<std::u16string> SaveFile(WindowHandle owner,
                                                 const SaveFileTraits& traits) = 0;
};

}  // namespace quillet::port
