// SPDX-License-Identifier: GPL-3.0-or-later
#include "mime/folding.h"

#include <gtest/gtest.h>

#include "mime/shown_text.h"
#include "mime/utf16.h"
#include "tests/mime/without_decoding.h"

namespace quillet {
namespace {

std::u16string Units(char32_t character) {
  std::u16string units;
  AppendCharacter(units, character);
  return units;
}

TEST(FoldFully, AsciiLettersBecomeSmallAndNothingElseOfAsciiChanges) {
  for (char16_t c = 0; c < 0x80; ++c) {
    const char16_t expected = c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + 32) : c;
    EXPECT_EQ(FoldFully(std::u16string(1, c)), std::u16string(1, expected));
  }
}

TEST(FoldFully, LettersOfEveryScriptWithTwoCases) {
  EXPECT_EQ(FoldFully(u"\u00C4\u00D6\u0178\u0141"), u"\u00E4\u00F6\u00FF\u0142");  // Latin
  EXPECT_EQ(FoldFully(u"\u039F\u0394\u039F\u03A3"), u"\u03BF\u03B4\u03BF\u03C3");  // Greek
  EXPECT_EQ(FoldFully(u"\u041F\u0420\u0418\u0406"), u"\u043F\u0440\u0438\u0456");  // Cyrillic
  EXPECT_EQ(FoldFully(u"\u0531"), u"\u0561");                                      // Armenian
  EXPECT_EQ(FoldFully(u"\u10A0"), u"\u2D00");                                      // Georgian
  EXPECT_EQ(FoldFully(u"\uFF21\u24B6\u2160"), u"\uFF41\u24D0\u2170");
  EXPECT_EQ(FoldFully(u"\u212A\u017F\u00B5"), u"ks\u03BC");
}

TEST(FoldFully, AFinalSigmaIsASigma) {
  EXPECT_EQ(FoldFully(u"\u03BF\u03B4\u03CC\u03C2"), u"\u03BF\u03B4\u03CC\u03C3");
}

TEST(FoldFully, ACharacterMayBecomeThree) {
  EXPECT_EQ(FoldFully(u"Stra\u00DFe"), u"strasse");
  EXPECT_EQ(FoldFully(u"\u1E9E"), u"ss");
  EXPECT_EQ(FoldFully(u"\uFB01\uFB03\uFB06"), u"fiffist");
  EXPECT_EQ(FoldFully(u"\u0149"), u"\u02BCn");
  EXPECT_EQ(FoldFully(u"\u0390"), u"\u03B9\u0308\u0301");
  EXPECT_EQ(FoldFully(u"\u0587"), u"\u0565\u0582");
}

TEST(FoldFully, IsNotTurkish) {
  EXPECT_EQ(FoldFully(u"I\u0131"), u"i\u0131");
  EXPECT_EQ(FoldFully(u"\u0130"), u"i\u0307");
}

TEST(FoldFully, CherokeeFoldsToItsCapitals) {
  EXPECT_EQ(FoldFully(u"\u13A0\u13F5\uAB70\uABBF\u13F8\u13FD"),
            u"\u13A0\u13F5\u13A0\u13EF\u13F0\u13F5");
}

TEST(FoldFully, AccentsStayAsTheyWereTyped) {
  EXPECT_EQ(FoldFully(u"\u00C9 E\u0301"), u"\u00E9 e\u0301");
}

TEST(FoldFully, SupplementaryPlanesFoldAndHalvesOfPairsStay) {
  EXPECT_EQ(FoldFully(u"\U00010400\U0001E900\U0001F600"), u"\U00010428\U0001E922\U0001F600");
  EXPECT_EQ(FoldFully(u"\xD801"
                      u"A\xDC00"),
            u"\xD801"
            u"a\xDC00");
  EXPECT_EQ(FoldFully(u"A\xD801"), u"a\xD801");
}

TEST(FoldFully, FoldedTextStaysAsItIs) {
  for (char32_t c = 1; c < 0x30000; ++c) {
    const std::u16string folded = FoldFully(Units(c));
    ASSERT_EQ(FoldFully(folded), folded) << static_cast<unsigned>(c);
  }
}

// All of Unicode, held against sums made by another implementation of the same tables.
TEST(FoldFully, EveryCharacterFoldsAsUnicodeSays) {
  std::uint64_t hash = 0xCBF29CE484222325;  // FNV-1a, character by character
  const auto add = [&hash](char32_t c) { hash = (hash ^ c) * 0x100000001B3; };
  int changed = 0, longer = 0;
  for (char32_t c = 0; c < 0x110000; ++c) {
    const std::u16string units = Units(c), folded = FoldFully(units);
    if (folded == units) continue;
    ++changed;
    add(c);
    int characters = 0;
    for (std::size_t at = 0; at < folded.size(); ++characters) {
      add(CharacterAt(folded, at));
      at += UnitsOf(CharacterAt(folded, at));
    }
    longer += characters > 1 ? 1 : 0;
  }
  EXPECT_EQ(changed, 1530);
  EXPECT_EQ(longer, 104);
  EXPECT_EQ(hash, 0x5D611A1AAB090547U);
}

TEST(Fold, IsFullWhileDecodingIsOn) {
  EXPECT_EQ(Fold(u"STRA\u00DFE \u0394"), u"strasse \u03B4");
  const testing::WithoutDecoding off;
  EXPECT_EQ(Fold(u"STRA\u00DFE \u0394"), u"stra\u00DFe \u0394");
}

TEST(FoldedText, TellsWhereEachPlaceComesFrom) {
  const FoldedText folded(u"a\u00DFb\uFB03c\U00010400d");  // a ss b ffi c (two) d
  ASSERT_EQ(folded.text(), u"assbffic\U00010428d");
  FoldedText::Walk walk(folded);
  const std::vector<int> expected{0, 1, -1, 2, 3, -1, -1, 4, 5, 6, 7, 8};
  for (std::size_t place = 0; place < expected.size(); ++place) {
    const FoldedText::Place from = walk.At(place);
    EXPECT_EQ(from.whole ? static_cast<int>(from.shown) : -1, expected[place]) << place;
  }
}

TEST(IsAscii, TellsEveryUnit) {
  EXPECT_TRUE(IsAscii(u""));
  EXPECT_TRUE(IsAscii(u"\x7F"));
  EXPECT_FALSE(IsAscii(u"\x80"));
  EXPECT_FALSE(IsAscii(u"\u4E00a"));
}

}  // namespace
}  // namespace quillet
