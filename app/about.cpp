// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/about.h"

#include <algorithm>
#include <string_view>

#include "base/modal_dialog.h"
#include "port/dialogs.h"
#include "port/libraries.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/compression.h"
#include "store/databases.h"
#include "util/format.h"
#include "util/version.h"

namespace quillet {
namespace {

// The first number of a library's own words: "GDBM version 1.23. 04/02/2022" is 1.23, and
// "1.0.8, 13-Jul-2019" is 1.0.8.
std::u16string_view NumberIn(std::u16string_view text) {
  constexpr std::u16string_view kDigits = u"0123456789";
  text.remove_prefix(std::min(text.find_first_of(kDigits), text.size()));
  text = text.substr(0, text.find_first_not_of(u"0123456789."));
  return text.substr(0, text.find_last_of(kDigits) + 1);
}

std::u16string BoundLibrary(std::u16string_view name, std::u16string_view words) {
  const std::u16string_view version = NumberIn(words);
  return FormatWide(u"%ls %ls\r\n", name, version.empty() ? u"is not loaded" : version);
}

}  // namespace

std::u16string ProgramName() {
  return FormatWide(u"Quillet CE %s", kVersionText);
}

std::u16string AboutText() {
  std::u16string text = FormatWide(
      u"Version %s\r\n\r\n"
      u"Licence: GPL-3.0-or-later. This is free software: you may use it, change it and pass it on "
      u"under the terms of the GNU General Public License, version 3 or later. There is no "
      u"warranty.\r\n\r\n"
      u"Help: F1 opens the user guide, as \"man quillet\" does in a terminal.\r\n\r\n"
      u"Libraries in use:\r\n",
      kVersionText);
  text += BoundLibrary(u"gdbm", DatabaseLibraryVersion());
  text += BoundLibrary(u"bzip2", CompressionLibraryVersion());
  for (const port::LoadedLibrary& library : gPlatform->libraries.LoadedLibraries()) {
    text += FormatWide(u"%ls %ls\r\n", library.name, library.version);
  }
  return text;
}

void ShowAbout() {
  RunModalDialog(
      kDialogAbout,
      [](port::WindowHandle dialog) {
        gPlatform->dialogs.Write(dialog, kControlAboutProgram, port::Text{ProgramName()});
        gPlatform->dialogs.Write(dialog, kControlAboutText, port::Text{AboutText()});
      },
      EndOnOkOrCancel);
}

}  // namespace quillet
