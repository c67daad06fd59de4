// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/post_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/nntp/post_text_reference.h"

namespace quillet {
namespace {

std::string X(std::size_t count) {
  return std::string(count, 'x');
}

constexpr char kReader[] = "X-Newsreader: Quillet CE 1.14r3\r\n\r\n";

// The lines of a header, or of a body, as they are sent.
std::string HeaderSent(const std::string& header) {
  const std::string text = BuildPostText(header, "");
  const std::string end = std::string(kReader) + "\r\n.\r\n";
  EXPECT_TRUE(text.ends_with(end));
  return text.substr(0, text.size() - end.size());
}
std::string BodySent(const std::string& body) {
  const std::string text = BuildPostText("", body);
  EXPECT_TRUE(text.starts_with(kReader));
  EXPECT_TRUE(text.ends_with("\r\n.\r\n"));
  const std::size_t start = std::string(kReader).size();
  return text.substr(start, text.size() - start - 5);
}

void ExpectUnwrapped(const std::string& body) {
  EXPECT_EQ(WrapPostBody(body), body);
}

// --- the columns of the body ---

TEST(WrapPostBodyTest, BlankBreaksInColumns73To79Only) {
  ExpectUnwrapped(X(71) + " y");  // column 72
  EXPECT_EQ(WrapPostBody(X(72) + " y"), X(72) + "\r\ny");
  EXPECT_EQ(WrapPostBody(X(74) + " yyy"), X(74) + "\r\nyyy");
  EXPECT_EQ(WrapPostBody(X(78) + " y"), X(78) + "\r\ny");
  ExpectUnwrapped(X(79) + " y");  // column 80, and no blank before it
}

TEST(WrapPostBodyTest, EveryBlankOfARunBreaksOnlyAsItsLast) {
  EXPECT_EQ(WrapPostBody(X(72) + "  y"), X(72) + " \r\ny");
  EXPECT_EQ(WrapPostBody(X(72) + "   y"), X(72) + "  \r\ny");
}

TEST(WrapPostBodyTest, BlankAtTheEndOfTheTextOrBeforeCrStays) {
  ExpectUnwrapped(X(74) + " ");
  ExpectUnwrapped(X(74) + " \r\n");
  ExpectUnwrapped(X(74) + " \r");
  EXPECT_EQ(WrapPostBody(X(74) + " \n"), X(74) + "\r\n\n");  // only a CR keeps it
}

TEST(WrapPostBodyTest, LineOf80IsBrokenAndOneOf79IsNot) {
  ExpectUnwrapped(X(39) + " " + X(39));
  EXPECT_EQ(WrapPostBody(X(39) + " " + X(40)), X(39) + "\r\n" + X(40));
  ExpectUnwrapped(X(39) + " " + X(39) + "\r\n" + X(39) + " " + X(39) + "\r\n");
}

TEST(WrapPostBodyTest, SearchBackwardsRunsFromColumn72ToTheFirst) {
  EXPECT_EQ(WrapPostBody(X(71) + " " + X(8)), X(71) + "\r\n" + X(8));
  EXPECT_EQ(WrapPostBody(X(30) + " " + X(30) + " " + X(30)), X(30) + " " + X(30) + "\r\n" + X(30));
  EXPECT_EQ(WrapPostBody(" " + X(79)), "\r\n" + X(79));
}

TEST(WrapPostBodyTest, BlanksInColumns73To80AreNotSearched) {
  // Two blanks: the first is followed by a blank, the second by CR.
  ExpectUnwrapped(X(76) + "   \r\n");
  ExpectUnwrapped(X(77) + "   \r\n");  // column 80 is a blank, and so are 78 and 79
  ExpectUnwrapped(X(79) + " " + X(50));
}

TEST(WrapPostBodyTest, LineWithoutABlankStaysLong) {
  ExpectUnwrapped(X(100) + "\r\n");
  ExpectUnwrapped(X(100) + " " + X(100) + " " + X(10) + "\r\n");
}

TEST(WrapPostBodyTest, ColumnGoesOnFromTheBreakThatWasSearched) {
  // Broken at the blank in column 60; the rest is in column 20 when column 80 is seen.
  EXPECT_EQ(WrapPostBody(X(59) + " " + X(72) + " yy"), X(59) + "\r\n" + X(72) + "\r\nyy");
  EXPECT_EQ(WrapPostBody(X(59) + " " + X(71) + " yy"), X(59) + "\r\n" + X(71) + " yy");
  EXPECT_EQ(WrapPostBody(X(59) + " " + X(79) + " yy"), X(59) + "\r\n" + X(79) + " yy");
}

TEST(WrapPostBodyTest, EitherLineEndBeginsTheColumnsAnew) {
  for (const std::string end : {"\r\n", "\r", "\n", "\n\r"}) {
    ExpectUnwrapped(X(40) + " " + X(30) + end + X(40) + " " + X(30));
    EXPECT_EQ(WrapPostBody(X(70) + end + X(74) + " y"), X(70) + end + X(74) + "\r\ny");
  }
}

TEST(WrapPostBodyTest, AllOfALongParagraphIsBroken) {
  std::string words;
  for (int i = 0; i < 40; ++i) words += "nine char";
  std::string want;
  for (int i = 0; i < 40; ++i) want += (i % 8 == 0 && i > 0) ? "nine\r\nchar" : "nine char";
  EXPECT_EQ(WrapPostBody(words), want);
}

TEST(WrapPostBodyTest, TextEndsAtItsFirstNul) {
  EXPECT_EQ(WrapPostBody(std::string("ab\0cd", 5)), "ab");
  ExpectUnwrapped("");
  EXPECT_EQ(WrapPostBody(X(74) + " " + std::string("\0y", 2)), X(74) + " ");
}

TEST(WrapPostBodyTest, BytesAbove127AreCharactersLikeOthers) {
  EXPECT_EQ(WrapPostBody(std::string(74, '\xE4') + " \xF6"), std::string(74, '\xE4') + "\r\n\xF6");
  ExpectUnwrapped(std::string(74, '\xE4') + "\xA0\xF6");
}

// --- the text on the wire ---

TEST(BuildPostTextTest, HeaderReaderBodyAndTerminator) {
  EXPECT_EQ(BuildPostText("From: a@b.c\r\nSubject: s\r\n", "one\r\n\r\ntwo\r\n"),
            "From: a@b.c\r\nSubject: s\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\n"
            "one\r\n\r\ntwo\r\n\r\n.\r\n");
}

TEST(BuildPostTextTest, EmptyBodyAndEmptyHeader) {
  EXPECT_EQ(BuildPostText("A: b\r\n", ""),
            "A: b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\n\r\n.\r\n");
  EXPECT_EQ(BuildPostText("", ""), "X-Newsreader: Quillet CE 1.14r3\r\n\r\n\r\n.\r\n");
}

TEST(BuildPostTextTest, MessageIdStandsBehindThePostsOwnLines) {
  EXPECT_EQ(BuildPostText("A: b", "c", "Message-ID: <1@x.y>"),
            "A: b\r\nMessage-ID: <1@x.y>\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\nc\r\n\r\n.\r\n");
}

TEST(BuildPostTextTest, MissingLineEndsAreAdded) {
  EXPECT_EQ(HeaderSent("A: b"), "A: b\r\n");
  EXPECT_EQ(HeaderSent("A: b\nC: d\n"), "A: b\r\nC: d\r\n");
  EXPECT_EQ(BodySent("one"), "one\r\n");
  EXPECT_EQ(BodySent("one\ntwo\r"), "one\r\ntwo\r\n");
}

TEST(BuildPostTextTest, RunsOfLineFeedsGiveNoEmptyLines) {
  EXPECT_EQ(HeaderSent("\n\nA: b\r\n\n\nC: d\r\n\n"), "A: b\r\nC: d\r\n");
  EXPECT_EQ(BodySent("\none\n\n\ntwo\r\n\n"), "one\r\ntwo\r\n");
  EXPECT_EQ(BodySent("one\r\n\r\n\r\ntwo\r\n"), "one\r\n\r\n\r\ntwo\r\n");
  EXPECT_EQ(BodySent("\n"), "");
  EXPECT_EQ(BodySent("\r\n"), "\r\n");
}

TEST(BuildPostTextTest, LoneCrIsACharacter) {
  EXPECT_EQ(BodySent("a\rb\r\n\r\rc"), "a\rb\r\n\r\rc\r\n");
  EXPECT_EQ(HeaderSent("A: b\rC: d\r\n"), "A: b\rC: d\r\n");
}

TEST(BuildPostTextTest, HeaderLineWithoutAColonIsTaken) {
  EXPECT_EQ(HeaderSent("no colon\r\n continued\r\n: x\r\n"), "no colon\r\n continued\r\n: x\r\n");
}

TEST(BuildPostTextTest, DotAtTheStartOfALineIsDoubled) {
  EXPECT_EQ(BodySent(".\r\n..\r\n.x\r\nx.\r\n .\r\n.y"), "..\r\n...\r\n..x\r\nx.\r\n .\r\n..y\r\n");
  EXPECT_EQ(HeaderSent(".A: b\r\n"), "..A: b\r\n");
}

TEST(BuildPostTextTest, DotAtTheStartOfAContinuationIsNot) {
  EXPECT_EQ(BodySent(X(499) + " .yy\r\n"), X(499) + "\r\n.yy\r\n");
  EXPECT_EQ(BodySent(X(499) + ".yy"), X(499) + "\r\n.yy\r\n");
  EXPECT_EQ(HeaderSent(X(499) + ".yy"), X(499) + "\r\n.yy\r\n");
}

TEST(BuildPostTextTest, ContinuationThatIsALoneDotWouldEndTheArticle) {
  EXPECT_EQ(BodySent(X(499) + " ."), X(499) + "\r\n..\r\n");
  EXPECT_EQ(BodySent(X(499) + " .\r\n"), X(499) + "\r\n..\r\n");
  EXPECT_EQ(BodySent(X(499) + " .\r\nPOST\r\n"), X(499) + "\r\n..\r\nPOST\r\n");
  EXPECT_EQ(BodySent(X(500) + ".\r\n"), X(499) + "\r\nx.\r\n");
  EXPECT_EQ(BodySent(X(499) + ".\r\n"), X(499) + "\r\n..\r\n");
  // In the middle of a line that is split once more.
  EXPECT_EQ(BodySent(X(499) + " . " + X(600)),
            X(499) + "\r\n..\r\n" + X(499) + "\r\n" + X(101) + "\r\n");
  EXPECT_EQ(HeaderSent(X(499) + ".\r\n"), X(499) + "\r\n..\r\n");
  EXPECT_EQ(HeaderSent(X(499) + " .\r\n"), X(499) + "\r\n\t.\r\n");
}

TEST(BuildPostTextTest, NothingBeforeTheEndLooksLikeIt) {
  for (const std::string unit : {".", " .", ". ", ".\r\n", ". . ", "x .", " .\r\n", ".\n", ".\r"}) {
    std::string text;
    for (int i = 0; i < 350; ++i) {
      text += unit + unit;
      const std::string sent = BuildPostText(X(499) + text, X(499) + " " + text);
      ASSERT_EQ(sent.find("\r\n.\r\n"), sent.size() - 5) << unit << " " << i;
    }
  }
}

TEST(BuildPostTextTest, LineOf500StaysAndOneOf501IsSplit) {
  EXPECT_EQ(BodySent(X(100) + " " + X(399)), X(100) + " " + X(399) + "\r\n");
  EXPECT_EQ(BodySent(X(100) + " " + X(400)), X(100) + "\r\n" + X(400) + "\r\n");
}

TEST(BuildPostTextTest, CrCountsInTheLength) {
  EXPECT_EQ(BodySent(X(100) + " " + X(398) + "\r\n"), X(100) + " " + X(398) + "\r\n");
  EXPECT_EQ(BodySent(X(100) + " " + X(399) + "\r\n"), X(100) + "\r\n" + X(399) + "\r\n");
  EXPECT_EQ(BodySent(X(500) + "\r\n"), X(499) + "\r\nx\r\n");
}

TEST(BuildPostTextTest, AddedDotDoesNotCount) {
  EXPECT_EQ(BodySent("." + X(98) + " " + X(400)), ".." + X(98) + " " + X(400) + "\r\n");
  EXPECT_EQ(BodySent("." + X(99) + " " + X(400)), ".." + X(99) + "\r\n" + X(400) + "\r\n");
}

TEST(BuildPostTextTest, BlankIsLookedForFromIndex499BackToIndex1) {
  EXPECT_EQ(BodySent(X(499) + " y"), X(499) + "\r\ny\r\n");
  EXPECT_EQ(BodySent(X(500) + " y"), X(499) + "\r\nx y\r\n");
  EXPECT_EQ(BodySent("x " + X(600)), "x\r\n" + X(499) + "\r\n" + X(101) + "\r\n");
  EXPECT_EQ(BodySent(" " + X(600)), " " + X(498) + "\r\n" + X(102) + "\r\n");
}

TEST(BuildPostTextTest, HeaderIsFoldedBeforeABlankThatBecomesATab) {
  EXPECT_EQ(HeaderSent("A: " + X(300) + " " + X(296) + "\r\n"),
            "A: " + X(300) + "\r\n\t" + X(296) + "\r\n");
}

TEST(BuildPostTextTest, TabOfAFoldedLineCountsAndIsNoBlank) {
  // TAB and 499 fit, TAB and 500 do not; then there is no blank to fold at.
  EXPECT_EQ(HeaderSent(X(400) + " " + X(499)), X(400) + "\r\n\t" + X(499) + "\r\n");
  EXPECT_EQ(HeaderSent(X(400) + " " + X(500)), X(400) + "\r\n\t" + X(498) + "\r\nxx\r\n");
  EXPECT_EQ(HeaderSent(X(400) + " " + X(300) + " " + X(300)),
            X(400) + "\r\n\t" + X(300) + "\r\n\t" + X(300) + "\r\n");
}

TEST(BuildPostTextTest, HeaderWithoutABlankIsCutAfter499) {
  EXPECT_EQ(HeaderSent(X(1200)), X(499) + "\r\n" + X(499) + "\r\n" + X(202) + "\r\n");
}

TEST(BuildPostTextTest, OnlyACrMayBeLeftBehindASplit) {
  EXPECT_EQ(BodySent(X(499) + " \r\n"), X(499) + "\r\n\r\n");
  EXPECT_EQ(HeaderSent(X(499) + " \r\n"), X(499) + "\r\n\t\r\n");
}

TEST(BuildPostTextTest, TextsEndAtTheirFirstNul) {
  EXPECT_EQ(BuildPostText(std::string("A: b\r\n\0C: d", 11), std::string("x\0y", 3)),
            "A: b\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\nx\r\n\r\n.\r\n");
}

// --- against the plain way ---

class PostTexts {
 public:
  std::string Next() {
    std::string text;
    const std::size_t lines = random_() % 8;
    for (std::size_t i = 0; i < lines; ++i) AppendLine(text);
    if (random_() % 20 == 0) text.insert(random_() % (text.size() + 1), 1, '\0');
    return text;
  }

