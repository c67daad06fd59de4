// SPDX-License-Identifier: GPL-3.0-or-later
#include <array>

#include "app/pages/page.h"
#include "base/messages.h"
#include "res/resource.h"

namespace quillet {
namespace {

constexpr auto kFields = std::to_array<PageField>({
    {kControlSkipVerifications, CheckBox{&Prefs::skipverifications}},
    {kControlTabsLeft, RadioButton{&Prefs::sidetabs, 1}},
    {kControlTabsBottom, RadioButton{&Prefs::sidetabs, 0}},
    {kControlTabsRight, RadioButton{&Prefs::sidetabs, 2}},
});

// The cleared name is empty and written; only a reset leaves none.
void ClearTransport(PrefsSheet& sheet) {
  SetIn(sheet, sheet.copy->transport, std::u16string());
  SetIn(sheet, sheet.copy->has_transport, true);
  ShowMessage(
      u"The default email transport has been cleared. You will be prompted to choose a new email "
      u"transport when you next send email from within Quillet CE.");
}

// Meant: no change of the copy yet, so that Cancel does not ask about it; OK carries it out.
void WantReset(PrefsSheet& sheet) {
  if (!ConfirmAction(u"Really reset preferences to defaults?", true)) return;
  const bool killfile = ConfirmAction(u"Do you also want to reset your killfile?", true);
  sheet.reset = killfile ? PrefsReset::kSettingsAndKillfile : PrefsReset::kSettings;
}

void HandleButtons(PrefsSheet& sheet, port::WindowHandle /*page*/, const port::Message& message) {
  if (IsPress(message, kControlClearTransport)) ClearTransport(sheet);
  if (IsPress(message, kControlResetPrefs)) WantReset(sheet);
}

}  // namespace

PrefsPage AdvancedPage() {
  return {.form = kDialogAdvancedPage,
          .caption = u"Advanced",
          .fields = kFields,
          .handle = HandleButtons};
}

}  // namespace quillet
