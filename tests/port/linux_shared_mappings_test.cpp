// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/shared_mappings.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "tests/port/linux_test_tools.h"

namespace quillet::port {
namespace {

constexpr std::size_t kSize = 16384;

// A file that is locked and mapped, as the databases are.
class LockedFile {
 public:
  explicit LockedFile(const std::string& path) : fd_(open(path.c_str(), O_RDWR | O_CREAT, 0600)) {
    EXPECT_EQ(ftruncate(fd_, kSize), 0);
    EXPECT_EQ(flock(fd_, LOCK_EX | LOCK_NB), 0);
    place_ = mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    EXPECT_NE(place_, MAP_FAILED);
  }
  // As the end of the process does.
  void Leave() {
    munmap(place_, kSize);
    close(fd_);
  }
  int fd() const { return fd_; }

 private:
  int fd_;
  void* place_;
};

bool IsLocked(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR);
  const bool locked = flock(fd, LOCK_EX | LOCK_NB) != 0;
  close(fd);
  return locked;
}

// Whether a child that has closed the file holds its lock all the same.
bool ChildHoldsTheLock(bool kept_from_children) {
  const TempFolder folder;
  const std::string path = folder / "file";
  LockedFile file(path);
  if (kept_from_children) KeepSharedMappingsFromChildren();
  int ready[2];
  EXPECT_EQ(pipe(ready), 0);
  const pid_t child = fork();
  if (child == 0) {
    close(file.fd());
    [[maybe_unused]] const ssize_t told = write(ready[1], "x", 1);
    for (;;) pause();
  }
  char told = 0;
  EXPECT_EQ(read(ready[0], &told, 1), 1);
  file.Leave();
  const bool held = IsLocked(path);
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  close(ready[0]);
  close(ready[1]);
  EXPECT_FALSE(IsLocked(path));
  return held;
}

TEST(SharedMappingsTest, MappingHoldsALockInAChildThatHasClosedTheFile) {
  EXPECT_TRUE(ChildHoldsTheLock(false));
}

TEST(SharedMappingsTest, WhatIsKeptFromChildrenDoesNot) {
  EXPECT_FALSE(ChildHoldsTheLock(true));
}

TEST(SharedMappingsTest, TheProcessItselfKeepsItsMappings) {
  const TempFolder folder;
  const int fd = open((folder / "file").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(ftruncate(fd, kSize), 0);
  auto* const place =
      static_cast<char*>(mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
  ASSERT_NE(place, MAP_FAILED);
  KeepSharedMappingsFromChildren();
  place[0] = 'x';
  char byte = 0;
  EXPECT_EQ(pread(fd, &byte, 1, 0), 1);
  EXPECT_EQ(byte, 'x');
  munmap(place, kSize);
  close(fd);
}

// The C library shares the tables of its conversions, which a child may need.
TEST(SharedMappingsTest, ChildrenKeepWhatIsOnlyRead) {
  const TempFolder folder;
  const int fd = open((folder / "file").c_str(), O_RDWR | O_CREAT, 0600);
  ASSERT_EQ(write(fd, "x", 1), 1);
  auto* const place = static_cast<char*>(mmap(nullptr, 1, PROT_READ, MAP_SHARED, fd, 0));
  ASSERT_NE(place, MAP_FAILED);
  KeepSharedMappingsFromChildren();
  const pid_t child = fork();
  if (child == 0) _exit(*static_cast<volatile char*>(place));
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 'x');
  munmap(place, 1);
  close(fd);
}

}  // namespace
}  // namespace quillet::port
