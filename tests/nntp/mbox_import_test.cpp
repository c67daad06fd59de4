// SPDX-License-Identifier: GPL-3.0-or-later
#include "nntp/mbox_import.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <algorithm>
#include <random>

#include "base/app_messages.h"
#include "base/changes.h"
#include "base/extensions.h"
#include "base/registry_values.h"
#include "base/window_procedures.h"
#include "nntp/mbox_lines.h"
#include "store/compression.h"
#include "store/gdbm_library.h"
#include "tests/nntp/mbox_model.h"
#include "tests/nntp/nntp_fixture.h"
#include "tests/support/failing_new.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::u16string_view kFile = u"\\mbox";
constexpr std::u16string_view kNoMbox = u"This file is not in mbox format.";

class ImportTest : public NntpTest {
 protected:
  ImportTest() {
    OpenStore();
    fake.files.CreateFolder(u"\\");
  }

  void Write(std::string_view text) { ASSERT_TRUE(fake.files.WriteFile(kFile, text)); }
  // As the command does.
  bool Import(std::string_view text) {
    Write(text);
    DetermineReturnCharacters(kFile);
    return ImportMbox(kFile);
  }
  static std::string Message(std::string_view id, std::string_view groups,
                             std::string_view body = "text\n") {
    std::string text = "From someone\nMessage-ID: " + std::string(id) + "\nSubject: s\n";
    if (!groups.empty()) text.append("Newsgroups: ").append(groups).append("\n");
    return text.append("\n").append(body);
  }
  static std::string BodyOf(std::string_view id) {
    const auto article = FetchArticle(id);
    return article ? *article->body : "missing";
  }
  static std::string HeadersOf(std::string_view id) {
    const auto article = FetchArticle(id);
    return article ? *article->headers : "missing";
  }
  static std::uint32_t Total(std::size_t group) { return gReadInfo.at(group)->totalCount; }
  void SwitchProgress(std::uint32_t value) {
    Extensions after;
    after.importprogress = value;
    WriteExtensions({}, after);
  }

  int number_ = 0;
};

// --- Line ends -----------------------------------------------------------------------------------

class LineEndsTest : public ImportTest {
 protected:
  LineEnds Of(std::string_view text) {
    Write(text);
    DetermineReturnCharacters(kFile);
    return ImportLineEnds();
  }
};

