// SPDX-License-Identifier: GPL-3.0-or-later
// The article's panes without pixels: header bar, toolbar and viewer.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "port/article_panes.h"
#include "port/fake/fake_screen.h"

namespace quillet::port {

struct ShownArticle {
  bool created = false;
  std::u16string header_font_face;
  int header_font_pixels = 0;
  std::array<HeaderLine, 2> header;
  std::vector<ToolbarButton> toolbar;
  std::u16string source;  // what was added since the viewer was cleared
  bool plain_text = false;
  int additions = 0;   // calls that added to it
  bool ended = false;  // the end of the source was told
  int shows = 0;       // times it was
  std::vector<ScrollStep> scrolls;
  int line = 0;  // the one at the upper edge; see FakePanes
  std::u16string notice;
  int copies = 0;
  bool focused = false;
};

// The viewer is kLinesOfPage lines high, and a line ends where the source says so, never by its
// length. A page step leaves one line on the screen. A place is the number of a line.
class FakePanes : public ArticlePanes {
 public:
  static constexpr int kLinesOfPage = 20;

  explicit FakePanes(FakeScreen& screen);
  FakePanes(const FakePanes&) = delete;
  FakePanes& operator=(const FakePanes&) = delete;

  ShownArticle article() const;

  // --- what the user does: false when a real display would not allow it now ---

  bool TapHeader();
  bool PressToolbar(std::uint32_t command);
  // A link that the article view shows.
  bool ActivateLink(std::u16string_view target);

  // --- the device ---

  // The next creations fail.
  void FailNextToolbar(int count = 1);

  // --- the service ---

  void CreatePanes(std::u16string_view header_font_face, int header_font_pixels) override;
  bool PanesCreated() override;
  bool CreateToolbar(const std::vector<ToolbarButton>& buttons) override;
  void SetHeader(const std::array<HeaderLine, 2>& lines) override;
  void ClearViewer() override;
  void AddToViewer(std::u16string_view text, bool plain_text) override;
  void EndOfSource() override;
  bool ScrollViewer(ScrollStep step) override;
  std::uint32_t ViewerPlace() override;
  void GoToViewerPlace(std::uint32_t place) override;
  void SetNotice(std::u16string_view text) override;
  void CopyFromViewer() override;
  void FocusViewer() override;

 private:
  FakeScreen& screen_;
  ShownArticle article_;
  int failing_toolbars_ = 0;
};

}  // namespace quillet::port
