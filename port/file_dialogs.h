// SPDX-License-Identifier: GPL-3.0-or-later
// The file dialogs of the desktop. Program thread only; the call waits for the user.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "port/message.h"

namespace quillet::port {

struct SaveFileTraits {
  std::u16string title;
  std::u16string default_name;
  std::u16string filter_text;        // "Text (*.txt)"
  std::u16string filter_pattern;     // "*.txt"
  std::u16string default_extension;  // without the dot; added to a name that has none; empty:
                                     // nothing is added
};

struct OpenFileTraits {
  std::u16string title;
  std::u16string filter_text = u"All files (*.*)";
  std::u16string filter_pattern = u"*.*";   // "*.*" fits names without a dot too
  std::u16string default_extension = u"*";  // added to a name that has none; "*" adds nothing
};

// In UTF-16 units. An open dialog returns no longer one: it says so and stays open.
constexpr std::size_t kLongestOpenPath = 259;

class FileDialogs {
 public:
  virtual ~FileDialogs() = default;

  // The path chosen, for Files::CreateNewFile; nothing when the user cancelled, the display has
  // gone or the session ends. The dialog does not ask whether an existing file shall be replaced.
  virtual std::optional<std::u16string> SaveFile(WindowHandle owner,
                                                 const SaveFileTraits& traits) = 0;

  // The path of the file chosen, for Files; nothing when the user cancelled, the display has gone
  // or the session ends. The file was there when it was chosen, but need not be readable nor a
  // regular one.
  virtual std::optional<std::u16string> OpenFile(WindowHandle owner,
                                                 const OpenFileTraits& traits) = 0;
};

}  // namespace quillet::port
