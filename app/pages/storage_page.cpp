// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "port/platform.h"
#include "res/resource.h"
#include "store/maintenance.h"
#include "util/format.h"

namespace quillet {
namespace {

// The download counts an article's bytes in 32 bits.
constexpr std::uint32_t kLargestArticle = 4194303;  // kilobytes
constexpr std::uint32_t kMostArticles = 0xFFFFFFFF;

constexpr auto kFields = std::to_array<PageField>({
    {kControlMaxStore, PercentSlider{&Prefs::maxstore}},
    {kControlMaxArticleSize,
     NumberEdit{&Prefs::maxarticlesize, kLargestArticle, u"maximum article size"}},
    {kControlMaxArticles, NumberEdit{&Prefs::maxarticles, kMostArticles, u"maximum article count"}},
    {kControlDiscardHeaders, CheckBox{&Prefs::keepheaders, true}},
});

void ShowPercent(port::WindowHandle page, std::uint32_t percent) {
  gPlatform->dialogs.Write(page, kControlMaxStorePercent, port::Text{FormatWide(u"%d%%", percent)});
}

// How full the store is that the sheet has chosen, which need not be the one in use.
void ShowStore(PrefsSheet& sheet, port::WindowHandle page, bool /*first*/) {
  const auto used = StoreUsedPercent(sheet.copy->databasestore);
  gPlatform->dialogs.Write(
      page, kControlStoreFull,
      port::Text{used ? FormatWide(u"Store is currently %d%% full.", *used) : u""});
  ShowPercent(page, sheet.copy->maxstore);
}

void HandleSlider(PrefsSheet& /*sheet*/, port::WindowHandle page, const port::Message& message) {
  if (!IsPress(message, kControlMaxStore)) return;
  const int position = gPlatform->dialogs.Read(page, kControlMaxStore).position;
  ShowPercent(page, static_cast<std::uint32_t>(position));
}

}  // namespace

PrefsPage StoragePage() {
  return {.form = kDialogStoragePage,
          .caption = u"Storage options",
          .fields = kFields,
          .show = ShowStore,
          .handle = HandleSlider};
}

}  // namespace quillet
