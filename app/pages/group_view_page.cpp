// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlGroupFont, FaceList{&Prefs::groupfont}},
    {kControlGroupFontSize, SizeList{&Prefs::groupfontsize}},
});

}  // namespace

PrefsPage GroupViewPage() {
  return {.form = kDialogGroupViewPage, .caption = u"Group view options", .fields = kFields};
}

}  // namespace quillet
