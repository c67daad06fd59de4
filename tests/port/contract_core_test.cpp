// SPDX-License-Identifier: GPL-3.0-or-later
// Clock, files and libraries: the same cases on the real services and on the in-memory device.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "port/fake/fake_platform.h"
#include "port/linux/linux_clock.h"
#include "port/linux/linux_files.h"
#include "port/linux/linux_libraries.h"
#include "util/text.h"

namespace quillet::port {
namespace {

// --- clock ---

template <class T>
class ClockContract : public testing::Test {
 protected:
  T clock;
};
using Clocks = testing::Types<LinuxClock, FakeClock>;
TYPED_TEST_SUITE(ClockContract, Clocks);

void ExpectValid(const CalendarTime& time) {
  EXPECT_GE(time.year, 2024);
  EXPECT_TRUE(time.month >= 1 && time.month <= 12) << time.month;
  EXPECT_TRUE(time.day >= 1 && time.day <= 31) << time.day;
  EXPECT_TRUE(time.hour >= 0 && time.hour <= 23) << time.hour;
  EXPECT_TRUE(time.minute >= 0 && time.minute <= 59) << time.minute;
  EXPECT_TRUE(time.second >= 0 && time.second <= 60) << time.second;
  EXPECT_TRUE(time.millisecond >= 0 && time.millisecond <= 999) << time.millisecond;
  const std::chrono::year_month_day date(std::chrono::year(time.year),
                                         std::chrono::month(static_cast<unsigned>(time.month)),
                                         std::chrono::day(static_cast<unsigned>(time.day)));
  EXPECT_EQ(std::chrono::weekday(std::chrono::sys_days(date)).c_encoding(),
            static_cast<unsigned>(time.day_of_week));
}

TYPED_TEST(ClockContract, TimesAreValidCalendarTimes) {
  ExpectValid(this->clock.LocalTime());
  ExpectValid(this->clock.UtcTime());
}

TYPED_TEST(ClockContract, TicksNeverGoBackAndSleepMovesThem) {
  const std::uint64_t start = this->clock.Ticks();
  EXPECT_GE(this->clock.Ticks(), start);
  this->clock.Sleep(20);
  EXPECT_GE(this->clock.Ticks(), start + 20);
  EXPECT_LT(this->clock.Ticks(), start + 20000);
}

TYPED_TEST(ClockContract, SleepingZeroReturns) {
  this->clock.Sleep(0);
}

TEST(LinuxClock, FollowsTheZoneOfTheUser) {
  LinuxClock clock;
  const char* old = std::getenv("TZ");
  const std::string kept = old ? old : "";
  setenv("TZ", "XXX-5:30", 1);
  const CalendarTime local = clock.LocalTime();
  const CalendarTime utc = clock.UtcTime();
  if (old) {
    setenv("TZ", kept.c_str(), 1);
  } else {
    unsetenv("TZ");
  }
  const int difference = (local.hour * 60 + local.minute) - (utc.hour * 60 + utc.minute);
  // A minute may pass between the two readings.
  EXPECT_TRUE((difference + 1441) % 1440 == 331 || (difference + 1440) % 1440 == 329) << difference;
}

TEST(LinuxClock, AnInterruptedSleepGoesOn) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  struct sigaction old {};
  sigaction(SIGUSR1, &action, &old);
  LinuxClock clock;
  const pthread_t self = pthread_self();
  std::thread disturber([&] {
    for (int i = 0; i < 5; ++i) {
      clock.Sleep(5);
      pthread_kill(self, SIGUSR1);
    }
  });
  const std::uint64_t start = clock.Ticks();
  clock.Sleep(80);
  EXPECT_GE(clock.Ticks(), start + 80);
  disturber.join();
  sigaction(SIGUSR1, &old, nullptr);
}

TEST(FakeClock, StartsWhereItSaysAndMovesByHand) {
  FakeClock clock;
  EXPECT_EQ(clock.LocalTime(), (CalendarTime{2024, 1, 2, 2, 12, 0, 0, 0}));
  EXPECT_EQ(clock.UtcTime(), (CalendarTime{2024, 1, 2, 2, 10, 0, 0, 0}));
  clock.SetLocalTime({2024, 2, 0, 28, 23, 59, 59, 999});
  clock.Advance(1);
  EXPECT_EQ(clock.LocalTime(), (CalendarTime{2024, 2, 4, 29, 0, 0, 0, 0}));
  clock.Sleep(2000);
  EXPECT_EQ(clock.sleeps(), std::vector<std::uint32_t>{2000});
  EXPECT_EQ(clock.LocalTime().second, 2);
}

// --- files ---

// A data folder that does not exist yet below a private folder, and a folder of cards.
class FilesContract : public testing::TestWithParam<bool> {
 protected:
  FilesContract() {
    if (!GetParam()) return;
    std::string name = testing::TempDir() + "quillet-files-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) return;
    root_ = name;
    std::filesystem::create_directory(root_ + "/cards");
    data_ = root_ + "/home/user/data";
    real_ =
        std::make_unique<LinuxFiles>(data_, CardRoots{{root_ + "/none", root_ + "/cards"}, false});
  }
  ~FilesContract() override {
    if (!root_.empty()) std::filesystem::remove_all(root_);
  }

  Files& files() { return real_ ? static_cast<Files&>(*real_) : fake_; }
  std::string data_folder() const { return real_ ? data_ : fake_.data_folder(); }
  void AddCard(const std::u16string& name) {
    if (real_) {
      std::filesystem::create_directory(root_ + "/cards/" + ToUtf8(name));
    } else {
      fake_.AddCard(name);
    }
  }
  // The names in a native folder.
  static std::vector<std::string> NamesIn(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }
  static unsigned ModeOf(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
  }