TEST_F(LineEndsTest, TheFirstOneInTheFileDecides) {
  EXPECT_EQ(Of("a\nb\r").terminator, '\n');
  EXPECT_EQ(ImportLineEnds().skipped, '\r');
  EXPECT_EQ(Of("a\rb\n").terminator, '\r');
  EXPECT_EQ(ImportLineEnds().skipped, '\n');
  EXPECT_EQ(Of("a\r\nb").terminator, '\r');
  EXPECT_EQ(Of(std::string(200'000, 'x') + "\nb\r").terminator, '\n');
}

TEST_F(LineEndsTest, AFileWithoutAnyKeepsThoseOfTheLastImport) {
  Of("a\r");
  EXPECT_EQ(Of("abc").terminator, '\r');
  Of("a\n");
  EXPECT_EQ(Of("").terminator, '\n');
}

TEST_F(LineEndsTest, AFileThatCannotBeOpenedOrReadIsTold) {
  DetermineReturnCharacters(u"\\missing");
  fake.files.FailNth(port::FileCall::kReadSome, 1);
  Of("a\n");
  EXPECT_THAT(
      BoxTexts(),
      ElementsAre(u"An unexpected error (unknown (2)) occurred in DetermineReturnCharacters.",
                  u"An unexpected error (unknown (30)) occurred in DetermineReturnCharacters."));
}

// --- Lines ---------------------------------------------------------------------------------------

class LinesTest : public ImportTest {
 protected:
  std::vector<std::string> Lines(std::string_view text, LineEnds ends) {
    Write(text);
    std::uint32_t error = 0;
    MboxReader reader{.file = fake.files.OpenRead(kFile, error), .ends = ends};
    std::vector<std::string> lines;
    std::string line;
    LineRead read = LineRead::kLine;
    while ((read = ReadLine(reader, line)) != LineRead::kNothing) {
      EXPECT_EQ(read == LineRead::kLine, EndsWith(line, "\r\n"));
      lines.push_back(line);
      if (read == LineRead::kLastLine) break;
    }
    EXPECT_EQ(ReadLine(reader, line), LineRead::kNothing);
    EXPECT_EQ(reader.Position(), text.size());
    return lines;
  }
  static constexpr LineEnds kLf{'\n', '\r'};
  static constexpr LineEnds kCr{'\r', '\n'};
};

TEST_F(LinesTest, EveryLineEndsInCrLfWhateverTheFileUsed) {
  EXPECT_THAT(Lines("a\nb\n\nc\n", kLf), ElementsAre("a\r\n", "b\r\n", "\r\n", "c\r\n"));
  EXPECT_THAT(Lines("a\rb\r\rc\r", kCr), ElementsAre("a\r\n", "b\r\n", "\r\n", "c\r\n"));
  EXPECT_THAT(Lines("a\r\nb\r\n\r\nc\r\n", kCr), ElementsAre("a\r\n", "b\r\n", "\r\n", "c\r\n"));
}

TEST_F(LinesTest, TheLastLineWithoutOneHasNone) {
  EXPECT_THAT(Lines("a\nb", kLf), ElementsAre("a\r\n", "b"));
  EXPECT_THAT(Lines("a", kCr), ElementsAre("a"));
  EXPECT_THAT(Lines("", kLf), IsEmpty());
}

TEST_F(LinesTest, BytesPassedOverStandOnlyInFrontOfALine) {
  EXPECT_THAT(Lines("\r\r\ra\r\rb\n\r\r", kLf), ElementsAre("a\r\rb\r\n"));
  EXPECT_THAT(Lines("\r\r", kLf), IsEmpty());
  EXPECT_THAT(Lines("a\r\n\r\nb\r\n", kLf), ElementsAre("a\r\r\n", "\r\n", "b\r\r\n"));
}

// The file is read in pieces of 2,047 bytes.
TEST_F(LinesTest, TheBorderBetweenTwoPiecesIsNowhereSeen) {
  for (std::size_t length = 2040; length < 2052; ++length) {
    const std::string a(length, 'a');
    EXPECT_THAT(Lines(a + "\nb\n", kLf), ElementsAre(a + "\r\n", "b\r\n"));
    EXPECT_THAT(Lines(a + "\r\nb", kCr), ElementsAre(a + "\r\n", "b"));
    EXPECT_THAT(Lines(a + "\r\n\r\nb", kCr), ElementsAre(a + "\r\n", "\r\n", "b"));
    EXPECT_THAT(Lines(a, kLf), ElementsAre(a));
    EXPECT_THAT(Lines(std::string(length, '\r') + "b\n", kLf), ElementsAre("b\r\n"));
    EXPECT_THAT(Lines(a + a + a + "\n" + a, kLf), ElementsAre(a + a + a + "\r\n", a));
  }
}

TEST_F(LinesTest, ALineThatNoRecordTakesIsCut) {
  const std::string longest(std::size_t{64} << 20, 'a');
  const auto lines = Lines(longest + "bc\nd\n", kLf);
  ASSERT_THAT(lines, SizeIs(2));
  EXPECT_EQ(lines[0].size(), longest.size() + 2);
  EXPECT_TRUE(lines[0] == longest + "\r\n");
  EXPECT_EQ(lines[1], "d\r\n");
}

TEST_F(LinesTest, WithoutMemoryThereIsNoLineAndAReport) {
  Write(std::string(100'000, 'a') + "\nb\n");
  std::uint32_t error = 0;
  MboxReader reader{.file = fake.files.OpenRead(kFile, error), .ends = kLf};
  std::string line;
  testing::LimitNew(50'000);
  EXPECT_EQ(ReadLine(reader, line), LineRead::kNothing);
  testing::LimitNew(0);
  EXPECT_TRUE(reader.out_of_memory);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (out of memory) occurred in ReadLine."));
}

// --- The file ------------------------------------------------------------------------------------

TEST_F(ImportTest, AFileThatCannotBeOpenedIsToldByItsNumber) {
  EXPECT_FALSE(ImportMbox(u"\\missing"));
  fake.files.CreateFolder(u"\\folder");
  EXPECT_FALSE(ImportMbox(u"\\folder"));
  ASSERT_EQ(mkfifo(fake.files.NativePath(u"\\pipe").c_str(), 0600), 0);
  EXPECT_FALSE(ImportMbox(u"\\pipe"));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (unknown (2)) occurred in ImportMbox.",
                          u"An unexpected error (unknown (5)) occurred in ImportMbox.",
                          u"An unexpected error (unknown (5)) occurred in ImportMbox."));
}

TEST_F(ImportTest, WhatDoesNotBeginWithASeparatorIsNoMbox) {
  const std::string binary("\x7F\x45LF\0\1\2\3", 8);
  for (const std::string& text :
       {std::string(), std::string("\n"), std::string("from a\n\nx\n"), std::string("From\n"),
        std::string("From"), std::string(" From a\n"), std::string("\nFrom a\n"),
        std::string(">From a\n"), binary, std::string(5000, '\0')}) {
    fake.display.ForgetBoxes();
    EXPECT_FALSE(Import(text)) << text.substr(0, 10);
    EXPECT_THAT(BoxTexts(), ElementsAre(kNoMbox));
  }
  EXPECT_THAT(Chain(u"alt.test"), IsEmpty());
}

TEST_F(ImportTest, ASeparatorAloneIsAnMboxWithoutMessages) {
  EXPECT_TRUE(Import("From a"));
  EXPECT_TRUE(Import("From a\n"));
  EXPECT_TRUE(Import("From a\nSubject: head without an end\n"));
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_EQ(FirstKey(DatabaseIndex::kNewsgroups), std::nullopt);
}

TEST_F(ImportTest, MessagesGoToTheirGroups) {
  EXPECT_TRUE(Import(Message("<1@x>", "alt.test", "one\n\n") + Message("<2@x>", "comp.lang.misc") +
                     Message("<3@x>", "alt.test", "three")));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<3@x>", "<1@x>"));
  EXPECT_THAT(Chain(u"comp.lang.misc"), ElementsAre("<2@x>"));
  EXPECT_EQ(Total(0), 1U);
  EXPECT_EQ(Total(1), 2U);
  EXPECT_EQ(BodyOf("<1@x>"), "one\r\n\r\n");
  EXPECT_EQ(BodyOf("<2@x>"), "text\r\n");
  EXPECT_EQ(BodyOf("<3@x>"), "three");  // the file ends without a line end
  const auto article = FetchArticle("<2@x>");
  EXPECT_EQ(article->source, "<import>");
  EXPECT_EQ(article->articleNumber, 0U);
  EXPECT_EQ(article->read, 0U);
  EXPECT_EQ(article->reserved1, 1U);
  EXPECT_EQ(article->subject, "s");
  EXPECT_EQ(article->from, "<nobody>");
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(ImportTest, TheCountsAreCachedForEveryGroup) {
  Import(Message("<1@x>", "alt.test"));
  gReadInfo.clear();
  CountArticles();
  EXPECT_EQ(Total(0), 0U);
  EXPECT_EQ(Total(1), 1U);
  const auto cached = FetchValue(DatabaseIndex::kArticles, GroupKey(u"alt.test"));
  ASSERT_TRUE(cached);
  EXPECT_EQ(GetU32(*cached, 8), 1U);
}

TEST_F(ImportTest, EveryKindOfLineEndYieldsTheSameArticles) {
  const std::string text = Message("<1@x>", "alt.test", "a\n\n>From b\nc\n");
  for (const std::string_view line_end : {"\n", "\r\n", "\r"}) {
    std::string file;
    for (const char c : text) file.append(c == '\n' ? line_end : std::string_view(&c, 1));
    ASSERT_TRUE(Import(file));
    EXPECT_EQ(HeadersOf("<1@x>"), "From someone\r\nNewsgroups: alt.test\r");
    EXPECT_EQ(BodyOf("<1@x>"), "a\r\n\r\n>From b\r\nc\r\n");
    ASSERT_TRUE(DeleteArticle("<1@x>"));
  }
}

TEST_F(ImportTest, TheFirstSeparatorBelongsToTheFirstHeadAndTheOthersToNothing) {
  Import(Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test"));
  EXPECT_EQ(HeadersOf("<1@x>"), "From someone\r\nNewsgroups: alt.test\r");
  EXPECT_EQ(HeadersOf("<2@x>"), "Newsgroups: alt.test\r");
  EXPECT_EQ(BodyOf("<1@x>"), "text\r\n");
}

TEST_F(ImportTest, AllHeadersAreKeptWhateverThePreferencesSay) {
  gPrefs->keepheaders = 0;
  Import(Message("<1@x>", "alt.test"));
  EXPECT_EQ(HeadersOf("<1@x>"), "From someone\r\nNewsgroups: alt.test\r");
}

TEST_F(ImportTest, ASeparatorInAHeadIsOneOfItsLines) {
  Import("From a\nMessage-ID: <1@x>\nFrom b\nNewsgroups: alt.test\n\nx\n");
  EXPECT_EQ(HeadersOf("<1@x>"), "From a\r\nFrom b\r\nNewsgroups: alt.test\r");
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
}

TEST_F(ImportTest, ASeparatorInABodyBeginsAMessage) {
  Import(Message("<1@x>", "alt.test", "before\nFrom here on\nMessage-ID: <2@x>\n\nafter\n"));
  EXPECT_EQ(BodyOf("<1@x>"), "before\r\n");
  EXPECT_EQ(BodyOf("<2@x>"), "after\r\n");
  EXPECT_EQ(HeadersOf("<2@x>"), "");
}

TEST_F(ImportTest, QuotedSeparatorsStayAsTheyAre) {
  Import(Message("<1@x>", "alt.test", ">From a\n From b\nfrom c\nFrom\n"));
  EXPECT_EQ(BodyOf("<1@x>"), ">From a\r\n From b\r\nfrom c\r\nFrom\r\n");
}

TEST_F(ImportTest, AHeadWithoutALineEndsTheImport) {
  EXPECT_TRUE(Import(Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test", "From b\n\nx\n") +
                     Message("<3@x>", "alt.test")));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"The import file is corrupt. Bailing out after 2 articles."));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<2@x>", "<1@x>"));
  EXPECT_EQ(Total(1), 2U);
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

TEST_F(ImportTest, AFileCutInTheMiddleKeepsWhatItHas) {
  const std::string text = Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test", "12345");
  Import(text.substr(0, text.size() - 2));
  EXPECT_EQ(BodyOf("<2@x>"), "123");
  ASSERT_TRUE(DeleteArticle("<1@x>"));
  Import(text.substr(0, text.find("<2@x>") + 3));
  EXPECT_TRUE(ArticleExists("<1@x>"));
}

// --- Message-IDs ---------------------------------------------------------------------------------

TEST_F(ImportTest, WhatIsStoredAlreadyIsSkippedWholeAndNotCounted) {
  Import(Message("<1@x>", "alt.test", "old\n"));
  Import(Message("<1@x>", "alt.test,comp.lang.misc", "new\nFrom b\n\n") +
         Message("<2@x>", "alt.test"));
  // One skipped message, none imported, and the head without a line.
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"The import file is corrupt. Bailing out after 0 articles."));
  EXPECT_EQ(BodyOf("<1@x>"), "old\r\n");
  EXPECT_EQ(Total(0), 0U);
  EXPECT_EQ(Total(1), 1U);
  EXPECT_FALSE(ArticleExists("<2@x>"));
}

TEST_F(ImportTest, ASkippedLastMessageIsNotStored) {
  Import(Message("<1@x>", "alt.test", "a\n") + Message("<1@x>", "alt.test", "b\n"));
  EXPECT_EQ(BodyOf("<1@x>"), "a\r\n");
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
}

TEST_F(ImportTest, AMessageBehindASkippedOneIsImported) {
  Import(Message("<1@x>", "alt.test") + Message("<1@x>", "alt.test") +
         Message("<2@x>", "alt.test", "b\n"));
  EXPECT_EQ(BodyOf("<2@x>"), "b\r\n");
  EXPECT_EQ(Total(1), 2U);
}

TEST_F(ImportTest, OnlyTheFirstMessageWithoutAMessageIdIsStored) {
  const std::string text = "From a\nNewsgroups: alt.test\n\none\nFrom b\nSubject: x\n\ntwo\n";
  Import(text);
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<error-extracting-messageid>"));
  EXPECT_EQ(BodyOf("<error-extracting-messageid>"), "one\r\n");
}

TEST_F(ImportTest, ReferencesInACircleAreStoredAsTheyAre) {
  Import(
      "From a\nMessage-ID: <1@x>\nReferences: <1@x>\nNewsgroups: alt.test\n\n\n"
      "From a\nMessage-ID: <2@x>\nReferences: <0@x> <3@x>\nNewsgroups: alt.test\n\n\n"
      "From a\nMessage-ID: <3@x>\nReferences: <2@x>\nNewsgroups: alt.test\n\n\n");
  EXPECT_EQ(FetchArticle("<1@x>")->parentId, "<1@x>");
  EXPECT_EQ(FetchArticle("<2@x>")->parentId, "<3@x>");
  EXPECT_EQ(FetchArticle("<3@x>")->parentId, "<2@x>");
}

TEST_F(ImportTest, AnEmptyMessageIdIsOneToo) {
  EXPECT_TRUE(Import("From a\nMessage-ID: \nNewsgroups: alt.test,,\n\nx\n"));
  EXPECT_EQ(BodyOf(""), "x\r\n");
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre(""));
  EXPECT_THAT(Chain(u""), IsEmpty());
}

// --- Newsgroups ----------------------------------------------------------------------------------

TEST_F(ImportTest, EveryListedGroupOfALineGetsTheArticle) {
  Import(Message("<1@x>", "alt.test,comp.lang.misc"));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
  EXPECT_THAT(Chain(u"comp.lang.misc"), ElementsAre("<1@x>"));
  EXPECT_EQ(Total(0), 1U);
  EXPECT_EQ(Total(1), 1U);
  EXPECT_EQ(gPrefs->numgroups, 2U);
}

TEST_F(ImportTest, WithoutTheLineAnArticleIsInNoGroup) {
  Import(Message("<1@x>", ""));
  EXPECT_EQ(BodyOf("<1@x>"), "text\r\n");
  EXPECT_EQ(FirstKey(DatabaseIndex::kNewsgroups), std::nullopt);
  EXPECT_EQ(gPrefs->numgroups, 2U);
}

TEST_F(ImportTest, TheFirstOfTheUnknownGroupsIsAddedChecked) {
  SetAllChecked(*gPrefs, false);
  Import(Message("<1@x>", "de.test,de.other") + Message("<2@x>", "de.test"));
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"comp.lang.misc", u"alt.test", u"de.test"));
  EXPECT_THAT(gPrefs->checked, ElementsAre(0U, 0U, 1U));
  EXPECT_EQ(fake.registry.FindDword(kRegistryPath, u"numgroups"), 3U);
  ASSERT_THAT(gReadInfo, SizeIs(3));
  EXPECT_EQ(gReadInfo[2]->groupName, u"de.test");
  EXPECT_EQ(Total(2), 2U);
  EXPECT_THAT(Chain(u"de.test"), ElementsAre("<2@x>", "<1@x>"));
  EXPECT_THAT(Chain(u"de.other"), ElementsAre("<1@x>"));
}

