// SPDX-License-Identifier: GPL-3.0-or-later
// Property sheets without pixels: a sheet and its pages are dialogs of the fake dialogs, which also
// have what the user does with them.
#pragma once

#include "port/fake/fake_dialogs.h"
#include "port/property_sheets.h"

namespace quillet::port {

class FakePropertySheets : public PropertySheets {
 public:
  explicit FakePropertySheets(FakeDialogs& dialogs) : dialogs_(dialogs) {}

  WindowHandle Create(std::u16string_view title, std::span<const SheetPage> pages,
                      WindowHandle owner) override;
  WindowHandle Page(WindowHandle sheet, int page) override;
  void ShowPage(WindowHandle sheet, int page) override;

 private:
  FakeDialogs& dialogs_;
};

}  // namespace quillet::port
