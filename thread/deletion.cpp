#include "thread/deletion.h"

namespace quillet {

Node* DeleteArticleNode(Node&) {
  return nullptr;
}
Node* DeleteThreadNode(Node&) {
  return nullptr;
}
void DeleteReadNodes() {}

}  // namespace quillet
