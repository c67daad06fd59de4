// SPDX-License-Identifier: GPL-3.0-or-later
// What only the registry in a file can do wrong: damage, kills, permissions, full disks.
#include "port/linux/linux_registry.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "tests/port/linux_test_tools.h"
#include "util/little_endian.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::u16string_view kPath = u"Software\\Brindle\\Quillet";

std::string Data(LinuxRegistry& registry, std::u16string_view name) {
  const auto key = registry.Open(kPath);
  if (!key) return "(no key)";
  const auto value = key->Get(name);
  return value ? value->data : "(none)";
}

bool Put(LinuxRegistry& registry, std::u16string_view name, std::string_view data) {
  const auto key = registry.Create(kPath);
  return key && key->Set(name, RegistryType::kBinary, data);
}

// Runs SQL on a file from outside the registry; the first column of the last row.
std::string Sql(const std::string& file, const std::string& sql) {
  sqlite3* db = nullptr;
  std::string answer;
  EXPECT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
  const auto take = [](void* to, int, char** columns, char**) {
    if (columns[0] != nullptr) *static_cast<std::string*>(to) = columns[0];
    return 0;
  };
  char* message = nullptr;
  EXPECT_EQ(sqlite3_exec(db, sql.c_str(), take, &answer, &message), SQLITE_OK)
      << (message != nullptr ? message : "");
  sqlite3_free(message);
  sqlite3_close(db);
  return answer;
}

class LinuxRegistryTest : public testing::Test {
 protected:
  std::vector<std::string> Leftovers() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  // A file as a long life leaves it: several pages.
  void MakeLargeRegistry() const {
    LinuxRegistry registry(file_);
    for (char16_t i = 0; i < 200; ++i) {
      const std::u16string name = u"value" + std::u16string(1, static_cast<char16_t>(u'A' + i));
      ASSERT_TRUE(Put(registry, name, std::string(300, 'v')));
    }
  }
  // After damage: all calls are sound, and a new value can be kept.
  void ExpectUsable(const std::string& what) {
    LinuxRegistry registry(file_);
    if (const auto key = registry.Open(kPath)) {
      for (const auto& value : key->Values()) EXPECT_EQ(value.value.data.size(), 300U) << what;
    }
    EXPECT_TRUE(Put(registry, u"after", "new")) << what;
    EXPECT_EQ(Data(registry, u"after"), "new") << what;
  }

  TempFolder folder_;
  const std::string file_ = folder_ / "registry.db";
};

TEST_F(LinuxRegistryTest, ValuesSurviveTheEndOfTheRun) {
  {
    LinuxRegistry registry(file_);
    ASSERT_TRUE(Put(registry, u"Font", "Arial"));
  }
  LinuxRegistry registry(file_);
  EXPECT_EQ(Data(registry, u"font"), "Arial");
  EXPECT_EQ(registry.Open(kPath)->Values().at(0).name, u"Font");
  EXPECT_EQ(registry.SetAsidePath(), "");
}

TEST_F(LinuxRegistryTest, OpeningAMissingFileMakesNone) {
  LinuxRegistry registry(folder_ / "deep/registry.db");
  EXPECT_EQ(registry.Open(kPath), nullptr);
  EXPECT_TRUE(Leftovers().empty());
}

TEST_F(LinuxRegistryTest, FileAndFoldersAreTheUsersAlone) {
  const mode_t old = umask(0);
  LinuxRegistry registry(folder_ / "a/b/registry.db");
  ASSERT_TRUE(Put(registry, u"x", "1"));
  umask(old);
  EXPECT_EQ(ModeOf(folder_ / "a"), 0700U);
  EXPECT_EQ(ModeOf(folder_ / "a/b"), 0700U);
  EXPECT_EQ(ModeOf(folder_ / "a/b/registry.db"), 0600U);
  EXPECT_EQ(ModeOf(folder_ / "a/b/registry.db-wal"), 0600U);
  EXPECT_EQ(ModeOf(folder_ / "a/b/registry.db-shm"), 0600U);
}