 private:
  FakeFiles fake_;
  std::string root_;
  std::string data_;
  std::unique_ptr<LinuxFiles> real_;
};

INSTANTIATE_TEST_SUITE_P(Devices, FilesContract, testing::Values(true, false),
                         [](const auto& device) { return device.param ? "Linux" : "Fake"; });

TEST_P(FilesContract, PathsLieBelowTheDataFolder) {
  EXPECT_EQ(files().NativePath(u"\\"), data_folder());
  EXPECT_EQ(files().NativePath(u"\\Quillet CE News\\Quillet articles.gdb"),
            data_folder() + "/Quillet CE News/Quillet articles.gdb");
  EXPECT_EQ(files().NativePath(u"\\Zürich \U0001F600"),
            data_folder() + "/Z\xC3\xBCrich \xF0\x9F\x98\x80");
}

TEST_P(FilesContract, DoubledAndTrailingBackslashesMeanOne) {
  EXPECT_EQ(files().NativePath(u"\\\\News\\\\a.gdb"), data_folder() + "/News/a.gdb");
  EXPECT_EQ(files().NativePath(u"\\News\\"), data_folder() + "/News");
  EXPECT_EQ(files().NativePath(u"News"), data_folder() + "/News");
}

const std::vector<std::u16string> kRefusedPaths = {
    u"",
    u"\\..",
    u"\\.",
    u"\\News\\..\\..\\etc",
    u"\\News\\.",
    u"..",
    u"/etc/passwd",
    u"\\a/b",
    u"\\News\\../x",
    std::u16string(u"\\a\0b", 4),
    std::u16string(u"\\a") + char16_t(0xD800),
    std::u16string(u"\\") + char16_t(0xDC00) + u"x",
};

TEST_P(FilesContract, RefusedPathsFailInEveryOperation) {
  ASSERT_TRUE(files().CreateFolder(u"\\News"));
  ASSERT_TRUE(files().WriteFile(u"\\good", "x"));
  for (const std::u16string& bad : kRefusedPaths) {
    SCOPED_TRACE(ToUtf8(bad));
    EXPECT_EQ(files().NativePath(bad), "");
    EXPECT_FALSE(files().FolderExists(bad));
    EXPECT_FALSE(files().CreateFolder(bad));
    EXPECT_FALSE(files().FileSize(bad));
    EXPECT_FALSE(files().Delete(bad));
    EXPECT_FALSE(files().Rename(bad, u"\\x"));
    EXPECT_FALSE(files().Rename(u"\\good", bad));
    EXPECT_FALSE(files().Copy(bad, u"\\x"));
    EXPECT_FALSE(files().Copy(u"\\good", bad));
    EXPECT_FALSE(files().CopyMode(bad, u"\\good"));
    EXPECT_FALSE(files().CopyMode(u"\\good", bad));
    EXPECT_FALSE(files().WriteFile(bad, "x"));
    EXPECT_FALSE(files().ReadFile(bad, 10));
    EXPECT_FALSE(files().ReadAt(bad, 0, 0));
    EXPECT_FALSE(files().Overwrite(bad, 0, ""));
    EXPECT_FALSE(files().FreeSpace(bad));
  }
  EXPECT_EQ(NamesIn(data_folder()), (std::vector<std::string>{"News", "good"}));
}

TEST_P(FilesContract, NamesWithDotsInsideAreGood) {
  ASSERT_TRUE(files().CreateFolder(u"\\..."));
  EXPECT_TRUE(files().WriteFile(u"\\..a", "1"));
  EXPECT_TRUE(files().WriteFile(u"\\a..", "2"));
  EXPECT_EQ(files().ReadFile(u"\\..a", 10), "1");
  EXPECT_EQ(files().ReadFile(u"\\a..", 10), "2");
}

TEST_P(FilesContract, VeryLongNamesAndPathsFail) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  const std::u16string name(300, u'n');
  EXPECT_FALSE(files().WriteFile(u"\\" + name, "x"));
  EXPECT_FALSE(files().CreateFolder(u"\\" + name));
  EXPECT_FALSE(files().FolderExists(u"\\" + name));
  EXPECT_FALSE(files().FileSize(u"\\" + name));
  std::u16string deep;
  for (int i = 0; i < 3000; ++i) deep += u"\\ab";
  EXPECT_FALSE(files().WriteFile(deep, "x"));
  EXPECT_FALSE(files().CreateFolder(deep));
  // The longest name a file system has: the temporary name beside it must not be longer.
  const std::u16string longest(255, u'n');
  EXPECT_TRUE(files().WriteFile(u"\\" + longest, "x"));
  EXPECT_TRUE(files().Copy(u"\\" + longest, u"\\" + longest.substr(1) + u"m"));
}

TEST_P(FilesContract, CreateFolderMakesTheDataFolderToo) {
  EXPECT_TRUE(files().CreateFolder(u"\\Quillet CE News"));
  EXPECT_TRUE(files().FolderExists(u"\\"));
  EXPECT_TRUE(files().FolderExists(u"\\Quillet CE News"));
  EXPECT_EQ(ModeOf(data_folder() + "/Quillet CE News"), 0700U);
  EXPECT_TRUE(files().CreateFolder(u"\\Quillet CE News")) << "it is there already";
  EXPECT_TRUE(files().CreateFolder(u"\\"));
}

TEST_P(FilesContract, CreateFolderNeedsItsParent) {
  EXPECT_FALSE(files().CreateFolder(u"\\a\\b"));
  EXPECT_FALSE(files().FolderExists(u"\\a"));
}

