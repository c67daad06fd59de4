// SPDX-License-Identifier: GPL-3.0-or-later
// Files in texts, made by other encoders than any of the program's: lines of uuencode and sums come
// from another implementation, yEnc from the few lines below.
#include "mime/binary_in_text.h"

#include <gtest/gtest.h>

#include <random>

#include "util/base64.h"
#include "util/format.h"

namespace quillet {
namespace {

std::string Bytes(int first, int end) {
  std::string bytes;
  for (int byte = first; byte < end; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

struct Whole {
  std::string text;  // what stays of it
  std::vector<std::string> files;
};

// Every file that was found, and the text without the whole ones.
Whole Read(const std::string& text) {
  Whole whole{text, {}};
  const std::vector<BinaryInText> found = FindBinariesInText(text);
  for (const BinaryInText& file : found) {
    whole.files.push_back(DecodeBinaryInText(text, file));
    EXPECT_EQ(whole.files.back().size(), file.bytes);
  }
  for (auto file = found.rbegin(); file != found.rend(); ++file) {
    if (!file->damaged) whole.text.erase(file->begin, file->end - file->begin);
  }
  return whole;
}

void ExpectNone(const std::string& text) {
  EXPECT_TRUE(FindBinariesInText(text).empty()) << text;
}

// --- uuencode ------------------------------------------------------------------------------------

// All 256 bytes.
constexpr std::string_view kAllBytes =
    "begin 644 all.bin\r\n"
    R"uu(M``$"`P0%!@<("0H+#`T.#Q`1$A,4%187&!D:&QP='A\@(2(C)"4F)R@I*BLL)uu"
    "\r\n"
    R"uu(M+2XO,#$R,S0U-C<X.3H[/#T^/T!!0D-$149'2$E*2TQ-3D]045)35%565UA9)uu"
    "\r\n"
    R"uu(M6EM<75Y?8&%B8V1E9F=H:6IK;&UN;W!Q<G-T=79W>'EZ>WQ]?G^`@8*#A(6&)uu"
    "\r\n"
    R"uu(MAXB)BHN,C8Z/D)&2DY25EI>8F9J;G)V>GZ"AHJ.DI::GJ*FJJZRMKJ^PL;*S)uu"
    "\r\n"
    R"uu(MM+6VM[BYNKN\O;Z_P,'"P\3%QL?(R<K+S,W.S]#1TM/4U=;7V-G:V]S=WM_@)uu"
    "\r\n"
    R"uu(?X>+CY.7FY^CIZNOL[>[O\/'R\_3U]O?X^?K[_/W^_P``)uu"
    "\r\n`\r\nend\r\n";

TEST(Uuencode, AllBytesComeBackAndTheLinesAreWhole) {
  const std::string text = "Look:\r\n\r\n" + std::string(kAllBytes) + "Bye\r\n";
  const std::vector<BinaryInText> found = FindBinariesInText(text);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0], (BinaryInText{.begin = 9,
                                    .end = 9 + kAllBytes.size(),
                                    .name = u"all.bin",
                                    .type = "application/octet-stream",
                                    .bytes = 256,
                                    .coding = BinaryCoding::kUuencode,
                                    .damaged = false}));
  EXPECT_EQ(DecodeBinaryInText(text, found[0]), Bytes(0, 256));
}

TEST(Uuencode, LinesMayEndWithALineFeedAndTheTextWithTheLastOne) {
  EXPECT_EQ(Read("begin 644 cat.txt\n#0V%T\n`\nend").files, std::vector<std::string>{"Cat"});
  EXPECT_EQ(Read("begin 644 cat.txt\n#0V%T\n`\nend").text, "");
}

TEST(Uuencode, ZeroIsAGraveAccentOrABlank) {
  const std::vector<std::string> zeros{std::string("\0\0\0\0A\0\0\0", 8)};
  EXPECT_EQ(Read("begin 644 z\n(     $$     \n \nend\n").files, zeros);
  EXPECT_EQ(Read("begin 644 z\n(`````$$`````\n`\nend\n").files, zeros);
}

TEST(Uuencode, BlanksCutOffAtTheEndsOfLinesAreZeros) {
  EXPECT_EQ(Read("begin 644 z\n(     $$\n\nend\n").files,
            std::vector<std::string>{std::string("\0\0\0\0A\0\0\0", 8)});
  EXPECT_EQ(Read("begin 644 z\n#0V%T\nM\n\nend\n").files,
            std::vector<std::string>{"Cat" + std::string(45, '\0')});
  EXPECT_EQ(Read("begin 644 z\nM\n\nend\n").files, std::vector<std::string>{std::string(45, '\0')});
}

TEST(Uuencode, AChecksumBehindALineIsNoPartOfIt) {
  EXPECT_EQ(Read("begin 644 cat\n#0V%TX\n#0V%TY\n`\nend\n").files,
            std::vector<std::string>{"CatCat"});
  ExpectNone("begin 644 cat\n#0V%TXX\n`\nend\n");
}

TEST(Uuencode, CharactersThatTheLastBytesDoNotNeedMayLack) {
  EXPECT_EQ(Read("begin 644 c\n!0P\n`\nend\n").files, std::vector<std::string>{"C"});
  EXPECT_EQ(Read("begin 644 c\n!0P\n").files, std::vector<std::string>{"C"});
}

TEST(Uuencode, WithoutAnEndTheFileGoesAsFarAsItsLinesAreSound) {
  const std::string text = "begin 644 cat\n#0V%T\n#0V%T\n";
  for (const std::string rest : {"", "\nBest wishes\n", "-- \nAnn\n", "and so on\n", "`\nBye\n"}) {
    const Whole whole = Read(text + rest);
    EXPECT_EQ(whole.files, std::vector<std::string>{"CatCat"}) << rest;
    EXPECT_EQ(whole.text, rest);
  }
}

TEST(Uuencode, AnEndMayStandWithoutAnEmptyLineBeforeIt) {
  EXPECT_EQ(Read("begin 644 cat\n#0V%T\nend\nBye\n").text, "Bye\n");
}

TEST(Uuencode, SeveralFilesInOneText) {
  const Whole whole =
      Read("one\nbegin 644 a\n#0V%T\n`\nend\ntwo\nbegin 755 b c.txt \n!0P``\n`\nend\n3");
  EXPECT_EQ(whole.files, (std::vector<std::string>{"Cat", "C"}));
  EXPECT_EQ(whole.text, "one\ntwo\n3");
}

TEST(Uuencode, AnEmptyFileIsOne) {
  EXPECT_EQ(Read("begin 600 empty\n`\nend\n").files, std::vector<std::string>{""});
}

TEST(Uuencode, ProseThatBeginsLikeAFileIsNone) {
  ExpectNone("begin 644 is how it starts\nand then come lines of letters.\n");
  ExpectNone("begin 644 is how it starts\n\nand then come lines of letters.\n");
  ExpectNone("begin 644 name\nend\n");
  ExpectNone("begin 644 NAME\nDATA\n");
  ExpectNone("begin 644 name\n");
  ExpectNone("begin 644 name");
  ExpectNone("begin\n#0V%T\n`\nend\n");
  ExpectNone("begin 648 cat\n#0V%T\n`\nend\n");
  ExpectNone("begin 64 cat\n#0V%T\n`\nend\n");
  ExpectNone("begin 644 \n#0V%T\n`\nend\n");
  ExpectNone("begin 644\n#0V%T\n`\nend\n");
  ExpectNone("begin the 644 cat\n#0V%T\n`\nend\n");
  ExpectNone(" begin 644 cat\n#0V%T\n`\nend\n");
  ExpectNone("> begin 644 cat\n> #0V%T\n> `\n> end\n");
  ExpectNone("x begin 644 cat\n#0V%T\n`\nend\n");
}

TEST(Uuencode, AFileMayFollowProseThatBeginsLikeOne) {
  EXPECT_EQ(Read("begin 644 how it starts\nbegin 644 cat\n#0V%T\n`\nend\n").files,
            std::vector<std::string>{"Cat"});
}

TEST(Uuencode, NamesAreUtf8OrWesternText) {
  const auto name = [](const std::string& bytes) {
    return FindBinariesInText("begin 644 " + bytes + "\n#0V%T\n`\nend\n").at(0).name;
  };
  EXPECT_EQ(name("my \xC3\xA9t\xC3\xA9.jpg"), u"my \u00E9t\u00E9.jpg");
  EXPECT_EQ(name("\xE9t\xE9.jpg"), u"\u00E9t\u00E9.jpg");
}

// --- base64 --------------------------------------------------------------------------------------

TEST(BeginBase64, EndsWithFourEqualsSigns) {
  const std::string text = "x\nbegin-base64 644 cat.gif\nQ2F0\nQw==\n====\ny\n";
  const Whole whole = Read(text);
  EXPECT_EQ(whole.files, std::vector<std::string>{"CatC"});
  EXPECT_EQ(whole.text, "x\ny\n");
  const BinaryInText found = FindBinariesInText(text).at(0);
  EXPECT_EQ(found.coding, BinaryCoding::kBase64);
  EXPECT_EQ(found.type, "image/gif");
}

TEST(BeginBase64, WithoutItsEndLinesOfFullLengthMakeAFile) {
  const std::string line = Base64Encode(Bytes(0, 45));
  EXPECT_EQ(Read("begin-base64 644 a\n" + line + "\nQ2F0\nand text\n").files,
            std::vector<std::string>{Bytes(0, 45) + "Cat"});
  EXPECT_EQ(Read("begin-base64 644 a\n" + line + "\nQ2F0\nand text\n").text, "and text\n");
  ExpectNone("begin-base64 644 is\nthis\n\n");
  ExpectNone("begin-base64 644 is\n");
}

// --- yEnc ----------------------------------------------------------------------------------------

std::string YEncoded(std::string_view bytes, std::size_t length = 128) {
  std::string text;
  std::size_t column = 0;
  for (const char byte : bytes) {
    const char c = static_cast<char>(byte + 42);
    if (c == '\0' || c == '\r' || c == '\n' || c == '=' || (c == '.' && column == 0)) {
      text += '=';
      text += static_cast<char>(c + 64);
    } else {
      text += c;
    }
    if (++column < length) continue;
    text += "\r\n";
    column = 0;
  }
  return column == 0 ? text : text + "\r\n";
}

const std::string kSingle = "=ybegin line=128 size=256 name=my photo.JPG\r\n" +
                            YEncoded(Bytes(0, 256)) + "=yend size=256 crc32=29058c73\r\n";

TEST(YEnc, AllBytesComeBackAndTheLinesAreWhole) {
  const std::string text = "Look:\r\n" + kSingle + "Bye\r\n";
  const std::vector<BinaryInText> found = FindBinariesInText(text);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0], (BinaryInText{.begin = 7,
                                    .end = 7 + kSingle.size(),
                                    .name = u"my photo.JPG",
                                    .type = "image/jpeg",
                                    .bytes = 256,
                                    .coding = BinaryCoding::kYEnc,
                                    .damaged = false}));
  EXPECT_EQ(DecodeBinaryInText(text, found[0]), Bytes(0, 256));
}