TEST_F(LinuxRegistryTest, FileThatOthersMayReadIsClosedToThem) {
  { EXPECT_TRUE(LinuxRegistry(file_).Create(kPath)); }
  chmod(file_.c_str(), 0644);
  EXPECT_NE(LinuxRegistry(file_).Open(kPath), nullptr);
  EXPECT_EQ(ModeOf(file_), 0600U);
}

TEST_F(LinuxRegistryTest, LogOfAKilledProcessThatOthersMayReadIsClosedToThem) {
  LinuxRegistry killed(file_);
  ASSERT_TRUE(Put(killed, u"x", "1"));
  for (const char* suffix : {"", "-wal", "-shm"}) chmod((file_ + suffix).c_str(), 0644);
  LinuxRegistry registry(file_);
  EXPECT_EQ(Data(registry, u"x"), "1");
  for (const char* suffix : {"", "-wal", "-shm"}) EXPECT_EQ(ModeOf(file_ + suffix), 0600U);
}

TEST_F(LinuxRegistryTest, DamagedFileThatIsSetAsideAndTheNewOneAreTheUsersAlone) {
  WriteAll(file_, "this is no registry at all, but it may hold a password");
  chmod(file_.c_str(), 0644);
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"x", "1"));
  ASSERT_NE(registry.SetAsidePath(), "");
  EXPECT_EQ(ModeOf(registry.SetAsidePath()), 0600U);
  EXPECT_EQ(ModeOf(file_), 0600U);
}

TEST_F(LinuxRegistryTest, WritesGoToALogThatIsNotSyncedEachTime) {
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"x", "1"));
  EXPECT_EQ(Sql(file_, "PRAGMA journal_mode"), "wal");
  EXPECT_GT(std::filesystem::file_size(file_ + "-wal"), 0U);
}

// As earlier builds made it.
void MakeRegistryWithLargePages(const std::string& file) {
  {
    LinuxRegistry registry(file);
    EXPECT_TRUE(Put(registry, u"old", "kept"));
  }
  Sql(file, "PRAGMA journal_mode = DELETE; PRAGMA page_size = 4096; VACUUM");
  EXPECT_EQ(Sql(file, "PRAGMA page_size"), "4096");
}

TEST_F(LinuxRegistryTest, NewRegistryHasSmallPages) {
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"a", "1"));
  EXPECT_EQ(Sql(file_, "PRAGMA page_size"), "1024");
}

