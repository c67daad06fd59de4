// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/encoded_words.h"

#include <gtest/gtest.h>

#include <random>

#include "mime/shown_text.h"
#include "tests/mime/without_decoding.h"
#include "util/text.h"

namespace quillet {
namespace {

TEST(EncodeHeaderText, PrintableAsciiIsUnchanged) {
  EXPECT_EQ(EncodeHeaderText(u"Re: a  =?x? \"b\" <c@d>"), "Re: a  =?x? \"b\" <c@d>");
  EXPECT_EQ(EncodeHeaderText(u"=?utf-8?Q?x?="), "=?utf-8?Q?x?=");
  EXPECT_EQ(EncodeHeaderText(u""), "");
}

TEST(EncodeHeaderText, OnlyWhatNeedsItIsEncoded) {
  EXPECT_EQ(EncodeHeaderText(u"Re: Grüße an alle"), "Re: =?UTF-8?Q?Gr=C3=BC=C3=9Fe?= an alle");
  EXPECT_EQ(EncodeHeaderText(u"für  Jörg und Käthe"),
            "=?UTF-8?Q?f=C3=BCr__J=C3=B6rg?= und =?UTF-8?Q?K=C3=A4the?=");
  EXPECT_EQ(EncodeHeaderText(u"Ελλάδα"), "=?UTF-8?B?zpXOu867zqzOtM6x?=");
  EXPECT_EQ(EncodeHeaderText(u"ü =?x"), "=?UTF-8?B?w7wgPT94?=");
}

TEST(EncodeHeaderText, NoLineEndAndNoControlCharacterComesOut) {
  EXPECT_EQ(EncodeHeaderText(u"a\r\nBcc: b\tc\x01"), "a  Bcc: b c ");
  EXPECT_EQ(EncodeHeaderText(u"ü\r\nx"), "=?UTF-8?Q?=C3=BC?=  x");
  EXPECT_EQ(EncodeHeaderText(u"\xD800"), "=?UTF-8?B?77+9?=");
}

bool IsHeaderText(const std::string& text) {
  for (const char c : text) {
    if (c < ' ' || c > '~') return false;
  }
  for (std::size_t at = 0; (at = text.find("=?UTF-8?", at)) != std::string::npos;) {
    const std::size_t end = text.find("?=", at + 10);
    if (end == std::string::npos || end + 2 - at > 75) return false;
    at = end + 2;
    const bool at_end = at == text.size();
    if (!at_end && text[at] != ' ') return false;
    // Each word is whole by itself.
  }
  return true;
}

TEST(EncodeHeaderText, LongOnesAreCutBetweenCharacters) {
  for (const std::u16string_view character : {u"ü", u"日", u"😀", u"aü"}) {
    std::u16string text;
    for (int i = 0; i < 200; ++i) text += character;
    const std::string encoded = EncodeHeaderText(text);
    EXPECT_TRUE(IsHeaderText(encoded)) << encoded;
    EXPECT_EQ(ShownHeader(encoded), text);
    for (std::size_t at = 0; at < encoded.size();) {  // no word needs its neighbour
      const std::size_t end = std::min(encoded.find(' ', at), encoded.size());
      const std::u16string part = ShownHeader(encoded.substr(at, end - at));
      EXPECT_EQ(part.find(u'\xFFFD'), std::u16string::npos);
      EXPECT_EQ(text.find(part) % character.size(), 0U);
      at = end + 1;
    }
  }
}

TEST(EncodeHeaderText, ComesBackAsItWent) {
  std::mt19937 random(7);
  const std::u16string_view pieces[] = {u" ",  u"  ", u"a", u"Zx.", u"ü",  u"日本",  u"😀",
                                        u"=?", u"?=", u"_", u"=",   u"\"", u"<a@b>", u"Ω,"};
  for (int round = 0; round < 5000; ++round) {
    std::u16string text = u"ß";
    for (auto left = random() % 40; left > 0; --left) text += pieces[random() % std::size(pieces)];
    const std::string encoded = EncodeHeaderText(text);
    ASSERT_TRUE(IsHeaderText(encoded)) << encoded;
    ASSERT_EQ(ShownHeader(encoded), text) << encoded;
  }
}

TEST(EncodeHeaderAddress, TheAddressIsNeverEncoded) {
  EXPECT_EQ(EncodeHeaderAddress(u"Ann Lee <ann@example.org>"), "Ann Lee <ann@example.org>");
  EXPECT_EQ(EncodeHeaderAddress(u"Jörg Ä. Groß <jg@example.org>"),
            "=?UTF-8?Q?J=C3=B6rg_=C3=84=2E_Gro=C3=9F?= <jg@example.org>");
  EXPECT_EQ(EncodeHeaderAddress(u"Jörg <jg@exämple.org>"),
            "=?UTF-8?Q?J=C3=B6rg?= <jg@ex?mple.org>");
  EXPECT_EQ(EncodeHeaderAddress(u"jg@example.org (Jörg G)"),
            "jg@example.org (=?UTF-8?Q?J=C3=B6rg_G?=)");
  EXPECT_EQ(EncodeHeaderAddress(u"jörg@example.org"), "j?rg@example.org");
  EXPECT_EQ(EncodeHeaderAddress(u"Jörg"), "=?UTF-8?Q?J=C3=B6rg?=");
  EXPECT_EQ(EncodeHeaderAddress(u"<ä@b>"), "<?@b>");
}

TEST(EncodeHeaderAddress, QuotationMarksStayOutsideOfTheWords) {
  EXPECT_EQ(EncodeHeaderAddress(u"\"Ελληνικά Ω\" <a@b>"),
            "=?UTF-8?B?zpXOu867zrfOvc65zrrOrCDOqQ==?= <a@b>");
  EXPECT_EQ(EncodeHeaderAddress(u"Ελλ, Ω <a@b>"), "=?UTF-8?B?zpXOu867LCDOqQ==?= <a@b>");
  EXPECT_EQ(ShownHeader(EncodeHeaderAddress(u"\"Jörg \\\"J\\\" G\" <a@b>")), u"Jörg \"J\" G <a@b>");
  EXPECT_EQ(EncodeHeaderAddress(u"\"Lee, Ann\" <a@b>"), "\"Lee, Ann\" <a@b>");
}

TEST(EncodeHeaderAddress, NoLineEndComesOut) {
  EXPECT_EQ(EncodeHeaderAddress(u"ü <a@b>\r\nBcc: <c@d>").find_first_of("\r\n"), std::string::npos);
  EXPECT_EQ(EncodeHeaderAddress(u"a <a@b>\r\nBcc: c"), "a <a@b>  Bcc: c");
}

TEST(ToKillfileText, IsCodePage1252WhereThatIsEnough) {
  EXPECT_EQ(ToKillfileText(u"Grüße €"),
            "Gr\xFC\xDF"
            "e \x80");
  EXPECT_EQ(ToKillfileText(u"plain"), "plain");
  EXPECT_EQ(ToKillfileText(u""), "");
}

TEST(ToKillfileText, IsEncodedWordsElsewhere) {
  EXPECT_EQ(ToKillfileText(u"Ω x"), "=?UTF-8?Q?=CE=A9_x?=");
  for (const std::u16string text : {u"Ж and plain", u"日本語", u"Ã¼", u"=?utf-8?Q?x?=", u"😀 ü",
                                    u"=?utf-8?Q?x?= Ω =?", u"Ω\ttab"}) {
    EXPECT_EQ(ShownHeader(ToKillfileText(text)), text);
  }
}

TEST(ToKillfileText, IsCodePage1252WhileDecodingIsOff) {
  const testing::WithoutDecoding off;
  EXPECT_EQ(ToKillfileText(u"Ω ü"), "? \xFC");
}

}  // namespace
}  // namespace quillet
