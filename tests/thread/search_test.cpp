// SPDX-License-Identifier: GPL-3.0-or-later
// Looking through the articles of the shown tree: the dialog, what is looked at, and in which
// order.
#include "thread/search.h"

#include <gmock/gmock.h>

#include "tests/mime/without_decoding.h"
#include "tests/thread/view_fixture.h"
#include "thread/commands.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string IdOf(const Node* node) {
  return node == nullptr ? "none" : std::string(node->messageId);
}

class SearchTest : public ThreadViewTest {
 protected:
  // Bodies: 2, 4 and 8 hold "needle", 5 "NEEDLES".
  void ShowBodies() {
    Put({"<1@x>", "", "Hello", "ann", 1, false, "hay\r\n"});
    Put({"<2@x>", "<1@x>", "Re: Hello", "bob", 2, false, "hay needle hay\r\n"});
    Put({"<3@x>", "<2@x>", "Re: Hello", "cyd", 3, false, "hay\r\n"});
    Put({"<4@x>", "<1@x>", "Re: Hello", "dan", 4, false, "needle\r\n"});
    Put({"<5@x>", "", "Other", "eve", 5, false, "two NEEDLES\r\n"});
    Put({"<6@x>", "", "Third", "fay", 6, false, "hay\r\n"});
    Put({"<8@x>", "<6@x>", "Re: Third", "hal", 8, false, "a needle\r\n"});
    Recount();
    ShowThreadView();
    fake.display.ForgetProgressTexts();
  }

  struct Typed {
    std::u16string text;
    bool match_case = false;
    bool whole_word = false;
    bool in_headers = false;
  };
  // Fills the next Find dialog in and presses Search.
  void AnswerFind(const Typed& typed) {
    fake.display.WhenShown(kDialogFind, [this, typed](port::WindowHandle dialog) {
      fake.display.Type(dialog, kControlFindText, typed.text);
      fake.display.Tick(dialog, kControlMatchCase, typed.match_case);
      fake.display.Tick(dialog, kControlWholeWord, typed.whole_word);
      fake.display.Tick(dialog, kControlSearchHeaders, typed.in_headers);
      fake.display.Press(dialog, kControlOk);
    });
  }
};

// --- the dialog ----------------------------------------------------------------------------------

TEST_F(SearchTest, TheDialogStartsWithTheLastChoices) {
  AnswerFind({u"gr\u00FC\u00DFe \u20AC", true, false, true});
  EXPECT_TRUE(AskFindChoices());
  EXPECT_EQ(gReading.find.text, u"gr\u00FC\u00DFe \u20AC");
  EXPECT_TRUE(gReading.find.match_case);
  EXPECT_FALSE(gReading.find.whole_word);
  EXPECT_TRUE(gReading.find.in_headers);
  fake.display.WhenShown(kDialogFind, [this](port::WindowHandle dialog) {
    EXPECT_EQ(fake.display.Control(dialog, kControlFindText)->text, u"gr\u00FC\u00DFe \u20AC");
    EXPECT_TRUE(fake.display.Control(dialog, kControlFindText)->text_selected());
    EXPECT_TRUE(fake.display.Control(dialog, kControlMatchCase)->checked);
    EXPECT_FALSE(fake.display.Control(dialog, kControlWholeWord)->checked);
    EXPECT_TRUE(fake.display.Control(dialog, kControlSearchHeaders)->checked);
    fake.display.Type(dialog, kControlFindText, u"other");
    fake.display.Tick(dialog, kControlMatchCase, false);
    fake.display.Press(dialog, kControlCancel);
  });
  EXPECT_FALSE(AskFindChoices());
  EXPECT_EQ(gReading.find.text, u"gr\u00FC\u00DFe \u20AC");
  EXPECT_TRUE(gReading.find.match_case);
}

// In the store a NUL stands between the texts of an article.
TEST_F(SearchTest, ATextWithANulIsInNoArticle) {
  ShowBodies();
  const std::u16string across(u"Other\0eve", 9);
  EXPECT_EQ(SearchForward(nullptr, {across, false, false, true}), nullptr);
  EXPECT_EQ(IdOf(SearchForward(nullptr, {u"eve", false, false, true})), "<5@x>");
}

// A "?" in its place would find what nobody looks for.
TEST_F(SearchTest, CharactersThatNoArticleHasAreToldAndNotSearchedWithoutDecoding) {
  const testing::WithoutDecoding off;
  ShowBodies();
  Put({"<9@x>", "", "Fourth", "ida", 9, false, "why ? ? \x80\r\n"});
  Recount();
  gReading.tree_state.Invalidate();
  ShowThreadView();
  fake.display.ForgetProgressTexts();
  AnswerFind({u"\u03A9 \U0001F600 \u20AC"});
  HandleThreadCommand(kCommandFind);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Some characters of this text cannot be used here: \u03A9 "
                                      u"\U0001F600"));
  EXPECT_EQ(gReading.article, nullptr);
  EXPECT_THAT(fake.display.progress_texts(), IsEmpty());
  fake.display.WhenShown(kDialogFind, [this](port::WindowHandle dialog) {
    EXPECT_EQ(fake.display.Control(dialog, kControlFindText)->text, u"\u03A9 \U0001F600 \u20AC");
    fake.display.Press(dialog, kControlCancel);
  });
  HandleThreadCommand(kCommandFind);
}

