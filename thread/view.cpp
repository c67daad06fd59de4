#include "thread/view.h"

namespace quillet {

void PrepareThreadView() {}
void BuildThreadList(int, std::uint32_t) {}
void ShowThreadView() {}
void BuildTreeView(Node&, bool) {}
void RefreshThreadLabels(Node&) {}
void ClearThreadView() {}
void ForgetThreadControl() {}
std::u16string ThreadLabel(const Node&) {
  return {};
}
std::u16string ThreadCaption(int) {
  return {};
}
Node* SelectedNode() {
  return nullptr;
}
void SelectNode(const Node&) {}
bool OpenSelectedNode() {
  return false;
}
void HandleThreadItemActivated(port::TreeItem) {}
void HandleThreadContextMenu(port::TreeItem) {}
void HandleThreadCommand(std::uint32_t) {}

}  // namespace quillet
