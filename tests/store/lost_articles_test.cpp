// SPDX-License-Identifier: GPL-3.0-or-later
#include "store/lost_articles.h"

#include <gmock/gmock.h>

#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

bool operator==(const LostArticle& a, const LostArticle& b) {
  return a.message_id == b.message_id && a.groups == b.groups;
}

class LostArticlesTest : public StoreTest {
 protected:
  const std::u16string path = gDatabaseFolder + u"\\Quillet lost articles";

  std::vector<std::string> Ids() {
    std::vector<std::string> ids;
    for (const LostArticle& article : LostArticles()) ids.push_back(article.message_id);
    return ids;
  }
  std::string Text() { return fake.files.ReadFile(path, 1 << 20).value_or("none"); }
};

TEST_F(LostArticlesTest, TheListOutlivesTheProgramInALineAnArticle) {
  EXPECT_THAT(LostArticles(), IsEmpty());
  ASSERT_TRUE(AddLostArticles({{"<1@x>", {"alt.test", "de.test"}}, {"<2 %\t@x>", {}}}));
  EXPECT_EQ(Text(), "<1@x> alt.test de.test\n<2%20%25%09@x>\n");
  ReleaseLostArticles();
  const auto list = LostArticles();
  ASSERT_THAT(list, SizeIs(2));
  EXPECT_TRUE(list[0] == (LostArticle{"<1@x>", {"alt.test", "de.test"}}));
  EXPECT_TRUE(list[1] == (LostArticle{"<2 %\t@x>", {}}));
}

TEST_F(LostArticlesTest, AnArticleIsOnItOnceWithAllItsGroups) {
  ASSERT_TRUE(AddLostArticles({{"<1@x>", {"alt.test"}}, {"", {"alt.test"}}}));
  ASSERT_TRUE(AddLostArticles({{"<1@x>", {"de.test", "alt.test"}}, {"<1@x>", {"c"}}}));
  const auto list = LostArticles();
  ASSERT_THAT(list, SizeIs(1));
  EXPECT_THAT(list[0].groups, ElementsAre("alt.test", "de.test", "c"));
}

TEST_F(LostArticlesTest, WhatCouldNotBeWrittenIsNotOnIt) {
  ASSERT_TRUE(AddLostArticles({{"<1@x>", {}}}));
  fake.files.FailNth(port::FileCall::kWriteFile, 1);
  EXPECT_FALSE(AddLostArticles({{"<2@x>", {}}}));
  EXPECT_THAT(Ids(), ElementsAre("<1@x>"));
  EXPECT_EQ(Text(), "<1@x>\n");
}

TEST_F(LostArticlesTest, ForgettingCostsAWriteNowAndThenAndTheLastOneTakesTheFileAway) {
  std::vector<LostArticle> articles;
  for (int i = 0; i < 120; ++i) articles.push_back({FormatNarrow("<%d@x>", i), {}});
  ASSERT_TRUE(AddLostArticles(articles));
  const int writes = fake.files.calls(port::FileCall::kWriteFile);
  EXPECT_FALSE(ForgetLostArticle("<none@x>"));
  for (int i = 0; i < 119; ++i) EXPECT_TRUE(ForgetLostArticle(FormatNarrow("<%d@x>", i)));
  EXPECT_EQ(fake.files.calls(port::FileCall::kWriteFile), writes + 2);
  EXPECT_THAT(Ids(), ElementsAre("<119@x>"));
  EXPECT_TRUE(WriteLostArticles());
  EXPECT_EQ(Text(), "<119@x>\n");
  EXPECT_TRUE(WriteLostArticles());  // nothing to write
  EXPECT_EQ(fake.files.calls(port::FileCall::kWriteFile), writes + 3);
  EXPECT_TRUE(ForgetLostArticle("<119@x>"));
  EXPECT_EQ(Text(), "none");
}

TEST_F(LostArticlesTest, LinesOfAnotherKindAreLeftOut) {
  fake.files.WriteFile(path, std::string("<1@x> g\n\n <2@x>\n<3%2@x>\n<4%zz@x>\n<5%00@x>\n<6@x> \n"
                                         "<7@x>  g\n<8\x01@x>\n<9@x> h\n<1@x> k"));
  EXPECT_THAT(Ids(), ElementsAre("<1@x>", "<6@x>", "<9@x>"));
  EXPECT_THAT(LostArticles()[0].groups, ElementsAre("g", "k"));
}

TEST_F(LostArticlesTest, ALongListIsCut) {
  std::string text;
  for (std::size_t i = 0; i < kMostLostArticles + 5; ++i) text += FormatNarrow("<%lu@x>\n", i);
  EXPECT_THAT(ParseLostArticles(text), SizeIs(kMostLostArticles));
}

TEST_F(LostArticlesTest, EachFolderHasItsOwn) {
  ASSERT_TRUE(AddLostArticles({{"<1@x>", {}}}));
  gDatabaseFolder = u"\\Other";
  ASSERT_TRUE(fake.files.CreateFolder(gDatabaseFolder));
  EXPECT_THAT(LostArticles(), IsEmpty());
  EXPECT_FALSE(ForgetLostArticle("<1@x>"));
}

TEST_F(LostArticlesTest, GroupsAreThoseOfTheListThatTheLineNames) {
  EXPECT_THAT(GroupsOfHead("Path: a\nnewsgroups: de.test, no.such,\r\n\talt.test \r\nLines: 1"),
              ElementsAre("alt.test", "de.test"));
  EXPECT_THAT(GroupsOfHead("Subject: Newsgroups: alt.test\nX-Newsgroups: de.test"), IsEmpty());
  EXPECT_THAT(GroupsOfHead("Newsgroups: alt.tes,alt.test2,ALT.TEST"), IsEmpty());
  EXPECT_THAT(GroupsOfHead(""), IsEmpty());
}

}  // namespace
}  // namespace quillet