TEST_F(LinuxRegistryTest, LogStaysUnderAMegabyteInALongDownload) {
  for (const bool large_pages : {false, true}) {
    SCOPED_TRACE(large_pages);
    std::filesystem::remove(file_);
    if (large_pages) MakeRegistryWithLargePages(file_);
    LinuxRegistry registry(file_);
    const auto key = registry.Create(kPath);
    ASSERT_TRUE(key);
    std::uintmax_t largest = 0;
    for (int i = 0; i < 2000; ++i) {
      const std::string numbers(400 + static_cast<std::size_t>(i % 7) * 300, static_cast<char>(i));
      ASSERT_TRUE(key->Set(u"lastdownloaded", RegistryType::kBinary, numbers));
      largest = std::max(largest, std::filesystem::file_size(file_ + "-wal"));
    }
    EXPECT_LT(largest, 1'000'000U);
    EXPECT_GT(largest, 500'000U);  // and is not emptied all the time
    if (large_pages) {
      EXPECT_EQ(Data(registry, u"old"), "kept");
    }
  }
}

TEST_F(LinuxRegistryTest, LogIsMovedAtTheEndOfAKeysUseAndNotBefore) {
  {
    LinuxRegistry earlier(file_);
    ASSERT_TRUE(Put(earlier, u"a", "before"));
  }
  LinuxRegistry registry(file_);
  const auto in_the_file_alone = [this] {
    std::filesystem::copy_file(file_, folder_ / "copy.db",
                               std::filesystem::copy_options::overwrite_existing);
    return Sql(folder_ / "copy.db",
               "SELECT count(*) FROM registry_value WHERE data = CAST('last' AS BLOB)");
  };
  {
    const auto key = registry.Create(kPath);
    for (int i = 0; i < 500; ++i) {
      ASSERT_TRUE(key->Set(u"a", RegistryType::kBinary, std::to_string(i)));
    }
    ASSERT_TRUE(key->Set(u"a", RegistryType::kBinary, "last"));
    EXPECT_EQ(in_the_file_alone(), "0");
  }
  EXPECT_EQ(in_the_file_alone(), "1");
}

TEST_F(LinuxRegistryTest, LogThatALargeWriteMadeLongIsCutAfterwards) {
  LinuxRegistry registry(file_);
  const auto key = registry.Create(kPath);
  ASSERT_TRUE(key->Set(u"large", RegistryType::kBinary, std::string(5'000'000, 'x')));
  EXPECT_GT(std::filesystem::file_size(file_ + "-wal"), 5'000'000U);
  ASSERT_TRUE(key->Set(u"small", RegistryType::kBinary, "x"));
  EXPECT_LT(std::filesystem::file_size(file_ + "-wal"), 1'000'000U);
}

TEST_F(LinuxRegistryTest, PathWithOddCharactersIsTakenAsItIs) {
  const std::string odd = folder_ / "50% #1? file:x/registry.db";
  {
    LinuxRegistry registry(odd);
    ASSERT_TRUE(Put(registry, u"x", "1"));
  }
  EXPECT_TRUE(std::filesystem::exists(odd));
  LinuxRegistry again(odd);
  EXPECT_EQ(Data(again, u"x"), "1");
}

TEST_F(LinuxRegistryTest, EmptyFileBecomesARegistryInPlace) {
  WriteAll(file_, "");
  LinuxRegistry registry(file_);
  EXPECT_TRUE(Put(registry, u"x", "1"));
  EXPECT_EQ(registry.SetAsidePath(), "");
}

TEST_F(LinuxRegistryTest, FileThatIsNoDatabaseIsSetAsideUnchanged) {
  std::string rubbish(20000, '\0');
  std::mt19937 random(7);
  for (char& c : rubbish) c = static_cast<char>(random());
  WriteAll(file_, rubbish);
  LinuxRegistry registry(file_);
  EXPECT_EQ(registry.Open(kPath), nullptr);
  const std::string aside = registry.SetAsidePath();
  EXPECT_EQ(aside.rfind(file_ + ".damaged-20", 0), 0U) << aside;
  EXPECT_EQ(ReadAll(aside), rubbish);
  EXPECT_TRUE(Put(registry, u"x", "1"));
  EXPECT_EQ(Data(registry, u"x"), "1");
}

TEST_F(LinuxRegistryTest, SeveralDamagedFilesOfOneSecondAreAllKept) {
  for (const char* text : {"first", "second", "third"}) {
    for (const auto& name : Leftovers()) {
      if (name.rfind("registry.db.damaged", 0) != 0) std::filesystem::remove(folder_ / name);
    }
    WriteAll(file_, text);
    LinuxRegistry registry(file_);
    EXPECT_NE(registry.Create(kPath), nullptr);
    EXPECT_EQ(ReadAll(registry.SetAsidePath()), text);
  }
}

TEST_F(LinuxRegistryTest, DatabaseOfAnotherProgramIsSetAsideUnchanged) {
  Sql(file_, "CREATE TABLE bookmarks(x); INSERT INTO bookmarks VALUES('kept')");
  LinuxRegistry registry(file_);
  EXPECT_TRUE(Put(registry, u"x", "1"));
  ASSERT_NE(registry.SetAsidePath(), "");
  EXPECT_EQ(Sql(registry.SetAsidePath(), "SELECT x FROM bookmarks"), "kept");
  EXPECT_EQ(Sql(file_, "SELECT count(*) FROM sqlite_master WHERE name = 'bookmarks'"), "0");
}

TEST_F(LinuxRegistryTest, RegistryWithOtherColumnsOrALaterLayoutIsSetAside) {
  for (const char* change :
       {"DROP TABLE registry_value; CREATE TABLE registry_value(x)",
        "ALTER TABLE registry_key RENAME COLUMN folded TO bent", "PRAGMA user_version = 2"}) {
    std::filesystem::remove(file_);
    { EXPECT_NE(LinuxRegistry(file_).Create(kPath), nullptr); }
    Sql(file_, change);
    LinuxRegistry registry(file_);
    EXPECT_TRUE(Put(registry, u"x", "1")) << change;
    EXPECT_NE(registry.SetAsidePath(), "") << change;
  }
}

TEST_F(LinuxRegistryTest, FileCutAtAnyPlaceIsReadOrSetAside) {
  MakeLargeRegistry();
  const std::string whole = ReadAll(file_);
  ASSERT_GT(whole.size(), 40000U);
  for (std::size_t size = 1; size < whole.size(); size += whole.size() / 23) {
    WriteAll(file_, whole.substr(0, size));
    std::filesystem::remove(file_ + "-wal");
    std::filesystem::remove(file_ + "-shm");
    ExpectUsable("cut at " + std::to_string(size));
  }
}

TEST_F(LinuxRegistryTest, FlippedBytesAreReadOrSetAside) {
  MakeLargeRegistry();
  const std::string whole = ReadAll(file_);
  std::mt19937 random(11);
  for (int round = 0; round < 150; ++round) {
    std::string damaged = whole;
    // Structure sits at the start of pages, and the header of all at the start of the file.
    const std::size_t page = round < 50 ? 0 : random() % (whole.size() / 4096);
    const std::size_t at = page * 4096 + (round < 50 ? std::size_t(round) * 2
                                                     : random() % (round % 2 == 0 ? 100 : 4096));
    for (std::size_t i = 0; i < 1U + round % 4U; ++i)
      damaged[std::min(at + i, whole.size() - 1)] = '\xEE';
    WriteAll(file_, damaged);
    std::filesystem::remove(file_ + "-wal");
    std::filesystem::remove(file_ + "-shm");
    LinuxRegistry registry(file_);
    if (const auto key = registry.Open(kPath)) key->Values();
    EXPECT_TRUE(Put(registry, u"after", "new")) << "flipped at " << at;
    EXPECT_EQ(Data(registry, u"after"), "new") << "flipped at " << at;
  }
}

TEST_F(LinuxRegistryTest, DamagedLogIsIgnoredFromTheDamageOn) {
  MakeLargeRegistry();
  WriteAll(file_ + "-wal", std::string(9000, '\x5A'));
  LinuxRegistry registry(file_);
  EXPECT_EQ(Data(registry, u"valueA"), std::string(300, 'v'));
  EXPECT_EQ(registry.SetAsidePath(), "");
}

// The log holds the youngest settings, and left in its place it would be taken for the new file's.
// It is still there when another process has the file open too.
TEST_F(LinuxRegistryTest, TheLogOfAFileThatIsSetAsideGoesWithIt) {
  MakeLargeRegistry();
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "PRAGMA user_version = 2; UPDATE registry_value SET data = x'37'",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  const std::string log = ReadAll(file_ + "-wal");
  ASSERT_GT(log.size(), 4096U);
  {
    LinuxRegistry registry(file_);
    EXPECT_EQ(registry.Open(kPath), nullptr);
    ASSERT_NE(registry.SetAsidePath(), "");
    EXPECT_EQ(ReadAll(registry.SetAsidePath() + "-wal"), log);
    EXPECT_TRUE(Put(registry, u"x", "1"));
    EXPECT_EQ(registry.Open(kPath)->Values().size(), 1U);
  }
  sqlite3_close(other);
  EXPECT_EQ(Sql(file_, "SELECT count(*) FROM registry_value"), "1");
}

TEST_F(LinuxRegistryTest, ValuesWithWrongColumnTypesAreMissing) {
  {
    LinuxRegistry registry(file_);
    for (const char16_t* name : {u"a", u"b", u"c", u"d", u"e", u"good"}) Put(registry, name, "1");
  }
  Sql(file_,
      "UPDATE registry_value SET type = 'three' WHERE folded = 'a';"
      "UPDATE registry_value SET type = 99 WHERE folded = 'b';"
      "UPDATE registry_value SET type = 2.5 WHERE folded = 'c';"
      "UPDATE registry_value SET data = 'text' WHERE folded = 'd';"
      "UPDATE registry_value SET data = 7, name = x'FF' WHERE folded = 'e'");
  LinuxRegistry registry(file_);
  for (const char16_t* name : {u"a", u"b", u"c", u"d", u"e"})
    EXPECT_EQ(Data(registry, name), "(none)");
  const auto values = registry.Open(kPath)->Values();
  ASSERT_EQ(values.size(), 1U);
  EXPECT_EQ(values[0].name, u"good");
  EXPECT_TRUE(Put(registry, u"a", "2"));
  EXPECT_EQ(Data(registry, u"a"), "2");
}

TEST_F(LinuxRegistryTest, FolderThatCannotBeWrittenGivesNoKey) {
  const std::string folder = folder_ / "closed";
  std::filesystem::create_directory(folder);
  chmod(folder_.path().c_str(), 0755);
  chmod(folder.c_str(), 0555);
  const PlainUser user;
  LinuxRegistry registry(folder + "/registry.db");
  EXPECT_EQ(registry.Open(kPath), nullptr);
  EXPECT_EQ(registry.Create(kPath), nullptr);
  LinuxRegistry deeper(folder + "/deeper/registry.db");
  EXPECT_EQ(deeper.Create(kPath), nullptr);
}

TEST_F(LinuxRegistryTest, ReadOnlyRegistryIsReadAndRefusesWrites) {
  const std::string folder = folder_ / "closed";
  const std::string file = folder + "/registry.db";
  {
    LinuxRegistry registry(file);
    ASSERT_TRUE(Put(registry, u"x", "1"));
  }
  chmod(folder_.path().c_str(), 0755);
  chmod(file.c_str(), 0444);
  chmod(folder.c_str(), 0555);
  {
    const PlainUser user;
    LinuxRegistry registry(file);
    EXPECT_EQ(Data(registry, u"x"), "1");
    EXPECT_FALSE(Put(registry, u"x", "2"));
    EXPECT_EQ(registry.Create(u"Software\\New"), nullptr);
    const auto key = registry.Open(kPath);
    ASSERT_NE(key, nullptr);
    EXPECT_FALSE(key->Begin());
    EXPECT_FALSE(key->DeleteSubkey(u"x"));
    EXPECT_EQ(Data(registry, u"x"), "1");
    EXPECT_EQ(registry.SetAsidePath(), "");
  }
  chmod(folder.c_str(), 0755);
}

// --- What is in the way --------------------------------------------------------------------------

// Neither opened nor made; the reason names the file.
void ExpectObstacle(const std::string& file, const std::string& reason) {
  SCOPED_TRACE(reason);
  LinuxRegistry registry(file);
  EXPECT_EQ(registry.Open(kPath), nullptr);
  EXPECT_EQ(registry.Create(kPath), nullptr);
  EXPECT_EQ(registry.Obstacle(), FromUtf8('"' + file + "\" " + reason));
  EXPECT_EQ(registry.SetAsidePath(), "");
}

TEST_F(LinuxRegistryTest, NothingIsInTheWayOfARegistryNorOfNone) {
  LinuxRegistry registry(file_);
  EXPECT_EQ(registry.Obstacle(), u"");
  EXPECT_FALSE(std::filesystem::exists(file_));
  EXPECT_TRUE(Put(registry, u"x", "1"));
  EXPECT_EQ(registry.Obstacle(), u"");
  EXPECT_EQ(LinuxRegistry(file_).Obstacle(), u"");
  const std::string link = folder_ / "link.db";
  std::filesystem::create_symlink(file_, link);
  EXPECT_EQ(LinuxRegistry(link).Obstacle(), u"");
}

TEST_F(LinuxRegistryTest, AFolderIsInTheWay) {
  std::filesystem::create_directory(file_);
  ExpectObstacle(file_, "is not a regular file");
}

TEST_F(LinuxRegistryTest, ALinkThatLeadsNowhereIsInTheWay) {
  std::filesystem::create_symlink(folder_ / "gone", file_);
  ExpectObstacle(file_, "is a link that leads nowhere");
  EXPECT_FALSE(std::filesystem::exists(folder_ / "gone"));
  std::filesystem::remove(file_);
  std::filesystem::create_symlink(file_, file_);
  ExpectObstacle(file_, "is a link that leads nowhere");
}

// Reading from a pipe that nobody writes to would wait for ever.
TEST_F(LinuxRegistryTest, APipeIsRefusedAndNeverWaitedFor) {
  const StopWatch watch;
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) {
    const std::string file = folder_ / ("pipe" + std::string(suffix) + ".db");
    { EXPECT_TRUE(*suffix == '\0' || Put(*std::make_unique<LinuxRegistry>(file), u"x", "1")); }
    ASSERT_EQ(mkfifo((file + suffix).c_str(), 0666), 0);
    LinuxRegistry registry(file);
    EXPECT_EQ(registry.Open(kPath), nullptr);
    EXPECT_EQ(registry.Create(kPath), nullptr);
    EXPECT_EQ(registry.Obstacle(), FromUtf8('"' + file + suffix + "\" is not a regular file"));
    std::filesystem::remove(file + suffix);
    EXPECT_TRUE(Put(registry, u"y", "1"));
    EXPECT_EQ(registry.Obstacle(), u"");
  }
  EXPECT_LT(watch.Milliseconds(), 10000);
}

