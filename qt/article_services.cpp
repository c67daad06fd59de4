#include "qt/article_services.h"

namespace quillet::qt {

void QtArticlePanes::CreatePanes(std::u16string_view, int) {}
bool QtArticlePanes::PanesCreated() {
  return display_.main == nullptr;
}
bool QtArticlePanes::CreateToolbar(const std::vector<port::ToolbarButton>&) {
  return true;
}
void QtArticlePanes::SetHeader(const std::array<port::HeaderLine, 2>&) {}
void QtArticlePanes::ClearViewer() {}
void QtArticlePanes::AddToViewer(std::u16string_view, bool) {}
void QtArticlePanes::EndOfSource() {}
void QtArticlePanes::ScrollViewer(port::ScrollStep) {}
void QtArticlePanes::CopyFromViewer() {}
void QtArticlePanes::FocusViewer() {}

}  // namespace quillet::qt
