// SPDX-License-Identifier: GPL-3.0-or-later
// Generated articles, their manifest, and articles read from texts and files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <string>

#include "demo/article_files.h"
#include "demo/article_generator.h"
#include "demo/article_text.h"
#include "demo/date_text.h"
#include "demo/manifest.h"

namespace quillet::demo {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::vector<GeneratedArticle> Generate(std::size_t count, std::uint64_t seed,
                                       bool tangled = false) {
  ArticleGenerator generator({.seed = seed, .groups = {"g.a", "g.b", "g.c"}, .tangled = tangled});
  std::vector<GeneratedArticle> articles;
  while (articles.size() < count) articles.push_back(generator.Next());
  return articles;
}

TEST(GeneratorTest, TheSameSeedGivesTheSameArticles) {
  const auto one = Generate(200, 5);
  const auto two = Generate(200, 5);
  const auto other = Generate(200, 6);
  for (std::size_t i = 0; i < one.size(); ++i) {
    EXPECT_EQ(ManifestLine(one[i]), ManifestLine(two[i]));
    EXPECT_EQ(one[i].head, two[i].head);
    EXPECT_NE(one[i].message_id, other[i].message_id);
  }
}

TEST(GeneratorTest, ArticlesAverageAbout2400BytesAndHoldEveryOddity) {
  const auto articles = Generate(5000, 1);
  std::map<std::string, std::size_t> seen;
  std::size_t bytes = 0;
  std::set<std::string> ids;
  for (const GeneratedArticle& article : articles) {
    const std::size_t head = WireText(article.head).size();
    const std::size_t body = WireText(article.body).size();
    bytes += head + body;
    ids.insert(article.message_id);
    seen["cross-posted"] += article.groups.size() > 1;
    seen["follow-up"] += !article.expected.parent_id.empty();
    seen["no body"] += article.body.empty();
    seen["over 4 KB"] += body > 4096;
    seen["over 64 KB"] += body > 65536;
    seen["huge head"] += head > 10240;
    seen["answers elsewhere"] += article.expected.reply_to != article.expected.from;
    for (const std::string& line : article.head) {
      seen["lower-case name"] += line.starts_with("subject: ");
      seen["folded"] += line.starts_with(' ') || line.starts_with('\t');
    }
    for (const std::string& line : article.body) {
      seen["lone dot"] += line == ".";
      seen["8-bit"] += line.find('\x93') != std::string::npos;
    }
  }
  EXPECT_EQ(ids.size(), articles.size());
  EXPECT_NEAR(static_cast<double>(bytes) / 5000, 2400, 120);
  for (const char* oddity :
       {"cross-posted", "follow-up", "no body", "over 4 KB", "over 64 KB", "huge head",
        "answers elsewhere", "lower-case name", "folded", "lone dot", "8-bit"}) {
    EXPECT_GT(seen[oddity], 0U) << oddity;
  }
}

TEST(GeneratorTest, FollowUpsNameAnArticleMadeBeforeThem) {
  std::set<std::string> ids;
  for (const GeneratedArticle& article : Generate(1000, 3)) {
    if (!article.expected.parent_id.empty()) {
      EXPECT_TRUE(ids.contains(article.expected.parent_id)) << article.expected.parent_id;
    }
    ids.insert(article.message_id);
  }
}

TEST(GeneratorTest, TangledThreadsHoldEveryMistake) {
  const auto articles = Generate(5000, 7, true);
  std::map<std::string, std::size_t> number;  // of each article by its Message-ID
  for (std::size_t i = 0; i < articles.size(); ++i) number[articles[i].message_id] = i;
  EXPECT_EQ(number.size(), articles.size());
  std::map<std::string, std::size_t> seen, depth;
  for (std::size_t i = 0; i < articles.size(); ++i) {
    const ExpectedFields& expected = articles[i].expected;
    seen["many marks"] += expected.subject.starts_with("Re: RE:re: ");
    seen["no mark"] += !expected.parent_id.empty() && !expected.subject.starts_with("R");
    seen["changed subject"] += expected.subject.find("(was: ") != std::string::npos;
    seen["start"] += expected.parent_id.empty();
    const auto parent = number.find(expected.parent_id);
    if (parent == number.end()) {
      seen["missing parent"] += !expected.parent_id.empty();
      continue;
    }
    seen["own parent"] += parent->second == i;
    seen["late parent"] += parent->second > i;
    seen["circle"] += parent->second != i &&
                      articles[parent->second].expected.parent_id == articles[i].message_id;
    seen["parent elsewhere"] += articles[parent->second].groups != articles[i].groups;
    const std::size_t levels = depth[expected.parent_id] + 1;
    depth[articles[i].message_id] = levels;
    seen["over 100 deep"] += levels > 100;
  }
  for (const char* tangle :
       {"many marks", "no mark", "changed subject", "start", "missing parent", "own parent",
        "late parent", "circle", "parent elsewhere", "over 100 deep"}) {
    EXPECT_GT(seen[tangle], 5U) << tangle;
  }
}

TEST(GeneratorTest, WireTextEndsLinesAndDoublesDots) {
  EXPECT_EQ(WireText({"a", ".", "..b", "", "c."}), "a\r\n..\r\n...b\r\n\r\nc.\r\n");
  EXPECT_EQ(WireText({}), "");
}

TEST(ManifestTest, ALineStatesFieldsSizesAndTheStoredBody) {
  GeneratedArticle article;
  article.message_id = "<x@y>";
  article.groups = {"g.a", "g.b"};
  article.head = {"Subject: \xE4\"", "Path: p"};
  article.body = {".", "end"};
  article.expected = {"\xE4\"", "f", "d", "r", "", {"Path: p"}, true, 2};
  EXPECT_EQ(ManifestLine(article),
            "{\"message_id\":\"<x@y>\",\"groups\":[\"g.a\",\"g.b\"],"
            "\"subject\":\"\\u00e4\\u0022\",\"from\":\"f\",\"date\":\"d\",\"reply_to\":\"r\","
            "\"parent_id\":\"\",\"kept\":[\"Path: p\"],\"last_line_kept\":true,"
            "\"head_size\":25,\"body_size\":12,\"lines_header\":2,"
            "\"body\":\"..\\u000d\\u000aend\"}\n");
}

TEST(DateTest, TextsAreUtcWithLeadingZeros) {
  EXPECT_EQ(CompactDate(0), "19700101000000");
  EXPECT_EQ(CompactDate(1709210096), "20240229123456");
  EXPECT_EQ(MailDate(1709210096), "Thu, 29 Feb 2024 12:34:56 +0000");
  EXPECT_EQ(MailDate(0, false), "01 Jan 1970 00:00:00 +0000");
}

TEST(ArticleTextTest, SplitLinesTakesBothLineEnds) {
  EXPECT_THAT(SplitLines("a\r\n\nb\nc"), ElementsAre("a", "", "b", "c"));
  EXPECT_THAT(SplitLines("a\n"), ElementsAre("a"));
  EXPECT_TRUE(SplitLines("").empty());
}

TEST(ArticleTextTest, HeaderValueJoinsContinuationsAndIgnoresCase) {
  const std::vector<std::string> head = {"X-Subject: no", "subject:  a ", "\tb", "  c", "To: d"};
  EXPECT_EQ(HeaderValue(head, "Subject"), "a b c");
  EXPECT_EQ(HeaderValue(head, "From"), std::nullopt);
}

TEST(ArticleTextTest, MessageIdsNeedBracketsAndAnAt) {
  EXPECT_TRUE(IsMessageId("<a@b>"));
  for (const char* text : {"", "<>", "<@>", "<a>", "a@b", "<a@>", "<@b>", "<a b@c>", "<a@b>>"}) {
    EXPECT_FALSE(IsMessageId(text)) << text;
  }
  EXPECT_FALSE(IsMessageId("<" + std::string(300, 'a') + "@b>"));
}

class FolderTest : public testing::Test {
 protected:
  FolderTest() : folder_(testing::TempDir() + "quillet-articles") {
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    Write("groups", "g.a Of a\ng.b\n");
  }
  ~FolderTest() override { std::filesystem::remove_all(folder_); }

