// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/charset.h"

#include <gtest/gtest.h>

#include "util/text.h"

namespace quillet {
namespace {

struct Sample {
  std::vector<std::string_view> names;
  std::string_view bytes;
  std::u16string_view text;
};

const std::vector<Sample> kSamples = {
    {{"utf-8", "UTF8", "utf_8", "unicode-1-1-utf-8", "x-utf-8", "cp65001"}, "\xD0\x96", u"Ж"},
    {{"iso-8859-1", "ISO_8859-1", "latin1", "l1", "iso8859-1", "8859_1", "cp819",
      "ISO-8859-1:1987"},
     "\xE9\x80",
     u"é€"},
    {{"windows-1252", "cp1252", "x-ansi", "WIN-1252"}, "\x93\xE9\x94", u"“é”"},
    {{"iso-8859-2", "iso8859_2", "latin2", "ISO_8859-2:1987"}, "\xA3\xF3\xBC", u"Łóź"},
    {{"windows-1250", "cp1250", "x-cp1250"}, "\xA3\x9C", u"Łś"},
    {{"windows-1251", "cp-1251", "win-1251", "x-cp1251"}, "\xC6\xFF", u"Жя"},
    {{"koi8-r", "koi8", "x-koi8-r", "cskoi8r"}, "\xF6\xD1", u"Жя"},
    {{"koi8-u", "koi8_u"}, "\xB4\xA4", u"Єє"},
    {{"ibm866", "cp866", "cp-866"}, "\x86\xEF", u"Жя"},
    {{"iso-8859-5", "cyrillic"}, "\xB6\xEF", u"Жя"},
    {{"x-mac-cyrillic", "x-MacCyrillic"}, "\x86\xDF", u"Жя"},
    {{"x-mac-roman", "macintosh"}, "\x8E\xA5", u"é•"},
    {{"x-mac-ce"}, "\xB8", u"ł"},
    {{"iso-8859-7", "greek"}, "\xE1\xF9", u"αω"},
    {{"windows-1253"}, "\xE1\xA2", u"αΆ"},
    {{"iso-8859-8", "iso-8859-8-i", "iso-8859-8-e", "logical"}, "\xE0\xFA", u"את"},
    {{"windows-1255", "cp1255"}, "\xF9\xEC\xE5\xED", u"שלום"},
    {{"iso-8859-6", "iso-8859-6-i", "arabic"}, "\xC7\xE4", u"ال"},
    {{"windows-1256", "cp1256"}, "\xE3\xD1\xCD\xC8\xC7", u"مرحبا"},
    {{"iso-8859-9", "latin5", "windows-1254"}, "\xFE\xF0\x80", u"şğ€"},
    {{"iso-8859-15", "latin-9"}, "\xA4\xBD", u"€œ"},
    {{"windows-874", "tis-620", "iso-8859-11", "x-windows-874", "cp874"}, "\xE4\xB7\xC2", u"ไทย"},
    {{"shift_jis", "x-sjis", "sjis", "ms_kanji", "windows-31j", "cp932"},
     "\x93\xFA\x87\x40",
     u"日①"},
    {{"euc-jp", "x-euc-jp", "ujis"}, "\xC6\xFC\xAD\xA1\x8E\xB1", u"日①ｱ"},
    {{"iso-2022-jp", "csiso2022jp", "iso-2022-jp-2", "cp50221"},
     "\x1B$BF|-!\x1B(B a \x1B(I1\x1B(B",
     u"日① a ｱ"},
    {{"gb2312", "x-gbk", "euc-cn", "cp936", "gb_2312-80", "gb18030"}, "\xD6\xD0\x81\x40", u"中丂"},
    {{"hz-gb-2312", "hz"}, "a ~{VPND~}~~", u"a 中文~"},
    {{"big5", "x-x-big5", "cn-big5", "csbig5"}, "\xA4\xA4\xA4\xE5", u"中文"},
    {{"cp950", "windows-950"}, "\xA4\xA4", u"中"},
    {{"ks_c_5601-1987", "euc-kr", "ks_c_5601", "korean", "cp949", "uhc"},
     "\xC7\xD1\x81\x41",
     u"한갂"},
    {{"iso-2022-kr"}, "\x1B$)C\x0EGQ\x0F", u"한"},
    {{"utf-7", "unicode-1-1-utf-7", "x-unicode-2-0-utf-7"}, "+BBY- 1", u"Ж 1"},
    {{"utf-16"}, std::string_view("\xFF\xFE\x16\x04", 4), u"Ж"},
    {{"utf-16", "utf-16be"}, std::string_view("\x04\x16", 2), u"Ж"},
    {{"utf-16le"}, std::string_view("\x16\x04", 2), u"Ж"},
    {{"viscii"}, "\xD5", u"ạ"},
    {{"cp437", "ibm437"}, "\x81", u"ü"},
    {{"cp850", "ibm-850", "cp-850"}, "\x81", u"ü"},
};

TEST(Charset, IsFoundUnderAnyOfItsNames) {
  for (const Sample& sample : kSamples) {
    for (const std::string_view name : sample.names) {
      EXPECT_TRUE(IsKnownCharset(name)) << name;
      EXPECT_EQ(DecodeCharset(sample.bytes, name), sample.text) << name;
      EXPECT_EQ(DecodeExactly(sample.bytes, name), std::optional(std::u16string(sample.text)))
          << name;
    }
  }
}

TEST(Charset, Iso2022JpHasRoomForOtherSets) {
  EXPECT_EQ(DecodeCharset("\x1B$AVP\x1B(B \x1B$(CGQ\x1B(B", "iso-2022-jp-2"), u"中 한");
  EXPECT_EQ(DecodeCharset("\x1B$(OF|.R\x1B(B", "iso-2022-jp-3"), u"日\u5157");
  EXPECT_EQ(DecodeCharset("\x1B$(D0\"\x1B(B", "iso-2022-jp-1"), u"丄");
}

TEST(Charset, UnknownNamesMeanUnlabelledText) {
  for (const std::string_view name :
       {"", "x", "x-", "klingon", "INTERNAL", "WCHAR_T", "utf-8//TRANSLIT", "../utf-8", "8859",
        "cp", "windows-99999", "charset with blanks"}) {
    EXPECT_FALSE(IsKnownCharset(name)) << name;
    EXPECT_EQ(DecodeCharset("\xC3\xBC", name), u"ü") << name;
    EXPECT_EQ(DecodeCharset("\xFC", name), u"ü") << name;
    EXPECT_EQ(DecodeExactly("a", name), std::nullopt) << name;
  }
  EXPECT_FALSE(IsKnownCharset(std::string(100000, 'a')));
}

TEST(Charset, AsciiIsUtf8OrCodePage1252BeyondAscii) {
  for (const std::string_view name : {"us-ascii", "ANSI_X3.4-1968", "unknown-8bit", "x-unknown"}) {
    EXPECT_TRUE(IsKnownCharset(name));
    EXPECT_EQ(DecodeCharset("\xC3\xBC", name), u"ü");
    EXPECT_EQ(DecodeCharset("\xFC\x93", name), u"ü“");
  }
}

TEST(Charset, Utf8ThatIsNoneIsCodePage1252) {
  EXPECT_EQ(DecodeCharset("Gr\xFC\xDF"
                          "e",
                          "utf-8"),
            u"Grüße");
  EXPECT_EQ(DecodeCharset("voil\xE0", "utf-8"), u"voilà");
  EXPECT_EQ(DecodeCharset("\xED\xA0\x80", "utf-8"), Widen("\xED\xA0\x80"));
  EXPECT_EQ(DecodeCharset("\xF0\x80\x80\xAF", "utf-8"), Widen("\xF0\x80\x80\xAF"));
}

TEST(Charset, AFewBrokenSequencesInALongTextAreReplaced) {
  std::string bytes;
  std::u16string text;
  for (int i = 0; i < 30; ++i) bytes += "\xD0\x96", text += u'Ж';
  EXPECT_EQ(DecodeCharset(bytes + "\xFF " + bytes, "utf-8"), text + u"\xFFFD " + text);
  EXPECT_EQ(DecodeCharset(bytes + "\xD0", "utf-8"), text + u"\xFFFD");
  EXPECT_EQ(DecodeExactly(bytes + "\xD0", "utf-8"), std::nullopt);
  EXPECT_EQ(DecodeCharset("\xFF\xFF\xFF\xFF" + bytes, "utf-8"), Widen("\xFF\xFF\xFF\xFF" + bytes));
  std::string japanese;
  for (int i = 0; i < 30; ++i) japanese += "\x93\xFA";
  EXPECT_EQ(DecodeCharset(japanese + "\xFF", "shift_jis"), std::u16string(30, u'日') + u"\xFFFD");
}

TEST(Charset, Iso8859TextWithBytesOfUtf8AloneIsUtf8) {
  EXPECT_EQ(DecodeCharset("\xE2\x80\x93 \xD0\x96", "iso-8859-1"), u"– Ж");
  EXPECT_EQ(DecodeCharset("\xD0\x96", "iso-8859-15"), u"Ж");
  EXPECT_EQ(DecodeCharset("\xC3\xBC", "iso-8859-1"), u"\u00C3\u00BC");
  EXPECT_EQ(DecodeCharset("\x93 \xC3\xBC", "iso-8859-1"), u"“ \u00C3\u00BC");
}

TEST(Charset, KeptDescriptorsAreAsGoodAsNewOnes) {
  for (int round = 0; round < 3; ++round) {
    for (const Sample& sample : kSamples) {
      ASSERT_EQ(DecodeCharset(sample.bytes, sample.names.front()), sample.text);
      DecodeCharset("\x1B$B\x81", sample.names.front());  // leaves a shift and half a character
    }
  }
}

TEST(Charset, LongTextsComeOutWhole) {
  std::string bytes;
  std::u16string text;
  for (int i = 0; i < 5000; ++i) bytes += "a\xC6\xFC", text += u"a日";
  EXPECT_EQ(DecodeCharset(bytes, "euc-jp"), text);
}

TEST(Charset, SomeKeepAscii) {
  for (const std::string_view name : {"us-ascii", "utf-8", "iso-8859-5", "koi8-r", "gb2312", "big5",
                                      "shift_jis", "euc-kr", "windows-1251", "nobody-knows"}) {
    EXPECT_TRUE(KeepsAscii(name)) << name;
  }
  for (const std::string_view name :
       {"iso-2022-jp", "hz-gb-2312", "utf-7", "utf-16", "iso-2022-kr", "utf-32", "ibm037"}) {
    EXPECT_FALSE(KeepsAscii(name)) << name;
  }
}

TEST(Charset, Utf8IsJudgedByItsBytes) {
  for (const std::string_view good :
       {"", "abc", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80",
        "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(IsUtf8(good)) << good;
  }
  for (const std::string_view bad :
       {"\x80", "\xC1\xBF", "\xC2", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xEF\xBF", "\xF0\x8F\xBF\xBF",
        "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC2\xC2", "abcdefgh\xFF", "\xF0\x90\x80"}) {
    EXPECT_FALSE(IsUtf8(bad)) << bad;
  }
}

}  // namespace
}  // namespace quillet
