// SPDX-License-Identifier: GPL-3.0-or-later
// The property sheet service on the toolkit.
#pragma once

#include "port/property_sheets.h"
#include "qt/display.h"

namespace quillet::qt {

class QtPropertySheets final : public port::PropertySheets {
 public:
  explicit QtPropertySheets(Display& display) : display_(display) {}

  port::WindowHandle Create(std::u16string_view title, std::span<const port::SheetPage> pages,
                            port::WindowHandle owner) override;
  port::WindowHandle Page(port::WindowHandle sheet, int page) override;
  void ShowPage(port::WindowHandle sheet, int page) override;

 private:
  Display& display_;
};

}  // namespace quillet::qt