TEST_F(ImportTest, AnAddedGroupIsCountedFromTheStore) {
  Import(Message("<1@x>", "de.test,alt.test") + Message("<2@x>", "alt.test,de.test"));
  EXPECT_EQ(gPrefs->numgroups, 2U);
  // From the time when the group was on the list before.
  CacheCounts(u"de.test", 0, 0);
  Import(Message("<3@x>", "de.test"));
  EXPECT_EQ(gPrefs->numgroups, 3U);
  EXPECT_EQ(Total(2), 3U);
  gReadInfo.clear();
  CountArticles();
  EXPECT_EQ(Total(2), 3U);
}

TEST_F(ImportTest, ABlankBehindACommaIsPartOfTheName) {
  Import(Message("<1@x>", "de.test, alt.test"));
  EXPECT_THAT(Chain(u" alt.test"), ElementsAre("<1@x>"));
  EXPECT_THAT(Chain(u"alt.test"), IsEmpty());
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"comp.lang.misc", u"alt.test", u"de.test"));
}

TEST_F(ImportTest, NamesAreComparedWithRegardToCase) {
  Import(Message("<1@x>", "Alt.Test"));
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"comp.lang.misc", u"alt.test", u"Alt.Test"));
  EXPECT_EQ(Total(1), 0U);
}