TEST(YEnc, OnePartOfManyIsAFileOfItsOwn) {
  const auto part = [](const std::string& sums) {
    return "=ybegin part=2 total=2 line=64 size=256 name=all.zip\r\n=ypart begin=129 end=256\r\n" +
           YEncoded(Bytes(128, 256), 64) + "=yend size=128 part=2" + sums + "\r\n";
  };
  // The sum of the whole file says nothing of a part.
  const std::string text = part(" pcrc32=4649f09d crc32=29058c73");
  const BinaryInText found = FindBinariesInText(text).at(0);
  EXPECT_FALSE(found.damaged);
  EXPECT_EQ(found.name, u"all.zip");
  EXPECT_EQ(found.type, "application/zip");
  EXPECT_EQ(DecodeBinaryInText(text, found), Bytes(128, 256));
  EXPECT_FALSE(FindBinariesInText(part("")).at(0).damaged);
  EXPECT_TRUE(FindBinariesInText(part(" pcrc32=4649f09e")).at(0).damaged);
}

TEST(YEnc, APartThatIsTheWholeFileHasItsSum) {
  const auto part = [](const std::string& crc) {
    return "=ybegin part=1 total=1 line=128 size=256 name=a\r\n=ypart begin=1 end=256\r\n" +
           YEncoded(Bytes(0, 256)) + "=yend size=256 part=1 crc32=" + crc + "\r\n";
  };
  EXPECT_FALSE(FindBinariesInText(part("29058C73")).at(0).damaged);
  EXPECT_TRUE(FindBinariesInText(part("29058C74")).at(0).damaged);
}