TEST_P(FilesContract, AFileIsNoFolderAndAFolderNoFile) {
  ASSERT_TRUE(files().CreateFolder(u"\\folder"));
  ASSERT_TRUE(files().WriteFile(u"\\file", "x"));
  EXPECT_FALSE(files().FolderExists(u"\\file"));
  EXPECT_FALSE(files().CreateFolder(u"\\file"));
  EXPECT_FALSE(files().CreateFolder(u"\\file\\below"));
  EXPECT_FALSE(files().FileSize(u"\\folder"));
  EXPECT_FALSE(files().ReadFile(u"\\folder", 1000000));
  EXPECT_FALSE(files().ReadAt(u"\\folder", 0, 0));
  EXPECT_FALSE(files().Overwrite(u"\\folder", 0, ""));
  EXPECT_FALSE(files().WriteFile(u"\\folder", "x"));
  EXPECT_FALSE(files().Copy(u"\\file", u"\\folder"));
  EXPECT_FALSE(files().Copy(u"\\folder", u"\\copy"));
  EXPECT_FALSE(files().Delete(u"\\folder"));
  EXPECT_FALSE(files().Delete(u"\\"));
  EXPECT_FALSE(files().WriteFile(u"\\", "x"));
  EXPECT_TRUE(files().FolderExists(u"\\folder"));
  EXPECT_EQ(NamesIn(data_folder()), (std::vector<std::string>{"file", "folder"}));
}

TEST_P(FilesContract, WhatIsWrittenIsRead) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  const std::string bytes("a\0b\r\n\xFF", 6);
  ASSERT_TRUE(files().WriteFile(u"\\data", bytes));
  EXPECT_EQ(files().FileSize(u"\\data"), 6U);
  EXPECT_EQ(files().ReadFile(u"\\data", 6), bytes);
  EXPECT_EQ(ModeOf(data_folder() + "/data"), 0600U);
  ASSERT_TRUE(files().WriteFile(u"\\data", ""));
  EXPECT_EQ(files().FileSize(u"\\data"), 0U);
  EXPECT_EQ(files().ReadFile(u"\\data", 0), "");
}

TEST_P(FilesContract, LargeFilesAreReadWhole) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  std::string large;
  while (large.size() < 300001) large += std::to_string(large.size()) + ",";
  ASSERT_TRUE(files().WriteFile(u"\\large", large));
  EXPECT_EQ(files().ReadFile(u"\\large", large.size()), large);
  ASSERT_TRUE(files().Copy(u"\\large", u"\\copy"));
  EXPECT_EQ(files().ReadFile(u"\\copy", large.size()), large);
}

TEST_P(FilesContract, ReadingStopsAtTheLimit) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\data", "12345"));
  EXPECT_EQ(files().ReadFile(u"\\data", 5), "12345");
  EXPECT_FALSE(files().ReadFile(u"\\data", 4));
  EXPECT_FALSE(files().ReadFile(u"\\missing", 4));
}

TEST_P(FilesContract, ReadingAPipeDoesNotWait) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_EQ(mkfifo((data_folder() + "/pipe").c_str(), 0600), 0);
  EXPECT_FALSE(files().ReadFile(u"\\pipe", 10));
  EXPECT_FALSE(files().ReadAt(u"\\pipe", 0, 0));
  EXPECT_FALSE(files().Overwrite(u"\\pipe", 0, "x"));
  EXPECT_FALSE(files().FileSize(u"\\pipe"));
  EXPECT_FALSE(files().Copy(u"\\pipe", u"\\copy"));
}

TEST_P(FilesContract, PartsOfAFileAreReadAndOverwrittenWhereTheyLie) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\data", "0123456789"));
  struct stat before {};
  ASSERT_EQ(stat((data_folder() + "/data").c_str(), &before), 0);
  EXPECT_EQ(files().ReadAt(u"\\data", 2, 3), "234");
  EXPECT_EQ(files().ReadAt(u"\\data", 0, 10), "0123456789");
  EXPECT_EQ(files().ReadAt(u"\\data", 10, 0), "");
  EXPECT_TRUE(files().Overwrite(u"\\data", 2, std::string("a\0c", 3)));
  EXPECT_TRUE(files().Overwrite(u"\\data", 9, "z"));
  EXPECT_TRUE(files().Overwrite(u"\\data", 10, ""));
  EXPECT_EQ(files().ReadFile(u"\\data", 20), std::string("01a\0c5678z", 10));
  struct stat after {};
  ASSERT_EQ(stat((data_folder() + "/data").c_str(), &after), 0);
  EXPECT_EQ(after.st_ino, before.st_ino) << "another file took its place";
}

TEST_P(FilesContract, WhatLiesBehindTheEndIsNeitherReadNorOverwritten) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\data", "0123456789"));
  constexpr auto kFar = std::numeric_limits<std::uint64_t>::max();
  constexpr auto kHuge = std::numeric_limits<std::size_t>::max();
  EXPECT_FALSE(files().ReadAt(u"\\data", 8, 3));
  EXPECT_FALSE(files().ReadAt(u"\\data", 11, 0));
  EXPECT_FALSE(files().ReadAt(u"\\data", kFar, 1));
  EXPECT_FALSE(files().ReadAt(u"\\data", 1, kHuge));
  EXPECT_FALSE(files().Overwrite(u"\\data", 8, "abc"));
  EXPECT_FALSE(files().Overwrite(u"\\data", kFar, "a"));
  EXPECT_EQ(files().ReadFile(u"\\data", 20), "0123456789");
  EXPECT_FALSE(files().ReadAt(u"\\missing", 0, 0));
  EXPECT_FALSE(files().Overwrite(u"\\missing", 0, ""));
  EXPECT_EQ(NamesIn(data_folder()), std::vector<std::string>{"data"});
}

TEST_P(FilesContract, WritingKeepsTheModeOfTheFileItReplaces) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\data", "1"));
  ASSERT_EQ(chmod((data_folder() + "/data").c_str(), 0644), 0);
  ASSERT_TRUE(files().WriteFile(u"\\data", "2"));
  EXPECT_EQ(ModeOf(data_folder() + "/data"), 0644U);
}

TEST_P(FilesContract, DeleteTellsWhetherThereWasAnything) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  EXPECT_FALSE(files().Delete(u"\\data"));
  ASSERT_TRUE(files().WriteFile(u"\\data", "1"));
  EXPECT_TRUE(files().Delete(u"\\data"));
  EXPECT_FALSE(files().Delete(u"\\data"));
  EXPECT_FALSE(files().FileSize(u"\\data"));
}

