#include "qt/article_services.h"

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
    if (pane.Header() != nullptr) pane.Header()->SetLines(lines);
  });
}

void QtArticlePanes::ClearViewer() {
  WithViewer([](Viewer& viewer) { viewer.Clear(); });
}

void QtArticlePanes::AddToViewer(std::u16string_view text, bool plain_text) {
  WithViewer([&](Viewer& viewer) { viewer.Add(text, plain_text); });
}

void QtArticlePanes::EndOfSource() {
  WithViewer([](Viewer& viewer) { viewer.End(); });
}

void QtArticlePanes::ScrollViewer(port::ScrollStep step) {
  WithViewer([&](Viewer& viewer) { viewer.Scroll(step); });
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
