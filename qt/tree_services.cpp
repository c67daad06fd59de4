#include "qt/tree_services.h"

namespace quillet::qt {

void QtTreeView::CreateTree(std::u16string_view, std::u16string_view, int) {}
bool QtTreeView::TreeCreated() {
  return display_.main == nullptr;
}
void QtTreeView::FillTree(std::vector<port::TreeRow>) {}
void QtTreeView::ReplaceSubtree(port::TreeItem, std::vector<port::TreeRow>) {}
void QtTreeView::SetLabels(std::vector<port::TreeLabel>) {}
void QtTreeView::SelectItem(port::TreeItem) {}
port::TreeItem QtTreeView::SelectedItem() {
  return 0;
}
void QtTreeView::SetCaption(std::u16string_view) {}
void QtTreeView::FocusTree() {}

std::uint32_t QtPopUpMenus::ShowPopUp(port::WindowHandle, const std::vector<port::PopUpEntry>&) {
  return display_.main == nullptr ? 1 : 0;
}

}  // namespace quillet::qt
