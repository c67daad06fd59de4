// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/pages/connection_methods.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/messages.h"
#include "port/dialler.h"
#include "port/dialogs.h"
#include "port/platform.h"

namespace quillet {
namespace {

constexpr std::u16string_view kNone = u"<none>";

std::vector<std::u16string> PhoneBook(PhoneBookFailures failures) {
  std::vector<std::u16string> entries;
  const std::uint32_t error = gPlatform->dialler.EnumerateEntries(entries);
  if (error == 0) return entries;
  if (failures == PhoneBookFailures::kSilent) return {};
  const bool no_book = error == port::kDialCannotOpenPhonebook;
  ReportError(no_book ? u"cannot open phonebook" : u"unknown RAS error", u"PrefsTenDlgProc");
  return {};
}

}  // namespace

void OfferConnectionMethods(port::WindowHandle dialog, std::uint32_t control,
                            const std::u16string& chosen, PhoneBookFailures failures) {
  std::vector<std::u16string> methods = PhoneBook(failures);
  std::erase(methods, kNone);
  methods.emplace_back(kNone);
  const std::u16string wanted = chosen.empty() ? std::u16string(kNone) : chosen;
  auto place = std::ranges::find(methods, wanted);
  if (place == methods.end()) place = methods.insert(methods.begin(), wanted);
  const auto choice = static_cast<int>(place - methods.begin());
  gPlatform->dialogs.WriteMany(
      dialog, {{control, port::Choices{std::move(methods)}}, {control, port::Choice{choice}}});
}

std::u16string ChosenConnectionMethod(port::WindowHandle dialog, std::uint32_t control) {
  return gPlatform->dialogs.Read(dialog, control).text;
}

}  // namespace quillet