TEST(YEnc, AWrongSizeOrSumIsDamageAndTheTextStays) {
  const std::string head = "=ybegin line=128 size=4 name=t\r\n", data = YEncoded("test");
  EXPECT_FALSE(FindBinariesInText(head + data + "=yend size=4 crc32=D87F7E0C\r\n").at(0).damaged);
  EXPECT_FALSE(FindBinariesInText(head + data + "=yend size=4\r\n").at(0).damaged);
  for (const std::string& text :
       {head + data + "=yend size=4 crc32=d87f7e0d\r\n", head + data + "=yend size=5\r\n",
        head + YEncoded("tes") + "=yend size=4\r\n", head + YEncoded("tests") + "=yend size=4\r\n",
        head + YEncoded("tess") + "=yend size=4 crc32=d87f7e0c\r\n",
        head + data + "\r\n=yend size=5\r\n"}) {
    const std::vector<BinaryInText> found = FindBinariesInText(text);
    ASSERT_EQ(found.size(), 1U) << text;
    EXPECT_TRUE(found[0].damaged) << text;
    EXPECT_EQ(Read(text).text, text);
  }
}

TEST(YEnc, AFileThatWasCutGoesAsFarAsItsLinesAreFull) {
  const std::string whole = Bytes(0, 256) + Bytes(0, 200);
  const std::string text = "=ybegin line=128 size=1000 name=a\r\n" + YEncoded(whole);
  const BinaryInText found = FindBinariesInText(text).at(0);
  EXPECT_TRUE(found.damaged);
  EXPECT_EQ(DecodeBinaryInText(text, found), whole.substr(0, 384));
  const std::string complete = "=ybegin line=128 size=456 name=a\r\n" + YEncoded(whole);
  EXPECT_EQ(Read(complete + "Bye\r\n").files, std::vector<std::string>{whole});
  EXPECT_EQ(Read(complete + "Bye\r\n").text, "Bye\r\n");
}

