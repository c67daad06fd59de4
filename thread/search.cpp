#include "thread/search.h"

namespace quillet {

bool AskFindChoices() {
  return false;
}
bool ArticleMatches(const AsciiArticle&, const FindChoices&) {
  return false;
}
Node* SearchForward(Node*, const FindChoices&) {
  return nullptr;
}
void SearchAndShow(Node*) {}

}  // namespace quillet
