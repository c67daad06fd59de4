// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlExtraHeaders, TextEdit{&Prefs::extraheaders, true}},
});

}  // namespace

PrefsPage HeadersPage() {
  return {.form = kDialogHeadersPage, .caption = u"Advanced:headers", .fields = kFields};
}

}  // namespace quillet
