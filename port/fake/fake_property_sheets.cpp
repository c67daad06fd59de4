// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/fake/fake_property_sheets.h"

#include <utility>

namespace quillet::port {

WindowHandle FakePropertySheets::Create(std::u16string_view title, std::span<const SheetPage> pages,
                                        WindowHandle owner) {
  return dialogs_.CreateSheet(title, pages, owner);
}

WindowHandle FakePropertySheets::Page(WindowHandle sheet, int page) {
  const std::optional<ShownDialog> found = dialogs_.FindDialog(sheet);
  if (!found || page < 0 || std::cmp_greater_equal(page, found->pages.size())) return 0;
  return found->pages[static_cast<std::size_t>(page)];
}

void FakePropertySheets::ShowPage(WindowHandle sheet, int page) {
  dialogs_.BringPage(sheet, page);
}

}  // namespace quillet::port
