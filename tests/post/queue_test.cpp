// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/refusals.h"
#include "tests/post/editor_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class QueueTest : public EditorTest {
 protected:
  QueueTest() { UseFull(); }

  static void Queue(std::string_view key, std::string_view subject, std::uint32_t flag = 0) {
    AsciiArticle post = ArticleWithId(key);
    post.headers = "Subject: s\r\nNewsgroups: g\r\n";
    post.subject = subject;
    post.read = flag;
    ASSERT_TRUE(StoreAsciiGDBMPost(post));
  }
  // What the user does when the list is shown next; at its end he presses `end`, if it is not 0.
  void InList(const std::function<void(port::WindowHandle)>& act, std::uint32_t end = kControlOk) {
    fake.display.WhenShown(kDialogPendingPosts, [this, act, end](port::WindowHandle dialog) {
      if (act) act(dialog);
      if (end != 0) fake.display.Press(dialog, end);
    });
  }
  std::vector<std::u16string> Rows(port::WindowHandle dialog) {
    std::vector<std::u16string> rows;
    const auto list = fake.display.Control(dialog, kControlPendingPosts);
    for (const port::Row& row : list->rows) rows.push_back(row.texts.at(0));
    return rows;
  }
  // The row of that subject.
  int RowOf(port::WindowHandle dialog, std::u16string_view subject) {
    const auto rows = Rows(dialog);
    return static_cast<int>(std::ranges::find(rows, subject) - rows.begin());
  }
  std::u16string Status(port::WindowHandle dialog) {
    return fake.display.Control(dialog, kControlPendingStatus)->text;
  }
};

TEST_F(QueueTest, ListsEveryPostInTheQueuesOrder) {
  Queue("1", "caf\xE9");
  Queue("2", "Tea");
  Queue("3", "");
  std::vector<std::u16string> order;
  for (const std::string& key : Keys()) {
    order.push_back(Widen(*FetchPendingPost(key)->subject));
  }
  InList([&](port::WindowHandle dialog) {
    EXPECT_EQ(Rows(dialog), order);
    EXPECT_EQ(fake.display.FindDialog(dialog)->caption, u"Pending Posts");
  });
  ShowPendingPosts();
  EXPECT_EQ(fake.display.DialogOfForm(kDialogPendingPosts), 0U);
}

TEST_F(QueueTest, SubjectsInEncodedWordsAreShownDecoded) {
  Queue("1", "Re: =?UTF-8?B?zqnOvM6tzrPOsQ==?=");
  InList([&](port::WindowHandle dialog) {
    EXPECT_THAT(Rows(dialog), ElementsAre(u"Re: \u03A9\u03BC\u03AD\u03B3\u03B1"));
  });
  ShowPendingPosts();
}

TEST_F(QueueTest, EmptyQueueOpensAnEmptyList) {
  InList([&](port::WindowHandle dialog) { EXPECT_THAT(Rows(dialog), IsEmpty()); }, kControlCancel);
  ShowPendingPosts();
}

TEST_F(QueueTest, DamagedPostIsLeftOut) {
  Queue("1", "Tea");
  ASSERT_TRUE(StoreValue(kPosts, Raw("2\0"), "rubbish", StoreMode::kInsert));
  InList([&](port::WindowHandle dialog) { EXPECT_THAT(Rows(dialog), ElementsAre(u"Tea")); });
  ShowPendingPosts();
}

TEST_F(QueueTest, RefusedPostShowsWhatTheServerSaid) {
  Queue("1", "Tea", 1);
  Queue("2", "Milk");
  KeepRefusal("1", u"441 No such group");
  InList([&](port::WindowHandle dialog) {
    const auto rows = fake.display.Control(dialog, kControlPendingPosts)->rows;
    const auto tea = static_cast<std::size_t>(RowOf(dialog, u"Tea"));
    const auto milk = static_cast<std::size_t>(RowOf(dialog, u"Milk"));
    EXPECT_TRUE(rows[tea].marked);
    EXPECT_EQ(rows[tea].tool_tip, u"The server has refused this article: 441 No such group");
    EXPECT_FALSE(rows[milk].marked);
    EXPECT_EQ(rows[milk].tool_tip, u"");
  });
  ShowPendingPosts();
}

TEST_F(QueueTest, StatusIsThatOfTheSelectedPost) {
  Queue("1", "Tea", 1);
  KeepRefusal("1", u"441 No such group");
  InList([&](port::WindowHandle dialog) {
    EXPECT_EQ(Status(dialog), u"The server has refused this article: 441 No such group");
  });
  ShowPendingPosts();
  ForgetRefusal("1");
  InList([&](port::WindowHandle dialog) {
    EXPECT_EQ(Status(dialog), u"The server has refused this article.");
  });
  ShowPendingPosts();
}

