// SPDX-License-Identifier: GPL-3.0-or-later
// Finding in the article view: the hits in what is shown, going on to the next article.
#include "article/commands.h"
#include "mime/decoding.h"
#include "tests/article/article_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FindInArticles : public ArticleTest {
 protected:
  // Of a million hits in the current article, with so little memory that what is shown stays.
  void FindWithMemory(std::size_t bytes) {
    PutThreeThreads();
    Open("<a3@x>");
    gReading.article->body = std::string(1 << 20, 'x');
    fake.display.WhenShown(kDialogFind, [this, bytes](port::WindowHandle dialog) {
      fake.display.Type(dialog, kControlFindText, u"x");
      fake.display.Press(dialog, kControlOk);
      testing::LimitNew(bytes);
    });
    ArticleCommand(40048);
    testing::LimitNew(0);
    EXPECT_THAT(BoxTexts(), ElementsAre(u"An unexpected error (out of memory) occurred in "
                                        u"DisplayCurrentArticle."));
    EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  }
};

std::u16string Hit(std::u16string_view text) {
  return u"<b><span style=\"background: #FFFF00\">" + std::u16string(text) + u"</span></b>";
}

TEST_F(FindInArticles, FindHighlightsInTheArticleShown) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"ree");
  ArticleCommand(40048);
  EXPECT_EQ(CurrentId(), "<a3@x>");
  EXPECT_EQ(Source(), Page(u"Th" + Hit(u"ree") + u".&nbsp;<br>"));
  EXPECT_EQ(gReading.find.text, u"ree");
  EXPECT_EQ(gReading.article->displayText, "ree");
}

TEST_F(FindInArticles, FindTakesItsChoices) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"THREE", kControlOk, {kControlMatchCase});
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  AnswerFind(u"Thre", kControlOk, {kControlWholeWord});
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  AnswerFind(u"Three");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(Hit(u"Three") + u".&nbsp;<br>"));
}

TEST_F(FindInArticles, FindWithoutAHitShowsTheArticleWithoutHighlights) {
  PutThreeThreads();
  Open("<a3@x>");
  DisplayCurrentArticle({{0, 1}});
  AnswerFind(u"nowhere");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(FindInArticles, CharactersThatNoArticleHasAreToldAndHaveNoHitsWhileNothingIsDecoded) {
  SetDecoding(false);
  PutThreeThreads();
  Open("<a3@x>");
  gReading.article->body = "why ? \x80";
  AnswerFind(u"\u03A9");
  ArticleCommand(40048);
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Some characters of this text cannot be used here: \u03A9"));
  EXPECT_EQ(Source().find(u"<span"), std::u16string::npos);
  EXPECT_EQ(gReading.article->displayText, std::nullopt);
  fake.display.ForgetBoxes();
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<a3@x>");
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Some characters of this text cannot be used here: \u03A9"));
}

TEST_F(FindInArticles, AnEmptyFindShowsNoHitsAndClearsTheLastText) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"ree");
  ArticleCommand(40048);
  AnswerFind(u"");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Three.&nbsp;<br>"));
  EXPECT_EQ(gReading.find.text, u"");
  EXPECT_EQ(gReading.article->displayText, std::nullopt);
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<a3@x>");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(FindInArticles, ACancelledFindLeavesTheHitsAndTheText) {
  PutThreeThreads();
  Open("<a3@x>");
  AnswerFind(u"ree");
  ArticleCommand(40048);
  AnswerFind(u"other", kControlCancel);
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(u"Th" + Hit(u"ree") + u".&nbsp;<br>"));
  EXPECT_EQ(gReading.find.text, u"ree");
  EXPECT_EQ(gReading.article->displayText, "ree");
}

TEST_F(FindInArticles, FindWithoutMemoryKeepsWhatIsShown) {
  FindWithMemory(1 << 20);
}

TEST_F(FindInArticles, FindWithoutMemoryForTheHitsKeepsWhatIsShown) {
  FindWithMemory(5 << 20);  // the text fits, a million hits do not
}

TEST_F(FindInArticles, FindAgainGoesOnAfterTheCurrentArticle) {
  PutThreeThreads();
  Open("<a1@x>");
  gReading.find.text = u"ve";
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<b1@x>");
  EXPECT_EQ(Source(), Page(u"Fi" + Hit(u"ve") + u".&nbsp;<br>"));
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<g2@x>");
  EXPECT_EQ(Source(), Page(u"Se" + Hit(u"ve") + u"n.&nbsp;<br>"));
  ArticleCommand(40051);
  EXPECT_EQ(CurrentId(), "<g2@x>");
  EXPECT_EQ(Source(), Page(u"Se" + Hit(u"ve") + u"n.&nbsp;<br>"));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Search string not found."));
}

TEST_F(FindInArticles, FindAgainWithoutATextDoesNothing) {
  PutThreeThreads();
  Open("<a1@x>");
  EXPECT_EQ(After(40051), "<a1@x>");
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(FindInArticles, FindAgainStartsAtTheFirstArticleWithoutACurrentOne) {
  PutThreeThreads();
  gReading.find.text = u"one";
  EXPECT_EQ(After(40051), "<a1@x>");
}

TEST_F(FindInArticles, HitsAreFoundInTheTurnedText) {
  PutThreeThreads();
  Open("<b1@x>");
  ArticleCommand(40022);
  AnswerFind(u"svir");
  ArticleCommand(40048);
  EXPECT_EQ(Source(), Page(Hit(u"Svir") + u".&nbsp;<br>"));
}

}  // namespace
}  // namespace quillet
