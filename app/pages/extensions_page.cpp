// SPDX-License-Identifier: GPL-3.0-or-later
// Made from the table of extensions alone: its form has a box or an edit for each, and a line.
#include "app/pages/fields.h"
#include "app/pages/page.h"
#include "port/platform.h"
#include "res/resource.h"
#include "util/format.h"

namespace quillet {
namespace {

void AddWrites(const Extension& extension, std::uint32_t value,
               std::vector<port::ControlWrite>& writes) {
  writes.push_back({extension.line_control, port::Text{std::u16string(extension.what_it_does)}});
  if (extension.kind == ExtensionKind::kSwitch) {
    writes.push_back({extension.control, port::Text{std::u16string(extension.title)}});
    writes.push_back({extension.control, port::Checked{value != 0}});
  } else {
    writes.push_back({extension.control, port::Text{FormatWide(u"%lu", value)}});
  }
}

void ShowExtensions(PrefsSheet& sheet, port::WindowHandle page, bool /*first*/) {
  std::vector<port::ControlWrite> writes;
  for (const Extension& extension : AllExtensions()) {
    AddWrites(extension, sheet.extensions.*extension.value, writes);
  }
  gPlatform->dialogs.WriteMany(page, std::move(writes));
}

std::optional<Refusal> StoreOne(PrefsSheet& sheet, const Extension& extension,
                                const port::ControlState& state) {
  std::uint32_t& value = sheet.extensions.*extension.value;
  if (extension.kind == ExtensionKind::kSwitch) {
    if (state.checked != (value != 0)) SetIn(sheet, value, state.checked ? 1U : 0U);
    return std::nullopt;
  }
  const std::optional<std::uint32_t> number = NumberIn(state.text, extension.highest);
  if (!number) {
    return Refusal{
        FormatWide(u"The %ls must be a number from 0 to %lu.", extension.title, extension.highest),
        extension.control};
  }
  SetIn(sheet, value, *number);
  return std::nullopt;
}

std::optional<Refusal> StoreExtensions(PrefsSheet& sheet, port::WindowHandle page) {
  std::optional<Refusal> refusal;
  for (const Extension& extension : AllExtensions()) {
    auto refused = StoreOne(sheet, extension, gPlatform->dialogs.Read(page, extension.control));
    if (refused && !refusal) refusal = std::move(refused);
  }
  return refusal;
}

}  // namespace

PrefsPage ExtensionsPage() {
  return {.form = kDialogExtensionsPage,
          .caption = u"Extensions",
          .show = ShowExtensions,
          .store = StoreExtensions};
}

}  // namespace quillet