TEST_F(QueueTest, MenuEdits) {
  Queue("1", "Tea");
  fake.display.ExpectPopUp(u"Edit");
  InList(
      [&](port::WindowHandle dialog) { fake.display.AskListMenu(dialog, kControlPendingPosts, 0); },
      0);
  ShowPendingPosts();
  const auto menu = fake.display.pop_ups().back();
  ASSERT_EQ(menu.size(), 2U);
  EXPECT_EQ(menu[0].command, 40031U);
  EXPECT_EQ(menu[1].command, 40032U);
  EXPECT_EQ(menu[1].text, u"Delete");
  EXPECT_EQ(fake.display.DialogOfForm(kDialogPendingPosts), 0U);
  ASSERT_NE(Full(), 0U);
  EXPECT_TRUE(IsBeingEdited("1"));
  // The list comes again when the editor closes.
  ASSERT_TRUE(fake.display.Press(Full(), kControlCancel));
  std::vector<std::uint32_t> posted;
  fake.HandleWaiting([&](const port::Message& message) {
    if (message.kind == port::MessageKind::kUser) posted.push_back(message.id);
    Dispatch(message);
  });
  posted = PostedToMainWindow();
  EXPECT_THAT(posted, ElementsAre(kUserShowPostQueue));
}

TEST_F(QueueTest, SecondTapEdits) {
  Queue("1", "Tea");
  InList(
      [&](port::WindowHandle dialog) {
        fake.display.Choose(dialog, kControlPendingPosts, 0);
        fake.display.Choose(dialog, kControlPendingPosts, 0);
      },
      0);
  ShowPendingPosts();
  EXPECT_NE(Full(), 0U);
}

TEST_F(QueueTest, DeletingOneOfSeveralReopensTheList) {
  Queue("1", "Tea");
  Queue("2", "Milk");
  fake.display.Expect(u"Really delete post from database?", port::kIdYes);
  fake.display.ExpectPopUp(u"Delete");
  InList(
      [&](port::WindowHandle dialog) {
        fake.display.AskListMenu(dialog, kControlPendingPosts, RowOf(dialog, u"Tea"));
      },
      0);
  InList([&](port::WindowHandle dialog) { EXPECT_THAT(Rows(dialog), ElementsAre(u"Milk")); });
  ShowPendingPosts();
  EXPECT_THAT(Keys(), ElementsAre("2"));
  EXPECT_EQ(fake.display.boxes()[0].caption, u"Quillet confirmation");
}

TEST_F(QueueTest, DeletingTheLastOneEndsTheList) {
  Queue("1", "Tea");
  fake.display.Expect(u"Really delete post from database?", port::kIdYes);
  fake.display.ExpectPopUp(u"Delete");
  InList(
      [&](port::WindowHandle dialog) { fake.display.AskListMenu(dialog, kControlPendingPosts, 0); },
      0);
  ShowPendingPosts();
  EXPECT_THAT(Keys(), IsEmpty());
  EXPECT_EQ(gPendingPostCount, 0U);
}

TEST_F(QueueTest, NoReopensTheList) {
  Queue("1", "Tea");
  fake.display.Expect(u"Really delete post from database?", port::kIdNo);
  fake.display.ExpectPopUp(u"Delete");
  InList(
      [&](port::WindowHandle dialog) { fake.display.AskListMenu(dialog, kControlPendingPosts, 0); },
      0);
  InList([&](port::WindowHandle dialog) { EXPECT_THAT(Rows(dialog), ElementsAre(u"Tea")); });
  ShowPendingPosts();
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(QueueTest, SkippedVerificationsDeleteAtOnce) {
  gPrefs->skipverifications = 1;
  Queue("1", "Tea");
  fake.display.ExpectPopUp(u"Delete");
  InList(
      [&](port::WindowHandle dialog) { fake.display.AskListMenu(dialog, kControlPendingPosts, 0); },
      0);
  ShowPendingPosts();
  EXPECT_THAT(Keys(), IsEmpty());
}

TEST_F(QueueTest, DismissedMenuLeavesTheListOpen) {
  Queue("1", "Tea");
  fake.display.ExpectPopUp(u"");
  InList([&](port::WindowHandle dialog) {
    fake.display.AskListMenu(dialog, kControlPendingPosts, 0);
  });
  ShowPendingPosts();
  EXPECT_EQ(Keys().size(), 1U);
}

TEST_F(QueueTest, WhileAnArticleIsWrittenNoPostIsEdited) {
  Queue("1", "Tea");
  StartNewArticle(u"g");
  EditPendingPost("1");
  EXPECT_FALSE(IsBeingEdited("1"));
  EXPECT_THAT(Boxes(),
              ElementsAre(u"You are already writing an article. Please finish it, or cancel it, "
                          u"before you begin another one."));
  Press(kControlCancel);
  EXPECT_THAT(PostedToMainWindow(), IsEmpty());
}

}  // namespace
}  // namespace quillet
