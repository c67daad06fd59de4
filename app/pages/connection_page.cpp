// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pages/connection_methods.h"
#include "app/pages/page.h"
#include "res/resource.h"

namespace quillet {
namespace {

// The phone book is asked once: a failure is not told at every turn of the pages.
void ShowMethods(PrefsSheet& sheet, port::WindowHandle page, bool first) {
  if (!first) return;
  OfferConnectionMethods(page, kControlConnectionMethod, sheet.copy->conxmethod,
                         PhoneBookFailures::kReported);
}

std::optional<Refusal> StoreMethod(PrefsSheet& sheet, port::WindowHandle page) {
  const std::u16string method = ChosenConnectionMethod(page, kControlConnectionMethod);
  if (!method.empty()) SetIn(sheet, sheet.copy->conxmethod, method);
  return std::nullopt;
}

}  // namespace

PrefsPage ConnectionPage() {
  return {.form = kDialogConnectionPage,
          .caption = u"Connection",
          .show = ShowMethods,
          .store = StoreMethod};
}

}  // namespace quillet