TEST_P(FilesContract, RenameReplacesTheTarget) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\from", "new"));
  ASSERT_TRUE(files().WriteFile(u"\\to", "old"));
  EXPECT_TRUE(files().Rename(u"\\from", u"\\to"));
  EXPECT_EQ(files().ReadFile(u"\\to", 10), "new");
  EXPECT_FALSE(files().FileSize(u"\\from"));
  EXPECT_FALSE(files().Rename(u"\\from", u"\\to"));
  EXPECT_EQ(files().ReadFile(u"\\to", 10), "new");
  EXPECT_FALSE(files().Rename(u"\\to", u"\\nowhere\\to"));
}

TEST_P(FilesContract, CopyTakesContentsAndMode) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\from", "new"));
  ASSERT_EQ(chmod((data_folder() + "/from").c_str(), 0640), 0);
  ASSERT_TRUE(files().WriteFile(u"\\to", "older and longer"));
  EXPECT_TRUE(files().Copy(u"\\from", u"\\to"));
  EXPECT_EQ(files().ReadFile(u"\\to", 100), "new");
  EXPECT_EQ(files().ReadFile(u"\\from", 100), "new");
  EXPECT_EQ(ModeOf(data_folder() + "/to"), 0640U);
  EXPECT_TRUE(files().Copy(u"\\from", u"\\from")) << "onto itself";
  EXPECT_EQ(files().ReadFile(u"\\from", 100), "new");
}

TEST_P(FilesContract, AFailedCopyLeavesTheTargetAndNothingElse) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\to", "old"));
  EXPECT_FALSE(files().Copy(u"\\missing", u"\\to"));
  EXPECT_FALSE(files().Copy(u"\\to", u"\\nowhere\\to"));
  EXPECT_EQ(files().ReadFile(u"\\to", 10), "old");
  EXPECT_EQ(NamesIn(data_folder()), std::vector<std::string>{"to"});
}

TEST_P(FilesContract, FileNamesAreThoseOfTheRegularFilesSorted) {
  EXPECT_TRUE(files().FileNames(u"\\nowhere").empty());
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().CreateFolder(u"\\folder"));
  for (const char16_t* path : {u"\\b", u"\\Zürich", u"\\.a"}) {
    ASSERT_TRUE(files().WriteFile(path, ""));
  }
  EXPECT_EQ(files().FileNames(u"\\"), (std::vector<std::u16string>{u".a", u"Zürich", u"b"}));
}

TEST_P(FilesContract, AFolderCanBeWrittenByThoseWhoMayMakeFilesInIt) {
  EXPECT_FALSE(files().CanWriteFolder(u"\\nowhere"));
  EXPECT_FALSE(files().CanWriteFolder(u""));
  ASSERT_TRUE(files().CreateFolder(u"\\folder"));
  ASSERT_TRUE(files().WriteFile(u"\\file", ""));
  EXPECT_TRUE(files().CanWriteFolder(u"\\folder"));
  EXPECT_FALSE(files().CanWriteFolder(u"\\file"));
  if (geteuid() == 0) return;  // who may do everything
  ASSERT_EQ(chmod((data_folder() + "/folder").c_str(), 0500), 0);
  EXPECT_FALSE(files().CanWriteFolder(u"\\folder"));
}

TEST_P(FilesContract, CopyModeTakesThePermissionBitsOnly) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\from", "1"));
  ASSERT_TRUE(files().WriteFile(u"\\to", "2"));
  ASSERT_EQ(chmod((data_folder() + "/from").c_str(), 0664), 0);
  EXPECT_TRUE(files().CopyMode(u"\\from", u"\\to"));
  EXPECT_EQ(ModeOf(data_folder() + "/to"), 0664U);
  EXPECT_EQ(files().ReadFile(u"\\to", 10), "2");
  EXPECT_FALSE(files().CopyMode(u"\\missing", u"\\to"));
  EXPECT_FALSE(files().CopyMode(u"\\from", u"\\missing"));
}

// A limit on file sizes fails a write in the middle, as a full disk does.
bool WithFileSizeLimit(rlim_t limit, const std::function<bool()>& act) {
  rlimit old{};
  getrlimit(RLIMIT_FSIZE, &old);
  const auto old_handler = std::signal(SIGXFSZ, SIG_IGN);
  const rlimit low{limit, old.rlim_max};
  setrlimit(RLIMIT_FSIZE, &low);
  const bool result = act();
  setrlimit(RLIMIT_FSIZE, &old);
  std::signal(SIGXFSZ, old_handler);
  return result;
}

TEST_P(FilesContract, AFullDiskLeavesTheOldFileAndNothingElse) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  const std::string large(200000, 'x');
  ASSERT_TRUE(files().WriteFile(u"\\large", large));
  ASSERT_TRUE(files().WriteFile(u"\\to", "old"));
  EXPECT_FALSE(WithFileSizeLimit(100000, [&] { return files().WriteFile(u"\\to", large); }));
  EXPECT_FALSE(WithFileSizeLimit(100000, [&] { return files().Copy(u"\\large", u"\\to"); }));
  EXPECT_FALSE(
      WithFileSizeLimit(100000, [&] { return files().Overwrite(u"\\large", 150000, "y"); }));
  EXPECT_EQ(files().ReadFile(u"\\to", 10), "old");
  EXPECT_EQ(NamesIn(data_folder()), (std::vector<std::string>{"large", "to"}));
}

// A folder that may be read and not written, for the superuser too.
bool WithReadOnlyFolder(const std::string& folder, const std::function<void()>& act) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return false;
  const bool root = geteuid() == 0;
  // The way to the folder belongs to the superuser in this case: open it for the other user.
  for (std::string at = folder; at != "/" && at.size() > testing::TempDir().size();
       at = std::filesystem::path(at).parent_path().string()) {
    if (chmod(at.c_str(), 0755) != 0) return false;
  }
  if (chmod(folder.c_str(), 0555) != 0) return false;
  if (root && seteuid(65534) != 0) return false;
  act();
  if (root && seteuid(0) != 0) std::abort();
  return chmod(folder.c_str(), 0700) == 0;
}