 private:
  void AppendLine(std::string& text) {
    static constexpr std::string_view kEnds[] = {"\r\n", "\r\n", "\r\n", "\n", "\r", "", "\n\n"};
    static constexpr std::size_t kAround[] = {0, 1, 72, 73, 79, 80, 81, 160, 499, 500, 501, 1000};
    if (random_() % 6 == 0) text += '.';
    std::size_t length = kAround[random_() % 12] + random_() % 4;
    const std::size_t blanks = 1 + random_() % 300;
    while (length-- > 0) {
      const std::size_t kind = random_() % blanks;
      text += kind == 0 ? ' ' : kind == 1 && random_() % 20 == 0 ? '.' : 'x';
    }
    text += kEnds[random_() % 7];
  }

  std::mt19937 random_{20240611};
};

TEST(PostTextTest, ManyTextsAreWrappedAndBuiltAsThePlainWayDoes) {
  PostTexts texts;
  for (int i = 0; i < 1500; ++i) {
    const std::string header = texts.Next();
    const std::string body = texts.Next();
    const std::string wrapped = WrapPostBody(body);
    ASSERT_EQ(wrapped, PlainlyWrapped(body)) << i;
    ASSERT_EQ(BuildPostText(header, body), PlainlyBuilt(header, body)) << i;
    ASSERT_EQ(BuildPostText(header, wrapped), PlainlyBuilt(header, wrapped)) << i;
  }
}

// Texts on which a search that starts over from each place would not end for minutes.
TEST(PostTextTest, MegabytesOfEveryKindPass) {
  constexpr std::size_t kSize = 1 << 20;
  for (const std::string unit :
       {"x", " ", "\r", "\n", ".", "x ", "\r\n", "x\r", ".\n", "x       "}) {
    std::string text;
    while (text.size() < kSize) text += unit + unit;
    EXPECT_EQ(WrapPostBody(text), PlainlyWrapped(text));
    EXPECT_EQ(BuildPostText(text, text), PlainlyBuilt(text, text));
  }
}

}  // namespace
}  // namespace quillet
