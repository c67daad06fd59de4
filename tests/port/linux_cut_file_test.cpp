// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "port/linux/cut_file.h"

namespace quillet::port {
namespace {

constexpr std::size_t kPage = 4096;

class LinuxCutFile : public testing::Test {
 protected:
  LinuxCutFile() {
    std::string name = testing::TempDir() + "quillet-cut-XXXXXX";
    folder = mkdtemp(name.data());
  }
  ~LinuxCutFile() override { std::filesystem::remove_all(folder); }

  // Runs the act in a child; its wait status, and what it said on standard error.
  template <class Act>
  int InChild(const Act& act) {
    std::array<int, 2> ends{};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
      dup2(ends[1], STDERR_FILENO);
      TellOfCutFiles(folder + "/note");
      act();
      _exit(7);
    }
    close(ends[1]);
    said.clear();
    std::array<char, 1024> buffer{};
    for (ssize_t got = 0; (got = read(ends[0], buffer.data(), buffer.size())) > 0;) {
      said.append(buffer.data(), static_cast<std::size_t>(got));
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status;
  }
  std::string Note() const {
    std::ifstream file(folder + "/note");
    return {std::istreambuf_iterator<char>(file), {}};
  }

  std::string folder;
  std::string said;
};

TEST_F(LinuxCutFile, IsSaidAndNotedAndEndsTheProgram) {
  const std::string path = folder + "/a file.gdb";
  const int status = InChild([&] {
    const int file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    if (ftruncate(file, 2 * kPage) != 0) return;
    void* const memory = mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (memory == MAP_FAILED || ftruncate(file, kPage) != 0) return;
    static_cast<volatile char*>(memory)[kPage + 5] = 'x';
  });
  ASSERT_TRUE(WIFEXITED(status)) << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), 1);
  const std::string text = "Quillet CE had to end: the file \"" + path +
                           "\" was made shorter by another program or cannot be read any more.\n";
  EXPECT_NE(said.find(text), said.npos) << said;
  EXPECT_EQ(Note(), text);
}

TEST_F(LinuxCutFile, ABusErrorOfAnotherKindEndsItAsBefore) {
  const int status = InChild([] { raise(SIGBUS); });
  ASSERT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGBUS);
  EXPECT_EQ(Note(), "");
}

}  // namespace
}  // namespace quillet::port
