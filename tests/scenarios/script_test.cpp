// The command words and the JSON writer of the scripted front.
#include <gtest/gtest.h>

#include "port/message.h"
#include "script/json.h"
#include "script/words.h"

namespace quillet {
namespace {

using Words = std::vector<std::u16string>;

TEST(JsonTextTest, PrintableAsciiStandsForItself) {
  EXPECT_EQ(JsonText(u"comp.lang.c++ [1/2] <a@b>"), "\"comp.lang.c++ [1/2] <a@b>\"");
}

TEST(JsonTextTest, QuotesBackslashesAndLineEndsAreEscaped) {
  EXPECT_EQ(JsonText(u"a\"b\\c\r\n\td"), "\"a\\\"b\\\\c\\r\\n\\td\"");
}

TEST(JsonTextTest, EveryOtherUnitIsAnEscapeOfItsOwn) {
  const std::u16string text = {0x00, 0x01, 0x1F, 0x7F, 0xE9, 0xE000, 0xFFFF};
  EXPECT_EQ(JsonText(text), "\"\\u0000\\u0001\\u001f\\u007f\\u00e9\\ue000\\uffff\"");
}

TEST(JsonTextTest, LoneSurrogatesSurvive) {
  const std::u16string text = {0xD83D, u'x', 0xDE00, 0xD83D, 0xDE00};
  EXPECT_EQ(JsonText(text), "\"\\ud83dx\\ude00\\ud83d\\ude00\"");
}

TEST(JsonObjectTest, MembersKeepTheirOrderAndKinds) {
  JsonObject object;
  object.Add("event", "box").Add("text", u"a\u20ac").Add("yes", true).Add("n", -1);
  object.Add("big", std::uint64_t{18446744073709551615U});
  object.AddRaw("list", JsonList().Add(u"x").Add(JsonObject()).AddRaw("null").Finish());
  EXPECT_EQ(object.Finish(),
            "{\"event\":\"box\",\"text\":\"a\\u20ac\",\"yes\":true,\"n\":-1,"
            "\"big\":18446744073709551615,\"list\":[\"x\",{},null]}");
}

TEST(ScriptLineTest, BlanksSeparateWords) {
  EXPECT_EQ(SplitScriptLine("  tick\tcomp.lang.c++  a#b \r").words,
            (Words{u"tick", u"comp.lang.c++", u"a#b"}));
}

TEST(ScriptLineTest, BlankLinesAndCommentsHaveNoWords) {
  for (const char* line : {"", "   \t", "# tick all", "   # \"unclosed"}) {
    const ScriptLine split = SplitScriptLine(line);
    EXPECT_TRUE(split.words.empty()) << line;
    EXPECT_EQ(split.error, "") << line;
  }
}

TEST(ScriptLineTest, QuotedWordsHoldBlanksAndEscapes) {
  EXPECT_EQ(SplitScriptLine(R"(set 1001 " a\"b\\c\n\r\t" "")").words,
            (Words{u"set", u"1001", u" a\"b\\c\n\r\t", u""}));
}

TEST(ScriptLineTest, AnEscapeMayBeALoneSurrogate) {
  const Words words = SplitScriptLine(R"("\ud83d" "\u0000\uE9e9")").words;
  ASSERT_EQ(words.size(), 2U);
  EXPECT_EQ(words[0], std::u16string(1, 0xD83D));
  EXPECT_EQ(words[1], (std::u16string{0x0000, 0xE9E9}));
}

TEST(ScriptLineTest, Utf8IsTakenAsItIs) {
  EXPECT_EQ(SplitScriptLine("tick de.caf\xC3\xA9 \"\xF0\x9F\x98\x80\"").words,
            (Words{u"tick", u"de.caf\u00e9", u"\U0001F600"}));
}

TEST(ScriptLineTest, MalformedLinesSayWhatIsWrong) {
  EXPECT_EQ(SplitScriptLine("set 1 \"a").error, "no closing quote");
  EXPECT_EQ(SplitScriptLine("set 1 \"a\\").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"\\x\"").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"\\u12g4\"").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"\\u12").error, "bad escape in a quoted word");
  EXPECT_EQ(SplitScriptLine("set 1 \"a\"b").error, "no blank after a closing quote");
  EXPECT_EQ(SplitScriptLine("tick caf\xE9").error, "not UTF-8");
}

TEST(NumberTest, OnlyDecimalDigitsOf32Bits) {
  EXPECT_EQ(ParseNumber(u"0"), 0U);
  EXPECT_EQ(ParseNumber(u"4294967295"), 4294967295U);
  for (const char16_t* word :
       {u"", u"-1", u"+1", u"4294967296", u"99999999999999999999999", u"1x"}) {
    EXPECT_FALSE(ParseNumber(word)) << JsonText(word);
  }
}

TEST(SizeTest, WidthAndHeight) {
  EXPECT_EQ(ParseSize(u"240x320"), (port::Size{240, 320}));
  for (const char16_t* word : {u"", u"240", u"240x", u"x320", u"0x320", u"240x0", u"40000x1"}) {
    EXPECT_FALSE(ParseSize(word)) << JsonText(word);
  }
}

TEST(HexTest, PairsOfDigits) {
  EXPECT_EQ(ParseHex(u"00fFA5"), std::string("\x00\xFF\xA5", 3));
  EXPECT_EQ(ParseHex(u""), "");
  EXPECT_FALSE(ParseHex(u"123"));
  EXPECT_FALSE(ParseHex(u"1g"));
}

TEST(KeyTest, CombinationsReadAsTheyAreWritten) {
  struct Case {
    const char16_t* word;
    std::uint32_t key;
    std::uint32_t modifiers;
    const char* text;
  };
  const Case cases[] = {
      {u"Escape", 0x1B, 0, "Escape"},
      {u"ctrl+alt+m", 'M', port::kModifierControl | port::kModifierAlt, "Ctrl+Alt+M"},
      {u"Alt+Ctrl+M", 'M', port::kModifierControl | port::kModifierAlt, "Ctrl+Alt+M"},
      {u"Ctrl+1", '1', port::kModifierControl, "Ctrl+1"},
      {u"Ctrl+Left", 0x25, port::kModifierControl, "Ctrl+Left"},
      {u"Shift+F24", 0x87, port::kModifierShift, "Shift+F24"},
  };
  for (const Case& c : cases) {
    const auto key = ParseKey(c.word);
    ASSERT_TRUE(key) << c.text;
    EXPECT_EQ(key->virtual_key, c.key) << c.text;
    EXPECT_EQ(key->modifiers, c.modifiers) << c.text;
    EXPECT_EQ(KeyText(key->virtual_key, key->modifiers), c.text);
  }
}

TEST(KeyTest, UnknownKeysAreRefused) {
  for (const char16_t* word : {u"", u"Ctrl+", u"Ctrl", u"Ctrl+Ctrl+A", u"Hyper+A", u"+", u"AB"}) {
    EXPECT_FALSE(ParseKey(word)) << JsonText(word);
  }
}

}  // namespace
}  // namespace quillet
