// SPDX-License-Identifier: GPL-3.0-or-later
// The order of the system's calls under the file service, which no file shows afterwards: calls of
// the C library are taken over by those of the same names here.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdio.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "port/linux/linux_files.h"

namespace {

std::vector<std::string> gCalls;

std::string Sort(int descriptor) {
  struct stat status {};
  if (fstat(descriptor, &status) != 0) return "nothing";
  return S_ISDIR(status.st_mode) ? "folder" : "file of " + std::to_string(status.st_size);
}

}  // namespace

extern "C" {

int fsync(int descriptor) {
  gCalls.push_back("sync " + Sort(descriptor));
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

int rename(const char* from, const char* to) noexcept {
  gCalls.push_back("rename to " + std::filesystem::path(to).filename().string());
  return static_cast<int>(syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0));
}

// A volume of 1,000 blocks, 300 of them free, 120 of those for others than root.
int statvfs(const char* /*path*/, struct statvfs* volume) noexcept {
  *volume = {};
  volume->f_frsize = 4096;
  volume->f_bsize = 1048576;
  volume->f_blocks = 1000;
  volume->f_bfree = 300;
  volume->f_bavail = 120;
  return 0;
}

}  // extern "C"

namespace quillet::port {
namespace {

using ::testing::ElementsAre;

class DurableFilesTest : public ::testing::Test {
 protected:
  DurableFilesTest() {
    std::string name = (std::filesystem::temp_directory_path() / "quillet-XXXXXX").string();
    folder = mkdtemp(name.data());
  }
  ~DurableFilesTest() override { std::filesystem::remove_all(folder); }

  std::string folder;
};

TEST_F(DurableFilesTest, AFileIsSyncedBeforeItTakesItsPlaceAndTheFolderAfterIt) {
  LinuxFiles files(folder, {});
  gCalls.clear();
  ASSERT_TRUE(files.WriteFile(u"\\a", "12345"));
  EXPECT_THAT(gCalls, ElementsAre("sync file of 5", "rename to a", "sync folder"));
  gCalls.clear();
  ASSERT_TRUE(files.Copy(u"\\a", u"\\b"));
  EXPECT_THAT(gCalls, ElementsAre("sync file of 5", "rename to b", "sync folder"));
  gCalls.clear();
  ASSERT_TRUE(files.Rename(u"\\b", u"\\c"));
  EXPECT_THAT(gCalls, ElementsAre("rename to c", "sync folder"));
  gCalls.clear();
  EXPECT_EQ(files.CreateNewFile(u"\\d", "123"), 0U);
  EXPECT_THAT(gCalls, ElementsAre("sync file of 3"));
}

TEST_F(DurableFilesTest, WhatIsKeptForRootIsNotFree) {
  LinuxFiles files(folder, {});
  const auto space = files.FreeSpace(u"\\");
  ASSERT_TRUE(space);
  EXPECT_EQ(space->free_bytes, 120U * 4096);
  EXPECT_EQ(space->total_bytes, 1000U * 4096);
}

}  // namespace
}  // namespace quillet::port
