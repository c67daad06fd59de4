// SPDX-License-Identifier: GPL-3.0-or-later
// The editors beside the running program: what starts them, quitting, and the next start.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/app_messages.h"
#include "base/messages.h"
#include "base/upward_calls.h"
#include "post/draft.h"
#include "res/resource.h"
#include "store/chains.h"
#include "store/pending_posts.h"
#include "store/records.h"
#include "tests/app/program_fixture.h"

namespace quillet {
namespace {

using ::testing::IsEmpty;

constexpr const char16_t* kQuitQuestion = u"The article that you are writing is not finished.";
constexpr const char16_t* kOffer = u"An article that you were writing was not finished.";

class Writing : public Program {
 protected:
  Writing() {
    SetGroups({u"comp.test", u"alt.test", u"de.test"});
    SetNumbers(u"checked", {1, 0, 1});
    SetDword(u"simplepost", 0);
  }
  ~Writing() override {
    if (thread_.joinable()) End();
  }

  port::WindowHandle Editor() { return fake_.display.DialogOfForm(kDialogPostMessage); }
  std::u16string Text() { return fake_.display.Control(Editor(), kControlArticleText)->text; }
  void Type(std::u16string_view text) {
    ASSERT_TRUE(fake_.display.Type(Editor(), kControlArticleText, text));
    WaitIdle();
  }
  void Press(std::uint32_t control) {
    ASSERT_TRUE(fake_.display.Press(Editor(), control));
    WaitIdle();
  }
  bool Has(std::u16string_view part) { return Text().find(part) != std::u16string::npos; }
  void Close() {
    fake_.display.CloseMainWindow();
    WaitIdle();
  }
  // The post "1", opened from the queue.
  void EditAQueuedPost() {
    OnProgramThread([] {
      AsciiArticle post;
      post.messageId = "1";
      post.headers = "Subject: s\r\nNewsgroups: g\r\n";
      post.body = "Hot.";
      post.subject = "s";
      StoreAsciiGDBMPost(post);
    });
    fake_.display.WhenShown(kDialogPendingPosts, [this](port::WindowHandle dialog) {
      fake_.display.ActivateListRow(dialog, kControlPendingPosts, 0);
    });
    Command(kCommandViewPostQueue);
  }
  // An article that is shown in the article view.
  void ReadAnArticle() {
    OnProgramThread([] {
      AsciiArticle article;
      article.messageId = "<s@x>";
      article.headers = "Newsgroups: alt.test,de.test\r";
      article.body = "One\r\n";
      article.subject = "Hello";
      article.from = "Bob <bob@x>";
      article.replyTo = "Bob <bob@x>";
      StoreArticle(article);
      AddArticleToGroup(u"alt.test", "<s@x>");
    });
    fake_.display.SelectRow(1);
    fake_.display.ActivateRow(1);
    WaitIdle();
    const auto item = fake_.display.tree().rows.at(0).item;
    fake_.display.ActivateItem(item);
    WaitIdle();
    ASSERT_EQ(fake_.display.SelectedTab(), port::kArticleTab);
  }
};

TEST_F(Writing, GroupViewWritesToTheTickedGroups) {
  StartAndWait();
  Command(kCommandNewArticle);
  ASSERT_NE(Editor(), 0U);
  EXPECT_TRUE(Has(u"\r\nNewsgroups: comp.test,de.test\r\n"));
}

TEST_F(Writing, WithoutTickedGroupsTheListIsEmpty) {
  SetNumbers(u"checked", {0, 0, 0});
  StartAndWait();
  Command(kCommandNewArticle);
  ASSERT_NE(Editor(), 0U);
  EXPECT_TRUE(Has(u"\r\nNewsgroups: \r\n"));
}

TEST_F(Writing, ThreadViewWritesToItsGroup) {
  StartAndWait();
  fake_.display.SelectRow(1);
  fake_.display.ActivateRow(1);
  WaitIdle();
  Command(kCommandNewArticle);
  ASSERT_NE(Editor(), 0U);
  EXPECT_TRUE(Has(u"\r\nNewsgroups: alt.test\r\n"));
}

TEST_F(Writing, ArticleViewWritesAnswersAndForwards) {
  StartAndWait();
  ReadAnArticle();
  Command(kCommandNewArticleFromArticle);
  ASSERT_NE(Editor(), 0U);
  EXPECT_TRUE(Has(u"\r\nSubject: \r\nNewsgroups: alt.test\r\n"));
  Press(kControlCancel);
  Command(kCommandReply);
  ASSERT_NE(Editor(), 0U);
  EXPECT_TRUE(Has(u"\r\nSubject: Re: Hello\r\nNewsgroups: alt.test,de.test\r\n"));
  EXPECT_TRUE(Has(u"\r\n> One\r\n"));
  Press(kControlCancel);
  Command(kCommandForward);
  ASSERT_NE(Editor(), 0U);
  EXPECT_TRUE(Has(u"\r\nSubject: Re: Hello\r\n"));
}

TEST_F(Writing, CommandsOfOtherViewsDoNothing) {
  StartAndWait();
  for (const auto id : {kCommandReply, kCommandForward, kCommandNewArticleFromArticle}) Command(id);
  EXPECT_EQ(Editor(), 0U);
  Tab(port::kThreadTab);
  Command(kCommandViewPostQueue);
  EXPECT_EQ(fake_.display.DialogOfForm(kDialogPendingPosts), 0U);
  Tab(port::kArticleTab);
  for (const auto id : {kCommandReply, kCommandForward, kCommandNewArticleFromArticle,
                        kCommandNewArticle, kCommandViewPostQueue}) {
    Command(id);
  }
  EXPECT_EQ(Editor(), 0U);
}

TEST_F(Writing, ReadingGoesOnBesideTheEditor) {
  StartAndWait();
  Command(kCommandNewArticle);
  ReadAnArticle();
  EXPECT_NE(Editor(), 0U);
}

TEST_F(Writing, QueueOpensFromTheGroupView) {
  StartAndWait();
  fake_.display.WhenShown(kDialogPendingPosts, [this](port::WindowHandle dialog) {
    fake_.display.Press(dialog, kControlOk);
  });
  Command(kCommandViewPostQueue);
}

TEST_F(Writing, QueueComesAgainAfterAnEditedPost) {
  StartAndWait();
  EditAQueuedPost();
  ASSERT_NE(Editor(), 0U);
  bool came_again = false;
  fake_.display.WhenShown(kDialogPendingPosts, [&](port::WindowHandle dialog) {
    came_again = true;
    fake_.display.Press(dialog, kControlOk);
  });
  Press(kControlOk);
  EXPECT_TRUE(came_again);
}

TEST_F(Writing, QuittingAsksAndNoKeepsTheWindow) {
  StartAndWait();
  Command(kCommandNewArticle);
  Type(u"not finished");
  fake_.display.Expect(kQuitQuestion, port::kIdNo);
  Close();
  EXPECT_NE(gMainWindow, 0U);
  EXPECT_EQ(Text(), u"not finished");
  fake_.display.Expect(kQuitQuestion, port::kIdYes);
  End();
  EXPECT_EQ(LoadDraft()->info.text, u"not finished");
}

TEST_F(Writing, EndOfTheSessionKeepsTheArticleWithoutAQuestion) {
  StartAndWait();
  Command(kCommandNewArticle);
  Type(u"not finished");
  BeginSessionEnd();
  Join();
  EXPECT_EQ(LoadDraft()->info.text, u"not finished");
  EXPECT_THAT(fake_.display.boxes(), IsEmpty());
}

TEST_F(Writing, NextStartOffersTheArticle) {
  Draft draft;
  draft.info.text = u"not finished";
  ASSERT_TRUE(SaveDraft(draft));
  fake_.display.Expect(kOffer, port::kIdYes);
  StartAndWait();
  ASSERT_NE(Editor(), 0U);
  EXPECT_EQ(Text(), u"not finished");
  fake_.display.Expect(kQuitQuestion, port::kIdYes);
  End();
}

// A question would keep every later scheduled connection waiting.
TEST_F(Writing, ScheduledStartOffersItOnceSomebodyIsThere) {
  Draft draft;
  draft.info.text = u"not finished";
  ASSERT_TRUE(SaveDraft(draft));
  fake_.shell.command_line = u"AppRunAtTime";
  StartAndWait();
  EXPECT_EQ(Editor(), 0U);
  const auto asked = [this] {
    return std::ranges::count_if(fake_.display.boxes(), [](const port::ShownBox& box) {
      return box.text.starts_with(kOffer);
    });
  };
  EXPECT_EQ(asked(), 0);
  fake_.display.Expect(kOffer, port::kIdYes);
  Tab(port::kThreadTab);
  EXPECT_EQ(asked(), 1);
  EXPECT_NE(Editor(), 0U);
  fake_.display.Expect(kQuitQuestion, port::kIdYes);
  End();
}

TEST_F(Writing, OpenPostIsKeptOutOfConnections) {
  StartAndWait();
  EditAQueuedPost();
  OnProgramThread([] { EXPECT_TRUE(up::IsBeingEdited("1")); });
}

}  // namespace
}  // namespace quillet
