#include "base/save_file.h"

#include <cstdint>
#include <string>

#include "base/box_owner.h"
#include "base/messages.h"
#include "port/file_dialogs.h"
#include "port/files.h"
#include "port/platform.h"
#include "util/format.h"
#include "util/text.h"

namespace quillet {
namespace {

std::u16string CorrectedPath(std::u16string path) {
  if (StartsWith(path, u"\\\\")) path.erase(0, 1);
  if (EndsWith(path, u".")) path += u"txt";
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
  const auto path = gPlatform->file_dialogs.SaveFile(
      CurrentBoxOwner(),
      {std::u16string(title), std::u16string(default_name), u"Text (*.txt)", u"*.txt", u"txt"});
  if (!path) return;
  const std::u16string target = CorrectedPath(*path);
  port::Files& files = gPlatform->files;
  const std::uint32_t error = readers == FileReaders::kUserAlone
                                  ? files.CreatePrivateFile(target, text)
                                  : files.CreateNewFile(target, text);
  if (error != 0) TellOfFailure(error);
}

}  // namespace quillet