TEST_F(SearchTest, AFormThatCannotBeShownIsACancel) {
  fake.display.FailNextDialog();
  EXPECT_FALSE(AskFindChoices());
}

// --- one article ---------------------------------------------------------------------------------

// The article goes through the store, as in a search.
bool Matches(AsciiArticle article, const FindChoices& find) {
  if (!article.messageId) article.messageId = "<own@x>";
  EXPECT_TRUE(StoreArticle(article));
  StoredTexts texts;
  EXPECT_TRUE(texts.Fetch(*article.messageId));
  return ArticleMatches(texts, SearchText(find.text, {find.match_case, find.whole_word}),
                        find.in_headers);
}

TEST_F(SearchTest, TheBodyAloneUnlessTheHeadersAreWanted) {
  AsciiArticle article;
  EXPECT_FALSE(Matches(article, {u"x"}));
  article.body = "the body";
  EXPECT_TRUE(Matches(article, {u"BODY"}));
  EXPECT_FALSE(Matches(article, {u"BODY", true}));
  EXPECT_FALSE(Matches(article, {u"bod", false, true}));
  EXPECT_TRUE(Matches(article, {u"bod", false, false}));
  EXPECT_FALSE(Matches(article, {u""}));
}

TEST_F(SearchTest, EveryHeaderIsLookedAt) {
  for (const auto text : {&AsciiArticle::headers, &AsciiArticle::subject, &AsciiArticle::from,
                          &AsciiArticle::messageId, &AsciiArticle::parentId, &AsciiArticle::source,
                          &AsciiArticle::date, &AsciiArticle::replyTo}) {
    AsciiArticle article;
    article.body = "nothing";
    article.*text = "a Needle in it";
    EXPECT_FALSE(Matches(article, {u"needle", false, false, false}));
    EXPECT_TRUE(Matches(article, {u"needle", false, true, true}));
    EXPECT_FALSE(Matches(article, {u"needle", true, false, true}));
    EXPECT_TRUE(Matches(article, {u"nothing", true, true, true}));
  }
}

// What ends one text and begins the next one is no word and no hit.
TEST_F(SearchTest, TextsOfAnArticleDoNotRunIntoEachOther) {
  AsciiArticle article;
  article.headers = "Lines: 1";
  article.body = "body";
  EXPECT_FALSE(Matches(article, {u"1body", false, false, true}));
  EXPECT_TRUE(Matches(article, {u"body", false, true, true}));
}

TEST_F(SearchTest, ArticlesAreSearchedAsTheyAreShown) {
  AsciiArticle article;
  article.headers = "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64";
  article.body = "0J/RgNC40LLQtdGC\r\n";
  article.subject = "=?utf-8?Q?Stra=C3=9Fe?=";
  EXPECT_TRUE(Matches(article, {u"\u041F\u0420\u0418"}));
  EXPECT_TRUE(Matches(article, {u"STRASSE", false, true, true}));
  EXPECT_FALSE(Matches(article, {u"STRASSE", true, true, true}));
  EXPECT_FALSE(Matches(article, {u"0J/R"}));
  const testing::WithoutDecoding scope;
  EXPECT_FALSE(Matches(article, {u"STRASSE", false, true, true}));
  EXPECT_TRUE(Matches(article, {u"0J/R"}));
}

TEST_F(SearchTest, DoubledDotsAreUndoneButInImportedArticles) {
  AsciiArticle article;
  article.body = "..dots\r\n";
  article.source = "news.example.org";
  EXPECT_FALSE(Matches(article, {u"..dots"}));
  EXPECT_TRUE(Matches(article, {u".dots"}));
  article.source = "<import>";
  EXPECT_TRUE(Matches(article, {u"..dots"}));
}

// No text is beyond what a decoded article may hold.
TEST_F(SearchTest, EveryCharacterIsLookedForWhileArticlesAreDecoded) {
  ShowBodies();
  Put({"<9@x>", "", "Fourth", "ida", 9, false, "\xCE\xA9\xF0\x9F\x98\x80\r\n"});
  Recount();
  gReading.tree_state.Invalidate();
  ShowThreadView();
  AnswerFind({u"\u03C9\U0001F600"});
  HandleThreadCommand(kCommandFind);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  ASSERT_EQ(opened().size(), 1U);
  EXPECT_EQ(opened()[0].substr(0, 5), "<9@x>");
}

// --- forward -------------------------------------------------------------------------------------