TEST_F(ImportTest, NothingBetweenCommasIsNoName) {
  for (const char* line : {"", ",", ",,,", ",alt.test,,"}) {
    EXPECT_TRUE(Import("From a\nMessage-ID: <" + std::to_string(++number_) +
                       "@x>\nNewsgroups: " + line + "\n\n"));
  }
  EXPECT_THAT(Chain(u"alt.test"), SizeIs(1));
  EXPECT_THAT(Chain(u""), IsEmpty());
  EXPECT_EQ(gPrefs->numgroups, 2U);
}

TEST_F(ImportTest, NamesOfOddBytesAreNames) {
  Import(Message("<1@x>", "\x81\xFF\x01 \"\\,alt"));
  EXPECT_THAT(gPrefs->groups, ElementsAre(u"comp.lang.misc", u"alt.test",
                                          std::u16string(u"\u0081\u00FF\u0001 \"\\")));
  EXPECT_EQ(Total(2), 1U);
}

TEST_F(ImportTest, ANameThatNoCommandHoldsIsNone) {
  const std::string longest(2047, 'g');
  Import(Message("<1@x>", longest + "g,alt.test"));
  EXPECT_EQ(gPrefs->numgroups, 2U);
  EXPECT_EQ(Total(1), 1U);
  Import(Message("<2@x>", longest));
  EXPECT_EQ(gPrefs->numgroups, 3U);
}

