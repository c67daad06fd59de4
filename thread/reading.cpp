// SPDX-License-Identifier: GPL-3.0-or-later
#include "thread/reading.h"

#include "base/reset.h"

namespace quillet {

Reading gReading;

namespace {

const ResetAtEnd kReset([] {
  gReading.Leave();
  gReading.find = {};
});

}  // namespace

void Reading::ForgetTree() {
  if (article) article->node = nullptr;
  tree.reset();
  tree_group.reset();
  rebuild_pending = false;
}

void Reading::ForgetArticle() {
  article.reset();
  article_group.clear();
}

void Reading::Leave() {
  ForgetArticle();
  ForgetTree();
  tree_state.BringUpToDate();
  group.reset();
}

void BringCurrentArticleInStep() {
  if (gReading.article && gReading.article->node != nullptr) {
    gReading.article->read = gReading.article->node->read;
  }
}

}  // namespace quillet
