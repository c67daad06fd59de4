// The article panes service on the toolkit.
#pragma once

#include "port/article_panes.h"
#include "qt/display.h"

namespace quillet::qt {

class QtArticlePanes final : public port::ArticlePanes {
 public:
  explicit QtArticlePanes(Display& display) : display_(display) {}

  void CreatePanes(std::u16string_view header_font_face, int header_font_pixels) override;
  bool PanesCreated() override;
  bool CreateToolbar(const std::vector<port::ToolbarButton>& buttons) override;
  void SetHeader(const std::array<port::HeaderLine, 2>& lines) override;
  void ClearViewer() override;
  void AddToViewer(std::u16string_view text, bool plain_text) override;
  void EndOfSource() override;
  void ScrollViewer(port::ScrollStep step) override;
  void CopyFromViewer() override;
  void FocusViewer() override;

 private:
  template <class Action>
  void WithPane(const Action& action);
  template <class Action>
  void WithViewer(const Action& action);

  Display& display_;
};

}  // namespace quillet::qt
