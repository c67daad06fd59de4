// SPDX-License-Identifier: GPL-3.0-or-later
// A thread view with a group of nine articles in three threads, on the in-memory device with a real
// store. The article view is a double that notes what it was asked for.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "base/upward_calls.h"
#include "base/views.h"
#include "res/resource.h"
#include "tests/store/store_fixture.h"
#include "thread/deletion.h"
#include "thread/moves.h"
#include "thread/reading.h"
#include "thread/view.h"
#include "util/little_endian.h"

namespace quillet {

// What the tree shows of ShowNine, and the caption without a tree.
inline const std::vector<std::string> kNineRows = {
    "*2/4 Hello", "  ann",      "    *bob", "      *cyd", "    dan",    "*Other",
    "  *eve",     "*1/4 Third", "  fay",    "    gus",    "      *hal", "      ivy"};
inline constexpr std::u16string_view kNothing = u"No threads, or no current group selected";

struct TestPost {
  std::string id;
  std::string parent;
  std::string subject;
  std::string from;
  std::uint32_t number = 0;
  bool read = false;
  std::string body = "text\r\n";
};

// Stops the running operation at the nth change of the progress bar.
class AbortAtStep final : public port::DisplayObserver {
 public:
  int step = 0;  // 0: never
  int steps = 0;
  int upper = 0;
  std::vector<int> positions;
  port::FakeDisplay* display = nullptr;

  void OnControlChanged(port::WindowHandle dialog, std::uint32_t control) override {
    if (control != kControlProgressBar) return;
    const auto shown = display->Control(dialog, control);
    if (!shown) return;
    upper = shown->upper;
    positions.push_back(shown->position);
    if (++steps == step) gAbortRequested = 1;
  }
  void StartOver(int at_step) {
    step = at_step;
    steps = 0;
    upper = 0;
    positions.clear();
  }
};

class ThreadViewTest : public StoreTest {
 protected:
  static constexpr int kGroup = 1;
  static constexpr std::u16string_view kGroupName = u"alt.test";

  ThreadViewTest() {
    observer.display = &fake.display;
    fake.display.SetObserver(&observer);
    OpenStore();
    CreateWindow();
    fake.display.ShowMainWindow();
    gPrefs->usethreading = 1;
    gPrefs->threadfont = u"Tahoma";
    gPrefs->threadfontsize = 3;
    opened().clear();
    clears() = 0;
    gUpwardCalls.shown_tree = {GroupOfShownTree, DeleteReadOfShownTree, ClearThreadView};
    gUpwardCalls.article_view.display = [](Node* node, std::u16string_view text) {
      opened().push_back((node == nullptr ? "" : std::string(node->messageId)) +
                         (text.empty() ? "" : " " + Narrow(text)));
    };
    gUpwardCalls.article_view.clear = [] {
      ++clears();
      gReading.ForgetArticle();
    };
    gReading.group = GroupAt(kGroup);
  }
  ~ThreadViewTest() override { fake.display.SetObserver(nullptr); }

  // What the article view was asked to open, and how often to clear itself.
  static std::vector<std::string>& opened() {
    static std::vector<std::string> calls;
    return calls;
  }
  static int& clears() {
    static int count = 0;
    return count;
  }

  static void Put(const TestPost& post, std::u16string_view group = kGroupName) {
    AsciiArticle article = ArticleWithId(post.id, post.body);
    article.parentId = post.parent;
    article.subject = post.subject;
    article.from = post.from;
    article.source = "news.example.org";
    article.articleNumber = post.number;
    article.read = post.read ? 1 : 0;
    ASSERT_TRUE(StoreArticle(article));
    ASSERT_TRUE(AddArticleToGroup(group, post.id));
  }

  // Hello: 1 (2 (3), 4); Other: 5; Third: 6 (7 (8, 9)).
  static void PutNine() {
    Put({"<1@x>", "", "Hello", "ann", 1, true});
    Put({"<2@x>", "<1@x>", "Re: Hello", "bob", 2, false});
    Put({"<3@x>", "<2@x>", "Re: Hello", "cyd", 3, false});
    Put({"<4@x>", "<1@x>", "Re: Hello", "dan", 4, true});
    Put({"<5@x>", "", "Other", "eve", 5, false});
    Put({"<6@x>", "", "Third", "fay", 6, true});
    Put({"<7@x>", "<6@x>", "Re: Third", "gus", 7, true});
    Put({"<8@x>", "<7@x>", "Re: Third", "hal", 8, false});
    Put({"<9@x>", "<7@x>", "Re: Third", "ivy", 9, true});
    Recount();
  }
  static void Recount() {
    for (const auto& group : gPrefs->groups) DeleteValue(kArticles, GroupKey(group));
    CountArticles();
  }

  void ShowNine() {
    PutNine();
    ShowThreadView();
    PostedToMainWindow();
  }

  // A store without articles again, and nothing shown; quicker than new files.
  void StartAfresh() {
    gReading.article.reset();
    ClearThreadView();
    for (const DatabaseIndex index : {kArticles, kNewsgroups}) {
      while (const auto key = FirstKey(index)) ASSERT_TRUE(DeleteValue(index, *key));
    }
    CountArticles();
    fake.display.ForgetBoxes();
    fake.display.ForgetProgressTexts();
    opened().clear();
    clears() = 0;
    gAbortRequested = 0;
  }

