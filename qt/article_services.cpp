#include "qt/article_services.h"

namespace quillet::qt {

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

}  // namespace quillet::qt
