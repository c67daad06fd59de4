// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlThreadFont, FaceList{&Prefs::threadfont}},
    {kControlThreadFontSize, SizeList{&Prefs::threadfontsize}},
    {kControlUseThreading, CheckBox{&Prefs::usethreading}},
    {kControlReverseThread, CheckBox{&Prefs::reversethread}},
});

}  // namespace

PrefsPage ThreadViewPage() {
  return {.form = kDialogThreadViewPage, .caption = u"Thread view options", .fields = kFields};
}

}  // namespace quillet