TEST_F(LinuxRegistryTest, ASocketAndADeviceAreRefusedAndKeepTheirModes) {
  const int server = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(file_.size(), sizeof address.sun_path);
  std::copy(file_.begin(), file_.end(), address.sun_path);
  ASSERT_EQ(bind(server, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(chmod(file_.c_str(), 0755), 0);
  ExpectObstacle(file_, "is not a regular file");
  EXPECT_EQ(std::filesystem::status(file_).permissions(), std::filesystem::perms{0755});
  close(server);
  std::filesystem::remove(file_);
  const auto before = std::filesystem::status("/dev/zero").permissions();
  std::filesystem::create_symlink("/dev/zero", file_);
  ExpectObstacle(file_, "is not a regular file");
  EXPECT_EQ(std::filesystem::status("/dev/zero").permissions(), before);
}

TEST_F(LinuxRegistryTest, AFileThatMayNotBeReadIsInTheWay) {
  {
    LinuxRegistry registry(file_);
    ASSERT_TRUE(Put(registry, u"x", "1"));
  }
  const std::string closed = folder_ / "closed";
  std::filesystem::create_directory(closed);
  chmod(folder_.path().c_str(), 0755);
  chmod(file_.c_str(), 0);
  chmod(closed.c_str(), 0);
  {
    const PlainUser user;
    ExpectObstacle(file_, "may not be read");
    ExpectObstacle(closed + "/registry.db", "cannot be reached");
  }
  chmod(file_.c_str(), 0600);
  chmod(closed.c_str(), 0700);
  LinuxRegistry registry(file_);
  EXPECT_EQ(Data(registry, u"x"), "1");
}

TEST_F(LinuxRegistryTest, AProcessThatKeepsTheFileIsInTheWayUntilItLetsGo) {
  {
    LinuxRegistry registry(file_);
    ASSERT_TRUE(Put(registry, u"x", "1"));
  }
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE", nullptr,
                         nullptr, nullptr),
            SQLITE_OK);
  LinuxRegistry registry(file_);
  const StopWatch watch;
  EXPECT_EQ(registry.Obstacle(), FromUtf8('"' + file_ + "\" is in use by another program"));
  EXPECT_LT(watch.Milliseconds(), 8000);
  sqlite3_close(other);
  EXPECT_EQ(registry.Obstacle(), u"");
  EXPECT_EQ(Data(registry, u"x"), "1");
  EXPECT_EQ(registry.SetAsidePath(), "");
}