TEST_P(FilesContract, AReadOnlyFolderIsReadAndNotWritten) {
  ASSERT_TRUE(files().CreateFolder(u"\\News"));
  ASSERT_TRUE(files().WriteFile(u"\\News\\data", "old"));
  ASSERT_EQ(chmod((data_folder() + "/News/data").c_str(), 0644), 0);
  ASSERT_TRUE(WithReadOnlyFolder(data_folder() + "/News", [&] {
    EXPECT_EQ(files().ReadFile(u"\\News\\data", 10), "old");
    EXPECT_FALSE(files().WriteFile(u"\\News\\data", "new"));
    EXPECT_FALSE(files().WriteFile(u"\\News\\other", "new"));
    EXPECT_FALSE(files().Copy(u"\\News\\data", u"\\News\\copy"));
    EXPECT_FALSE(files().Rename(u"\\News\\data", u"\\News\\other"));
    EXPECT_FALSE(files().Delete(u"\\News\\data"));
    EXPECT_FALSE(files().CreateFolder(u"\\News\\sub"));
    EXPECT_TRUE(files().CreateFolder(u"\\News"));
    EXPECT_TRUE(files().FreeSpace(u"\\News"));
  }));
  EXPECT_EQ(files().ReadFile(u"\\News\\data", 10), "old");
  EXPECT_EQ(NamesIn(data_folder() + "/News"), std::vector<std::string>{"data"});
}

TEST_P(FilesContract, ANewFileIsWrittenWholeAndReadableByOthers) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  const std::string data("Subject: x\r\n\r\n\0\xE4", 16);
  const mode_t old_mask = umask(022);
  EXPECT_EQ(files().CreateNewFile(u"\\article.txt", data), 0u);
  umask(old_mask);
  EXPECT_EQ(files().ReadFile(u"\\article.txt", 100), data);
  EXPECT_EQ(ModeOf(data_folder() + "/article.txt"), 0644u);
  EXPECT_EQ(files().CreateNewFile(u"\\empty.txt", ""), 0u);
  EXPECT_EQ(files().FileSize(u"\\empty.txt"), 0u);
}

TEST_P(FilesContract, ANewFileNeverReplacesWhatIsThere) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\there", "old"));
  ASSERT_TRUE(files().CreateFolder(u"\\folder"));
  ASSERT_EQ(symlink("nowhere", (data_folder() + "/link").c_str()), 0);
  EXPECT_EQ(files().CreateNewFile(u"\\there", "new"), 183u);
  EXPECT_EQ(files().CreateNewFile(u"\\folder", "new"), 183u);
  EXPECT_EQ(files().CreateNewFile(u"\\link", "new"), 183u);
  EXPECT_EQ(files().ReadFile(u"\\there", 10), "old");
  EXPECT_EQ(NamesIn(data_folder()), (std::vector<std::string>{"folder", "link", "there"}));
}

TEST_P(FilesContract, ANewFileTakesAPathThatTheUserChose) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  const std::string chosen =
      data_folder() + "/a b\\c \u00e4.txt";  // a backslash is no separator there
  EXPECT_EQ(files().CreateNewFile(FromUtf8(chosen), "text"), 0u);
  EXPECT_EQ(files().CreateNewFile(FromUtf8(chosen), "text"), 183u);
  EXPECT_EQ(std::filesystem::file_size(chosen), 4u);
}

TEST_P(FilesContract, ANewFileSaysWhyItCannotBeMade) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\file", "x"));
  EXPECT_EQ(files().CreateNewFile(u"\\no folder\\x", "x"), 3u);
  EXPECT_EQ(files().CreateNewFile(u"\\file\\x", "x"), 3u);
  EXPECT_EQ(files().CreateNewFile(u"", "x"), 123u);
  EXPECT_EQ(files().CreateNewFile(u"\\..\\x", "x"), 123u);
  EXPECT_EQ(files().CreateNewFile(u"/tmp/" + std::u16string(300, u'n'), "x"), 123u);
  EXPECT_NE(files().CreateNewFile(std::u16string(u"/tmp/a\0b", 8), "x"), 0u);
  EXPECT_EQ(files().CreateNewFile(u"/", "x"), 183u);
}

TEST_P(FilesContract, ANewFileInAReadOnlyFolderIsDenied) {
  ASSERT_TRUE(files().CreateFolder(u"\\News"));
  ASSERT_TRUE(WithReadOnlyFolder(data_folder() + "/News",
                                 [&] { EXPECT_EQ(files().CreateNewFile(u"\\News\\x", "x"), 5u); }));
  EXPECT_TRUE(NamesIn(data_folder() + "/News").empty());
}

TEST_P(FilesContract, ANewFileThatDoesNotFitIsNotLeftBehind) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  EXPECT_TRUE(WithFileSizeLimit(
      100000, [&] { return files().CreateNewFile(u"\\large", std::string(200000, 'x')) != 0; }));
  EXPECT_TRUE(NamesIn(data_folder()).empty());
}

TEST_P(FilesContract, APrivateFileIsForTheUserAlone) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  const mode_t old_mask = umask(0);
  EXPECT_EQ(files().CreatePrivateFile(u"\\log", "secret"), 0u);
  umask(old_mask);
  EXPECT_EQ(files().ReadFile(u"\\log", 100), "secret");
  EXPECT_EQ(ModeOf(data_folder() + "/log"), 0600u);
  EXPECT_EQ(files().CreatePrivateFile(u"\\log", "other"), 183u);
  EXPECT_EQ(files().ReadFile(u"\\log", 100), "secret");
  EXPECT_EQ(files().CreatePrivateFile(FromUtf8(data_folder() + "/chosen"), ""), 0u);
  EXPECT_EQ(files().CreatePrivateFile(u"\\no folder\\x", "x"), 3u);
  EXPECT_EQ(files().CreatePrivateFile(u"\\..\\x", "x"), 123u);
}

