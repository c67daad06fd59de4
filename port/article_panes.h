// SPDX-License-Identifier: GPL-3.0-or-later
// The article view's pane: a header bar of two lines, the HTML viewer below it, and a toolbar below
// the tabs. Program thread only. Before CreatePanes and after the main window has gone every write
// does nothing, but for CreateToolbar.
//
// The user's part comes as messages to the main window: kCommand from the toolbar, kHeaderTapped
// from the header bar, kLink with the target of a link, kKeyUp for released keys. The viewer itself
// neither scrolls on keys nor follows links, and never loads anything from outside.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "port/message.h"

namespace quillet::port {

// The left text ends 5 pixels before the right one, which is right-aligned. In a window
// at least kWideWindow pixels wide there is room for one more, the aside, right-aligned before the
// right one and cut where it takes more than a third.
struct HeaderLine {
  std::u16string left;
  std::u16string right;
  std::u16string aside = {};
  bool operator==(const HeaderLine&) const = default;
};

struct ToolbarButton {
  std::uint32_t command = 0;  // 0: a separator
  std::uint32_t image = 0;    // 0 to 6: previous thread, previous article, next article, next
                              // thread, find, delete article, delete thread
  std::u16string tooltip;     // also its name for readers of the screen
};

constexpr int kWideWindow = 480;

enum class ScrollStep { kPageUp, kPageDown, kTop, kBottom };

class ArticlePanes {
 public:
  virtual ~ArticlePanes() = default;

  // Creates header bar and viewer, empty, in place of earlier ones. The font's height is in pixels.
  virtual void CreatePanes(std::u16string_view header_font_face, int header_font_pixels) = 0;
  virtual bool PanesCreated() = 0;
  // False when there can be none. Replaces an earlier one; shown while the article tab is.
  virtual bool CreateToolbar(const std::vector<ToolbarButton>& buttons) = 0;

  virtual void SetHeader(const std::array<HeaderLine, 2>& lines) = 0;

  // The viewer's source: cleared, added to (an HTML fragment whose blanks and line ends count, or
  // with `plain_text` text that is shown as it stands), and ended, which shows it from its top, or
  // from its first highlighted place when there is one.
  virtual void ClearViewer() = 0;
  virtual void AddToViewer(std::u16string_view text, bool plain_text) = 0;
  virtual void EndOfSource() = 0;

  // False when the viewer stays where it is: that end was reached before.
  virtual bool ScrollViewer(ScrollStep step) = 0;
  // The place at the viewer's upper edge, in UTF-16 units of the text that it shows, and back to
  // it. Another text, or a narrower one, comes as near as it can.
  virtual std::uint32_t ViewerPlace() = 0;
  virtual void GoToViewerPlace(std::uint32_t place) = 0;
  // One line below the text, announced to readers of the screen; empty: none. Goes with the next
  // source.
  virtual void SetNotice(std::u16string_view text) = 0;
  // Copies the selected text, or everything when nothing is selected.
  virtual void CopyFromViewer() = 0;
  virtual void FocusViewer() = 0;
};

}  // namespace quillet::port
