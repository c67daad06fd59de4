// SPDX-License-Identifier: GPL-3.0-or-later
#include "qt/article_services.h"

#include "qt/text.h"

namespace quillet::qt {
namespace {

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
  bool ScrollViewer(port::ScrollStep step) override;
  std::uint32_t ViewerPlace() override;
  void GoToViewerPlace(std::uint32_t place) override;
  void SetNotice(std::u16string_view text) override;
  void CopyFromViewer() override;
  void FocusViewer() override;

 private:
  template <class Action>
  void WithPane(const Action& action);
  template <class Action>
  void WithViewer(const Action& action);

  Display& display_;
};

template <class Action>
void QtArticlePanes::WithPane(const Action& action) {
  display_.jobs.Call([&] {
    if (display_.main && display_.main->Article() != nullptr) action(*display_.main->Article());
  });
}

template <class Action>
void QtArticlePanes::WithViewer(const Action& action) {
  WithPane([&](const ArticlePane& pane) {
    if (pane.Text() != nullptr) action(*pane.Text());
  });
}

void QtArticlePanes::CreatePanes(std::u16string_view header_font_face, int header_font_pixels) {
  WithPane([&](ArticlePane& pane) { pane.CreatePanes(header_font_face, header_font_pixels); });
}

bool QtArticlePanes::PanesCreated() {
  bool created = false;
  WithViewer([&](const Viewer&) { created = true; });
  return created;
}

bool QtArticlePanes::CreateToolbar(const std::vector<port::ToolbarButton>& buttons) {
  bool created = false;
  display_.jobs.Call([&] { created = display_.main && display_.main->CreateToolbar(buttons); });
  return created;
}

void QtArticlePanes::SetHeader(const std::array<port::HeaderLine, 2>& lines) {
  WithPane([&](const ArticlePane& pane) {
    if (pane.Header() == nullptr) return;
    pane.Header()->SetLines(lines);
    // The page keeps the focus from one article to the next: a reader of the screen says the new
    // one.
    pane.Text()->setAccessibleDescription(pane.Header()->accessibleName());
  });
}

void QtArticlePanes::ClearViewer() {
  WithViewer([](Viewer& viewer) { viewer.Clear(); });
  SetNotice({});
}

void QtArticlePanes::AddToViewer(std::u16string_view text, bool plain_text) {
  WithViewer([&](Viewer& viewer) { viewer.Add(text, plain_text); });
}

void QtArticlePanes::EndOfSource() {
  WithViewer([](Viewer& viewer) { viewer.End(); });
}

bool QtArticlePanes::ScrollViewer(port::ScrollStep step) {
  bool moved = false;
  WithViewer([&](Viewer& viewer) { moved = viewer.Scroll(step); });
  return moved;
}

std::uint32_t QtArticlePanes::ViewerPlace() {
  std::uint32_t place = 0;
  WithViewer([&](const Viewer& viewer) { place = viewer.Place(); });
  return place;
}

void QtArticlePanes::GoToViewerPlace(std::uint32_t place) {
  WithViewer([&](Viewer& viewer) { viewer.GoTo(place); });
}

void QtArticlePanes::SetNotice(std::u16string_view text) {
  WithPane([&](ArticlePane& pane) { pane.SetNotice(ToQt(text)); });
}

void QtArticlePanes::CopyFromViewer() {
  WithViewer([](Viewer& viewer) { viewer.CopySelectionOrAll(); });
}

void QtArticlePanes::FocusViewer() {
  WithViewer([](Viewer& viewer) { viewer.setFocus(); });
}

}  // namespace

std::unique_ptr<port::ArticlePanes> NewArticlePanes(Display& display) {
  return std::make_unique<QtArticlePanes>(display);
}

}  // namespace quillet::qt
