#include "article/save.h"

#include <algorithm>

#include "base/box_owner.h"
#include "base/messages.h"
#include "mime/shown_text.h"
#include "port/file_dialogs.h"
#include "port/files.h"
#include "port/platform.h"
#include "util/format.h"

namespace quillet {
namespace {

bool IsAsciiLetterOrDigit(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

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

std::u16string DefaultFileName(std::string_view subject) {
  constexpr std::size_t kSubjectCharacters = 16;
  std::u16string name = ShownHeader(subject).substr(0, kSubjectCharacters);
  std::replace_if(
      name.begin(), name.end(), [](char16_t c) { return !IsAsciiLetterOrDigit(c); }, u'_');
  return name + u".txt";
}

void SaveAsFile(std::u16string_view title, std::u16string_view default_name,
                std::string_view text) {
  const auto path = gPlatform->file_dialogs.SaveFile(
      CurrentBoxOwner(),
      {std::u16string(title), std::u16string(default_name), u"Text (*.txt)", u"*.txt", u"txt"});
  if (!path) return;
  const std::uint32_t error = gPlatform->files.CreateNewFile(CorrectedPath(*path), text);
  if (error != 0) TellOfFailure(error);
}

}  // namespace quillet
