// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/character_text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "mime/columns.h"
#include "nntp/post_text.h"

namespace quillet {
namespace {

constexpr char kReader[] = "X-Newsreader: Quillet CE 1.14r3\r\n\r\n";
constexpr char kOmega[] = "\xCE\xA9";          // one column
constexpr char kSun[] = "\xE6\x97\xA5";        // two columns
constexpr char kSmile[] = "\xF0\x9F\x98\x80";  // two columns
constexpr char kAccent[] = "\xCC\x81";         // on the character before it
constexpr char kUtf8Head[] = "A: b\r\nContent-Type: text/plain; charset=UTF-8\r\n";

std::string Times(std::size_t count, const std::string& text) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

void ExpectUnwrapped(const std::string& body) {
  EXPECT_EQ(WrapCharacters(body), body);
}

std::string BodySent(const std::string& body, const std::string& head = kUtf8Head) {
  const std::string text = BuildCharacterPost(head, body);
  const std::string before = head + kReader;
  EXPECT_TRUE(text.starts_with(before));
  EXPECT_TRUE(text.ends_with("\r\n.\r\n"));
  return text.substr(before.size(), text.size() - before.size() - 5);
}

// --- which posts these are ---

TEST(HasCharacters, OfHeadOrBody) {
  EXPECT_FALSE(HasCharacters("Subject: a\r\n", "b\r\n"));
  EXPECT_FALSE(HasCharacters(kUtf8Head, "b\x1B[1m\r\n"));
  EXPECT_TRUE(HasCharacters("Subject: a\r\n", kOmega));
  EXPECT_TRUE(HasCharacters("Subject: \xE9\r\n", "b"));
  EXPECT_FALSE(HasCharacters("A: b\r\n", std::string("b\0\xE9", 3)));
}

TEST(HasCharacters, OfABodyInACharsetOfSevenBits) {
  const std::string head = "Content-Type: text/plain; charset=ISO-2022-JP\r\n";
  EXPECT_TRUE(HasCharacters(head, "\x1B$BF|\x1B(B\r\n"));
  EXPECT_FALSE(HasCharacters(head, "plain\r\n"));
}

TEST(HasCharacters, NotOfAsciiWhateverTheHeadSaysOfIt) {
  std::mt19937 random(1);
  for (const char* charset : {"us-ascii", "utf-8", "iso-8859-7", "iso-2022-jp", "utf-7", "utf-16",
                              "ibm037", "hz-gb-2312", "x-unknown"}) {
    const std::string head = std::string("Content-Type: text/plain; charset=") + charset + "\r\n";
    EXPECT_FALSE(HasCharacters(head, "1 +A6k- 2 ~{<:Ky2;~} &#937;\r\n.\r\n")) << charset;
    for (int i = 0; i < 100; ++i) {
      std::string body(random() % 300, ' ');
      for (char& c : body) c = static_cast<char>(32 + random() % 95);
      EXPECT_FALSE(HasCharacters(head, body)) << charset << ": " << body;
    }
  }
}

// --- the columns of the body ---

TEST(WrapCharacters, CharactersOfSeveralBytesCountOnce) {
  ExpectUnwrapped(Times(71, kOmega) + " y");
  EXPECT_EQ(WrapCharacters(Times(72, kOmega) + " y"), Times(72, kOmega) + "\r\ny");
  EXPECT_EQ(WrapCharacters(Times(78, kOmega) + " y"), Times(78, kOmega) + "\r\ny");
  ExpectUnwrapped(Times(79, kOmega) + " y");
}

TEST(WrapCharacters, WideOnesCountTwice) {
  for (const char* wide : {kSun, kSmile}) {
    ExpectUnwrapped(Times(35, wide) + "x y");  // column 72
    EXPECT_EQ(WrapCharacters(Times(36, wide) + " y"), Times(36, wide) + "\r\ny");
    EXPECT_EQ(WrapCharacters(Times(39, wide) + " y"), Times(39, wide) + "\r\ny");
    ExpectUnwrapped(Times(39, wide) + "x y");  // column 80
  }
}

TEST(WrapCharacters, CombiningMarksDoNotCount) {
  const std::string accented = std::string("e") + kAccent;
  ExpectUnwrapped(Times(71, accented) + " y");
  EXPECT_EQ(WrapCharacters(Times(72, accented) + " y"), Times(72, accented) + "\r\ny");
}

TEST(WrapCharacters, ABlankUnderAMarkIsNoBreak) {
  ExpectUnwrapped(Times(72, "x") + " " + kAccent + "y");
  ExpectUnwrapped(Times(30, "x") + " " + kAccent + Times(60, "x"));
}

TEST(WrapCharacters, LineOf80ColumnsIsBrokenAtABlankBefore) {
  ExpectUnwrapped(Times(19, kSun) + "  " + Times(19, kSun) + "x");  // 79 columns
  EXPECT_EQ(WrapCharacters(Times(19, kSun) + " " + Times(21, kSun)),
            Times(19, kSun) + "\r\n" + Times(21, kSun));
  // Column 79 and 81: the character in between is the one that is too much.
  EXPECT_EQ(WrapCharacters("x " + Times(39, kSun)), "x\r\n" + Times(39, kSun));
}

TEST(WrapCharacters, LineWithoutABlankStaysLong) {
  ExpectUnwrapped(Times(100, kSun) + "\r\n");
  ExpectUnwrapped(Times(100, kSun) + " " + Times(100, kSun) + "\r\n");
}

TEST(WrapCharacters, WhatIsNoUtf8CountsByTheByte) {
  EXPECT_EQ(WrapCharacters(std::string(72, '\xE9') + " y"), std::string(72, '\xE9') + "\r\ny");
}

TEST(WrapCharacters, TextEndsAtItsFirstNul) {
  EXPECT_EQ(WrapCharacters(std::string("ab\0cd", 5)), "ab");
}

// --- lines as they are sent ---

TEST(CutLongLines, LineOf500CharactersStays) {
  const std::string line = Times(250, "x") + Times(250, kOmega);
  EXPECT_EQ(CutLongLines(line + "\r\n", 997), Times(250, "x") + Times(249, kOmega) + "\r\n" +
                                                  kOmega + "\r\n");  // its CR is the 501st
  EXPECT_EQ(CutLongLines(line, 997), line);
}

TEST(CutLongLines, LineThatHasMoreBytesIsCutBetweenTwoCharacters) {
  EXPECT_EQ(CutLongLines(Times(333, kSun) + "\r\n", 997),
            Times(332, kSun) + "\r\n" + kSun + "\r\n");
  EXPECT_EQ(CutLongLines(Times(400, kSmile), 997),
            Times(249, kSmile) + "\r\n" + Times(151, kSmile));
  // A last blank is better.
  EXPECT_EQ(CutLongLines("x " + Times(300, kSun) + " " + Times(100, kSun), 997),
            "x " + Times(300, kSun) + "\r\n" + Times(100, kSun));
}

TEST(CutLongLines, MarksAndJoinedEmojiStayTogether) {
  // The cut would fall behind the "e".
  const std::string text = Times(331, kSun) + "xxe" + kAccent + Times(10, kSun);
  EXPECT_EQ(CutLongLines(text, 997), Times(331, kSun) + "xx\r\ne" + kAccent + Times(10, kSun));
  const std::string family = "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9";
  EXPECT_EQ(CutLongLines(Times(330, kSun) + family + "x", 997),
            Times(330, kSun) + "\r\n" + family + "x");
}

TEST(CutLongLines, OneCharacterWithThousandMarksIsCutBetweenMarks) {
  const std::string cut = CutLongLines("e" + Times(1000, kAccent), 997);
  EXPECT_EQ(cut,
            "e" + Times(498, kAccent) + "\r\n" + Times(498, kAccent) + "\r\n" + Times(4, kAccent));
}

TEST(BuildCharacterPost, BodyIsSentAsItIs) {
  EXPECT_EQ(BuildCharacterPost("A: b\r\n", std::string(kOmega) + "\r\n\r\n" + kSmile + "\r\n",
                               "Message-ID: <1@x.y>"),
            "A: b\r\nMessage-ID: <1@x.y>\r\nX-Newsreader: Quillet CE 1.14r3\r\n\r\n"
            "\xCE\xA9\r\n\r\n\xF0\x9F\x98\x80\r\n\r\n.\r\n");
}

TEST(BuildCharacterPost, EveryLineThatBeginsWithADotGetsOne) {
  EXPECT_EQ(BodySent(std::string(".") + kOmega + "\r\n.\r\n"),
            std::string("..") + kOmega + "\r\n..\r\n");
  EXPECT_EQ(BodySent(Times(490, "x") + " ." + Times(20, kOmega)),
            Times(490, "x") + "\r\n.." + Times(20, kOmega) + "\r\n");
}

TEST(BuildCharacterPost, HeadIsFoldedBetweenEncodedWords) {
  const std::string word = "=?UTF-8?B?" + Times(60, "A") + "?=";
  const std::string head = "Subject: " + Times(8, word + " ") + word + "\r\n";
  const std::string text = BuildCharacterPost(head, kOmega);
  EXPECT_TRUE(text.starts_with("Subject: " + Times(5, word + " ") + word + "\r\n\t" + word + " " +
                               word + " " + word + "\r\nX-Newsreader: "));
}

TEST(BuildCharacterPost, HeaderLineWithoutABlankIsFoldedAbove998) {
  const auto sent = [](const std::string& head) {
    const std::string text = BuildCharacterPost(head + "\r\n", kOmega);
    return text.substr(0, text.find("\r\nX-Newsreader"));
  };
  EXPECT_EQ(sent(Times(996, "x")), Times(996, "x"));
  EXPECT_EQ(sent(Times(1200, "x")), Times(499, "x") + "\r\n\t" + Times(701, "x"));
}

TEST(BuildCharacterPost, BodyInAnotherCharsetIsWrappedAsText) {
  const std::string head = "Content-Type: text/plain; charset=ISO-2022-JP\r\n";
  // 36 wide characters make 72 columns.
  const std::string line = "\x1B$B" + Times(36, "F|") + "\x1B(B";
  EXPECT_EQ(BodySent(line + " y\r\n", head), line + "\r\ny\r\n");
  // Where a long line is broken, both of its parts are whole.
  EXPECT_EQ(BodySent("\x1B$B" + Times(100, "F|") + "\x1B(B\r\n", head),
            "\x1B$B" + Times(83, "F|") + "\x1B(B\r\n\x1B$B" + Times(17, "F|") + "\x1B(B\r\n");
  const std::string greek = "Content-Type: text/plain; charset=iso-8859-7\r\n";
  EXPECT_EQ(BodySent(std::string(74, '\xD9') + " \xE1\r\n", greek),
            std::string(74, '\xD9') + "\r\n\xE1\r\n");
}

TEST(BuildCharacterPost, BodyThatIsNotOfItsCharsetIsSentByTheByte) {
  const std::string head = "Content-Type: text/plain; charset=us-ascii\r\n";
  EXPECT_EQ(BodySent("caf\xE9\r\n", head), "caf\xE9\r\n");
}

// --- against the way of plain ASCII ---

class Texts {
 public:
  std::string Next(bool ascii) {
    static const std::string kLetters[] = {"x", "y", kOmega, kSun, kSmile, kAccent, "\xFF", "\r"};
    static constexpr std::size_t kAround[] = {0, 1, 72, 73, 79, 80, 81, 160, 499, 500, 501, 1000};
    std::string text;
    for (std::size_t lines = random_() % 8; lines > 0; --lines) {
      const std::size_t blanks = 1 + random_() % 300;
      for (std::size_t i = kAround[random_() % 12] + random_() % 4; i > 0; --i) {
        text += random_() % blanks == 0 ? " " : kLetters[ascii ? 0 : random_() % 8];
      }
      text += random_() % 5 == 0 ? "\n" : "\r\n";
    }
    return text;
  }

