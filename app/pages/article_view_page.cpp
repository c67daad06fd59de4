// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlArticleFont, FaceList{&Prefs::font, true}},
    {kControlArticleFontSize, SizeList{&Prefs::fontsize}},
    {kControlHeaderFont, FaceList{&Prefs::articleheaderfont, true}},
    {kControlHeaderFontSize, SizeList{&Prefs::articleheaderfontsize}},
    {kControlShowHeaders, CheckBox{&Prefs::showheaders}},
    {kControlRemoveCrs, CheckBox{&Prefs::removecrs}},
    {kControlColorQuoted, CheckBox{&Prefs::colorquoted}},
});

}  // namespace

PrefsPage ArticleViewPage() {
  return {.form = kDialogArticleViewPage, .caption = u"Article view options", .fields = kFields};
}

}  // namespace quillet
