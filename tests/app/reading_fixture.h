// SPDX-License-Identifier: GPL-3.0-or-later
// The whole program with a store of two groups and what is shown of them while they are read.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "res/resource.h"
#include "store/chains.h"
#include "store/databases.h"
#include "store/records.h"
#include "tests/app/program_fixture.h"
#include "thread/reading.h"

namespace quillet {

using Texts = std::vector<std::u16string>;

// Counts how often the viewer was given a complete source.
class Showings final : public port::DisplayObserver {
 public:
  explicit Showings(port::FakeDisplay& display) : display_(display) {}
  void OnArticleChanged() override {
    const bool ended = display_.article().ended;
    if (ended && !ended_ && !display_.article().source.empty()) ++count;
    ended_ = ended;
  }
  int count = 0;

 private:
  port::FakeDisplay& display_;
  bool ended_ = false;
};

// Group "a" holds the thread "Hello" of Ann (1), Bob's reply (2) and Cid's reply to that (3), and
// Dan's "Other" (4); group "b" Eve's "Elsewhere" (5). All unread.
class ReadingTest : public Program {
 protected:
  ReadingTest() {
    fake_.display.SetObserver(&showings_);
    SetGroups({u"a", u"b"});
    SetNumbers(u"checked", {0, 0});
    StoreArticles();
  }
  // The run ends before what watches it goes.
  ~ReadingTest() override {
    if (thread_.joinable()) End();
  }

  static AsciiArticle Written(int number, std::string_view parent, std::string_view from,
                              std::string_view subject) {
    AsciiArticle article;
    article.messageId = "<" + std::to_string(number) + "@x>";
    article.parentId = parent;
    article.from = from;
    article.subject = subject;
    article.body = "Text of " + std::string(from) + ".\r\n";
    article.source = "news";
    article.articleNumber = static_cast<std::uint32_t>(number);
    return article;
  }
  static void Put(std::u16string_view group, AsciiArticle article) {
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(group, *article.messageId));
  }
  // The store as an earlier run left it.
  void StoreArticles() {
    fake_.files.CreateFolder(u"\\Quillet CE News");
    ASSERT_TRUE(LoadDatabaseLibrary());
    OpenStoreAgain();
    Put(u"a", Written(1, "", "Ann", "Hello"));
    Put(u"a", Written(2, "<1@x>", "Bob", "Re: Hello"));
    Put(u"a", Written(3, "<2@x>", "Cid", "Re: Hello"));
    Put(u"a", Written(4, "", "Dan", "Other"));
    Put(u"b", Written(5, "", "Eve", "Elsewhere"));
    CloseDatabases();
  }

  int ShownTab() { return fake_.display.main_window().tab; }
  Texts Rows() {
    Texts texts;
    for (const port::TreeRow& row : fake_.display.tree().rows) texts.push_back(row.text);
    return texts;
  }
  Texts BoldRows() {
    Texts texts;
    for (const port::TreeRow& row : fake_.display.tree().rows) {
      if (row.bold) texts.push_back(row.text);
    }
    return texts;
  }
  std::u16string SelectedText() {
    const port::ShownTree tree = fake_.display.tree();
    for (const port::TreeRow& row : tree.rows) {
      if (row.item == tree.selected) return row.text;
    }
    return u"";
  }
  std::u16string Caption() { return fake_.display.tree().caption; }
  std::u16string Counts(std::size_t row) { return fake_.display.list().rows.at(row).counts; }
  bool Shows(std::u16string_view text) {
    return fake_.display.article().source.find(text) != std::u16string::npos;
  }
  std::u16string From() { return fake_.display.article().header[1].left; }

  void OpenGroup(int row) {
    EXPECT_TRUE(fake_.display.ActivateRow(row));
    WaitIdle();
    EXPECT_EQ(ShownTab(), 1);
  }
  void OpenArticle(std::u16string_view from) {
    EXPECT_TRUE(fake_.display.ActivateItem(fake_.display.FindItem(from)));
    WaitIdle();
    EXPECT_EQ(ShownTab(), 2);
  }
  // Starts, opens the first group and an article of it.
  void StartReading(std::u16string_view from) {
    StartAndWait();
    OpenGroup(0);
    OpenArticle(from);
  }
  void Click(std::u16string_view text) {
    EXPECT_TRUE(fake_.display.ClickItem(fake_.display.FindItem(text)));
  }
  void Confirm(std::u16string text) { fake_.display.Expect(std::move(text), port::kIdYes); }

  // What the program thread holds, read there.
  template <class Read>
  auto OnProgram(const Read& read) {
    std::optional<decltype(read())> value;
    OnProgramThread([&] { value = read(); });
    return *value;
  }
  bool ArticleIsCurrent() {
    return OnProgram([] { return gReading.article != nullptr; });
  }
  bool TreeIsThere() {
    return OnProgram([] { return gReading.tree != nullptr; });
  }
  std::optional<GroupIndex> CurrentGroup() {
    return OnProgram([] { return gReading.group; });
  }
  bool Stored(std::string_view id) {
    return OnProgram([id] { return ArticleExists(id); });
  }

  // The group's counts in memory, in the store's cache, in its chain and in the shown list agree,
  // and so do those of the tree when it is the shown group's.
  void ExpectInStep() {
    OnProgramThread([] {
      for (std::size_t i = 0; i < gReadInfo.size(); ++i) {
        const ReadInfo& info = *gReadInfo[i];
        ReadInfo cached;
        PopulateReadArticlesInfo(cached, info.groupName);
        EXPECT_EQ(cached.readCount, info.readCount);
        EXPECT_EQ(cached.totalCount, info.totalCount);
        EXPECT_EQ(CountGroupArticles(info.groupName, true), info.readCount);
        EXPECT_EQ(CountGroupArticles(info.groupName, false), info.totalCount);
        if (gReading.tree && gReading.tree_group == GroupAt(i)) {
          EXPECT_EQ(gReading.tree->root().readDescendantCount, info.readCount);
          EXPECT_EQ(gReading.tree->root().descendantCount, info.totalCount);
        }
      }
    });
    const auto rows = fake_.display.list().rows;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const std::u16string wanted = OnProgram([i] {
        return Widen(std::to_string(gReadInfo[i]->totalCount - gReadInfo[i]->readCount) + "/" +
                     std::to_string(gReadInfo[i]->totalCount));
      });
      EXPECT_EQ(rows[i].counts, wanted);
    }
  }

  Showings showings_{fake_.display};
};

inline constexpr std::u16string_view kNoArticle = u"Quillet error: there is no current article";
inline constexpr std::u16string_view kNoThreads = u"No threads, or no current group selected";

}  // namespace quillet
