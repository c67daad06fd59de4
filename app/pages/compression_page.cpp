// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/compression.h"
#include "util/format.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlUseCompression, CheckBox{&Prefs::usecompression}},
});

std::u16string LibraryLine() {
  if (!gCompressionAvailable) {
    return u"Compression DLL (bzip2.dll) not loaded; compression not available.";
  }
  return FormatWide(u"bzip2 dll information: %s", CompressionLibraryVersion());
}

void ShowLibrary(PrefsSheet& /*sheet*/, port::WindowHandle page, bool /*first*/) {
  const port::Visible visible{gCompressionAvailable};
  gPlatform->dialogs.WriteMany(page, {{kControlCompressionLibrary, port::Text{LibraryLine()}},
                                      {kControlUseCompression, visible},
                                      {kControlCompressNow, visible},
                                      {kControlUncompressNow, visible}});
}

void HandleButtons(PrefsSheet& /*sheet*/, port::WindowHandle /*page*/,
                   const port::Message& message) {
  if (IsPress(message, kControlCompressNow)) CompressAllArticles(true);
  if (IsPress(message, kControlUncompressNow)) CompressAllArticles(false);
}

}  // namespace

PrefsPage CompressionPage() {
  return {.form = kDialogCompressionPage,
          .caption = u"Compression",
          .fields = kFields,
          .show = ShowLibrary,
          .handle = HandleButtons};
}

}  // namespace quillet