// --- reading in pieces ---

std::string ReadRest(FileReader& reader, std::size_t piece) {
  std::string text;
  std::string buffer(piece, '\0');
  std::uint32_t error = 1;
  for (;;) {
    const std::size_t got = reader.Read(buffer, error);
    EXPECT_EQ(error, 0u);
    text.append(buffer, 0, got);
    if (got < piece) return text;
  }
}

TEST_P(FilesContract, AFileIsReadInPiecesAndAgain) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  std::string data;
  for (int i = 0; i < 100000; ++i) data.push_back(static_cast<char>(i * 7));
  ASSERT_TRUE(files().WriteFile(u"\\large", data));
  std::uint32_t error = 1;
  const auto reader = files().OpenRead(u"\\large", error);
  ASSERT_TRUE(reader);
  EXPECT_EQ(error, 0u);
  EXPECT_EQ(reader->Size(), 100000u);
  EXPECT_EQ(ReadRest(*reader, 2047), data);
  EXPECT_EQ(ReadRest(*reader, 2047), "");
  reader->Rewind();
  EXPECT_EQ(ReadRest(*reader, 65536), data);
  reader->Rewind();
  EXPECT_EQ(ReadRest(*reader, 100001), data);
}

TEST_P(FilesContract, AnEmptyFileIsReadToItsEndAtOnce) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\empty", ""));
  std::uint32_t error = 1;
  const auto reader = files().OpenRead(u"\\empty", error);
  ASSERT_TRUE(reader);
  EXPECT_EQ(reader->Size(), 0u);
  EXPECT_EQ(ReadRest(*reader, 10), "");
}

TEST_P(FilesContract, AFileThatTheUserChoseIsRead) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\mbox", "From x"));
  std::uint32_t error = 1;
  const auto reader = files().OpenRead(FromUtf8(data_folder() + "/mbox"), error);
  ASSERT_TRUE(reader);
  EXPECT_EQ(ReadRest(*reader, 10), "From x");
}

// A pipe or a device that is waited for would hang the program.
TEST_P(FilesContract, OnlyRegularFilesAreRead) {
  ASSERT_TRUE(files().CreateFolder(u"\\folder"));
  ASSERT_EQ(mkfifo((data_folder() + "/pipe").c_str(), 0600), 0);
  ASSERT_EQ(symlink("/dev/zero", (data_folder() + "/device").c_str()), 0);
  ASSERT_EQ(symlink("nowhere", (data_folder() + "/dangling").c_str()), 0);
  const auto error_of = [&](std::u16string_view path) {
    std::uint32_t error = 0;
    EXPECT_FALSE(files().OpenRead(path, error));
    return error;
  };
  EXPECT_EQ(error_of(u"\\folder"), 5u);
  EXPECT_EQ(error_of(u"\\pipe"), 5u);
  EXPECT_EQ(error_of(u"\\device"), 5u);
  EXPECT_EQ(error_of(u"\\dangling"), 2u);
  EXPECT_EQ(error_of(u"\\missing"), 2u);
  EXPECT_EQ(error_of(u"/nowhere/missing"), 2u);
  EXPECT_EQ(error_of(u""), 123u);
  EXPECT_EQ(error_of(u"\\..\\x"), 123u);
  EXPECT_EQ(error_of(u"/" + std::u16string(300, u'n')), 123u);
}

TEST_P(FilesContract, AFileThatBelongsToOthersIsNotRead) {
  if (geteuid() == 0) GTEST_SKIP() << "root reads everything";
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\secret", "x"));
  ASSERT_EQ(chmod((data_folder() + "/secret").c_str(), 0), 0);
  std::uint32_t error = 0;
  EXPECT_FALSE(files().OpenRead(u"\\secret", error));
  EXPECT_EQ(error, 5u);
}

TEST_P(FilesContract, FreeSpaceOfAFolderThatExists) {
  ASSERT_TRUE(files().CreateFolder(u"\\News"));
  const auto space = files().FreeSpace(u"\\News");
  ASSERT_TRUE(space);
  EXPECT_GT(space->total_bytes, 0U);
  EXPECT_LE(space->free_bytes, space->total_bytes);
  EXPECT_FALSE(files().FreeSpace(u"\\nowhere"));
}

TEST_P(FilesContract, CardsAreSortedAndTakeTheirPaths) {
  EXPECT_TRUE(files().Cards().empty());
  EXPECT_EQ(files().NativePath(u"\\Storage Card\\x"), data_folder() + "/Storage Card/x");
  AddCard(u"Storage Card");
  AddCard(u"CF Zürich");
  EXPECT_EQ(files().Cards(), (std::vector<std::u16string>{u"CF Zürich", u"Storage Card"}));
  const std::string on_card = files().NativePath(u"\\Storage Card\\x");
  EXPECT_NE(on_card, data_folder() + "/Storage Card/x");
  EXPECT_TRUE(on_card.ends_with("/cards/Storage Card/x")) << on_card;
  ASSERT_TRUE(files().CreateFolder(u"\\Storage Card\\Quillet CE News"));
  EXPECT_TRUE(files().WriteFile(u"\\Storage Card\\Quillet CE News\\a", "1"));
  EXPECT_TRUE(files().FreeSpace(u"\\Storage Card"));
  // Only a whole name is a card's, and only at the beginning.
  EXPECT_EQ(files().NativePath(u"\\Storage Card 2\\x"), data_folder() + "/Storage Card 2/x");
  EXPECT_EQ(files().NativePath(u"\\a\\Storage Card"), data_folder() + "/a/Storage Card");
}

TEST_P(FilesContract, CopyGoesFromCardToDataFolderAndBack) {
  AddCard(u"Card");
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\a", "1"));
  EXPECT_TRUE(files().Copy(u"\\a", u"\\Card\\a"));
  EXPECT_TRUE(files().Delete(u"\\a"));
  EXPECT_TRUE(files().Copy(u"\\Card\\a", u"\\b"));
  EXPECT_EQ(files().ReadFile(u"\\b", 10), "1");
}