  void Write(const std::string& name, const std::string& text) {
    std::ofstream(folder_ + "/" + name, std::ios::binary) << text;
  }

  std::string folder_;
  NewsStore store_;
  std::string problem_;
};

TEST_F(FolderTest, ArticlesAreFiledInTheOrderOfTheirNames) {
  Write("2.article", "From: x\nSubject: s\nNewsgroups: g.a\nMessage-ID: <2@x>\n\n.dot\n");
  Write("1.article", "From: x\nSubject: s\nNewsgroups: g.a,g.b\nMessage-ID: <1@x>\n");
  Write("notes.txt", "not an article\n");
  ASSERT_TRUE(LoadArticles(folder_, store_, problem_)) << problem_;
  const Group* group = store_.FindGroup("g.a");
  ASSERT_TRUE(group);
  EXPECT_EQ(group->description, "Of a");
  ASSERT_EQ(group->articles.size(), 2U);
  EXPECT_EQ(group->articles[0]->message_id, "<1@x>");
  EXPECT_EQ(group->articles[0]->body, "");
  EXPECT_EQ(group->articles[1]->body, "..dot\r\n");
  EXPECT_EQ(store_.FindGroup("g.b")->articles.size(), 1U);
}

TEST_F(FolderTest, AWrongFileIsNamedWithTheReason) {
  Write("1.article", "From: x\nSubject: s\nNewsgroups: other\nMessage-ID: <1@x>\n");
  EXPECT_FALSE(LoadArticles(folder_, store_, problem_));
  EXPECT_EQ(problem_, "1.article: names no group here");
  Write("1.article", "From: x\nSubject: s\nMessage-ID: <1@x>\n");
  EXPECT_FALSE(LoadArticles(folder_, store_, problem_));
  EXPECT_EQ(problem_, "1.article: missing Newsgroups header");
}

TEST_F(FolderTest, AFolderWithoutGroupsIsRefused) {
  EXPECT_FALSE(LoadArticles(folder_ + "/none", store_, problem_));
  EXPECT_THAT(problem_, HasSubstr("/none/groups cannot be read"));
}

TEST(SampleArticlesTest, AllAreArticlesAndEveryGroupHasSome) {
  NewsStore store;
  std::string problem;
  ASSERT_TRUE(LoadArticles(QUILLET_SAMPLE_ARTICLES, store, problem)) << problem;
  EXPECT_GE(store.size(), 40U);
  EXPECT_EQ(store.groups().size(), 5U);
  for (const auto& [name, group] : store.groups()) EXPECT_GE(group.articles.size(), 5U) << name;
}

}  // namespace
}  // namespace quillet::demo
