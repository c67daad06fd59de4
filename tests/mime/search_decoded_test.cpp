// SPDX-License-Identifier: GPL-3.0-or-later
// SearchText while stored text is decoded.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "mime/as_stored.h"
#include "mime/folding.h"
#include "mime/search_filter.h"
#include "mime/search_text.h"
#include "mime/shown_text.h"
#include "mime/utf16.h"
#include "tests/mime/without_decoding.h"
#include "util/ascii.h"
#include "util/base64.h"
#include "util/text.h"

namespace quillet {
namespace {

constexpr MatchOptions kCase{.match_case = true, .whole_word = false};
constexpr MatchOptions kWord{.match_case = false, .whole_word = true};

// An article in its stored order.
struct Stored {
  std::string head, body, subject = "Subject", from = "Ann <ann@x>";
  bool stuffed = true;

  std::string All() const {
    const std::string nul(1, '\0');
    return "<1@x>" + nul + head + nul + body + nul + "<0@x>" + nul + subject + nul + from + nul +
           "news.example.org" + nul + "today" + nul + from + nul;
  }
  // `all` is All().
  ArticleTexts In(std::string_view all) const {
    const std::size_t body_at = 5 + 1 + head.size() + 1, subject_at = body_at + body.size() + 7;
    return {.all = all,
            .head = all.substr(6, head.size()),
            .body = all.substr(body_at, body.size()),
            .subject = all.substr(subject_at, subject.size()),
            .stuffed = stuffed};
  }
  BodySource source() const { return {head, body, stuffed}; }
};

bool InBody(const Stored& stored, std::u16string_view wanted, const MatchOptions& options = {}) {
  const std::string all = stored.All();
  return SearchText(wanted, options).IsInBody(stored.In(all));
}
bool InAny(const Stored& stored, std::u16string_view wanted, const MatchOptions& options = {}) {
  const std::string all = stored.All();
  return SearchText(wanted, options).IsInAny(stored.In(all));
}

Stored Body(std::string_view body, std::string_view head = "") {
  return {.head = std::string(head), .body = std::string(body)};
}

constexpr std::string_view kQuotedPrintable =
    "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: quoted-printable\r\n";
constexpr std::string_view kBase64 =
    "Content-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n";

TEST(SearchDecoded, BodiesAreSearchedAsTheyAreShown) {
  const Stored article = Body("Gr=C3=BC=C3=9Fe aus der Stra=\r\n=C3=9Fe\r\n", kQuotedPrintable);
  EXPECT_TRUE(InBody(article, u"gr\u00FC\u00DFe"));
  EXPECT_TRUE(InBody(article, u"STRASSE"));
  EXPECT_TRUE(InBody(article, u"Stra\u00DFe", kCase));
  EXPECT_TRUE(InBody(article, u"Stra\u00DFe", kWord));
  EXPECT_FALSE(InBody(article, u"=C3=BC"));
  EXPECT_FALSE(InBody(article, u"stra", kWord));
  EXPECT_FALSE(InBody(article, u"strasse", kCase));
  EXPECT_TRUE(
      InBody(Body("0J/RgNC40LLQtdGC\r\n", kBase64), u"\u043F\u0440\u0438\u0432\u0435\u0442"));
  EXPECT_FALSE(InBody(Body("0J/RgNC40LLQtdGC\r\n", kBase64), u"0J/R"));
  EXPECT_TRUE(InBody(Body("caf\xC3\xA9\r\n"), u"CAF\u00C9"));
  EXPECT_TRUE(InBody(Body("caf\xE9\r\n"), u"CAF\u00C9"));
}

TEST(SearchDecoded, WithoutDecodingTheBytesAreSearched) {
  const testing::WithoutDecoding scope;
  const Stored article = Body("Gr=C3=BC=C3=9Fe\r\n", kQuotedPrintable);
  EXPECT_TRUE(InBody(article, u"=c3=bc"));
  EXPECT_FALSE(InBody(article, u"gr\u00FC\u00DFe"));
  EXPECT_FALSE(InBody(Body("caf\xE9\r\n"), u"CAF\u00C9"));
  EXPECT_TRUE(InAny({.head = "", .body = "", .subject = "=?utf-8?Q?=C3=BC?="}, u"?q?"));
  EXPECT_FALSE(InAny({.head = "", .body = "", .subject = "=?utf-8?Q?=C3=BC?="}, u"\u00FC"));
}

TEST(SearchDecoded, DoubledDotsAreUndoneButInImportedArticles) {
  Stored article = Body("..hidden\r\n...\r\n");
  EXPECT_FALSE(InBody(article, u"..hidden"));
  EXPECT_TRUE(InBody(article, u".hidden"));
  article.stuffed = false;
  EXPECT_TRUE(InBody(article, u"..hidden"));
}

TEST(SearchDecoded, FilesInTheTextAreSearchedByTheirLines) {
  const Stored article = Body("see\r\nbegin 644 cat.jpg\r\n#0V%T\r\n`\r\nend\r\n");
  EXPECT_TRUE(InBody(article, u"Attachment: cat.jpg, image/jpeg"));
  EXPECT_TRUE(InBody(article, u"cat.jpg", kWord));
  EXPECT_FALSE(InBody(article, u"#0V%T"));
  EXPECT_FALSE(InBody(article, u"begin 644"));
  EXPECT_FALSE(InBody(Body("see\r\n"), u"Attachment"));
}

TEST(SearchDecoded, HeadsAreSearchedAsTheyAreShown) {
  Stored article{.head = "X-Town: =?utf-8?Q?Z=C3=BCrich?=\r\nLines: 1", .body = "text\r\n"};
  article.subject = "=?koi8-r?Q?=F0=D2?=";
  article.from = "J\xC3\xBCrgen <j@x>";
  for (const std::u16string_view wanted :
       {u"z\u00DCrich", u"x-town: z\u00FC", u"\u043F\u0440", u"J\u00DCRGEN <j", u"<0@x>", u"today",
        u"news.example", u"lines: 1", u"<1@x>", u"TEXT"}) {
    EXPECT_TRUE(InAny(article, wanted)) << ToUtf8(wanted);
    EXPECT_EQ(InBody(article, wanted), wanted == u"TEXT") << ToUtf8(wanted);
  }
  EXPECT_FALSE(InAny(article, u"=?utf"));
  EXPECT_FALSE(InAny(article, u"=C3=BC"));
}

TEST(SearchDecoded, AFoldedSubjectIsOneText) {
  Stored article{.head = "Path: a\r\n =?utf-8?Q?tude?=\r\nLines: 1", .body = "text\r\n"};
  article.subject = "=?utf-8?Q?Une_=C3=A9?=";
  EXPECT_TRUE(InAny(article, u"une \u00E9tude"));
  EXPECT_FALSE(InBody(article, u"une \u00E9tude"));
  article = {.head = "Path: a\r\n northern coast\r\nLines: 1", .body = "text\r\n"};
  article.subject = "Announcing the second public release of the harbour tide tables for the";
  EXPECT_TRUE(InAny(article, u"tables for the northern coast"));
  EXPECT_FALSE(InAny(article, u"the subject"));
  const testing::WithoutDecoding scope;
  EXPECT_FALSE(InAny(article, u"tables for the northern coast"));
}

TEST(SearchDecoded, TextsOfAnArticleDoNotRunIntoEachOther) {
  const Stored article{.head = "Lines: 1", .body = "caf\xC3\xA9", .subject = "\xC3\xA4x"};
  EXPECT_FALSE(InAny(article, u"1caf"));
  EXPECT_FALSE(InAny(article, u"\u00E4xAnn"));
  EXPECT_TRUE(InAny(article, u"\u00E4x", kWord));
}

TEST(SearchDecoded, AnEmptyTextIsInNone) {
  EXPECT_FALSE(InAny(Body("caf\xE9"), u""));
  EXPECT_FALSE(InAny(Body("text"), u""));
}

// --- Against the long way ------------------------------------------------------------------------

bool IsIn(std::u16string_view shown, std::u16string_view wanted, const MatchOptions& options) {
  return !FindMatches(shown, wanted, options).empty();
}

bool SlowlyInBody(const Stored& stored, std::u16string_view wanted, const MatchOptions& options) {
  const DecodedBody body = DecodeBody(stored.source());
  return IsIn(body.text, wanted, options) ||
         std::ranges::any_of(body.attachments, [&](const Attachment& attachment) {
           return IsIn(AttachmentLine(attachment), wanted, options);
         });
}

bool SlowlyInAny(const Stored& stored, std::u16string_view wanted, const MatchOptions& options) {
  const std::u16string subject = ShownHeader(JoinedSubject(stored.subject, stored.head));
  return SlowlyInBody(stored, wanted, options) ||
         IsIn(ShownHeaderLines(stored.head), wanted, options) || IsIn(subject, wanted, options) ||
         IsIn(ShownHeader(stored.from), wanted, options) || IsIn(u"<1@x>", wanted, options) ||
         IsIn(u"<0@x>", wanted, options) || IsIn(u"news.example.org", wanted, options) ||
         IsIn(u"today", wanted, options);
}

constexpr std::array<std::string_view, 19> kBodyPieces = {"text ",
                                                          "Stra\xC3\x9F\x65 ",
                                                          "STRASSE\r\n",
                                                          "\r\n",
                                                          ".",
                                                          "..dot\r\n",
                                                          "begin ",
                                                          "begin 644 a.jpg\r\n",
                                                          "#0V%T\r\n",
                                                          "`\r\nend\r\n",
                                                          "=C3=9F",
                                                          "=\r\n",
                                                          "0J/RgNC40LLQtdGC",
                                                          "caf\xE9",
                                                          "=ybegin line=9 size=1 name=a\r\n",
                                                          "\r\n=yend size=1\r\n",
                                                          "> quoted\r\n",
                                                          "\x1B$B",
                                                          "\x01"};
constexpr std::array<std::string_view, 17> kHeads = {
    kQuotedPrintable,
    kBase64,
    "Content-Transfer-Encoding: BASE64\nContent-Type: text/plain; charset=\"ISO-8859-1\"\n",
    "Path: a!b\r\nLines: 1",
    "",
    "Content-Type: text/plain; charset=utf-8\r\n",
    "Content-Type: text/plain; charset=\"iso-8859-15\"\r\nContent-Transfer-Encoding: 8bit\r\n",
    "Content-Type: text/plain;\r\n charset=iso-2022-jp\r\n",
    "Content-Type: text/plain; charset=utf-8; format=flowed\r\n",
    "Content-Type: text/html\r\nContent-Transfer-Encoding: 7bit",
    "content-transfer-encoding: quoted-printable\r\n",
    "MIME-Version: 1.0\r\nContent-Transfer-Encoding: base64\r\n",
    "Content-Type: text/plain; charset=utf-7\r\n",
    "Content-Disposition: attachment; filename=text.txt\r\n",
    "Content-Type: multipart/mixed; boundary=text\r\n",
    "X-Stra\xC3\x9F\x65: =?utf-8?Q?Stra=C3=9Fe?=\r\n",
    "Content-Type: image/png\r\nContent-Language: de"};
constexpr std::array<std::string_view, 4> kSubjects = {
    "text", "=?utf-8?Q?Stra=C3=9Fe?=", "stra\xDF\x65", "=?"};
constexpr std::array<std::u16string_view, 15> kWanted = {u"STRA\u00DF\u0065 text",
                                                         u"ss",
                                                         u"\u00E9text ",
                                                         u"text",
                                                         u"strasse",
                                                         u"Stra\u00DFe",
                                                         u"s",
                                                         u".",
                                                         u"..",
                                                         u"CAT",
                                                         u"begin",
                                                         u"caf\u00C9",
                                                         u"a.jpg",
                                                         u"\u043F",
                                                         u"=c3"};

TEST(SearchDecoded, FindsWhatFindMatchesFindsInWhatIsShown) {
  std::mt19937 random(11);  // NOLINT: the same texts on every run are the point
  int found = 0, as_stored = 0;
  for (int round = 0; round < 30000; ++round) {
    Stored stored{.head = std::string(kHeads[random() % kHeads.size()]),
                  .body = "",
                  .subject = std::string(kSubjects[random() % kSubjects.size()])};
    // Half of them are plain, so that the short way is taken often.
    const std::size_t pieces = random() % 2 == 0 ? 5 : kBodyPieces.size();
    for (std::size_t left = random() % 8; left > 0; --left)
      stored.body += kBodyPieces[random() % pieces];
    stored.stuffed = random() % 2 == 0;
    if (stored.head.find("ase64\r") < 300 && random() % 4 != 0) {
      stored.body = Base64Encode(stored.body) + (random() % 2 == 0 ? "\r\n" : "");
    }
    const std::u16string_view wanted = kWanted[random() % kWanted.size()];
    const MatchOptions options{random() % 2 == 0, random() % 2 == 0};
    const bool in_body = SlowlyInBody(stored, wanted, options);
    const bool in_any = SlowlyInAny(stored, wanted, options);
    found += in_body ? 1 : 0;
    ASSERT_EQ(InBody(stored, wanted, options), in_body) << stored.head << stored.body;
    ASSERT_EQ(InAny(stored, wanted, options), in_any) << stored.head << stored.body;
    if (!IsShownAsStored(stored.source())) continue;
    ++as_stored;
    const DecodedBody body = DecodeBody(stored.source());
    ASSERT_EQ(body.text, Widen(stored.body)) << stored.head;
    ASSERT_TRUE(body.attachments.empty() && IsAscii(stored.body)) << stored.head << stored.body;
  }
  EXPECT_GT(found, 1000);
  EXPECT_GT(as_stored, 1000);
}

TEST(SearchFilter, RulesOutWhatIsNotThere) {
  const auto rules_out = [](std::u16string_view wanted, std::string_view head,
                            std::string_view body) {
    return SearchFilter(wanted, {}).RulesOut({head, body, true});
  };
  EXPECT_TRUE(rules_out(u"stone", kQuotedPrintable, "Gr=C3=BC=C3=A9zi zus=\r\nammen\r\n"));
  EXPECT_TRUE(rules_out(u"\u00E4stone", kBase64, "0J/RgNC40LLQtdGC\r\n"));
  EXPECT_TRUE(rules_out(u"stone", "", "caf\xC3\xA9\r\n"));
  // Letters of others fold to it.
  EXPECT_FALSE(rules_out(u"strasse", kQuotedPrintable, "Stra=C3=9Fe\r\n"));
  EXPECT_FALSE(rules_out(u"strasse", "", "Stra\xDF\x65\r\n"));
  EXPECT_FALSE(rules_out(u"kelvin", "", "\xE2\x84\xAA\x65lvin\r\n"));
  // It is there, in one line or in two.
  EXPECT_FALSE(rules_out(u"zusammen", kQuotedPrintable, "zus=\r\nammen\r\n"));
  // Nothing of it is in ASCII.
  EXPECT_FALSE(rules_out(u"\u00E4", kQuotedPrintable, "a\r\n"));
  // Who knows what is shown of these?
  EXPECT_FALSE(rules_out(u"stone", "Content-Type: text/html\r\n", "a\r\n"));
  EXPECT_FALSE(rules_out(u"stone", kBase64, "not in base64\r\n"));
  EXPECT_FALSE(rules_out(u"stone", kQuotedPrintable, "st= one\r\n"));
  EXPECT_FALSE(rules_out(u"stone", "", "begin 644 stone\r\n#0V%T\r\n`\r\nend\r\n"));
}

// Every character that folds to letters of ASCII alone is taken for one that may.
TEST(SearchFilter, KnowsWhatFoldsToAscii) {
  for (char32_t c = 0x80; c < 0x20000; ++c) {
    if (c >= 0xD800 && c < 0xE000) continue;
    std::u16string text;
    AppendCharacter(text, c);
    const std::u16string folded = FoldFully(text);
    if (std::ranges::none_of(folded, [](char16_t unit) { return unit < 0x80; })) continue;
    EXPECT_FALSE(SearchFilter(u"none", {}).RulesOut({"", ToUtf8(text) + "!", false}))
        << static_cast<unsigned>(c);
  }
}

TEST(IsShownAsStored, OrdinaryArticlesAre) {
  for (const std::string_view head :
       {"", "Path: a\r\nLines: 1", "Mime-Version: 1.0\nContent-Type: text/plain\nX: y",
        "Content-Type: text/plain; charset=UTF-8\r\nContent-Transfer-Encoding: 7bit\r\n",
        "Content-Type: TEXT/PLAIN; charset=\"us-ascii\"\r\n"}) {
    EXPECT_TRUE(IsShownAsStored({head, "Hello,\r\n.\r\nbegun.\r\n", true})) << head;
  }
  EXPECT_TRUE(IsShownAsStored({"", "..\r\n", false}));
}

TEST(IsShownAsStored, WhatMayBeShownOtherwiseIsNot) {
  for (const std::string_view body : {"caf\xE9", "..", "a\r\n..b", "begin 644 x", "a\nbegin 644 x",
                                      "a\n=ybegin ", "begin-base64 644 x"}) {
    EXPECT_FALSE(IsShownAsStored({"", body, true})) << body;
  }
  for (const std::string_view head :
       {"Content-Type: text/html", "Content-Type: text/plain; format=flowed",
        "Content-Type: text/plain; charset=utf-7", "Content-Type: text/plain;\r\n format=flowed",
        "Content-Type: text/plain; charset=utf-8; format=flowed", "Content-Disposition: attachment",
        "X: y\r\ncontent-transfer-encoding: base64", "Content-Type: text/plainest", "Content-"}) {
    EXPECT_FALSE(IsShownAsStored({head, "Hello\r\n", true})) << head;
  }
}

}  // namespace
}  // namespace quillet
