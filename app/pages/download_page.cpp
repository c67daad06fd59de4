// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlBeepAfter, CheckBox{&Prefs::beepafter}},
    {kControlDownloadNewest, CheckBox{&Prefs::downloadnewest}},
});

}  // namespace

PrefsPage DownloadPage() {
  return {.form = kDialogDownloadPage, .caption = u"Download options", .fields = kFields};
}

}  // namespace quillet
