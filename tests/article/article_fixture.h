// SPDX-License-Identifier: GPL-3.0-or-later
// What the tests of the article view stand on: an open store with articles of two groups, the tree
// of one of them, and a main window with its tabs.
#pragma once

#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <vector>

#include "article/commands.h"
#include "article/view.h"
#include "base/upward_calls.h"
#include "base/views.h"
#include "res/resource.h"
#include "tests/store/store_fixture.h"
#include "tests/support/failing_new.h"
#include "thread/deletion.h"
#include "thread/reading.h"
#include "thread/view.h"

namespace quillet {

class ArticleTest : public StoreTest {
 protected:
  ArticleTest() {
    gPrefs->font = u"<default>";
    gPrefs->fontsize = 2;
    gPrefs->articleheaderfont = u"Tahoma";
    gPrefs->articleheaderfontsize = 3;
    gPrefs->usethreading = 1;
    OpenStore();
    CreateWindow();
    fake.display.ShowMainWindow();
    KeepInsideSize({240, 294});
    gUpwardCalls.shown_tree = {GroupOfShownTree, DeleteReadOfShownTree, ClearThreadView};
    gUpwardCalls.article_view = {DisplayArticle, ClearArticleView};
  }

  ~ArticleTest() override {
    testing::LimitNew(0);
    testing::FailNewOfAtLeast(0);
  }

  // Keeps an article and puts it at the end of the group.
  static void Put(std::u16string_view group, AsciiArticle article) {
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(group, *article.messageId));
  }

  static AsciiArticle Written(std::string_view id, std::uint32_t number, std::string_view parent,
                              std::string_view subject, std::string_view body) {
    AsciiArticle article;
    article.messageId = id;
    article.articleNumber = number;
    article.parentId = parent;
    article.subject = subject;
    article.body = body;
    article.from = "Ann <ann@example.invalid>";
    article.date = "1 Jan 2001";
    article.replyTo = "Ann <ann@example.invalid>";
    article.source = "news.example.invalid";
    return article;
  }

  // Thread "Alpha" with a1, its replies a2 and a4 and a3 under a2; thread "Beta" with b1 alone;
  // thread "Gamma" with g1 and its reply g2. All in the group at index 1.
  void PutThreeThreads() {
    Put(kGroup, Written("<a1@x>", 1, "", "Alpha", "One.\r\n"));
    Put(kGroup, Written("<a2@x>", 2, "<a1@x>", "Re: Alpha", "Two.\r\n"));
    Put(kGroup, Written("<a3@x>", 3, "<a2@x>", "Re: Alpha", "Three.\r\n"));
    Put(kGroup, Written("<a4@x>", 4, "<a1@x>", "Re: Alpha", "Four.\r\n"));
    Put(kGroup, Written("<b1@x>", 5, "", "Beta", "Five.\r\n"));
    Put(kGroup, Written("<g1@x>", 6, "", "Gamma", "Six.\r\n"));
    Put(kGroup, Written("<g2@x>", 7, "<g1@x>", "Re: Gamma", "Seven.\r\n"));
    OpenGroup(1);
  }

  void OpenGroup(std::size_t group) {
    CountArticles();
    gReading.group = GroupAt(group);
    ShowThreadView();
    ASSERT_NE(gReading.tree, nullptr);
    ASSERT_EQ(gReading.tree_group, GroupAt(group));
    PostedToMainWindow();
  }

  static Node* NodeOf(std::string_view id) { return gReading.tree->FindNodeByMessageId(id); }
  static void Open(std::string_view id) { DisplayArticle(NodeOf(id), u""); }
  static std::string CurrentId() {
    return gReading.article ? gReading.article->messageId.value_or("") : "none";
  }
  // Which article is current after the command.
  static std::string After(std::uint32_t command) {
    ArticleCommand(command);
    return CurrentId();
  }

  port::ShownArticle Shown() { return fake.display.article(); }
  std::u16string Source() { return Shown().source; }
  // The source of a page with that text.
  static std::u16string Page(std::u16string_view text) {
    return u"<FONT SIZE=\"2\">" + std::u16string(text) + u"&nbsp;<br></FONT>";
  }
  int Tab() { return fake.display.main_window().tab; }
  std::vector<std::u16string> HeaderTexts() {
    const port::ShownArticle shown = Shown();
    return {shown.header[0].left, shown.header[0].right, shown.header[1].left,
            shown.header[1].right};
  }
  std::uint32_t ReadCount(std::size_t group = 1) { return gReadInfo.at(group)->readCount; }
  std::uint32_t TotalCount(std::size_t group = 1) { return gReadInfo.at(group)->totalCount; }

  // In the "Find" dialog; boxes that are not named are cleared.
  void AnswerFind(const std::u16string& text, std::uint32_t button = kControlOk,
                  const std::vector<std::uint32_t>& ticked = {}) {
    fake.display.WhenShown(kDialogFind, [=, this](port::WindowHandle dialog) {
      fake.display.Type(dialog, kControlFindText, text);
      for (const std::uint32_t box :
           {kControlMatchCase, kControlWholeWord, kControlSearchHeaders}) {
        fake.display.Tick(dialog, box, std::count(ticked.begin(), ticked.end(), box) != 0);
      }
      fake.display.Press(dialog, button);
    });
  }

  static constexpr std::u16string_view kGroup = u"alt.test";
  static constexpr std::u16string_view kNoArticle = u"Quillet error: there is no current article";
};

}  // namespace quillet