 private:
  std::mt19937 random_{20261122};
};

TEST(CharacterTexts, PlainAsciiIsWrappedAndSentAsEver) {
  Texts texts;
  for (int i = 0; i < 500; ++i) {
    const std::string body = texts.Next(true);
    ASSERT_EQ(WrapCharacters(body), WrapPostBody(body)) << i;
    ASSERT_EQ(BuildCharacterPost("A: b\r\n", body), BuildPostText("A: b\r\n", WrapPostBody(body)))
        << i;
  }
}

TEST(CharacterTexts, NothingIsLostAndNoLineIsTooLong) {
  Texts texts;
  for (int i = 0; i < 500; ++i) {
    const std::string body = texts.Next(false);
    std::string sent = BodySent(body);
    std::size_t longest = 0;
    for (std::size_t at = 0, end = 0; (end = sent.find("\r\n", at)) != sent.npos; at = end + 2) {
      longest = std::max(longest, end - at);
    }
    EXPECT_LE(longest, 998U) << i;
    // A break stands for a blank or for nothing.
    const auto letters = [](std::string text) {
      std::erase_if(text, [](char c) { return c == ' ' || c == '\r' || c == '\n'; });
      return text;
    };
    ASSERT_EQ(letters(sent), letters(body)) << i;
  }
}

TEST(CharacterTexts, MegabytesOfEveryKindPass) {
  for (const std::string unit :
       {"\xCE\xA9", "\xCC\x81", " ", "\xE6\x97\xA5 ", " \xCC\x81", "\xFF"}) {
    const std::string text = Times((1 << 20) / unit.size(), unit);
    const std::string sent = BodySent(text);
    EXPECT_GE(sent.size(), text.size() / 2);
  }
}

}  // namespace
}  // namespace quillet