TEST_F(LinuxRegistryTest, DamageThatCannotBeSetAsideIsInTheWay) {
  const std::string folder = folder_ / "closed";
  const std::string file = folder + "/registry.db";
  std::filesystem::create_directory(folder);
  WriteAll(file, std::string(5000, 'x'));
  chmod(folder_.path().c_str(), 0755);
  chmod(file.c_str(), 0666);
  chmod(folder.c_str(), 0555);
  {
    const PlainUser user;
    ExpectObstacle(file, "is damaged and cannot be set aside");
  }
  chmod(folder.c_str(), 0755);
  EXPECT_EQ(ReadAll(file), std::string(5000, 'x'));
}

// --- Disks and other processes -------------------------------------------------------------------

// The disk is full for this process as long as the scope lasts.
class FullDisk {
 public:
  explicit FullDisk(rlim_t file_limit) {
    signal(SIGXFSZ, SIG_IGN);
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit limit{file_limit, old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() { setrlimit(RLIMIT_FSIZE, &old_); }

 private:
  rlimit old_{};
};

TEST_F(LinuxRegistryTest, FullDiskRefusesTheWriteAndKeepsTheOldValue) {
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"x", "old"));
  {
    const FullDisk full(60000);
    EXPECT_FALSE(Put(registry, u"x", std::string(500000, 'n')));
    EXPECT_EQ(Data(registry, u"x"), "old");
  }
  EXPECT_TRUE(Put(registry, u"x", std::string(500000, 'n')));
  EXPECT_EQ(Data(registry, u"x").size(), 500000U);
}