TEST(YEnc, ProseThatBeginsLikeAFileIsNone) {
  ExpectNone("=ybegin line=128 size=100 name=x is how it starts\r\nand so on\r\n");
  ExpectNone("=ybegin line=128 size=100 name=x\r\n");
  ExpectNone("=ybegin line=128 size=100\r\n" + YEncoded("test") + "=yend size=4\r\n");
  ExpectNone("=ybegin size=4 name=x\r\n" + YEncoded("test") + "=yend size=4\r\n");
  ExpectNone("=ybegin line=128 name=x\r\n" + YEncoded("test") + "=yend size=4\r\n");
  ExpectNone("=ybegin line=128 size=four name=x\r\n" + YEncoded("test") + "=yend size=4\r\n");
  ExpectNone("=ybegin line=128 size=99999999999999999999999 name=x\r\ntest\r\n=yend size=4\r\n");
  ExpectNone("a =ybegin line=128 size=4 name=x\r\n" + YEncoded("test") + "=yend size=4\r\n");
}

TEST(YEnc, AnEscapeThatWasCutEndsItsLine) {
  const std::string text = "=ybegin line=128 size=1 name=a\r\n\x8B=\r\n=yend size=1\r\n";
  EXPECT_EQ(Read(text).files, std::vector<std::string>{"a"});
}