TEST_F(ImportTest, TenThousandNamesInOneLine) {
  std::string names;
  for (int i = 0; i < 10'000; ++i) names += FormatNarrow("g.%d,", i);
  Import(Message("<1@x>", names + "alt.test") + Message("<2@x>", names));
  EXPECT_THAT(Chain(u"g.9999"), ElementsAre("<2@x>", "<1@x>"));
  EXPECT_EQ(Total(1), 1U);
  EXPECT_EQ(gPrefs->numgroups, 3U);
  EXPECT_EQ(gPrefs->groups[2], u"g.0");
  EXPECT_EQ(Total(2), 2U);
}

TEST_F(ImportTest, AnArticleWithTheNameOfAGroupForItsIdGetsBrackets) {
  Import(Message("alt.test", "alt.test"));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<alt.test>"));
  EXPECT_EQ(Total(1), 1U);
}

TEST_F(ImportTest, AnArticleWithTheNameOfANewGroupForItsIdStays) {
  Import(Message("de.new", "de.new", "one\n") + Message("<2@x>", "de.new"));
  EXPECT_EQ(BodyOf("de.new"), "one\r\n");
  EXPECT_THAT(Chain(u"de.new"), ElementsAre("<2@x>", "de.new"));
  EXPECT_EQ(Total(2), 2U);
}

// --- Compression ---------------------------------------------------------------------------------

TEST_F(ImportTest, ArticlesAreCompressedAsThePreferencesSay) {
  LoadCompressionLibrary();
  gPrefs->usecompression = 1;
  Import(Message("<1@x>", "alt.test", std::string(5000, 'a') + "\n"));
  EXPECT_EQ(FetchValue(DatabaseIndex::kArticles, std::string("<1@x>\0", 6))->front(), 2);
  EXPECT_EQ(BodyOf("<1@x>"), std::string(5000, 'a') + "\r\n");
}

// --- What fails ----------------------------------------------------------------------------------

GdbmLibrary gRealLibrary;
int gStoresUntilFailure = 0;
int StoreThatFails(GDBM_FILE file, datum key, datum value, int flag) {
  return --gStoresUntilFailure == 0 ? -1 : gRealLibrary.store(file, key, value, flag);
}

class FaultyImportTest : public ImportTest {
 protected:
  FaultyImportTest() { gRealLibrary = gGdbm; }
  ~FaultyImportTest() override { gGdbm = gRealLibrary; }

  // What is in the store is on its chains, and the other way round; the counts are those of the
  // chains.
  static void ExpectWhole() {
    std::vector<std::string> on_chains;
    for (std::size_t i = 0; i < gPrefs->groups.size(); ++i) {
      const auto chain = Chain(gPrefs->groups[i]);
      EXPECT_EQ(Total(i), chain.size());
      on_chains.insert(on_chains.end(), chain.begin(), chain.end());
    }
    for (const char16_t* unlisted : {u"de.test", u"de.new"}) {
      const auto chain = Chain(unlisted);
      on_chains.insert(on_chains.end(), chain.begin(), chain.end());
    }
    for (const std::string& id : on_chains) EXPECT_TRUE(ArticleExists(id)) << id;
    for (int i = 1; i <= 3; ++i) {
      const std::string id = FormatNarrow("<%d@x>", i);
      EXPECT_EQ(ArticleExists(id), std::ranges::find(on_chains, id) != on_chains.end()) << id;
    }
  }
};

TEST_F(FaultyImportTest, AStoreThatIsRefusedAtAnyPointLeavesItWhole) {
  const std::string text = Message("<1@x>", "alt.test,comp.lang.misc,de.test") +
                           Message("<2@x>", "comp.lang.misc,alt.test") +
                           Message("<3@x>", "de.new,de.test");
  int failures = 0;
  for (int n = 1; n < 200; ++n) {
    gStoresUntilFailure = n;
    gGdbm.store = StoreThatFails;
    EXPECT_TRUE(Import(text));
    gGdbm = gRealLibrary;
    ExpectWhole();
    ASSERT_FALSE(HasFailure()) << n;
    if (gStoresUntilFailure > 0) break;
    ++failures;
    ASSERT_TRUE(DeleteDatabases(true));
    gPrefs = TestPrefs();
    OpenStore();
  }
  EXPECT_GE(failures, 15);
}

TEST_F(FaultyImportTest, MemoryThatRunsOutAtAnyPointLeavesItWhole) {
  gMainWindow = 0;
  const std::string text = Message("<1@x>", "alt.test,comp.lang.misc,de.test") +
                           Message("<2@x>", "comp.lang.misc,alt.test") +
                           Message("<3@x>", "de.new,de.test");
  Write(text);
  int n = 1;
  for (;; n += 3) {
    fake.display.ForgetBoxes();
    bool escaped = false;
    testing::FailNthNew(n);
    try {
      DetermineReturnCharacters(kFile);
      ImportMbox(kFile);
    } catch (const std::bad_alloc&) {
      escaped = true;  // for the command to tell
    }
    testing::FailNthNew(0);
    ExpectWhole();
    ASSERT_FALSE(HasFailure()) << n;
    if (!escaped && BoxTexts().empty() && gPrefs->numgroups == 3 && Total(0) == 2) break;
    ASSERT_TRUE(DeleteDatabases(true));
    gPrefs = TestPrefs();
    OpenStore();
  }
  EXPECT_GT(n, 50);
}

TEST_F(FaultyImportTest, AMessageThatIsRefusedForItselfIsToldAndTheNextOnesCome) {
  // The second store of an article: the article itself, its counter, its record and its head.
  gStoresUntilFailure = 5;
  gGdbm.store = StoreThatFails;
  Import(Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test") +
         Message("<3@x>", "alt.test"));
  gGdbm = gRealLibrary;
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<3@x>", "<1@x>"));
  EXPECT_EQ(Total(1), 2U);
}

TEST_F(ImportTest, AMessageThatNoRecordTakesIsToldAndTheNextOnesCome) {
  const std::string large = std::string(100'000'000, 'a') + "\n";
  Import(Message("<1@x>", "alt.test", large) + Message("<2@x>", "alt.test", "b\n"));
  EXPECT_THAT(BoxTexts(), ElementsAre(u"Error inserting GDBM article."));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<2@x>"));
  EXPECT_EQ(BodyOf("<2@x>"), "b\r\n");
}

TEST_F(ImportTest, AFullVolumeEndsTheImportOnceAndKeepsWhatIsStored) {
  std::string text;
  for (int i = 0; i < 200; ++i) text += Message(FormatNarrow("<%d@x>", i), "alt.test");
  int left = 30;
  fake.files.before_call = [&](port::FileCall call) {
    if (call == port::FileCall::kFreeSpace)
      fake.files.SetFreeSpace({--left > 0 ? 300'000ULL : 0ULL, 1'000'000'000});
  };
  Import(text);
  const auto chain = Chain(u"alt.test");
  EXPECT_GT(chain.size(), 10U);
  EXPECT_LT(chain.size(), 200U);
  EXPECT_EQ(Total(1), chain.size());
  for (const std::string& id : chain) EXPECT_TRUE(ArticleExists(id));
  EXPECT_FALSE(ArticleExists(FormatNarrow("<%d@x>", chain.size())));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(FormatWide(u"There is no free space left for the databases. The import "
                                     u"ended after %d articles.",
                                     chain.size())));
}