TEST_F(LinuxRegistryTest, FullDiskInATransactionLeavesNothingOfIt) {
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"a", "old"));
  auto key = registry.Create(kPath);
  {
    ASSERT_TRUE(key->Begin());
    key->Set(u"a", RegistryType::kBinary, "new");
    const FullDisk full(60000);
    key->Set(u"b", RegistryType::kBinary, std::string(500000, 'n'));
    key->Set(u"c", RegistryType::kBinary, "new");
    EXPECT_FALSE(key->Commit());
  }
  EXPECT_EQ(Data(registry, u"a"), "old");
  EXPECT_EQ(Data(registry, u"b"), "(none)");
  EXPECT_EQ(Data(registry, u"c"), "(none)");
  EXPECT_TRUE(key->Set(u"a", RegistryType::kBinary, "newer"));
  EXPECT_EQ(Data(registry, u"a"), "newer");
}

TEST_F(LinuxRegistryTest, WriteThatAnotherProcessHoldsUpFailsAfterAWhile) {
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"x", "1"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  const StopWatch watch;
  EXPECT_FALSE(Put(registry, u"x", "2"));
  EXPECT_LT(watch.Milliseconds(), 5000);
  EXPECT_EQ(Data(registry, u"x"), "1");
  sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
  EXPECT_TRUE(Put(registry, u"x", "2"));
  sqlite3_close(other);
}