  static Node& NodeOf(std::string_view id) {
    Node* node = gReading.tree->FindNodeByMessageId(id);
    EXPECT_NE(node, nullptr) << id;
    return *node;
  }
  static Node& Thread(std::string_view id) { return *ThreadOf(NodeOf(id)); }

  // Makes the article current, as the article view would.
  static void Read(std::string_view id) {
    gReading.article = FetchArticle(id);
    ASSERT_NE(gReading.article, nullptr);
    gReading.article->node = gReading.tree->FindNodeByMessageId(id);
  }
  static std::string CurrentId() {
    return gReading.article ? gReading.article->messageId.value_or("") : "none";
  }

  // "  *2/4 Hello": indented by depth, marked when bold.
  std::vector<std::string> Rows() {
    std::vector<std::string> rows;
    for (const port::TreeRow& row : fake.display.tree().rows) {
      rows.push_back(std::string(row.depth * 2, ' ') + (row.bold ? "*" : "") + Narrow(row.text));
    }
    return rows;
  }
  std::u16string Caption() { return fake.display.tree().caption; }
  std::vector<std::u16string> Titles() {
    std::vector<std::u16string> titles;
    for (const auto& text : fake.display.progress_texts()) {
      if (text.control == kControlProgressTitle) titles.push_back(text.text);
    }
    return titles;
  }

  void Click(const Node& node) { ASSERT_TRUE(fake.display.ClickItem(node.treeItem)); }

  // What a tree must show, counted from nothing but its links and the flags of its articles.
  struct Counted {
    std::uint32_t total = 0;
    std::uint32_t read = 0;
  };
  Counted ExpectSubtreeInStep(const Node& node, std::size_t depth, std::vector<std::string>& rows) {
    const std::size_t own = rows.size();
    if (node.kind != NodeKind::kRoot) rows.emplace_back();
    Counted below;
    for (const Node* child = node.firstChild; child != nullptr; child = child->nextSibling) {
      EXPECT_EQ(child->parent, &node);
      if (child->nextSibling != nullptr) {
        EXPECT_EQ(child->nextSibling->previousSibling, child);
      }
      const Counted counted = ExpectSubtreeInStep(*child, depth + 1, rows);
      const bool article = child->kind == NodeKind::kArticle;
      below.total += counted.total + (article ? 1 : 0);
      below.read += counted.read + (article && child->read != 0 ? 1 : 0);
    }
    EXPECT_EQ(node.descendantCount, below.total);
    EXPECT_EQ(node.readDescendantCount, below.read);
    if (node.kind != NodeKind::kArticle) {
      EXPECT_EQ(node.read != 0, below.read == below.total);
    }
    if (node.kind == NodeKind::kRoot) return below;
    std::string text(node.kind == NodeKind::kArticle ? node.from : node.subject);
    if (node.kind == NodeKind::kSubject && below.total != 1) {
      text =
          std::to_string(below.total - below.read) + "/" + std::to_string(below.total) + " " + text;
    }
    rows[own] = std::string((depth - 1) * 2, ' ') + (node.read == 0 ? "*" : "") + text;
    return below;
  }

  // Tree, control, group counts, their cache and the chain all say the same.
  void ExpectInStep() {
    ASSERT_NE(gReading.tree, nullptr);
    std::vector<std::string> rows;
    const Counted counted = ExpectSubtreeInStep(gReading.tree->root(), 0, rows);
    EXPECT_EQ(Rows(), rows);
    EXPECT_EQ(gReadInfo[kGroup]->totalCount, counted.total);
    EXPECT_EQ(gReadInfo[kGroup]->readCount, counted.read);
    EXPECT_EQ(CountGroupArticles(kGroupName, false), counted.total);
    EXPECT_EQ(CountGroupArticles(kGroupName, true), counted.read);
    for (const std::string& id : Chain(kGroupName)) {
      EXPECT_TRUE(ArticleExists(id)) << id;
      EXPECT_NE(gReading.tree->FindNodeByMessageId(id), nullptr) << id;
    }
    if (gReading.article && gReading.article->node != nullptr) {
      EXPECT_EQ(gReading.article->node,
                gReading.tree->FindNodeByMessageId(*gReading.article->messageId));
    }
  }
  static void ExpectCacheInStep() {
    std::string value;
    for (const std::uint32_t word :
         {std::uint32_t{1}, gReadInfo[kGroup]->readCount, gReadInfo[kGroup]->totalCount}) {
      AppendU32(value, word);
    }
    EXPECT_EQ(FetchValue(kArticles, GroupKey(kGroupName)), value);
  }

  AbortAtStep observer;
};

// --- a store whose nth write fails ---------------------------------------------------------------

inline GdbmLibrary gSoundLibrary;
inline int gWritesUntilFailure = 0;

inline int StoreThatFailsOnce(GDBM_FILE file, datum key, datum value, int flag) {
  return --gWritesUntilFailure == 0 ? -1 : gSoundLibrary.store(file, key, value, flag);
}

// The nth write from now on fails, until it goes out of scope.
class FailNthWrite {
 public:
  explicit FailNthWrite(int n) {
    gSoundLibrary = gGdbm;
    gWritesUntilFailure = n;
    gGdbm.store = StoreThatFailsOnce;
  }
  ~FailNthWrite() { gGdbm = gSoundLibrary; }
  FailNthWrite(const FailNthWrite&) = delete;
  FailNthWrite& operator=(const FailNthWrite&) = delete;
  static bool Met() { return gWritesUntilFailure <= 0; }
};

}  // namespace quillet