// One message for each of thousands of groups could not be left.
TEST_F(ImportTest, AGroupListThatCannotBeSavedEndsTheImport) {
  std::string text = Message("<0@x>", "alt.test");
  for (int i = 1; i < 10; ++i) text += Message(FormatNarrow("<%d@x>", i), FormatNarrow("de.%d", i));
  fake.registry.FailBegin(1);
  Import(text);
  EXPECT_THAT(BoxTexts(), SizeIs(1));
  EXPECT_TRUE(ArticleExists("<1@x>"));
  EXPECT_THAT(Chain(u"de.1"), ElementsAre("<1@x>"));
  EXPECT_FALSE(ArticleExists("<2@x>"));
  EXPECT_EQ(Total(1), 1U);
}

// The report closes the window, and the program ends.
TEST_F(ImportTest, ACriticalErrorEndsTheImportWithoutAnotherWord) {
  Write(Message("<0@x>", "de.new") + Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test"));
  DetermineReturnCharacters(kFile);
  fake.registry.FailCreate(1);
  gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
  SetProcedure(gMainWindow, [](const port::Message& message) {
    if (message.kind == port::MessageKind::kClose) CloseDatabases();
  });
  ImportMbox(kFile);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"A critical error (unable to create registry key) occurred in "
                          u"WritePreferences."));
}

TEST_F(ImportTest, AFileThatCannotBeReadToItsEndIsTold) {
  const std::string text = Message("<1@x>", "alt.test", std::string(3000, 'a') + "\n") +
                           Message("<2@x>", "alt.test", std::string(3000, 'b') + "\n");
  Write(text);
  DetermineReturnCharacters(kFile);
  fake.files.FailNth(port::FileCall::kReadSome, 4);
  EXPECT_TRUE(ImportMbox(kFile));
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (unknown (30)) occurred in ImportMbox."));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
  EXPECT_FALSE(ArticleExists("<2@x>"));
  fake.files.FailNth(port::FileCall::kReadSome, 1);
  EXPECT_FALSE(ImportMbox(kFile));
  EXPECT_THAT(BoxTexts(), SizeIs(2));
}

TEST_F(ImportTest, WithoutMemoryForALineWhatIsStoredStays) {
  Write(Message("<1@x>", "alt.test") +
        Message("<2@x>", "alt.test", std::string(10 << 20, 'a') + "\n"));
  DetermineReturnCharacters(kFile);
  SwitchProgress(0);
  testing::LimitNew(5 << 20);
  EXPECT_TRUE(ImportMbox(kFile));
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(),
              ElementsAre(u"An unexpected error (out of memory) occurred in ReadLine."));
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
  EXPECT_FALSE(ArticleExists("<2@x>"));
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
}

TEST_F(ImportTest, WithoutMemoryForATextTheImportEndsQuietly) {
  std::string body;
  for (int i = 0; i < 4000; ++i) body += std::string(1000, 'a') + "\n";
  Write(Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test", body));
  DetermineReturnCharacters(kFile);
  SwitchProgress(0);
  testing::LimitNew(2 << 20);
  EXPECT_TRUE(ImportMbox(kFile));
  testing::LimitNew(0);
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
  EXPECT_EQ(Total(1), 1U);
}

// --- The command ---------------------------------------------------------------------------------

class ImportCommandTest : public ImportTest {
 protected:
  ImportCommandTest() {
    gMainWindow = fake.display.CreateMainWindow({u"Quillet CE", u"t", 103, {240, 320}});
  }
  std::vector<std::uint32_t> PostedToMainWindow() {
    std::vector<std::uint32_t> ids;
    fake.HandleWaiting([&](const port::Message& message) {
      if (message.kind == port::MessageKind::kUser) ids.push_back(message.id);
    });
    return ids;
  }
};

TEST_F(ImportCommandTest, AsksForAFileAndRefreshesWhatIsShown) {
  Write(Message("<1@x>", "alt.test") + Message("<2@x>", "de.test"));
  fake.display.ExpectOpenFile(std::u16string(kFile));
  PostedToMainWindow();
  SeenChanges seen(Change::kStore);
  ImportCommand();
  ASSERT_THAT(fake.display.open_dialogs(), SizeIs(1));
  const port::OpenFileTraits asked = fake.display.open_dialogs().at(0);
  EXPECT_EQ(asked.title, u"Import file");
  EXPECT_EQ(asked.filter_text, u"All files (*.*)");
  EXPECT_EQ(asked.filter_pattern, u"*.*");
  EXPECT_EQ(asked.default_extension, u"*");
  EXPECT_THAT(Chain(u"alt.test"), ElementsAre("<1@x>"));
  EXPECT_THAT(gReadInfo, SizeIs(3));
  EXPECT_EQ(Total(2), 1U);
  EXPECT_TRUE(seen.OutOfDate());
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefillGroupList));
}

