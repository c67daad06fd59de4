#include "thread/thread_tree.h"

namespace quillet {

ThreadTree::ThreadTree() {}
Node* ThreadTree::NewNode(NodeKind) {
  return nullptr;
}
std::string_view ThreadTree::KeepText(std::string_view text) {
  return text;
}
std::size_t ThreadTree::MemoryUsed() const {
  return 0;
}
std::size_t ThreadTree::TextMemoryUsed() const {
  return 0;
}
void MessageIdIndex::Enter(Node&) {}
void MessageIdIndex::Remove(const Node&) {}
Node* MessageIdIndex::Find(std::string_view) const {
  return nullptr;
}
std::size_t MessageIdIndex::MemoryUsed() const {
  return 0;
}
void UnlinkNode(Node&) {}
void ReplaceNodeByChildren(Node&) {}

}  // namespace quillet
