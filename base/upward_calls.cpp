// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/upward_calls.h"

#include "base/reset.h"

namespace quillet {

UpwardCalls gUpwardCalls;

namespace {

const ResetAtEnd kReset([] { gUpwardCalls = {}; });

}  // namespace

namespace up {

std::optional<GroupIndex> GroupOfShownTree() {
  const auto group = gUpwardCalls.shown_tree.group;
  return group != nullptr ? group() : std::nullopt;
}

std::optional<RunEnd> DeleteReadOfShownTree() {
  const auto delete_read = gUpwardCalls.shown_tree.delete_read;
  return delete_read != nullptr ? delete_read() : std::nullopt;
}

void ClearThreadView() {
  if (gUpwardCalls.shown_tree.clear != nullptr) gUpwardCalls.shown_tree.clear();
}

bool DisplayArticle(Node* node, std::u16string_view search_text) {
  const auto display = gUpwardCalls.article_view.display;
  if (display == nullptr) return false;
  display(node, search_text);
  return true;
}

void ClearArticleView() {
  if (gUpwardCalls.article_view.clear != nullptr) gUpwardCalls.article_view.clear();
}

void ShowGroupCounts() {
  if (gUpwardCalls.group_list.show_counts != nullptr) gUpwardCalls.group_list.show_counts();
}

void TellResultOfRun(std::u16string_view text) {
  if (gUpwardCalls.group_list.tell_result != nullptr) gUpwardCalls.group_list.tell_result(text);
}

void OpenPreferences(PreferencesPage page) {
  if (gUpwardCalls.open_preferences != nullptr) gUpwardCalls.open_preferences(page);
}

bool IsBeingEdited(std::string_view post_key) {
  return gUpwardCalls.is_being_edited != nullptr && gUpwardCalls.is_being_edited(post_key);
}

}  // namespace up
}  // namespace quillet
