// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlAutoDownload, CheckBox{&Prefs::useautodownload}},
    {kControlDownloadTime, TimePicker{&Prefs::downloadhr, &Prefs::downloadmn, &Prefs::downloadsc}},
    {kControlDeleteRead, RadioButton{&Prefs::autodeleteread, 1}},
    {kControlDeleteAll, RadioButton{&Prefs::autodeleteread, 0}},
    {kControlDeleteBefore, CheckBox{&Prefs::autodeletebefore}},
    {kControlDeleteOnQuit, CheckBox{&Prefs::autodeleteonquit}},
});

}  // namespace

PrefsPage SchedulingPage() {
  return {.form = kDialogSchedulingPage, .caption = u"Scheduling", .fields = kFields};
}

}  // namespace quillet