TEST_F(ImportCommandTest, TheLineEndsOfTheFileAreFoundFirst) {
  std::string text = Message("<1@x>", "alt.test");
  std::ranges::replace(text, '\n', '\r');
  Write(text);
  fake.display.ExpectOpenFile(std::u16string(kFile));
  ImportCommand();
  EXPECT_EQ(BodyOf("<1@x>"), "text\r\n");
}

TEST_F(ImportCommandTest, ACancelledDialogImportsNothing) {
  PostedToMainWindow();
  fake.display.ExpectOpenFile(std::nullopt);
  SeenChanges seen(Change::kStore);
  ImportCommand();
  EXPECT_FALSE(seen.OutOfDate());
  EXPECT_THAT(BoxTexts(), IsEmpty());
  EXPECT_THAT(PostedToMainWindow(), ElementsAre(kUserRefreshCounts, kUserRefillGroupList));
}

TEST_F(ImportCommandTest, AFileThatCannotBeOpenedIsToldByBothWhoTry) {
  fake.display.ExpectOpenFile(u"\\missing");
  ImportCommand();
  EXPECT_THAT(
      BoxTexts(),
      ElementsAre(u"An unexpected error (unknown (2)) occurred in DetermineReturnCharacters.",
                  u"An unexpected error (unknown (2)) occurred in ImportMbox."));
}

// --- Progress ------------------------------------------------------------------------------------

