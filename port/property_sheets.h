// SPDX-License-Identifier: GPL-3.0-or-later
// Property sheets: pages of controls in one dialog, of which one is shown at a time, with OK and
// Cancel below.
//
// A sheet is a dialog: Dialogs::Show and Destroy take its handle. Its pages are dialogs too:
// Dialogs::Read and Write take a page's handle, and what the user does in a page comes to the
// sheet's thread with the page as window. All pages exist from the beginning until the sheet is
// destroyed. With the sheet as window come
//   kPageShown (id: page)   when the sheet is shown, and whenever another page is, by whomever
//   kPageLeft (id: page)    before that, for the page that was shown until then
//   kCommand 1 and 2        OK and Cancel; Escape and the frame are Cancel, Return is OK but in an
//                           edit of several lines and on Cancel. The sheet stays open, and the page
//                           in front is not told of as left.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "port/message.h"

namespace quillet::port {

struct SheetPage {
  std::uint32_t form = 0;  // resource id of a page form
  std::u16string caption;
};

class PropertySheets {
 public:
  virtual ~PropertySheets() = default;

  // Creates the sheet, hidden and modal, with its first page in front; 0 when there are no pages or
  // one has no such form, and on other failures.
  virtual WindowHandle Create(std::u16string_view title, std::span<const SheetPage> pages,
                              WindowHandle owner) = 0;
  // The handle of that page, counted from 0; 0 when there is none.
  virtual WindowHandle Page(WindowHandle sheet, int page) = 0;
  // Brings a page to the front. Does nothing when there is no such page or it is in front.
  virtual void ShowPage(WindowHandle sheet, int page) = 0;
};

}  // namespace quillet::port
