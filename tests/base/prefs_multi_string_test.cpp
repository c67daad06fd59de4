// SPDX-License-Identifier: GPL-3.0-or-later
#include <string>
#include <vector>

#include "base/multi_string.h"
#include "tests/base/prefs_test_device.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

std::string Build(const std::vector<std::u16string>& strings) {
  return CreateMultiString(strings);
}
std::string BuildNarrow(const std::vector<std::string>& strings) {
  return CreateMultiString(strings);
}

TEST(MultiString, StringsStandOneAfterAnotherWithTheirNuls) {
  EXPECT_EQ(Hex(Build({u"ab", u"c"})), "610062000000630000000000");
}

TEST(MultiString, EmptyListIsFourZeroBytes) {
  EXPECT_EQ(Hex(Build({})), "00000000");
  EXPECT_EQ(Hex(BuildNarrow({})), "00000000");
}

TEST(MultiString, EmptyStringIsWrittenAsItsMark) {
  EXPECT_EQ(Hex(Build({u""})), "00e000000000");
  EXPECT_EQ(Hex(Build({u"a", u"", u"b"})), "6100000000e00000620000000000");
}

TEST(MultiString, SizeCountsEveryCharacterAndOneNulMore) {
  EXPECT_EQ(Build({u"abc", u"", u"de"}).size(), 2U * (4 + 2 + 3 + 1));
}

TEST(MultiString, EmbeddedNulCutsItsString) {
  EXPECT_EQ(Hex(Build({std::u16string(u"a\0b", 3), std::u16string(u"\0c", 2)})),
            "6100000000e000000000");
}

TEST(MultiString, NarrowStringsAreWidenedWithTheCodePage) {
  EXPECT_EQ(Hex(BuildNarrow({"\x80", "", "\xE9z"})), "ac20000000e00000e9007a0000000000");
}

TEST(MultiString, EmptyStringInTheMiddleSurvives) {
  const std::vector<std::u16string> strings = {u"first", u"", u"third"};
  EXPECT_EQ(ParseMultiString(Build(strings), 3), strings);
}

TEST(MultiString, EmptyStringsAtBothEndsSurvive) {
  const std::vector<std::u16string> strings = {u"", u"x", u"", u""};
  EXPECT_EQ(ParseMultiString(Build(strings), 4), strings);
  EXPECT_EQ(CountMultiStrings(Build(strings)), 4U);
}

TEST(MultiString, AnythingThatBeginsWithTheMarkIsEmpty) {
  EXPECT_THAT(ParseMultiString(Bytes16(std::u16string_view(u"\xE000xyz\0b\0\0", 8)), 2),
              ElementsAre(u"", u"b"));
}

TEST(MultiString, TheCountDecidesNotTheData) {
  const std::string data = Build({u"a", u"b", u"c"});
  EXPECT_THAT(ParseMultiString(data, 2), ElementsAre(u"a", u"b"));
  EXPECT_THAT(ParseMultiString(data, 5), ElementsAre(u"a", u"b", u"c", u"", u""));
  EXPECT_TRUE(ParseMultiString(data, 0).empty());
}

TEST(MultiString, AdjacentNulsInTheMiddleDoNotHideWhatFollows) {
  const std::string data = Bytes16(std::u16string_view(u"a\0\0b\0\0", 6));
  EXPECT_EQ(CountMultiStrings(data), 3U);
  EXPECT_THAT(ParseMultiString(data, 3), ElementsAre(u"a", u"", u"b"));
}

TEST(MultiString, UnterminatedAndOddDataIsReadToItsEnd) {
  EXPECT_THAT(ParseMultiString(Bytes16(u"ab"), 1), ElementsAre(u"ab"));
  EXPECT_THAT(ParseMultiString(Bytes16(u"ab") + "x", 2), ElementsAre(u"ab", u""));
  EXPECT_THAT(ParseMultiString("", 1), ElementsAre(u""));
  EXPECT_THAT(ParseMultiString("x", 1), ElementsAre(u""));
}

TEST(MultiString, CountsOnlyWhatIsReallyThere) {
  EXPECT_EQ(CountMultiStrings(""), 0U);
  EXPECT_EQ(CountMultiStrings(Build({})), 0U);
  EXPECT_EQ(CountMultiStrings(Build({u"", u""})), 2U);
  EXPECT_EQ(CountMultiStrings(Bytes16(u"ab")), 1U);
}

class MultiStringValue : public PrefsTest {
 protected:
  std::unique_ptr<port::RegistryKey> key = fake.registry.Create(kTestKey);
};

TEST_F(MultiStringValue, IsReadByItsCount) {
  PutList(u"groups", std::u16string_view(u"a\0b\0\0", 5));
  EXPECT_THAT(ReadMultiString(*key, u"groups", 3), ElementsAre(u"a", u"b", u""));
  EXPECT_EQ(CountStoredStrings(*key, u"groups"), 2U);
}

TEST_F(MultiStringValue, OfAnotherTypeOrMissingIsAllEmptyStrings) {
  Put(u"groups", RegistryType::kBinary, Bytes16(std::u16string_view(u"a\0b\0\0", 5)));
  EXPECT_THAT(ReadMultiString(*key, u"groups", 2), ElementsAre(u"", u""));
  EXPECT_THAT(ReadMultiString(*key, u"servers", 1), ElementsAre(u""));
  EXPECT_EQ(CountStoredStrings(*key, u"groups"), 0U);
}

TEST_F(MultiStringValue, NarrowReadingStopsAtWhatIsReallyThere) {
  PutList(u"killfiletexts", std::u16string_view(u"\x20AC\0\xE000\0\x3B1\0\0", 7));
  EXPECT_THAT(ReadNarrowMultiString(*key, u"killfileTexts", 9), ElementsAre("\x80", "", "?"));
  EXPECT_THAT(ReadNarrowMultiString(*key, u"killfileTexts", 1), ElementsAre("\x80"));
}

TEST_F(MultiStringValue, CountNoMemoryCouldHoldIsACriticalReport) {
  PutList(u"groups", std::u16string_view(u"a\0\0", 3));
  testing::TakeLargestNew();
  EXPECT_TRUE(ReadMultiString(*key, u"groups", 0xFFFFFFFF).empty());
  EXPECT_LT(testing::TakeLargestNew(), 4096U);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in ReadMultiString."));
}

TEST_F(MultiStringValue, BuilderOutOfMemoryIsACriticalReportAndNoData) {
  const std::vector<std::u16string> strings(1, std::u16string(5000, u'x'));
  testing::FailNewOfAtLeast(5000);
  EXPECT_EQ(CreateMultiString(strings), "");
  testing::FailNewOfAtLeast(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in CreateMultiString."));
}

TEST_F(MultiStringValue, ReaderOutOfMemoryIsACriticalReportAndNoList) {
  PutList(u"groups", std::u16string(5000, u'x'));
  testing::FailNewOfAtLeast(5000);
  EXPECT_TRUE(ReadMultiString(*key, u"groups", 1).empty());
  testing::FailNewOfAtLeast(5000);
  EXPECT_TRUE(ReadNarrowMultiString(*key, u"groups", 1).empty());
  testing::FailNewOfAtLeast(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (out of memory) occurred in ReadMultiString.",
                          u"A critical error (out of memory) occurred in ReadMultiString."));
}

}  // namespace
}  // namespace quillet
