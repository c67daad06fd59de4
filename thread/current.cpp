#include "thread/current.h"

namespace quillet {

int gCurrentGroup = -1;
std::unique_ptr<ThreadTree> gThreadTree;
int gThreadGroup = -1;
std::unique_ptr<AsciiArticle> gCurrentArticle;
FindChoices gFind;
ArticleViewHooks gArticleView;

void BringCurrentArticleInStep() {
  if (gCurrentArticle && gCurrentArticle->node != nullptr) {
    gCurrentArticle->read = gCurrentArticle->node->read;
  }
}

}  // namespace quillet
