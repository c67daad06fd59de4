// SPDX-License-Identifier: GPL-3.0-or-later
// The tree of a list of articles, without a store.
#include <gtest/gtest.h>

#include <algorithm>

#include "tests/mime/without_decoding.h"
#include "tests/thread/forests.h"
#include "tests/thread/tree_reference.h"
#include "thread/gathering.h"
#include "thread/subjects.h"

namespace quillet {
namespace {

using testing::BuildTree;
using testing::Forests;
using testing::Group;
using testing::ReferenceTree;
using testing::TestArticle;
using testing::TreeFault;
using testing::TreeText;

using Articles = std::vector<TestArticle>;

constexpr ThreadOptions kThreading{true, false};
constexpr ThreadOptions kReversed{true, true};
constexpr ThreadOptions kFlat{false, false};
constexpr ThreadOptions kFlatReversed{false, true};
constexpr ThreadOptions kAllOptions[] = {kThreading, kReversed, kFlat, kFlatReversed};

// The tree in short: depth by blanks, Message-IDs and subjects.
std::string Outline(const Node& root) {
  std::string text;
  std::size_t depth = 0;
  for (const Node* node = root.firstChild; node != nullptr;) {
    text.append(depth, ' ');
    text += node->kind == NodeKind::kSubject ? "[" + std::string(node->subject) + "]"
                                             : std::string(node->messageId);
    text += '\n';
    if (node->firstChild != nullptr) {
      node = node->firstChild;
      ++depth;
      continue;
    }
    while (node != nullptr && node->nextSibling == nullptr) {
      node = node->parent;
      --depth;
    }
    if (node != nullptr) node = node->nextSibling;
  }
  return text;
}

std::string Outline(const Articles& newest_first, const ThreadOptions& options = kThreading) {
  const auto tree = BuildTree(newest_first, options);
  EXPECT_EQ(TreeFault(tree->root(), newest_first.size(), options), "");
  return Outline(tree->root());
}

TestArticle One(const char* id, const char* parent, std::int32_t number = 0,
                const char* subject = "s", const char* source = "a") {
  return {id, parent, subject, source, "f", number, false, 0};
}

// --- Parents -------------------------------------------------------------------------------------

TEST(ThreadBuilder, AReplyReadAfterItsParentStandsUnderIt) {
  EXPECT_EQ(Outline({One("<1>", ""), One("<2>", "<1>")}), "[s]\n <1>\n  <2>\n");
}

TEST(ThreadBuilder, AReplyReadBeforeItsParentStandsUnderIt) {
  EXPECT_EQ(Outline({One("<3>", "<2>", 3), One("<2>", "<1>", 2), One("<1>", "", 1)}),
            "[s]\n <1>\n  <2>\n   <3>\n");
}

TEST(ThreadBuilder, AReplyWithoutItsParentIsAThreadOfItsOwn) {
  EXPECT_EQ(Outline({One("<2>", "<gone>", 2, "Re: b"), One("<1>", "", 1, "a")}),
            "[a]\n <1>\n[Re: b]\n <2>\n");
}

TEST(ThreadBuilder, AnArticleThatAnswersItselfIsAThread) {
  EXPECT_EQ(Outline({One("<1>", "<1>")}), "[s]\n <1>\n");
}

TestArticle Reply(const char* id, const char* references, const char* parent,
                  std::int32_t number = 0) {
  TestArticle article = One(id, parent, number);
  article.references = references;
  return article;
}

TEST(ThreadBuilder, TheNearestForerunnerThatIsThereIsTheParent) {
  // The middle of the thread is missing.
  EXPECT_EQ(Outline({Reply("<4>", " <1> <2> <3>", "<3>"), One("<1>", "")}), "[s]\n <1>\n  <4>\n");
  EXPECT_EQ(Outline({Reply("<4>", " <1> <2> <3>", "<3>"), Reply("<2>", " <1>", "<1>", 1),
                     One("<1>", "")}),
            "[s]\n <1>\n  <2>\n   <4>\n");
  // The same when the forerunners are read first.
  EXPECT_EQ(Outline({One("<1>", ""), Reply("<2>", " <1>", "<1>", 1),
                     Reply("<4>", " <1> <2> <3>", "<3>")}),
            "[s]\n <1>\n  <2>\n   <4>\n");
}

TEST(ThreadBuilder, AFoldedReferencesIsReadToItsEnd) {
  // What is stored for the parent is the last one of the first line.
  const TestArticle reply = Reply("<4>", " <1> <2>\r\n <3>\r", "<2>");
  const Articles others = {One("<3>", "<2>", 3), One("<2>", "<1>", 2), One("<1>", "", 1)};
  const std::string chain = "[s]\n <1>\n  <2>\n   <3>\n    <4>\n";
  EXPECT_EQ(Outline({reply, others[0], others[1], others[2]}), chain);
  EXPECT_EQ(Outline({others[2], others[1], others[0], reply}), chain);
  EXPECT_EQ(Outline({others[2], others[1], reply, others[0]}), chain);
  // Without it the stored one counts.
  EXPECT_EQ(Outline({One("<4>", "<2>"), others[0], others[1], others[2]}),
            "[s]\n <1>\n  <2>\n   <4>\n   <3>\n");
}

TEST(ThreadBuilder, WithoutAnyForerunnerTheStoredParentCounts) {
  EXPECT_EQ(Outline({Reply("<2>", " <a> <b>", "<1>"), One("<1>", "")}), "[s]\n <1>\n  <2>\n");
  EXPECT_EQ(Outline({Reply("<2>", " ", "<1>"), One("<1>", "")}), "[s]\n <1>\n  <2>\n");
}

TEST(ThreadBuilder, AForerunnerThatIsTheArticleOrBelowItIsPassedOver) {
  EXPECT_EQ(Outline({Reply("<2>", " <1> <2>", "<2>"), One("<1>", "")}), "[s]\n <1>\n  <2>\n");
  // Each names the other: the one that is read later comes under the first, whose next one counts.
  EXPECT_EQ(Outline({Reply("<2>", " <0> <3>", "<3>", 2), Reply("<3>", " <0> <2>", "<2>", 3),
                     One("<0>", "", 9)}),
            "[s]\n <0>\n  <2>\n   <3>\n");
}

TEST(ThreadBuilder, OfOneThousandForerunnersTheFarthestIsFound) {
  std::string references = " <1>";
  for (int i = 0; i < 1000; ++i) {
    references += FormatNarrow(" <gone-%d@x>%s", i, i % 9 != 0 ? "" : "\r\n");
  }
  EXPECT_EQ(Outline({Reply("<2>", references.c_str(), "<gone-0@x>"), One("<1>", "")}),
            "[s]\n <1>\n  <2>\n");
}

TEST(ThreadBuilder, ManyLongReferencesTakeABoundedPartOfMemory) {
  // 100 MB of them: of those beyond the first 64 the nearest ones are looked at.
  const std::string far = " <1>" + std::string(200'000, ' ');
  const std::string near = " <1>" + std::string(500, ' ');
  Articles articles(500, One("", "<gone@x>"));
  for (std::size_t i = 0; i < articles.size(); ++i) {
    articles[i].id = Group::Id(i);
    articles[i].references = (i % 100 == 0 ? near : far) + FormatNarrow("<gone%d@x>", i);
  }
  articles.push_back(One("<1>", ""));
  const auto tree = BuildTree(articles, kThreading);
  ASSERT_EQ(TreeFault(tree->root(), articles.size(), kThreading), "");
  const Node* first = tree->FindNodeByMessageId("<1>");
  EXPECT_GT(first->descendantCount, 300U);
  EXPECT_LT(first->descendantCount, 400U);
  EXPECT_EQ(tree->FindNodeByMessageId(Group::Id(400))->parent, first);
}

TEST(ThreadBuilder, ACircleIsOpenedAtTheArticleReadFirst) {
  // <1> finds <2> late; <2> then has itself above it.
  EXPECT_EQ(Outline({One("<1>", "<2>", 1), One("<2>", "<1>", 2)}), "[s]\n <1>\n  <2>\n");
  EXPECT_EQ(Outline({One("<1>", "<3>", 1), One("<2>", "<1>", 2), One("<3>", "<2>", 3)}),
            "[s]\n <1>\n  <2>\n   <3>\n");
}

TEST(ThreadBuilder, ACircleIsOpenedAtTheLastOfItsLateOnesInTheList) {
  // <2> is read after <3>; of the late ones <1> comes first in the list, <3> would then go below
  // itself.
  EXPECT_EQ(
      Outline({One("<3>", "<1>", 3, "c"), One("<1>", "<2>", 1, "a"), One("<2>", "<3>", 2, "b")}),
      "[c]\n <3>\n  <2>\n   <1>\n");
}

TEST(ThreadBuilder, OfOneMessageIdTheArticleReadLastIsTheParent) {
  EXPECT_EQ(Outline({One("<1>", "", 1), One("<1>", "", 2), One("<2>", "<1>", 3)}),
            "[s]\n <1>\n <1>\n  <2>\n");
  // When the reply is read in between, the first one was the only one then.
  EXPECT_EQ(Outline({One("<1>", "", 1), One("<2>", "<1>", 3), One("<1>", "", 2)}),
            "[s]\n <1>\n  <2>\n <1>\n");
  // The later one of two that answer their own Message-ID finds itself, the earlier one the later.
  EXPECT_EQ(Outline({One("<1>", "<1>", 1), One("<1>", "<1>", 2)}), "[s]\n <1>\n  <1>\n");
}

TEST(ThreadBuilder, AnEmptyMessageIdIsShownAndNeverAParent) {
  const auto tree = BuildTree({One("", ""), One("<1>", "")}, kThreading);
  EXPECT_EQ(Outline(tree->root()), "[s]\n \n <1>\n");
  EXPECT_EQ(tree->root().firstChild->firstChild->kind, NodeKind::kArticle);
  EXPECT_EQ(tree->FindNodeByMessageId(""), nullptr);
}

TEST(ThreadBuilder, CaseCountsInMessageIds) {
  EXPECT_EQ(Outline({One("<A>", ""), One("<2>", "<a>")}), "[s]\n <A>\n <2>\n");
}

TEST(ThreadBuilder, MessageIdsWithNulsAreToldApart) {
  const std::string a("<1\0a>", 5);
  const std::string b("<1\0b>", 5);
  Articles articles = {One("", "", 1), One("", "", 2), One("<3>", "", 3)};
  articles[0].id = a;
  articles[1].id = b;
  articles[2].parent = a;
  const auto tree = BuildTree(articles, kThreading);
  EXPECT_EQ(tree->FindNodeByMessageId("<3>")->parent, tree->FindNodeByMessageId(a));
}

// --- Order ---------------------------------------------------------------------------------------

TEST(ThreadBuilder, RepliesStandBySourceThenNumber) {
  const Articles articles = {One("<1>", ""), One("<b9>", "<1>", 9, "s", "b"),
                             One("<b10>", "<1>", 10, "s", "b"), One("<a20>", "<1>", 20, "s", "a"),
                             One("<B1>", "<1>", 1, "s", "B")};
  EXPECT_EQ(Outline(articles), "[s]\n <1>\n  <B1>\n  <a20>\n  <b9>\n  <b10>\n");
  EXPECT_EQ(Outline(articles, kReversed), "[s]\n <1>\n  <b10>\n  <b9>\n  <a20>\n  <B1>\n");
}

TEST(ThreadBuilder, SourcesAreComparedAsPlainBytes) {
  EXPECT_EQ(Outline({One("<1>", "", 1, "s", "\xE4"), One("<2>", "", 1, "s", "z"),
                     One("<3>", "", 1, "s", "")}),
            "[s]\n <3>\n <2>\n <1>\n");
}

TEST(ThreadBuilder, NumbersAreComparedWithTheirSign) {
  const auto number = [](std::uint32_t value) { return static_cast<std::int32_t>(value); };
  EXPECT_EQ(Outline({One("<a>", "", number(1)), One("<b>", "", number(0x80000001)),
                     One("<c>", "", number(0x7FFFFFFF)), One("<d>", "", number(0xFFFFFFFF))}),
            "[s]\n <b>\n <d>\n <a>\n <c>\n");
}

TEST(ThreadBuilder, EqualKeysStayInTheOrderOfReading) {
  const Articles articles = {One("<1>", "", 0, "s", "<import>"), One("<2>", "", 0, "s", "<import>"),
                             One("<3>", "", 0, "s", "<import>")};
  EXPECT_EQ(Outline(articles), "[s]\n <1>\n <2>\n <3>\n");
  EXPECT_EQ(Outline(articles, kReversed), "[s]\n <1>\n <2>\n <3>\n");
}

TEST(ThreadBuilder, AmongEqualKeysThoseLinkedLateComeLast) {
  EXPECT_EQ(Outline({One("<early>", "<p>"), One("<p>", ""), One("<later>", "<p>")}),
            "[s]\n <p>\n  <later>\n  <early>\n");
}

// --- Subjects ------------------------------------------------------------------------------------

TEST(ThreadBuilder, ThreadsOfOneSubjectShareANodeInTheirOrder) {
  EXPECT_EQ(Outline({One("<1>", "", 1, "Hello"), One("<2>", "", 2, "hello"),
                     One("<3>", "", 3, "RE: re:  Hello"), One("<4>", "", 4, "  Hello")}),
            "[Hello]\n <1>\n <3>\n <4>\n[hello]\n <2>\n");
}

TEST(ThreadBuilder, TheFirstThreadInTheListGivesTheSubject) {
  EXPECT_EQ(Outline({One("<1>", "", 1, "Re: Hello"), One("<2>", "", 2, "Hello")}),
            "[Re: Hello]\n <1>\n <2>\n");
}

TEST(ThreadBuilder, GatheredThreadsAreNotSortedAgain) {
  // With threads of two sources the list is by source; a merged thread stays where the list had it.
  EXPECT_EQ(Outline({One("<b1>", "", 1, "x", "b"), One("<a9>", "", 9, "x", "a"),
                     One("<a5>", "", 5, "y", "a")}),
            "[y]\n <a5>\n[x]\n <a9>\n <b1>\n");
}

TEST(ThreadBuilder, SubjectsOfOneHashAreToldApart) {
  ThreadTree tree;
  std::vector<Thread> threads;
  for (const char* subject : {"a", "b", "Re: a", "c", "b"}) {
    Node* top = tree.NewNode(NodeKind::kArticle);
    top->subject = subject;
    top->messageId = subject;
    top->treeItem = static_cast<std::uint32_t>(threads.size() + 1);
    threads.push_back({.top = top, .subject = SubjectWithoutReplyMarks(subject), .hash = 7});
  }
  const auto no_progress = [](std::uint64_t) {};
  ASSERT_TRUE(GatherThreads(tree, threads, true, no_progress, [] { return false; }));
  EXPECT_EQ(Outline(tree.root()), "[a]\n a\n Re: a\n[b]\n b\n b\n[c]\n c\n");
}

TEST(ThreadBuilder, OnlySubjectsOfTopmostArticlesCount) {
  EXPECT_EQ(Outline({One("<1>", "", 1, "a"), One("<2>", "<1>", 2, "b"), One("<3>", "", 3, "b")}),
            "[a]\n <1>\n  <2>\n[b]\n <3>\n");
}

TEST(ThreadBuilder, SubjectsThatAreShownAlikeShareANode) {
  const std::vector<TestArticle> articles = {One("<1>", "", 1, "=?UTF-8?Q?Caf=C3=A9?="),
                                             One("<2>", "", 2, "Re: =?utf-8?B?Q2Fmw6k=?="),
                                             One("<3>", "", 3, "=?iso-8859-1?Q?Re:_Caf=E9?="),
                                             One("<4>", "", 4, "re: Caf\xE9"),
                                             One("<5>", "", 5, "Caf\xC3\xA9"),
                                             One("<6>", "", 6, "caf\xE9"),
                                             One("<7>", "", 7, "=?us-ascii?Q?Tea?="),
                                             One("<8>", "", 8, "Re: Tea")};
  EXPECT_EQ(Outline(articles),
            "[=?UTF-8?Q?Caf=C3=A9?=]\n <1>\n <2>\n <3>\n <4>\n <5>\n[caf\xE9]\n <6>\n"
            "[=?us-ascii?Q?Tea?=]\n <7>\n <8>\n");
  const testing::WithoutDecoding scope;
  EXPECT_EQ(Outline(articles),
            "[=?UTF-8?Q?Caf=C3=A9?=]\n <1>\n[Re: =?utf-8?B?Q2Fmw6k=?=]\n <2>\n"
            "[=?iso-8859-1?Q?Re:_Caf=E9?=]\n <3>\n[re: Caf\xE9]\n <4>\n[Caf\xC3\xA9]\n <5>\n"
            "[caf\xE9]\n <6>\n[=?us-ascii?Q?Tea?=]\n <7>\n[Re: Tea]\n <8>\n");
}

TEST(ThreadBuilder, AnEmptySubjectIsAnEmptyOneHoweverItIsWritten) {
  EXPECT_EQ(Outline({One("<1>", "", 1, ""), One("<2>", "", 2, "=?utf-8?Q?Re:_?=")}),
            "[]\n <1>\n <2>\n");
}

TEST(SubjectsMatch, ComparesWhatIsShown) {
  EXPECT_TRUE(SubjectsMatch("=?UTF-8?Q?Caf=C3=A9?=", "RE: re: =?utf-8?B?Q2Fmw6k=?="));
  EXPECT_TRUE(SubjectsMatch("=?us-ascii?Q?Re:_a?=", "a"));
  EXPECT_FALSE(SubjectsMatch("=?UTF-8?Q?Caf=C3=A9?=", "Cafe"));
  EXPECT_FALSE(SubjectsMatch("=?UTF-8?Q?Caf=C3=A9?=", "=?UTF-8?Q?caf=C3=A9?="));
  EXPECT_EQ(ComparedSubject("Re: =?UTF-8?Q?re:_Caf=C3=A9?="), "Caf\xC3\xA9");
  EXPECT_EQ(ComparedSubject("Re: Tea"), "Tea");
  const testing::WithoutDecoding scope;
  EXPECT_FALSE(SubjectsMatch("=?UTF-8?Q?Caf=C3=A9?=", "=?utf-8?B?Q2Fmw6k=?="));
  EXPECT_TRUE(SubjectsMatch("=?UTF-8?Q?Caf=C3=A9?=", "Re: =?UTF-8?Q?Caf=C3=A9?="));
  EXPECT_EQ(ComparedSubject("Re: =?UTF-8?Q?re:_Caf=C3=A9?="), "=?UTF-8?Q?re:_Caf=C3=A9?=");
}

TEST(SubjectsMatch, IgnoresBlanksInFrontAndReplyMarks) {
  EXPECT_TRUE(SubjectsMatch("Hello", "RE: re:  Hello"));
  EXPECT_TRUE(SubjectsMatch("  Hello", "re:Hello"));
  EXPECT_TRUE(SubjectsMatch("re:", "Re: rE:"));
  EXPECT_TRUE(SubjectsMatch("", "re: "));
  EXPECT_FALSE(SubjectsMatch("hello", "Hello"));
  EXPECT_FALSE(SubjectsMatch("Hello", "Hello "));
  EXPECT_FALSE(SubjectsMatch("Hello", "Re : Hello"));
  EXPECT_FALSE(SubjectsMatch("Hello", "\tHello"));
  EXPECT_FALSE(SubjectsMatch("Hello", "re:\tHello"));
  EXPECT_FALSE(SubjectsMatch("Hello", "Fwd: Hello"));
  EXPECT_FALSE(SubjectsMatch("Hello", "Hello re:"));
  EXPECT_EQ(SubjectWithoutReplyMarks("  rE:  re:re: x "), "x ");
  EXPECT_EQ(SubjectWithoutReplyMarks("re"), "re");
  EXPECT_EQ(SubjectWithoutReplyMarks("   "), "");
}

TEST(ThreadBuilder, LongAndOddSubjectsAreSubjects) {
  std::string marks;
  for (int i = 0; i < 33000; ++i) marks += "re:";
  Articles articles = {One("<1>", "", 1), One("<2>", "", 2), One("<3>", "", 3), One("<4>", "", 4)};
  articles[0].subject = marks;
  articles[1].subject = std::string(100000, 's');
  articles[2].subject = "Re: " + std::string(100000, 's');
  articles[3].subject = std::string("\x00\x01\x7F re:", 7);
  const auto tree = BuildTree(articles, kThreading);
  ASSERT_EQ(TreeFault(tree->root(), 4, kThreading), "");
  EXPECT_EQ(TreeText(tree->root()), ReferenceTree(articles, kThreading));
  EXPECT_EQ(tree->FindNodeByMessageId("<3>")->parent, tree->FindNodeByMessageId("<2>")->parent);
  EXPECT_EQ(tree->FindNodeByMessageId("<2>")->subject.size(), 100000U);
  EXPECT_EQ(tree->FindNodeByMessageId("<4>")->subject, articles[3].subject);
}

// --- Counts, items, no threading -----------------------------------------------------------------

TEST(ThreadBuilder, CountsReachFromTheArticleToTheRoot) {
  Articles articles = {One("<1>", ""), One("<2>", "<1>"), One("<3>", "<2>"),
                       One("<4>", "", 9, "t")};
  articles[1].read = articles[2].read = articles[3].read = true;
  const auto tree = BuildTree(articles, kThreading);
  const Node& root = tree->root();
  EXPECT_EQ(root.descendantCount, 4U);
  EXPECT_EQ(root.readDescendantCount, 3U);
  EXPECT_EQ(root.read, 0U);
  const Node& first = *root.firstChild;
  EXPECT_EQ(first.descendantCount, 3U);
  EXPECT_EQ(first.readDescendantCount, 2U);
  EXPECT_EQ(first.read, 0U);
  EXPECT_EQ(first.firstChild->descendantCount, 2U);
  EXPECT_EQ(first.firstChild->readDescendantCount, 2U);
  EXPECT_EQ(first.firstChild->read, 0U);
  EXPECT_EQ(first.nextSibling->read, 1U);
}

TEST(ThreadBuilder, AnEmptyGroupIsARootWithoutChildren) {
  for (const ThreadOptions& options : kAllOptions) {
    const auto tree = BuildTree({}, options);
    EXPECT_EQ(tree->root().firstChild, nullptr);
    EXPECT_EQ(tree->root().descendantCount, 0U);
    EXPECT_EQ(tree->root().read, 1U);
    EXPECT_EQ(tree->FindNodeByMessageId("<1>"), nullptr);
  }
}

TEST(ThreadBuilder, WithoutThreadingEveryArticleIsAThread) {
  const Articles articles = {One("<3>", "<1>", 3), One("<1>", "", 1), One("<2>", "<1>", 2)};
  EXPECT_EQ(Outline(articles, kFlat), "[s]\n <1>\n[s]\n <2>\n[s]\n <3>\n");
  EXPECT_EQ(Outline(articles, kFlatReversed), "[s]\n <3>\n[s]\n <2>\n[s]\n <1>\n");
}

std::vector<std::uint32_t> Items(const Articles& articles) {
  const auto tree = BuildTree(articles, kFlat);
  EXPECT_EQ(TreeFault(tree->root(), articles.size(), kFlat), "");
  std::vector<std::uint32_t> items;
  for (Node* subject = tree->root().firstChild; subject; subject = subject->nextSibling) {
    items.push_back(subject->treeItem);
    items.push_back(subject->firstChild->treeItem);
  }
  return items;
}

Articles WithChainNumbers(std::initializer_list<std::uint32_t> numbers) {
  Articles articles;
  for (const std::uint32_t number : numbers) {
    articles.push_back(One("<x>", "", static_cast<std::int32_t>(articles.size())));
    articles.back().chain = number;
  }
  return articles;
}

TEST(ThreadBuilder, ItemsAreChainNumbers) {
  EXPECT_EQ(Items(WithChainNumbers({9, 4})),
            (std::vector<std::uint32_t>{0x80000009, 9, 0x80000004, 4}));
  EXPECT_EQ(Items(WithChainNumbers({4, 9})),
            (std::vector<std::uint32_t>{0x80000004, 4, 0x80000009, 9}));
}

TEST(ThreadBuilder, ItemsAreUniqueWhateverTheChainNumbers) {
  EXPECT_EQ(Items(WithChainNumbers({0, 4, 4, 0x80000004, 0x7FFFFFFF, 0xFFFFFFFF, 1})),
            (std::vector<std::uint32_t>{0xFFFFFFFE, 0x7FFFFFFE, 0x80000004, 4, 0xFFFFFFFD,
                                        0x7FFFFFFD, 0xFFFFFFFC, 0x7FFFFFFC, 0xFFFFFFFF, 0x7FFFFFFF,
                                        0xFFFFFFFB, 0x7FFFFFFB, 0x80000001, 1}));
}

// --- Against the rules ---------------------------------------------------------------------------

TEST(ThreadBuilder, RandomForestsAreAsTheRulesSay) {
  Forests forests(20261121);
  for (int round = 0; round < 500; ++round) {
    const Articles articles = forests.Small();
    for (const ThreadOptions& options : kAllOptions) {
      const auto tree = BuildTree(articles, options);
      ASSERT_EQ(TreeFault(tree->root(), articles.size(), options), "") << round;
      ASSERT_EQ(TreeText(tree->root()), ReferenceTree(articles, options)) << round;
    }
  }
}

TEST(ThreadBuilder, RandomForestsWithReferencesAreAsTheRulesSay) {
  Forests forests(20261122);
  for (int round = 0; round < 500; ++round) {
    const Articles articles = forests.SmallWithReferences();
    for (const ThreadOptions& options : kAllOptions) {
      const auto tree = BuildTree(articles, options);
      ASSERT_EQ(TreeFault(tree->root(), articles.size(), options), "") << round;
      ASSERT_EQ(TreeText(tree->root()), ReferenceTree(articles, options)) << round;
    }
  }
}

TEST(ThreadBuilder, FiveThousandArticlesAreAsTheRulesSay) {
  Articles articles = Group(5).Make(5000);
  Forests forests(7);
  for (int i = 0; i < 400; ++i) {  // some read out of order, so that parents are late and early
    std::swap(articles[forests.Below(5000)], articles[forests.Below(5000)]);
  }
  for (const ThreadOptions& options : kAllOptions) {
    const auto tree = BuildTree(articles, options);
    ASSERT_EQ(TreeFault(tree->root(), 5000, options), "");
    ASSERT_TRUE(TreeText(tree->root()) == ReferenceTree(articles, options));
  }
}

TEST(ThreadBuilder, ProgressCountsEachArticleOnceAPass) {
  Forests forests(3);
  for (int round = 0; round < 100; ++round) {
    const Articles articles = forests.Small();
    for (const ThreadOptions& options : kAllOptions) {
      std::uint64_t units = 0;
      BuildTree(articles, options, [&](std::uint64_t step) {
        EXPECT_GT(step, 0U);
        units += step;
      });
      ASSERT_EQ(units, 2 * articles.size());
    }
  }
}

// The subject nodes of such a tree; without merging, the articles at the top level.
std::size_t Subjects(const Articles& articles, const testing::ReferenceLimits& limits) {
  const std::string text = ReferenceTree(articles, kThreading, limits);
  std::size_t tops = 0;
  for (std::size_t at = text.find("\n  subject"); at != std::string::npos;
       at = text.find("\n  subject", at + 1)) {
    ++tops;
  }
  return tops;
}

// The first answers to "stop?" are no; all later ones yes. Returns how often it was asked.
std::string AbortedAt(const Articles& articles, std::size_t poll, std::size_t& asked) {
  asked = 0;
  const auto tree = BuildTree(articles, kThreading, {}, [&] { return asked++ >= poll; });
  EXPECT_EQ(TreeFault(tree->root(), articles.size(), kThreading), "");
  return TreeText(tree->root());
}

TEST(ThreadBuilder, AnAbortAtAnyPollLeavesWhatWasDoneTillThen) {
  Forests forests(11);
  for (int round = 0; round < 60; ++round) {
    const Articles articles = forests.Small();
    const std::size_t read = Subjects(articles, {0, 0});
    const std::size_t linked = Subjects(articles, {testing::kNoLimit, 0});
    const std::size_t gathered = Subjects(articles, {});
    std::size_t asked = 0;
    for (std::size_t poll = 0; poll == 0 || asked > poll; ++poll) {
      const std::string text = AbortedAt(articles, poll, asked);
      testing::ReferenceLimits limits;
      if (poll < read) limits.late = poll;
      if (poll < read + linked) limits.merge = 0;
      if (poll >= read + linked) limits.merge = poll - read - linked;
      ASSERT_EQ(text, ReferenceTree(articles, kThreading, limits)) << round << " poll " << poll;
      if (asked > poll) {
        ASSERT_EQ(asked, poll + 1) << "asked again after the abort";
      }
    }
    ASSERT_EQ(AbortedAt(articles, testing::kNoLimit, asked), ReferenceTree(articles, kThreading));
    ASSERT_EQ(asked, read + linked + gathered);
  }
}

// --- Shapes and sizes ----------------------------------------------------------------------------

TEST(ThreadBuilder, AChainOfAHundredThousandRepliesIsNoMatter) {
  constexpr std::size_t kCount = 100000;
  Articles articles(kCount);
  for (std::size_t i = 0; i < kCount; ++i) {
    articles[i] = One("", "", static_cast<std::int32_t>(i));
    articles[i].id = Group::Id(i);
    if (i > 0) articles[i].parent = Group::Id(i - 1);
  }
  for (int round = 0; round < 2; ++round) {  // parents first, then replies first
    const auto tree = BuildTree(articles, kThreading);
    ASSERT_EQ(TreeFault(tree->root(), kCount, kThreading), "");
    const Node* first = tree->root().firstChild->firstChild;
    EXPECT_EQ(first->descendantCount, kCount - 1);
    EXPECT_EQ(first->nextSibling, nullptr);
    std::reverse(articles.begin(), articles.end());
  }
}

double BytesAnArticle(const Articles& articles, const ThreadOptions& options) {
  const auto tree = BuildTree(articles, options);
  return static_cast<double>(tree->MemoryUsed()) / static_cast<double>(articles.size());
}

TEST(ThreadBuilder, ATreeTakesLessThanFourHundredBytesAnArticle) {
  const Articles realistic = Group(1).Make(20000);
  EXPECT_LT(BytesAnArticle(realistic, kThreading), 400);
  EXPECT_LT(BytesAnArticle(realistic, kFlat), 400);
  // Just beyond a doubling of the index.
  EXPECT_LT(BytesAnArticle(Group(1).Make(16385), kFlat), 400);
  EXPECT_LT(BytesAnArticle(Group(1).Make(1000), kFlat), 400);
}

TEST(ThreadBuilder, TextsArePaidOnce) {
  Articles articles(1000, One("<1>", "<gone>", 1, "A subject of twenty-six", "news.example"));
  for (std::size_t i = 0; i < articles.size(); ++i) articles[i].id = Group::Id(i);
  std::size_t ids = 0;
  for (const TestArticle& article : articles) ids += article.id.size();
  const auto tree = BuildTree(articles, kThreading);
  EXPECT_EQ(tree->TextMemoryUsed(), ids + 23 + 12 + 1);
}

}  // namespace
}  // namespace quillet
