// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/upward_calls.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/reset.h"
#include "util/text.h"

namespace quillet {
namespace {

std::vector<std::string>& Made() {
  static std::vector<std::string> calls;
  return calls;
}

class UpwardCallsTest : public testing::Test {
 protected:
  UpwardCallsTest() { Made().clear(); }
  ~UpwardCallsTest() override { ResetProgram(); }
};

TEST_F(UpwardCallsTest, DoNothingWhileNobodyHasFilledThem) {
  EXPECT_EQ(up::GroupOfShownTree(), std::nullopt);
  EXPECT_EQ(up::DeleteReadOfShownTree(), std::nullopt);
  EXPECT_FALSE(up::DisplayArticle(nullptr, u""));
  up::ClearThreadView();
  up::ClearArticleView();
  up::ShowGroupCounts();
  up::TellResultOfRun(u"result");
  up::OpenPreferences(PreferencesPage::kServer);
}

TEST_F(UpwardCallsTest, ReachWhoeverHasFilledThem) {
  gUpwardCalls.shown_tree = {[] { return std::optional(GroupAt(3)); },
                             [] {
                               Made().emplace_back("delete read");
                               return std::optional(RunEnd::kCancelled);
                             },
                             [] { Made().emplace_back("clear threads"); }};
  gUpwardCalls.article_view = {
      [](Node*, std::u16string_view text) { Made().push_back("display " + ToUtf8(text)); },
      [] { Made().emplace_back("clear article"); }};
  gUpwardCalls.group_list = {
      [] { Made().emplace_back("counts"); },
      [](std::u16string_view text) { Made().push_back("result " + ToUtf8(text)); }};
  gUpwardCalls.open_preferences = [](PreferencesPage page) {
    Made().push_back("page " + std::to_string(static_cast<int>(page)));
  };
  EXPECT_EQ(up::GroupOfShownTree(), GroupAt(3));
  EXPECT_EQ(up::DeleteReadOfShownTree(), RunEnd::kCancelled);
  EXPECT_TRUE(up::DisplayArticle(nullptr, u"text"));
  up::ClearThreadView();
  up::ClearArticleView();
  up::ShowGroupCounts();
  up::TellResultOfRun(u"3 new");
  up::OpenPreferences(PreferencesPage::kConnection);
  EXPECT_EQ(Made(),
            (std::vector<std::string>{"delete read", "display text", "clear threads",
                                      "clear article", "counts", "result 3 new", "page 2"}));
}

TEST_F(UpwardCallsTest, TellWhenTheTreeCouldNotBeUsed) {
  gUpwardCalls.shown_tree.delete_read = []() -> std::optional<RunEnd> { return std::nullopt; };
  EXPECT_EQ(up::DeleteReadOfShownTree(), std::nullopt);
}

}  // namespace
}  // namespace quillet