TEST(YEnc, ANewBeginningEndsAFileWithoutAnEnd) {
  const std::string cut = "=ybegin line=128 size=1000 name=a\r\n" + YEncoded(Bytes(0, 128));
  const std::vector<BinaryInText> found = FindBinariesInText(cut + kSingle);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0].bytes, 128U);
  EXPECT_EQ(found[1].begin, cut.size());
  EXPECT_FALSE(found[1].damaged);
}

TEST(YEnc, RandomBytesComeBack) {
  std::mt19937 random(7);  // NOLINT: the same bytes on every run are the point
  for (int round = 0; round < 200; ++round) {
    std::string bytes;
    for (std::size_t left = random() % 700; left > 0; --left) bytes += static_cast<char>(random());
    const std::string text = FormatNarrow("=ybegin line=100 size=%lu name=r\r\n", bytes.size()) +
                             YEncoded(bytes, 100) +
                             FormatNarrow("=yend size=%lu\r\n", bytes.size());
    ASSERT_EQ(Read(text).files, std::vector<std::string>{bytes}) << round;
    ASSERT_EQ(Read(text).text, "") << round;
  }
}

// --- All kinds -----------------------------------------------------------------------------------

TEST(BinaryInText, TextsWithoutFilesHaveNone) {
  ExpectNone("");
  ExpectNone("\n");
  ExpectNone("b");
  ExpectNone("=");
  ExpectNone("Hello.\r\nbeginning\r\n=\r\n");
}

TEST(BinaryInText, FilesOfAllKindsInOneText) {
  const Whole whole = Read("a\r\n" + std::string(kAllBytes) + "b\r\n" + kSingle +
                           "c\r\nbegin-base64 644 x\r\nQ2F0\r\n====\r\nd");
  EXPECT_EQ(whole.files, (std::vector<std::string>{Bytes(0, 256), Bytes(0, 256), "Cat"}));
  EXPECT_EQ(whole.text, "a\r\nb\r\nc\r\nd");
}

TEST(BinaryInText, WhatDoesNotStandInTheTextIsEmpty) {
  BinaryInText found = FindBinariesInText(kSingle).at(0);
  EXPECT_EQ(DecodeBinaryInText("", found), "");
  found.begin = 1;
  EXPECT_EQ(DecodeBinaryInText(kSingle, found), "");
}

TEST(BinaryInText, TypesFollowTheExtension) {
  EXPECT_EQ(TypeOfFileName(u"a.JPEG"), "image/jpeg");
  EXPECT_EQ(TypeOfFileName(u"a.tar.gz"), "application/gzip");
  EXPECT_EQ(TypeOfFileName(u"a.png"), "image/png");
  EXPECT_EQ(TypeOfFileName(u"a.pdf"), "application/pdf");
  EXPECT_EQ(TypeOfFileName(u"a.txt"), "text/plain");
  EXPECT_EQ(TypeOfFileName(u"a.mp3"), "audio/mpeg");
  EXPECT_EQ(TypeOfFileName(u"jpg"), "application/octet-stream");
  EXPECT_EQ(TypeOfFileName(u"a."), "application/octet-stream");
  EXPECT_EQ(TypeOfFileName(u""), "application/octet-stream");
}

// A search that begins anew at every line would not end in time.
TEST(BinaryInText, TextsMadeToBeSlowTakeTheirTimeOnce) {
  constexpr std::size_t kLines = 200000;
  const auto repeated = [](std::string_view line) {
    std::string text;
    for (std::size_t i = 0; i < kLines; ++i) text += line;
    return text;
  };
  ExpectNone(repeated("begin 644 x\n"));
  ExpectNone(repeated("begin-base64 644 x\n"));
  ExpectNone(repeated("=ybegin line=9 size=9 name=x\n"));
  ExpectNone("begin 644 x\n" + repeated("M\n"));
  ExpectNone("=ybegin line=9 size=9 name=x\n" + repeated("begin 644 x\n"));
}

}  // namespace
}  // namespace quillet
