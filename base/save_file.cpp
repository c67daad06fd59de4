// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/save_file.h"

#include <cstdint>
#include <optional>

#include "base/box_owner.h"
#include "base/messages.h"
#include "base/wait_cursor.h"
#include "port/file_dialogs.h"
#include "port/files.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

std::optional<std::u16string> AskForPath(const port::SaveFileTraits& traits) {
  std::optional<std::u16string> path = gPlatform->file_dialogs.SaveFile(CurrentBoxOwner(), traits);
  if (path && StartsWith(*path, u"\\\\")) path->erase(0, 1);
  return path;
}

void TellOfFailure(std::uint32_t error) {
  if (error == port::kErrorFileExists) {
    ReportError(u"already exists", u"SaveAsFile");
  } else if (error == port::kErrorNoNetwork) {
    ShowMessage(
        u"Our apologies, but you must tap the 'Options' button in the save dialog before saving "
        u"the file.");
  } else {
    ReportError(FormatWide(u"unknown (%d)", error), u"SaveAsFile");
  }
}

}  // namespace

void SaveAsFile(std::u16string_view title, std::u16string_view default_name, std::string_view text,
                FileReaders readers) {
  auto path = AskForPath(
      {std::u16string(title), std::u16string(default_name), u"Text (*.txt)", u"*.txt", u"txt"});
  if (!path) return;
  if (EndsWith(*path, u".")) *path += u"txt";
  port::Files& files = gPlatform->files;
  const std::uint32_t error = readers == FileReaders::kUserAlone
                                  ? files.CreatePrivateFile(*path, text)
                                  : files.CreateNewFile(*path, text);
  if (error != 0) TellOfFailure(error);
}

void SaveAnyFile(std::u16string_view title, std::u16string_view default_name,
                 const std::function<std::string()>& make_bytes) {
  const auto path = AskForPath(
      {std::u16string(title), std::u16string(default_name), u"All files (*.*)", u"*.*", u""});
  if (!path) return;
  std::uint32_t error = 0;
  {
    const WaitCursor wait;
    error = gPlatform->files.CreateNewFile(*path, make_bytes());
  }
  if (error != 0) TellOfFailure(error);
}

}  // namespace quillet