TEST_F(SearchTest, GoesForwardInTheOrderOfTheTree) {
  ShowBodies();
  EXPECT_EQ(IdOf(SearchForward(nullptr, {u"needle"})), "<2@x>");
  EXPECT_EQ(IdOf(SearchForward(&NodeOf("<2@x>"), {u"needle"})), "<4@x>");
  EXPECT_EQ(IdOf(SearchForward(&NodeOf("<4@x>"), {u"needle"})), "<5@x>");
  EXPECT_EQ(IdOf(SearchForward(&NodeOf("<4@x>"), {u"needle", true})), "<8@x>");
  EXPECT_EQ(IdOf(SearchForward(&NodeOf("<4@x>"), {u"NEEDLE", false, true})), "<8@x>");
  EXPECT_EQ(IdOf(SearchForward(&NodeOf("<8@x>"), {u"needle"})), "none");
  EXPECT_EQ(IdOf(SearchForward(nullptr, {u"Re: Third"})), "none");
  EXPECT_EQ(IdOf(SearchForward(nullptr, {u"Re: Third", false, false, true})), "<8@x>");
  EXPECT_EQ(IdOf(SearchForward(&Thread("<6@x>"), {u"hay"})), "<6@x>");
}

TEST_F(SearchTest, RunsWithATitleAndAUnitForEachArticleAhead) {
  ShowBodies();
  observer.StartOver(0);
  SearchForward(&NodeOf("<2@x>"), {u"nowhere"});
  EXPECT_THAT(Titles(), ElementsAre(u"Searching..."));
  EXPECT_EQ(observer.upper, 5);
  EXPECT_EQ(observer.positions.back(), 5);
}

TEST_F(SearchTest, AnEmptyTextOrNoTreeFindsNothing) {
  EXPECT_EQ(SearchForward(nullptr, {u"needle"}), nullptr);
  ShowBodies();
  EXPECT_EQ(SearchForward(nullptr, {u""}), nullptr);
  EXPECT_THAT(Titles(), IsEmpty());
}

TEST_F(SearchTest, ArticlesThatHaveGoneAreSkipped) {
  ShowBodies();
  DeleteArticle("<2@x>");
  EXPECT_EQ(IdOf(SearchForward(nullptr, {u"needle"})), "<4@x>");
}

TEST_F(SearchTest, AnAbortAtEveryStepFindsNothingAndSaysNothing) {
  ShowBodies();
  gReading.find.text = u"a needle";
  int aborted = 0;
  for (int step = 1; step < 1000; ++step) {
    opened().clear();
    observer.StartOver(step);
    SearchAndShow(nullptr);
    if (observer.steps < step) break;
    EXPECT_THAT(opened(), IsEmpty()) << step;
    ++aborted;
  }
  EXPECT_EQ(aborted, 8);  // the range, its start, and six articles before the hit
  EXPECT_THAT(opened(), ElementsAre("<8@x> a needle"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

// --- and show ------------------------------------------------------------------------------------

TEST_F(SearchTest, AHitIsOpenedWithTheText) {
  ShowBodies();
  gReading.find.text = u"needle";
  SearchAndShow(&NodeOf("<2@x>"));
  EXPECT_THAT(opened(), ElementsAre("<4@x> needle"));
}

TEST_F(SearchTest, NoHitIsTold) {
  ShowBodies();
  gReading.find.text = u"needle";
  SearchAndShow(&NodeOf("<8@x>"));
  EXPECT_THAT(opened(), IsEmpty());
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Search string not found."));
}

TEST_F(SearchTest, NoHitIsToldAfterAnEarlierAbortToo) {
  gAbortRequested = 1;
  gReading.find.text = u"needle";
  SearchAndShow(nullptr);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Search string not found."));
}

TEST_F(SearchTest, WithoutATextNothingHappens) {
  ShowBodies();
  SearchAndShow(nullptr);
  EXPECT_THAT(opened(), IsEmpty());
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(Titles(), IsEmpty());
}

// --- the command ---------------------------------------------------------------------------------

TEST_F(SearchTest, TheCommandStartsAfterTheCurrentArticle) {
  ShowBodies();
  AnswerFind({u"needle"});
  HandleThreadCommand(kCommandFind);
  EXPECT_THAT(opened(), ElementsAre("<2@x> needle"));  // there is no current one
  Read("<2@x>");
  AnswerFind({u"needle"});
  HandleThreadCommand(kCommandFind);
  EXPECT_THAT(opened(), ElementsAre("<2@x> needle", "<4@x> needle"));
}

TEST_F(SearchTest, ACancelledOrEmptyDialogSearchesNothing) {
  ShowBodies();
  fake.display.WhenShown(kDialogFind, [this](port::WindowHandle dialog) {
    fake.display.Type(dialog, kControlFindText, u"needle");
    fake.display.Press(dialog, kControlCancel);
  });
  HandleThreadCommand(kCommandFind);
  gReading.find.text = u"needle";
  AnswerFind({u""});
  HandleThreadCommand(kCommandFind);
  EXPECT_EQ(gReading.find.text, u"");
  EXPECT_THAT(opened(), IsEmpty());
  EXPECT_THAT(Titles(), IsEmpty());
}

}  // namespace
}  // namespace quillet