class ProgressTest : public ImportTest {
 protected:
  static std::string LargeFile() {
    std::string text;
    for (int i = 0; i < 20; ++i) {
      text += Message(FormatNarrow("<%d@x>", i), "alt.test", std::string(99'990, 'a') + "\n");
    }
    return text;
  }
};

TEST_F(ProgressTest, AFileAboveOneMegabyteShowsIt) {
  Import(LargeFile());
  EXPECT_THAT(Titles(), ElementsAre(u"Importing"));
  EXPECT_EQ(Details().back(), u"19 articles");
  EXPECT_THAT(Chain(u"alt.test"), SizeIs(20));
  EXPECT_EQ(Total(1), 20U);
}

TEST_F(ProgressTest, ASmallerOneDoesNot) {
  std::string text = Message("<1@x>", "alt.test", "");
  text += std::string((1 << 20) - text.size(), 'a');
  Import(text);
  EXPECT_THAT(Titles(), IsEmpty());
  Import(text + "a");
  EXPECT_THAT(Titles(), ElementsAre(u"Importing"));
}

TEST_F(ProgressTest, SwitchedOffThereIsTheWaitCursorOnly) {
  SwitchProgress(0);
  int depth = 0;
  fake.files.BeforeNth(port::FileCall::kReadSome, 100,
                       [&] { depth = fake.display.wait_cursor_depth(); });
  Import(LargeFile());
  EXPECT_THAT(Titles(), IsEmpty());
  EXPECT_EQ(depth, 1);
  EXPECT_EQ(fake.display.wait_cursor_depth(), 0);
  EXPECT_THAT(Chain(u"alt.test"), SizeIs(20));
}

TEST_F(ProgressTest, ACancelEndsItBetweenTwoMessages) {
  for (const int step : {0, 3, 10}) {
    fake.display.CancelProgressAfter(step);
    EXPECT_TRUE(Import(LargeFile()));
    const auto chain = Chain(u"alt.test");
    EXPECT_LT(chain.size(), 20U);
    EXPECT_GT(chain.size(), 0U);
    EXPECT_EQ(Total(1), chain.size());
    for (const std::string& id : chain) EXPECT_EQ(BodyOf(id), std::string(99'990, 'a') + "\r\n");
    EXPECT_THAT(BoxTexts(), IsEmpty());
    ASSERT_TRUE(DeleteDatabases(true));
    OpenStore();
  }
}

// An import without the dialog must not look at the abort flag of the operation before it.
TEST_F(ProgressTest, AnEarlierCancelDoesNotEndASmallImport) {
  gAbortRequested = 1;
  Import(Message("<1@x>", "alt.test") + Message("<2@x>", "alt.test"));
  gAbortRequested = 0;
  EXPECT_THAT(Chain(u"alt.test"), SizeIs(2));
}

TEST_F(ProgressTest, TheEndOfTheSessionEndsASmallImport) {
  std::string text;
  for (int i = 0; i < 20; ++i) {
    text += Message(FormatNarrow("<%d@x>", i), "alt.test", std::string(3000, 'a') + "\n");
  }
  fake.files.BeforeNth(port::FileCall::kReadSome, 10, [] { BeginSessionEnd(); });
  Import(text);
  EXPECT_GT(Chain(u"alt.test").size(), 0U);
  EXPECT_LT(Chain(u"alt.test").size(), 20U);
}

// --- Against the model ---------------------------------------------------------------------------

class RandomFiles : public ImportTest {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
  }
  std::string OneOf(const std::vector<std::string>& texts) { return texts[Below(texts.size())]; }

  std::string LineEnd(std::size_t kind) {
    if (kind == 3) kind = Below(12) < 10 ? 0 : Below(3);
    return kind == 0 ? "\n" : kind == 1 ? "\r\n" : "\r";
  }
  // Lengths around the pieces in which the file is read.
  std::string Text() {
    const std::size_t length = Below(20) == 0 ? 2030 + Below(40) : Below(30);
    std::string text;
    for (std::size_t i = 0; i < length; ++i) text += OneOf({"a", "b", " ", ":", "<", ">"});
    if (Below(30) == 0) text += OneOf({std::string(1, '\0'), "\r", "\n", "\xFF", "\x81"});
    return text;
  }
  std::string HeadLine() {
    const std::string group =
        OneOf({"alt.test", "comp.lang.misc", "de.a", "de.b", " alt.test", "", "Alt.test"});
    switch (Below(10)) {
      case 0:
      case 1:
        return OneOf({"Message-ID: ", "message-id:"}) + "<" + std::to_string(Below(40)) + "@x>";
      case 2:
      case 3:
        return "Newsgroups: " + group + OneOf({"", ",", ","}) +
               OneOf({"", "de.c", "alt.test", "de.a,de.b"});
      case 4:
        return OneOf({"Subject: ", "X-Subject: ", "From: ", "Date: ", "Reply-To:", "Reply-To: "}) +
               Text();
      case 5:
        return "References: <1@x> <" + std::to_string(Below(40)) + "@x>";
      default:
        return OneOf({"X: ", "From ", "", " "}) + Text();
    }
  }
  std::string File() {
    const std::size_t kind = Below(4);
    std::string file = Below(20) == 0 ? Text() : "From me" + LineEnd(kind);
    for (std::size_t messages = Below(12); messages > 0; --messages) {
      for (std::size_t i = 1 + Below(8); i > 0; --i) {
        const std::string line = HeadLine();
        if (!line.empty() || Below(10) == 0) file += line + LineEnd(kind);
      }
      file += LineEnd(kind);
      for (std::size_t i = Below(8); i > 0; --i) {
        file += OneOf({"", "", ">From ", "From", "x"}) + Text() + LineEnd(kind);
      }
      file += "From " + Text() + LineEnd(kind);
    }
    return file.substr(0, file.size() - Below(std::min<std::size_t>(file.size(), 40)));
  }

  void ExpectBox(ImportModel::End end, unsigned imported) {
    std::vector<std::u16string> expected;
    if (end == ImportModel::End::kNoMbox) expected.emplace_back(kNoMbox);
    if (end == ImportModel::End::kCorrupt) {
      expected.push_back(
          FormatWide(u"The import file is corrupt. Bailing out after %d articles.", imported));
    }
    EXPECT_EQ(BoxTexts(), expected);
    fake.display.ForgetBoxes();
  }
  void ExpectAsInModel(const ImportModel& model) {
    for (const auto& [id, message] : model.articles) {
      const auto article = FetchArticle(id);
      ASSERT_NE(article, nullptr) << id;
      EXPECT_EQ(message, (ImportedMessage{*article->headers, *article->body, *article->subject,
                                          *article->from, *article->parentId, *article->date,
                                          *article->replyTo}));
    }
    std::vector<std::string> groups;
    for (const std::u16string& group : gPrefs->groups) groups.push_back(Narrow(group));
    EXPECT_EQ(groups, model.groups);
    for (const auto& [group, ids] : model.chains) {
      EXPECT_EQ(Chain(Widen(group)), std::vector<std::string>(ids.rbegin(), ids.rend())) << group;
    }
    for (std::size_t i = 0; i < groups.size(); ++i) {
      const auto chain = model.chains.find(groups[i]);
      EXPECT_EQ(Total(i), chain == model.chains.end() ? 0 : chain->second.size()) << groups[i];
    }
    std::size_t stored = 0;
    for (auto key = FirstKey(DatabaseIndex::kArticles); key;
         key = NextKey(DatabaseIndex::kArticles, *key)) {
      if (FetchValue(DatabaseIndex::kArticles, *key)->size() != 12) ++stored;
    }
    EXPECT_EQ(stored, model.articles.size());
  }

  std::mt19937 random_{20240612};
};

TEST_F(RandomFiles, AreImportedAsTheModelSays) {
  int imported = 0;
  int ends[3] = {};
  for (int round = 0; round < 60; ++round) {
    gPrefs = TestPrefs();
    ASSERT_TRUE(DeleteDatabases(true));
    OpenStore();
    ImportModel model;
    model.groups = {"comp.lang.misc", "alt.test"};
    model.terminator = ImportLineEnds().terminator;
    for (int i = 0; i < 6; ++i) {
      const std::string file = File();
      model.Import(file);
      EXPECT_EQ(Import(file), model.end != ImportModel::End::kNoMbox);
      ExpectBox(model.end, model.imported);
      ++ends[static_cast<int>(model.end)];
      imported += static_cast<int>(model.imported);
    }
    ExpectAsInModel(model);
    ASSERT_FALSE(HasFailure()) << round;
  }
  // The files are of every kind.
  EXPECT_GT(imported, 500);
  for (const int count : ends) EXPECT_GT(count, 10);
}

}  // namespace
}  // namespace quillet
