// SPDX-License-Identifier: GPL-3.0-or-later
// What a recovery needs before it begins, and what it takes from a header that a killed writer
// left.
#include <gmock/gmock.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "tests/store/store_fixture.h"

namespace quillet {
namespace {

using ::testing::IsEmpty;

class RecoveryTest : public StoreTest {
 protected:
  static constexpr std::size_t kFreeCountOffset = 44;

  // A closed store with 300 articles and a table of free blocks that is not empty.
  RecoveryTest() {
    OpenStore();
    for (int i = 1; i <= 330; ++i) Add(u"alt.test", FormatNarrow("<%d@x>", i));
    for (int i = 301; i <= 330; ++i) {
      DeleteArticle(FormatNarrow("<%d@x>", i));
      RemoveFromGroupChain(u"alt.test", static_cast<std::uint32_t>(i));
    }
    CloseDatabases();
    whole = Contents();
  }

  std::string Native() { return fake.files.NativePath(DatabasePath(kArticles)); }
  std::string Contents() {
    std::ifstream file(Native(), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  void Overwrite(const std::string& bytes) {
    std::ofstream(Native(), std::ios::binary | std::ios::trunc) << bytes;
  }
  template <class Number>
  static void Put(std::string& bytes, std::size_t offset, Number number) {
    const auto raw = std::bit_cast<std::array<char, sizeof(Number)>>(number);
    bytes.replace(offset, raw.size(), raw.data(), raw.size());
  }
  static int ArticlesReadable() {
    int count = 0;
    for (int i = 1; i <= 300; ++i) count += FetchArticle(FormatNarrow("<%d@x>", i)) ? 1 : 0;
    return count;
  }

  std::string whole;
};

GdbmLibrary gBound;
std::set<std::string> gRecovered;  // the files, by their paths
int RecoverCounted(GDBM_FILE file, gdbm_recovery* recovery, int flags) {
  char* name = nullptr;
  if (gBound.setopt(file, GDBM_GETDBNAME, static_cast<void*>(&name), sizeof name) == 0) {
    gRecovered.insert(name);
    std::free(name);  // NOLINT: the library allocates it
  }
  return gBound.recover(file, recovery, flags);
}

TEST_F(RecoveryTest, NeedsRoomForTheFileAndSixtyFourKilobytes) {
  // As a writer leaves it that was killed after the file had grown.
  const std::string grown = whole + std::string(8192, '\0');
  constexpr std::uint64_t kSpare = 65536;
  gBound = gGdbm;
  gGdbm.recover = RecoverCounted;
  for (const bool room : {false, true}) {
    Overwrite(grown);
    fake.files.SetFreeSpace({grown.size() + kSpare - (room ? 0 : 1), 1'000'000'000});
    gRecovered.clear();
    OpenGDBMDatabases();
    EXPECT_EQ(gRecovered.contains(Native()), room);
    CloseDatabases();
    fake.files.Delete(gDatabaseFolder + u"\\Quillet databases in use");
  }
  gGdbm = gBound;
  ASSERT_TRUE(OpenGDBMDatabases());
  EXPECT_EQ(ArticlesReadable(), 300);
  EXPECT_THAT(BoxTexts(), IsEmpty());
}

TEST_F(RecoveryTest, OfABrokenTableOfFreeBlocksDoesWithoutTheTable) {
  for (const std::int32_t count : {-1, 0x7FFFFFFF, 100000}) {
    std::string broken = whole;
    Put(broken, kFreeCountOffset, count);
    Overwrite(broken);
    ASSERT_TRUE(OpenGDBMDatabases()) << count;
    EXPECT_EQ(ArticlesReadable(), 300) << count;
    EXPECT_THAT(BoxTexts(), IsEmpty()) << count;
    CloseDatabases();
  }
}

}  // namespace
}  // namespace quillet
