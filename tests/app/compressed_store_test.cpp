// SPDX-License-Identifier: GPL-3.0-or-later
// A store with compressed articles on a device that lacks the compression library.
#include <gmock/gmock.h>

#include "base/messages.h"
#include "store/compression.h"
#include "tests/app/reading_fixture.h"

namespace quillet {
namespace {

using ::testing::ElementsAre;

constexpr std::u16string_view kNoLibrary =
    u"Unable to load BZIP2 library. Compression will not be available.";
constexpr std::u16string_view kQuits =
    u"You have requested that an article be opened which contains compressed data, but the BZIP2 "
    u"DLL is not available. Quillet CE will now quit.";

class CompressedStore : public ReadingTest {
 protected:
  CompressedStore() {
    OpenStoreAgain();
    EXPECT_TRUE(BindCompressionLibrary());
    for (const char* id : {"<1@x>", "<2@x>", "<3@x>", "<4@x>", "<5@x>"}) Compress(id);
    CloseDatabases();
    UnloadCompressionLibrary();
    fake_.libraries.hide_library(u"bzip2ce.dll");
  }
  static void Compress(std::string_view id) {
    const auto article = FetchArticle(id);
    ASSERT_TRUE(article);
    const auto value = SerializeArticle(*article, SerializeMode::kCompress);
    ASSERT_TRUE(value);
    ASSERT_EQ(value->front(), 2);
    const std::string key = std::string(id) + '\0';
    ASSERT_TRUE(StoreValue(DatabaseIndex::kArticles, key, *value, StoreMode::kReplace));
  }
  Texts BoxTexts() {
    Texts texts;
    for (const auto& box : fake_.display.boxes()) texts.push_back(box.text);
    return texts;
  }
};

TEST_F(CompressedStore, OpeningAGroupSaysItOnceAndQuits) {
  StartAndWait();
  EXPECT_THAT(BoxTexts(), ElementsAre(kNoLibrary));
  EXPECT_EQ(Counts(0), u"4/4");
  EXPECT_TRUE(fake_.display.ActivateRow(0));
  Join();
  EXPECT_THAT(BoxTexts(), ElementsAre(kNoLibrary, kQuits));
  EXPECT_EQ(gMainWindow, 0U);
}

TEST_F(CompressedStore, NothingOfItIsLost) {
  StartAndWait();
  EXPECT_TRUE(fake_.display.ActivateRow(0));
  Join();
  fake_.libraries.show_all();
  fake_.display.ForgetBoxes();
  StartAndWait();
  EXPECT_EQ(Counts(0), u"4/4");
  EXPECT_EQ(Counts(1), u"1/1");
  OpenGroup(0);
  OpenArticle(u"Ann");
  EXPECT_TRUE(Shows(u"Text of Ann."));
  EXPECT_TRUE(fake_.display.boxes().empty());
  End();
}

TEST_F(CompressedStore, NewArticlesAreStoredPlainWithoutAWord) {
  SetDword(u"usecompression", 1);
  StartAndWait();
  OnProgramThread([] {
    Put(u"b", Written(6, "", "Fay", "New"));
    EXPECT_EQ(FetchValue(DatabaseIndex::kArticles, std::string("<6@x>\0", 6))->front(), 1);
  });
  EXPECT_THAT(BoxTexts(), ElementsAre(kNoLibrary));
  End();
}

}  // namespace
}  // namespace quillet