TEST_F(LinuxRegistryTest, WriteWaitsForAnotherProcessThatLetsGoInTime) {
  LinuxRegistry registry(file_);
  ASSERT_TRUE(Put(registry, u"x", "1"));
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(file_.c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  std::thread lets_go([other] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_EQ(sqlite3_exec(other, "COMMIT", nullptr, nullptr, nullptr), SQLITE_OK);
  });
  EXPECT_TRUE(Put(registry, u"x", "2"));
  lets_go.join();
  EXPECT_EQ(Data(registry, u"x"), "2");
  sqlite3_close(other);
}

TEST_F(LinuxRegistryTest, KillInATransactionLosesOnlyThatTransaction) {
  std::array<int, 2> pipe_ends{};
  ASSERT_EQ(pipe(pipe_ends.data()), 0);
  Child child([&] {
    LinuxRegistry registry(file_);
    Put(registry, u"before", "kept");
    auto key = registry.Create(kPath);
    key->Begin();
    key->Set(u"before", RegistryType::kBinary, "changed");
    for (char16_t c = u'a'; c <= u'z'; ++c) {
      key->Set(std::u16string(1, c), RegistryType::kBinary, std::string(100000, 'x'));
    }
    [[maybe_unused]] const auto written = write(pipe_ends[1], "!", 1);
    pause();
  });
  char ready = 0;
  ASSERT_EQ(read(pipe_ends[0], &ready, 1), 1);
  child.Kill();
  LinuxRegistry registry(file_);
  EXPECT_EQ(Data(registry, u"before"), "kept");
  EXPECT_EQ(registry.Open(kPath)->Values().size(), 1U);
  EXPECT_EQ(registry.SetAsidePath(), "");
  close(pipe_ends[0]);
  close(pipe_ends[1]);
}

