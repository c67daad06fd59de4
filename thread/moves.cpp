#include "thread/moves.h"

namespace quillet {

Node* NextNode(const Node&, const Node*) {
  return nullptr;
}
Node* PreviousNode(const Node&) {
  return nullptr;
}
Node* NodeAfterSubtree(const Node&) {
  return nullptr;
}
Node* ThreadOf(Node&) {
  return nullptr;
}
Node* FirstArticleFrom(Node*) {
  return nullptr;
}
Node* NextArticle(const Node&) {
  return nullptr;
}
Node* PreviousArticle(const Node&) {
  return nullptr;
}
Node* NextThread(Node&) {
  return nullptr;
}
Node* PreviousThread(Node&) {
  return nullptr;
}
Position ThreadPosition(Node&) {
  return {};
}
Position ArticlePosition(Node&) {
  return {};
}

}  // namespace quillet