TEST_P(FilesContract, ManyThreadsReplaceOneFileWhole) {
  ASSERT_TRUE(files().CreateFolder(u"\\"));
  ASSERT_TRUE(files().WriteFile(u"\\shared", std::string(5000, 'z')));
  std::vector<std::thread> writers;
  std::atomic<int> failures = 0;
  for (const char c : {'a', 'b', 'c'}) {
    writers.emplace_back([this, c, &failures] {
      for (int i = 0; i < 30; ++i) {
        if (!files().WriteFile(u"\\shared", std::string(5000, c))) ++failures;
        const auto data = files().ReadFile(u"\\shared", 5000);
        if (!data || data->size() != 5000 || data->find_first_not_of((*data)[0]) != data->npos) {
          ++failures;
        }
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(NamesIn(data_folder()), std::vector<std::string>{"shared"});
}

TEST(LinuxFiles, OnlyMountedFoldersAreCards) {
  std::string root = testing::TempDir() + "quillet-cards-XXXXXX";
  ASSERT_NE(mkdtemp(root.data()), nullptr);
  std::filesystem::create_directory(root + "/left behind");
  LinuxFiles plain(root + "/data", CardRoots{{root}, true});
  EXPECT_TRUE(plain.Cards().empty());
  EXPECT_EQ(plain.NativePath(u"\\left behind"), root + "/data/left behind");
  // "/proc" is mounted wherever this runs.
  LinuxFiles system(root + "/data", CardRoots{{"/"}, true});
  const auto cards = system.Cards();
  EXPECT_NE(std::find(cards.begin(), cards.end(), u"proc"), cards.end());
  EXPECT_EQ(std::find(cards.begin(), cards.end(), u"usr"), cards.end());
  std::filesystem::remove_all(root);
}

TEST(LinuxFiles, OfTwoVolumesWithOneNameTheFirstIsTheCard) {
  std::string root = testing::TempDir() + "quillet-cards-XXXXXX";
  ASSERT_NE(mkdtemp(root.data()), nullptr);
  for (const char* folder : {"/media/CARD", "/run/CARD", "/run/Other"}) {
    std::filesystem::create_directories(root + folder);
  }
  LinuxFiles files(root + "/data", CardRoots{{root + "/media", root + "/run"}, false});
  EXPECT_EQ(files.Cards(), (std::vector<std::u16string>{u"CARD", u"Other"}));
  EXPECT_EQ(files.NativePath(u"\\CARD\\x"), root + "/media/CARD/x");
  std::filesystem::remove(root + "/media/CARD");
  EXPECT_EQ(files.Cards(), (std::vector<std::u16string>{u"CARD", u"Other"}));
  EXPECT_EQ(files.NativePath(u"\\CARD\\x"), root + "/run/CARD/x");
  std::filesystem::remove_all(root);
}

TEST(LinuxFiles, NamesThatNoPathCanSayAreNoCards) {
  std::string root = testing::TempDir() + "quillet-cards-XXXXXX";
  ASSERT_NE(mkdtemp(root.data()), nullptr);
  for (const char* name : {"good", "bad\xFF", "a\\b"}) {
    ASSERT_EQ(mkdir((root + "/" + name).c_str(), 0700), 0);
  }
  std::ofstream(root + "/a file") << "x";
  std::filesystem::create_directory_symlink("/etc", root + "/link");
  LinuxFiles files(root + "/data", CardRoots{{root}, false});
  EXPECT_EQ(files.Cards(), std::vector<std::u16string>{u"good"});
  EXPECT_EQ(files.NativePath(u"\\link\\passwd"), root + "/data/link/passwd");
  std::filesystem::remove_all(root);
}

TEST(LinuxFiles, WithoutADataFolderEveryPathIsRefused) {
  LinuxFiles files("", {});
  EXPECT_EQ(files.NativePath(u"\\etc"), "");
  EXPECT_FALSE(files.FolderExists(u"\\etc"));
}

TEST(FakeFiles, TheNthCallFailsOnceAndTouchesNothing) {
  FakeFiles files;
  files.FailNth(2);
  EXPECT_TRUE(files.WriteFile(u"\\a", "1"));
  EXPECT_FALSE(files.WriteFile(u"\\a", "2"));
  EXPECT_TRUE(files.WriteFile(u"\\b", "3"));
  EXPECT_EQ(files.ReadFile(u"\\a", 10), "1");
  files.FailNth(FileCall::kRename, 1);
  EXPECT_TRUE(files.Copy(u"\\a", u"\\c"));
  EXPECT_FALSE(files.Rename(u"\\a", u"\\d"));
  EXPECT_TRUE(files.Rename(u"\\a", u"\\d"));
  EXPECT_EQ(files.calls(FileCall::kWriteFile), 3);
  EXPECT_EQ(files.calls(), 7);
  files.FailNth(FileCall::kReadAt, 1);
  EXPECT_FALSE(files.ReadAt(u"\\b", 0, 1));
  EXPECT_EQ(files.ReadAt(u"\\b", 0, 1), "3");
  files.FailNth(FileCall::kOverwrite, 1);
  EXPECT_FALSE(files.Overwrite(u"\\b", 0, "4"));
  EXPECT_EQ(files.ReadFile(u"\\b", 10), "3");
}

TEST(FakeFiles, FreeSpaceIsWhatTheTestSays) {
  FakeFiles files;
  files.SetFreeSpace({10, 100});
  EXPECT_EQ(files.FreeSpace(u"\\")->free_bytes, 10U);
  EXPECT_EQ(files.FreeSpace(u"\\")->total_bytes, 100U);
  EXPECT_FALSE(files.FreeSpace(u"\\nowhere"));
  files.FailNth(FileCall::kFreeSpace, 1);
  EXPECT_FALSE(files.FreeSpace(u"\\"));
}

TEST(FakeFiles, ACardThatComesBackHasItsFiles) {
  FakeFiles files;
  files.AddCard(u"Card");
  ASSERT_TRUE(files.WriteFile(u"\\Card\\a", "1"));
  files.RemoveCard(u"Card");
  EXPECT_TRUE(files.Cards().empty());
  EXPECT_FALSE(files.FileSize(u"\\Card\\a"));
  files.AddCard(u"Card");
  EXPECT_EQ(files.ReadFile(u"\\Card\\a", 10), "1");
}

TEST(FakeFiles, ThePrivateFolderVanishes) {
  std::string folder;
  {
    FakeFiles files;
    ASSERT_TRUE(files.WriteFile(u"\\a", "1"));
    folder = files.data_folder();
    EXPECT_TRUE(std::filesystem::exists(folder));
  }
  EXPECT_FALSE(std::filesystem::exists(folder));
}

// --- libraries ---

template <class T>
class LibrariesContract : public testing::Test {
 protected:
  T libraries;
};
using LibrarySets = testing::Types<LinuxLibraries, FakeLibraries>;
TYPED_TEST_SUITE(LibrariesContract, LibrarySets);

TYPED_TEST(LibrariesContract, TheDatabaseLibraryHasItsThirteenNames) {
  LibraryHandle gdbm = this->libraries.Load(u"gdbmce.dll");
  ASSERT_NE(gdbm, nullptr);
  for (const char* name : {"gdbm_open", "gdbm_close", "gdbm_store", "gdbm_fetch", "gdbm_delete",
                           "gdbm_firstkey", "gdbm_nextkey", "gdbm_reorganize", "gdbm_sync",
                           "gdbm_exists", "gdbm_setopt", "gdbm_errno", "gdbm_version"}) {
    EXPECT_NE(this->libraries.Resolve(gdbm, name), nullptr) << name;
  }
  this->libraries.Unload(gdbm);
}

TYPED_TEST(LibrariesContract, TheErrorNumberIsReachedByItsAccessor) {
  LibraryHandle gdbm = this->libraries.Load(u"gdbmce.dll");
  ASSERT_NE(gdbm, nullptr);
  using Accessor = int* (*)();
  const auto accessor = reinterpret_cast<Accessor>(this->libraries.Resolve(gdbm, "gdbm_errno"));
  ASSERT_NE(accessor, nullptr);
  *accessor() = 5;
  EXPECT_EQ(*accessor(), 5);
  *accessor() = 0;
  this->libraries.Unload(gdbm);
}

TYPED_TEST(LibrariesContract, TheCompressionLibraryTellsItsVersion) {
  LibraryHandle bzip2 = this->libraries.Load(u"BZIP2CE.DLL");
  ASSERT_NE(bzip2, nullptr) << "names are matched without regard to case";
  using Version = const char* (*)();
  const auto version =
      reinterpret_cast<Version>(this->libraries.Resolve(bzip2, "BZ2_bzlibVersion"));
  ASSERT_NE(version, nullptr);
  EXPECT_EQ(std::string(version()).substr(0, 2), "1.");
  this->libraries.Unload(bzip2);
}

TYPED_TEST(LibrariesContract, UnknownNamesAreNull) {
  for (const std::u16string& name :
       {std::u16string(u""), std::u16string(u"nosuch.dll"), std::u16string(u"libc.so.6"),
        std::u16string(u"/nowhere/libx.so"), std::u16string(u"/etc/passwd"),
        std::u16string(u"gdbmce.dll\0x", 12), std::u16string(u"../libgdbm.so.6")}) {
    EXPECT_EQ(this->libraries.Load(name), nullptr) << ToUtf8(name);
  }
  LibraryHandle gdbm = this->libraries.Load(u"gdbmce.dll");
  ASSERT_NE(gdbm, nullptr);
  EXPECT_EQ(this->libraries.Resolve(gdbm, "no_such_export"), nullptr);
  EXPECT_EQ(this->libraries.Resolve(gdbm, ""), nullptr);
  this->libraries.Unload(gdbm);
}

TYPED_TEST(LibrariesContract, NoLibraryHasNoNames) {
  EXPECT_EQ(this->libraries.Resolve(nullptr, "malloc"), nullptr);
  this->libraries.Unload(nullptr);
}

TYPED_TEST(LibrariesContract, ANativePathIsALibraryToo) {
  LibraryHandle library = this->libraries.Load(FromUtf8(QUILLET_TEST_LIBRARY));
  ASSERT_NE(library, nullptr);
  using Answer = int (*)();
  const auto answer = reinterpret_cast<Answer>(this->libraries.Resolve(library, "test_answer"));
  ASSERT_NE(answer, nullptr);
  EXPECT_EQ(answer(), 42);
  EXPECT_EQ(this->libraries.Resolve(library, "gdbm_errno"), nullptr) << "it has no accessor";
  this->libraries.Unload(library);
}

TEST(FakeLibraries, HiddenNamesAndLibrariesAreMissing) {
  FakeLibraries libraries;
  libraries.hide("gdbm_setopt");
  LibraryHandle gdbm = libraries.Load(u"gdbmce.dll");
  EXPECT_EQ(libraries.Resolve(gdbm, "gdbm_setopt"), nullptr);
  EXPECT_NE(libraries.Resolve(gdbm, "gdbm_open"), nullptr);
  EXPECT_EQ(libraries.loaded(), 1);
  libraries.Unload(gdbm);
  EXPECT_EQ(libraries.loaded(), 0);
  libraries.hide_library(u"gdbmce.dll");
  EXPECT_EQ(libraries.Load(u"gdbmce.dll"), nullptr);
  libraries.show_all();
  gdbm = libraries.Load(u"gdbmce.dll");
  EXPECT_NE(libraries.Resolve(gdbm, "gdbm_setopt"), nullptr);
  libraries.Unload(gdbm);
}

}  // namespace
}  // namespace quillet::port