TEST_F(LinuxRegistryTest, EveryWriteThatReturnedSurvivesAKill) {
  for (int round = 0; round < 5; ++round) {
    std::array<int, 2> pipe_ends{};
    ASSERT_EQ(pipe(pipe_ends.data()), 0);
    Child child([&] {
      close(pipe_ends[0]);
      LinuxRegistry registry(file_);
      const auto key = registry.Create(kPath);
      for (std::uint32_t i = 1;; ++i) {
        std::string number;
        AppendU32(number, i);
        if (!key->Set(u"count", RegistryType::kDword, number)) _exit(1);
        if (write(pipe_ends[1], number.data(), number.size()) != 4) _exit(1);
      }
    });
    close(pipe_ends[1]);
    std::uint32_t last = 0;
    std::string number(4, '\0');
    for (int i = 0; i < 300 * (round + 1); ++i) {
      ASSERT_EQ(read(pipe_ends[0], number.data(), 4), 4);
    }
    child.Kill();
    last = GetU32(number, 0);
    while (read(pipe_ends[0], number.data(), 4) == 4) last = GetU32(number, 0);
    close(pipe_ends[0]);
    LinuxRegistry registry(file_);
    const std::string stored = Data(registry, u"count");
    ASSERT_EQ(stored.size(), 4U);
    EXPECT_GE(GetU32(stored, 0), last);
    EXPECT_LE(GetU32(stored, 0), last + 1);
    EXPECT_EQ(registry.SetAsidePath(), "");
  }
}

TEST_F(LinuxRegistryTest, KeysMayBeUsedOnSeveralThreads) {
  LinuxRegistry registry(file_);
  std::vector<std::thread> threads;
  for (char16_t t = 0; t < 4; ++t) {
    threads.emplace_back([&registry, t] {
      const auto key = registry.Create(u"S\\" + std::u16string(1, static_cast<char16_t>(u'a' + t)));
      ASSERT_NE(key, nullptr);
      for (int i = 0; i < 200; ++i) {
        const std::string data = std::to_string(t) + "/" + std::to_string(i);
        EXPECT_TRUE(key->Set(u"x", RegistryType::kBinary, data));
        EXPECT_EQ(key->Get(u"x")->data, data);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST_F(LinuxRegistryTest, KeyOutlivesTheRegistry) {
  std::unique_ptr<RegistryKey> key;
  {
    LinuxRegistry registry(file_);
    key = registry.Create(kPath);
  }
  EXPECT_TRUE(key->Set(u"x", RegistryType::kBinary, "1"));
  EXPECT_EQ(key->Get(u"x")->data, "1");
}

}  // namespace
}  // namespace quillet::port
